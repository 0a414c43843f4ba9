// Renders decoded message records as compact text, so that tests compare a whole record
// or argument list in one expectation.
//   record: "k2 p7 o3 f1 n0 t999 pid42 tid17 ctx=- aux=abc who=- sev1 (100|A\"hello\",i4:-1)"
//   arguments: 1'c  i<size>:<v>  u<size>:<v>  8<v>  9<v>  A"..."  D<size>:<v>  C<v>
//              (<id>|...)  X"..."  S"..."; a wrong ownsValue adds "!owns".
#ifndef TESTS_SUPPORT_RECORD_TEXT_H_
#define TESTS_SUPPORT_RECORD_TEXT_H_

#include "zelkLogRead.h"

#include <string>

namespace zelk::test {
std::string renderArgs(const ZelkLogMsgArgList &list);
std::string renderRecord(const ZelkLogMsg &record);
}  // namespace zelk::test

#endif  // TESTS_SUPPORT_RECORD_TEXT_H_
