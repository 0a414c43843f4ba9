/*
 * zelkLogRead/internal.h - the steps libzelkLogReadST is built of, and its query-language
 * scanner and parser.  They are exported for tools and tests that drive a single step;
 * an application needs none of them.  zelkLogRead.h includes this header, so callers
 * include zelkLogRead.h alone; the library's own parser is compiled against these same
 * declarations.
 *
 * Documentation shape, result codes and ownership rules: as in zelkLogRead.h.
 */
#ifndef ZELKLOGREAD_INTERNAL_H_
#define ZELKLOGREAD_INTERNAL_H_

#include "zelkLogRead.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------- */
/* Query creation steps and OS file handles                                  */
/* ------------------------------------------------------------------------- */
/* Clears the query record, parses the filter and resolves names against the given
 * configuration records.
 *   configArray, configCount  the configuration records (zelkLogReadAllCfg).
 *   queryText, locale         as zelkLogCreateQueryEx2.
 *   query                     caller's storage, cleared and filled.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null query, text or array, or an
 * empty text; a parse code as parseQueryString (the tree is released); a code of
 * validateShortNames (the tree stays in query->root).
 * Ownership: query->root is released with zelkLogDestroyQuery. */
ZELKLOG_API uint32_t CreateTreeFromQuery(ZelkLogProductCfg **configArray, uint64_t configCount,
                                         const char *queryText, const char *locale, LogQuery *query);
/* Frees every entry of the 200 context-title buckets and sets every bucket to null.
 *   table  the query's contextTitles. */
ZELKLOG_API void removeContextHashTable(ContextTitleEntry **table);
/* Tells whether a handle is open.
 *   file  the handle, or null.
 * Returns: 1 when file is non-null and its descriptor is not -1 (0 counts as open),
 * else 0. */
ZELKLOG_API int zelkLogOs_isvalidfilehandle(const LogOsFile *file);
/* Moves the handle to an absolute position, dropping any read-ahead.
 *   file    the open handle.
 *   offset  bytes from the start of the file.
 * Returns: 0; -1 when the system refuses; -3 for a null file. */
ZELKLOG_API int zelkLogOs_seek(LogOsFile *file, int64_t offset);
/* The handle's position: the descriptor's position minus the read-ahead count.
 *   file  the open handle.
 * Returns: the position; -1 when the system refuses; -3 for a null file. */
ZELKLOG_API int64_t zelkLogOs_getFileOffset(LogOsFile *file);

/* ------------------------------------------------------------------------- */
/* Fetching steps                                                            */
/* ------------------------------------------------------------------------- */
/* Reads, decodes and tests one record of the current file.
 *   query   a created query.
 *   record  caller's record, cleared first.
 * Codes: ZELKLOG_RC_OK (a match); ZELKLOG_RC_NO_MATCH; ZELKLOG_RC_CORRUPT_RECORD;
 * ZELKLOG_RC_END_OF_FILE (the file ended and was dropped); or the code of opening it.
 * Ownership: as zelkLogFetchNextEntry. */
ZELKLOG_API uint32_t ReadOneRecord(LogQuery *query, ZelkLogMsg *record);
/* Opens the current file of the query, reading its header on first open.
 *   query  a created query.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_FAILURE when it cannot be opened;
 * ZELKLOG_RC_NO_MORE_RECORDS when no file is left; the header reader's code. */
ZELKLOG_API uint32_t ReadNextLogFile(LogQuery *query);
/* Closes and frees the current file entry and makes its successor current.
 *   query  a created query.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null query;
 * ZELKLOG_RC_NO_MORE_RECORDS when there is no current file. */
ZELKLOG_API uint32_t closelogfile(LogQuery *query);
/* Reads one raw record.
 *   file     the open handle.
 *   message  receives the record's text.
 * Returns: 1 when one raw record was read, else 0.
 * Ownership: the text is released with free_text_msg. */
ZELKLOG_API int readlog(LogOsFile *file, textMessage *message);

/* ------------------------------------------------------------------------- */
/* Query language                                                            */
/* ------------------------------------------------------------------------- */
/* The record handed to yyparse: the tree built by the start rule and the owned copy
 * of the locale used for date texts.  The remaining fields are the parser's own
 * bookkeeping and are cleared by the parse driver. */
