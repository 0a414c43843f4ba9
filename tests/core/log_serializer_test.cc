// The serializer's refusals (the text of every format and kind is checked by the round
// trip through a log file and by the decoder's layout table).
#include "tests/support/log_fixture.h"

#include <gtest/gtest.h>

#include <string>

using zelk::test::makeRecord;

namespace {

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
