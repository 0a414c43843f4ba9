/*
 * zelkLogCore.h - the logging core services and the property store as this library
 * calls them.  They live in the logging core library (libzelkLogCoreST.so.3); this
 * header is the whole boundary: the library calls nothing else there, and relies on
 * nothing but what is written here.
 *
 * Every declaration is documented in one shape: what it does, its parameters, its
 * result (codes by name: ZELKLOG_RC_* of the public header for the core services,
 * UTI_PS_* below for the property store), and who releases what.  zelkLogMalloc,
 * zelkLogFree, zelkLogSafeStrdup and zelkLogFreeMsg are declared in the public header.
 * The section and property names of the configuration stores are in
 * src/core/zelkLogConfigLayout.h.
 */
#ifndef SRC_CORE_ZELKLOGCORE_H_
#define SRC_CORE_ZELKLOGCORE_H_

#include "zelkLogRead.h"

#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------- */
/* Records and codes of the boundary                                         */
/* ------------------------------------------------------------------------- */
/* The header of a log file as ReadHeader reports it. */
typedef struct ZelkLogFileHeader {
    uint64_t format; /* ZELKLOG_FORMAT_* of the file's records */
    uint32_t flags;  /* ZELKLOG_HEADER_* bits */
    char text[512];  /* zero-terminated header text */
} ZelkLogFileHeader;

#define ZELKLOG_HEADER_WRITER_ACTIVE 1u /* a writer still holds the file (ReadHeader answers 48) */

/* A property store handle: owned by the caller, filled by an open. */
typedef struct UtiPropertyStore {
    void *state; /* null when not open */
} UtiPropertyStore;

/* Property store codes, all of them.  utipsres2zelklogres maps them to library codes. */
#define UTI_PS_OK 0u
#define UTI_PS_IO_ERROR 1u     /* reading, writing, syncing or renaming failed */
#define UTI_PS_OPEN_FAILED 2u  /* the store could not be opened (no location given) */
#define UTI_PS_BAD_ARGUMENT 3u /* null or empty argument, or a handle that is not open */
#define UTI_PS_NO_MEMORY 4u    /* an allocation failed */
#define UTI_PS_DENIED 5u       /* the store refuses access (read-only or permission) */
#define UTI_PS_NO_STORE 6u     /* no such store / product has no store */
#define UTI_PS_END 7u          /* enumeration index past the last section */
#define UTI_PS_NOT_FOUND 8u    /* no such section or property */
#define UTI_PS_CORRUPT 9u      /* the file is not a readable store (garbled, NUL bytes, too large) */

/* utiOpenPropertyStore flag: the handle is opened on a product's section of the global
 * store in order to remove the whole product (see utiRemovePropertyRoot). */
#define UTI_PS_OPEN_PRODUCT_REMOVAL 1u

/* Size of the name buffer handed to utiEnumProductId. */
#define UTI_PS_SECTION_NAME_SIZE 80u

/* ------------------------------------------------------------------------- */
/* The common lock                                                           */
/* ------------------------------------------------------------------------- */
/* Takes the one process-wide lock (the parser and the configuration removals share it).
 *   tag  the caller's name for the lock, such as "parseQueryString()".
 * Ownership: released with zelkUnlockCommon and the same tag. */
ZELKLOG_API void zelkLockCommon(const char *tag);
/* Releases the process-wide lock.
 *   tag  the tag given to zelkLockCommon. */
ZELKLOG_API void zelkUnlockCommon(const char *tag);

/* ------------------------------------------------------------------------- */
/* Product configuration                                                     */
/* ------------------------------------------------------------------------- */
/* Reads the configuration records of all products.
 *   flags     reserved, 0.
 *   capacity  entries of array (ZELKLOG_MAX_PRODUCTS).
 *   array     receives one record pointer per product.
 *   count     receives the number of records.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_NO_MEMORY when there are more products than capacity
 * (capacity records delivered); the code of a broken product, which is skipped, after
 * all sound products; ZELKLOG_RC_BAD_ARGUMENT for null arguments.  Records may be
 * delivered with a non-zero code.
 * Ownership: the records are released with FreeConfigArray, whatever the code. */
