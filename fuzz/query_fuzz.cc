// Fuzzes the filter language: the input (after its first byte) is the filter text.  The
// first byte picks the locale for date texts (none or one of a few) and a time-zone
// shift (none, an hour, or the most negative one, which must saturate).  A filter that
// parses has its names resolved against a small configuration made once at start-up;
// a resolved tree has its dates shifted and is evaluated against one fixed record of
// every kind.  The tree, the context titles and the localisers the evaluation kept are
// then released, so leaks of partly built or partly resolved trees surface as well.
#include "src/core/zelkLogCore.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

char gDirectory[] = "/tmp/zelk-query-fuzz-XXXXXX";
std::string gGlobalStore;
std::string gProductStore;
ZelkLogProductCfg *gConfig[4];
uint64_t gConfigCount = 0;
ZelkLogMsg gRecords[5];

void writeFile(const std::string &path, const std::string &text)
{
    FILE *file = std::fopen(path.c_str(), "w");
    if (file == nullptr)
        std::abort();
    std::fputs(text.c_str(), file);
    std::fclose(file);
}

void cleanUp()
{
    FreeConfigArray(gConfig, gConfigCount);
    for (const std::string &path : {gGlobalStore, gProductStore})
        unlink(path.c_str());
    rmdir(gDirectory);
}

char *literal(const char *text)
{
    return const_cast<char *>(text);
}

void makeRecords()
{
    for (uint32_t kind = 0; kind < 5; ++kind) {
        ZelkLogMsg &r = gRecords[kind];
        r.marker = 1;
        r.format = ZELKLOG_FORMAT_10006;
        r.kind = kind;
        r.productId = 7;
        r.originatorId = kind % 2 == 0 ? 5 : 112;
        r.fileId = 9;
        r.timeMs = 1700000000123 + kind;
        r.pid = 4321;
        r.tid = 17;
        r.contextToken = kind >= 2 ? literal("tok-1") : nullptr;
    }
    gRecords[0].kindData.first.level = 3;
    gRecords[0].kindData.second.who = literal("debugger");
    gRecords[1].kindData.first.level = -1;
    gRecords[2].kindData.first.severity = ZELKLOG_SEV_CRIT;
    gRecords[2].kindData.second.who = literal("admin");
    gRecords[3].kindData.first.contextText = literal("Nightly backup");
    gRecords[4].kindData.second.subject = literal("login");
    gRecords[4].kindData.returnValue = -5;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    if (mkdtemp(gDirectory) == nullptr)
        std::abort();
    gGlobalStore = std::string(gDirectory) + "/global.conf";
    gProductStore = std::string(gDirectory) + "/billing.conf";
    writeFile(gGlobalStore, "[7]\nNames = billing,bill\nLogDirectory = " + std::string(gDirectory) +
                                "\nConfigPath = " + gProductStore + "\n[12]\nNames = shop\n");
    writeFile(gProductStore, "[Default]\nNames = main\n[5]\nNames = worker,batch\nFileId = 9\n"
                             "FileNames = jobs,queue\n");
    setenv("ZELKLOG_CONFIG", gGlobalStore.c_str(), 1);
    if (zelkLogReadAllCfg(0, 4, gConfig, &gConfigCount) != 0 || gConfigCount != 2)
        std::abort();
    makeRecords();
    std::atexit(cleanUp);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    static const char *const kLocales[] = {nullptr, "en_US", "de_DE", "ja_JP"};
    const char *locale = kLocales[data[0] % 4];
    std::string text(reinterpret_cast<const char *>(data + 1), size - 1);

    QueryNode *root = nullptr;
    if (parseQueryString(text.c_str(), locale, &root) != ZELKLOG_RC_OK) {
        removeTree(root);
        return 0;
    }
    static const int64_t kShifts[] = {ZELKLOG_NO_TZ_ADJUST, 3600, INT64_MIN};
    const int64_t shift = kShifts[(data[0] / 4) % 3];
    if (validateShortNames(gConfig, gConfigCount, root) == ZELKLOG_RC_OK) {
        if (shift != ZELKLOG_NO_TZ_ADJUST)
            updateQueryForTZ(root, shift);
        LogQuery query;
        std::memset(&query, 0, sizeof query);
        query.root = root;
        for (ZelkLogMsg &record : gRecords)
            IsTrueCondition(&record, &query);
        removeContextHashTable(query.contextTitles);
        RemoveAllLocalizers(&query.localizers);
    }
    removeTree(root);
    return 0;
}
