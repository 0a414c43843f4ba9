/*
 * zelkLogWriter.h - writing log files with the logging core (libzelkLogCoreST.so.3).
 *
 * A log file is a header (format code, header text, writer-active mark) followed by
 * framed records, each the serialized text of one message; docs/log-format.md has the
 * byte layout.  Any number of writers, in any number of processes, may append to the
 * same file: every append is one whole record, taken under an exclusive lock of the
 * file, so records never interleave.  Readers take no lock and see whole records only.
 * One writer may also be shared by threads: each append is a single write of the whole
 * record on a descriptor in append mode.
 *
 * All functions return a result code (0 on success) and never throw.  C-callable.
 */
#ifndef ZELKLOGWRITER_H_
#define ZELKLOGWRITER_H_

#include "zelkLogRead.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes of the writer besides 0, 1 (I/O failure: errno tells more), 3 (bad
 * argument) and 4 (out of memory). */
#define ZELKLOG_RC_LOGFILE_EXISTS 50u  /* create: a file of that name exists already */
#define ZELKLOG_RC_NOT_A_LOG_FILE 51u  /* the file has no valid log-file header */
#define ZELKLOG_RC_RECORD_TOO_LONG 52u /* serialized text over ZELKLOG_MAX_RECORD_TEXT bytes */

/* Longest serialized text of one record, in bytes (without a terminator). */
#define ZELKLOG_MAX_RECORD_TEXT 4095u
/* Longest header text, in bytes (without a terminator). */
#define ZELKLOG_MAX_HEADER_TEXT 511u
/* Longest logset name that a log-file name can carry, in bytes. */
#define ZELKLOG_MAX_LOGSET_NAME 135u

typedef struct ZelkLogWriter ZelkLogWriter; /* one open log file of one writer */

/* Creates the log file `path` (which must not exist) with permission bits `mode`, the
 * header of `format` (0x10004..0x10008) and `headerText` (null: empty; at most 511
 * bytes), and opens it for appending.  The file appears under its name complete with
 * its header, never half-written.  The header marks a writer active until the last
 * writer closes.  0, 1, 3, 4 or ZELKLOG_RC_LOGFILE_EXISTS; *writer is null on failure. */
ZELKLOG_API uint32_t zelkLogWriterCreate(const char *path, uint64_t format, const char *headerText,
                                         uint32_t mode, ZelkLogWriter **writer);

/* Opens the existing log file `path` for appending and marks a writer active in its
 * header.  0, 1, 3, 4 or ZELKLOG_RC_NOT_A_LOG_FILE. */
ZELKLOG_API uint32_t zelkLogWriterOpen(const char *path, ZelkLogWriter **writer);

/* The format code of the writer's file (0 for a null writer). */
ZELKLOG_API uint64_t zelkLogWriterFormat(const ZelkLogWriter *writer);

/* Appends one record whose serialized text is the `length` bytes at `text` (1 to 4095
 * bytes, no NUL byte among them).  0, 1, 3 or ZELKLOG_RC_RECORD_TOO_LONG. */
ZELKLOG_API uint32_t zelkLogWriterAppend(ZelkLogWriter *writer, const char *text, size_t length);

/* Serializes `record` in the writer's format and appends it (zelkLogSerializeMsg). */
ZELKLOG_API uint32_t zelkLogWriterAppendMsg(ZelkLogWriter *writer, const ZelkLogMsg *record);

/* Closes the writer and releases it; the last writer of a file clears its writer-active
 * mark.  A null writer is accepted.  0 or 1 (the mark could not be updated; the writer
 * is released all the same). */
ZELKLOG_API uint32_t zelkLogWriterClose(ZelkLogWriter *writer);

/* Writes the serialized text of `record` in `format` (0x10004..0x10008) into `text`
 * (`capacity` bytes), NUL-terminated, and its length without the terminator into
 * *length.  The fields the format does not carry are left out (productId and fileId in
 * 0x10008, fileId in 0x10004, who of kind 2 in 0x10004/0x10005); a kind-0 record has no
 * argument section.  Strings are written as their bytes (they should be UTF-8); a null
 * string is an empty field.  Codes: 0; 3 (null argument, unknown format or kind, a
 * message identifier over 10 digits, an argument of type 6 or unknown type, a wide
 * character that is not a Unicode scalar value, more than 32 levels of argument lists,
 * the top list counting as one - the decoder reads no deeper);
 * ZELKLOG_RC_RECORD_TOO_LONG when the text does not fit into `capacity` or is longer
 * than 4095 bytes. */
ZELKLOG_API uint32_t zelkLogSerializeMsg(const ZelkLogMsg *record, uint64_t format, char *text,
                                         size_t capacity, size_t *length);

/* Builds the file name of a log file that belongs to logset `logsetId` (non-zero) named
 * `logsetName` (1 to 135 bytes, neither "/" nor "." in it):
 *     "ls-" <id as 16 lowercase hexadecimal digits> "-" <logset name> <suffix>
 * `suffix` (null: none) must be empty or start with "." (for example ".log" or
 * ".2.log").  getSLidfromfilename reads id and name back from such a name.  Writes the
 * NUL-terminated name into `out` (`capacity` bytes).  0 or 3. */
ZELKLOG_API uint32_t zelkLogMakeLogSetFileName(uint64_t logsetId, const char *logsetName, const char *suffix,
                                               char *out, size_t capacity);

#ifdef __cplusplus
}
#endif

#endif /* ZELKLOGWRITER_H_ */
