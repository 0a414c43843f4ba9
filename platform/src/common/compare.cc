// Node classification and the comparison of two 64-bit values used by the evaluator.
#include "src/core/zelkLogCore.h"

extern "C" {

ZELKLOG_API int isterm(int32_t kind)
{
    return kind >= STRINGCONST && kind <= MSGTYPES;
}

// Comparisons are made on signed 64-bit values, so that times before 1970 compare
// below later ones; AND and OR combine truth values 0 and 1.
ZELKLOG_API int eval(int32_t op, int64_t left, int64_t right)
{
    switch (op) {
    case AND:
        return (left != 0 && right != 0) ? 1 : 0;
    case OR:
        return (left != 0 || right != 0) ? 1 : 0;
    case LESS:
        return left < right;
    case GREATER:
        return left > right;
    case LESSEQ:
        return left <= right;
    case GREATEREQ:
        return left >= right;
    case EQUAL:
        return left == right;
    case NOTEQUAL:
        return left != right;
    default:
        return 0;
    }
}

}  // extern "C"