ZELKLOG_API uint32_t zelkLogReadAllCfg(uint32_t flags, uint32_t capacity, ZelkLogProductCfg **array,
                                       uint64_t *count);
/* Releases the records of zelkLogReadAllCfg (their formatResource texts included).
 *   array, count  as filled by zelkLogReadAllCfg. */
ZELKLOG_API void FreeConfigArray(ZelkLogProductCfg **array, uint64_t count);
/* Looks up the id of a name among the configuration records; names compare without
 * regard to ASCII case and the first record in array order wins.
 *   array, count  the configuration records.
 *   fieldCode     ZELKLOGREC_PRODID, ZELKLOGREC_ORGID or ZELKLOGREC_SHORGID (file).
 *   name          the name.
 * Returns: the id; 0 when the name is not configured. */
ZELKLOG_API uint64_t GetIdFromName(ZelkLogProductCfg **array, uint64_t count, uint32_t fieldCode,
                                   const char *name);
/* Tells whether a product id is well formed (non-zero, at most 15 digits).
 *   productId  the id.
 * Returns: non-zero when valid. */
ZELKLOG_API int isProdIdValid(uint64_t productId);
/* Tells whether an originator id is well formed (non-zero).
 *   originatorId  the id.
 * Returns: non-zero when valid. */
ZELKLOG_API int isOrigIdValid(uint64_t originatorId);
/* Tells whether a logset name is well formed (1 to 400 bytes, no control characters).
 *   logset  the name, or null.
 * Returns: non-zero when valid. */
ZELKLOG_API int isLogSetValid(const char *logset);
/* Removes a product's own store files.
 *   productId  the product.
 * Codes: ZELKLOG_RC_OK when removed; ZELKLOG_RC_BAD_ARGUMENT for an invalid id; else
 * the library code of the store failure (ZELKLOG_RC_STORE_UNAVAILABLE when the product
 * is not configured), and the product keeps its configuration. */
ZELKLOG_API uint32_t zelkLogRemoveProductCfg(uint64_t productId);

/* ------------------------------------------------------------------------- */
/* Log files and raw records                                                 */
/* ------------------------------------------------------------------------- */
/* Builds the query's list of log files (query->currentFile) from the products' log
 * directories: oldest first by modification time, then name; hidden files and anything
 * but a regular file long enough for a header are left out.  No file is opened: every
 * entry's format is 0 until its header has been read (ReadHeader, at the file's first
 * open), and the reader drops a file whose header then proves invalid.
 *   array, count  the configuration records.
 *   query         the query, its tree built.
 * Codes: ZELKLOG_RC_OK, also when no file is found (empty list);
 * ZELKLOG_RC_BAD_ARGUMENT for a null query or array; ZELKLOG_RC_NO_MEMORY.
 * Ownership: the entries belong to the query (released by closelogfile and
 * zelkLogDestroyQuery with zelkLogFree); coreWord1 and coreWord2 of each entry are the
 * core's. */
ZELKLOG_API uint32_t GetLogFiles(ZelkLogProductCfg **array, uint64_t count, LogQuery *query);
/* Only times read from date texts are local wall-clock times that a zone offset moves:
 * the date check marks such INTCONST leaves with this visitMark (other leaves keep 0),
 * and updateQueryForTZ moves only marked leaves. */
#define ZELKLOG_DATE_TEXT_MARK 1u
/* Shifts every INTCONST leaf marked ZELKLOG_DATE_TEXT_MARK (a time read from a date text)
 * by a time-zone offset (held at the 64-bit limits); PREVTIME windows and plain numbers
 * stay as they are.
 *   root      the query tree.
 *   tzOffset  signed seconds.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null root or ZELKLOG_NO_TZ_ADJUST. */
ZELKLOG_API uint32_t updateQueryForTZ(QueryNode *root, int64_t tzOffset);
/* Opens a log file.
 *   file    the handle, set up afresh (fd -1 on failure).
 *   path    the file's path.
 *   access  1 read only (the only access this library asks for).
 *   mode    0660; accepted and ignored.
 * Returns: 0 when open (fd set); ZELKLOG_RC_FAILURE when the file cannot be opened;
 * ZELKLOG_RC_BAD_ARGUMENT for a null handle or path or another access.
 * Ownership: an open handle is closed with zelkLogOs_close. */
