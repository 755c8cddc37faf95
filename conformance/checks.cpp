#include "conformance/checks.h"

#include "conformance/port.h"
#include "conformance/report.h"

#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "drivers/driversetting.h"
#include "host/driverplugin.h"
#include "host/linesettings.h"

#include <QFileInfo>

#include <algorithm>
#include <climits>
#include <dlfcn.h>
#include <memory>

namespace
{

/// Units of an ordinary request: more than one, few enough for small areas.
constexpr qint64 FewUnits = 3;

std::string quoted(const QString& text)
{
    return "\"" + text.toStdString() + "\"";
}

/// What a driver made of a request.
struct Outcome {
    bool hasResult; ///< data, or that all was written
    int bytes;      ///< of data
    bool hasError;
    QString text; ///< of the last error

    std::string description() const
    {
        const std::string result = hasResult ? "success" : "no result";
        const std::string data = bytes > 0 ? " with " + std::to_string(bytes) + " bytes" : "";
        return result + data + (hasError ? ", error " + quoted(text) : ", no error");
    }

    bool isFailure() const { return hasError && !hasResult && !text.isEmpty(); }
    bool isNothing() const { return !hasError && !hasResult; }
};

/// Takes two results of an operation that has to return a new object at each call. Returns one of
/// them, or null after a failure.
template <typename Object>
std::unique_ptr<Object> newObject(Report& report, Object* first, Object* second)
{
    // The same object may be the driver's own: nothing of it is deleted here.
    if (!report.expect(first && second, "a new object", "null") ||
        !report.expect(first != second, "a new object at each call", "the same one"))
        return nullptr;
    delete second;
    return std::unique_ptr<Object>(first);
}

int fewUnits(const Request& request)
{
    return int(std::min(FewUnits, request.room));
}

class Checks
{
public:
    Checks(const QString& file, const std::vector<Request>& requests, Report& report)
        : m_file(QFileInfo(file).absoluteFilePath())
        , m_requests(requests)
        , m_report(report)
    {
    }

    void run();

private:
    template <typename Check>
    void check(const char* name, Check body)
    {
        m_report.begin(name);
        (this->*body)();
        m_report.end();
    }

    void saysWhoItIs();
    void hasAFactory();
    void handsOutDefaults();
    void servesWhatItDeclares();
    void leavesUnknownWidthsAlone();
    void triesAsOftenAsAllowed();
    void takesGarbageForAFailure();
    void refusesBadTexts();
    void asksForAFullBlock();
    void survivesAnyLength();
    void leavesMemory();

    bool load();
    bool isServed(const Request& request);
    int blockSize(const Request& request);

    Outcome ask(AbstractDeviceInterface& port, const Request& request, int dataType,
                const QString& address, int units, int dataBytes);
    Outcome ask(AbstractDeviceInterface& port, const Request& request, int units)
    {
        const Width& width = *request.width;
        return ask(port, request, width.dataType, request.device, units, units * width.dataBytes);
    }

    void expectFailure(const Outcome& outcome)
    {
        m_report.expect(outcome.isFailure(), "a failure with an error text and without data",
                        outcome.description());
    }

