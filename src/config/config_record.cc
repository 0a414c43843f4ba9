// Edits of a product configuration record in memory; nothing is written to a store.
#include "src/core/zelkLogCore.h"

#include <cstring>

extern "C" {

// Names of 1024 characters or more do not fit the field with its terminator: they are
// refused with 3 and the record stays unchanged (a cut list would name other originators).
ZELKLOG_API uint32_t zelkLogCfgSetOIDNames(ZelkLogProductCfg *record, const char *names)
{
    if (record == nullptr || names == nullptr || *names == '\0')
        return ZELKLOG_RC_BAD_ARGUMENT;
    size_t length = strnlen(names, sizeof record->oidNames);
    if (length == sizeof record->oidNames)
        return ZELKLOG_RC_BAD_ARGUMENT;
    std::memset(record->oidNames, 0, sizeof record->oidNames);
    std::memcpy(record->oidNames, names, length);
    record->changeFlags |= ZELKLOG_CFG_OIDNAMES_SET;
    return ZELKLOG_RC_OK;
}

ZELKLOG_API uint32_t zelkLogCfgRemoveSettings(ZelkLogProductCfg *record, uint32_t flags)
{
    if (record == nullptr)
        return ZELKLOG_RC_BAD_ARGUMENT;
    record->removalFlags |= flags;
    return ZELKLOG_RC_OK;
}

}  // extern "C"