ZELKLOG_API int zelkLogOs_open(LogOsFile *file, const char *path, int access, int mode);
/* Closes a handle; a handle that is not open is accepted.  The bytes read ahead into its
 * area are dropped, and the pages wholly inside the area given back to the system.
 *   file  the handle, or null; fd is -1 afterwards.
 * Returns: 0; -1 when the system reports a failure (the handle is closed anyway). */
ZELKLOG_API int zelkLogOs_close(LogOsFile *file);
/* Reads the header of the entry's open file without moving the read position, and keeps the
 * file's identity (device and inode) in the entry's core words.
 *   entry   the file entry, its handle open.
 *   header  receives the header.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_HEADER_NOTICE while a writer holds the file (the
 * header is filled); ZELKLOG_RC_NOT_A_LOG_FILE (51) for an invalid header;
 * ZELKLOG_RC_FAILURE on a read error; ZELKLOG_RC_BAD_ARGUMENT when the file is not open. */
ZELKLOG_API uint32_t ReadHeader(LogFileEntry *entry, ZelkLogFileHeader *header);
/* Tells whether the entry's open file is still the file whose header was read.
 *   entry  the file entry, its handle open.
 * Returns: 1 when it is (or its identity is unknown); 0 when the name now names another
 * file, for example one renamed over it. */
ZELKLOG_API int zelkLogIsSameLogFile(const LogFileEntry *entry);
/* Closes an open handle's descriptor but keeps its unread bytes, so that reading can go on
 * from them (zelkLogOs_readAside) without opening the file again.
 *   file      the open handle.
 *   position  receives the handle's logical position (where reading resumes).
 * Codes: 0 when set aside; ZELKLOG_RC_FAILURE when the position cannot be told (the handle
 * stays open, untouched); ZELKLOG_RC_BAD_ARGUMENT for a null or closed handle. */
ZELKLOG_API int zelkLogOs_setAside(LogOsFile *file, int64_t *position);
/* Reads the next record of a set-aside handle from its kept bytes.
 *   file      the set-aside handle.
 *   message   receives the text (released with free_text_msg).
 *   position  the logical position; moved behind the record read.
 * Returns: 1 with the text; 0 when the kept bytes hold no whole record at *position (the
 * caller reopens the file and reads from there). */
ZELKLOG_API int zelkLogOs_readAside(LogOsFile *file, textMessage *message, int64_t *position);
/* Sets up an empty raw record.
 *   message  the record. */
ZELKLOG_API void init_text_msg(textMessage *message);
/* Reads the next record's text; a damaged frame is skipped, a frame not yet complete is
 * "no record yet".
 *   file     the open handle; positioned just behind the record when one was read.
 *   message  receives the text (message->text).
 * Returns: 1 when one record's text was read, else 0.
 * Ownership: the text is released with free_text_msg. */
ZELKLOG_API int readrecord(LogOsFile *file, textMessage *message);
/* Releases the text of a raw record and leaves it empty.
 *   message  the record. */
ZELKLOG_API void free_text_msg(textMessage *message);
/* Reads the logset id and name out of a log file's name ("ls-<16 hex digits>-<name>").
 *   fileName  the file name.
 *   id        receives the id (0 when none).
 *   name      buffer of 136 characters, receives the name ("" when none).
 *   scratch   buffer of 17 characters.
 * Returns: 1 when the name carries a logset with a non-zero id, else 0. */
ZELKLOG_API int getSLidfromfilename(const char *fileName, uint64_t *id, char *name, char *scratch);

/* ------------------------------------------------------------------------- */
/* Text conversion and argument lists                                        */
/* ------------------------------------------------------------------------- */
/* Validates `length` bytes as UTF-8 (strict: no overlong forms, surrogates, code points
 * above U+10FFFF or U+0000) and converts them to a wide string.
 *   utf8, length  the bytes.
 *   out           receives the wide string.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_INVALID_UTF8; ZELKLOG_RC_BAD_ARGUMENT for null
 * pointers; ZELKLOG_RC_NO_MEMORY.
 * Ownership: the string is the caller's, released with zelkLogFree. */
