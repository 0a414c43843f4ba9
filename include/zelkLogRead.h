/*
 * zelkLogRead.h - public interface of libzelkLogReadST (soname libzelkLogReadST.so.3),
 * the read side of the zelkLog structured logging facility.
 *
 * Conventions
 *  - Every function returns a result code (ZELKLOG_RC_*, 0 is success) unless its
 *    comment says otherwise; results travel through pointer arguments.
 *  - Everything the library hands out was allocated by the logging core's allocator
 *    and is released with zelkLogFree, zelkLogFreeMsg or ReleaseDateTimeFormat, as
 *    each function says.  zelkLogMalloc, zelkLogFree, zelkLogSafeStrdup and
 *    zelkLogFreeMsg are provided by the logging core library (libzelkLogCoreST.so.3),
 *    which libzelkLogReadST depends on; they are declared here because callers need them.
 *  - Records that cross this interface have fixed field orders; a compile-time layout
 *    test guards them.
 *
 * This header compiles as C99 and as C++.
 */
#ifndef ZELKLOGREAD_H
#define ZELKLOGREAD_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <wchar.h>

#if defined(__GNUC__)
#define ZELKLOG_API __attribute__((visibility("default")))
#else
#define ZELKLOG_API
#endif

/* UTF-16 code unit as ICU's UChar: char16_t in C++, uint16_t in C (same ABI). */
#ifdef __cplusplus
#define ZELKLOG_UCHAR char16_t
#else
#define ZELKLOG_UCHAR uint16_t
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------- */
/* Result codes                                                              */
/* ------------------------------------------------------------------------- */
#define ZELKLOG_RC_OK 0u
#define ZELKLOG_RC_FAILURE 1u              /* syntax error, unopenable file, malformed message, ICU failure */
#define ZELKLOG_RC_STACK_EXHAUSTED 2u      /* parser stack exhausted (more than 10000 entries) */
#define ZELKLOG_RC_BAD_ARGUMENT 3u         /* missing or invalid argument */
#define ZELKLOG_RC_NO_MEMORY 4u            /* out of memory */
#define ZELKLOG_RC_STORE_UNAVAILABLE 6u    /* configuration store unavailable */
#define ZELKLOG_RC_NO_MORE_RECORDS 9u      /* no file is left in the query */
#define ZELKLOG_RC_UNDEFINED_KEYWORD 11u   /* a word that is not a keyword */
#define ZELKLOG_RC_UNTERMINATED_STRING 12u /* a string literal without its closing quote */
#define ZELKLOG_RC_UNRECOGNIZED_STRING 13u /* a character that belongs to no token */
#define ZELKLOG_RC_NEED_ONE_KEYWORD 14u    /* a comparison without exactly one field keyword */
#define ZELKLOG_RC_CTXTOK_OPERATOR 15u     /* CTXTOK with an operator other than = or != */
#define ZELKLOG_RC_BAD_DATE 16u            /* STDATE/ENDATE operand unreadable; unusable PREVTIME */
#define ZELKLOG_RC_PREVTIME_OPERATOR 17u   /* PREVTIME with an operator other than = */
#define ZELKLOG_RC_NOT_TEXT 18u            /* CTXTOK or WHO compared with something other than a text */
#define ZELKLOG_RC_NO_OPERATOR 19u         /* the whole filter is a single operand */
#define ZELKLOG_RC_QUERY_TOO_LARGE 20u     /* more than 199 operator nodes in the query tree */
#define ZELKLOG_RC_INVALID_UTF8 21u        /* text that is not valid UTF-8 (logging core conversions) */
#define ZELKLOG_RC_CORRUPT_RECORD 23u      /* a record that cannot be decoded (skipped) */
#define ZELKLOG_RC_END_OF_FILE 24u         /* the current log file has no more records */
#define ZELKLOG_RC_NO_MATCH 25u            /* a record that does not match (internal) */
#define ZELKLOG_RC_UNKNOWN_NAME 26u        /* a product/originator/file name the configuration lacks */
#define ZELKLOG_RC_SUBJECT_NOT_TEXT 43u    /* SUBJECT compared with something other than a text */
#define ZELKLOG_RC_SUBJECT_OPERATOR 44u    /* SUBJECT with an operator other than = or != */
#define ZELKLOG_RC_HEADER_NOTICE 48u       /* header notice: a writer still holds the log file */
#define ZELKLOG_RC_WHO_OPERATOR 49u        /* WHO with an operator other than = or != */
#define ZELKLOG_RC_STORE_DENIED 55u        /* the property store answered its code 5 */
#define ZELKLOG_RC_FILE_UNOPENABLE 0xFFFFFFF8u /* (-8) sorted fetch: a later file cannot be opened */

