/*
 * zelkLogRead.h - public interface of libzelkLogReadST (soname libzelkLogReadST.so.3),
 * the read side of the zelkLog structured logging facility.
 *
 * Conventions
 *  - Every function is documented in one shape: a summary, its parameters, its result
 *    codes by name (ZELKLOG_RC_*, ZELKLOG_RC_OK is success) or what it returns, and who
 *    releases what.  Results travel through pointer arguments.
 *  - Everything the library hands out was allocated by the logging core's allocator
 *    and is released with zelkLogFree, zelkLogFreeMsg or ReleaseDateTimeFormat, as
 *    each function says.  zelkLogMalloc, zelkLogFree, zelkLogSafeStrdup and
 *    zelkLogFreeMsg are provided by the logging core library (libzelkLogCoreST.so.3),
 *    which libzelkLogReadST depends on; they are declared here because callers need them.
 *  - Records that cross this interface have fixed field orders; a compile-time layout
 *    test guards them.
 *  - The steps the library is built of, and the scanner and parser, are exported too;
 *    they are declared in zelkLogRead/internal.h, which this header includes.
 *  - The unprefixed names of the query language's tokens (AND, OR, EQUAL, ...) are
 *    defined only when the caller defines ZELKLOG_TOKEN_NAMES before including this
 *    header; the field codes (ZELKLOGREC_*) are always defined.
 *
 * This header compiles as C99 and as C++.
 */
#ifndef ZELKLOGREAD_H_
#define ZELKLOGREAD_H_

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
#define ZELKLOG_RC_STORE_NOT_OPENED 2u     /* configuration removals: the store could not be opened */
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
/* Query language: field codes and (opt-in) token names                      */
/* ------------------------------------------------------------------------- */
/* The record field that a KEYWORDS leaf of a query tree tests (its `value`). */
enum ZelkLogFieldCode {
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
    ZELKLOGREC_LOGSETID = 279
};

/* Token codes of the query language, which are also the kinds of query tree nodes
 * (leaves 257..261, operators 281..288).  Their names are short and unprefixed, so a
 * caller asks for them by defining ZELKLOG_TOKEN_NAMES before including this header. */
