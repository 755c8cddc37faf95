// Every text that comes back from the controller: how long it is and what it says.
// It knows no port; the patterns that a reply must match belong to the driver object.
#ifndef DRIVERS_KV1000_REPLIES_H
#define DRIVERS_KV1000_REPLIES_H

#include <QByteArray>

const char OpenedReply[] = "CC\r\n";
const char ClosedReply[] = "CF\r\n";
const char DoneReply[] = "OK\r\n";

/// Acknowledgements and error replies have four bytes, and every data reply but the one of a single
/// bit is longer: the first four bytes tell an error from data.
const int ShortReplyLength = 4;

/// The forms of a data reply: items of one length, separated by blanks, ended by CR LF.
enum ReplyKind {
    BitsReply,    ///< 0 or 1
    WordsReply,   ///< five decimal digits
    Value32Reply, ///< ten decimal digits
    TriplesReply  ///< contact, current value, set value: one digit, ten digits, ten digits
};

/// The bytes of a reply with `count` items, CR LF included. A count of 1 or less is answered
/// like 1.
int replyLength(ReplyKind kind, int count);

/// The most items whose reply and a NUL fit into `size` bytes.
int replyCapacity(ReplyKind kind, int size);

// Conversions of a reply that matched its pattern. Each takes the start of the reply and the number
// of its items, and appends the items in order, values least significant byte first; empty for a
// count of 0 or less.

QByteArray KV1000ConvertReadBitsRsp(char* reply, int count);     ///< one byte an item, 0 or 1
QByteArray KV1000ConvertReadContactsRsp(char* reply, int count); ///< one byte a triple, its contact
/// Two bytes an item; a word above 65535 keeps its low 16 bits.
QByteArray KV1000ConvertReadUInt16sRsp(char* reply, int count);
/// Four bytes an item; a value above 4294967295 becomes that.
QByteArray KV1000ConvertReadUInt32sRsp(char* reply, int count);
/// Four bytes a triple: its set value.
QByteArray KV1000ExtractTS_CS_PCTC(char* reply, int count);
/// Four bytes a triple: its current value.
QByteArray KV1000ExtractT_C_CTC_CTH_CurrentValue(char* reply, int count);

#endif
