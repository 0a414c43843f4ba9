// The message decoder: layouts per format and kind, number rules, string and counted
// fields, every argument tag, nesting and failure codes.  Every record is released, so
// the sanitizer build also checks the release of partly decoded records.
#include "tests/support/record_text.h"
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

using zelk::test::renderArgs;
using zelk::test::renderRecord;

// Copies `text` (cut to the buffer) into `message`, as record fetching does.
void loadText(textMessage *message, const std::string &text)
{
    message->text = message->buffer;
    size_t length = std::min(text.size(), sizeof message->buffer - 1);
    std::memcpy(message->buffer, text.data(), length);
    message->buffer[length] = '\0';
}

// A record decoded from `text` and released when the case ends, whatever it holds.
// `presetProductId` stands for the identifier record fetching takes from a file name.
struct Decoded {
    textMessage message;
    ZelkLogMsg record{};
    uint32_t rc;
    Decoded(const std::string &text, uint64_t format, uint64_t presetProductId = 0)
    {
        loadText(&message, text);
        record.format = format;
        record.productId = presetProductId;
        rc = zelkLogMsgUnserialize(&message, &record);
    }
    ~Decoded() { zelkLogFreeMsg(&record); }
};

const std::string kExample = "2,7,3,1,0,999,42,17,0:,3:abc,0:,1,(100|A5:hello,i4:-1|)";
const char *const kExampleRecord =
    "k2 p7 o3 f1 n0 t999 pid42 tid17 ctx=- aux=abc who=- sev1 (100|A\"hello\",i4:-1)";

TEST(Decoder, LayoutsPerFormatAndKind)
{
    const struct {
        uint64_t format;
        std::string text;
        uint32_t rc;
        const char *record;
    } cases[] = {
        {0x10006, kExample, 0, kExampleRecord},
        // Kind 2 of 0x10004/0x10005 has no who: the severity follows auxText.
        {0x10004, "2,7,3,5,999,42,17,0:,1:x,4,(9|)", 0,
         "k2 p7 o3 f0 n5 t999 pid42 tid17 ctx=- aux=x who=- sev4 (9|)"},
        {0x10005, "2,7,3,8,5,999,42,17,0:,0:,2,(9|)", 0,
         "k2 p7 o3 f8 n5 t999 pid42 tid17 ctx=- aux=- who=- sev2 (9|)"},
        // 0x10008: the originator comes second and the preset product id stays.
        {0x10008, "2,3,5,999,42,17,2:tk,0:,3:who,3,(9|)", 0,
         "k2 p55 o3 f0 n5 t999 pid42 tid17 ctx=tk aux=- who=who sev3 (9|)"},
        // Kind 0 ends after its level; what follows is not read.
        {0x10006, "0,7,3,1,5,999,42,17,0:,0:,2:me,-12,(1|Z)junk", 0,
         "k0 p7 o3 f1 n5 t999 pid42 tid17 ctx=- aux=- who=me level-12 (0|)"},
        {0x10004, "1,7,3,5,-999,42,17,0:,0:,2:me,3,(4|S1:x,)", 0,
         "k1 p7 o3 f0 n5 t-999 pid42 tid17 ctx=- aux=- who=me level3 (4|S\"x\")"},
        {0x10005, "3,7,3,1,5,999,42,17,3:tok,0:,5:title,(6|)", 0,
         "k3 p7 o3 f1 n5 t999 pid42 tid17 ctx=tok aux=- title=title (6|)"},
        {0x10008, "4,3,5,999,42,17,0:,0:,4:subj,-2,(6|)", 0,
         "k4 p55 o3 f0 n5 t999 pid42 tid17 ctx=- aux=- subject=subj ret-2 (6|)"},
        {0x10006, "4294967296,7,3,1,5,999,42,17,0:,0:,0:,1", 0,  // kind kept in 32 bits
         "k0 p7 o3 f1 n5 t999 pid42 tid17 ctx=- aux=- who=- level1 (0|)"},
        // Failures keep what was read before them.
        {0x10006, "5,7,3,1,5,999,42,17,0:,0:,0:,1", 1, "k5 p55 o0 f0 n0 t0 pid0 tid0 ctx=- aux=- (0|)"},
        {0x10006, "0,7,3,1,5,999,42,17", 1, "k0 p7 o3 f1 n5 t999 pid42 tid17 ctx=- aux=- who=- level0 (0|)"},
        {0x10006, "", 1, "k0 p55 o0 f0 n0 t0 pid0 tid0 ctx=- aux=- who=- level0 (0|)"},
        {0x10006, "1,7,3,1,5,999,42,17,1:c,0:,x:,9,(1|)", 1,  // bad who: level not read
         "k1 p7 o3 f1 n5 t999 pid42 tid17 ctx=c aux=- who=- level0 (0|)"},
        // utf82mbs's status is passed through unchanged.
        {0x10006, "0,7,3,1,5,999,42,17,0:,0:,2:\xC3\x28,1", ZELKLOG_RC_INVALID_UTF8,
         "k0 p7 o3 f1 n5 t999 pid42 tid17 ctx=- aux=- who=- level0 (0|)"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.format) + " " + c.text);
        Decoded d(c.text, c.format, 55);
        EXPECT_EQ(d.rc, c.rc);
        EXPECT_EQ(renderRecord(d.record), c.record);
        EXPECT_EQ(d.record.marker, 1u);
    }
}

