// Values on their way to points: from the words of a command, or from a text of pairs such as
//
//   # a comment, as is all that follows a blank and a #
//   DM100 12
//   MR500 = 1
//   boiler.setpoint 21.5
//   DM30:string8 "A # in quotes"
//
// A text with blanks is in quotes, and a quote in it is written twice.
#ifndef BENCH_RECIPE_H
#define BENCH_RECIPE_H

#include "bench/points.h"
#include "bench/session.h"

#include <string>
#include <vector>

namespace bench
{

/// What is written, in this order.
struct Recipe {
    struct Entry {
        Point point;
        Value value;
        std::string typed; ///< what the value was made from
        int line = 0;      ///< of a text, counted from 1; else 0
    };

    std::string name; ///< of the text, for messages; else empty
    std::vector<Entry> entries;

    std::vector<TypedDevice> devices() const;
    std::vector<Value> values() const;
};

/// A value for each point that `names` stands for, as resolveToWrite() says. Throws a Failure
/// (WrongUsage).
Recipe recipeOf(const std::string& names, const std::vector<std::string>& values,
                const Names& known);

/// The pairs of a text, one a line. Throws a Failure (WrongUsage) that names the line, also for a
/// text without any pair.
///
/// name  of the text, such as its file's
Recipe recipeFromText(const std::string& name, const std::string& text, const Names& known);

/// Throws a Failure (WrongUsage) for what can't be written as a whole, with its lines.
void check(const Recipe& recipe, const BlockSizes& blocks);

/// The values that the controller can't hold as they were typed, such as
/// "boiler.setpoint: 21.55 is rounded to 21.6" or "DM0: -5 is written as 65531".
std::vector<std::string> alterations(const Recipe& recipe);

/// Writes the values. Throws a Failure that names the points of the request that failed, how many
/// values were written before it at least, and whether some of its own may have been.
void write(Session& session, const Recipe& recipe);

/// Reads the values back. Throws a Failure (Different) that names the first point that differs, or
/// the failure of the first that can't be read.
void verify(Session& session, const Recipe& recipe);

} // namespace bench

#endif
