// One message catalogue file: ICU MessageFormat patterns by product and message id.
//
// A catalogue is a plain INI-style text in UTF-8 that an administrator can edit:
//
//   ; texts for every product
//   [messages]
//   1001 = Could not open {0}: error {1,number,integer}
//   ; texts of one product, preferred over [messages] for its records
//   [product 42]
//   0x3E9 = The backup of {0} failed
//
// Keys are message ids in decimal or 0x-hexadecimal.  Lines hold at most 198 bytes; a
// longer text continues on the following lines, which start with white space, and
// the pieces are joined with one space.  ";" or "#" at the start of a line, and ";"
// after white space, begin a comment.  Lines that cannot be read are skipped.
#ifndef PLATFORM_SRC_FORMAT_MESSAGE_CATALOG_H_
#define PLATFORM_SRC_FORMAT_MESSAGE_CATALOG_H_

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace zelk::core {

class MessageCatalogue {
public:
    // Reads the file at `path`; false when it is missing, unreadable or has a line
    // too long to read safely (the catalogue is then not used at all).
    bool load(const std::string &path);

    // The pattern of `messageId` for `productId`: the product's own text first, then
    // the text for every product; null when the catalogue has neither.
    const std::string *find(uint64_t productId, uint64_t messageId) const;

    size_t size() const { return texts_.size(); }

private:
    static int onEntry(void *user, const char *section, const char *name, const char *value);

    // Key (0, id) holds the texts of [messages]; product ids are never 0.
    std::map<std::pair<uint64_t, uint64_t>, std::string> texts_;
    std::pair<uint64_t, uint64_t> lastKey_{0, 0};
    bool haveLastKey_ = false;
};

}  // namespace zelk::core

#endif  // PLATFORM_SRC_FORMAT_MESSAGE_CATALOG_H_