    const QString m_file;
    std::vector<Request> m_requests; ///< those that turned out not to be served are taken out
    Report& m_report;
    std::unique_ptr<host::DriverPlugin> m_plugin;
    DriverInterface* m_driver = nullptr;
};

Outcome Checks::ask(AbstractDeviceInterface& port, const Request& request, int dataType,
                    const QString& address, int units, int dataBytes)
{
    CommunicatorCommand command;
    command.dataType = dataType;
    command.length = units;
    command.address = address;
    if (request.direction == Direction::Write) {
        const bool written = m_driver->write(&port, command, QByteArray(dataBytes, '\1'));
        return {written, 0, m_driver->hasError(), m_driver->getLastError()};
    }
    const QByteArray data = m_driver->read(&port, command);
    return {!data.isEmpty(), data.size(), m_driver->hasError(), m_driver->getLastError()};
}

bool Checks::load()
{
    QString error;
    m_plugin = host::DriverPlugin::load(m_file, &error);
    m_driver = m_plugin ? m_plugin->driver() : nullptr;
    return m_report.expect(m_driver != nullptr, "a driver plug-in", error.toStdString());
}

void Checks::run()
{
    check("is a plug-in that says who it is", &Checks::saysWhoItIs);
    if (!m_driver)
        return;
    check("exports a factory of its own", &Checks::hasAFactory);
    check("hands out sane defaults that the caller owns", &Checks::handsOutDefaults);
    check("serves what it declares", &Checks::servesWhatItDeclares);
    if (!m_requests.empty()) {
        check("leaves unknown widths alone", &Checks::leavesUnknownWidthsAlone);
        check("tries as often as the port allows", &Checks::triesAsOftenAsAllowed);
        check("treats garbage as a failure", &Checks::takesGarbageForAFailure);
        check("refuses bad device texts before it sends anything", &Checks::refusesBadTexts);
        check("asks the line for a full block", &Checks::asksForAFullBlock);
        check("survives any length", &Checks::survivesAnyLength);
    }
    check("leaves memory when it is unloaded", &Checks::leavesMemory);
}

void Checks::saysWhoItIs()
{
    if (!load())
        return;
    const struct {
        const char* operation;
        QString text;
    } rows[] = {{"name", m_driver->name()},
                {"vender", m_driver->vender()},
                {"getVersionNumber", m_driver->getVersionNumber()}};
    for (const auto& row : rows) {
        m_report.at(row.operation);
        m_report.expect(!row.text.trimmed().isEmpty() && row.text != "Not Assigned", "a text",
                        quoted(row.text));
    }
    m_report.at("getThisObject");
    QObject* const object = m_driver->getThisObject();
    m_report.expect(qobject_cast<DriverInterface*>(object) == m_driver, "the driver itself",
                    object ? "another object" : "null");
}

void Checks::hasAFactory()
{
    // A library that does not define the function shows that of the kit it is linked against.
    void* const library = dlopen(m_file.toLocal8Bit().constData(), RTLD_NOW);
    const auto create = reinterpret_cast<DriverInterface* (*)()>(
        library ? dlsym(library, "CreateDriver") : nullptr);
    if (m_report.expect(create, "CreateDriver among the symbols", "no such symbol")) {
        m_report.at("CreateDriver");
        const auto driver = newObject(m_report, create(), create());
        if (driver)
            m_report.expect(driver->name() == m_driver->name(),
                            "a driver " + quoted(m_driver->name()),
                            quoted(driver->name()) + "; is CreateDriver defined in the plug-in?");
    }
    if (library)
        dlclose(library);
}

void Checks::handsOutDefaults()
{
    m_report.at("getDefaultSerialDeviceSetting");
    const auto line = newObject(m_report, m_driver->getDefaultSerialDeviceSetting(),
                                m_driver->getDefaultSerialDeviceSetting());
    m_report.at("getDefaultDriverSetting");
    const auto exchange = newObject(m_report, m_driver->getDefaultDriverSetting(),
                                    m_driver->getDefaultDriverSetting());
    m_report.at("");
    if (!line || !exchange)
        return;
    m_report.expect(m_driver->supportedCommunicationFlags() & int(line->type),
                    "supportedCommunicationFlags with the kind of the default line",
                    std::to_string(m_driver->supportedCommunicationFlags()));
    m_report.expect(!line->string.isEmpty(), "a port's name in the default line", "none");
    m_report.expect(exchange->timeout > 0 && exchange->retry >= 0 && exchange->delay >= 0,
                    "a time-out above 0, retries and pause of 0 or more",
                    std::to_string(exchange->timeout) + ", " + std::to_string(exchange->retry) +
                        " and " + std::to_string(exchange->delay));

    QString error;
    const QString text = m_driver->getStringBasedDefaultDriverSetting();
    const auto fromRecord = host::lineSettingsFrom(*line, &error);
    const auto fromText = host::lineSettingsFromText(text, &error);
    if (m_report.expect(fromRecord && fromText, "a default line", error.toStdString()))
        m_report.expect(fromRecord->baud == fromText->baud &&
                            fromRecord->parity == fromText->parity &&
                            fromRecord->dataBits == fromText->dataBits &&
                            fromRecord->stopBits == fromText->stopBits,
                        "the same line as record and as text", "another one in " + quoted(text));
}

/// Whether the request reaches the line. Reports a failure when it should and does not.
bool Checks::isServed(const Request& request)
{
    if (request.declared == Declared::No)
        return false;
    m_report.at(request.name() + ", " + std::to_string(fewUnits(request)) + " units");
    RecordingPort dead(silence);
    const Outcome outcome = ask(dead, request, fewUnits(request));
    if (!dead.isUntouched())
        return true;
    if (request.declared == Declared::Yes || !outcome.isNothing())
        m_report.expect(false, "a command on the line",
                        "nothing sent, " + outcome.description() +
                            (outcome.isNothing() ? "; so this width is not served" : ""));
    return false;
}

/// A line for each device and direction, such as "D0 read word, dword".
std::vector<std::string> linesOf(const std::vector<Request>& requests)
{
    std::vector<std::string> lines;
    const Request* last = nullptr;
    for (const Request& request : requests) {
        const bool continues =
            last && request.device == last->device && request.direction == last->direction;
        if (continues)
            lines.back() += ", " + std::string(request.width->name);
        else
            lines.push_back(request.device.toStdString() + " " + request.kind());
        last = &request;
    }
    return lines;
}

void Checks::servesWhatItDeclares()
{
    std::vector<Request> served, skipped;
    for (const Request& request : m_requests)
        (isServed(request) ? served : skipped).push_back(request);
    m_requests = served;
    m_report.at("");
    m_report.expect(!served.empty(), "at least one width that is served", "none");
    for (const std::string& line : linesOf(served))
        m_report.note("tested:  " + line);
    for (const std::string& line : linesOf(skipped))
        m_report.note("skipped: " + line);
}

void Checks::leavesUnknownWidthsAlone()
{
    for (const Request& request : {m_requests.front(), m_requests.back()}) {
        for (int dataType : {-1, 7, 99, INT_MIN, INT_MAX}) {
            m_report.at(request.name() + " with the code " + std::to_string(dataType));
            RecordingPort dead(silence, 3);
            const Outcome outcome = ask(dead, request, dataType, request.device, 1, 8);
            m_report.expect(outcome.isNothing() && dead.isUntouched(),
                            "no result, no error, nothing sent",
                            outcome.description() + (dead.isUntouched() ? "" : ", a command"));
        }
    }
}

void Checks::triesAsOftenAsAllowed()
{
    const struct {
        int retries;
        size_t attempts;
    } rows[] = {{-1, 1}, {0, 1}, {1, 2}, {3, 4}};
    const std::string begin = "discard write read";
    for (const Request& request : m_requests) {
        for (const auto& row : rows) {
            m_report.at(request.name() + ", a dead port, " + std::to_string(row.retries) +
                        " retries");
            RecordingPort dead(silence, row.retries);
            expectFailure(ask(dead, request, fewUnits(request)));
            m_report.expect(dead.attempts().size() == row.attempts,
                            std::to_string(row.attempts) + " attempts, each after a pause",
                            std::to_string(dead.attempts().size()));
            for (const std::string& attempt : dead.attempts())
                m_report.expect(attempt.compare(0, begin.size(), begin) == 0,
                                "pause, discard (option 12 with 0), write, read",
                                "pause " + attempt);
        }
    }
}

void Checks::takesGarbageForAFailure()
{
    const struct {
        const char* name;
        RecordingPort::Reply reply;
    } garbageReplies[] = {
        {"a negative count", [](char*, int) { return -1; }},
        {"one byte too many", [](char*, int most) { return most + 1; }},
        {"one byte missing", [](char*, int most) { return most - 1; }},
        {"zeros", [](char*, int most) { return most; }},
    };
    for (const auto& garbage : garbageReplies) {
        for (const Request& request : m_requests) {
            m_report.at(request.name() + ", each read brings " + garbage.name);
            RecordingPort port(garbage.reply, 1);
            expectFailure(ask(port, request, fewUnits(request)));
            m_report.expect(port.attempts().size() == 2, "2 attempts with 1 retry",
                            std::to_string(port.attempts().size()));
        }
    }
}

void Checks::refusesBadTexts()
{
    const struct {
        const char* name;
        QString after;
    } rows[] = {
        {"a blank after it", " "},
        {"a line end after it", "\r\n"},
        {"a control character after it", "\x01"},
        {"a NUL after it", QString(1, QChar(0))},
        {"an 8-bit character after it", QString(1, QChar(0xB2))},
        {"200 more digits", QString(200, '1')},
    };
    const auto refuse = [&](const Request& request, const std::string& name, const QString& text) {
        m_report.at(request.name() + ", " + name);
        RecordingPort dead(silence);
        const Outcome outcome =
            ask(dead, request, request.width->dataType, text, 1, request.width->dataBytes);
        expectFailure(outcome);
        m_report.expect(dead.isUntouched(), "nothing sent", "a command");
    };
    for (const Request& request : m_requests) {
        // Which symbols have bits to write may only be known once a link is open.
        if (!request.width->isBits() || request.direction == Direction::Read)
            refuse(request, "an empty device text", "");
        for (const auto& row : rows)
            refuse(request, row.name, request.device + row.after);
    }
}

int Checks::blockSize(const Request& request)
{
    const int size = request.width->isBits() ? m_driver->getBitBlockAccessSize()
                                             : m_driver->getBlockAccessSize();
    return int(std::min(qint64(size), request.room));
}

void Checks::asksForAFullBlock()
{
    for (const Request& request : m_requests) {
        const int units = blockSize(request);
        m_report.at(request.name() + ", " + std::to_string(units) + " units");
        if (!m_report.expect(units > 0, "a block size above 0 for a width that is served",
                             std::to_string(units)))
            continue;
        RecordingPort dead(silence);
        const Outcome outcome = ask(dead, request, units);
        m_report.expect(!dead.isUntouched(), "a command on the line, as a full block has to work",
                        "nothing sent, " + outcome.description());
    }
}

void Checks::survivesAnyLength()
{
    for (const Request& request : m_requests) {
        for (int units : {0, -1, INT_MIN, INT_MAX}) {
            m_report.at(request.name() + ", a length of " + std::to_string(units) +
                        ", a dead port");
            RecordingPort dead(silence);
            const int dataBytes = 1; // which is not a whole unit of most widths
            const Outcome outcome =
                ask(dead, request, request.width->dataType, request.device, units, dataBytes);
            m_report.expect(outcome.bytes == 0 && !(outcome.hasResult && outcome.hasError),
                            "no data", outcome.description());
        }
    }
}

void Checks::leavesMemory()
{
    m_plugin.reset();
    for (int i = 0; i < 20; ++i) {
        if (!load())
            return;
        RecordingPort dead(silence);
        if (!m_requests.empty())
            ask(dead, m_requests.front(), 1);
        m_plugin.reset();
        void* const library = dlopen(m_file.toLocal8Bit().constData(), RTLD_NOW | RTLD_NOLOAD);
        if (!m_report.expect(!library, "the library unloaded", "it is still in memory"))
            return;
    }
}

} // namespace

void runChecks(const QString& file, const std::vector<Request>& requests, Report& report)
{
    Checks(file, requests, report).run();
}