/* ------------------------------------------------------------------------- */
/* Message kinds, formats, severities, argument types                        */
/* ------------------------------------------------------------------------- */
#define ZELKLOG_MSG_DEBUG 0u
#define ZELKLOG_MSG_DIAG 1u
#define ZELKLOG_MSG_APP 2u
#define ZELKLOG_MSG_CTX 3u
#define ZELKLOG_MSG_AUDIT 4u

#define ZELKLOG_FORMAT_10004 0x10004u /* product id, no file id, no who in kind 2 */
#define ZELKLOG_FORMAT_10005 0x10005u /* adds the file id */
#define ZELKLOG_FORMAT_10006 0x10006u /* adds who in kind 2 */
#define ZELKLOG_FORMAT_10007 0x10007u /* read exactly as 0x10006 */
#define ZELKLOG_FORMAT_10008 0x10008u /* no product or file id; logset from the file name */

#define ZELKLOG_SEV_INFO 0u
#define ZELKLOG_SEV_WARNING 1u
#define ZELKLOG_SEV_ERR 2u
#define ZELKLOG_SEV_CRIT 3u
#define ZELKLOG_SEV_EMERG 4u

#define ZELKLOG_ARG_WCHAR 0u    /* tag "1": one wide character            */
#define ZELKLOG_ARG_INT 1u      /* tag "i": size + signed 64-bit            */
#define ZELKLOG_ARG_UINT 2u     /* tag "u": size + unsigned 64-bit          */
#define ZELKLOG_ARG_DOUBLE 3u   /* tag "8": double                          */
#define ZELKLOG_ARG_UINT64 4u   /* tag "9": unsigned 64-bit                 */
#define ZELKLOG_ARG_WSTRING 5u  /* tag "A": owned wide string               */
#define ZELKLOG_ARG_DINT 7u     /* tag "D": size + signed 64-bit            */
#define ZELKLOG_ARG_INT64 8u    /* tag "C": signed 64-bit                   */
#define ZELKLOG_ARG_LIST 9u     /* tag "(": owned nested argument list      */
#define ZELKLOG_ARG_XSTRING 10u /* tag "X": owned narrow string             */
#define ZELKLOG_ARG_STRING 11u  /* tag "S": owned narrow string             */

/* ------------------------------------------------------------------------- */
/* Query language token codes (also the kinds of query tree nodes) and the   */
/* field codes 263..279.  The generated parser defines the same names with   */
/* the same values itself and sets ZELKLOG_PARSER_TOKENS to skip these.      */
/* ------------------------------------------------------------------------- */
#ifndef ZELKLOG_PARSER_TOKENS
enum ZelkLogTokenCode {
    STRINGCONST = 257,
    INTCONST = 258,
    KEYWORDS = 259,
    SEVTYPES = 260,
    MSGTYPES = 261,
    ERROR_FOUND = 262,
    ZELKLOGREC_PRODID = 263,
    ZELKLOGREC_ORGID = 264,
    ZELKLOGREC_SHORGID = 265,
    ZELKLOGREC_SUBJECT = 266,
    ZELKLOGREC_RETURNVAL = 267,
    ZELKLOGREC_STDATE = 268,
    ZELKLOGREC_ENDATE = 269,
    ZELKLOGREC_LEVEL = 270,
    ZELKLOGREC_PID = 271,
    ZELKLOGREC_TID = 272,
    ZELKLOGREC_SEV = 273,
    ZELKLOGREC_MSGTYPE = 274,
    ZELKLOGREC_CTXTOK = 275,
    ZELKLOGREC_PREVTIME = 276,
    ZELKLOGREC_WHO = 277,
    ZELKLOGREC_HOSTNAME = 278,
    ZELKLOGREC_LOGSETID = 279,
    BETWEEN = 280,
    AND = 281,
    OR = 282,
    LESS = 283,
    GREATER = 284,
    LESSEQ = 285,
    GREATEREQ = 286,
    EQUAL = 287,
    NOTEQUAL = 288,
    ROUND_OPEN = 289,
    ROUND_CLOSE = 290
};
#endif

/* ------------------------------------------------------------------------- */
/* Message record                                                            */
/* ------------------------------------------------------------------------- */
struct ZelkLogMsgArgList;

