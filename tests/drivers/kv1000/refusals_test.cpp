// The stories of transcripts.txt, with each of their replies replaced by a refusal.
#include "conformance/play.h"
#include "conformance/scriptedport.h"

#include "drivers/driverinterface.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>

extern "C" DriverInterface* CreateDriver();

namespace
{

using Calls = std::vector<std::string>;

bool isReply(const Calls& calls, size_t step)
{
    return step > 0 && calls[step].compare(0, 5, "read ") == 0 &&
           calls[step - 1].compare(0, 6, "write ") == 0;
}

/// The calls up to the reply at `step`, which is a refusal, and the close that follows; the open
/// and the close themselves are refused without one.
Calls refusedAt(size_t step, const Calls& calls)
{
    const std::string& command = calls[step - 1];
    const int asked = unquoted(calls[step]).size();
    Calls refused(calls.begin(), calls.begin() + std::ptrdiff_t(step));
    refused.push_back("read " + std::to_string(asked) + " " +
                      quoted(QByteArray("E1\r\n").left(asked)));
    if (command != R"(write "CR\r\n")" && command != R"(write "CQ\r\n")") {
        if (asked == 3)
            refused.push_back(R"(read 1 "\n")");
        refused.insert(refused.end(), {"option 12 0", R"(write "CQ\r\n")", R"(read 4 "CF\r\n")"});
    }
    return refused;
}

TEST(RefusedStories, EndTheSessionAndAreTriedAgain)
{
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    std::ifstream file(TRANSCRIPTS);
    for (const Story& story : readStories(file)) {
        SCOPED_TRACE(story.name);
        for (size_t step = 0; succeedsAtOnce(story) && step < story.calls.size(); ++step) {
            if (!isReply(story.calls, step))
                continue;
            Calls script = refusedAt(step, story.calls);
            script.push_back("retry 0");
            const Played alone = play(*driver, story.request, script);
            EXPECT_EQ(alone.calls, script);
            EXPECT_EQ(alone.outcome.substr(0, 31), "! Response During an Error:E1\\r");

            script.back() = "retry 2";
            script.insert(script.end(), story.calls.begin(), story.calls.end());
            const Played again = play(*driver, story.request, script);
            EXPECT_EQ(difference({script, story.outcome}, again), "");
        }
    }
}

} // namespace
