// The admissibility check of one comparison: which operators and operand kinds each
// record field takes.  Date texts compared with the start or end date become times.
#include "src/core/zelkLogCore.h"

namespace {

bool isEqualityOperator(int32_t op)
{
    return op == EQUAL || op == NOTEQUAL;
}

// A date text read with the leaf's own locale (medium time, short date) becomes the
// time in seconds; the text is released only once it has been read.
uint32_t convertDateText(QueryNode *value)
{
    if (value->kind == INTCONST)
        return ZELKLOG_RC_OK;
    if (value->kind != STRINGCONST)
        return ZELKLOG_RC_BAD_DATE;
    char *text = reinterpret_cast<char *>(static_cast<uintptr_t>(value->value));
    int64_t seconds = 0;
    if (zelkLogGetDateFromFormat(2, 3, value->locale, text, &seconds) != ZELKLOG_RC_OK)
        return ZELKLOG_RC_BAD_DATE;
    zelkLogFree(text);
    value->kind = INTCONST;
    value->value = static_cast<uint64_t>(seconds);
    value->visitMark = ZELKLOG_DATE_TEXT_MARK;  // a local time: a zone adjustment moves it
    return ZELKLOG_RC_OK;
}

}  // namespace

extern "C" {

ZELKLOG_API uint32_t validNodes(int32_t op, QueryNode *a, QueryNode *b)
{
    if (a == nullptr || b == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    const bool keywordFirst = a->kind == KEYWORDS;
    if (keywordFirst == (b->kind == KEYWORDS))
        return ZELKLOG_RC_NEED_ONE_KEYWORD;
    const QueryNode *keyword = keywordFirst ? a : b;
    QueryNode *value = keywordFirst ? b : a;
    const bool text = value->kind == STRINGCONST;

    switch (keyword->value) {
    case ZELKLOGREC_SUBJECT:
        if (!isEqualityOperator(op))
            return ZELKLOG_RC_SUBJECT_OPERATOR;
        return text ? ZELKLOG_RC_OK : ZELKLOG_RC_SUBJECT_NOT_TEXT;
    case ZELKLOGREC_STDATE:
    case ZELKLOGREC_ENDATE:
        return convertDateText(value);
    case ZELKLOGREC_CTXTOK:
        if (!text)
            return ZELKLOG_RC_NOT_TEXT;
        return isEqualityOperator(op) ? ZELKLOG_RC_OK : ZELKLOG_RC_CTXTOK_OPERATOR;
    case ZELKLOGREC_PREVTIME:
        return op == EQUAL ? ZELKLOG_RC_OK : ZELKLOG_RC_PREVTIME_OPERATOR;
    case ZELKLOGREC_WHO:
        if (!isEqualityOperator(op))
            return ZELKLOG_RC_WHO_OPERATOR;
        return text ? ZELKLOG_RC_OK : ZELKLOG_RC_NOT_TEXT;
    default:
        return ZELKLOG_RC_OK;
    }
}

}  // extern "C"
