// Records written by the serializer come back identically from the decoder, through a
// real log file, in every format and kind: the decoded record serializes to the very
// text that was written, and the fields a format does not carry come back empty.  And
// the records the serializer refuses.
#include "tests/support/log_fixture.h"
#include "src/core/zelkLogCore.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

using zelk::test::makeRecord;

namespace {

char token[] = "tok, with: separators";
char aux[] = "aux \xe2\x82\xac";
char who[] = "root";
char text[] = "context (title)";
char narrow[] = "a|b)c,";
wchar_t wide[] = L"w\u00e9\U0001F600";

// Every argument type and a nested list.
struct Arguments {
    ZelkLogMsgArg a[12]{};
    ZelkLogMsgArg *top[12] = {};
    ZelkLogMsgArg *inner[2] = {&a[10], nullptr};
    ZelkLogMsgArgList nested{77, 1, inner};

    Arguments()
    {
        a[0].type = ZELKLOG_ARG_WCHAR, a[0].value.wideChar = L'\u00df';
        a[1].type = ZELKLOG_ARG_INT, a[1].value.sizedInt = {4, INT64_MIN};
        a[2].type = ZELKLOG_ARG_UINT, a[2].value.sizedUInt = {8, UINT64_MAX};
        a[3].type = ZELKLOG_ARG_DOUBLE, a[3].value.real = -1.0 / 3.0;
        a[4].type = ZELKLOG_ARG_UINT64, a[4].value.uint64 = 12345678901234567890ull;
        a[5].type = ZELKLOG_ARG_WSTRING, a[5].ownsValue = 1, a[5].value.wideString = wide;
        a[6].type = ZELKLOG_ARG_DINT, a[6].value.sizedInt = {2, -7};
        a[7].type = ZELKLOG_ARG_INT64, a[7].value.int64 = INT64_MAX;
        a[8].type = ZELKLOG_ARG_XSTRING, a[8].ownsValue = 1, a[8].value.string = narrow;
        a[9].type = ZELKLOG_ARG_LIST, a[9].ownsValue = 1, a[9].value.list = &nested;
        a[10].type = ZELKLOG_ARG_STRING, a[10].ownsValue = 1, a[10].value.string = narrow;
        a[11].type = ZELKLOG_ARG_WCHAR;  // the character 0: an empty field
        for (int i = 0; i < 10; ++i)
            top[i] = &a[i];
        top[10] = &a[11];
    }
};

TEST(LogRoundTrip, EveryFormatAndKindThroughAFile)
{
    zelk::test::TempDir dir;
    Arguments arguments;
    for (uint64_t format = ZELKLOG_FORMAT_10004; format <= ZELKLOG_FORMAT_10008; ++format) {
        std::vector<ZelkLogMsg> records;
        for (uint32_t kind = 0; kind <= 4; ++kind) {
            ZelkLogMsg r = makeRecord(kind, -1234567890123 + kind, 200);
            r.productId = 9000000000000000000ull;
            r.fileId = 77;
            r.auxNumber = 5;
            r.pid = UINT64_MAX;
            r.contextToken = token;
            r.auxText = kind == 2 ? nullptr : aux;
            if (kind <= 1)
                r.kindData.first.level = kind == 0 ? INT32_MIN : INT32_MAX;
            if (kind == 2)
                r.kindData.first.severity = ZELKLOG_SEV_EMERG;
            if (kind == 3)
                r.kindData.first.contextText = text;
            if (kind == 4) {
                r.kindData.second.subject = text;
                r.kindData.returnValue = -3;
            } else if (kind != 3) {
                r.kindData.second.who = who;
            }
            r.args = kind == 0 ? ZelkLogMsgArgList{} : ZelkLogMsgArgList{9999999999ull, 0, arguments.top};
            records.push_back(r);
        }
        const std::string path = dir.file("f" + std::to_string(format));
        {
            zelk::test::LogFile file(path, format);
            for (const ZelkLogMsg &r : records)
                ASSERT_TRUE(file.append(r));
        }
        auto handle = std::make_unique<LogOsFile>();
        ASSERT_EQ(zelkLogOs_open(handle.get(), path.c_str(), 1, 0660), 0);
        for (const ZelkLogMsg &e : records) {
            SCOPED_TRACE("format " + std::to_string(format) + " kind " + std::to_string(e.kind));
            textMessage message;
            init_text_msg(&message);
            ASSERT_EQ(readrecord(handle.get(), &message), 1);
            const std::string written = message.text;  // the decoder works on the buffer in place
            ZelkLogMsg a;
            std::memset(&a, 0, sizeof a);
            a.format = format;
            ASSERT_EQ(zelkLogMsgUnserialize(&message, &a), 0u) << written;
            EXPECT_EQ(zelk::test::serialize(a, format), written);
            EXPECT_EQ(a.productId, format != ZELKLOG_FORMAT_10008 ? e.productId : 0);
            EXPECT_EQ(a.fileId,
                      format != ZELKLOG_FORMAT_10004 && format != ZELKLOG_FORMAT_10008 ? e.fileId : 0);
            if (e.kind == ZELKLOG_MSG_APP) {
                EXPECT_EQ(a.kindData.second.who == nullptr, format < ZELKLOG_FORMAT_10006);
            }
            EXPECT_EQ(a.auxText == nullptr, e.auxText == nullptr);
            if (e.args.args == arguments.top) {  // the double exactly, not only as printed
                EXPECT_EQ(
                    std::memcmp(&a.args.args[3]->value.real, &arguments.a[3].value.real, sizeof(double)), 0);
            }
            zelkLogFreeMsg(&a);
        }
        zelkLogOs_close(handle.get());
    }
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
