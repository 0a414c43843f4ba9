%code top {
// Grammar of the query language.  Every value record has the layout of a query node: a
// token's record carries the scanner's value in `value` (the tokens' type tag), a grammar
// symbol's record the subtree built for it in `left` (the symbols' tag).  Subtrees still
// on the stack when a parse fails are released by the destructor below; the builders an
// action calls release that action's operands when they fail.

// The generated parser becomes an internal step; the exported yyparse at the end of this
// file runs it and hands out the code with which an action ended the parse.
#define yyparse zelkQueryParseRun
}

%code requires {
#include "src/query/parser_glue.h"
}

%code {
#include "src/query/query_internal.h"
#include "src/query/tree_builder.h"

#include <cstring>

#define YYINITDEPTH 200
#define YYMAXDEPTH 10000

using namespace zelk::query;

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

}  // namespace
}

%define api.pure full
%define api.value.type {QueryNode}
%define parse.error custom
%define parse.trace
%define api.token.prefix {ZELKLOG_GRAMMAR_}
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
            if (uint32_t rc = buildNumberBetween(context, $1, $3, $5, &$$))
                ZELK_END_PARSE(rc);
        }
    | KEYWORDS BETWEEN STRINGCONST
        {
            if (uint32_t rc = captureLowerBound(context, $3))
                ZELK_END_PARSE(rc);
        }
      AND STRINGCONST
        {
            if (uint32_t rc = buildTextBetween(context, $1, $6, &$$))
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

// The grammar's token codes (prefixed ZELKLOG_GRAMMAR_ by the generator) are the codes
// of the public header that the scanner returns.
#define ZELK_SAME_TOKEN(name) (static_cast<int>(ZELKLOG_GRAMMAR_##name) == static_cast<int>(name))
static_assert(ZELKLOG_GRAMMAR_YYEOF == 0 && ZELK_SAME_TOKEN(STRINGCONST) && STRINGCONST == 257 &&
                  ZELK_SAME_TOKEN(INTCONST) && ZELK_SAME_TOKEN(KEYWORDS) && ZELK_SAME_TOKEN(SEVTYPES) &&
                  ZELK_SAME_TOKEN(MSGTYPES) && ZELK_SAME_TOKEN(ERROR_FOUND),
              "leaf token codes");
static_assert(ZELK_SAME_TOKEN(ZELKLOGREC_PRODID) && ZELKLOGREC_PRODID == 263 && ZELK_SAME_TOKEN(ZELKLOGREC_ORGID) &&
                  ZELK_SAME_TOKEN(ZELKLOGREC_SHORGID) && ZELK_SAME_TOKEN(ZELKLOGREC_SUBJECT) &&
                  ZELK_SAME_TOKEN(ZELKLOGREC_RETURNVAL) && ZELK_SAME_TOKEN(ZELKLOGREC_STDATE) &&
                  ZELK_SAME_TOKEN(ZELKLOGREC_ENDATE) && ZELK_SAME_TOKEN(ZELKLOGREC_LEVEL) &&
                  ZELK_SAME_TOKEN(ZELKLOGREC_PID) && ZELK_SAME_TOKEN(ZELKLOGREC_TID) &&
                  ZELK_SAME_TOKEN(ZELKLOGREC_SEV) && ZELK_SAME_TOKEN(ZELKLOGREC_MSGTYPE) &&
                  ZELK_SAME_TOKEN(ZELKLOGREC_CTXTOK) && ZELK_SAME_TOKEN(ZELKLOGREC_PREVTIME) &&
                  ZELK_SAME_TOKEN(ZELKLOGREC_WHO) && ZELK_SAME_TOKEN(ZELKLOGREC_HOSTNAME) &&
                  ZELK_SAME_TOKEN(ZELKLOGREC_LOGSETID) && ZELKLOGREC_LOGSETID == 279,
              "field codes");
static_assert(ZELK_SAME_TOKEN(BETWEEN) && BETWEEN == 280 && ZELK_SAME_TOKEN(AND) && ZELK_SAME_TOKEN(OR) &&
                  ZELK_SAME_TOKEN(LESS) && ZELK_SAME_TOKEN(GREATER) && ZELK_SAME_TOKEN(LESSEQ) &&
                  ZELK_SAME_TOKEN(GREATEREQ) && ZELK_SAME_TOKEN(EQUAL) && ZELK_SAME_TOKEN(NOTEQUAL) &&
                  ZELK_SAME_TOKEN(ROUND_OPEN) && ZELK_SAME_TOKEN(ROUND_CLOSE) && ROUND_CLOSE == 290,
              "operator token codes");
#undef ZELK_SAME_TOKEN
// The generator's own codes stay clear of the scanner's: its error token keeps 256 and
// its undefined-token code moves behind the last token.
static_assert(ZELKLOG_GRAMMAR_YYerror == 256 && static_cast<int>(ZELKLOG_GRAMMAR_YYUNDEF) > static_cast<int>(ROUND_CLOSE), "generator token codes");

extern "C" ZELKLOG_API int yyparse(QueryParseContext *context)
{
    if (context == nullptr)
        return static_cast<int>(ZELKLOG_RC_BAD_ARGUMENT);
    int rc = zelkQueryParseRun(context);
    if (rc == 1 && context->abortCode != ZELKLOG_RC_OK)
        rc = static_cast<int>(context->abortCode);
    zelkLogFree(context->pendingText);
    context->pendingText = nullptr;
    return rc;
}