ZELKLOG_API uint32_t utf82wcs(const char *utf8, size_t length, wchar_t **out);
/* As utf82wcs, handing out the validated bytes as a zero-terminated multibyte string.
 * Codes and ownership: as utf82wcs. */
ZELKLOG_API uint32_t utf82mbs(const char *utf8, size_t length, char **out);
/* Validates `length` bytes as UTF-8 exactly as utf82mbs and utf82wcs do, converting nothing.
 *   utf8    the text.
 *   length  its length in bytes.
 * Codes: ZELKLOG_RC_OK when both conversions accept the text (they can then fail only for
 * want of memory), else the code they give.  Allocates nothing. */
ZELKLOG_API uint32_t utf8check(const char *utf8, size_t length);
/* Appends an argument to a message's argument list (growing its null-terminated array).
 *   list  the list.
 *   arg   the argument.
 * Codes: ZELKLOG_RC_OK; ZELKLOG_RC_BAD_ARGUMENT for a null list or argument;
 * ZELKLOG_RC_NO_MEMORY (the list is unchanged).
 * Ownership: after ZELKLOG_RC_OK the list owns the argument (zelkLogFreeMsg releases
 * it); otherwise it stays the caller's. */
ZELKLOG_API uint32_t zelkLisAddArg(ZelkLogMsgArgList *list, ZelkLogMsgArg *arg);

/* ------------------------------------------------------------------------- */
/* Comparison                                                                */
/* ------------------------------------------------------------------------- */
/* Tells whether a node kind is a leaf.
 *   kind  the node kind.
 * Returns: non-zero exactly for 257..261. */
ZELKLOG_API int isterm(int32_t kind);
/* Compares two numbers as signed 64-bit values.
 *   op           LESS .. NOTEQUAL (283..288).
 *   left, right  the values.
 * Returns: 1 when the comparison holds, else 0. */
ZELKLOG_API int eval(int32_t op, int64_t left, int64_t right);
/* Reads a PREVTIME look-back text: "H:MM:SS", "M:SS" or plain seconds.
 *   text                      the text.
 *   hours, minutes, seconds   receive the parts.
 * Returns: non-zero when the text was read. */
ZELKLOG_API int zelkLogGetTime(const char *text, int32_t *hours, int32_t *minutes, int32_t *seconds);

/* ------------------------------------------------------------------------- */
/* Localisers and formatting                                                 */
/* ------------------------------------------------------------------------- */
/* Sets up an empty localiser list (all zero).
 *   list  the query's localizers. */
ZELKLOG_API void InitializeLocalizerList(ZelkLogLocalizerList *list);
/* Releases every localiser of the list and leaves it empty.
 *   list  the query's localizers. */
ZELKLOG_API void RemoveAllLocalizers(ZelkLogLocalizerList *list);
/* Formats a record into localised text.
 *   localizers      the query's localisers (filled on demand).
 *   contextTitles   the query's context titles.
 *   locale          ICU locale id, or null.
 *   flags           formatting flags (docs/formatting.md).
 *   maxLength       longest text in bytes; 0 no limit.
 *   formatResource  directory of message catalogues, or null.
 *   record          the record.
 *   reserved        0.
 *   text            receives the text, or stays null.
 * Codes: ZELKLOG_RC_OK; a failure code of the formatter (ZELKLOG_RC_BAD_ARGUMENT,
 * ZELKLOG_RC_NO_MEMORY, ZELKLOG_RC_FAILURE).
 * Ownership: the text is the caller's, released with zelkLogFree. */
ZELKLOG_API uint32_t LogFormatMessage(ZelkLogLocalizerList *localizers, ContextTitleEntry **contextTitles,
                                      const char *locale, uint32_t flags, uint32_t maxLength,
                                      const char *formatResource, const ZelkLogMsg *record, uint32_t reserved,
                                      char **text);
