// Parses under exhausted memory: this program's own zelkLogMalloc and zelkLogSafeStrdup
// take the place of the logging core's and refuse the n-th request.  Every parse must end
// with 0 or 4 and release all it built (the leak checker of the sanitizer build sees it).
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

long requestsLeft = -1;  // -1: never refuse

bool refuse()
{
    return requestsLeft >= 0 && requestsLeft-- == 0;
}

}  // namespace

extern "C" void *zelkLogMalloc(size_t size)
{
    return refuse() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

extern "C" char *zelkLogSafeStrdup(const char *text)
{
    if (text == nullptr || refuse())
        return nullptr;
    char *copy = static_cast<char *>(std::malloc(std::strlen(text) + 1));
    return copy != nullptr ? std::strcpy(copy, text) : nullptr;
}

namespace {

TEST(ParseWithoutMemory, EveryRequestMayFail)
{
    const char *query = "PID = 1 && HOSTNAME BETWEEN 'a' && 'b' || PREVTIME = '1:00' && 'x' = SUBJECT || "
                        "TID BETWEEN 1 && 9 && WHO != 'w'";
    for (long refused = 0;; ++refused) {
        QueryNode *root = nullptr;
        requestsLeft = refused;
        const uint32_t rc = parseQueryString(query, "en_US", &root);
        const bool allGranted = requestsLeft >= 0;
        requestsLeft = -1;
        if (allGranted) {
            ASSERT_EQ(rc, 0u);
            EXPECT_GT(refused, 30);  // one request per node, text and copy
            removeTree(root);
            break;
        }
        EXPECT_EQ(rc, ZELKLOG_RC_NO_MEMORY) << "request " << refused;
        EXPECT_EQ(root, nullptr);
    }
}

}  // namespace
