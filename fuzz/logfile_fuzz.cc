// Fuzzes the log-file reader.  The first byte picks how the input becomes a file:
//   0: the whole rest is the file;
//   1: a valid header (format from the second byte) followed by the rest as raw bytes;
//   2: a valid header followed by the rest cut at NUL bytes into pieces, each written as
//      a well-formed frame (right marker, length and checksum), so that the decoder is
//      reached with arbitrary record texts;
//   3: a header whose fields after the magic come from the input, with its checksum
//      made right, followed by well-formed frames as in 2.
// The file is then read to its end twice, once skipping damage (reader-state word 0)
// and once handing damage out as records (-1), and every record is decoded and released.
// Each pass then goes back to the positions it found behind its records, as a merging
// reader does, and reads one record from each.
#include "src/core/zelkLogCore.h"

#include <xxhash.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

// Under $TMPDIR (scripts/fuzz.sh points it at a memory file system: every run writes
// a file), else /tmp.
std::string gDirectory;
std::string gPath;

void put32(std::string &out, size_t at, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        out[at + i] = static_cast<char>(value >> (8 * i));
}

void sealHeader(std::string &out)
{
    std::memcpy(&out[0], "ZELKLOG\x1a", 8);
    put32(out, 8, 544);
    XXH64_hash_t seed = XXH3_64bits(out.data(), 16);
    put32(out, 536, static_cast<uint32_t>(XXH3_64bits_withSeed(out.data() + 20, 516, seed)));
}

std::string header(uint32_t format)
{
    std::string out(544, '\0');
    put32(out, 12, format);
    const char text[] = "fuzz header";
    put32(out, 20, sizeof text - 1);
    std::memcpy(&out[24], text, sizeof text - 1);
    sealHeader(out);
    return out;
}

void appendFrame(std::string &out, const uint8_t *text, size_t length)
{
    if (length == 0)
        return;
    if (length > 4095)
        length = 4095;
    size_t at = out.size();
    out.append(8, '\0');
    out[at] = static_cast<char>(0xF5);
    out[at + 1] = 'R';
    out[at + 2] = static_cast<char>(length & 0xFF);
    out[at + 3] = static_cast<char>(length >> 8);
    put32(out, at + 4, static_cast<uint32_t>(XXH3_64bits_withSeed(text, length, length)));
    out.append(reinterpret_cast<const char *>(text), length);
}

void writeFile(const std::string &bytes)
{
    FILE *file = std::fopen(gPath.c_str(), "wb");
    if (file == nullptr)
        std::abort();
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
}

void cleanUp()
{
    unlink(gPath.c_str());
    rmdir(gDirectory.c_str());
}

// Reads and decodes one record; false at the end of the readable records.
bool readOne(LogFileEntry &entry)
{
    static textMessage message;
    init_text_msg(&message);
    if (readrecord(&entry.file, &message) != 1)
        return false;
    ZelkLogMsg record;
    std::memset(&record, 0, sizeof record);
    record.format = entry.format;
    if (zelkLogMsgUnserialize(&message, &record) == ZELKLOG_RC_OK)
        free_text_msg(&message);
    zelkLogFreeMsg(&record);
    return true;
}

void readAll(int32_t readerState)
{
    static LogFileEntry entry;
    static ZelkLogFileHeader fileHeader;
    std::memset(&entry, 0, sizeof entry);
    entry.file.fd = -1;
    if (zelkLogOs_open(&entry.file, gPath.c_str(), 1, 0660) != 0)
        std::abort();
    entry.file.readerState = readerState;
    uint32_t code = ReadHeader(&entry, &fileHeader);
    entry.format = code == 0 || code == ZELKLOG_RC_HEADER_NOTICE ? fileHeader.format : ZELKLOG_FORMAT_10006;

    int64_t positions[64];
    size_t count = 0;
    while (readOne(entry)) {
        if (count < sizeof positions / sizeof positions[0])
            positions[count++] = zelkLogOs_getFileOffset(&entry.file);
    }
    for (size_t i = 0; i < count; ++i) {
        if (zelkLogOs_seek(&entry.file, positions[i]) == 0)
            readOne(entry);
    }
    zelkLogOs_close(&entry.file);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    const char *base = std::getenv("TMPDIR");
    gDirectory = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/zelk-logfile-fuzz-XXXXXX";
    if (mkdtemp(gDirectory.data()) == nullptr)
        std::abort();
    gPath = gDirectory + "/fuzz.log";
    std::atexit(cleanUp);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const unsigned mode = data[0] % 4;
    std::string bytes;
    if (mode == 0) {
        bytes.assign(reinterpret_cast<const char *>(data + 1), size - 1);
    } else {
        const uint8_t *rest = data + 2;
        const uint8_t *end = data + size;
        if (mode == 3) {
            // Fields from offset 12 on (format, writer count, text length, text).
            bytes.assign(544, '\0');
            size_t taken = std::min<size_t>(static_cast<size_t>(end - (data + 1)), 544 - 12);
            std::memcpy(&bytes[12], data + 1, taken);
            sealHeader(bytes);
            rest = data + 1 + taken;
        } else {
            bytes = header(ZELKLOG_FORMAT_10004 + data[1] % 5);
        }
        if (mode == 1) {
            bytes.append(reinterpret_cast<const char *>(rest), static_cast<size_t>(end - rest));
        } else {
            while (rest < end) {
                const void *nul = std::memchr(rest, 0, static_cast<size_t>(end - rest));
                const uint8_t *stop = nul != nullptr ? static_cast<const uint8_t *>(nul) : end;
                appendFrame(bytes, rest, static_cast<size_t>(stop - rest));
                rest = stop + (stop < end ? 1 : 0);
            }
        }
    }
    writeFile(bytes);
    readAll(0);
    readAll(-1);
    return 0;
}
