// Message formatting in the logging core: catalogues and their locale fallback, the
// formatted line and its flag bits, cutting to a length, context titles in the line.
#include "src/core/zelkLogCore.h"
#include "tests/support/log_fixture.h"
#include "tests/support/zone_guard.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <deque>
#include <string>
#include <vector>

namespace {

// A record whose strings and arguments live in this object (the formatter only reads).
struct TestRecord {
    TestRecord()
    {
        std::memset(&msg, 0, sizeof msg);
        msg.kind = ZELKLOG_MSG_APP;
        msg.kindData.first.severity = ZELKLOG_SEV_ERR;
        msg.productId = 42;
        msg.originatorId = 112;
        msg.fileId = 5;
        msg.timeMs = 1700000000123;  // 2023-11-14 22:13:20.123 UTC
        msg.pid = 100;
        msg.tid = 7;
    }
    TestRecord &id(uint64_t messageId) { return msg.args.msgId = messageId, *this; }
    TestRecord &text(const char *value) { return add(ZELKLOG_ARG_STRING).string = keep(value), *this; }
    TestRecord &integer(int64_t value) { return add(ZELKLOG_ARG_INT).sizedInt.value = value, *this; }
    TestRecord &unsigned64(uint64_t value) { return add(ZELKLOG_ARG_UINT64).uint64 = value, *this; }
    TestRecord &unsignedSized(uint64_t value) { return add(ZELKLOG_ARG_UINT).sizedUInt.value = value, *this; }
    TestRecord &real(double value) { return add(ZELKLOG_ARG_DOUBLE).real = value, *this; }
    TestRecord &letter(wchar_t value) { return add(ZELKLOG_ARG_WCHAR).wideChar = value, *this; }
    TestRecord &wide(const wchar_t *value)
    {
        return add(ZELKLOG_ARG_WSTRING).wideString = wides_.emplace_back(value).data(), *this;
    }
    TestRecord &nested(TestRecord &inner)
    {
        return add(ZELKLOG_ARG_LIST).list = &inner.msg.args, *this;
    }  // inner outlives
    TestRecord &token(const char *value) { return msg.contextToken = keep(value), *this; }
    char *keep(const char *value) { return strings_.emplace_back(value).data(); }
    ZelkLogMsg *get() { return &msg; }
    ZelkLogMsg msg;

private:
    ZelkLogMsgArgValue &add(uint32_t type)
    {
        ZelkLogMsgArg &arg = args_.emplace_back();
        std::memset(&arg, 0, sizeof arg);
        arg.type = type;
        pointers_.insert(pointers_.end() - 1, &arg);
        msg.args.args = pointers_.data();
        return arg.value;
    }
    std::deque<ZelkLogMsgArg> args_;
    std::vector<ZelkLogMsgArg *> pointers_{nullptr};
    std::deque<std::string> strings_;
    std::deque<std::wstring> wides_;
};

class MessageFormat : public ::testing::Test {
protected:
    void SetUp() override
    {
        write("root.ini", "[messages]\n"
                          "1001 = Could not open {0}: error {1,number,integer}\n"
                          "1002 = Root only: {0}\n"
                          "2000 = Context {0}\n"
                          "3000 = Copied {0, plural, one {# file} other {# files}}\n"
                          "4000 = n {0,number,#}\n");
        write("de.ini", "; German texts\n"
                        "[messages]\n"
                        "1001 = Datei {0} nicht geöffnet: Fehler {1,number,integer}\n"
                        "0x3ED = Lange Meldung mit {0}\n"
                        "   und Fortsetzung\n"
                        "[product 42]\n"
                        "1001 = Produkt 42: {0} fehlt\n");
        write("de_AT.ini", "[messages]\n3000 = {0} Dateien kopiert (AT)\n");
        InitializeLocalizerList(&list_);
    }
    void TearDown() override { RemoveAllLocalizers(&list_); }
    void write(const std::string &name, const std::string &content)
    {
        std::ofstream(catalogues_.file(name), std::ios::binary) << content;
    }
    // Formats with the fixture's localiser list and catalogue directory.
    std::string format(const ZelkLogMsg *record, const char *locale, uint32_t flags = 0,
                       uint32_t maxLength = 0, ContextTitleEntry **titles = nullptr,
                       const char *directory = "")
    {
        char *text = nullptr;
        uint32_t rc = LogFormatMessage(&list_, titles, locale, flags, maxLength,
                                       *directory == '\0' ? dir_.c_str() : directory, record, 0, &text);
        EXPECT_EQ(rc, ZELKLOG_RC_OK);
        std::string result = text == nullptr ? "<null>" : text;
        zelkLogFree(text);
        return result;
    }
    zelk::test::TempDir catalogues_;
    const std::string dir_ = catalogues_.path();
    ZelkLogLocalizerList list_{};
};

TEST_F(MessageFormat, CatalogueTextsWithFallback)
{
    TestRecord open, otherProduct, rootOnly, continued, plural, huge, plain, plainHuge;
    open.id(1001).text("a.txt").integer(1234);
    otherProduct.id(1001).text("a.txt").integer(1234).msg.productId = 7;
    rootOnly.id(1002).wide(L"Gr\u00fc\u00dfe");
    continued.id(0x3ED).letter(L'\u00e9');
    plural.id(3000).integer(1);
    huge.id(1002).unsigned64(UINT64_MAX);
    plain.id(4000).integer(INT64_MIN);
    plainHuge.id(4000).unsignedSized(UINT64_MAX);
    const struct {
        const char *name;
        const ZelkLogMsg *record;
        const char *locale, *expected;
    } cases[] = {
        {"root text, en grouping", otherProduct.get(), "en_US", "Could not open a.txt: error 1,234"},
        {"de text, de grouping", otherProduct.get(), "de_DE",
         u8"Datei a.txt nicht ge\u00f6ffnet: Fehler 1.234"},
        {"product section first", open.get(), "de", "Produkt 42: a.txt fehlt"},
        {"de_AT falls back to de", otherProduct.get(), "de_AT",
         u8"Datei a.txt nicht ge\u00f6ffnet: Fehler 1\u00a0234"},
        {"de falls back to root", rootOnly.get(), "de_AT", u8"Root only: Gr\u00fc\u00dfe"},
        {"continuation line", continued.get(), "de-DE", u8"Lange Meldung mit \u00e9 und Fortsetzung"},
        {"unsigned beyond int64", huge.get(), "en", "Root only: 18,446,744,073,709,551,615"},
        {"most specific locale", plural.get(), "de_AT", "1 Dateien kopiert (AT)"},
        {"keywords ignored", plural.get(), "de_AT@currency=EUR", "1 Dateien kopiert (AT)"},
        {"plain digits", plain.get(), "en", "n -9223372036854775808"},
        {"plain beyond int64", plainHuge.get(), "fr", "n 18446744073709551615"},
        {"native digits", plain.get(), "ar_EG",
         u8"n "
         u8"\u061c-"
         u8"\u0669\u0662\u0662\u0663\u0663\u0667\u0662\u0660\u0663\u0666\u0668\u0665\u0664\u0667\u0667\u0665"
         u8"\u0668\u0660\u0668"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(format(c.record, c.locale), c.expected) << c.name;
}

TEST_F(MessageFormat, UnknownIdentifiersShowIdAndArguments)
{
    TestRecord unknown, bare, knownInner, unknownInner, withNested, noId, context;
    unknown.id(4711)
        .text("a.txt")
        .integer(-5)
        .real(2.5)
        .unsigned64(UINT64_MAX)
        .letter(L'x')
        .unsignedSized(UINT64_MAX - 1);
    bare.id(4712);
    knownInner.id(1002).text("inner");
    unknownInner.id(99).integer(1);
    withNested.id(4713).nested(knownInner).nested(unknownInner);
    noId.msg.kind = ZELKLOG_MSG_DEBUG;
    noId.msg.auxText = noId.keep("free text");
    context.msg.kind = ZELKLOG_MSG_CTX;
    context.msg.kindData.first.contextText = context.keep("Nightly backup");
    const struct {
        const char *name;
        const ZelkLogMsg *record;
        const char *expected;
    } cases[] = {
        {"plain arguments", unknown.get(),
         "#4711 (a.txt, -5, 2.5, 18446744073709551615, x, 18446744073709551614)"},
        {"no arguments", bare.get(), "#4712"},
        {"nested lists", withNested.get(), "#4713 (Root only: inner, [#99 (1)])"},
        {"record text without id", noId.get(), "free text"},
        {"context text", context.get(), "Nightly backup"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(format(c.record, "de_DE"), c.expected) << c.name;
        const char *directory =
            c.record != withNested.get() ? "/nonexistent/dir" : "";  // no catalogues at all
        EXPECT_EQ(format(c.record, "de_DE", 0, 0, nullptr, directory), c.expected) << c.name;
    }
}

TEST_F(MessageFormat, UnusableCataloguesAreSkipped)
{
    write("fr.ini", "[messages]\n1001 = " + std::string(70000, 'x') + "\n");  // line too long
    write("it.ini", "[messages]\n1001 = Broken {0\n1002 = \xff\xfe {0}\nnot a line\n");
    TestRecord open, rootOnly;
    open.id(1001).text("a").integer(1).msg.productId = 7;
    rootOnly.id(1002).text("b");
    EXPECT_EQ(format(open.get(), "fr"), "Could not open a: error 1");
    EXPECT_EQ(format(open.get(), "it"), "#1001 (a, 1)");
    EXPECT_EQ(format(rootOnly.get(), "it"), u8"\ufffd\ufffd b");
    EXPECT_EQ(format(open.get(), "../../etc"), "Could not open a: error 1");

    // The longest line that fits is read whole; one byte more (a CR) and it is refused.
    const std::string longest = std::string(65534 - 7, 'y');
    write("es.ini", "[messages]\r\n1002 = " + longest + "\r\n");
    EXPECT_EQ(format(rootOnly.get(), "es"), "Root only: b");
    write("pt.ini", "[messages]\n1002 = " + longest + "\n");
    EXPECT_EQ(format(rootOnly.get(), "pt"), longest);
}

TEST_F(MessageFormat, LineFieldsFollowTheFlags)
{
    ZoneGuard zone("<+0530>-5:30");
    TestRecord record;
    record.id(1001).text("a.txt").integer(3).token("tok-1");
    record.msg.auxNumber = 9;
    record.msg.auxText = record.keep("aux");
    record.msg.kindData.second.who = record.keep("joe");
    std::strcpy(record.msg.logsetName, "nightly");  // shown as the source before the header text
    std::strcpy(record.msg.fileHeaderText, "host");

    ContextTitleEntry entry = {nullptr, 42, 112, record.keep("tok-1"), record.keep("Backup")};
    ContextTitleEntry *titles[ZELKLOG_CONTEXT_BUCKETS] = {};
    titles[HashString("tok-1", ZELKLOG_CONTEXT_BUCKETS)] = &entry;

    const std::string time = u8"Nov 15, 2023, 3:43:20\u202fAM";
    const std::pair<uint32_t, std::string> cases[] = {
        {0xF03, time + " | ERR | prod 42 orig 112 | pid 100 tid 7 | Backup | Could not open a.txt: error 3"},
        {0x005, u8"Nov 15, 2023, 3:43:20.123\u202fAM"},
        {0x008, "who joe"},
        {0x110, "prod 42 orig 112 file 5"},
        {0x020, "aux 9 aux"},
        {0x040, "Backup (tok-1)"},
        {0x080, "nightly"},
        {0xF000, ""},
    };
    for (const auto &[flags, expected] : cases)
        EXPECT_EQ(format(record.get(), "en_US", flags, 0, titles), expected) << std::hex << flags;

    // The query's entry point: its localisers, titles and catalogue; formatArg limits the length.
    LogQuery query;
    std::memset(&query, 0, sizeof query);
    query.contextTitles[HashString("tok-1", ZELKLOG_CONTEXT_BUCKETS)] = &entry;
    query.formatResource = record.keep(dir_.c_str());
    char *text = nullptr;
    ASSERT_EQ(zelkLogFormatMessageEx(&query, "de_DE", 0, 0xF03, 0, record.get(), &text), ZELKLOG_RC_OK);
    EXPECT_STREQ(text, "15.11.2023, 03:43:20 | ERR | prod 42 orig 112 | pid 100 tid 7 | Backup | "
                       u8"Produkt 42: a.txt fehlt");
    zelkLogFree(text);
    ASSERT_EQ(zelkLogFormatMessageEx(&query, "de_DE", 8, 0xF03, 0, record.get(), &text), ZELKLOG_RC_OK);
    EXPECT_STREQ(text, "15.11.20");
    zelkLogFree(text);
    RemoveAllLocalizers(&query.localizers);

    // The kind column names every severity, the highest included, and numbers others.
    const char *const severities[] = {"INFO", "WARNING", "ERR", "CRIT", "EMERG", "SEV5"};
    for (uint32_t severity = 0; severity < 6; ++severity) {
        record.msg.kindData.first.severity = severity;
        EXPECT_EQ(format(record.get(), "en_US", 0x002), severities[severity]);
    }
}

TEST_F(MessageFormat, TimesFollowTheZoneRuleOfTheirMoment)
{
    ZoneGuard zone("CET-1CEST,M3.5.0,M10.5.0/3");
    TestRecord winter, summer;
    winter.msg.timeMs = 1673784000000;  // 2023-01-15 12:00 UTC
    summer.msg.timeMs = -1;             // 1969-12-31 23:59:59.999 UTC
    EXPECT_EQ(format(winter.get(), "de_DE", 0x001), "15.01.2023, 13:00:00");
    EXPECT_EQ(format(summer.get(), "de_DE", 0x005), "01.01.1970, 00:59:59.999");
    // Half a second before clocks went forward in 1969: the zone rule of the second it
    // falls in (rounded down, not toward zero).
    winter.msg.timeMs = -23929200500;  // 1969-03-30 00:59:59.5 UTC
    EXPECT_EQ(format(winter.get(), "de_DE", 0x005), "30.03.1969, 01:59:59.500");
    summer.msg.timeMs = 1689422400000;  // 2023-07-15 12:00 UTC
    EXPECT_EQ(format(summer.get(), "de_DE", 0x001), "15.07.2023, 14:00:00");
}

// One second's date text is kept for the records that follow: a zone set in between, and
// milliseconds in a locale with digits of its own, must still come out right.
TEST_F(MessageFormat, KeptDateTextFollowsZoneAndMilliseconds)
{
    TestRecord record;  // 2023-11-14 22:13:20.123 UTC
    {
        ZoneGuard zone("UTC0");
        EXPECT_EQ(format(record.get(), "de_DE", 0x001), "14.11.2023, 22:13:20");
    }
    ZoneGuard zone("<+0530>-5:30");
    EXPECT_EQ(format(record.get(), "de_DE", 0x001), "15.11.2023, 03:43:20");
    // 15/11/2023, 3:43:20.<ms> AM in Arabic-Indic digits.
    const std::string date = u8"\u0661\u0665\u200f/\u0661\u0661\u200f/\u0662\u0660\u0662\u0663\u060c "
                             u8"\u0663:\u0664\u0663:\u0662\u0660.";
    const std::pair<int64_t, std::string> cases[] = {
        {1700000000123, date + u8"\u0661\u0662\u0663 \u0635"},
        {1700000000987, date + u8"\u0669\u0668\u0667 \u0635"},
        {1700000000004, date + u8"\u0660\u0660\u0664 \u0635"},
    };
    for (const auto &[timeMs, expected] : cases) {
        record.msg.timeMs = timeMs;
        EXPECT_EQ(format(record.get(), "ar_EG", 0x005), expected) << timeMs;
    }
}

TEST_F(MessageFormat, CutsOnCharacterBoundaries)
{
    TestRecord record;
    record.id(0).text(u8"a\u00fc\u20ac\U0001F600z");  // 1 + 2 + 3 + 4 + 1 bytes
    const std::pair<uint32_t, const char *> cases[] = {
        {0, u8"a\u00fc\u20ac\U0001F600z"},
        {2, "a"},
        {5, u8"a\u00fc"},
        {9, u8"a\u00fc\u20ac"},
        {10, u8"a\u00fc\u20ac\U0001F600"},
        {1000, u8"a\u00fc\u20ac\U0001F600z"},
    };
    for (const auto &[maxLength, expected] : cases)
        EXPECT_EQ(format(record.get(), "en", 0, maxLength), expected) << maxLength;
}

TEST_F(MessageFormat, CataloguesAreCachedPerListAndDirectory)
{
    TestRecord record;
    record.id(1002).text("x");
    EXPECT_EQ(format(record.get(), "en"), "Root only: x");
    // One list used with two catalogue directories keeps their texts apart.
    zelk::test::TempDir other;
    std::ofstream(other.file("root.ini")) << "[messages]\n1002 = Other: {0}\n";
    EXPECT_EQ(format(record.get(), "en", 0, 0, nullptr, other.path().c_str()), "Other: x");
    EXPECT_EQ(format(record.get(), "en"), "Root only: x");
    // A catalogue is read once per list.
    write("root.ini", "[messages]\n1002 = Changed: {0}\n");
    EXPECT_EQ(format(record.get(), "en"), "Root only: x");
    RemoveAllLocalizers(&list_);
    EXPECT_EQ(format(record.get(), "en"), "Changed: x");

    // Without a list of its own, every call reads the catalogues afresh.
    char *text = nullptr;
    write("root.ini", "[messages]\n1002 = Again: {0}\n");
    ASSERT_EQ(LogFormatMessage(nullptr, nullptr, "en", 0, 0, dir_.c_str(), record.get(), 0, &text),
              ZELKLOG_RC_OK);
    EXPECT_STREQ(text, "Again: x");
    zelkLogFree(text);
}

}  // namespace
