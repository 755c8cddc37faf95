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
/// - A failed attempt, or bytes that nobody asked for, ask for a moment of it, so that the tail of
///   a garbled reply is gone.
/// - A reply that falls short may still come. It asks for a silence twice as long as the longest
///   time that a reply may have been late: the time from the oldest command whose reply is missing
///   to the next bytes. Two time-outs are the least, and a run of complete replies forgets the
///   lateness.
/// - A line that gives no sign of life has nothing to confuse: the moment will do.
///
/// A fixed silence is not enough: with replies that are always late by a little more, each command
/// finds the reply to an earlier one, and sooner or later a whole request runs one request behind
/// without a flaw. The silence must outgrow the lateness before that can happen. Requests that
/// open and close the link around their data leave the time for it; a protocol whose first reply
/// is data already is safe from replies up to two time-outs late, and from later ones once the
/// first of them has been seen.
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

    /// Bytes were found that no read had asked for, or an attempt failed for a reason that only
    /// the driver knows.
    void leftoversExpected() { needQuiet(m_momentMs); }

    /// A reply fell short, and none was complete since.
    bool isReplyMissing() const { return m_replyMissing; }

    /// Until quietReached() is called the line must be silent from its last activity, a byte or a
    /// command, to quietAtMs(); a time in the past when it needs no silence.
    bool needsQuiet() const { return m_quietMs > 0; }
    qint64 quietAtMs() const { return m_lastActivityMs + m_quietMs; }
    void quietReached() { m_quietMs = 0; }

private:
    void needQuiet(qint64 forMs) { m_quietMs = qMax(m_quietMs, forMs); }
    qint64 silenceMs() const;

    qint64 m_timeoutMs;
    qint64 m_momentMs;

    qint64 m_lastActivityMs = 0;
    qint64 m_quietMs = 0;   ///< silence needed now
    qint64 m_commandMs = 0; ///< when the last command went out
    bool m_alive = false;   ///< bytes came since a reply fell short
    bool m_replyMissing = false;
    qint64 m_missingSinceMs = 0; ///< when the oldest command whose reply is missing went out
    qint64 m_longestLateMs = 0;  ///< the longest time that a reply may have been late
    int m_completeReplies = 0;   ///< since one fell short
};

} // namespace host

#endif
