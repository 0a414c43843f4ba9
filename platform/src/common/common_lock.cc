// The process-wide common lock.  The tag names the holder for diagnostics only: the
// last holder's tag is kept so a debugger shows who holds the lock.
#include "src/core/zelkLogCore.h"

#include <mutex>

namespace {
std::mutex commonLock;
const char *volatile commonLockHolder = nullptr;
}  // namespace

extern "C" {

ZELKLOG_API void zelkLockCommon(const char *tag)
{
    commonLock.lock();
    commonLockHolder = tag;
}

ZELKLOG_API void zelkUnlockCommon(const char * /*tag*/)
{
    commonLockHolder = nullptr;
    commonLock.unlock();
}

}  // extern "C"
