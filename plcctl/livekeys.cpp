#include "livekeys.h"

#include <algorithm>
#include <cstring>

namespace plcctl
{

namespace
{

using bench::WatchThread;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// Faster and slower go from one of these to the next.
constexpr milliseconds Intervals[] = {
    milliseconds(0),   milliseconds(10),  milliseconds(20), milliseconds(50), milliseconds(100),
    milliseconds(200), milliseconds(500), seconds(1),       seconds(2),       seconds(5),
    seconds(10),       seconds(30),       seconds(60)};

/// The next one in the table, also from one that is not in it.
void readFaster(LiveView& view, WatchThread& watch)
{
    const auto at = std::lower_bound(std::begin(Intervals), std::end(Intervals), view.interval);
    view.interval = at == std::begin(Intervals) ? *at : *(at - 1);
    watch.setInterval(view.interval);
}

void readSlower(LiveView& view, WatchThread& watch)
{
    const auto at = std::upper_bound(std::begin(Intervals), std::end(Intervals), view.interval);
    view.interval = at == std::end(Intervals) ? *(at - 1) : *at;
    watch.setInterval(view.interval);
}

void sortNext(LiveView& view, WatchThread&)
{
    view.order = (view.order + 1) % std::size(Orders);
    view.message = std::string("Sorted ") + Orders[view.order].name;
}

void beginPrompt(LiveView& view, WatchThread&)
{
    const bench::Point& point = view.points[view.marked];
    if (point.writable)
        view.prompt = Prompt{view.marked, ""};
    else
        view.message = point.name + " is not writable";
}

void turnPages(LiveView& view, int pages)
{
    view.moveMark(pages * std::max(1, view.tableLines - 1));
}

/// What a key does while the table is shown.
struct Binding {
    Key::Kind kind;         ///< None: only the characters
    const char* characters; ///< each of these
    void (*act)(LiveView& view, WatchThread& watch);
    const char* help; ///< null: told with the one before
};

const Binding TableKeys[] = {
    {Key::Up, "k", [](LiveView& view, WatchThread&) { view.moveMark(-1); },
     "Up, Down, j, k        mark a line"},
    {Key::Down, "j", [](LiveView& view, WatchThread&) { view.moveMark(1); }, nullptr},
    {Key::PageUp, "", [](LiveView& view, WatchThread&) { turnPages(view, -1); },
     "PgUp, PgDn, Home, End mark a line further away"},
    {Key::PageDown, "", [](LiveView& view, WatchThread&) { turnPages(view, 1); }, nullptr},
    {Key::First, "", [](LiveView& view, WatchThread&) { view.marked = view.rows.front(); },
     nullptr},
    {Key::Last, "", [](LiveView& view, WatchThread&) { view.marked = view.rows.back(); }, nullptr},
    {Key::Enter, "w", beginPrompt, "w or Enter            write a value to the marked line"},
    {Key::None, " ",
     [](LiveView& view, WatchThread& watch) { watch.setPaused(view.isPaused = !view.isPaused); },
     "Space                 pause, continue"},
    {Key::None, "+=", readFaster, "+ and -               read faster, slower"},
    {Key::None, "-", readSlower, nullptr},
    {Key::None, "s", sortNext, "s                     sort: by name, by last change, as given"},
    {Key::None, "?h", [](LiveView& view, WatchThread&) { view.showsHelp = true; },
     "? or h                this help"},
    {Key::None, "q", [](LiveView& view, WatchThread&) { view.quits = true; },
     "q                     quit; a summary follows"},
};

void takeTableKey(const Key& key, LiveView& view, WatchThread& watch)
{
    for (const Binding& binding : TableKeys) {
        if (key.kind == Key::Text ? std::strstr(binding.characters, key.text.c_str()) != nullptr
                                  : key.kind == binding.kind)
            return binding.act(view, watch);
    }
}

/// A character, with all its bytes.
void eraseLast(std::string& text)
{
    while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80)
        text.pop_back();
    if (!text.empty())
        text.pop_back();
}

/// A value that is refused stays in the prompt to be corrected.
void orderWrite(LiveView& view, WatchThread& watch)
{
    try {
        const bench::Point& point = view.points[view.prompt->index];
        watch.write(view.prompt->index, bench::valueToWrite(point, view.prompt->text));
        view.message = point.name + ": writing";
        view.prompt.reset();
    } catch (const bench::Failure& failure) {
        view.message = inOneLine(failure);
    }
}

void takePromptKey(const Key& key, LiveView& view, WatchThread& watch)
{
    if (key.kind == Key::Escape)
        view.prompt.reset();
    else if (key.kind == Key::Enter)
        orderWrite(view, watch);
    else if (key.kind == Key::Erase)
        eraseLast(view.prompt->text);
    else if (key.kind == Key::EraseAll)
        view.prompt->text.clear();
    else if (key.kind == Key::Text)
        view.prompt->text += key.text;
}

} // namespace

const char* const KeyLine = " Up/Down mark  w write  Space pause  +- speed  s sort  ? help  q quit";

std::vector<std::string> keyHelp()
{
    std::vector<std::string> lines;
    for (const Binding& binding : TableKeys) {
        if (binding.help)
            lines.push_back(binding.help);
    }
    return lines;
}

void takeKey(const Key& key, LiveView& view, WatchThread& watch)
{
    view.message.clear();
    if (view.prompt)
        takePromptKey(key, view, watch);
    else if (view.showsHelp)
        view.showsHelp = false;
    else
        takeTableKey(key, view, watch);
}

} // namespace plcctl
