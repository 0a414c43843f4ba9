// Buffered standard output: one large buffer written with write(2); a closed reader
// (EPIPE) ends the program quietly.
#ifndef ZELKLOG_TOOL_OUTPUT_H
#define ZELKLOG_TOOL_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace zelktool {

// Thrown when the reader of standard output has gone away.
struct BrokenPipe {};

class Output {
public:
    explicit Output(int fd = 1) : fd_(fd) {}
    ~Output();
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    void write(const char *data, size_t length)
    {
        if (length > kCapacity - used_) {
            flush();
            if (length > kCapacity) {
                writeAll(data, length);
                return;
            }
        }
        std::memcpy(buffer_ + used_, data, length);
        used_ += length;
    }
    void write(std::string_view text) { write(text.data(), text.size()); }
    void put(char c)
    {
        if (used_ == kCapacity)
            flush();
        buffer_[used_++] = c;
    }
    // Room for at least `length` bytes, to be committed with commit().
    char *reserve(size_t length)
    {
        if (length > kCapacity - used_)
            flush();
        return buffer_ + used_;
    }
    void commit(size_t length) { used_ += length; }
    void writeUnsigned(uint64_t value);
    void writeSigned(int64_t value);
    void flush();

    static constexpr size_t kCapacity = 1 << 18;

private:
    void writeAll(const char *data, size_t length);
    int fd_;
    size_t used_ = 0;
    char buffer_[kCapacity];
};

}  // namespace zelktool

#endif
