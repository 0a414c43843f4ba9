// The in-place reading that the fetches test records with, held against the decoder: the
// straight pass may take only texts that decode, reading the same values, and leaves
// every other spelling to the general in-place reader, which accepts exactly what the
// decoder accepts.  Each reading gives the text back unchanged.
#include "src/core/zelkLogCore.h"
#include "src/message/in_place.h"
#include "tests/support/record_text.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// The record without its argument values (the in-place view keeps the message id only).
std::string head(const ZelkLogMsg &record)
{
    const std::string text = zelk::test::renderRecord(record);
    return text.substr(0, text.find(" (")) + " id" + std::to_string(record.args.msgId);
}

struct Reading {
    bool quick;
    uint32_t general;
    uint32_t decoded;
};

Reading readAllWays(const std::string &text, uint64_t format)
{
    textMessage message;
    std::memcpy(message.buffer, text.c_str(), text.size() + 1);
    message.text = message.buffer;
    ZelkLogMsg record{};
    record.format = format;
    ZelkLogMsg view = record;
    zelk::message::InPlaceStrings strings;
    Reading reading{zelk::message::readInPlaceQuick(&message, &view, &strings), 0, 0};
    const std::string quickHead = head(view);
    strings.restore();
    EXPECT_EQ(std::string(message.buffer), text);
    view = record;
    reading.general = zelk::message::readInPlace(&message, &view, &strings);
    const std::string generalHead = head(view);
    strings.restore();
    EXPECT_EQ(std::string(message.buffer), text);
    reading.decoded = zelkLogMsgUnserialize(&message, &record);
    if (reading.decoded == ZELKLOG_RC_OK) {
        EXPECT_EQ(generalHead, head(record));
        if (reading.quick) {
            EXPECT_EQ(quickHead, head(record));
        }
        free_text_msg(&message);
    }
    zelkLogFreeMsg(&record);
    return reading;
}

TEST(InPlace, StraightPassTakesOnlyWhatDecodes)
{
    const std::string head6 = "2,7,112,1,0,1700000000016,2045,2045,0:,0:,14:user16 on vol3,";
    const struct {
        uint64_t format;
        std::string text;
        bool quick;
    } cases[] = {
        {0x10006, head6 + "4,(1001|S6:user16,S4:vol3,i8:16|u8:5|)", true},
        {0x10006, head6 + "4,(0|A2:\xC3\xA9,10:,X0:,D2:-5|C64:0|964:7|)", true},
        {0x10004, "0,7,3,5,9,42,17,2:tk,0:,2:me,-12,(1|Z)", true},  // nothing behind the level
        {0x10005, "1,7,3,1,5,9,42,17,0:,0:,2:me,3,(4|S1:x,)", true},
        {0x10008, "4,3,5,999,42,17,0:,0:,4:subj,2,(6|)", true},
        {0x10006, "3,7,3,1,5,9,42,17,3:tok,0:,5:title,(6|)", false},  // context records
        {0x10006, "2,7,3,1,5,007,42,17,0:,0:,0:,4,(1|)", false},
        {0x10006, "2,7,3,1,5,9,42,17, 2:ab,0:,0:,4,(1|)", false},
        {0x10006, "2,7,3,1,5,9,42,17,0:,0:,0:,4,(1|i4:-05|)", false},
        {0x10006, "2,7,3,1,5,9,42,17,0:,0:,0:,4,(1|i4:-0|)", false},
        {0x10006, "2,7,3,1,5,9,42,17,0:,0:,0:,4,(1|u8:-5|C65:1|)", false},
        {0x10006, "2,7,3,1,5,9,42,17,0:,0:,0:,4,(1|u8:123456789012345678901|)", false},
        {0x10006, "2,7,3,1,5,9,42,17,0:,0:,0:,4,(1|A2:\xC3\x28,)", false},
        {0x10006, "2,7,3,1,5,9,42,17,0:,0:,4:abc\xC3,4,(1|S6:user16,S4:vol3,)",
         false},  // cut short at its end
        {0x10006, "2,7,3,1,5,9,42,17,0:,0:,0:,4,(1|82.5|(2|)", false},
        {0x10006, "1,7,3,1,5,9,42,17,0:,0:,0:,1234567890123456789,(1|)", false},
        {0x10006, "2,7,3,1,5,9,42,17,0:,0:,9:ab,4,(1|)", false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        const Reading reading = readAllWays(c.text, c.format);
        EXPECT_EQ(reading.quick, c.quick);
        EXPECT_EQ(reading.general == ZELKLOG_RC_OK, reading.decoded == ZELKLOG_RC_OK);
        if (reading.quick) {
            EXPECT_EQ(reading.decoded, ZELKLOG_RC_OK);
        }
    }
}

}  // namespace
