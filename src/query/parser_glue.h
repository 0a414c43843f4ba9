// Included first by the generated scanner and parser.  The scanner and parser entry
// points are declared once, with C linkage, in zelkLogRead/internal.h (through the public
// header); the definitions the generators emit take that linkage over and keep their
// exported, unmangled names.  The library is compiled with ZELKLOG_TOKEN_NAMES, so the
// token names of the public header are the ones the scanner returns; the grammar's own
// token enumeration carries the prefix ZELKLOG_GRAMMAR_ and ulyacc.y checks that both
// agree.
#ifndef SRC_QUERY_PARSER_GLUE_H_
#define SRC_QUERY_PARSER_GLUE_H_

#include "zelkLogRead.h"

#ifndef ZELKLOG_TOKEN_NAMES
#error "the query sources are compiled with ZELKLOG_TOKEN_NAMES"
#endif

#endif  // SRC_QUERY_PARSER_GLUE_H_
