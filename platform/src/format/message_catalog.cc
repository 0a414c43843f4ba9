// Reading a message catalogue file with inih.
#include "platform/src/format/message_catalog.h"

#include "platform/src/common/inih_options.h"
#include "platform/src/common/regular_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace zelk::core {

namespace {

// Catalogue lines are read into a heap buffer of at most 64 KiB: the text, the newline
// and the terminator.
constexpr int kLineBuffer = 65536;
constexpr size_t kLongestLine = kLineBuffer - 2;

// inih's defaults, but with a growing heap line buffer so long texts fit on one line.
zelk::core::InihOptions catalogueOptions()
{
    zelk::core::InihOptions options;
    options.useStack = false;
    options.allowRealloc = true;
    options.maxLine = kLineBuffer;
    return options;
}
constexpr long kLargestFile = 16L * 1024 * 1024;

bool readWholeFile(const std::string &path, std::string &content)
{
    int fd = openRegularFile(path.c_str(), O_RDONLY);
    FILE *file = fd < 0 ? nullptr : fdopen(fd, "rb");
    if (file == nullptr) {
        if (fd >= 0)
            close(fd);
        return false;
    }
    char chunk[4096];
    size_t got;
    bool ok = true;
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) {
        content.append(chunk, got);
        if (content.size() > static_cast<size_t>(kLargestFile)) {
            ok = false;
            break;
        }
    }
    if (std::ferror(file))
        ok = false;
    std::fclose(file);
    return ok;
}

bool linesFit(const std::string &content)
{
    size_t start = 0;
    while (start < content.size()) {
        size_t end = content.find('\n', start);
        if (end == std::string::npos)
            end = content.size();
        if (end - start > kLongestLine)
            return false;
        start = end + 1;
    }
    return true;
}

// A whole unsigned number in decimal or 0x-hexadecimal, not 0.
bool parseId(const char *text, uint64_t &id)
{
    if (text == nullptr || *text < '0' || *text > '9')
        return false;
    errno = 0;
    char *end = nullptr;
    unsigned long long value = std::strtoull(text, &end, 0);
    if (errno != 0 || end == text || *end != '\0' || value == 0)
        return false;
    id = value;
    return true;
}

}  // namespace

int MessageCatalogue::onEntry(void *user, const char *section, const char *name, const char *value)
{
    auto *self = static_cast<MessageCatalogue *>(user);
    uint64_t product = 0;
    if (std::strcmp(section, "messages") != 0) {
        if (std::strncmp(section, "product ", 8) != 0 || !parseId(section + 8, product))
            return 1;  // other sections are not ours: skipped
    }
    uint64_t messageId = 0;
    if (!parseId(name, messageId)) {
        self->haveLastKey_ = false;
        return 1;
    }
    std::pair<uint64_t, uint64_t> key{product, messageId};
    try {
        // inih reports a continuation line as the same key again: join the pieces.
        if (self->haveLastKey_ && self->lastKey_ == key) {
            std::string &text = self->texts_[key];
            text += ' ';
            text += value;
        } else {
            self->texts_[key] = value;
        }
    } catch (...) {
        return 0;  // out of memory: no exception may pass through inih
    }
    self->lastKey_ = key;
    self->haveLastKey_ = true;
    return 1;
}

bool MessageCatalogue::load(const std::string &path)
{
    std::string content;
    if (!readWholeFile(path, content) || !linesFit(content))
        return false;
    texts_.clear();
    haveLastKey_ = false;
    // Bad lines are skipped by inih; what could be read stays usable.
    return zelk::core::parseStringWithOptions(catalogueOptions(), content.c_str(), &MessageCatalogue::onEntry,
                                              this) >= 0;
}

const std::string *MessageCatalogue::find(uint64_t productId, uint64_t messageId) const
{
    if (productId != 0) {
        auto own = texts_.find({productId, messageId});
        if (own != texts_.end())
            return &own->second;
    }
    auto common = texts_.find({0, messageId});
    return common == texts_.end() ? nullptr : &common->second;
}

}  // namespace zelk::core
