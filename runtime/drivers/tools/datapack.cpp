// One reader of formats, and the two engines that follow it over a buffer.
#include "drivers/tools/datapack.h"

#include "drivers/internal/ascii.h"
#include "drivers/internal/byteswap.h"

#include <QtEndian>
#include <QtGlobal>
#include <climits>
#include <cstring>

namespace
{

enum class Kind {
    Bad,
    Value, ///< carried by an argument
    Zero,  ///< x
    Gap    ///< X
};

enum class Order { Little, Big };

/// Whether a letter may follow a count.
enum class Run { Allowed, Refused };

/// The meaning of one letter of a format.
struct Field {
    Kind kind;
    int width; ///< bytes
    Order order;
    Run run;
};

Field fieldOf(char letter)
{
    switch (letter) {
    case 'C':
    case 'c':
        return {Kind::Value, 1, Order::Little, Run::Allowed};
    case 'v':
        return {Kind::Value, 2, Order::Little, Run::Allowed};
    case 'S':
    case 's':
        return {Kind::Value, 2, Order::Little, Run::Refused};
    case 'n':
        return {Kind::Value, 2, Order::Big, Run::Allowed};
    case 'V':
        return {Kind::Value, 4, Order::Little, Run::Allowed};
    case 'I':
    case 'i':
    case 'L':
    case 'l':
        return {Kind::Value, 4, Order::Little, Run::Refused};
    case 'N':
        return {Kind::Value, 4, Order::Big, Run::Allowed};
    case 'x':
        return {Kind::Zero, 1, Order::Little, Run::Allowed};
    case 'X':
        return {Kind::Gap, 1, Order::Little, Run::Allowed};
    default:
        return {Kind::Bad, 0, Order::Little, Run::Refused};
    }
}

/// Reads a format item by item and keeps the distance covered so far.
class FormatReader
{
public:
    enum Result { Item, End, BadLetter, BadCount };

    explicit FormatReader(const char* format)
        : field()
        , counted(false)
        , count(0)
        , offset(0)
        , m_next(format)
        , m_end(0)
    {
    }

    /// Reads the next item into the members below; after any other result than Item they hold
    /// nothing.
    Result next()
    {
        if (*m_next == '\0')
            return End;
        counted = ascii::isDigit(*m_next);
        const qint64 elements = counted ? readCount() : 1;
        field = fieldOf(*m_next);
        if (!counted && field.kind == Kind::Bad)
            return BadLetter;
        if (counted && !takesCount(elements))
            return BadCount;
        if (elements * field.width > INT_MAX - m_end)
            return BadCount;
        count = static_cast<int>(elements);
        offset = m_end;
        m_end += count * field.width;
        ++m_next;
        return Item;
    }

    /// Bytes from the start of the record to the end of the last item read.
    int distance() const { return m_end; }

    Field field;
    bool counted;
    int count;  ///< elements, 1 for an item without a count
    int offset; ///< where the item begins in the record, in bytes

private:
    /// A count too large for any record comes out as some number above INT_MAX.
    qint64 readCount()
    {
        qint64 value = 0;
        for (; ascii::isDigit(*m_next); ++m_next) {
            if (value <= INT_MAX)
                value = value * 10 + (*m_next - '0');
        }
        return value;
    }

    bool takesCount(qint64 elements) const
    {
        return field.run == Run::Allowed && (elements > 0 || field.kind != Kind::Value);
    }

    const char* m_next;
    int m_end;
};

/// The caller's arguments. A va_list of its own lets functions take it by reference, whatever kind
/// of type va_list is.
class Arguments
{
public:
    explicit Arguments(va_list list) { va_copy(m_list, list); }
    ~Arguments() { va_end(m_list); }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    unsigned int value() { return va_arg(m_list, unsigned int); }

