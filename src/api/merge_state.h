// The merged fetch's bookkeeping beside a query's file list (kept in the query's
// reserved word): released with the query.
#ifndef ZELKLOG_API_MERGE_STATE_H
#define ZELKLOG_API_MERGE_STATE_H

#include "zelkLogRead.h"

namespace zelk::read {

void releaseMergeState(LogQuery *query);

}  // namespace zelk::read

#endif
