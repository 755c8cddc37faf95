// Turns Ctrl-C, and the signals that end a service or close its terminal, into something to wait
// for.
#ifndef PLCCTL_STOPSIGNAL_H
#define PLCCTL_STOPSIGNAL_H

namespace bench
{
class OpenPort;
}

namespace plcctl
{

/// At most one at a time.
class StopSignal
{
public:
    static constexpr int Forever = -1;

    /// What a second signal does: end the program at once, should the first not be heard, or
    /// nothing, where the way out is short and must not be cut off.
    enum class Second { Ends, IsIgnored };

    explicit StopSignal(Second second = Second::Ends);
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    /// A signal, now or earlier, interrupts this port, so that what it does ends soon. Null for
    /// none.
    void interrupts(bench::OpenPort* port);

    /// Waits up to `ms`, or Forever. Returns whether a signal has come, now or earlier.
    bool waitFor(int ms) const;

    /// The signal that has come, 0 for none.
    static int caught();

    /// What a command ends with that a signal cut short: as a shell says it of a program that the
    /// signal ended. Success when none has come.
    static int exitStatus();
};

} // namespace plcctl

#endif
