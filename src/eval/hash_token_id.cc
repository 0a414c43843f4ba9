// A 16-bit Fletcher checksum over a byte range, offered to other users of the library.
#include "zelkLogRead.h"

namespace {

// The largest block after which the 32-bit running sums still cannot overflow.
constexpr int32_t kBlock = 4012;

}  // namespace

extern "C" {

ZELKLOG_API uint32_t HashTokenID(const void *data, int32_t length, uint32_t /*reserved*/)
{
    if (data == nullptr || length <= 0)
        return 0;
    const auto *bytes = static_cast<const unsigned char *>(data);
    uint32_t sum1 = 0;
    uint32_t sum2 = 0;
    while (length > 0) {
        int32_t block = length < kBlock ? length : kBlock;
        length -= block;
        for (int32_t i = 0; i < block; ++i) {
            sum1 += *bytes++;
            sum2 += sum1;
        }
        sum1 %= 255;
        sum2 %= 255;
    }
    return (sum2 << 8) | sum1;
}

}  // extern "C"
