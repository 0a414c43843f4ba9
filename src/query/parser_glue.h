// Declarations shared by the generated scanner and parser.  The generated code defines
// the token names itself, so the public header is read without its token enum and its
// scanner/parser declarations; the entry points are redeclared here with C linkage so
// that the definitions the generators emit keep the exported, unmangled names.
#ifndef ZELK_QUERY_PARSER_GLUE_H
#define ZELK_QUERY_PARSER_GLUE_H

#define ZELKLOG_PARSER_TOKENS 1
#include "zelkLogRead.h"

#include <cstdint>
#include <cstdio>

struct yy_buffer_state;

extern "C" {
ZELKLOG_API int yylex(QueryNode *valueRecord);
ZELKLOG_API int yywrap(void);
ZELKLOG_API uint32_t yyerror(const char *message);
ZELKLOG_API uint64_t myinput(char *buffer, uint64_t maxSize);
ZELKLOG_API int yyparse(QueryParseContext *context);
ZELKLOG_API void yyrestart(FILE *input);
ZELKLOG_API struct yy_buffer_state *yy_create_buffer(FILE *file, int size);
ZELKLOG_API void yy_delete_buffer(struct yy_buffer_state *buffer);
ZELKLOG_API void yy_switch_to_buffer(struct yy_buffer_state *buffer);
ZELKLOG_API void yy_load_buffer_state(void);
ZELKLOG_API void yy_init_buffer(struct yy_buffer_state *buffer, FILE *file);
ZELKLOG_API void yy_flush_buffer(struct yy_buffer_state *buffer);
ZELKLOG_API struct yy_buffer_state *yy_scan_buffer(char *base, size_t size);
ZELKLOG_API struct yy_buffer_state *yy_scan_string(const char *text);
ZELKLOG_API struct yy_buffer_state *yy_scan_bytes(const char *bytes, int length);
ZELKLOG_API void yypush_buffer_state(struct yy_buffer_state *buffer);
ZELKLOG_API void yypop_buffer_state(void);
}

#endif  // ZELK_QUERY_PARSER_GLUE_H
