// Turns Ctrl-C, and the signal that ends a service, into something to wait for.
// It knows nothing of what is stopped.
#ifndef PLCCTL_STOPSIGNAL_H
#define PLCCTL_STOPSIGNAL_H

namespace plcctl
{

/// At most one at a time. A second signal ends the program at once, should the first not be heard.
class StopSignal
{
public:
    static constexpr int Forever = -1;

    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// Waits up to `ms`, or Forever. Returns whether a signal has come, now or earlier.
    bool waitFor(int ms) const;
};

} // namespace plcctl

#endif