/* Finds the context-title entry of a token (the token alone is matched).
 *   record, text   not used for the match.
 *   token          the context token.
 *   contextTitles  the query's context-title buckets.
 * Returns: the entry, or null.
 * Ownership: the entry stays the query's. */
ZELKLOG_API ContextTitleEntry *SearchContextTitleInList(const ZelkLogMsg *record, const char *text,
                                                        const char *token, ContextTitleEntry **contextTitles);
/* Hashes a text into a bucket.
 *   text     the text.
 *   buckets  the number of buckets.
 * Returns: the bucket, below buckets. */
ZELKLOG_API uint32_t HashString(const char *text, uint32_t buckets);
/* The record's context token.
 *   record  the record.
 *   token   always set: the token, or null.
 * Ownership: the token stays the record's. */
ZELKLOG_API void zelkLogGetMsgContextAttrToken(const ZelkLogMsg *record, const char **token);
/* Formats a record for the formatted fetch with the query's localisers, context titles
 * and format resource.
 *   query      the query.
 *   locale     ICU locale id, or null.
 *   formatArg  longest text in bytes; 0 no limit.
 *   flags      formatting flags; 0 gives the message text alone.
 *   reserved   0.
 *   record     the record.
 *   formatted  receives the text (null on failure).
 * Codes: as LogFormatMessage; ZELKLOG_RC_BAD_ARGUMENT for a null query.
 * Ownership: the text is the caller's, released with zelkLogFree. */
ZELKLOG_API uint32_t zelkLogFormatMessageEx(LogQuery *query, const char *locale, uintptr_t formatArg,
                                            uint32_t flags, uint32_t reserved, const ZelkLogMsg *record,
                                            char **formatted);

/* ------------------------------------------------------------------------- */
/* Time                                                                      */
/* ------------------------------------------------------------------------- */
/* The local time zone's offset from GMT now.
 * Returns: seconds east of GMT. */
ZELKLOG_API int64_t getLocalTZOffsetFromGMT(void);
/* Breaks a time down into local time (reentrant).
 *   time  seconds since 1970-01-01 UTC.
 *   out   receives the broken-down time.
 * Returns: out, or null when the time cannot be broken down. */
ZELKLOG_API struct tm *zelkLogOs_localtime_r(const time_t *time, struct tm *out);

/* ------------------------------------------------------------------------- */
/* Property store                                                            */
/* ------------------------------------------------------------------------- */
/* The global store's location.
 * Returns: the location; never released by the caller. */
ZELKLOG_API const char *GetZelkLogCfgLoc(void);
/* The location of a product's own store (its "ConfigPath").
 *   globalLocation  GetZelkLogCfgLoc().
 *   productId       the product.
 *   path            receives the location.
 * Codes: UTI_PS_OK; UTI_PS_NO_MEMORY; UTI_PS_NO_STORE for a missing, unreadable or
 * garbled global store or a product without a store; UTI_PS_BAD_ARGUMENT.
 * Ownership: the location is the caller's, released with zelkLogFree; the caller
 * releases *path whatever the code (it is null after a failure). */
ZELKLOG_API uint32_t GetProductCfgPath(const char *globalLocation, uint64_t productId, char **path);
/* Opens a store.
 *   location      the store's location.
 *   propertyPath  the section the handle works on ("" the top).
 *   handle        caller's handle, filled.
 *   flag          UTI_PS_OPEN_PRODUCT_REMOVAL only to remove a whole product, else 0.
 * Codes: UTI_PS_OK; UTI_PS_OPEN_FAILED for no location; UTI_PS_NO_STORE; UTI_PS_CORRUPT;
 * UTI_PS_NOT_FOUND for a missing section; UTI_PS_BAD_ARGUMENT; UTI_PS_NO_MEMORY.
 * Ownership: closed with utiClosePropertyStore, after a failed open too. */
ZELKLOG_API uint32_t utiOpenPropertyStore(const char *location, const char *propertyPath,
                                          UtiPropertyStore *handle, uint32_t flag);
