// Creation and destruction of a query: the filter is parsed and checked against the
// product configuration, and the logging core lists the log files to read.
#include "src/core/zelkLogCore.h"
#include "src/api/merge_state.h"
#include "src/time/locale_check.h"

#include <cstring>

namespace {

constexpr uint32_t kConfigCapacity = ZELKLOG_MAX_PRODUCTS;
constexpr size_t kDirectoryBuffer = sizeof(ZelkLogProductCfg::logDirectory);

// A log directory override fits when it is not empty and leaves room for an added "/"
// and the terminator in the configuration record's path buffer.
bool directoryFits(const char *logDirectory)
{
    size_t length = strnlen(logDirectory, kDirectoryBuffer);
    if (length == 0 || length >= kDirectoryBuffer)
        return false;
    bool needsSlash = logDirectory[length - 1] != '/';
    return length + (needsSlash ? 1 : 0) + 1 <= kDirectoryBuffer;
}

// ZELKLOG_RC_OK, or ZELKLOG_RC_NO_MEMORY when a format-resource copy cannot be made.
uint32_t applyOverrides(ZelkLogProductCfg **array, uint64_t count, const char *logDirectory,
                        const char *formatResource)
{
    for (uint64_t i = 0; i < count && i < kConfigCapacity; ++i) {
        ZelkLogProductCfg *record = array[i];
        if (record == nullptr)
            continue;
        if (logDirectory != nullptr) {
            size_t length = std::strlen(logDirectory);
            std::memset(record->logDirectory, 0, sizeof record->logDirectory);
            std::memcpy(record->logDirectory, logDirectory, length);
            if (record->logDirectory[length - 1] != '/') {
                record->logDirectory[length] = '/';
                record->logDirectory[length + 1] = '\0';
            }
        }
        if (formatResource != nullptr) {
            if (record->formatResource != nullptr)
                zelkLogFree(record->formatResource);
            record->formatResource = zelkLogSafeStrdup(formatResource);
            if (record->formatResource == nullptr)
                return ZELKLOG_RC_NO_MEMORY;
        }
    }
    return ZELKLOG_RC_OK;
}

// Closes and frees every file entry of the list, with any record still read ahead.
void releaseFileList(LogFileEntry *entry)
{
    while (entry != nullptr) {
        LogFileEntry *next = entry->next;
        zelkLogOs_close(&entry->file);
        zelkLogFreeMsg(&entry->pending);
        zelkLogFree(entry);
        entry = next;
    }
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t CreateTreeFromQuery(ZelkLogProductCfg **configArray, uint64_t configCount,
                                         const char *queryText, const char *locale, LogQuery *query)
{
    if (query == nullptr || queryText == nullptr || configArray == nullptr || queryText[0] == '\0')
        return ZELKLOG_RC_BAD_ARGUMENT;
    std::memset(query, 0, sizeof *query);
    QueryNode *root = nullptr;
    uint32_t rc = parseQueryString(queryText, locale, &root);
    if (rc == ZELKLOG_RC_OK && root != nullptr) {
        query->root = root;
        return validateShortNames(configArray, configCount, root);
    }
    removeTree(root);
    return rc;
}

ZELKLOG_API uint32_t zelkLogCreateQueryEx2(const char *queryText, const char *locale,
                                           const char *logDirectory, const char *formatResource,
                                           int64_t tzOffset, LogQuery *query)
{
    if (query == nullptr || queryText == nullptr || queryText[0] == '\0')
        return ZELKLOG_RC_BAD_ARGUMENT;
    if (logDirectory != nullptr && !directoryFits(logDirectory))
        return ZELKLOG_RC_BAD_ARGUMENT;
    // Date texts of the filter are read in this locale: one ICU cannot use is refused
    // here, whatever the filter holds.
    if (!zelk::time::usableLocale(locale))
        return ZELKLOG_RC_BAD_ARGUMENT;

    std::memset(query, 0, sizeof *query);
    ZelkLogProductCfg *array[kConfigCapacity];
    std::memset(array, 0, sizeof array);
    InitializeLocalizerList(&query->localizers);

    uint64_t count = 0;
    uint32_t rc = zelkLogReadAllCfg(0, kConfigCapacity, array, &count);
    if (count > kConfigCapacity)
        count = kConfigCapacity;
    if (rc != ZELKLOG_RC_OK && count == 0) {
        FreeConfigArray(array, count);
        return rc;
    }

    if (logDirectory != nullptr || formatResource != nullptr) {
        rc = applyOverrides(array, count, logDirectory, formatResource);
        if (rc != ZELKLOG_RC_OK) {
            FreeConfigArray(array, count);
            return rc;
        }
    }

    rc = CreateTreeFromQuery(array, count, queryText, locale, query);
    if (rc == ZELKLOG_RC_OK) {
        if (tzOffset != ZELKLOG_NO_TZ_ADJUST)
            updateQueryForTZ(query->root, tzOffset);
        rc = GetLogFiles(array, count, query);
        if (rc == ZELKLOG_RC_OK && formatResource != nullptr) {
            query->formatResource = zelkLogSafeStrdup(formatResource);
            if (query->formatResource == nullptr)
                rc = ZELKLOG_RC_NO_MEMORY;
        }
    }
    FreeConfigArray(array, count);
    return rc;
}

ZELKLOG_API uint32_t zelkLogCreateQueryEx(const char *queryText, const char *locale, const char *logDirectory,
                                          const char *formatResource, LogQuery *query)
{
    return zelkLogCreateQueryEx2(queryText, locale, logDirectory, formatResource, ZELKLOG_NO_TZ_ADJUST,
                                 query);
}

ZELKLOG_API uint32_t zelkLogCreateQuery(const char *queryText, const char *locale, LogQuery *query)
{
    return zelkLogCreateQueryEx2(queryText, locale, nullptr, nullptr, ZELKLOG_NO_TZ_ADJUST, query);
}

ZELKLOG_API uint32_t zelkLogDestroyQuery(LogQuery *query)
{
    if (query == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    RemoveAllLocalizers(&query->localizers);
    removeTree(query->root);
    if (query->formatResource != nullptr)
        zelkLogFree(query->formatResource);
    removeContextHashTable(query->contextTitles);
    zelk::read::releaseMergeState(query);
    releaseFileList(query->currentFile);
    // Forget what was released, so that a second destruction finds nothing to release.
    query->root = nullptr;
    query->formatResource = nullptr;
    query->currentFile = nullptr;
    return ZELKLOG_RC_OK;
}

}  // extern "C"
