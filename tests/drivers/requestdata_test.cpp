#include "drivers/tools.h"
#include "support/bytes.h"

#include <climits>
#include <gtest/gtest.h>
#include <string>

namespace
{

/// Which of the classifiers say yes.
std::string kindOf(const CommunicatorCommand& command)
{
    return std::string(isBitCommand(command) ? "bit " : "") +
           (isByteCommand(command) ? "byte " : "") + (isWordCommand(command) ? "word " : "") +
           (isDoubleWordCommand(command) ? "double " : "") +
           (isBlockCommand(command) ? "block " : "");
}

} // namespace

TEST(RequestData, ClassifiesSizesAndFits)
{
    const struct {
        int dataType, length, dataBytes;
        const char* fitted; ///< what becomes of 01020304
        const char* kind;
    } rows[] = {
        {DataBit, 9, 2, "0102", "bit "},
        {DataBitGroup, 8, 1, "01", ""},
        {DataByte, 7, 7, "01020304000000", "byte "},
        {DataBlock, 1, 1, "01", "block "},
        {DataWord, INT_MAX, 0, "", "word "}, // beyond int
        {DataDoubleWord, 1, 4, "01020304", "double "},
        {7, 3, 0, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "type " << row.dataType << ", length " << row.length);
        CommunicatorCommand command;
        command.dataType = row.dataType;
        command.length = row.length;
        EXPECT_EQ(kindOf(command), row.kind);
        EXPECT_EQ(GetSafeDataLen(command), row.dataBytes);
        EXPECT_EQ(ToSafeData(command, bytes("01020304")), bytes(row.fitted));
    }
}
