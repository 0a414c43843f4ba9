%code top {
// Grammar of the query language.  Every value record has the layout of a query node:
// a token's record carries the scanner's value in `value`; a grammar symbol's record
// carries the subtree built for it in `left` (the symbols' type tag).  Subtrees still on the stack when a parse
// fails are released by the destructor below; an action that ends the parse releases
// its own operands first.

// The generated parser becomes an internal step; the exported yyparse at the end of this
// file runs it and hands out the code with which an action ended the parse.
#define yyparse zelkQueryParseRun
}

%code requires {
#include "query/parser_glue.h"
}

%code {
#include "query/query_internal.h"
#include "zelkLogCore.h"

#include <cstdio>
#include <cstring>
#include <utility>

#define YYINITDEPTH 200
#define YYMAXDEPTH 10000

namespace {

// The generated parser reports its messages here; the stack-exhaustion report keeps the
// wording the error routine's callers know.
void yyerror(QueryParseContext * /*context*/, const char *message)
{
    ::yyerror(std::strcmp(message, "memory exhausted") == 0 ? "parser stack overflow" : message);
}

#define ZELK_END_PARSE(code)            \
    do {                                \
        context->abortCode = (code);    \
        YYABORT;                        \
    } while (0)

uint32_t countOperators(QueryParseContext *context, uint32_t added)
{
    context->operatorCount += added;
    return context->operatorCount > zelk::query::kMaxOperatorNodes ? ZELKLOG_RC_QUERY_TOO_LARGE : 0;
}

// A new operator node over two subtrees; on failure both subtrees are released.
uint32_t joinOperands(QueryParseContext *context, int32_t kind, QueryNode *left, QueryNode *right,
                      QueryNode **result)
{
    QueryNode *node = addNewNode(kind, left, right);
    if (node == nullptr) {
        removeTree(left);
        removeTree(right);
        return ZELKLOG_RC_NO_MEMORY;
    }
    *result = node;
    if (uint32_t code = countOperators(context, 1)) {
        removeTree(node);
        return code;
    }
    return 0;
}

// A checked comparison (with the keyword moved to the left of =, and PREVTIME = value
// rewritten to a date range); on failure both operands are released.
uint32_t compareOperands(QueryParseContext *context, int32_t op, QueryNode *left, QueryNode *right,
                         QueryNode **result)
{
    uint32_t code = validNodes(op, left, right);
    if (code == 0 && op == EQUAL) {
        if (right->kind == KEYWORDS)
            std::swap(left, right);
        if (left->value == ZELKLOGREC_PREVTIME) {
            code = zelk::query::rewritePrevTime(left, right, result);
            if (code == 0) {
                if ((code = countOperators(context, 3)) != 0)
                    removeTree(*result);
                return code;
            }
        }
    }
    if (code != 0) {
        removeTree(left);
        removeTree(right);
        return code;
    }
    return joinOperands(context, op, left, right, result);
}

// field BETWEEN low && high: AND(GREATER(field, low), LESS(field, high)), both bounds
// exclusive.  Each bound is checked against its own keyword leaf; date texts are read
// with the query's locale, which the bound leaves only borrow.  On failure the bounds
// are released.
uint32_t buildBetween(QueryParseContext *context, uint64_t field, QueryNode *low, QueryNode *high,
                      QueryNode **result)
{
    QueryNode *lowField = zelk::query::newLeaf(KEYWORDS, field);
    QueryNode *highField = zelk::query::newLeaf(KEYWORDS, field);
    uint32_t code = 0;
    if (low == nullptr || high == nullptr || lowField == nullptr || highField == nullptr) {
        code = ZELKLOG_RC_NO_MEMORY;
    } else {
        low->locale = low->kind == STRINGCONST ? context->locale : nullptr;
        high->locale = high->kind == STRINGCONST ? context->locale : nullptr;
        code = validNodes(GREATER, lowField, low);
        if (code == 0)
            code = validNodes(LESS, highField, high);
        low->locale = nullptr;
        high->locale = nullptr;
    }
    QueryNode *lower = nullptr;
    QueryNode *upper = nullptr;
    if (code == 0 && (lower = addNewNode(GREATER, lowField, low)) != nullptr)
        upper = addNewNode(LESS, highField, high);
    if (code == 0 && upper != nullptr)
        code = joinOperands(context, AND, lower, upper, result);
    else if (code == 0)
        code = ZELKLOG_RC_NO_MEMORY;
    if (code == 0) {
        // joinOperands counted the AND; the two comparisons count as well.
        if ((code = countOperators(context, 2)) != 0)
            removeTree(*result);
        return code;
    }
    if (lower == nullptr) {
        removeTree(lowField);
        removeTree(low);
    } else if (upper == nullptr) {
        removeTree(lower);
    }
    if (upper == nullptr) {
        removeTree(highField);
        removeTree(high);
    }
    return code;
}

// A leaf for a term; a text leaf gets a copy of the query's locale.
uint32_t makeLeaf(QueryParseContext *context, int32_t kind, uint64_t tokenValue, QueryNode **result)
{
    QueryNode token{};
    token.value = tokenValue;
    QueryNode localeRecord{};
    localeRecord.locale = context->locale;
    *result = addNewNode(kind, &token, kind == STRINGCONST ? &localeRecord : nullptr);
    return *result != nullptr ? 0 : ZELKLOG_RC_NO_MEMORY;
}

}  // namespace
}

