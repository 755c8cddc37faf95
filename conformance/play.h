// Plays stories against a driver, as they are and with replies gone wrong.
#ifndef CONFORMANCE_PLAY_H
#define CONFORMANCE_PLAY_H

#include "conformance/stories.h"

class AbstractDeviceInterface;
class DriverInterface;

struct Played {
    std::vector<std::string> calls;
    std::string outcome;
};

/// Throws std::invalid_argument, with a reason, unless the text is a request.
void checkRequest(const std::string& request);

/// Hands a request to the driver, over a port that answers by the script.
Played play(DriverInterface& driver, const std::string& request,
            const std::vector<std::string>& script);

/// Where `played` first differs from what was wanted, in some lines; empty when it does not.
std::string difference(const Played& wanted, const Played& played);

/// Without a failure, and without a retry on the way.
bool succeedsAtOnce(const Story& story);

enum class Damage {
    None,  ///< the stories as they are
    Cuts,  ///< each read cut at each byte
    Faults ///< each read with too large a count, a negative one, other bytes and NUL bytes
};

/// A story as it was played, and what was wrong.
struct Mismatch {
    std::string name;       ///< the story's, with the damage done to it
    std::string difference; ///< from what was wanted; empty if nothing was wrong
};

/// Plays a story once for each damage of a kind. With damage only stories that succeed at once are
/// played: the driver must fail, never give another result, and succeed when the port then allows a
/// retry.
///
/// Returns one result for each time that the story was played.
std::vector<Mismatch> playWith(Damage damage, DriverInterface& driver, const Story& story);

#endif
