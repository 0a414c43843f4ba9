// Query trees as compact texts for test expectations:
//   =(PID, 5)   AND(>(PID, 10), <(PID, 20))   =(SEV, SEV:2)   =(MSGTYPE, MSG:4)   'text'
#ifndef TESTS_SUPPORT_QUERY_TREE_TEXT_H_
#define TESTS_SUPPORT_QUERY_TREE_TEXT_H_

#include "zelkLogRead.h"

#include <string>

namespace zelk::test {

std::string treeText(const QueryNode *node);

}  // namespace zelk::test

#endif  // TESTS_SUPPORT_QUERY_TREE_TEXT_H_