%define api.pure full
%define api.value.type {QueryNode}
%define parse.error custom
%define parse.trace
%parse-param {QueryParseContext *context}

%initial-action {
    $$ = QueryNode{};
    context->abortCode = 0;
    context->operatorCount = 0;
    context->pendingText = nullptr;
}

%token YYEOF 0 "end of input"
%token <value> STRINGCONST 257 INTCONST 258 KEYWORDS 259 SEVTYPES 260 MSGTYPES 261 ERROR_FOUND 262
%token ZELKLOGREC_PRODID 263 ZELKLOGREC_ORGID 264 ZELKLOGREC_SHORGID 265 ZELKLOGREC_SUBJECT 266
%token ZELKLOGREC_RETURNVAL 267 ZELKLOGREC_STDATE 268 ZELKLOGREC_ENDATE 269 ZELKLOGREC_LEVEL 270
%token ZELKLOGREC_PID 271 ZELKLOGREC_TID 272 ZELKLOGREC_SEV 273 ZELKLOGREC_MSGTYPE 274
%token ZELKLOGREC_CTXTOK 275 ZELKLOGREC_PREVTIME 276 ZELKLOGREC_WHO 277 ZELKLOGREC_HOSTNAME 278
%token ZELKLOGREC_LOGSETID 279
%token BETWEEN 280 AND 281 OR 282 LESS 283 GREATER 284 LESSEQ 285 GREATEREQ 286 EQUAL 287
%token NOTEQUAL 288 ROUND_OPEN 289 ROUND_CLOSE 290

%type <left> stmnt expr or_expr and_expr rel_op between_op term
%destructor { removeTree($$); } <left>

%start stmnt

%%

stmnt
    : expr                      { context->resultTree = $1; $$ = nullptr; }
    ;

expr
    : or_expr
    ;

or_expr
    : or_expr OR and_expr       { if (uint32_t rc = joinOperands(context, OR, $1, $3, &$$)) ZELK_END_PARSE(rc); }
    | and_expr
    ;

and_expr
    : and_expr AND rel_op       { if (uint32_t rc = joinOperands(context, AND, $1, $3, &$$)) ZELK_END_PARSE(rc); }
    | rel_op
    ;

rel_op
    : rel_op LESS term          { if (uint32_t rc = compareOperands(context, LESS, $1, $3, &$$)) ZELK_END_PARSE(rc); }
    | rel_op LESSEQ term        { if (uint32_t rc = compareOperands(context, LESSEQ, $1, $3, &$$)) ZELK_END_PARSE(rc); }
    | rel_op GREATER term       { if (uint32_t rc = compareOperands(context, GREATER, $1, $3, &$$)) ZELK_END_PARSE(rc); }
    | rel_op GREATEREQ term     { if (uint32_t rc = compareOperands(context, GREATEREQ, $1, $3, &$$)) ZELK_END_PARSE(rc); }
    | rel_op EQUAL term         { if (uint32_t rc = compareOperands(context, EQUAL, $1, $3, &$$)) ZELK_END_PARSE(rc); }
    | rel_op NOTEQUAL term      { if (uint32_t rc = compareOperands(context, NOTEQUAL, $1, $3, &$$)) ZELK_END_PARSE(rc); }
    | between_op
    | term
    ;

between_op
    : KEYWORDS BETWEEN INTCONST AND INTCONST
        {
            QueryNode *low = zelk::query::newLeaf(INTCONST, $3);
            QueryNode *high = zelk::query::newLeaf(INTCONST, $5);
            if (uint32_t rc = buildBetween(context, $1, low, high, &$$))
                ZELK_END_PARSE(rc);
        }
    | KEYWORDS BETWEEN STRINGCONST
        {
            // The lower bound's token text is gone once the next token is scanned.
            context->pendingText = zelk::query::copyUnquoted(reinterpret_cast<const char *>($3));
            if (context->pendingText == nullptr)
                ZELK_END_PARSE(ZELKLOG_RC_NO_MEMORY);
        }
      AND STRINGCONST
        {
            QueryNode *low = zelk::query::newLeaf(STRINGCONST, reinterpret_cast<uintptr_t>(context->pendingText));
            if (low != nullptr)
                context->pendingText = nullptr;
            QueryNode token{};
            token.value = $6;
            QueryNode *high = addNewNode(STRINGCONST, &token, nullptr);
            if (uint32_t rc = buildBetween(context, $1, low, high, &$$))
                ZELK_END_PARSE(rc);
        }
    ;

