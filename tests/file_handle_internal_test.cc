// The file-handle helpers and the exported Fletcher checksum.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

// A temporary file of `size` bytes, removed with the fixture.
class TempFile : public ::testing::Test {
protected:
    void SetUp() override
    {
        char name[] = "/tmp/zelk_handle_XXXXXX";
        fd_ = mkstemp(name);
        ASSERT_GE(fd_, 0);
        path_ = name;
        std::string bytes(10000, 'x');
        ASSERT_EQ(write(fd_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        handle_ = std::make_unique<LogOsFile>();
        handle_->fd = fd_;
        handle_->readerState = 0;
    }
    void TearDown() override
    {
        close(fd_);
        unlink(path_.c_str());
    }
    int fd_ = -1;
    std::string path_;
    std::unique_ptr<LogOsFile> handle_;
};

TEST(FileHandle, OnlyMinusOneCountsAsNotOpen)
{
    auto file = std::make_unique<LogOsFile>();
    file->fd = 0;
    EXPECT_EQ(zelkLogOs_isvalidfilehandle(file.get()), 1);
    file->fd = -1;
    EXPECT_EQ(zelkLogOs_isvalidfilehandle(file.get()), 0);
    EXPECT_EQ(zelkLogOs_isvalidfilehandle(nullptr), 0);
}

TEST(FileHandle, NullHandleAndClosedDescriptor)
{
    EXPECT_EQ(zelkLogOs_seek(nullptr, 0), -3);
    EXPECT_EQ(zelkLogOs_getFileOffset(nullptr), -3);
    auto file = std::make_unique<LogOsFile>();
    file->fd = -1;
    file->readerState = 7;
    EXPECT_EQ(zelkLogOs_seek(file.get(), 10), -1);
    EXPECT_EQ(file->readerState, 7) << "a failed seek keeps the read-ahead";
    EXPECT_EQ(zelkLogOs_getFileOffset(file.get()), -1);
}

TEST_F(TempFile, OffsetSubtractsTheReadAhead)
{
    ASSERT_EQ(lseek(fd_, 5000, SEEK_SET), 5000);
    struct Case {
        int32_t readerState;
        int64_t expected;
    } cases[] = {{0, 5000}, {1200, 3800}, {-1, 5000}, {-40000, 5000}};
    for (const Case &c : cases) {
        handle_->readerState = c.readerState;
        EXPECT_EQ(zelkLogOs_getFileOffset(handle_.get()), c.expected) << "readerState " << c.readerState;
    }
}

TEST_F(TempFile, SeekIsAbsoluteAndDropsTheReadAhead)
{
    handle_->readerState = 300;
    ASSERT_EQ(zelkLogOs_seek(handle_.get(), 1234), 0);
    EXPECT_EQ(handle_->readerState, 0);
    EXPECT_EQ(zelkLogOs_getFileOffset(handle_.get()), 1234);
    ASSERT_EQ(zelkLogOs_seek(handle_.get(), 17), 0);
    EXPECT_EQ(zelkLogOs_getFileOffset(handle_.get()), 17);
    EXPECT_EQ(zelkLogOs_seek(handle_.get(), -5), -1);
    EXPECT_EQ(zelkLogOs_getFileOffset(handle_.get()), 17);
}

// Reference: the checksum with both sums reduced after every byte.
uint32_t fletcherByByte(const std::vector<unsigned char> &bytes)
{
    uint32_t a = 0, b = 0;
    for (unsigned char byte : bytes) {
        a = (a + byte) % 255;
        b = (b + a) % 255;
    }
    return b * 256 + a;
}

TEST(HashTokenID, KnownValues)
{
    EXPECT_EQ(HashTokenID("", 0, 0), 0u);
    EXPECT_EQ(HashTokenID("abcde", 5, 0), 0xC8F0u);
    EXPECT_EQ(HashTokenID("abcde", 5, 12345), 0xC8F0u) << "the third argument plays no part";
    EXPECT_EQ(HashTokenID("abcde", -3, 0), 0u);
    EXPECT_EQ(HashTokenID(nullptr, 5, 0), 0u);
}

TEST(HashTokenID, LongInputsMatchPerByteReduction)
{
    // All 0xFF is the worst case for the running sums; lengths around the block size too.
    for (size_t length : {4011u, 4012u, 4013u, 5000u, 100000u}) {
        std::vector<unsigned char> ones(length, 0xFF);
        EXPECT_EQ(HashTokenID(ones.data(), static_cast<int32_t>(length), 0), fletcherByByte(ones))
            << length << " bytes of 0xFF";
        std::vector<unsigned char> mixed(length);
        for (size_t i = 0; i < length; ++i)
            mixed[i] = static_cast<unsigned char>(i * 131 + 7);
        uint32_t hash = HashTokenID(mixed.data(), static_cast<int32_t>(length), 0);
        EXPECT_EQ(hash, fletcherByByte(mixed)) << length << " mixed bytes";
        EXPECT_LE(hash, 65278u);
    }
}

}  // namespace