/* Opens a store for reading, setting and removing, creating the section when missing.
 *   location, propertyPath, handle  as utiOpenPropertyStore.
 * Codes: as utiOpenPropertyStore; UTI_PS_DENIED; UTI_PS_IO_ERROR.
 * Ownership: as utiOpenPropertyStore. */
ZELKLOG_API uint32_t CreatePropertyString(const char *location, const char *propertyPath,
                                          UtiPropertyStore *handle);
/* Closes a handle; harmless on a handle whose open failed.
 *   handle  the handle.
 * Codes: UTI_PS_OK; UTI_PS_BAD_ARGUMENT for a null handle. */
ZELKLOG_API uint32_t utiClosePropertyStore(UtiPropertyStore *handle);
/* The name of the section at an index of the store's top.
 *   handle  an open handle.
 *   index   from 0.
 *   name    buffer of UTI_PS_SECTION_NAME_SIZE bytes, receives the zero-terminated name
 *           (cut to fit).
 *   length  in: UTI_PS_SECTION_NAME_SIZE, set before each call; out: the full length.
 * Codes: UTI_PS_OK; UTI_PS_END once the index is past the last; UTI_PS_BAD_ARGUMENT. */
ZELKLOG_API uint32_t utiEnumProductId(UtiPropertyStore *handle, uint32_t index, char *name, uint32_t *length);
/* Reads a string property of the handle's section.
 *   handle  an open handle.
 *   name    the property.
 *   value   receives the value.
 * Codes: UTI_PS_OK; UTI_PS_NOT_FOUND; UTI_PS_BAD_ARGUMENT; UTI_PS_NO_MEMORY.
 * Ownership: the value is the caller's, released with zelkLogFree. */
ZELKLOG_API uint32_t utiGetPropertyAsStr(UtiPropertyStore *handle, const char *name, char **value);
/* Stores a string property in the handle's section (replacing any).
 *   handle, name  as utiGetPropertyAsStr.
 *   value         the value.
 * Codes: UTI_PS_OK; UTI_PS_DENIED; UTI_PS_IO_ERROR; UTI_PS_BAD_ARGUMENT; UTI_PS_NO_MEMORY. */
ZELKLOG_API uint32_t utiSetPropertyAsStr(UtiPropertyStore *handle, const char *name, const char *value);
/* Removes a string property of the handle's section.
 *   handle, name  as utiGetPropertyAsStr.
 * Codes: as utiSetPropertyAsStr; UTI_PS_NOT_FOUND when it does not exist. */
ZELKLOG_API uint32_t utiRemoveProperty(UtiPropertyStore *handle, const char *name);
/* Removes a section and its properties.
 *   handle   an open handle (opened with UTI_PS_OPEN_PRODUCT_REMOVAL: the product's
 *            section of the global store, removed together with section).
 *   section  the section's name.
 * Codes: as utiRemoveProperty. */
ZELKLOG_API uint32_t utiRemovePropertyRoot(UtiPropertyStore *handle, const char *section);
/* Maps a store code to a library code: UTI_PS_OK to ZELKLOG_RC_OK, UTI_PS_IO_ERROR to
 * ZELKLOG_RC_FAILURE, UTI_PS_OPEN_FAILED to ZELKLOG_RC_STORE_NOT_OPENED,
 * UTI_PS_BAD_ARGUMENT to ZELKLOG_RC_BAD_ARGUMENT, UTI_PS_NO_MEMORY to ZELKLOG_RC_NO_MEMORY,
 * UTI_PS_DENIED to ZELKLOG_RC_STORE_DENIED, UTI_PS_NO_STORE and UTI_PS_CORRUPT to
 * ZELKLOG_RC_STORE_UNAVAILABLE, UTI_PS_END to ZELKLOG_RC_NO_MORE_RECORDS,
 * UTI_PS_NOT_FOUND to ZELKLOG_RC_UNKNOWN_NAME, anything else to ZELKLOG_RC_FAILURE.
 *   storeCode  the store code.
 * Returns: the library code. */
ZELKLOG_API uint32_t utipsres2zelklogres(uint32_t storeCode);

#ifdef __cplusplus
}
#endif

#endif /* SRC_CORE_ZELKLOGCORE_H_ */