/* Value of one typed argument; which member is meaningful depends on `type`. */
typedef union ZelkLogMsgArgValue {
    wchar_t wideChar; /* ZELKLOG_ARG_WCHAR */
    struct {
        uint16_t size;
        int64_t value;
    } sizedInt; /* ZELKLOG_ARG_INT, ZELKLOG_ARG_DINT */
    struct {
        uint16_t size;
        uint64_t value;
    } sizedUInt;                    /* ZELKLOG_ARG_UINT */
    double real;                    /* ZELKLOG_ARG_DOUBLE */
    uint64_t uint64;                /* ZELKLOG_ARG_UINT64 */
    wchar_t *wideString;            /* ZELKLOG_ARG_WSTRING (owned) */
    int64_t int64;                  /* ZELKLOG_ARG_INT64 */
    struct ZelkLogMsgArgList *list; /* ZELKLOG_ARG_LIST (owned) */
    char *string;                   /* ZELKLOG_ARG_XSTRING, ZELKLOG_ARG_STRING (owned) */
} ZelkLogMsgArgValue;

/* One typed argument of a message. */
typedef struct ZelkLogMsgArg {
    uint32_t type;      /* ZELKLOG_ARG_* */
    uint32_t ownsValue; /* 1 when value points to storage the argument owns (5, 9, 10, 11) */
    ZelkLogMsgArgValue value;
} ZelkLogMsgArg;

/* Message identifier and typed arguments.  `args` is a null-terminated array of
 * argument pointers in text order (null when the list is empty); `listInfo` is the
 * list bookkeeping of zelkLisAddArg (count in the low 32 bits, capacity in the high
 * 32 bits) and is not to be changed by callers. */
typedef struct ZelkLogMsgArgList {
    uint64_t msgId;
    uint64_t listInfo;
    ZelkLogMsgArg **args;
} ZelkLogMsgArgList;

/* The kind-specific part of a message record: one storage shared by the kinds. */
typedef struct ZelkLogMsgKindData {
    union {
        int32_t level;     /* kinds 0, 1 */
        uint32_t severity; /* kind 2: ZELKLOG_SEV_* */
        char *contextText; /* kind 3, owned, may be null */
    } first;
    union {
        char *who;     /* kinds 0, 1, 2 (kind 2 only in formats 0x10006..0x10008), owned */
        char *subject; /* kind 4, owned */
    } second;
    int32_t returnValue; /* kind 4 */
} ZelkLogMsgKindData;

/* One log message.  Cleared (all zero) before filling; released with zelkLogFreeMsg,
 * which releases everything it owns and leaves it cleared with timeMs 0. */
typedef struct ZelkLogMsg {
    uint32_t marker;    /* 1 once the decoder has begun to fill the record */
    uint64_t format;    /* ZELKLOG_FORMAT_* of the log file, set before decoding */
    uint32_t kind;      /* ZELKLOG_MSG_* */
    uint64_t productId; /* format 0x10008: the logset id from the file name */
    uint64_t originatorId;
    uint64_t fileId;    /* formats 0x10005..0x10007 only, else 0 */
    uint64_t auxNumber; /* carried, not interpreted */
    int64_t timeMs;     /* milliseconds since 1970-01-01 UTC */
    uint64_t pid;
    uint64_t tid;
    char *contextToken;       /* owned UTF-8, null when empty */
    char *auxText;            /* owned UTF-8, null when empty */
    char fileHeaderText[512]; /* header text of the log file (sorted fetch only) */
    char logsetName[1032];    /* logset name from the file name (format 0x10008 only) */
    ZelkLogMsgKindData kindData;
    ZelkLogMsgArgList args;
} ZelkLogMsg;

/* ------------------------------------------------------------------------- */
/* Query tree                                                                */
/* ------------------------------------------------------------------------- */
/* One node of a query tree (also the parser's value record).  Leaves: kind 257..261;
 * operators: 281..288.  `value` is a number, a field code, or (STRINGCONST) the
 * address of the owned text, stored as a 64-bit word. */
typedef struct QueryNode {
    int32_t kind;
    uint32_t visitMark;
    uint64_t value;
    char *locale;
    struct QueryNode *left;
    struct QueryNode *right;
} QueryNode;

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

