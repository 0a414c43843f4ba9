/* The public header must compile as strict C99 and define the records it promises. */
#define ZELKLOG_TOKEN_NAMES /* the header check covers the opt-in names too */
#include "zelkLogRead.h"

#include <stddef.h>

int main(void)
{
    ZelkLogMsg record = {0};
    LogQuery query = {0};
    QueryNode node = {0};
    record.kindData.first.severity = ZELKLOG_SEV_ERR;
    node.kind = KEYWORDS;
    node.value = ZELKLOGREC_PID;
    query.root = &node;
    return (record.kindData.first.severity == 2u && query.root->kind == 259 &&
            offsetof(ZelkLogMsg, marker) == 0)
               ? 0
               : 1;
}
