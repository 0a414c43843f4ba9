// The serializer: a record as the text its format carries, field by field.
#include "tests/support/log_fixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using zelk::test::makeRecord;
using zelk::test::serialize;

namespace {

char abc[] = "abc";
wchar_t hello[] = L"hello";

// The record behind the example text 2,7,3,1,0,999,42,17,0:,3:abc,0:,1,(100|A5:hello,i4:-1|).
struct ExampleRecord {
    ZelkLogMsgArg wide{};
    ZelkLogMsgArg sized{};
    ZelkLogMsgArg *args[3] = {&wide, &sized, nullptr};
    ZelkLogMsg record = makeRecord(ZELKLOG_MSG_APP, 999, 17);

    ExampleRecord()
    {
        record.originatorId = 3;
        record.fileId = 1;
        record.pid = 42;
        record.auxText = abc;
        record.kindData.first.severity = 1;
        record.args.msgId = 100;
        record.args.args = args;
        wide.type = ZELKLOG_ARG_WSTRING;
        wide.ownsValue = 1;
        wide.value.wideString = hello;
        sized.type = ZELKLOG_ARG_INT;
        sized.value.sizedInt.size = 4;
        sized.value.sizedInt.value = -1;
    }
};

TEST(LogSerializer, ExampleInEveryFormat)
{
    ExampleRecord example;
    const std::string args = "(100|A5:hello,i4:-1|)";
    const std::vector<std::pair<uint64_t, std::string>> cases = {
        {ZELKLOG_FORMAT_10004, "2,7,3,0,999,42,17,0:,3:abc,1," + args},
        {ZELKLOG_FORMAT_10005, "2,7,3,1,0,999,42,17,0:,3:abc,1," + args},
        {ZELKLOG_FORMAT_10006, "2,7,3,1,0,999,42,17,0:,3:abc,0:,1," + args},
        {ZELKLOG_FORMAT_10007, "2,7,3,1,0,999,42,17,0:,3:abc,0:,1," + args},
        {ZELKLOG_FORMAT_10008, "2,3,0,999,42,17,0:,3:abc,0:,1," + args},
    };
    for (const auto &[format, expected] : cases)
        EXPECT_EQ(serialize(example.record, format), expected) << std::hex << format;
}

TEST(LogSerializer, Refusals)
{
    ZelkLogMsg record = makeRecord({});
    char text[ZELKLOG_MAX_RECORD_TEXT + 1];
    size_t length = 99;
    EXPECT_EQ(zelkLogSerializeMsg(&record, 0x10009, text, sizeof text, &length), ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(zelkLogSerializeMsg(nullptr, ZELKLOG_FORMAT_10006, text, sizeof text, &length),
              ZELKLOG_RC_BAD_ARGUMENT);
    EXPECT_EQ(zelkLogSerializeMsg(&record, ZELKLOG_FORMAT_10006, text, 10, &length),
              ZELKLOG_RC_RECORD_TOO_LONG);
    EXPECT_STREQ(text, "");

    std::string big(4095, 'b');
    record.auxText = big.data();
    EXPECT_EQ(zelkLogSerializeMsg(&record, ZELKLOG_FORMAT_10006, text, sizeof text, &length),
              ZELKLOG_RC_RECORD_TOO_LONG);
    record.auxText = nullptr;

    // Lists nested 32 deep are written, 33 deep refused (lists[0] holds lists[1] ... lists[32]).
    ZelkLogMsgArgList lists[33]{};
    ZelkLogMsgArg holders[32]{};
    ZelkLogMsgArg *arrays[32][2]{};
    for (int i = 0; i < 32; ++i) {
        holders[i].type = ZELKLOG_ARG_LIST, holders[i].ownsValue = 1, holders[i].value.list = &lists[i + 1];
        arrays[i][0] = &holders[i];
        lists[i].args = arrays[i];
    }
    for (int depth : {32, 33}) {
        record.args = lists[33 - depth];
        EXPECT_EQ(zelkLogSerializeMsg(&record, ZELKLOG_FORMAT_10006, text, sizeof text, &length),
                  depth == 32 ? ZELKLOG_RC_OK : ZELKLOG_RC_BAD_ARGUMENT)
            << depth;
    }

    const struct {
        const char *name;
        void (*spoil)(ZelkLogMsg &, ZelkLogMsgArg &);
    } cases[] = {
        {"kind 5", [](ZelkLogMsg &r, ZelkLogMsgArg &) { r.kind = 5; }},
        {"11-digit message id", [](ZelkLogMsg &r, ZelkLogMsgArg &) { r.args.msgId = 10000000000ull; }},
        {"argument type 6", [](ZelkLogMsg &, ZelkLogMsgArg &a) { a.type = 6; }},
        {"surrogate",
         [](ZelkLogMsg &, ZelkLogMsgArg &a) {
             a.type = ZELKLOG_ARG_WCHAR;
             a.value.wideChar = 0xD800;
         }},
        {"beyond Unicode",
         [](ZelkLogMsg &, ZelkLogMsgArg &a) {
             a.type = ZELKLOG_ARG_WCHAR;
             a.value.wideChar = 0x110000;
         }},
        {"null nested list",
         [](ZelkLogMsg &, ZelkLogMsgArg &a) {
             a.type = ZELKLOG_ARG_LIST;
             a.value.list = nullptr;
         }},
    };
    for (const auto &c : cases) {
        ZelkLogMsg r = makeRecord({});
        ZelkLogMsgArg arg{};
        arg.type = ZELKLOG_ARG_INT64;
        ZelkLogMsgArg *args[] = {&arg, nullptr};
        r.args.args = args;
        c.spoil(r, arg);
        EXPECT_EQ(zelkLogSerializeMsg(&r, ZELKLOG_FORMAT_10006, text, sizeof text, &length),
                  ZELKLOG_RC_BAD_ARGUMENT)
            << c.name;
    }
}

}  // namespace