/* ------------------------------------------------------------------------- */
/* Logging-core records that the library shares with its callers             */
/* ------------------------------------------------------------------------- */
/* OS file handle of a log file.  `area` belongs to the logging core (its read-ahead
 * buffer).  `readerState` counts the bytes that the core has read from `fd` ahead of
 * the handle's logical position (0 or negative: none); the handle's position is the
 * descriptor's position minus that count.  zelkLogOs_seek drops the read-ahead. */
typedef struct LogOsFile {
    int32_t fd; /* -1: not open */
    char area[32768];
    int32_t readerState;
} LogOsFile;

/* One raw record: its text (at most 4095 bytes and a terminator) and the text in use. */
typedef struct textMessage {
    char buffer[4096];
    char *text;
} textMessage;

/* Localiser list of the logging core; all-zero is the empty list. */
typedef struct ZelkLogLocalizerList {
    void *first;
    uint64_t count;
} ZelkLogLocalizerList;

/* Product configuration record, as far as this library uses it.  Records are built
 * by the logging core (zelkLogReadAllCfg) and released by it (FreeConfigArray);
 * `coreData` is the core's own and never read by this library. */
typedef struct ZelkLogProductCfg {
    char logDirectory[1024];
    char oidNames[1024];
    char *formatResource;  /* owned, or null */
    uint32_t changeFlags;  /* ZELKLOG_CFG_OIDNAMES_SET: oidNames was set */
    uint32_t removalFlags; /* caller-chosen bits naming settings to remove */
    void *coreData;
} ZelkLogProductCfg;

#define ZELKLOG_CFG_OIDNAMES_SET 2u
#define ZELKLOG_MAX_PRODUCTS 1024u

/* ------------------------------------------------------------------------- */
/* Query handle                                                              */
/* ------------------------------------------------------------------------- */
#define ZELKLOG_CONTEXT_BUCKETS 200

/* A context met while fetching: token and title of a kind-3 record. */
typedef struct ContextTitleEntry {
    struct ContextTitleEntry *next;
    uint64_t productId;
    uint64_t originatorId;
    char *token; /* owned */
    char *title; /* owned */
} ContextTitleEntry;

/* One log file of a query (built by the logging core's GetLogFiles). */
typedef struct LogFileEntry {
    struct LogFileEntry *next;
    uint64_t format; /* ZELKLOG_FORMAT_* of the file's records */
    LogOsFile file;
    ZelkLogMsg pending;  /* read-ahead record of the sorted fetch; full when timeMs != 0 */
    uint64_t coreWord1;  /* the logging core's (not read by this library) */
    uint64_t coreWord2;  /* the logging core's (not read by this library) */
    int64_t savedOffset; /* resume position; 0: not started (header still to read) */
    char headerText[512];
    char logDirectory[1025]; /* ends with "/" */
    char fileName[256];
} LogFileEntry;

/* A query: the caller owns the storage; creation clears and fills it, destruction
 * releases what it points to (never the record itself). */
typedef struct LogQuery {
    uint32_t headerNotice;
    LogFileEntry *currentFile;
    void *reserved;
    QueryNode *root;
    ContextTitleEntry *contextTitles[ZELKLOG_CONTEXT_BUCKETS];
    ZelkLogLocalizerList localizers;
    char *formatResource;
} LogQuery;

/* tzOffset value meaning "no time-zone adjustment". */
#define ZELKLOG_NO_TZ_ADJUST ((int64_t)-1)

/* ------------------------------------------------------------------------- */
/* Storage and records: provided by the logging core library                */
/* ------------------------------------------------------------------------- */
/* Storage of the logging core: everything this library hands out comes from here. */
ZELKLOG_API void *zelkLogMalloc(size_t size);          /* null when exhausted */
ZELKLOG_API void zelkLogFree(void *storage);           /* null is ignored */
ZELKLOG_API char *zelkLogSafeStrdup(const char *text); /* owned copy; null for null or no memory */
/* Releases everything the record owns (nested lists recursively, a partly filled
 * record included) and leaves it cleared with timeMs 0.  A null record is ignored. */
ZELKLOG_API void zelkLogFreeMsg(ZelkLogMsg *record);

