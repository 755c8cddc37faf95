// Guards a port against late replies: says when the next command may go out, and whether a reply
// can be that of the last command. It is given times and outcomes, and reads no clock itself.
#ifndef HOST_GUARD_H
#define HOST_GUARD_H

#include <QtGlobal>

namespace host
{

/// Replies carry no mark of the command that they answer, so a late one looks like the reply to the
/// next command. Only silence distinguishes them: after enough of it none is on its way. The guard
/// time is 4 time-outs; a reply later than that can be mistaken for another.
///
/// | event                                      | silence required before the next command      |
/// |--------------------------------------------|-----------------------------------------------|
/// | a complete reply in sync, whatever the     | none                                          |
/// | driver thinks of it                        |                                               |
/// | an incomplete or missing reply, or a       | none, but the next reply may be the missing   |
/// | command sent in part                       | one and is dropped, unless the guard time has |
/// |                                            | gone by since the last command                |
/// | that reply                                 | the guard time                                |
/// | bytes that no read asked for, in sync      | the guard time, and one command is refused:   |
/// |                                            | the replies before may have been late ones    |
/// | such bytes otherwise                       | the guard time, counted from them             |
///
/// A shorter silence would not do where only losses were seen so far: nothing bounds how late the
/// next reply is. Only bytes that come while the port listens measure lateness.
class Guard
{
public:
    static constexpr int GuardTimeInTimeouts = 4;

    explicit Guard(int timeoutMs);

    /// sentMs  when its last byte has left
    void commandSent(qint64 sentMs);

    /// A read got all its bytes. Returns whether they can be handed out; if not, they are dropped.
    bool replyComplete(qint64 nowMs);

    /// A read ended without all its bytes, or a command went out in part.
    void replyIncomplete();

    /// Bytes were there that no read had asked for, and may have come long before. Returns whether
    /// the next command can go out once the line has been silent; false when it must be refused.
    bool bytesFound(qint64 nowMs);

    /// Such bytes came just now, while the port listened.
    void bytesHeard(qint64 nowMs);

    bool isInSync() const { return m_state == InSync; }

    /// When the next command may go out, unless bytes come before; a time in the past for "now".
    qint64 readyAtMs() const;

    /// No byte was there at `nowMs`, and none came after those reported before.
    void silent(qint64 nowMs);

    /// When no reply can be under way any more, unless bytes come before; a time in the past for
    /// "now".
    qint64 settledAtMs() const;

    /// How long after the last command bytes came that were too late; 0 since a reply came in time.
    qint64 latenessMs() const { return m_latenessMs; }

    qint64 guardTimeMs() const { return GuardTimeInTimeouts * m_timeoutMs; }

private:
    enum State {
        InSync,
        ReplyMissing, ///< since the command at m_unansweredMs; the next reply may be that one
        SilenceNeeded
    };

    void needSilence(qint64 nowMs);

    qint64 m_timeoutMs;
    State m_state = InSync;
    qint64 m_commandMs = 0;    ///< when the last command went out
    qint64 m_unansweredMs = 0; ///< when the oldest command whose reply is missing went out
    qint64 m_silentSinceMs = 0;
    qint64 m_latenessMs = 0;
};

} // namespace host

#endif
