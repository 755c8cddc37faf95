// What a driver says about its devices. The driver carries it as JSON in its plug-in metadata, so
// reading it runs none of the driver's code.
//
// A driver names the file beside its source, and Qt 5 puts it into the library:
//
//     Q_PLUGIN_METADATA(IID DriverInterface_iid FILE "mydriver.json")
//
//     {
//         "protocol": "myprotocol",
//         "tcpPort": 8501,
//         "stationPrefix": {"first": 1, "last": 247},
//         "devices": [
//             {"letters": "DM", "name": "data memory", "numbers": "decimal", "digits": 5,
//              "holds": "word", "type": "uint",
//              "read": ["byte", "word", "dword"], "write": ["word", "dword"],
//              "first": 0, "last": 9999, "note": "DM9000 and above survive a power failure."}
//         ],
//         "errors": {"2": "there is no such device"}
//     }
//
// All keys but "protocol" may be missing, and so may the whole description: such a driver has no
// areas, and its devices need explicit types. A row of "devices" has at least "letters", "name",
// "numbers", "holds" and "type". Other keys are left to the driver's author. In rows they are
// ignored too, so that an older bench loads a newer driver. A misspelt key goes unnoticed here;
// paneldriver-contract reports it as a failure.
//
//   protocol       the protocol spoken, by which a bench chooses a simulated controller
//   tcpPort        the port at which such controllers usually listen for TCP connections
//   stationPrefix  devices may be preceded by a station number and a colon, as in 2:HR100
//   errors         what the number in an error reply of the controller means
//   devices        the device areas; two areas never share their letters
//     letters      what device texts begin with, in capitals
//     name         the area in words
//     numbers      how devices are counted: "decimal", or "channel" for channel * 100 + bit with
//                  bits 00 to 15, in which 115 is followed by 200
//     digits       the most digits that a number may have; missing where there is no limit
//     holds        what one device is: "bit", "word" (16 bits), "dword" (32 bits), or "counter", a
//                  timer or counter: read as a bit its contact, in other widths its current value,
//                  which has 32 bits
//     type         the IEC 61131-3 type of a device whose type was not given
//     read, write  the widths in which the driver can read and write the area: "bit", "byte",
//                  "word", "dword"; missing for none. An area that has one of the last three has
//                  also the width of its devices, and one that holds bits has nothing but "bit".
//     first, last  the numbers of the first and the last device, where known
//     block        the most devices of one request, where fewer than the driver's block size
//     note         a sentence for the person who uses the area, shown when something is refused
#ifndef HOST_DRIVERDESCRIPTION_H
#define HOST_DRIVERDESCRIPTION_H

#include "drivers/communicatorcommand.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

class QJsonObject;

namespace host
{

/// How the numbers of an area's devices follow each other.
enum class Numbering {
    Decimal,
    Channel, ///< channel * 100 + bit, bits 00 to 15
};

/// What one device of an area is.
enum class Holds { Bit, Word, DoubleWord, Counter };

/// Widths of a request, of DataBit, DataByte, DataWord and DataDoubleWord.
class Widths
{
public:
    void add(DriverDataType width) { m_bits |= 1u << width; }
    bool has(DriverDataType width) const { return (m_bits & (1u << width)) != 0; }
    bool empty() const { return m_bits == 0; }

private:
    unsigned m_bits = 0;
};

/// Texts are UTF-8.
struct DeviceArea {
    std::string letters; ///< in capitals
    std::string name;
    Numbering numbering = Numbering::Decimal;
    std::optional<int> digits;
    Holds holds = Holds::Word;
    std::string type; ///< as the driver spells it; which types there are is not checked here
    Widths read;
    Widths write;
    std::optional<std::int64_t> first;
    std::optional<std::int64_t> last;
    std::optional<std::int64_t> block; ///< devices of one request; the driver's own limit holds too
    std::string note;
};

struct StationRange {
    int first = 0;
    int last = 0;
};

struct DriverDescription {
    std::string protocol; ///< empty when the driver says nothing
    std::optional<std::uint16_t> tcpPort;
    std::optional<StationRange> stationPrefix;
    std::vector<DeviceArea> areas; ///< in the driver's order
    std::map<int, std::string> errors;
    std::vector<std::string> unknownKeys; ///< in the rows of areas, such as "devices[1] reads"

    /// The area of these letters, in any case; null if the driver has no such area.
    const DeviceArea* area(const std::string& letters) const;
};

/// The names that `type` may have: IEC 61131-3 types. Only areas of bits have bool.
const QStringList& areaTypes();

/// The keys that a row of an area may have, separated by commas.
std::string knownAreaKeys();

/// The width of one device: DataBit, DataWord or DataDoubleWord.
DriverDataType deviceWidth(Holds holds);

/// "decimal" or "channel", and "bit", "word", "dword" or "counter", as descriptions spell them.
const char* nameOf(Numbering numbering);
const char* nameOf(Holds holds);

/// The name of DataBit, DataByte, DataWord or DataDoubleWord in descriptions.
const char* nameOf(DriverDataType width);

/// Parses a description; an empty object is a description without areas.
///
/// error  receives a sentence that names the bad key and value; untouched on success
std::optional<DriverDescription> driverDescriptionFromJson(const QJsonObject& json, QString* error);

/// Reads the description in a plug-in file without running code of the plug-in. A plug-in without
/// one, and a file that is no plug-in, have a description without areas.
///
/// error  receives a sentence that names the file, the bad key and value; untouched on success
std::optional<DriverDescription> readDriverDescription(const QString& file, QString* error);

} // namespace host

#endif