/* ------------------------------------------------------------------------- */
/* Queries                                                                   */
/* ------------------------------------------------------------------------- */
/* Creates a query in the caller's record from a filter text.
 *   queryText       filter in the query language; non-null, non-empty.
 *   locale          ICU locale id used to read date texts of the filter, or null.
 *   logDirectory    replaces every product's log directory for this query, or null;
 *                   a "/" is added when missing; empty, or too long for 1024 bytes with
 *                   that "/" and the terminator: 3.
 *   formatResource  replaces every product's format resource and is kept by the query
 *                   for formatting (the directory of message catalogues), or null.
 *   tzOffset        signed seconds handed to the logging core's updateQueryForTZ, which
 *                   shifts the STDATE/ENDATE constants; ZELKLOG_NO_TZ_ADJUST for none.
 *   query           caller's storage, cleared and filled.
 * Returns 0; 3 (null query, null or empty text, unusable logDirectory: record untouched);
 * the configuration reader's code when no product could be read; a parse code (1, 2, 4,
 * 11..19, 20, 43, 44, 49); 26 for a product, originator or file name the configuration
 * lacks; the file-list builder's code.  After any code but 3 the record may hold part of
 * a query: release it with zelkLogDestroyQuery, which is safe on every such record.
 * zelkLogCreateQuery and zelkLogCreateQueryEx never adjust for a time zone. */
ZELKLOG_API uint32_t zelkLogCreateQuery(const char *queryText, const char *locale, LogQuery *query);
ZELKLOG_API uint32_t zelkLogCreateQueryEx(const char *queryText, const char *locale, const char *logDirectory,
                                          const char *formatResource, LogQuery *query);
ZELKLOG_API uint32_t zelkLogCreateQueryEx2(const char *queryText, const char *locale,
                                           const char *logDirectory, const char *formatResource,
                                           int64_t tzOffset, LogQuery *query);
/* Clears the query record, parses the filter and resolves names against the given
 * configuration records.  3 for a null query, text or array, or an empty text; else the
 * parse code (the tree is released) or the name-resolution code (the tree stays in
 * query->root). */
ZELKLOG_API uint32_t CreateTreeFromQuery(ZelkLogProductCfg **configArray, uint64_t configCount,
                                         const char *queryText, const char *locale, LogQuery *query);
/* Releases everything the query owns (localisers, tree, format resource, context titles,
 * file list with any record read ahead; no descriptor stays open) but never the record
 * itself.  The pointers are cleared, so a second call finds nothing.  3 for null, else 0. */
ZELKLOG_API uint32_t zelkLogDestroyQuery(LogQuery *query);
/* Frees every entry of the 200 context-title buckets and sets every bucket to null. */
ZELKLOG_API void removeContextHashTable(ContextTitleEntry **table);

/* 1 when file is non-null and its descriptor is not -1 (0 counts as open), else 0. */
ZELKLOG_API int zelkLogOs_isvalidfilehandle(const LogOsFile *file);
/* Moves the handle to the absolute position offset, dropping any read-ahead:
 * 0, -1 when the system refuses, -3 for a null file. */
ZELKLOG_API int zelkLogOs_seek(LogOsFile *file, int64_t offset);
/* The handle's position (the descriptor's position minus the read-ahead count);
 * -1 when the system refuses, -3 for a null file. */
ZELKLOG_API int64_t zelkLogOs_getFileOffset(LogOsFile *file);

/* ------------------------------------------------------------------------- */
/* Fetching                                                                  */
/* ------------------------------------------------------------------------- */
/* Plain fetch: the next matching record of the query's files, in list order, into the
 * caller's record (cleared first).  0: a record, owned by the caller until released with
 * zelkLogFreeMsg (before the next fetch into the same record); 9: no more records;
 * 23: a record that cannot be decoded was skipped (the record may hold what the decoder
 * stored: release it the same way), the next call reads on; 3: null query, query without
 * a tree, or null record.  Files that cannot be opened are skipped. */
ZELKLOG_API uint32_t zelkLogFetchNextEntry(LogQuery *query, ZelkLogMsg *record);
/* Merged fetch: the earliest record (smallest timeMs; on equal times the file nearer the
 * head of the list) among all files, each holding one matching record read ahead.
 * *out points into the query (the file entry's slot) and its fileHeaderText is set.
 * Release it with zelkLogFreeMsg before the next call, or the same record is handed out
 * again.  Codes: 0 (a record); 24 (a file ended during the pass: when *out was set it is
 * still the earliest record, handed out again by the next call; when the list head itself
 * ended, *out is not set); 23 (an undecodable record at the head, skipped; *out not set);
 * ZELKLOG_RC_FILE_UNOPENABLE (-8: a later file cannot be opened; "<path> does not exists"
 * is written to standard error on every such pass, *out is set); 1 (the head file cannot
 * be opened after a dropped file); 9 (no more records); 3 (null argument or no tree).
 * After every pass at most one of the query's files is open. */
