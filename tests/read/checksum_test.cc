// The exported Fletcher checksum.  (The file-handle helpers are exercised by the log-file
// reader's position tests and the merged fetch, which closes and reopens files.)
#include "zelkLogRead.h"

#include <gtest/gtest.h>

namespace {

TEST(HashTokenID, FletcherSums)
{
    EXPECT_EQ(HashTokenID("", 0, 0), 0u);
    EXPECT_EQ(HashTokenID("abcde", 5, 0), 0xC8F0u);
    EXPECT_EQ(HashTokenID("abcde", 5, 12345), 0xC8F0u) << "the third argument plays no part";
    EXPECT_EQ(HashTokenID("abcde", -3, 0), 0u);
    EXPECT_EQ(HashTokenID(nullptr, 5, 0), 0u);
}

}  // namespace
