/* Drives the library from C through its public header alone: a query is created over a
 * log file written with the stand-in's C writer, fetched from and destroyed.  Built as
 * C99 without ZELKLOG_TOKEN_NAMES, so the token names must not be defined, and with
 * ICU's date-format header, so ICU's UDateFormat must fit GetDateTimeFormat. */
#define _POSIX_C_SOURCE 200809L

#include "zelkLogRead.h"
#include "zelkLogWriter.h"

#include <unicode/udat.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static int failures = 0;

#define CHECK(condition)                                                                                     \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            fprintf(stderr, "%s:%d: %s failed\n", __FILE__, __LINE__, #condition);                           \
            ++failures;                                                                                      \
        }                                                                                                    \
    } while (0)

static int writeText(const char *path, const char *text)
{
    FILE *file = fopen(path, "w");
    if (file == NULL)
        return 0;
    int written = fputs(text, file) >= 0;
    return fclose(file) == 0 && written;
}

static void appendRecord(ZelkLogWriter *writer, uint32_t severity, uint64_t pid, int64_t timeMs)
{
    ZelkLogMsg record;
    memset(&record, 0, sizeof record);
    record.kind = ZELKLOG_MSG_APP;
    record.productId = 7;
    record.originatorId = 112;
    record.timeMs = timeMs;
    record.pid = pid;
    record.kindData.first.severity = severity;
    CHECK(zelkLogWriterAppendMsg(writer, &record) == ZELKLOG_RC_OK);
}

int main(void)
{
    /* Callers' own names that the header's token names would collide with. */
    int AND = 1, OR = 2, EQUAL = 3;
    CHECK(AND + OR + EQUAL == 6);

    char directory[] = "/tmp/zelk_c_api_XXXXXX";
    CHECK(mkdtemp(directory) != NULL);
    char store[64], product[64], logs[64], file[80];
    snprintf(store, sizeof store, "%s/zelklog.conf", directory);
    snprintf(product, sizeof product, "%s/capi.conf", directory);
    snprintf(logs, sizeof logs, "%s/logs", directory);
    snprintf(file, sizeof file, "%s/app.log", logs);
    CHECK(mkdir(logs, 0700) == 0);
    char globalText[256], productText[] = "[Default]\nNames = main\n";
    snprintf(globalText, sizeof globalText, "[7]\nNames = capi\nLogDirectory = %s/\nConfigPath = %s\n", logs,
             product);
    CHECK(writeText(store, globalText) && writeText(product, productText));
    setenv("ZELKLOG_CONFIG", store, 1);

    ZelkLogWriter *writer = NULL;
    CHECK(zelkLogWriterCreate(file, ZELKLOG_FORMAT_10005, "c", 0600, &writer) == ZELKLOG_RC_OK);
    appendRecord(writer, ZELKLOG_SEV_INFO, 41, 1000);
    appendRecord(writer, ZELKLOG_SEV_ERR, 42, 2000);
    CHECK(zelkLogWriterClose(writer) == ZELKLOG_RC_OK);

    LogQuery query;
    CHECK(zelkLogCreateQuery("SEV >= ERR && PRODID = 'capi'", NULL, &query) == ZELKLOG_RC_OK);
    ZelkLogMsg record;
    CHECK(zelkLogFetchNextEntry(&query, &record) == ZELKLOG_RC_OK);
    CHECK(record.pid == 42 && record.productId == 7 && record.timeMs == 2000);
    zelkLogFreeMsg(&record);
    CHECK(zelkLogFetchNextEntry(&query, &record) == ZELKLOG_RC_NO_MORE_RECORDS);
    CHECK(zelkLogDestroyQuery(&query) == ZELKLOG_RC_OK);

    UDateFormat *formatter = NULL;
    ZELKLOG_UCHAR *text = NULL;
    CHECK(GetDateTimeFormat(3, 3, 86400.0, "en_US", &formatter, &text) == ZELKLOG_RC_OK);
    CHECK(formatter != NULL && text != NULL);
    ReleaseDateTimeFormat(formatter, text);

    unlink(file);
    unlink(store);
    unlink(product);
    snprintf(store, sizeof store, "%s/zelklog.conf.lock", directory);
    unlink(store);
    rmdir(logs);
    rmdir(directory);
    return failures == 0 ? 0 : 1;
}