ZELKLOG_API uint32_t zelkLogFetchNextSortedEntry(LogQuery *query, ZelkLogMsg **out);
/* Formatted fetch: the next record of the merged fetch formatted by the logging core.
 *   formatArg  longest text wanted in bytes (0: no limit).
 *   locale     when given, becomes ICU's process-wide default locale (and stays so).
 *   flags      low 32 bits: the formatting flags of docs/formatting.md; 0 means 0xF03.
 *   text       receives the UTF-8 text, released with zelkLogFree.
 * 0 with the text (the record is released); 9 or 23 with null in *text; 3 for a null
 * text pointer (nothing fetched); other codes of the merged fetch or of the formatter are
 * returned with nothing stored, and a record that could not be formatted is offered again
 * by the next call. */
ZELKLOG_API uint32_t zelkLogFetchNextFormattedMessage(LogQuery *query, uintptr_t formatArg,
                                                      const char *locale, uint64_t flags, char **text);
/* Writes to standard output every record of the query's files that does not decode
 * (directory, file name, record number counting the header as 1, decoder code, raw text),
 * then the count.  The filter plays no part and the file list is not consumed.  0; 3 for
 * a null query; 4 when its scratch storage cannot be allocated. */
ZELKLOG_API uint32_t zelkLogShowCorruptLogRecords(LogQuery *query);
/* The steps the fetches are built of.  ReadOneRecord reads, decodes and tests one record
 * of the current file (0 match, 25 no match, 23 undecodable, 24 file ended and dropped,
 * or the opening code); ReadNextLogFile opens the current file (0, 1 unopenable,
 * 9 no file, or the header reader's code when the header is read); closelogfile closes
 * and frees the current entry and makes its successor current (0, 3, 9); readlog is 1
 * when one raw record was read. */
ZELKLOG_API uint32_t ReadOneRecord(LogQuery *query, ZelkLogMsg *record);
ZELKLOG_API uint32_t ReadNextLogFile(LogQuery *query);
ZELKLOG_API uint32_t closelogfile(LogQuery *query);
ZELKLOG_API int readlog(LogOsFile *file, textMessage *message);

/* ------------------------------------------------------------------------- */
/* Message decoding                                                          */
/* ------------------------------------------------------------------------- */
/* Fills a cleared record (format already set by the caller) from the serialized text in
 * message->text, writing NUL characters into that text.  0: the record is filled and the
 * text stays with the caller (free_text_msg).  Non-zero: the text has already been
 * released; the record keeps what was read and is released with zelkLogFreeMsg.  Codes:
 * 1 malformed text, unknown format, kind above 4, lists nested deeper than 32 levels;
 * 3 a "u" or "9" number that is empty or longer than 20 characters (also null arguments);
 * 4 no memory; 21 a string that is not valid UTF-8. */
ZELKLOG_API uint32_t zelkLogMsgUnserialize(textMessage *message, ZelkLogMsg *record);

/* ------------------------------------------------------------------------- */
/* Query language                                                            */
/* ------------------------------------------------------------------------- */
/* Parses a filter under the process-wide lock "parseQueryString()".  0 with the root in
 * *rootOut (release with removeTree); otherwise *rootOut is untouched and nothing is kept.
 * Codes: 1 syntax error; 2 parser stack exhausted; 3 null rootOut or text; 4 no memory;
 * 11, 12, 13 lexical errors; 14..18, 43, 44, 49 comparisons refused; 19 a single operand
 * without operator; 20 more than 199 operator nodes. */
ZELKLOG_API uint32_t parseQueryString(const char *queryText, const char *locale, QueryNode **rootOut);
/* Checks one comparison (operator 283..288, operands in written order) and turns a date
 * text compared with STDATE/ENDATE into seconds.  0 or 3, 14..18, 43, 44, 49. */
ZELKLOG_API uint32_t validNodes(int32_t op, QueryNode *a, QueryNode *b);
/* Rewrites PREVTIME = value into STDATE >= now - value && ENDATE <= now, reusing both
 * nodes; null when the value cannot be used. */
ZELKLOG_API QueryNode *addPrevTime(QueryNode *keywordNode, QueryNode *valueNode);
/* Replaces PRODID/ORGID/FILEID names by ids and numbers the operator nodes in post-order.
 * 0; 26 for an unknown name; 3 for a null root; 20 for a tree of more than 199 operators. */
ZELKLOG_API uint32_t validateShortNames(ZelkLogProductCfg **configArray, uint64_t configCount,
                                        QueryNode *root);
