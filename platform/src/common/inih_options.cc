#include "platform/src/common/inih_options.h"

#include <mutex>

namespace zelk::core {
namespace {

std::mutex optionsLock;

class OptionsInForce {
public:
    explicit OptionsInForce(const InihOptions &options) : lock_(optionsLock) { apply(options); }
    ~OptionsInForce() { apply(InihOptions{}); }

private:
    static void apply(const InihOptions &options)
    {
        ini_allow_multiline = options.multiline;
        ini_allow_inline_comments = options.inlineComments;
        ini_stop_on_first_error = options.stopOnFirstError;
        ini_use_stack = options.useStack;
        ini_allow_realloc = options.allowRealloc;
        ini_max_line = options.maxLine;
    }
    std::lock_guard<std::mutex> lock_;
};

}  // namespace

int parseWithOptions(const InihOptions &options, ini_reader reader, void *stream, ini_handler handler,
                     void *user)
{
    OptionsInForce inForce(options);
    return ini_parse_stream(reader, stream, handler, user);
}

int parseStringWithOptions(const InihOptions &options, const char *text, ini_handler handler, void *user)
{
    OptionsInForce inForce(options);
    return ini_parse_string(text, handler, user);
}

}  // namespace zelk::core
