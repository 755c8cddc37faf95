// Story files: what a driver does with its port, as text. StoriesHelp, which paneldriver-play
// prints, describes their form.
#ifndef CONFORMANCE_STORIES_H
#define CONFORMANCE_STORIES_H

#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

extern const char* const StoriesHelp;

struct Story {
    std::string name;
    int line = 0; ///< of the name in its file
    std::string request;
    std::vector<std::string> calls; ///< as ScriptedPort has them
    std::string outcome;            ///< begins with '=' or '!'
};

/// Says the reason.
struct BadStory : std::runtime_error {
    BadStory(int badLine, const std::string& reason)
        : std::runtime_error(reason)
        , line(badLine)
    {
    }
    const int line;
};

/// Reads all stories, with their shorthands written out. Throws BadStory.
std::vector<Story> readStories(std::istream& file);

#endif
