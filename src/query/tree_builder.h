// The tree building steps of the grammar's actions.  Each returns 0 with the new
// subtree in *result, or the code that ends the parse; on failure it has released the
// operands it was given, so the action only has to stop.
#ifndef SRC_QUERY_TREE_BUILDER_H_
#define SRC_QUERY_TREE_BUILDER_H_

#include "zelkLogRead.h"

#include <cstdint>

namespace zelk::query {

// A leaf for a term; a text leaf gets a copy of the query's locale.
uint32_t makeLeaf(QueryParseContext *context, int32_t kind, uint64_t tokenValue, QueryNode **result);

// AND or OR over two subtrees, unchecked.
uint32_t joinOperands(QueryParseContext *context, int32_t kind, QueryNode *left, QueryNode *right,
                      QueryNode **result);

// A checked comparison: the keyword moves to the left of =, and PREVTIME = value becomes
// a date range.
uint32_t compareOperands(QueryParseContext *context, int32_t op, QueryNode *left, QueryNode *right,
                         QueryNode **result);

// field BETWEEN low && high with number bounds.
uint32_t buildNumberBetween(QueryParseContext *context, uint64_t field, uint64_t low, uint64_t high,
                            QueryNode **result);

// Keeps the text of a BETWEEN's lower bound (its token text does not outlive the next
// token) in the context until the upper bound has been read.
uint32_t captureLowerBound(QueryParseContext *context, uint64_t tokenText);

// field BETWEEN 'low' && 'high': the captured lower bound and the upper bound's token.
uint32_t buildTextBetween(QueryParseContext *context, uint64_t field, uint64_t upperTokenText,
                          QueryNode **result);

}  // namespace zelk::query

#endif  // SRC_QUERY_TREE_BUILDER_H_
