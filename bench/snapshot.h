// Snapshots: what many devices hold, as a text file that a version control system can compare.
//
//   # snapshot 1, plcctl 1.2.0
//   # driver: KEYENCE KV-1000
//   # devices: DM0..DM19 DM30:string4 MR500..MR515 boiler.*
//   DM0:uint          0     0    12     0     0     0     0 65535
//   DM8:uint          1     2     3     4     5     6     7     8
//   DM16:uint         0     0     0     0
//   DM30:string4  "AB\x0D"
//   # DM40:uint..DM99:uint not read: no reply (packet loss)
//   DM100:int        213 @boiler.temp
//   MR500:bool    0 1 0 0 0 0 0 0 0 0 0 0 0 0 0 0
//   # end
//
// A line has the first device with its type, then values for it and the devices after it. Lines
// break where the device number is a multiple of 8 values, or of 16 for bools and bytes, whatever
// was asked for: when one value changes, one line does. Strings and tags have lines of their own;
// so has each run of a driver without areas, whatever its length. Areas come in the order of the
// driver's description, devices in the order of their numbers.
//
// Whole numbers are decimal, or 0x and hexadecimal digits. Reals have the digits that tell them
// from their neighbours, and 0x with their 32 bits where they are infinite or not a number. Strings
// are in quotes, with \" \\ and \x0D; zero bytes at the end are left out. Values are what the
// controller holds: the scale of a tag does not matter. @ and the rest of the line are a tag's
// name. # begins a comment. The comments at the top are a header. A file whose first line names the
// format ends with "# end", so that one that was cut off can be told. Header and types may be
// missing in files that are written by hand.
#ifndef BENCH_SNAPSHOT_H
#define BENCH_SNAPSHOT_H

#include "bench/driver.h"
#include "bench/file.h"
#include "bench/plan.h"
#include "bench/points.h"

#include <string>
#include <vector>

namespace bench
{

struct SnapshotHeader {
    std::string tool; ///< name and version of the program that wrote it
    std::string driver;
    std::string devices; ///< as asked for, with blanks between
    std::string date;    ///< empty for none: two snapshots of the same state are then the same
};

struct SnapshotValue {
    Point point; ///< its name is the tag's, or the device's
    Value value;
    int line = 0; ///< of the file; 0 when it comes from no file
};

struct Snapshot {
    SnapshotHeader header;
    std::vector<SnapshotValue> values; ///< in the order of the format
    std::vector<std::string> unread;   ///< what comments name as not read, such as "DM40..DM99"
};

/// The points in the order of the format, each device once. A device in its natural type gives way
/// to a tag or a typed device that covers it. Throws a Failure (WrongUsage) for others that
/// overlap.
std::vector<Point> snapshotPoints(std::vector<Point> points);

/// The header's lines.
std::string textOf(const SnapshotHeader& header);

/// The line that ends a complete snapshot.
std::string endOfSnapshot();

/// The lines of points in the order of the format. What could not be read becomes a comment.
///
/// readings  parallel to points; those with neither value nor failure are left out
std::string snapshotLines(const std::vector<Point>& points, const std::vector<Reading>& readings);

/// Takes the text of a snapshot apart. Throws a Failure (WrongUsage) that names the line.
Snapshot parseSnapshot(const std::string& content, const Devices& devices);

/// The snapshot in a file. Throws a Failure (WrongUsage), with file and line, when it is wrong, and
/// when its end is missing, it was read by another driver or has no values.
Snapshot loadSnapshot(const TextFile& file, const Driver& driver);

/// The driver that a snapshot in a file names; empty for none.
std::string driverNamedIn(const TextFile& file);

/// The device with its type, as a snapshot has it; the same for the same values anywhere.
std::string snapshotName(const TypedDevice& device);

/// A value as a snapshot has it.
std::string snapshotText(const Value& value, const Type& type);

/// The devices of values, in the same order.
std::vector<TypedDevice> devicesOf(const std::vector<SnapshotValue>& values);

} // namespace bench

#endif
