// Records written by the serializer come back identically from the decoder, through a
// real log file, in every format and kind.
#include "log_fixture.h"
#include "zelkLogCore.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <cwchar>
#include <string>

using zelk::test::makeRecord;
using zelk::test::TempDir;

namespace {

char token[] = "tok, with: separators";
char aux[] = "aux \xe2\x82\xac";
char who[] = "root";
char text[] = "context (title)";
char narrow[] = "a|b)c,";
wchar_t wide[] = L"w\u00e9\U0001F600";

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

void expectSameText(const char *expected, const char *actual, const char *field)
{
    if (expected == nullptr || *expected == '\0')
        EXPECT_EQ(actual, nullptr) << field;
    else
        EXPECT_STREQ(actual, expected) << field;
}

void expectSameList(const ZelkLogMsgArgList &expected, const ZelkLogMsgArgList &actual)
{
    EXPECT_EQ(actual.msgId, expected.msgId);
    size_t i = 0;
    for (; expected.args != nullptr && expected.args[i] != nullptr; ++i) {
        ASSERT_NE(actual.args, nullptr);
        const ZelkLogMsgArg *e = expected.args[i];
        const ZelkLogMsgArg *a = actual.args[i];
        ASSERT_NE(a, nullptr) << "argument " << i;
        ASSERT_EQ(a->type, e->type) << "argument " << i;
        EXPECT_EQ(a->ownsValue, e->ownsValue) << "argument " << i;
        const ZelkLogMsgArgValue &ev = e->value;
        const ZelkLogMsgArgValue &av = a->value;
        switch (e->type) {
        case ZELKLOG_ARG_WCHAR: EXPECT_EQ(av.wideChar, ev.wideChar); break;
        case ZELKLOG_ARG_INT:
        case ZELKLOG_ARG_DINT:
            EXPECT_EQ(av.sizedInt.size, ev.sizedInt.size);
            EXPECT_EQ(av.sizedInt.value, ev.sizedInt.value);
            break;
        case ZELKLOG_ARG_UINT:
            EXPECT_EQ(av.sizedUInt.size, ev.sizedUInt.size);
            EXPECT_EQ(av.sizedUInt.value, ev.sizedUInt.value);
            break;
        case ZELKLOG_ARG_DOUBLE: EXPECT_EQ(std::memcmp(&av.real, &ev.real, sizeof av.real), 0); break;
        case ZELKLOG_ARG_UINT64: EXPECT_EQ(av.uint64, ev.uint64); break;
        case ZELKLOG_ARG_INT64: EXPECT_EQ(av.int64, ev.int64); break;
        case ZELKLOG_ARG_WSTRING: EXPECT_EQ(std::wcscmp(av.wideString, ev.wideString), 0); break;
        case ZELKLOG_ARG_XSTRING:
        case ZELKLOG_ARG_STRING: EXPECT_STREQ(av.string, ev.string); break;
        case ZELKLOG_ARG_LIST: expectSameList(*ev.list, *av.list); break;
        }
    }
    EXPECT_TRUE(actual.args == nullptr || actual.args[i] == nullptr) << "extra arguments";
}

TEST(LogRoundTrip, EveryFormatAndKindThroughAFile)
{
    TempDir dir;
    Arguments arguments;
    for (uint64_t format = ZELKLOG_FORMAT_10004; format <= ZELKLOG_FORMAT_10008; ++format) {
        std::vector<ZelkLogMsg> records;
        for (uint32_t kind = 0; kind <= 4; ++kind) {
            ZelkLogMsg r = makeRecord(kind, -1234567890123 + kind);
            r.productId = 9000000000000000000ull;
            r.originatorId = 112;
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
            if (kind != 0) {
                r.args.msgId = 9999999999ull;
                r.args.args = arguments.top;
            }
            records.push_back(r);
        }
        std::string name = "f" + std::to_string(format);
        ASSERT_NE(zelk::test::writeLogFile(dir.path(), name, format, records), "");

        auto *handle = new LogOsFile;
        ASSERT_EQ(zelkLogOs_open(handle, dir.file(name).c_str(), 1, 0660), 0);
        for (const ZelkLogMsg &e : records) {
            SCOPED_TRACE("format " + std::to_string(format) + " kind " + std::to_string(e.kind));
            textMessage message;
            init_text_msg(&message);
            ASSERT_EQ(readrecord(handle, &message), 1);
            ZelkLogMsg a;
            std::memset(&a, 0, sizeof a);
            a.format = format;
            ASSERT_EQ(zelkLogMsgUnserialize(&message, &a), 0u) << message.text;
            free_text_msg(&message);
            bool carriesProduct = format != ZELKLOG_FORMAT_10008;
            bool carriesFile = format != ZELKLOG_FORMAT_10004 && format != ZELKLOG_FORMAT_10008;
            EXPECT_EQ(a.kind, e.kind);
            EXPECT_EQ(a.productId, carriesProduct ? e.productId : 0);
            EXPECT_EQ(a.originatorId, e.originatorId);
            EXPECT_EQ(a.fileId, carriesFile ? e.fileId : 0);
            EXPECT_EQ(a.auxNumber, e.auxNumber);
            EXPECT_EQ(a.timeMs, e.timeMs);
            EXPECT_EQ(a.pid, e.pid);
            EXPECT_EQ(a.tid, e.tid);
            expectSameText(e.contextToken, a.contextToken, "contextToken");
            expectSameText(e.auxText, a.auxText, "auxText");
            if (e.kind <= 1) {
                EXPECT_EQ(a.kindData.first.level, e.kindData.first.level);
            } else if (e.kind == 2) {
                EXPECT_EQ(a.kindData.first.severity, e.kindData.first.severity);
            } else if (e.kind == 3) {
                expectSameText(e.kindData.first.contextText, a.kindData.first.contextText, "contextText");
            } else {
                EXPECT_EQ(a.kindData.returnValue, e.kindData.returnValue);
            }
            bool whoCarried = e.kind != 2 || format >= ZELKLOG_FORMAT_10006;
            expectSameText(whoCarried ? e.kindData.second.who : nullptr, a.kindData.second.who, "who/subject");
            expectSameList(e.args, a.args);
            zelkLogFreeMsg(&a);
        }
        zelkLogOs_close(handle);
        delete handle;
    }
}

// The deepest nesting the serializer writes is what the decoder still reads.
TEST(LogRoundTrip, DeepestNesting)
{
    constexpr size_t kLevels = 32;
    std::vector<ZelkLogMsgArgList> lists(kLevels);
    std::vector<ZelkLogMsgArg> holders(kLevels);
    std::vector<std::array<ZelkLogMsgArg *, 2>> arrays(kLevels);
    for (size_t i = 0; i + 1 < kLevels; ++i) {
        holders[i].type = ZELKLOG_ARG_LIST;
        holders[i].ownsValue = 1;
        holders[i].value.list = &lists[i + 1];
        arrays[i] = {&holders[i], nullptr};
        lists[i].msgId = i;
        lists[i].args = arrays[i].data();
    }
    ZelkLogMsg record = makeRecord(ZELKLOG_MSG_DIAG, 1);
    record.args = lists[0];
    textMessage message;
    init_text_msg(&message);
    std::string text = zelk::test::serialize(record, ZELKLOG_FORMAT_10006);
    ASSERT_NE(text, "");
    std::memcpy(message.buffer, text.c_str(), text.size() + 1);
    ZelkLogMsg decoded;
    std::memset(&decoded, 0, sizeof decoded);
    decoded.format = ZELKLOG_FORMAT_10006;
    ASSERT_EQ(zelkLogMsgUnserialize(&message, &decoded), 0u);
    expectSameList(record.args, decoded.args);
    zelkLogFreeMsg(&decoded);
}

}  // namespace
