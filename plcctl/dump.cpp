// plcctl dump: what many devices hold, into a snapshot. The file grows under the name FILE.part and
// gets its own name when it is complete.
#include "bench.h"
#include "commands.h"
#include "output.h"
#include "progress.h"
#include "report.h"

#include "bench/file.h"
#include "bench/snapshot.h"

#include <CLI/CLI.hpp>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>
#include <unordered_map>

namespace plcctl
{

namespace
{

using bench::Failure;
using bench::FailureKind;

struct DumpOptions {
    BenchOptions bench;
    std::vector<std::string> devices;
    std::string file; ///< empty: standard output
    bool resume = false;
    bool date = false;
};

/// Where the lines go while they come.
class PartFile
{
public:
    explicit PartFile(const std::string& file)
        : m_file(file)
        , m_part(file + ".part")
    {
    }

    const std::string& name() const { return m_part; }
    bool exists() const { return QFileInfo::exists(QString::fromStdString(m_part)); }

    /// The whole text of the file from now on. A crash leaves the old or the new one.
    void begin(const std::string& text)
    {
        replace(text);
        m_stream.open(m_part, std::ios::binary | std::ios::app);
        check(bool(m_stream));
    }

    /// What is added is out of this program when this returns.
    void add(const std::string& text)
    {
        m_stream << text << std::flush;
        check(bool(m_stream));
    }

    void finish(const std::string& text)
    {
        m_stream.close();
        replace(text);
        check(std::rename(m_part.c_str(), m_file.c_str()) == 0);
    }

private:
    void replace(const std::string& text)
    {
        QSaveFile file(QString::fromStdString(m_part));
        const bool isWritten = file.open(QIODevice::WriteOnly) &&
                               file.write(text.data(), qint64(text.size())) >= 0 && file.commit();
        if (!isWritten)
            throw Failure(FailureKind::CannotOpen,
                          "cannot write " + m_part + ": " + file.errorString().toStdString());
    }

    void check(bool isGood) const
    {
        if (!isGood)
            throw Failure(FailureKind::CannotOpen,
                          "cannot write " + m_part + ": " + std::generic_category().message(errno));
    }

    std::string m_file;
    std::string m_part;
    std::ofstream m_stream;
};

std::string joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

/// What an earlier dump has left: the lines that are whole.
bench::Snapshot loadPart(const PartFile& part, const bench::Devices& devices)
{
    std::string content = bench::contentOf(part.name());
    content.resize(content.rfind('\n') + 1);
    try {
        return bench::parseSnapshot(content, devices);
    } catch (const Failure& failure) {
        throw Failure(failure.kind(), part.name() + ", " + failure.what(), failure.advice());
    }
}

class Dump
{
public:
    explicit Dump(const DumpOptions& options)
        : m_options(options)
        , m_bench(options.bench)
        , m_part(options.file)
        , m_points(bench::snapshotPoints(m_bench.points(options.devices)))
        , m_readings(m_points.size())
    {
        m_header.tool = "plcctl " PLCCTL_VERSION;
        m_header.driver = m_bench.driver().name();
        m_header.devices = joined(options.devices);
        if (options.date)
            m_header.date = timeStamp();
    }

    int run()
    {
        bench::planReads(devicesOf(m_points), m_bench.driver().blocks());
        if (m_options.resume)
            takePart();
        bench::Session& session = m_bench.session();
        if (isToFile())
            m_part.begin(wholeText());
        if (!readMissing(session))
            return stopped();
        if (isToFile())
            m_part.finish(wholeText());
        else
            std::fputs(wholeText().c_str(), stdout);
        tellResult();
        return m_status;
    }

private:
    bool isToFile() const { return !m_options.file.empty(); }

    std::string wholeText() const
    {
        return bench::textOf(m_header) + bench::snapshotLines(m_points, m_readings);
    }

    void takePart()
    {
        if (!m_part.exists())
            return note("there is no " + m_part.name() + "; reading all");
        const bench::Snapshot part = loadPart(m_part, m_bench.driver().devices());
        if (part.header.devices != m_header.devices || part.header.driver != m_header.driver)
            throw bench::wrongUsage(m_part.name() + " is of another dump: " + part.header.devices +
                                        " by " + part.header.driver,
                                    "Name the same devices, or leave --resume out to begin again.");
        std::unordered_map<std::string, const bench::Value*> known;
        for (const bench::SnapshotValue& value : part.values)
            known[bench::snapshotName(value.point.device)] = &value.value;
        for (std::size_t i = 0; i < m_points.size(); ++i) {
            const auto found = known.find(bench::snapshotName(m_points[i].device));
            if (found == known.end())
                continue;
            m_readings[i].value = *found->second;
            ++m_known;
        }
        note(counted(m_known, "value") + " of " + std::to_string(m_points.size()) + " taken from " +
             m_part.name());
    }