#ifdef ZELKLOG_TOKEN_NAMES
enum ZelkLogTokenCode {
    STRINGCONST = 257,
    INTCONST = 258,
    KEYWORDS = 259,
    SEVTYPES = 260,
    MSGTYPES = 261,
    ERROR_FOUND = 262,
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
/* Allocates storage from the logging core's allocator.
 *   size  bytes wanted.
 * Returns: the storage, or null when exhausted.
 * Ownership: the caller's, released with zelkLogFree. */
ZELKLOG_API void *zelkLogMalloc(size_t size);
/* Releases storage of zelkLogMalloc and everything this library hands out as plain
 * storage.
 *   storage  the storage; null is ignored. */
ZELKLOG_API void zelkLogFree(void *storage);
/* Copies a text.
 *   text  zero-terminated text, or null.
 * Returns: the copy; null for a null text or without memory.
 * Ownership: the copy is the caller's, released with zelkLogFree. */
ZELKLOG_API char *zelkLogSafeStrdup(const char *text);
/* Releases everything a message record owns (nested lists recursively, a partly filled
 * record included) and leaves it cleared with timeMs 0.
 *   record  the record; null is ignored.
 * Ownership: the record's storage itself stays the caller's. */
ZELKLOG_API void zelkLogFreeMsg(ZelkLogMsg *record);

/* ------------------------------------------------------------------------- */
/* Queries                                                                   */
/* ------------------------------------------------------------------------- */
/* Creates a query in the caller's record from a filter text.
 *   queryText       filter in the query language; non-null, non-empty.
 *   locale          ICU locale id used to read date texts of the filter, or null.
 *   logDirectory    replaces every product's log directory for this query, or null;
 *                   a "/" is added when missing.
 *   formatResource  replaces every product's format resource and is kept by the query
 *                   for formatting (the directory of message catalogues), or null.
 *   tzOffset        signed seconds handed to the logging core's updateQueryForTZ, which
 *                   shifts the STDATE/ENDATE constants; ZELKLOG_NO_TZ_ADJUST for none.
 *   query           caller's storage, cleared and filled.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null query, a null or empty text,
 * or a logDirectory that is empty or too long for 1024 bytes with the "/" and the
 * terminator (record untouched); the configuration reader's code when no product could
 * be read; a parse code as parseQueryString; ZELKLOG_RC_UNKNOWN_NAME for a product,
 * originator or file name the configuration lacks; the file-list builder's code.
 * Ownership: the record is the caller's; what it points to is released with
 * zelkLogDestroyQuery, also after any code but ZELKLOG_RC_BAD_ARGUMENT (the record may
 * then hold part of a query). */
ZELKLOG_API uint32_t zelkLogCreateQueryEx2(const char *queryText, const char *locale,
                                           const char *logDirectory, const char *formatResource,
                                           int64_t tzOffset, LogQuery *query);
/* As zelkLogCreateQueryEx2 with tzOffset ZELKLOG_NO_TZ_ADJUST.
 * Codes and ownership: as zelkLogCreateQueryEx2. */
ZELKLOG_API uint32_t zelkLogCreateQueryEx(const char *queryText, const char *locale, const char *logDirectory,
                                          const char *formatResource, LogQuery *query);
/* As zelkLogCreateQueryEx2 with no log directory, no format resource and tzOffset
 * ZELKLOG_NO_TZ_ADJUST.
 * Codes and ownership: as zelkLogCreateQueryEx2. */
ZELKLOG_API uint32_t zelkLogCreateQuery(const char *queryText, const char *locale, LogQuery *query);
/* Releases everything a query owns: localisers, tree, format resource, context titles,
 * and the file list with any record read ahead (no descriptor stays open).  The
 * pointers are cleared, so a second call finds nothing.
 *   query  the query.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null query.
 * Ownership: the record itself stays the caller's and is never released. */
ZELKLOG_API uint32_t zelkLogDestroyQuery(LogQuery *query);

/* ------------------------------------------------------------------------- */
/* Fetching                                                                  */
/* ------------------------------------------------------------------------- */
/* Plain fetch: the next matching record of the query's files, in list order.  Files
 * that cannot be opened are skipped.
 *   query   a created query.
 *   record  caller's record, cleared first and filled.
 * Codes: ZELKLOG_RC_OK (a record); ZELKLOG_RC_NO_MORE_RECORDS; ZELKLOG_RC_CORRUPT_RECORD
 * (a record that cannot be decoded was skipped; the next call reads on);
 * ZELKLOG_RC_BAD_ARGUMENT for a null query, a query without a tree or a null record.
 * Ownership: after ZELKLOG_RC_OK or ZELKLOG_RC_CORRUPT_RECORD the record may own storage;
 * release it with zelkLogFreeMsg before the next fetch into the same record. */
ZELKLOG_API uint32_t zelkLogFetchNextEntry(LogQuery *query, ZelkLogMsg *record);
/* Merged fetch: the earliest record (smallest timeMs; on equal times the file nearer
 * the head of the list) among all files, each holding one matching record read ahead.
 * After every pass at most one of the query's files is open.
 *   query  a created query.
 *   out    receives a pointer to the record, which lies in the file entry's slot and
 *          has its fileHeaderText set.
 * Codes: ZELKLOG_RC_OK (a record); ZELKLOG_RC_END_OF_FILE (a file ended during the pass:
 * when *out was set it is still the earliest record, handed out again by the next call;
 * when the list head itself ended, *out is not set); ZELKLOG_RC_CORRUPT_RECORD (an
 * undecodable record at the head, skipped; *out not set); ZELKLOG_RC_FILE_UNOPENABLE (a
 * later file cannot be opened; "<path> does not exists" is written to standard error on
 * every such pass; *out is set); ZELKLOG_RC_FAILURE (the head file cannot be opened after
 * a dropped file); ZELKLOG_RC_NO_MORE_RECORDS; ZELKLOG_RC_BAD_ARGUMENT for a null argument
 * or a query without a tree.
 * Ownership: the record stays in the query; release it with zelkLogFreeMsg before the
 * next call, or the same record is handed out again. */
ZELKLOG_API uint32_t zelkLogFetchNextSortedEntry(LogQuery *query, ZelkLogMsg **out);
/* Formatted fetch: the next record of the merged fetch, formatted by the logging core.
 *   query      a created query.
 *   formatArg  longest text wanted in bytes (0: no limit).
 *   locale     when given, becomes ICU's process-wide default locale (and stays so).
 *   flags      low 32 bits: the formatting flags of docs/formatting.md; 0 means 0xF03.
 *   text       receives the UTF-8 text.
 * Codes: ZELKLOG_RC_OK with the text (the record is released); ZELKLOG_RC_NO_MORE_RECORDS
 * or ZELKLOG_RC_CORRUPT_RECORD with null in *text; ZELKLOG_RC_BAD_ARGUMENT for a null text
 * pointer (nothing fetched); other codes of the merged fetch or of the formatter with
 * nothing stored, and a record that could not be formatted is offered again by the next
 * call.
 * Ownership: the text is the caller's, released with zelkLogFree. */
ZELKLOG_API uint32_t zelkLogFetchNextFormattedMessage(LogQuery *query, uintptr_t formatArg,
                                                      const char *locale, uint64_t flags, char **text);
/* Writes to standard output every record of the query's files that does not decode
 * (directory, file name, record number counting the header as 1, decoder code, raw
 * text), then the count.  The filter plays no part and the file list is not consumed.
 *   query  a created query.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null query; ZELKLOG_RC_NO_MEMORY
 * when its scratch storage cannot be allocated.
 * Ownership: nothing is handed out. */
ZELKLOG_API uint32_t zelkLogShowCorruptLogRecords(LogQuery *query);

/* ------------------------------------------------------------------------- */
/* Message decoding                                                          */
/* ------------------------------------------------------------------------- */
/* Fills a record from serialized message text, writing NUL characters into that text.
 *   message  raw record; message->text points to the serialized text.
 *   record   cleared record whose format the caller has set.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_FAILURE for malformed text, an unknown format, a kind
 * above 4 or lists nested deeper than 32 levels; ZELKLOG_RC_BAD_ARGUMENT for a "u" or
 * "9" number that is empty or longer than 20 characters, and for null arguments;
 * ZELKLOG_RC_NO_MEMORY; ZELKLOG_RC_INVALID_UTF8 for a string that is not valid UTF-8.
 * Ownership: after ZELKLOG_RC_OK the text stays with the caller (free_text_msg); after
 * any other code it has already been released.  Either way the record keeps what was
 * read and is released with zelkLogFreeMsg. */
ZELKLOG_API uint32_t zelkLogMsgUnserialize(textMessage *message, ZelkLogMsg *record);

/* ------------------------------------------------------------------------- */
/* Configuration catalogue (stores: see docs/configuration.md)               */
/* ------------------------------------------------------------------------- */
/* The id of a product, originator or file name.  A name that is a whole number
 * (decimal, 0x hexadecimal, 0 octal) is that number without any lookup.
 *   name  the name.
 *   kind  ZELKLOGREC_PRODID, ZELKLOGREC_ORGID or ZELKLOGREC_SHORGID (file).
 * Returns: the id; 0 for an empty name; -1 for a null or unknown name or an unreadable
 * configuration.
 * Ownership: nothing is handed out. */
ZELKLOG_API int64_t zelkLogGetIdFromName(const char *name, uint32_t kind);
/* Lists the configured products.
 *   ids       caller's array of capacity entries.
 *   capacity  entries ids can take.
 *   count     receives the number of entries written.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_NO_MEMORY when there are more products (the first
 * capacity ones are written); ZELKLOG_RC_BAD_ARGUMENT for a null ids or count;
 * ZELKLOG_RC_STORE_UNAVAILABLE when the store is missing; else the mapped store code.
 * Ownership: nothing is handed out. */
ZELKLOG_API uint32_t zelkLogGetAllProducts(uint64_t *ids, uint64_t capacity, uint64_t *count);
/* As zelkLogGetAllProducts, also filling names[i] with the "Names" of ids[i] (null when
 * it has none).
 *   names  caller's array of capacity entries.
 * Codes: as zelkLogGetAllProducts; ZELKLOG_RC_BAD_ARGUMENT also for a null names.
 * Ownership: each name is the caller's, released with zelkLogFree. */
ZELKLOG_API uint32_t zelkLogGetAllProductsEx(uint64_t *ids, uint64_t capacity, uint64_t *count, char **names);
/* Lists the configured originators of a product.
 *   productId  the product.
 *   ids, capacity, count  as zelkLogGetAllProducts.
 * Codes: as zelkLogGetAllProducts; ZELKLOG_RC_STORE_UNAVAILABLE when the product has no
 * store.
 * Ownership: nothing is handed out. */
ZELKLOG_API uint32_t zelkLogGetAllOriginators(uint64_t productId, uint64_t *ids, uint64_t capacity,
                                              uint64_t *count);
/* Reads the JVM path setting of the global store.
 *   path  receives the setting.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null path;
 * ZELKLOG_RC_STORE_UNAVAILABLE when the store cannot be opened; else the mapped store
 * code (ZELKLOG_RC_UNKNOWN_NAME when nothing is stored).
 * Ownership: the text is the caller's, released with zelkLogFree. */
ZELKLOG_API uint32_t zelkLogGetJVMPathSetting(char **path);
/* Stores the JVM path setting of the global store (replacing any).
 *   path  the setting.
 * Codes: as zelkLogGetJVMPathSetting. */
ZELKLOG_API uint32_t zelkLogAddJVMPathSetting(const char *path);
/* Removes the JVM path setting of the global store.
 * Codes: as zelkLogGetJVMPathSetting. */
ZELKLOG_API uint32_t zelkLogRemoveJVMPathSetting(void);
/* Stores the tools resource directory ("LoggingTools" section of the global store).
 *   dir  the directory; non-null, non-empty.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null or empty dir;
 * ZELKLOG_RC_STORE_DENIED when the store denies access; ZELKLOG_RC_STORE_UNAVAILABLE for
 * other store failures. */
ZELKLOG_API uint32_t zelkLogCfgSetToolsResDir(const char *dir);
/* Removes the tools resource directory.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_STORE_DENIED when the store denies access;
 * ZELKLOG_RC_FAILURE for other store failures. */
ZELKLOG_API uint32_t zelkLogCfgRemoveToolsResDir(void);
/* Stores a named setting in the product's own store (replacing any).
 *   productId  the product.
 *   name       the setting's name; non-null.
 *   value      its value; non-null.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null name or value;
 * ZELKLOG_RC_STORE_UNAVAILABLE when the product has no store; else the mapped store
 * code. */
ZELKLOG_API uint32_t zelkLogAddNonOIDSetting(uint64_t productId, const char *name, const char *value);
/* Removes a named setting from the product's own store.
 *   productId, name  as zelkLogAddNonOIDSetting.
 * Codes: as zelkLogAddNonOIDSetting (for a null name). */
ZELKLOG_API uint32_t zelkLogRemoveNonOIDSetting(uint64_t productId, const char *name);
/* Sets the originator-names text of a configuration record in memory and marks it with
 * ZELKLOG_CFG_OIDNAMES_SET.
 *   record  the configuration record.
 *   names   the text; non-empty and shorter than 1024 bytes.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null record or names, an empty
 * text or one of 1024 bytes or longer (record unchanged). */
ZELKLOG_API uint32_t zelkLogCfgSetOIDNames(ZelkLogProductCfg *record, const char *names);
/* Adds bits to the removal flags of a configuration record in memory.
 *   record  the configuration record.
 *   flags   bits to add.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null record. */
ZELKLOG_API uint32_t zelkLogCfgRemoveSettings(ZelkLogProductCfg *record, uint32_t flags);
/* Removes all of a product's configuration.
 *   productId  the product.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for an invalid id;
 * ZELKLOG_RC_STORE_UNAVAILABLE when the product has no store or the core keeps the
 * product; else the mapped store code. */
ZELKLOG_API uint32_t zelkLogRemoveProductAllCfg(uint64_t productId);
/* Removes one originator's section ("Default" for 112) from the product's store, under
 * the common lock (released on every return).
 *   productId, originatorId  the product and the originator.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for an invalid id;
 * ZELKLOG_RC_STORE_UNAVAILABLE when the product has no store; ZELKLOG_RC_STORE_NOT_OPENED
 * when the store cannot be opened; else the mapped store code. */
ZELKLOG_API uint32_t zelkLogRemoveCfg(uint64_t productId, uint64_t originatorId);
/* Removes one logset's section, under the common lock (released on every return): the
 * flat section "LOGSET.<name>" when the product's store path holds ".conf", else the
 * section <name> of the store "<path>\LOGSET".
 *   productId  the product.
 *   logset     the logset's name.
 * Codes: as zelkLogRemoveCfg; ZELKLOG_RC_BAD_ARGUMENT also for an invalid logset name;
 * ZELKLOG_RC_NO_MEMORY. */
ZELKLOG_API uint32_t zelkLogRemoveLogSetCfg(uint64_t productId, const char *logset);

/* ------------------------------------------------------------------------- */
/* Dates and times (text in UTF-16)                                          */
/* ------------------------------------------------------------------------- */
/* ICU's date-format handle type.  ICU's udat.h declares `typedef void *UDateFormat;`
 * and hands out formatters as `UDateFormat *`; ZelkLogUDateFormat is the same type, so
 * a caller's `UDateFormat *formatter` is passed as `&formatter` with or without ICU's
 * headers included. */
typedef void *ZelkLogUDateFormat;

/* Formats a time as local wall-clock time.
 *   timeStyle, dateStyle  ICU styles: 0 full .. 3 short, -1 none.
 *   time       seconds since 1970-01-01 UTC; 0.0 means now.
 *   locale     ICU locale id, or null for ICU's default.
 *   formatter  receives the ICU date formatter used (a UDateFormat *).
 *   text       receives the formatted text.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_FAILURE on failure (both outputs null, nothing to
 * release); ZELKLOG_RC_BAD_ARGUMENT for a null formatter or text.
 * Ownership: after ZELKLOG_RC_OK both outputs are the caller's, released together with
 * ReleaseDateTimeFormat. */
ZELKLOG_API uint32_t GetDateTimeFormat(int32_t timeStyle, int32_t dateStyle, double time, const char *locale,
                                       ZelkLogUDateFormat **formatter, ZELKLOG_UCHAR **text);
/* Releases what GetDateTimeFormat handed out.
 *   formatter  the formatter, or null.
 *   text       the text, or null. */
ZELKLOG_API void ReleaseDateTimeFormat(ZelkLogUDateFormat *formatter, ZELKLOG_UCHAR *text);
/* As GetDateTimeFormat without the formatter.
 *   timeStyle, dateStyle, time, locale, text  as GetDateTimeFormat.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_FAILURE; ZELKLOG_RC_BAD_ARGUMENT for a null text.
 * Ownership: the text is the caller's, released with zelkLogFree. */
ZELKLOG_API uint32_t zelkLogstrftime(int32_t timeStyle, int32_t dateStyle, double time, const char *locale,
                                     ZELKLOG_UCHAR **text);
/* Parses a local date text written in the given styles.
 *   timeStyle, dateStyle, locale  as GetDateTimeFormat.
 *   dateText   the text.
 *   time       receives seconds since 1970-01-01 UTC.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_FAILURE when the text does not parse;
 * ZELKLOG_RC_BAD_ARGUMENT for null arguments; ZELKLOG_RC_NO_MEMORY. */
ZELKLOG_API uint32_t zelkLogGetDateFromFormat(int32_t timeStyle, int32_t dateStyle, const char *locale,
                                              const char *dateText, int64_t *time);
/* Writes a zone name such as "GMT", "GMT+5:30" or "GMT-0:30" for an offset.
 *   offset    seconds east of GMT, a multiple of 1800.
 *   zoneText  points to the caller's buffer of at least 18 bytes.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_FAILURE when offset is not a multiple of 1800
 * (nothing written); ZELKLOG_RC_BAD_ARGUMENT for null pointers or offsets too large for
 * the buffer. */
ZELKLOG_API uint32_t OffsetToTimeZone(int64_t offset, char **zoneText);
/* The range of the last days: *to = now, *from = local midnight starting the day `days`
 * days ago.
 *   days      whole days back; not negative.
 *   from, to  receive seconds since 1970-01-01 UTC.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for null pointers or negative days
 * (nothing written). */
ZELKLOG_API uint32_t zelkLogGetLogDates(int32_t days, int64_t *from, int64_t *to);
/* Copies a wide string.
 *   text  zero-terminated wide string, or null.
 * Returns: the copy; null for null or without memory.
 * Ownership: the copy is the caller's, released with zelkLogFree. */
ZELKLOG_API wchar_t *zelkLogSafeWcsdup(const wchar_t *text);

#ifdef __cplusplus
}
#endif

/* The exported internal steps, the scanner and the parser. */
#include "zelkLogRead/internal.h"

#endif /* ZELKLOGREAD_H_ */