    template <typename T>
    T* pointer()
    {
        return va_arg(m_list, T*);
    }

private:
    va_list m_list;
};

template <typename Integer>
void storeAs(unsigned char* to, Order order, unsigned int value)
{
    if (order == Order::Little)
        qToLittleEndian(static_cast<Integer>(value), to);
    else
        qToBigEndian(static_cast<Integer>(value), to);
}

template <typename Integer>
Integer loadAs(const unsigned char* from, Order order)
{
    return order == Order::Little ? qFromLittleEndian<Integer>(from)
                                  : qFromBigEndian<Integer>(from);
}

void packValue(unsigned char* to, const Field& field, unsigned int value)
{
    if (field.width == 1)
        *to = static_cast<unsigned char>(value);
    else if (field.width == 2)
        storeAs<quint16>(to, field.order, value);
    else
        storeAs<quint32>(to, field.order, value);
}

void unpackValue(const unsigned char* from, const Field& field, Arguments& targets)
{
    if (field.width == 1)
        *targets.pointer<unsigned char>() = *from;
    else if (field.width == 2)
        *targets.pointer<unsigned short>() = loadAs<quint16>(from, field.order);
    else
        *targets.pointer<unsigned int>() = loadAs<quint32>(from, field.order);
}

/// Copies a run and reverses the bytes of its elements where the field is big-endian; the same in
/// both directions.
void copyRun(unsigned char* to, const unsigned char* from, const Field& field, int count)
{
    std::memcpy(to, from, static_cast<size_t>(count) * static_cast<size_t>(field.width));
    if (field.order == Order::Little)
        return;
    if (field.width == 2)
        byteswap::swapElements<quint16>(to, count);
    else
        byteswap::swapElements<quint32>(to, count);
}

void packItem(unsigned char* to, const FormatReader& item, Arguments& values)
{
    if (item.field.kind == Kind::Gap)
        return;
    if (item.field.kind == Kind::Zero)
        std::memset(to, 0, static_cast<size_t>(item.count));
    else if (item.counted)
        copyRun(to, values.pointer<const unsigned char>(), item.field, item.count);
    else
        packValue(to, item.field, values.value());
}

void unpackItem(const unsigned char* from, const FormatReader& item, Arguments& targets)
{
    if (item.field.kind != Kind::Value)
        return;
    if (item.counted)
        copyRun(targets.pointer<unsigned char>(), from, item.field, item.count);
    else
        unpackValue(from, item.field, targets);
}

/// The bytes that ByteArrayPack makes of a format; 0 for an empty format and for one it refuses.
int arraySize(const char* format)
{
    FormatReader item(format);
    FormatReader::Result result = item.next();
    while (result == FormatReader::Item) {
        if (item.counted && item.field.kind != Kind::Value)
            return 0;
        result = item.next();
    }
    return result == FormatReader::End ? item.distance() : 0;
}

} // namespace

int VDataPack(unsigned char* destination, const char* format, va_list values)
{
    Arguments arguments(values);
    FormatReader item(format);
    FormatReader::Result result = item.next();
    for (; result == FormatReader::Item; result = item.next())
        packItem(destination + item.offset, item, arguments);
    if (result == FormatReader::End)
        return item.distance();
    return result == FormatReader::BadLetter ? 0 : -1;
}

int DataPack(unsigned char* destination, const char* format, ...)
{
    va_list values;
    va_start(values, format);
    const int size = VDataPack(destination, format, values);
    va_end(values);
    return size;
}

QByteArray VByteArrayPack(const char* format, va_list values)
{
    const int size = arraySize(format);
    if (size == 0)
        return QByteArray();
    QByteArray bytes(size, '\0');
    VDataPack(reinterpret_cast<unsigned char*>(bytes.data()), format, values);
    return bytes;
}

QByteArray ByteArrayPack(const char* format, ...)
{
    va_list values;
    va_start(values, format);
    const QByteArray bytes = VByteArrayPack(format, values);
    va_end(values);
    return bytes;
}

int VDataUnpack(const unsigned char* source, const char* format, va_list targets)
{
    Arguments arguments(targets);
    FormatReader item(format);
    FormatReader::Result result = item.next();
    for (; result == FormatReader::Item; result = item.next())
        unpackItem(source + item.offset, item, arguments);
    return result == FormatReader::End ? item.distance() : -1;
}

int DataUnpack(const unsigned char* source, const char* format, ...)
{
    va_list targets;
    va_start(targets, format);
    const int size = VDataUnpack(source, format, targets);
    va_end(targets);
    return size;
}

void appendBigEndianUShort(QByteArray& bytes, unsigned short value)
{
    bytes.append(static_cast<char>(value >> 8));
    bytes.append(static_cast<char>(value & 0xFF));
}
