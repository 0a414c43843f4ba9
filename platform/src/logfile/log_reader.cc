// readrecord: one record's text at a time from a log file, through the read-ahead
// buffer in the handle's area (one read system call per buffer, not per record).
#include "platform/src/logfile/log_format.h"
#include "platform/src/logfile/read_state.h"

#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>

namespace zelk::core::logfile {
namespace {

class Reader {
public:
    explicit Reader(LogOsFile *file)
        : file_(file), data_(reinterpret_cast<unsigned char *>(file->area) + kStateSize)
    {
    }

    // Brings the bookkeeping in line with the handle; false when the position is unknown.
    bool attach();
    // 1 with the next record's text in `message`, 0 when there is none (yet).
    int next(textMessage *message);
    void detach()
    {
        file_->readerState = int32_t(s_.end - s_.begin);
        storeState(file_, s_);
    }

private:
    enum class Frame { Good, Broken, Incomplete };

    size_t avail() const { return s_.end - s_.begin; }
    const unsigned char *at(size_t index) const { return data_ + index; }
    bool fill(size_t need);
    Frame frameAt(size_t index) const;
    bool completeFrameAfter(size_t from) const;
    int resync(textMessage *message, size_t brokenLength);
    void discardTo(size_t index, textMessage *message, size_t *captured);
    static int deliver(textMessage *message, const unsigned char *text, size_t length);

