// paneldriver-contract: checks that a driver plug-in does what every driver has to do.
#include "conformance/checks.h"
#include "conformance/report.h"

#include "host/driverdescription.h"
#include "host/driverplugin.h"
#include "host/standardstreams.h"

#include <CLI/CLI.hpp>
#include <QFileInfo>

#include <iostream>

namespace
{

enum ExitStatus { Passed = 0, Failed = 1, WrongUsage = 2 };

const char* const Footer =
    R"(The first device of each area in the plug-in's description (the JSON file that
PANEL_DRIVER names) is used. Without a description, name devices with --word and
--bit. Enough devices for a full block must follow each.

WIDTHS is "none" or a list from bit,byte,word,dword,quad,block,group. --read and
--write say which widths the driver serves, in every area, and override the
description. Those widths have to work; the others are skipped. When neither
says whether a width is served, it is tried: it is skipped if the request
returns no result and no error, and sends nothing.

No controller is connected, so the program cannot tell a right reply from a
wrong one. It checks that the driver asks for a full block, not that the driver
understands the reply: write a story for that, and play it with
paneldriver-play.

Example:
  paneldriver-contract build/libmydriver.so --word D0 --write none

Exit status: 0 passed, 1 failed, 2 wrong usage; 128 plus the signal's number if
the driver crashes.)";

/// The names in an option's value; throws for an unknown one.
QStringList widthsIn(const std::string& value)
{
    QStringList names = QString::fromStdString(value).split(',');
    if (names == QStringList("none"))
        return {};
    for (const QString& name : names)
        if (!widthNamed(name.toStdString()))
            throw CLI::ValidationError("there is no width " + name.toStdString());
    return names;
}

/// Benches ignore unknown keys, so a misspelt one would go unnoticed.
void checkDescription(const host::DriverDescription& description, Report& report)
{
    report.begin("describes its devices with known keys");
    const std::string first =
        description.unknownKeys.empty() ? std::string() : description.unknownKeys.front();
    report.expect(first.empty(), "no keys but " + host::knownAreaKeys(), first);
    report.end();
}

ExitStatus complain(const std::string& reason)
{
    std::cerr << "paneldriver-contract: " << reason << "\nTry 'paneldriver-contract --help'.\n";
    return WrongUsage;
}

int run(int argc, char** argv)
{
    CLI::App app("Checks that a driver plug-in does what a panel's runtime expects of a driver.\n",
                 "paneldriver-contract");
    std::string file, word, bit;
    Choice choice;
    app.add_option("FILE", file, "The plug-in")->required()->option_text(" ");
    app.add_option("--word", word, "A device for values, such as D0")->type_name("DEVICE");
    app.add_option("--bit", bit, "A device for bits")->type_name("DEVICE");
    const auto addWidths = [&](const char* name, std::optional<QStringList>& widths,
                               const std::string& what) {
        app.add_option_function<std::string>(
               name, [&](const std::string& value) { widths = widthsIn(value); },
               "Widths that the driver " + what)
            ->type_name("WIDTHS");
    };
    addWidths("--read", choice.read, "reads");
    addWidths("--write", choice.write, "writes");
    app.footer(Footer);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        return complain(error.what());
    }
    choice.wordDevice = QString::fromStdString(word);
    choice.bitDevice = QString::fromStdString(bit);
    if (!QFileInfo::exists(QString::fromStdString(file)))
        return complain("can't load driver " + file + ": no such file");
    QString error;
    const auto description = host::readDriverDescription(QString::fromStdString(file), &error);
    if (!description) {
        std::cout << "FAILED   " << error.toStdString() << "\n";
        return Failed;
    }
    const std::vector<Request> requests = requestsFor(choice, *description);
    if (requests.empty() && !host::DriverPlugin::load(QString::fromStdString(file), &error))
        return complain(error.toStdString());
    if (requests.empty())
        return complain(file + " has no description of devices: name some with --word and --bit");

    Report report;
    checkDescription(*description, report);
    runChecks(QString::fromStdString(file), requests, report);
    return report.summarize() ? Passed : Failed;
}

} // namespace

int main(int argc, char** argv)
{
    host::openMissingStreams();
    const int status = run(argc, argv);
    return host::finishOutput("paneldriver-contract") ? status : Failed;
}