typedef struct QueryParseContext {
    QueryNode *resultTree;
    char *locale;
    uint32_t abortCode;     /* code with which a rule's action ended the parse */
    uint32_t operatorCount; /* operator nodes built so far */
    char *pendingText;      /* captured text of a BETWEEN lower bound */
} QueryParseContext;

/* Parses a filter under the process-wide lock "parseQueryString()".
 *   queryText  the filter.
 *   locale     ICU locale id for date texts, or null.
 *   rootOut    receives the root of the tree.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_FAILURE (syntax error); ZELKLOG_RC_STACK_EXHAUSTED;
 * ZELKLOG_RC_BAD_ARGUMENT for a null rootOut or text; ZELKLOG_RC_NO_MEMORY; the lexical
 * codes ZELKLOG_RC_UNDEFINED_KEYWORD, ZELKLOG_RC_UNTERMINATED_STRING,
 * ZELKLOG_RC_UNRECOGNIZED_STRING; the refused comparisons ZELKLOG_RC_NEED_ONE_KEYWORD ..
 * ZELKLOG_RC_NOT_TEXT, ZELKLOG_RC_SUBJECT_NOT_TEXT, ZELKLOG_RC_SUBJECT_OPERATOR,
 * ZELKLOG_RC_WHO_OPERATOR; ZELKLOG_RC_NO_OPERATOR; ZELKLOG_RC_QUERY_TOO_LARGE.
 * Ownership: after ZELKLOG_RC_OK the tree is the caller's, released with removeTree;
 * otherwise *rootOut is untouched and nothing is kept. */
ZELKLOG_API uint32_t parseQueryString(const char *queryText, const char *locale, QueryNode **rootOut);
/* Checks one comparison and turns a date text compared with STDATE/ENDATE into seconds.
 *   op    the operator, 283..288.
 *   a, b  the operands in written order.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT; the refused comparisons as
 * parseQueryString. */
ZELKLOG_API uint32_t validNodes(int32_t op, QueryNode *a, QueryNode *b);
/* Rewrites PREVTIME = value into STDATE >= now - value && ENDATE <= now.
 *   keywordNode  the PREVTIME leaf.
 *   valueNode    the value leaf.
 * Returns: the new subtree, which reuses both nodes; null when the value cannot be used.
 * Ownership: the subtree is released with removeTree. */
ZELKLOG_API QueryNode *addPrevTime(QueryNode *keywordNode, QueryNode *valueNode);
/* Replaces PRODID/ORGID/FILEID names by ids and numbers the operator nodes in post-order.
 *   configArray, configCount  the configuration records.
 *   root                      the tree.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_UNKNOWN_NAME; ZELKLOG_RC_BAD_ARGUMENT for a null root;
 * ZELKLOG_RC_QUERY_TOO_LARGE for a tree of more than 199 operators. */
ZELKLOG_API uint32_t validateShortNames(ZelkLogProductCfg **configArray, uint64_t configCount,
                                        QueryNode *root);
/* A new zero-filled node.
 *   kind            the node kind (a token code).
 *   operandOrToken  the token's value record (leaf) or the left operand (operator).
 *   second          the right operand (operator), else null.
 * Returns: the node; null when out of memory.
 * Ownership: the node is released with removeTree. */
ZELKLOG_API QueryNode *addNewNode(int32_t kind, QueryNode *operandOrToken, QueryNode *second);
/* Tells whether a node kind is an operator.
 *   kind  the node kind.
 * Returns: 1 for 281..288, else 0. */
ZELKLOG_API int isoperator(int32_t kind);
/* Releases a whole tree.
 *   root  the tree; null is ignored. */
ZELKLOG_API void removeTree(QueryNode *root);

/* Scanner and parser.  They share global state: call them only under the parse lock
 * (parseQueryString takes it).  yyparse returns 0, 1 (syntax), 2 (stack) or the code a
 * rule ended the parse with (ZELKLOG_RC_BAD_ARGUMENT for a null context); yylex returns
 * the next token code and stores its value in the value record; yyerror returns
 * ZELKLOG_RC_UNDEFINED_KEYWORD, ZELKLOG_RC_UNTERMINATED_STRING or
 * ZELKLOG_RC_UNRECOGNIZED_STRING for the lexical messages and ZELKLOG_RC_NOT_TEXT for any
 * other, and prints nothing; yysetbuffer installs a private copy of the text to scan
 * (1, or 0 without memory) and yyunsetbuffer releases it; myinput hands the scanner at
 * most maxSize - 1 bytes of that copy; yyiseob is 1 when the copy is used up.  The
 * remaining functions are the scanner's buffer functions. */
