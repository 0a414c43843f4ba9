/*
 * zelkLogCore.h - the logging core services and the property store as this library
 * calls them.  They live in the logging core library (libzelkLogCoreST.so.3); this
 * header is the whole boundary: the library calls nothing else there.
 */
#ifndef ZELKLOG_CORE_H
#define ZELKLOG_CORE_H

#include "zelkLogRead.h"

#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

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

/* Store codes the library reads itself. */
#define UTI_PS_OK 0u
#define UTI_PS_DENIED 5u   /* the store refuses access (read-only or permission) */
#define UTI_PS_NO_STORE 6u /* no such store / product has no store */
#define UTI_PS_END 7u      /* enumeration index past the last section */

/* --- storage and the common lock (zelkLogMalloc, zelkLogFree, zelkLogSafeStrdup and
 *     zelkLogFreeMsg are declared in the public header) --- */
ZELKLOG_API void zelkLockCommon(const char *tag);
ZELKLOG_API void zelkUnlockCommon(const char *tag);

/* --- product configuration --- */
ZELKLOG_API uint32_t zelkLogReadAllCfg(uint32_t flags, uint32_t capacity, ZelkLogProductCfg **array,
                                       uint64_t *count);
ZELKLOG_API void FreeConfigArray(ZelkLogProductCfg **array, uint64_t count);
/* fieldCode 263 product, 264 originator, 265 file; returns the id, 0 when not configured. */
ZELKLOG_API uint64_t GetIdFromName(ZelkLogProductCfg **array, uint64_t count, uint32_t fieldCode,
                                   const char *name);
ZELKLOG_API int isProdIdValid(uint64_t productId);
ZELKLOG_API int isOrigIdValid(uint64_t originatorId);
ZELKLOG_API int isLogSetValid(const char *logset);
ZELKLOG_API uint32_t zelkLogRemoveProductCfg(uint64_t productId);

/* --- log files and raw records --- */
ZELKLOG_API uint32_t GetLogFiles(ZelkLogProductCfg **array, uint64_t count, LogQuery *query);
/* Only times read from date texts are local wall-clock times that a zone offset moves:
 * the date check marks such INTCONST leaves with this visitMark (other leaves keep 0),
 * and updateQueryForTZ moves only marked leaves. */
#define ZELKLOG_DATE_TEXT_MARK 1u
ZELKLOG_API uint32_t updateQueryForTZ(QueryNode *root, int64_t tzOffset);
/* access 1: read only.  Returns 0 when open (fd set), non-zero otherwise (fd -1). */
ZELKLOG_API int zelkLogOs_open(LogOsFile *file, const char *path, int access, int mode);
/* Accepts a handle that is not open; leaves fd -1. */
ZELKLOG_API int zelkLogOs_close(LogOsFile *file);
/* Reads the header of the entry's open file; 0, 48 (notice: writer active) or an error code. */
ZELKLOG_API uint32_t ReadHeader(LogFileEntry *entry, ZelkLogFileHeader *header);
ZELKLOG_API void init_text_msg(textMessage *message);
/* 1 when one record's text was read (handle positioned just behind it), else 0. */
ZELKLOG_API int readrecord(LogOsFile *file, textMessage *message);
ZELKLOG_API void free_text_msg(textMessage *message);
/* name: 136 characters, scratch: 17 characters.  1 when the file name carries a logset. */
ZELKLOG_API int getSLidfromfilename(const char *fileName, uint64_t *id, char *name, char *scratch);

/* --- text conversion and argument lists --- */
/* Strict UTF-8 validation of `length` bytes; 0 and an owned copy on success. */
ZELKLOG_API uint32_t utf82wcs(const char *utf8, size_t length, wchar_t **out);
ZELKLOG_API uint32_t utf82mbs(const char *utf8, size_t length, char **out);
ZELKLOG_API uint32_t zelkLisAddArg(ZelkLogMsgArgList *list, ZelkLogMsgArg *arg);

/* --- comparison --- */
ZELKLOG_API int isterm(int32_t kind);                          /* non-zero for 257..261 */
ZELKLOG_API int eval(int32_t op, int64_t left, int64_t right); /* 0 or 1; signed comparison */
/* Reads a look-back time; non-zero when the text was read. */
ZELKLOG_API int zelkLogGetTime(const char *text, int32_t *hours, int32_t *minutes, int32_t *seconds);

/* --- localisers and formatting --- */
ZELKLOG_API void InitializeLocalizerList(ZelkLogLocalizerList *list);
ZELKLOG_API void RemoveAllLocalizers(ZelkLogLocalizerList *list);
/* Formats a record; *text is set to an owned text (released with zelkLogFree) or stays null. */
ZELKLOG_API uint32_t LogFormatMessage(ZelkLogLocalizerList *localizers, ContextTitleEntry **contextTitles,
                                      const char *locale, uint32_t flags, uint32_t maxLength,
                                      const char *formatResource, const ZelkLogMsg *record, uint32_t reserved,
                                      char **text);
ZELKLOG_API ContextTitleEntry *SearchContextTitleInList(const ZelkLogMsg *record, const char *text,
                                                        const char *token, ContextTitleEntry **contextTitles);
ZELKLOG_API uint32_t HashString(const char *text, uint32_t buckets);
/* Always sets *token: the record's context token (not owned by the caller) or null. */
ZELKLOG_API void zelkLogGetMsgContextAttrToken(const ZelkLogMsg *record, const char **token);
/* Formats a record for the formatted fetch; *formatted is released with zelkLogFree. */
ZELKLOG_API uint32_t zelkLogFormatMessageEx(LogQuery *query, const char *locale, uintptr_t formatArg,
                                            uint32_t flags, uint32_t reserved, const ZelkLogMsg *record,
                                            char **formatted);

/* --- time --- */
ZELKLOG_API int64_t getLocalTZOffsetFromGMT(void);
ZELKLOG_API struct tm *zelkLogOs_localtime_r(const time_t *time, struct tm *out);

/* --- property store --- */
ZELKLOG_API const char *GetZelkLogCfgLoc(void);
ZELKLOG_API uint32_t GetProductCfgPath(const char *globalLocation, uint64_t productId, char **path);
ZELKLOG_API uint32_t utiOpenPropertyStore(const char *location, const char *propertyPath,
                                          UtiPropertyStore *handle, uint32_t flag);
ZELKLOG_API uint32_t CreatePropertyString(const char *location, const char *propertyPath,
                                          UtiPropertyStore *handle);
ZELKLOG_API uint32_t utiClosePropertyStore(UtiPropertyStore *handle);
ZELKLOG_API uint32_t utiEnumProductId(UtiPropertyStore *handle, uint32_t index, char *name, uint32_t *length);
ZELKLOG_API uint32_t utiGetPropertyAsStr(UtiPropertyStore *handle, const char *name, char **value);
ZELKLOG_API uint32_t utiSetPropertyAsStr(UtiPropertyStore *handle, const char *name, const char *value);
ZELKLOG_API uint32_t utiRemoveProperty(UtiPropertyStore *handle, const char *name);
ZELKLOG_API uint32_t utiRemovePropertyRoot(UtiPropertyStore *handle, const char *section);
ZELKLOG_API uint32_t utipsres2zelklogres(uint32_t storeCode);

#ifdef __cplusplus
}
#endif

#endif /* ZELKLOG_CORE_H */
