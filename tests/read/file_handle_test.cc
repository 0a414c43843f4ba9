// The file-handle helpers and the exported Fletcher checksum.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <memory>

namespace {

TEST(FileHandle, ValidityPositionAndReadAhead)
{
    auto file = std::make_unique<LogOsFile>();
    file->fd = 0;
    EXPECT_EQ(zelkLogOs_isvalidfilehandle(file.get()), 1) << "only -1 counts as not open";
    file->fd = -1;
    file->readerState = 7;
    EXPECT_EQ(zelkLogOs_isvalidfilehandle(file.get()), 0);
    EXPECT_EQ(zelkLogOs_getFileOffset(nullptr), -3);
    EXPECT_EQ(zelkLogOs_seek(file.get(), 10), -1);
    EXPECT_EQ(file->readerState, 7) << "a failed seek keeps the read-ahead";
    EXPECT_EQ(zelkLogOs_getFileOffset(file.get()), -1);

    // Positions with read-ahead are checked by the log-file reader's tests; the report
    // mode's state -1 holds no read-ahead.
    FILE *temporary = tmpfile();
    ASSERT_NE(temporary, nullptr);
    file->fd = fileno(temporary);
    ASSERT_EQ(ftruncate(file->fd, 10000), 0);
    ASSERT_EQ(zelkLogOs_seek(file.get(), 5000), 0);
    EXPECT_EQ(file->readerState, 0) << "a seek drops the read-ahead";
    file->readerState = -1;
    EXPECT_EQ(zelkLogOs_getFileOffset(file.get()), 5000);
    fclose(temporary);
}

TEST(HashTokenID, FletcherSums)
{
    EXPECT_EQ(HashTokenID("", 0, 0), 0u);
    EXPECT_EQ(HashTokenID("abcde", 5, 0), 0xC8F0u);
    EXPECT_EQ(HashTokenID("abcde", 5, 12345), 0xC8F0u) << "the third argument plays no part";
    EXPECT_EQ(HashTokenID("abcde", -3, 0), 0u);
    EXPECT_EQ(HashTokenID(nullptr, 5, 0), 0u);
}

}  // namespace
