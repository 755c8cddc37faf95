// paneldriver-play: plays story files against any driver plug-in.
#include "conformance/play.h"

#include "host/driverplugin.h"
#include "host/standardstreams.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>

namespace
{

enum ExitStatus { AllPlayed = 0, SomeFailed = 1, WrongUsage = 2 };

const char* const Footer = R"(

--cut and --faults repeat each story that succeeds without a retry, each time
with another read damaged. --cut cuts the read short at each of its bytes;
--faults returns a count that is too large or negative, other bytes, or NUL
bytes. A wrong count has to end the attempt as "packet loss". Other bytes have
to make it fail, unless they do not affect the result. After a failure the port
allows a retry, which has to succeed.

For each failed story the first difference is shown: '-' is the story, '+' the
driver.

Exit status: 0 all stories passed, 1 some did not, 2 wrong usage.)";

struct Options {
    std::string driver;
    std::string stories;
    std::string part; ///< of the names of the stories to play
    bool cut = false;
    bool faults = false;
};

struct Counts {
    int stories = 0;
    int damaged = 0;
    int failed = 0;
};

ExitStatus complain(const std::string& reason)
{
    std::cerr << "paneldriver-play: " << reason << "\nTry 'paneldriver-play --help'.\n";
    return WrongUsage;
}

/// Prints the first mismatch of a story; the others would repeat it.
void playStory(DriverInterface& driver, const Story& story, const Options& options, Counts& counts)
{
    std::vector<Mismatch> results = playWith(Damage::None, driver, story);
    const auto add = [&](Damage damage) {
        const std::vector<Mismatch> more = playWith(damage, driver, story);
        results.insert(results.end(), more.begin(), more.end());
    };
    const bool isWhole = results.front().difference.empty();
    if (isWhole && options.cut)
        add(Damage::Cuts);
    if (isWhole && options.faults)
        add(Damage::Faults);
    counts.stories += 1;
    counts.damaged += int(results.size()) - 1;

    const auto isWrong = [](const Mismatch& result) { return !result.difference.empty(); };
    const auto first = std::find_if(results.begin(), results.end(), isWrong);
    if (first == results.end())
        return;
    counts.failed += 1;
    std::cout << "FAILED  " << options.stories << ":" << story.line << ": " << first->name << "\n"
              << "    " << story.request << "\n"
              << first->difference;
    const auto others = std::count_if(first + 1, results.end(), isWrong);
    if (others > 0)
        std::cout << "    and " << others << " more with other damage\n";
    std::cout << "\n";
}

ExitStatus playAll(const Options& options)
{
    std::ifstream file(options.stories);
    QString error;
    const auto plugin = host::DriverPlugin::load(QString::fromStdString(options.driver), &error);
    if (!plugin)
        return complain(error.toStdString());

    Counts counts;
    const std::vector<Story> stories = readStories(file);
    if (stories.empty())
        return complain(options.stories + " has no stories");
    for (const Story& story : stories)
        if (story.name.find(options.part) != std::string::npos)
            playStory(*plugin->driver(), story, options, counts);
    if (counts.stories == 0)
        return complain("there is no such story in " + options.stories);

    std::cout << "stories played: " << counts.stories;
    if (options.cut || options.faults)
        std::cout << "; damaged: " << counts.damaged;
    std::cout << "; failed: " << counts.failed << "\n";
    return counts.failed == 0 ? AllPlayed : SomeFailed;
}

int run(int argc, char** argv)
{
    Options options;
    CLI::App app("Plays stories against a driver plug-in: a port answers the driver as the story\n"
                 "says, and every call that the driver makes has to be the next in the story.\n"
                 "One driver object plays all stories.\n",
                 "paneldriver-play");
    app.add_option("FILE", options.driver, "The plug-in")->required()->option_text(" ");
    app.add_option("STORIES", options.stories, "The stories")
        ->required()
        ->check(CLI::ExistingFile)
        ->option_text(" ");
    app.add_flag("--cut", options.cut, "Play them also with reads cut short");
    app.add_flag("--faults", options.faults, "Play them also with damaged reads");
    app.add_option("--story", options.part, "Play only the stories with TEXT in their name")
        ->type_name("TEXT");
    app.footer(std::string(StoriesHelp) + Footer);
    try {
        app.parse(argc, argv);
        return playAll(options);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const BadStory& bad) {
        return complain(options.stories + ":" + std::to_string(bad.line) + ": " + bad.what());
    } catch (const std::exception& error) {
        return complain(error.what());
    }
}

} // namespace

int main(int argc, char** argv)
{
    host::openMissingStreams();
    const int status = run(argc, argv);
    return host::finishOutput("paneldriver-play") ? status : SomeFailed;
}
