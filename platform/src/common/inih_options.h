// inih keeps its options in process-wide variables (the packaged build makes them run
// time settings instead of compile-time ones).  A parse that needs other options than
// inih's defaults sets them through parseWithOptions, which holds one lock for the whole
// parse and restores the defaults afterwards; a parse with the defaults takes the same
// lock (parseWithOptions(InihOptions{}, ...)) so that it never runs while the options
// are changed.
#ifndef PLATFORM_SRC_COMMON_INIH_OPTIONS_H_
#define PLATFORM_SRC_COMMON_INIH_OPTIONS_H_

#include <ini.h>

namespace zelk::core {

// inih's defaults unless changed.
struct InihOptions {
    bool multiline = true;       // indented lines continue the previous value
    bool inlineComments = true;  // ";" after white space starts a comment
    bool stopOnFirstError = false;
    bool useStack = true;       // line buffer on the stack (fixed size)
    bool allowRealloc = false;  // heap line buffer grows up to maxLine
    int maxLine = 200;          // longest line, newline and terminator included
};

int parseWithOptions(const InihOptions &options, ini_reader reader, void *stream, ini_handler handler,
                     void *user);
int parseStringWithOptions(const InihOptions &options, const char *text, ini_handler handler, void *user);

}  // namespace zelk::core

#endif  // PLATFORM_SRC_COMMON_INIH_OPTIONS_H_