    LogOsFile *file_;
    unsigned char *data_;
    size_t capacity_ = kDataCapacity;
    ReadState s_{};
    bool eof_ = false;
};

bool Reader::attach()
{
    ReadState loaded = loadState(file_);
    s_ = loaded.magic == kReadStateMagic ? loaded : freshState();
    // A file read straight through uses the area's first two pages (a query over many
    // files then costs little memory) until it proves long; one that keeps being set
    // aside while others are read uses the whole area, so that its kept bytes last, and
    // so does a long file, so that it is read with a quarter of the system calls.
    size_t intoPage = size_t(reinterpret_cast<uintptr_t>(data_) & 4095);
    capacity_ = s_.asides >= 2 || s_.endOffset >= kLongFile
                    ? kDataCapacity
                    : 8192 - intoPage + (8192 - intoPage < kMaxFrame ? 4096 : 0);
    int32_t ahead = file_->readerState;
    if (ahead < 0)
        s_.flags |= kReportCorrupt;
    bool keep = ahead > 0 && s_.endOffset >= 0 && s_.end <= kDataCapacity && s_.begin <= s_.end &&
                uint32_t(ahead) == s_.end - s_.begin;
    if (keep)
        return true;
    // Someone else moved the descriptor or the read-ahead count: start from the
    // handle's logical position with an empty buffer.
    off_t position = lseek(file_->fd, ahead > 0 ? -off_t(ahead) : 0, SEEK_CUR);
    s_.begin = s_.end = 0;
    // The first read stays in the area's first page, which the entry's head already uses
    // (unless little of it is left): a query over many files holds these bytes for every
    // file while it reads one record of each.
    s_.chunk = uint32_t(4096 - intoPage < 1024 ? 8192 - intoPage : 4096 - intoPage);
    if (position < 0) {
        s_.endOffset = -1;
        return false;
    }
    if (position < off_t(kHeaderSize)) {
        position = lseek(file_->fd, off_t(kHeaderSize), SEEK_SET);
        if (position < 0) {
            s_.endOffset = -1;
            return false;
        }
    }
    s_.endOffset = position;
    if (position > off_t(kHeaderSize))
        s_.chunk = uint32_t(kDataCapacity);  // resumed: its unread bytes will be kept
    return true;
}

// Makes at least `need` bytes available, reading as much as the buffer takes.
bool Reader::fill(size_t need)
{
    if (avail() >= need)
        return true;
    if (s_.begin > 0 && s_.begin + need > capacity_) {
        std::memmove(data_, data_ + s_.begin, avail());
        s_.end -= s_.begin;
        s_.begin = 0;
    }
    while (avail() < need && !eof_) {
        size_t want = std::min(capacity_ - std::min(capacity_, size_t(s_.end)),
                               std::max(size_t(s_.chunk), need - avail()));
        if (s_.chunk < kDataCapacity)
            s_.chunk *= 2;  // reading on: soon whole buffers
        ssize_t n = ::read(file_->fd, data_ + s_.end, want);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            eof_ = true;  // end of file and read errors alike: no more bytes for now
            break;
        }
        s_.end += uint32_t(n);
        s_.endOffset += n;
    }
    return avail() >= need;
}

Reader::Frame Reader::frameAt(size_t index) const
{
    assert(index <= s_.end && s_.end <= kDataCapacity);
    size_t have = s_.end - index;
    const unsigned char *p = at(index);
    if (have < 1)
        return Frame::Incomplete;
    if (p[0] != kFrameMark0)
        return Frame::Broken;
    if (have < 2)
        return Frame::Incomplete;
    if (p[1] != kFrameMark1)
        return Frame::Broken;
    if (have < kFrameHeader)
        return Frame::Incomplete;
    size_t length = load16(p + 2);
    if (length == 0 || length > kMaxText)
        return Frame::Broken;
    if (have < kFrameHeader + length)
        return Frame::Incomplete;
    assert(index + kFrameHeader + length <= kDataCapacity);
    return load32(p + 4) == frameChecksum(p + kFrameHeader, length) ? Frame::Good : Frame::Broken;
}

// True when a whole, valid frame starts somewhere in [from, end): the bytes before it
// can then never become a record, as appends only ever follow them.
bool Reader::completeFrameAfter(size_t from) const
{
    for (size_t i = from; i < s_.end; ++i) {
        const void *mark = std::memchr(at(i), kFrameMark0, s_.end - i);
        if (mark == nullptr)
            return false;
        i = size_t(static_cast<const unsigned char *>(mark) - data_);
        if (frameAt(i) == Frame::Good)
            return true;
    }
    return false;
}

int Reader::deliver(textMessage *message, const unsigned char *text, size_t length)
{
    std::memcpy(message->buffer, text, length);
    message->buffer[length] = '\0';
    message->text = message->buffer;
    return 1;
}

// Drops the bytes before `index`; with a message, the first of them are kept as the
// text of the damaged stretch.
void Reader::discardTo(size_t index, textMessage *message, size_t *captured)
{
    if (message != nullptr && *captured < kMaxText) {
        size_t take = std::min(index - s_.begin, kMaxText - *captured);
        std::memcpy(message->buffer + *captured, at(s_.begin), take);
        *captured += take;
    }
    s_.begin = uint32_t(index);
}

// The frame at `begin` is damaged.  Skips byte by byte to the next valid frame, or to
// a frame that a writer may still complete (a damaged length cannot make it skip good
// records).  In report mode the damaged stretch is handed out as one record: the text
// of a frame whose framing is intact (`framedLength` bytes), else the raw bytes up to
// the next frame, at most 4095 of them.
int Reader::resync(textMessage *message, size_t framedLength)
{
    bool report = (s_.flags & kReportCorrupt) != 0;
    size_t captured = 0;
    bool capture = report;
    if (report && framedLength > 0) {
        deliver(message, at(s_.begin + kFrameHeader), framedLength);
        captured = framedLength;
        capture = false;
    }
    size_t scan = s_.begin + 1;
    for (;;) {
        const void *mark = scan < s_.end ? std::memchr(at(scan), kFrameMark0, s_.end - scan) : nullptr;
        if (mark == nullptr) {
            discardTo(s_.end, capture ? message : nullptr, &captured);
            if (!fill(1))
                break;  // damaged up to the end of the file
            scan = s_.begin;
            continue;
        }
        scan = size_t(static_cast<const unsigned char *>(mark) - data_);
        Frame frame = frameAt(scan);
        if (frame == Frame::Incomplete) {
            discardTo(scan, capture ? message : nullptr, &captured);
            bool whole = fill(kMaxFrame);
            scan = s_.begin;  // the refill may have moved the unread bytes to the start
            if (whole)
                continue;
            frame = frameAt(scan);
            if (frame == Frame::Incomplete && !completeFrameAfter(scan + 1))
                break;  // a frame that a writer may still complete: wait here
        }
        if (frame == Frame::Good) {
            discardTo(scan, capture ? message : nullptr, &captured);
            break;
        }
        ++scan;
    }
    if (report && captured > 0) {
        message->buffer[captured] = '\0';
        message->text = message->buffer;
        return 1;
    }
    return avail() > 0 && frameAt(s_.begin) == Frame::Good ? -1 : 0;
}

int Reader::next(textMessage *message)
{
    for (;;) {
        if (!fill(kFrameHeader) && avail() == 0)
            return 0;
        Frame frame = frameAt(s_.begin);
        size_t length = avail() >= kFrameHeader ? load16(at(s_.begin + 2)) : 0;
        if (frame == Frame::Incomplete) {
            if (fill(avail() >= kFrameHeader ? kFrameHeader + length : kFrameHeader))
                continue;
            // The file ends inside this frame.  A writer may still be completing it,
            // unless a whole frame follows it: then it was torn and is damaged.
            if (!completeFrameAfter(s_.begin + 1))
                return 0;
            frame = Frame::Broken;
            length = 0;
        }
        if (frame == Frame::Good) {
            int result = deliver(message, at(s_.begin + kFrameHeader), length);
            s_.begin += uint32_t(kFrameHeader + length);
            return result;
        }
        // Damaged: the report shows a frame's own text when its framing is whole.
        const unsigned char *p = at(s_.begin);
        bool framed = avail() >= kFrameHeader && p[0] == kFrameMark0 && p[1] == kFrameMark1 && length > 0 &&
                      length <= kMaxText && avail() >= kFrameHeader + length;
        int result = resync(message, framed ? length : 0);
        if (result >= 0)
            return result;
    }
}

// The usual call: the buffer still holds the bytes the last call left (the handle's
// count agrees) and they begin with a whole, valid frame.  Delivers it exactly as
// attach() and next() would; false, with nothing changed, for every other case.
bool nextBufferedFrame(LogOsFile *file, textMessage *message)
{
    ReadState s = loadState(file);
    const int32_t ahead = file->readerState;
    if (s.magic != kReadStateMagic || ahead < int32_t(kFrameHeader) || s.endOffset < 0 ||
        s.end > kDataCapacity || s.begin > s.end || uint32_t(ahead) != s.end - s.begin)
        return false;
    const unsigned char *p = reinterpret_cast<const unsigned char *>(file->area) + kStateSize + s.begin;
    const size_t length = load16(p + 2);
    if (p[0] != kFrameMark0 || p[1] != kFrameMark1 || length == 0 || length > kMaxText ||
        size_t(ahead) < kFrameHeader + length || load32(p + 4) != frameChecksum(p + kFrameHeader, length))
        return false;
    std::memcpy(message->buffer, p + kFrameHeader, length);
    message->buffer[length] = '\0';
    message->text = message->buffer;
    s.begin += uint32_t(kFrameHeader + length);
    file->readerState = int32_t(s.end - s.begin);
    storeState(file, s);
    return true;
}

}  // namespace
}  // namespace zelk::core::logfile

extern "C" {

// 1 when one record's text was read: NUL-terminated in message->buffer, message->text
// pointing at it, the handle's logical position just behind the record.  0 at the end
// of the file, before a record that a writer has not finished, and on read errors.
ZELKLOG_API int readrecord(LogOsFile *file, textMessage *message)
{
    if (file == nullptr || message == nullptr || file->fd < 0)
        return 0;
    if (zelk::core::logfile::nextBufferedFrame(file, message))
        return 1;
    zelk::core::logfile::Reader reader(file);
    if (!reader.attach()) {
        reader.detach();
        return 0;
    }
    int result = reader.next(message);
    reader.detach();
    return result;
}

}  // extern "C"
