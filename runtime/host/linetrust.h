// Decides how long a line must have been silent before the next command may go out on it.
// It knows times and outcomes only: no line, no clock, no protocol.
#ifndef HOST_LINETRUST_H
#define HOST_LINETRUST_H

#include <QtGlobal>

namespace host
{

/// Replies carry no mark of the command that they answer, so a late one looks like the reply to
/// the next command. Only silence tells that no more are on their way.
///
/// - A line in step needs no silence at all.
/// - A failed attempt asks for a moment of it, so that the rest of a garbled reply is gone.
/// - A reply that fell short puts the line under suspicion: it may still come. The line must have
///   been silent for two time-outs then, and for twice as long at each further sign that replies
///   are out of step, up to 32. Signs are a reply that falls short after others came, and bytes
///   that nobody asked for.
/// - A line that gives no sign of life at all has nothing to confuse: a moment will do.
/// - A run of complete replies ends the suspicion.
class LineTrust
{
public:
    explicit LineTrust(int timeoutMs);

    void commandSent(qint64 nowMs);
    void bytesHeard(qint64 nowMs);
    void replyComplete();
    void replyFellShort();
    void attemptFailed();
    void strayBytesFound();

    /// The time at which the next command may go out, if nothing moves on the line until then; a
    /// time in the past when the line is in step.
    qint64 quietAtMs() const { return m_lastActivityMs + m_quietMs; }
    bool isSuspected() const { return m_suspected; }
    bool needsQuiet() const { return m_quietMs > 0; }
    void quietReached() { m_quietMs = 0; }

private:
    void raiseSuspicion();
    void needQuiet(qint64 forMs) { m_quietMs = qMax(m_quietMs, forMs); }

    qint64 m_timeoutMs;
    qint64 m_momentMs;
    qint64 m_lastActivityMs = 0;
    qint64 m_quietMs = 0;  ///< silence needed since the last activity
    int m_level = 0;       ///< how often the silence was doubled
    int m_goodReplies = 0; ///< in a row, while suspected
    bool m_suspected = false;
    bool m_alive = false;  ///< bytes came since the last reply that fell short
    bool m_raised = false; ///< by this command already
};

} // namespace host

#endif
