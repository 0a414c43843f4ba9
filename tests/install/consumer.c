/* A user of the installed package: queries the log set named by $ZELKLOG_CONFIG and
 * prints the matching records as formatted lines.  Exit 0 when at least one was read. */
#include <stdio.h>
#include <string.h>

#include "zelkLogRead.h"

int main(int argc, char **argv)
{
    const char *filter = argc > 1 ? argv[1] : "SEV >= WARNING";
    LogQuery query;
    memset(&query, 0, sizeof query);
    uint32_t rc = zelkLogCreateQueryEx2(filter, "en", NULL, NULL, ZELKLOG_NO_TZ_ADJUST, &query);
    if (rc != ZELKLOG_RC_OK) {
        fprintf(stderr, "consumer: create query: code %u\n", (unsigned)rc);
        zelkLogDestroyQuery(&query);
        return 1;
    }
    unsigned count = 0;
    for (;;) {
        char *text = NULL;
        rc = zelkLogFetchNextFormattedMessage(&query, 0, "en", 0, &text);
        if (rc == ZELKLOG_RC_OK) {
            printf("%s\n", text);
            zelkLogFree(text);
            ++count;
        } else if (rc != ZELKLOG_RC_END_OF_FILE && rc != ZELKLOG_RC_CORRUPT_RECORD) {
            break;
        }
    }
    zelkLogDestroyQuery(&query);
    if (rc != ZELKLOG_RC_NO_MORE_RECORDS || count == 0) {
        fprintf(stderr, "consumer: fetch ended with code %u after %u records\n", (unsigned)rc, count);
        return 1;
    }
    return 0;
}
