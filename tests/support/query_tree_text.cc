#include "query_tree_text.h"

namespace zelk::test {

namespace {

const char *fieldName(uint64_t code)
{
    static const char *const names[] = {"PRODID", "ORGID", "FILEID", "SUBJECT", "RETURNVAL", "STDATE",
                                        "ENDATE", "LEVEL",  "PID",    "TID",     "SEV",       "MSGTYPE",
                                        "CTXTOK", "PREVTIME", "WHO",  "HOSTNAME", "LOGSET"};
    return code >= ZELKLOGREC_PRODID && code <= ZELKLOGREC_LOGSETID ? names[code - ZELKLOGREC_PRODID] : "?";
}

const char *operatorName(int32_t kind)
{
    switch (kind) {
    case AND: return "AND";
    case OR: return "OR";
    case LESS: return "<";
    case GREATER: return ">";
    case LESSEQ: return "<=";
    case GREATEREQ: return ">=";
    case EQUAL: return "=";
    case NOTEQUAL: return "!=";
    default: return nullptr;
    }
}

}  // namespace

std::string treeText(const QueryNode *node)
{
    if (node == nullptr)
        return "null";
    switch (node->kind) {
    case STRINGCONST:
        return "'" + std::string(reinterpret_cast<const char *>(static_cast<uintptr_t>(node->value))) + "'";
    case INTCONST: return std::to_string(node->value);
    case KEYWORDS: return fieldName(node->value);
    case SEVTYPES: return "SEV:" + std::to_string(node->value);
    case MSGTYPES: return "MSG:" + std::to_string(node->value);
    default: break;
    }
    const char *name = operatorName(node->kind);
    if (name == nullptr)
        return "kind" + std::to_string(node->kind);
    return std::string(name) + "(" + treeText(node->left) + ", " + treeText(node->right) + ")";
}

}  // namespace zelk::test
