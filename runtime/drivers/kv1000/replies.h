// Every text that comes back from the controller: how long it is, whether it is well formed, and
// the values in it.
#ifndef DRIVERS_KV1000_REPLIES_H
#define DRIVERS_KV1000_REPLIES_H

namespace kv1000
{

const char OpenedReply[] = "CC\r\n";
const char ClosedReply[] = "CF\r\n";
const char DoneReply[] = "OK\r\n";

/// Acknowledgements and error replies have four bytes, and every data reply but that of a single
/// bit is longer: the first four bytes distinguish an error from data.
enum { ShortReplyLength = 4 };

/// Whether four bytes are an error reply: E, a digit, CR, LF.
bool isErrorReply(const char* reply);

/// Whether the first three bytes of a reply are those of an error reply. The reply of a single bit
/// has no more.
bool beginsErrorReply(const char* reply);

/// How values are taken from a data reply: items of one length, separated by blanks, ended by CR
/// LF.
struct ReplyForm {
    int itemLength; ///< characters of an item, without the blank
    int itemBytes;  ///< that one item gives

    /// Checks a reply and collects its values in one pass.
    ///
    /// reply   length(count) bytes
    /// count   items; 0 or less counts as 1
    /// values  room for itemBytes an item, at least one item; values least significant byte first.
    ///         Undefined when the reply is malformed.
    /// Returns whether the whole reply is well formed.
    bool (*convert)(const char* reply, int count, char* values);

    /// The bytes of a reply with `count` items, CR LF included.
    int length(int count) const;

    /// The most items whose reply and a NUL fit into `size` bytes.
    int capacity(int size) const;
};

extern const ReplyForm BitReply;          ///< 0 or 1
extern const ReplyForm WordReply;         ///< five digits; a word above 65535 keeps its low 16 bits
extern const ReplyForm Value32Reply;      ///< ten digits; a value above 4294967295 becomes that
extern const ReplyForm ContactReply;      ///< of "1,0000000012,0000000100" the 1
extern const ReplyForm CurrentValueReply; ///< of the same the 12
extern const ReplyForm SetValueReply;     ///< of the same the 100

} // namespace kv1000

#endif