/* A new zero-filled node (null when out of memory); see the parser for the arguments. */
ZELKLOG_API QueryNode *addNewNode(int32_t kind, QueryNode *operandOrToken, QueryNode *second);
ZELKLOG_API int isoperator(int32_t kind);     /* 1 for 281..288, else 0 */
ZELKLOG_API void removeTree(QueryNode *root); /* releases a whole tree; null is ignored */

#ifndef ZELKLOG_PARSER_TOKENS
/* Scanner and parser entry points (global state: call only under the parse lock).
 * yyparse returns 0, 1 (syntax), 2 (stack) or the code a rule ended the parse with;
 * yyerror returns 11, 12, 13 for the lexical messages and 18 for any other and prints
 * nothing; yysetbuffer installs a private copy of the text (1, or 0 without memory). */
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
ZELKLOG_API extern char *yytext;
ZELKLOG_API extern int yyleng;
ZELKLOG_API extern FILE *yyin;
ZELKLOG_API extern FILE *yyout;
ZELKLOG_API extern int yydebug; /* non-zero: the parser traces its steps on stderr */
#endif
ZELKLOG_API extern int errorCode; /* exported for compatibility; never written or read */

/* ------------------------------------------------------------------------- */
/* Evaluation and context titles                                             */
/* ------------------------------------------------------------------------- */
/* 1 when the record matches the query's tree, else 0.  A context record (kind 3) is
 * entered into the query's context titles whether it matches or not, and matches only a
 * filter that holds a CTXTOK test against "ALL" or "all". */
ZELKLOG_API int IsTrueCondition(ZelkLogMsg *record, LogQuery *query);
/* The truth (0 or 1) of one operator node whose operator children are worked out in
 * results[] (indexed by visitMark: 0 not yet, 1 false, 2 true). */
ZELKLOG_API int getResult(ZelkLogMsg *record, QueryNode *node, int32_t *results, uint8_t *contextAllSeen);
/* Text equality (EQUAL/NOTEQUAL; other operators and null texts give 0). */
ZELKLOG_API int evalString(int32_t op, const char *text, const char *constantText);
/* Substring test (EQUAL: constantText occurs in text; NOTEQUAL: it does not). */
ZELKLOG_API int evalStringWithStrstr(int32_t op, const char *text, const char *constantText);
/* Enters the context of a kind-3 record (token and first title) into the query. */
ZELKLOG_API void UpdateContextTitleLink(LogQuery *query, ZelkLogMsg *record);
/* Fletcher-16 checksum of length bytes (0..65278); the third argument is ignored. */
ZELKLOG_API uint32_t HashTokenID(const void *data, int32_t length, uint32_t reserved);

/* ------------------------------------------------------------------------- */
/* Configuration catalogue (stores: see docs/configuration.md)               */
/* ------------------------------------------------------------------------- */
/* The id of a product (kind 263), originator (264) or file (265) name: a name that is a
 * whole number (decimal, 0x hexadecimal, 0 octal) is that number without any lookup;
 * an empty name gives 0; -1 for null, an unknown name or unreadable configuration. */
ZELKLOG_API int64_t zelkLogGetIdFromName(const char *name, uint32_t kind);
/* Lists the configured products / originators into the caller's ids (at most capacity
 * entries; more give 4 with the first capacity ones) and sets *count.  0; 3 for null
 * arrays or count; 6 when the product has no store; a mapped store code otherwise.
 * The Ex form also fills names[i] with the "Names" of ids[i] (null when it has none);
 * each string is the caller's, released with zelkLogFree. */
ZELKLOG_API uint32_t zelkLogGetAllProducts(uint64_t *ids, uint64_t capacity, uint64_t *count);
ZELKLOG_API uint32_t zelkLogGetAllProductsEx(uint64_t *ids, uint64_t capacity, uint64_t *count, char **names);
ZELKLOG_API uint32_t zelkLogGetAllOriginators(uint64_t productId, uint64_t *ids, uint64_t capacity,
                                              uint64_t *count);
/* The JVM path setting of the global store.  Get hands out a string released with
 * zelkLogFree.  0; 3 for a null argument; 6 when the store cannot be opened; else a mapped
 * store code (26 when nothing is stored). */
