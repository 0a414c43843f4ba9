// Where reading stopped in each log file, kept across polls of --follow and across runs
// (--cursor-file).  A file is known by its device and inode, so a rotated (renamed) file
// keeps its place; a file shorter than its offset was truncated and is read anew.
#ifndef ZELKLOG_TOOL_CURSOR_H
#define ZELKLOG_TOOL_CURSOR_H

#include "zelkLogRead.h"

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

namespace zelktool {

struct FilePlace {
    std::string path;    // where it was last seen
    int64_t offset = 0;  // end of the last record handed out; 0: nothing read yet
    std::string header;  // header text, kept because a resumed file skips its header
    bool seen = false;   // listed by the last query
};

class Cursor {
public:
    // Reads a cursor file; a missing file is an empty cursor.  Throws ToolError when the
    // file exists but cannot be read or is not a cursor.
    void load(const std::string &fileName);
    // Writes the cursor to `fileName` atomically (temporary file, fsync, rename, fsync of
    // the directory): after a failure the old file is whole.  Throws ToolError.
    void save(const std::string &fileName) const;

    // Before fetching from a new query: places each listed file at its offset (the entry's
    // savedOffset and headerText) and remembers which entry is which file.
    void attach(LogQuery &query);
    // After a record came out of `entry`: its end position becomes the file's offset.
    void advance(const LogFileEntry *entry);
    // Forgets the entries of the query (call before destroying it) and drops files that
    // the query no longer listed.
    void detach();
    bool changed() const { return changed_; }
    void clearChanged() { changed_ = false; }

private:
    using Key = std::pair<uint64_t, uint64_t>;  // device, inode
    std::map<Key, FilePlace> files_;
    std::unordered_map<const LogFileEntry *, FilePlace *> entries_;
    bool changed_ = false;
};

}  // namespace zelktool

#endif
