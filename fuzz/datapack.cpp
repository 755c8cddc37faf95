// The packers and the unpacker against a table of what each letter of a format stands for. Values
// and targets are laid out in memory of exactly the size that the format describes.
#include "drivers/tools.h"
#include "input.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{

const size_t MostItems = 5;

enum class Order { Little, Big };

struct Letter {
    char letter;
    int bytes;
    Order order;
    bool takesValue;
    bool takesCount;
};

const Letter Letters[] = {
    {'C', 1, Order::Little, true, true},  {'c', 1, Order::Little, true, true},
    {'S', 2, Order::Little, true, false}, {'s', 2, Order::Little, true, false},
    {'v', 2, Order::Little, true, true},  {'n', 2, Order::Big, true, true},
    {'I', 4, Order::Little, true, false}, {'i', 4, Order::Little, true, false},
    {'L', 4, Order::Little, true, false}, {'l', 4, Order::Little, true, false},
    {'V', 4, Order::Little, true, true},  {'N', 4, Order::Big, true, true},
    {'x', 1, Order::Little, false, true}, {'X', 1, Order::Little, false, true},
};

const char BadLetters[] = " yz*-\x80";

/// An item of a format. A count is -1 when the item has none.
struct Item {
    const Letter* letter;
    int count;

    bool isRun() const { return count >= 0; }
    int bytes() const { return letter->bytes * (isRun() ? count : 1); }
    bool isBadCount() const
    {
        return isRun() && (!letter->takesCount || (count == 0 && letter->takesValue));
    }
};

using Bytes = std::vector<unsigned char>;

struct Format {
    std::string text;
    std::vector<Item> items; ///< the good ones
    std::string badEnd;      ///< what follows them: nothing, a bad letter or a bad count
    bool endsInBadCount = false;
};

Format chosenFormat(Input& input)
{
    Format format;
    for (size_t i = 0; i < MostItems && format.badEnd.empty(); ++i) {
        const int choice = input.byte();
        if (choice >= 0xF0) {
            format.badEnd = BadLetters[choice % (sizeof BadLetters - 1)];
            continue;
        }
        const Letter* const letter = &Letters[choice % (sizeof Letters / sizeof *Letters)];
        const int count = choice < 0x80 ? -1 : input.byte() % 40;
        const Item item = {letter, count};
        const std::string text = (item.isRun() ? std::to_string(count) : "") + letter->letter;
        format.endsInBadCount = item.isBadCount();
        if (format.endsInBadCount)
            format.badEnd = text;
        else
            format.items.push_back(item);
        format.text += format.endsInBadCount ? "" : text;
    }
    format.text += format.badEnd;
    return format;
}

/// An element as the record has it: swapped when big-endian. Its own inverse.
Bytes reordered(const unsigned char* element, const Letter& letter)
{
    Bytes bytes(element, element + letter.bytes);
    if (letter.order == Order::Big)
        std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

/// The bytes of an item in the record, of the bytes that its elements have in memory.
Bytes inRecord(const Item& item, const unsigned char* memory)
{
    Bytes record;
    for (int done = 0; done < item.bytes(); done += item.letter->bytes) {
        const Bytes element = reordered(memory + done, *item.letter);
        record.insert(record.end(), element.begin(), element.end());
    }
    return record;
}

/// Each item's own memory: what packing reads and what unpacking fills.
using Memory = std::vector<Bytes>;

struct Pack {
    template <typename... Arguments>
    static int call(unsigned char* record, const char* format, Arguments... arguments)
    {
        return DataPack(record, format, arguments...);
    }
};
struct PackArray {
    template <typename... Arguments>
    static QByteArray call(unsigned char*, const char* format, Arguments... arguments)
    {
        return ByteArrayPack(format, arguments...);
    }
};
struct Unpack {
    template <typename... Arguments>
    static int call(unsigned char* record, const char* format, Arguments... arguments)
    {
        return DataUnpack(record, format, arguments...);
    }
};

/// Calls a variadic function with the arguments that the items take, whatever their types.
template <typename Function, bool TakesPointers, typename... Arguments>
auto call(unsigned char* record, const Format& format, size_t item, Memory& memory,
          Arguments... arguments) -> decltype(Function::call(record, ""))
{
    if constexpr (sizeof...(Arguments) < MostItems) {
        while (item < format.items.size() && !format.items[item].letter->takesValue)
            ++item;
        if (item < format.items.size()) {
            unsigned char* const own = memory[item].data();
            if (TakesPointers || format.items[item].isRun())
                return call<Function, TakesPointers>(record, format, item + 1, memory, arguments...,
                                                     own);
            int value = 0;
            std::memcpy(&value, own, memory[item].size());
            return call<Function, TakesPointers>(record, format, item + 1, memory, arguments...,
                                                 value);
        }
    }
    return Function::call(record, format.text.c_str(), arguments...);
}

int wantedResult(const Format& format, int bytes, int atBadLetter)
{
    return format.badEnd.empty() ? bytes : format.endsInBadCount ? -1 : atBadLetter;
}

/// Counted x and X are for buffers only.
bool isForArrays(const Format& format)
{
    const auto skips = [](const Item& item) { return item.isRun() && !item.letter->takesValue; };
    return format.badEnd.empty() && std::none_of(format.items.begin(), format.items.end(), skips);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const Format format = chosenFormat(input);
    const unsigned char untouched = 0xA5;
    Memory memory;
    Bytes packed, arrayed;
    packed.reserve(1); // even a record of no bytes has an address
    for (const Item& item : format.items) {
        memory.emplace_back(size_t(item.bytes()));
        for (unsigned char& byte : memory.back())
            byte = static_cast<unsigned char>(input.byte());
        Bytes bytes = inRecord(item, memory.back().data());
        const bool isZero = !item.letter->takesValue;
        std::fill(bytes.begin(), isZero ? bytes.end() : bytes.begin(), 0);
        arrayed.insert(arrayed.end(), bytes.begin(), bytes.end());
        std::fill(bytes.begin(), item.letter->letter == 'X' ? bytes.end() : bytes.begin(),
                  untouched);
        packed.insert(packed.end(), bytes.begin(), bytes.end());
    }
    const int length = int(packed.size());

    Bytes record;
    record.reserve(1);
    record.resize(packed.size(), untouched);
    require((call<Pack, false>(record.data(), format, 0, memory)) ==
                wantedResult(format, length, 0),
            "result of DataPack");
    require(record == packed, "bytes of DataPack");

    const QByteArray array = call<PackArray, false>(nullptr, format, 0, memory);
    const QByteArray wanted(reinterpret_cast<const char*>(arrayed.data()), length);
    require(array == (isForArrays(format) ? wanted : QByteArray()), "ByteArrayPack");

    Memory targets;
    for (size_t i = 0; i < memory.size(); ++i)
        targets.emplace_back(format.items[i].letter->takesValue ? memory[i].size() : 0);
    require((call<Unpack, true>(packed.data(), format, 0, targets)) ==
                wantedResult(format, length, -1),
            "result of DataUnpack");
    for (size_t i = 0; i < memory.size(); ++i)
        require(targets[i].empty() || targets[i] == memory[i], "a value of DataUnpack");
    return 0;
}
