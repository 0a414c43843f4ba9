#include "tests/support/query_tree_text.h"

namespace zelk::test {

std::string treeText(const QueryNode *node)
{
    static const char *const fields[] = {"PRODID", "ORGID",    "FILEID", "SUBJECT",  "RETURNVAL", "STDATE",
                                         "ENDATE", "LEVEL",    "PID",    "TID",      "SEV",       "MSGTYPE",
                                         "CTXTOK", "PREVTIME", "WHO",    "HOSTNAME", "LOGSET"};
    static const char *const operators[] = {"AND", "OR", "<", ">", "<=", ">=", "=", "!="};
    if (node == nullptr)
        return "null";
    switch (node->kind) {
    case STRINGCONST:
        return "'" + std::string(reinterpret_cast<const char *>(static_cast<uintptr_t>(node->value))) + "'";
    case INTCONST:
        return std::to_string(static_cast<int64_t>(node->value));  // dates may lie before 1970
    case SEVTYPES:
        return "SEV:" + std::to_string(node->value);
    case MSGTYPES:
        return "MSG:" + std::to_string(node->value);
    case KEYWORDS:
        return node->value >= ZELKLOGREC_PRODID && node->value <= ZELKLOGREC_LOGSETID
                   ? fields[node->value - ZELKLOGREC_PRODID]
                   : "?";
    default:
        if (node->kind < AND || node->kind > NOTEQUAL)
            return "kind" + std::to_string(node->kind);
        return std::string(operators[node->kind - AND]) + "(" + treeText(node->left) + ", " +
               treeText(node->right) + ")";
    }
}

}  // namespace zelk::test