TEST(Decoder, RefusedFormatsAndMissingArguments)
{
    for (uint64_t format : {uint64_t{0}, uint64_t{0x10003}, uint64_t{0x10009}}) {
        Decoded d(kExample, format);
        EXPECT_EQ(d.rc, 1u);
        EXPECT_EQ(d.record.marker, 0u);
        EXPECT_EQ(d.message.text, nullptr);  // released by the decoder
    }
    ZelkLogMsg record{};
    record.format = ZELKLOG_FORMAT_10006;
    EXPECT_EQ(zelkLogMsgUnserialize(nullptr, &record), ZELKLOG_RC_BAD_ARGUMENT);
    textMessage message;
    loadText(&message, kExample);
    EXPECT_EQ(zelkLogMsgUnserialize(&message, nullptr), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(message.text, nullptr);
    EXPECT_EQ(zelkLogMsgUnserialize(&message, &record), ZELKLOG_RC_BAD_ARGUMENT);
}

// Number rules seen through pid (unsigned), timeMs (signed 64-bit) and level (plain).
TEST(Decoder, NumberRules)
{
    const struct {
        const char *field, *pid, *time, *level;
    } cases[] = {
        // field, then what pid, timeMs and level hold (null: the record is refused)
        {"007", "0", "0", "7"},
        {"0x1f", "0", "0", "0"},
        {"12ab", "12", "12", "12"},
        {"123456789ab", "123456789", "123456789", "123456789"},             // eight digits, then text
        {"1700000000123", "1700000000123", "1700000000123", "-807049093"},  // a time: 8 + 5 digits
        {"123456781234567890", "123456781234567890", "123456781234567890", "-694584622"},  // 8 + 8 + 2
        {" +5", "5", "5", "5"},
        {"-7", "18446744073709551609", "-7", "-7"},
        {"99999999999999999999", "18446744073709551615", "9223372036854775807", "-1"},
        {"-99999999999999999999", "18446744073709551615", "-9223372036854775808", "0"},  // saturated
        {"2147483648", "2147483648", "2147483648", "-2147483648"},
        {"00000000000000000000009", "0", "0", "0"},  // level sees only 22 characters
        {"", nullptr, nullptr, "0"},
        {"-0", nullptr, nullptr, "0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string("field '") + c.field + "'");
        Decoded pid(std::string("0,7,3,1,5,9,") + c.field + ",17,0:,0:,0:,1", 0x10006);
        EXPECT_EQ(pid.rc, c.pid ? 0u : 1u);
        EXPECT_TRUE(!c.pid || std::to_string(pid.record.pid) == c.pid) << pid.record.pid;
        Decoded time(std::string("0,7,3,1,5,") + c.field + ",42,17,0:,0:,0:,1", 0x10006);
        EXPECT_EQ(time.rc, c.time ? 0u : 1u);
        EXPECT_TRUE(!c.time || std::to_string(time.record.timeMs) == c.time) << time.record.timeMs;
        Decoded level(std::string("0,7,3,1,5,9,42,17,0:,0:,0:,") + c.field, 0x10006);
        EXPECT_EQ(level.rc, 0u);
        EXPECT_EQ(std::to_string(level.record.kindData.first.level), c.level);
    }
}

// String fields seen through auxText (kind 3: the context text follows).
TEST(Decoder, StringFields)
{
    const struct {
        const char *field;
        uint32_t rc;
        const char *aux;
    } cases[] = {
        {"0:,", 0, "-"},           {"3:a,b,", 0, "a,b"},
        {" 2:ab,", 0, "ab"},       {"2:\xC3\xA9,", 0, "\\xC3\\xA9"},
        {"+000000001:z,", 0, "z"}, {"+0000000001:z,", 1, "-"},
        {"00:,", 1, "-"},          {"-1:ab,", 1, "-"},
        {"1:ab,", 1, "-"},         {"9:ab,", 1, "-"},
    };
    for (const auto &c : cases) {
        Decoded d(std::string("3,7,3,1,5,9,42,17,0:,") + c.field + "1:t,(1|)", 0x10006);
        EXPECT_EQ(d.rc, c.rc) << c.field;
        std::string rest = c.rc == 0 ? " title=t (1|)" : " title=- (0|)";
        EXPECT_EQ(renderRecord(d.record),
                  std::string("k3 p7 o3 f1 n5 t9 pid42 tid17 ctx=- aux=") + c.aux + rest);
    }
}

std::string withArgs(const std::string &args)
{
    return "1,7,3,1,5,9,42,17,0:,0:,0:,0," + args;
}

TEST(Decoder, ArgumentLists)
{
    const std::string digits200(200, '1');
    const struct {
        std::string args;
        uint32_t rc;
        std::string list;
    } cases[] = {
        {"(0|)", 0, "(0|)"},
        {"(1234567890|)trailing text is not read", 0, "(1234567890|)"},
        {"(1|12:\xC3\xA9,13:xyz,10:,)", 0, "(1|1'\\u{E9},1'x,1'\\u{0})"},
        {"(1|A2:ab,A4:\xF0\x9F\x98\x80,A0:,)", 0, "(1|A\"ab\",A\"\\u{1F600}\",A\"\")"},
        {"(1|S5:a|b:\xFF,X1:x,S00:,)", 0, "(1|S\"a|b:\\xFF\",X\"x\",S\"\")"},
        {"(1|i4:-17|i4:12x|i65537:3|D2:-5|)", 0, "(1|i4:-17,i4:12,i1:3,D2:-5)"},
        {"(1|u8:18446744073709551615|u8:0|964:77|C64:-9|)", 0, "(1|u8:18446744073709551615,u8:0,977,C-9)"},
        {"(1|8-2.5e3|8abc|8" + digits200 + "|)", 0, "(1|8-2500,80,81.11111e+199)"},
        {"(1|(2|S1:x,),C1:3|)", 0, "(1|(2|S\"x\"),C3)"},
        // Failures: what was added before stays, the failing argument goes.
        {"(1|S1:a,12:\xC3\x28,)", 1, "(1|S\"a\")"},
        {"(1|A2:ab)", 1, "(1|A\"ab\")"},  // ")" was taken as the separator
        {"(1|S9:x,)", 1, "(1|)"},
        {"(1|C1:1|i4:|)", 1, "(1|C1)"},
        {"(1|u8:123456789012345678901|)", 3, "(1|)"},
        {"(1|965:|)", 3, "(1|)"} /* length before width */,
        {"(1|C65:-9|)", 1, "(1|)"},
        {"(1|8" + digits200 + "1|)", 1, "(1|)"},
        {"(1|Z)", 1, "(1|)"},
        {"(1|S1:a,(2|S1:x,))", 1, "(1|S\"a\")"},  // nested list without its ","
        {"(1|S1:x,i4:5|(2|X1:y,u1:|),)", 3, "(1|S\"x\",i4:5)"},
        {"(12345678901|)", 1, "(0|)"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.args);
        Decoded d(withArgs(c.args), 0x10006);
        EXPECT_EQ(d.rc, c.rc);
        EXPECT_EQ(renderArgs(d.record.args), c.list);
    }
}

std::string nestedLists(int depth)
{
    std::string open, close;
    for (int i = 1; i < depth; ++i) {
        open += "(" + std::to_string(i) + "|";
        close += ",)";
    }
    return open + "(" + std::to_string(depth) + "|)" + close;
}

TEST(Decoder, NestingDepthIsBounded)
{
    Decoded deepest(withArgs(nestedLists(32)), 0x10006);
    EXPECT_EQ(deepest.rc, 0u);
    EXPECT_EQ(renderArgs(deepest.record.args).size(), nestedLists(32).size() - 31);
    Decoded tooDeep(withArgs(nestedLists(33)), 0x10006);
    EXPECT_EQ(tooDeep.rc, 1u);
    EXPECT_EQ(tooDeep.record.args.args, nullptr);
}

TEST(Decoder, DecodedRecordHoldsNoPointerIntoTheText)
{
    Decoded d(kExample, ZELKLOG_FORMAT_10006);
    ASSERT_EQ(d.rc, 0u);
    EXPECT_EQ(d.message.text, d.message.buffer);  // the buffer keeps its text
    std::memset(d.message.buffer, '#', sizeof d.message.buffer - 1);
    EXPECT_EQ(renderRecord(d.record), kExampleRecord);
}

}  // namespace
