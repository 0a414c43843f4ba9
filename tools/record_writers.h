// The machine-readable shapes of a record: one JSON object per line, the Journal Export
// Format, and the serialized text.
#ifndef ZELKLOG_TOOL_RECORD_WRITERS_H
#define ZELKLOG_TOOL_RECORD_WRITERS_H

#include "tools/output.h"
#include "zelkLogRead.h"

#include <string>
#include <string_view>

namespace zelktool {

// What the tool knows of a record besides its fields.
struct RecordOrigin {
    const char *fileName = nullptr;  // log file name (no directory), or null
    uint64_t format = 0;             // format code of the file
};

// Appends `text` to `out` as a JSON string (quotes included); invalid UTF-8 bytes become
// U+FFFD.
void appendJsonString(std::string &out, std::string_view text);

// One JSON object of every field of the record, without the closing brace, so that the
// caller can add "message".  Keys: docs/zelklog-output.md.
void appendJsonRecord(std::string &out, const ZelkLogMsg &record, const RecordOrigin &origin);

// One entry of the Journal Export Format without MESSAGE and the terminating blank line:
// the fields journald knows (__REALTIME_TIMESTAMP, PRIORITY, SYSLOG_IDENTIFIER, _PID)
// and the record's own as ZELKLOG_*.
void appendExportRecord(std::string &out, const ZelkLogMsg &record, const RecordOrigin &origin,
                        std::string_view identifier);
// One field NAME=value of the export format (binary-safe when the value holds a line feed).
void appendExportField(std::string &out, std::string_view name, std::string_view value);

// Words of a kind (DEBUG, DIAG, APP, CONTEXT, AUDIT) and a severity (INFO .. EMERG).
const char *kindWord(uint32_t kind);
const char *severityWord(uint32_t severity);

}  // namespace zelktool

#endif