struct yy_buffer_state;
ZELKLOG_API int yyparse(QueryParseContext *context);
ZELKLOG_API int yylex(QueryNode *valueRecord);
ZELKLOG_API int yywrap(void);
ZELKLOG_API uint32_t yyerror(const char *message);
ZELKLOG_API int yysetbuffer(const char *text);
ZELKLOG_API uint64_t myinput(char *buffer, uint64_t maxSize);
ZELKLOG_API int yyiseob(void);
ZELKLOG_API void yyunsetbuffer(void);
ZELKLOG_API void yyrestart(FILE *input);
ZELKLOG_API struct yy_buffer_state *yy_create_buffer(FILE *file, int size);
ZELKLOG_API void yy_delete_buffer(struct yy_buffer_state *buffer);
ZELKLOG_API void yy_switch_to_buffer(struct yy_buffer_state *buffer);
ZELKLOG_API void yy_load_buffer_state(void);
ZELKLOG_API void yy_init_buffer(struct yy_buffer_state *buffer, FILE *file);
ZELKLOG_API void yy_flush_buffer(struct yy_buffer_state *buffer);
ZELKLOG_API struct yy_buffer_state *yy_scan_buffer(char *base, size_t size);
ZELKLOG_API struct yy_buffer_state *yy_scan_string(const char *text);
ZELKLOG_API struct yy_buffer_state *yy_scan_bytes(const char *bytes, int length);
ZELKLOG_API extern int errorCode; /* exported for compatibility; never written or read */

/* ------------------------------------------------------------------------- */
/* Evaluation and context titles                                             */
/* ------------------------------------------------------------------------- */
/* Tests a record against the query's tree.  A context record (kind 3) is entered into
 * the query's context titles whether it matches or not, and matches only a filter that
 * holds a CTXTOK test against "ALL" or "all".
 *   record  the decoded record.
 *   query   a created query.
 * Returns: 1 when the record matches, else 0. */
ZELKLOG_API int IsTrueCondition(ZelkLogMsg *record, LogQuery *query);
/* The truth of one operator node whose operator children are already worked out.
 *   record          the decoded record.
 *   node            the operator node.
 *   results         truth of the operator nodes by visitMark: 0 not yet, 1 false, 2 true.
 *   contextAllSeen  set when a CTXTOK test against "ALL" is met.
 * Returns: 0 or 1. */
ZELKLOG_API int getResult(ZelkLogMsg *record, QueryNode *node, int32_t *results, uint8_t *contextAllSeen);
/* Text equality.
 *   op                  EQUAL (287) or NOTEQUAL (288).
 *   text, constantText  the texts.
 * Returns: 0 or 1; 0 for other operators and null texts. */
ZELKLOG_API int evalString(int32_t op, const char *text, const char *constantText);
/* Substring test: with EQUAL constantText occurs in text, with NOTEQUAL it does not.
 *   op, text, constantText  as evalString.
 * Returns: 0 or 1. */
ZELKLOG_API int evalStringWithStrstr(int32_t op, const char *text, const char *constantText);
/* Enters the context of a kind-3 record (token and first title) into the query.
 *   query   a created query.
 *   record  the decoded record.
 * Ownership: the query keeps copies, released by zelkLogDestroyQuery. */
ZELKLOG_API void UpdateContextTitleLink(LogQuery *query, ZelkLogMsg *record);
/* Fletcher-16 checksum.
 *   data      the bytes.
 *   length    0..65278.
 *   reserved  ignored.
 * Returns: the checksum. */
ZELKLOG_API uint32_t HashTokenID(const void *data, int32_t length, uint32_t reserved);

#ifdef __cplusplus
}
#endif

/* The scanner's and parser's data.  Declared outside the C-linkage block because the
 * generated scanner and parser declare them again without it; variable names carry no
 * linkage decoration, so C and C++ callers reach the same symbols. */
ZELKLOG_API extern char *yytext;
ZELKLOG_API extern int yyleng;
ZELKLOG_API extern FILE *yyin;
ZELKLOG_API extern FILE *yyout;
ZELKLOG_API extern int yydebug; /* non-zero: the parser traces its steps on stderr */

#endif /* ZELKLOGREAD_INTERNAL_H_ */