term
    : INTCONST                  { if (uint32_t rc = makeLeaf(context, INTCONST, $1, &$$)) ZELK_END_PARSE(rc); }
    | STRINGCONST               { if (uint32_t rc = makeLeaf(context, STRINGCONST, $1, &$$)) ZELK_END_PARSE(rc); }
    | MSGTYPES                  { if (uint32_t rc = makeLeaf(context, MSGTYPES, $1, &$$)) ZELK_END_PARSE(rc); }
    | SEVTYPES                  { if (uint32_t rc = makeLeaf(context, SEVTYPES, $1, &$$)) ZELK_END_PARSE(rc); }
    | KEYWORDS                  { if (uint32_t rc = makeLeaf(context, KEYWORDS, $1, &$$)) ZELK_END_PARSE(rc); }
    | ROUND_OPEN expr ROUND_CLOSE { $$ = $2; }
    | ERROR_FOUND               { $$ = nullptr; ZELK_END_PARSE(static_cast<uint32_t>($1)); }
    ;

%%

// "parse error, unexpected X[, expecting A or B ...]": the expected tokens are named when
// there are at most four of them.
static int yyreport_syntax_error(const yypcontext_t *parseContext, QueryParseContext * /*context*/)
{
    char message[256];
    size_t used = 0;
    auto append = [&](const char *text, bool tokenName) {
        size_t length = std::strlen(text);
        if (tokenName && length >= 2 && text[0] == '"' && text[length - 1] == '"') {
            ++text;
            length -= 2;
        }
        if (length > sizeof message - 1 - used)
            length = sizeof message - 1 - used;
        std::memcpy(message + used, text, length);
        used += length;
    };
    append("parse error, unexpected ", false);
    append(yysymbol_name(yypcontext_token(parseContext)), true);
    yysymbol_kind_t expected[4];
    const int count = yypcontext_expected_tokens(parseContext, expected, 4);
    for (int i = 0; i < count; ++i) {
        append(i == 0 ? ", expecting " : " or ", false);
        append(yysymbol_name(expected[i]), true);
    }
    message[used] = '\0';
    ::yyerror(message);
    return 0;
}

#undef yyparse

static_assert(YYEOF == 0 && STRINGCONST == 257 && INTCONST == 258 && KEYWORDS == 259 &&
              SEVTYPES == 260 && MSGTYPES == 261 && ERROR_FOUND == 262, "leaf token codes");
static_assert(ZELKLOGREC_PRODID == 263 && ZELKLOGREC_ORGID == 264 && ZELKLOGREC_SHORGID == 265 &&
              ZELKLOGREC_SUBJECT == 266 && ZELKLOGREC_RETURNVAL == 267 && ZELKLOGREC_STDATE == 268 &&
              ZELKLOGREC_ENDATE == 269 && ZELKLOGREC_LEVEL == 270 && ZELKLOGREC_PID == 271 &&
              ZELKLOGREC_TID == 272 && ZELKLOGREC_SEV == 273 && ZELKLOGREC_MSGTYPE == 274 &&
              ZELKLOGREC_CTXTOK == 275 && ZELKLOGREC_PREVTIME == 276 && ZELKLOGREC_WHO == 277 &&
              ZELKLOGREC_HOSTNAME == 278 && ZELKLOGREC_LOGSETID == 279, "field codes");
static_assert(BETWEEN == 280 && AND == 281 && OR == 282 && LESS == 283 && GREATER == 284 &&
              LESSEQ == 285 && GREATEREQ == 286 && EQUAL == 287 && NOTEQUAL == 288 &&
              ROUND_OPEN == 289 && ROUND_CLOSE == 290, "operator token codes");

extern "C" ZELKLOG_API int yyparse(QueryParseContext *context)
{
    if (context == nullptr)
        return static_cast<int>(ZELKLOG_RC_BAD_ARGUMENT);
    int result = zelkQueryParseRun(context);
    if (result == 1 && context->abortCode != 0)
        result = static_cast<int>(context->abortCode);
    zelkLogFree(context->pendingText);
    context->pendingText = nullptr;
    return result;
}
