// paneldriver-contract: asks of a driver plug-in what every driver has to do.
#include "conformance/checks.h"
#include "conformance/report.h"

#include "host/driverdescription.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace
{

enum ExitStatus { Passed = 0, Failed = 1, WrongUsage = 2 };

const char* const Footer =
    R"(Devices come from the description in the plug-in (the JSON file that
PANEL_DRIVER names): the first of each area. Without one, name them; from there
on there should be as many devices as the driver's block sizes promise.

WIDTHS is none, or some of bit,byte,word,dword,quad,block,group. The description
tells which are served: those have to be, and the others are skipped. --read and
--write tell it instead. Where nothing tells it, a request that comes back with
no result and no error, and put nothing on the line, is not served and is
skipped.

Nothing is attached to the port, and the program speaks no protocol. So it sees
that a full block is asked for, not that its reply is understood: tell that in a
story for paneldriver-play.

Example:
  paneldriver-contract build/libmydriver.so --word D0 --write none

Exit status: 0 passed, 1 failed, 2 wrong usage; a driver that crashes ends the
program.)";

/// The names in an option's value; throws for an unknown one.
QStringList widthsIn(const std::string& value)
{
    QStringList names = QString::fromStdString(value).split(',');
    if (names == QStringList("none"))
        return {};
    for (const QString& name : names) {
        const auto isIt = [&](const Width& width) { return name == width.name; };
        if (std::none_of(std::begin(Widths), std::end(Widths), isIt))
            throw CLI::ValidationError("there is no width " + name.toStdString());
    }
    return names;
}

ExitStatus complain(const std::string& reason)
{
    std::cerr << "paneldriver-contract: " << reason << "\nTry 'paneldriver-contract --help'.\n";
    return WrongUsage;
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Asks of a driver plug-in what a panel's runtime expects of every driver.\n",
                 "paneldriver-contract");
    std::string file, word, bit;
    Choice choice;
    app.add_option("FILE", file, "The plug-in")
        ->required()
        ->check(CLI::ExistingFile)
        ->option_text(" ");
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
    QString error;
    const auto description = host::readDriverDescription(QString::fromStdString(file), &error);
    if (!description) {
        std::cout << "FAILED   " << error.toStdString() << "\n";
        return Failed;
    }
    const std::vector<Request> requests = requestsFor(choice, *description);
    if (requests.empty())
        return complain(file + " has no description of devices: name some with --word and --bit");

    Report report;
    runChecks(QString::fromStdString(file), requests, report);
    return report.summarize() ? Passed : Failed;
}