ZELKLOG_API uint32_t zelkLogGetJVMPathSetting(char **path);
ZELKLOG_API uint32_t zelkLogAddJVMPathSetting(const char *path);
ZELKLOG_API uint32_t zelkLogRemoveJVMPathSetting(void);
/* The tools resource directory ("LoggingTools" section).  0; 3 for a null or empty dir;
 * 55 when the store denies access; 6 (set) or 1 (remove) for other store failures. */
ZELKLOG_API uint32_t zelkLogCfgSetToolsResDir(const char *dir);
ZELKLOG_API uint32_t zelkLogCfgRemoveToolsResDir(void);
/* A named setting in the product's own store (adding replaces).  0; 3 for null name or
 * value; 6 when the product has no store; else a mapped store code. */
ZELKLOG_API uint32_t zelkLogAddNonOIDSetting(uint64_t productId, const char *name, const char *value);
ZELKLOG_API uint32_t zelkLogRemoveNonOIDSetting(uint64_t productId, const char *name);
/* Edits of a configuration record in memory: the originator-names text (sets
 * ZELKLOG_CFG_OIDNAMES_SET; 3 for null, empty or 1024 bytes and longer, record unchanged)
 * and the removal flags (bits added; 3 for a null record). */
ZELKLOG_API uint32_t zelkLogCfgSetOIDNames(ZelkLogProductCfg *record, const char *names);
ZELKLOG_API uint32_t zelkLogCfgRemoveSettings(ZelkLogProductCfg *record, uint32_t flags);
/* Removals: all of a product's configuration; one originator's section ("Default" for
 * 112); one logset's section (flat "LOGSET.<name>" when the product's store path holds
 * ".conf", else section <name> of the store "<path>\LOGSET").  0; 3 for an invalid id or
 * logset name; 6 when the product has no store (or the core keeps the product); 2 when
 * the store cannot be opened; else a mapped store code.  The originator and logset
 * removals hold the common lock, released on every return. */
ZELKLOG_API uint32_t zelkLogRemoveProductAllCfg(uint64_t productId);
ZELKLOG_API uint32_t zelkLogRemoveCfg(uint64_t productId, uint64_t originatorId);
ZELKLOG_API uint32_t zelkLogRemoveLogSetCfg(uint64_t productId, const char *logset);

/* ------------------------------------------------------------------------- */
/* Dates and times (formatter is an ICU UDateFormat*, text UTF-16)            */
/* ------------------------------------------------------------------------- */
/* Formats time (seconds; 0.0 means now) as local wall-clock time in the ICU styles
 * timeStyle/dateStyle (0 full .. 3 short, -1 none) and locale (null: ICU's default).
 * 0 with *formatter and *text, both released with ReleaseDateTimeFormat; 1 on failure
 * (nothing to release; both outputs null); 3 for null outputs. */
ZELKLOG_API uint32_t GetDateTimeFormat(int32_t timeStyle, int32_t dateStyle, double time, const char *locale,
                                       void **formatter, ZELKLOG_UCHAR **text);
ZELKLOG_API void ReleaseDateTimeFormat(void *formatter, ZELKLOG_UCHAR *text);
/* As GetDateTimeFormat without the formatter: 0 with *text (release with zelkLogFree),
 * 1 on failure, 3 for a null text. */
ZELKLOG_API uint32_t zelkLogstrftime(int32_t timeStyle, int32_t dateStyle, double time, const char *locale,
                                     ZELKLOG_UCHAR **text);
/* Parses a local date text written in those styles into UTC seconds.  0; 1 when it does
 * not parse; 3 for null arguments; 4 without memory. */
ZELKLOG_API uint32_t zelkLogGetDateFromFormat(int32_t timeStyle, int32_t dateStyle, const char *locale,
                                              const char *dateText, int64_t *time);
/* Writes "GMT", "GMT+5:30", "GMT-0:30"... into the caller's buffer of at least 18 bytes
 * (*zoneText).  0; 1 when offset is not a multiple of 1800 s (nothing written); 3 for null
 * pointers or offsets too large for the buffer. */
ZELKLOG_API uint32_t OffsetToTimeZone(int64_t offset, char **zoneText);
/* *to = now, *from = local midnight starting the day `days` days ago.  0; 3 for null
 * pointers or negative days (nothing written). */
ZELKLOG_API uint32_t zelkLogGetLogDates(int32_t days, int64_t *from, int64_t *to);
/* Owned copy of a wide string (zelkLogFree), null for null or without memory. */
ZELKLOG_API wchar_t *zelkLogSafeWcsdup(const wchar_t *text);

#ifdef __cplusplus
}
#endif

#endif /* ZELKLOGREAD_H */
