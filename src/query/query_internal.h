// Helpers shared by the query-language sources; none of them leaves the library.
#ifndef SRC_QUERY_QUERY_INTERNAL_H_
#define SRC_QUERY_QUERY_INTERNAL_H_

#include "zelkLogRead.h"

#include <cstddef>
#include <cstdint>

namespace zelk::query {

// A new leaf of `kind` holding `value` as is (for a text leaf: an owned text that the
// leaf takes over).  Null when no memory is left.
QueryNode *newLeaf(int32_t kind, uint64_t value);

// Owned copy (zelkLogMalloc) of a literal's token text without its enclosing quotes;
// null when no memory is left.
char *copyUnquoted(const char *token);

// Releases one node and what it owns itself (its locale copy, a text leaf's text),
// never its operands.
void releaseNode(QueryNode *node);

// The rewrite of PREVTIME = value: 0 with the new subtree in *result, 16 when the value
// is unusable, 4 when a node cannot be allocated.  On failure both operands are left
// as they were.
uint32_t rewritePrevTime(QueryNode *keywordNode, QueryNode *valueNode, QueryNode **result);

// Empties the scanner's working buffer so that the next token comes from a fresh input.
void resetScanner();

// The last message the scanner or the parser reported to yyerror (diagnostics only).
const char *lastParserMessage();

// Most operator nodes one query tree may hold: the evaluator numbers them 1..199.
constexpr uint32_t kMaxOperatorNodes = 199;

}  // namespace zelk::query

#endif  // SRC_QUERY_QUERY_INTERNAL_H_
