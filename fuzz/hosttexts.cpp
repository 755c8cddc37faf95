// Texts that a person types for the host, port addresses and line settings: any text is refused
// with a reason or means something that can be written down and read back.
#include "host/linesettings.h"
#include "host/portaddress.h"
#include "input.h"

#include <QStringList>

namespace
{

using host::Parity;
using host::PortAddress;
using host::StopBits;

void checkAddress(const QString& text)
{
    QString error;
    const auto address = host::portAddressFromText(text, &error);
    require(address.has_value() == error.isEmpty(), "a bad address has a reason");
    if (!address)
        return;
    require(!address->place.isEmpty(), "an address leads somewhere");
    const bool isTcp = address->kind == PortAddress::Kind::Tcp;
    require(isTcp == text.startsWith("tcp:", Qt::CaseInsensitive), "what begins with tcp: is TCP");
    const auto again = host::portAddressFromText(host::textOf(*address), &error);
    require(again && again->kind == address->kind && again->place == address->place &&
                again->tcpPort == address->tcpPort,
            "an address written down");
}

void checkListenAddress(const QString& text)
{
    QString error;
    const auto address = host::listenAddressFromText(text, &error);
    require(address.has_value() == error.isEmpty(), "a bad place to listen at has a reason");
    if (!address)
        return;
    require(address->kind == PortAddress::Kind::Tcp, "servers listen on TCP");
    require(text.section(':', -1).toLongLong() == address->tcpPort, "the port is at the end");
    const bool isPortAlone = !text.contains(':');
    require(!address->place.isEmpty() && (isPortAlone || text.contains(address->place)),
            "the address stands before it");
    if (address->tcpPort == 0)
        return;
    const auto again = host::portAddressFromText(host::textOf(*address), &error);
    require(again && again->place == address->place && again->tcpPort == address->tcpPort,
            "what a server prints, a host can type");
}

/// "RS232,9600,EVEN,8,1": every field by itself.
void checkLine(const QString& text)
{
    static const QStringList parities = {"NONE", "ODD", "EVEN", "MARK", "SPACE"};
    QString error;
    const auto line = host::lineSettingsFromText(text, &error);
    require(line.has_value() == error.isEmpty(), "bad settings have a reason");
    QStringList fields = text.toUpper().split(',');
    for (QString& field : fields)
        field = field.trimmed();
    if (!line)
        return;
    require(fields.size() == 5, "five fields");
    require(fields[1].toLongLong() == line->baud && line->baud > 0, "baud rate");
    require(parities.indexOf(fields[2]) == int(line->parity), "parity");
    require(fields[3].toInt() == line->dataBits && line->dataBits >= 5 && line->dataBits <= 8,
            "data bits");
    require(fields[4].toInt() == (line->stopBits == StopBits::One ? 1 : 2), "stop bits");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), int(size));
    checkAddress(text);
    checkListenAddress(text);
    checkLine(text);
    return 0;
}
