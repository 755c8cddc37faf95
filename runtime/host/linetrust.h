// Decides how long a line must have been silent before the next command may go out on it.
// It knows times and outcomes only: no line, no clock, no protocol.
#ifndef HOST_LINETRUST_H
#define HOST_LINETRUST_H

#include <QtGlobal>

namespace host
{

/// Replies carry no mark of the command that they answer, so a late one looks like the reply to
/// the next command. Nothing but silence tells that none is on its way any more.
///
/// - A line in step needs no silence at all.
/// - A reply that falls short puts the line under suspicion: it may still come. From then on every
///   command waits for a moment of silence, so that the tail of a reply is not left in between.
/// - A sign of replies out of step asks for two time-outs of silence, for twice as long at each
///   further one, and for no less than twice the longest time that a reply may have been late.
///   Signs are a reply that falls short after others came, and bytes that nobody asked for.
/// - A line that gives no sign of life has nothing to confuse: the moment will do.
/// - A run of complete replies ends the suspicion.
///
/// A fixed silence is not enough: with replies that are always late by a little more, each command
/// finds the reply to an earlier one, and sooner or later a whole request runs one request behind
/// without a flaw. The silence must outgrow the lateness before that can happen.
class LineTrust
{
public:
    /// The longest silence ever asked for; a reply that is later still may be taken for another.
    static constexpr int MaxSilenceInTimeouts = 16;

    explicit LineTrust(int timeoutMs);

    /// sentMs  when its last byte was on its way
    void commandSent(qint64 sentMs);
    void bytesHeard(qint64 nowMs);
    void replyComplete();
    void replyFellShort();

    /// An attempt failed for a reason that only the driver knows.
    void attemptFailed();

    /// Bytes were found that no read had asked for.
    void strayBytesFound();

    bool isSuspected() const { return m_suspected; }

    /// Until quietReached() is called the line must be silent from its last activity, a byte or a
    /// command, to quietAtMs(); a time in the past when it needs no silence.
    bool needsQuiet() const { return m_quietMs > 0; }
    qint64 quietAtMs() const { return m_lastActivityMs + m_quietMs; }
    void quietReached() { m_quietMs = 0; }

private:
    void raiseSuspicion();
    void needQuiet(qint64 forMs) { m_quietMs = qMax(m_quietMs, forMs); }

    qint64 m_timeoutMs;
    qint64 m_momentMs;

    qint64 m_lastActivityMs = 0;
    qint64 m_commandMs = 0;         ///< when the last command went out
    qint64 m_unansweredSinceMs = 0; ///< when the oldest command without a reply went out
    bool m_unanswered = false;      ///< whether there is one
    qint64 m_quietMs = 0;           ///< silence needed now

    bool m_suspected = false;
    bool m_alive = false;       ///< bytes came since a reply fell short
    bool m_raised = false;      ///< suspicion rose since the last command
    qint64 m_silenceMs = 0;     ///< what the last sign asked for
    qint64 m_longestLateMs = 0; ///< the longest time that a reply may have been late
    int m_completeReplies = 0;  ///< in a row, while suspected
};

} // namespace host

#endif
