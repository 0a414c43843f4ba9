// The per-record step of the fetches for callers that keep only matching records.
#ifndef ZELKLOG_API_RECORD_STEP_H
#define ZELKLOG_API_RECORD_STEP_H

#include "zelkLogRead.h"

#include <cstdint>

namespace zelk::read {

// ReadOneRecord without building the records it skips: the record is first read in
// place and tested, and decoded into `record` only when it matches, when it is a context
// record (the context title table keeps its strings) or when the in-place reading fails
// (so that 23 leaves the record exactly as the decoder does).  Same result codes as
// ReadOneRecord.  `record` must be cleared by the caller; a 25 with its `marker` still
// 0 has left it untouched (nothing to release), any other outcome leaves it as
// ReadOneRecord would.  With `inPlace` false the record is decoded at once, as
// ReadOneRecord does: cheaper when it is likely to match.
uint32_t readNextRecord(LogQuery *query, ZelkLogMsg *record, bool inPlace = true);

}  // namespace zelk::read

#endif