    /// Returns false when a signal has stopped it.
    bool readMissing(bench::Session& session)
    {
        std::vector<std::size_t> missing;
        std::vector<bench::TypedDevice> devices;
        for (std::size_t i = 0; i < m_points.size(); ++i) {
            if (m_readings[i].value)
                continue;
            missing.push_back(i);
            devices.push_back(m_points[i].device);
        }
        Progress progress(m_points.size(), m_known);
        m_done = m_known;
        progress.show(m_done);
        return bench::readBlocks(session, devices, [&](const auto& indices, const auto& readings) {
            std::vector<bench::Point> points;
            for (std::size_t i = 0; i < indices.size(); ++i) {
                const std::size_t place = missing[indices[i]];
                m_readings[place] = readings[i];
                points.push_back(m_points[place]);
                if (readings[i].failure)
                    tellFailure(progress, *readings[i].failure, points.back());
            }
            if (isToFile())
                m_part.add(bench::snapshotLines(points, readings));
            m_done += indices.size();
            progress.show(m_done);
        });
    }

    /// Once for neighbours that fail alike.
    void tellFailure(Progress& progress, const Failure& failure, const bench::Point& point)
    {
        if (m_status == Success)
            m_status = bench::exitStatus(failure.kind());
        if (failure.what() == m_lastFailure)
            return;
        m_lastFailure = failure.what();
        progress.clear();
        report(failure, point.name);
    }

    int stopped() const
    {
        if (isToFile())
            note("stopped; " + std::to_string(m_done) + " of " + counted(m_points.size(), "value") +
                 " are in " + m_part.name() + ". The same command with --resume reads the rest.");
        return bench::exitStatus(FailureKind::NoReply);
    }

    void tellResult() const
    {
        const auto failed = std::count_if(m_readings.begin(), m_readings.end(),
                                          [](const auto& reading) { return !reading.value; });
        const std::size_t good = m_readings.size() - std::size_t(failed);
        const std::string place = isToFile() ? " in " + m_options.file : "";
        note(counted(good, "value") + place +
             (failed == 0 ? "" : ", " + std::to_string(failed) + " could not be read"));
    }

    const DumpOptions& m_options;
    Bench m_bench;
    PartFile m_part;
    bench::SnapshotHeader m_header;
    std::vector<bench::Point> m_points;
    std::vector<bench::Reading> m_readings; ///< parallel to the points
    std::size_t m_known = 0;                ///< from an earlier dump
    std::size_t m_done = 0;
    std::string m_lastFailure;
    int m_status = Success;
};

int dump(const DumpOptions& options)
{
    if (options.resume && options.file.empty())
        throw bench::wrongUsage("--resume wants the --output of the dump that was stopped");
    return Dump(options).run();
}

} // namespace

void addDumpCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("dump", "Save devices to a text file, for restore and diff");
    const auto options = std::make_shared<DumpOptions>();
    addDevicesArgument(*command, options->devices);
    command
        ->add_option("-o,--output", options->file,
                     "File to write; FILE.part until it is complete (default: standard output)")
        ->type_name("FILE");
    command->add_flag("--resume", options->resume,
                      "Go on with FILE.part; what it has is not read again");
    command->add_flag("--date", options->date,
                      "Write date and time into the file. Without them two dumps of the same "
                      "values are the same");
    addBenchOptions(*command, options->bench);
    command->footer(R"(Devices that can't be read are reported and become comments in the file; the
exit status is that of the first. After Ctrl-C, --resume goes on.

Examples:
  plcctl dump DM0..DM4999 MR0..MR99915 -o line3.txt -p /dev/ttyUSB0
  plcctl dump DM0..DM4999 MR0..MR99915 -o line3.txt -p /dev/ttyUSB0 --resume
  plcctl dump 'boiler.*' DM8:dint --tags plant.csv -p tcp:192.168.0.10)");
    command->callback([options, &status] { status = dump(*options); });
}

} // namespace plcctl
