// Freezes the x86-64 layout of every record that crosses the public interface: a change
// of field order, type or padding breaks the build here instead of breaking callers.
#include "zelkLogRead.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

// Field types that a size and offset alone would not catch (signedness).
static_assert(std::is_same_v<decltype(ZelkLogMsg::timeMs), int64_t>);
static_assert(std::is_same_v<decltype(ZelkLogMsg::kind), uint32_t>);
static_assert(std::is_same_v<decltype(ZelkLogMsgKindData::returnValue), int32_t>);
static_assert(std::is_same_v<decltype(ZelkLogMsgArgValue::sizedInt.value), int64_t>);
static_assert(std::is_same_v<decltype(ZelkLogMsgArgValue::sizedUInt.value), uint64_t>);
static_assert(std::is_same_v<decltype(ZelkLogMsgArgValue::sizedInt.size), uint16_t>);
static_assert(std::is_same_v<decltype(ZelkLogMsgArg::type), uint32_t>);
static_assert(std::is_same_v<decltype(QueryNode::kind), int32_t>);
static_assert(std::is_same_v<decltype(LogOsFile::fd), int32_t>);
static_assert(std::is_same_v<decltype(textMessage::text), char *>);
static_assert(sizeof(wchar_t) == 4);

static_assert(sizeof(ZelkLogMsgArgValue) == 16 && alignof(ZelkLogMsgArgValue) == 8);
static_assert(offsetof(ZelkLogMsgArgValue, wideChar) == 0);
static_assert(offsetof(ZelkLogMsgArgValue, sizedInt.size) == 0);
static_assert(offsetof(ZelkLogMsgArgValue, sizedInt.value) == 8);
static_assert(offsetof(ZelkLogMsgArgValue, sizedUInt.size) == 0);
static_assert(offsetof(ZelkLogMsgArgValue, sizedUInt.value) == 8);
static_assert(offsetof(ZelkLogMsgArgValue, real) == 0);
static_assert(offsetof(ZelkLogMsgArgValue, uint64) == 0);
static_assert(offsetof(ZelkLogMsgArgValue, wideString) == 0);
static_assert(offsetof(ZelkLogMsgArgValue, int64) == 0);
static_assert(offsetof(ZelkLogMsgArgValue, list) == 0);
static_assert(offsetof(ZelkLogMsgArgValue, string) == 0);

static_assert(sizeof(ZelkLogMsgArg) == 24 && alignof(ZelkLogMsgArg) == 8);
static_assert(offsetof(ZelkLogMsgArg, type) == 0);
static_assert(offsetof(ZelkLogMsgArg, ownsValue) == 4);
static_assert(offsetof(ZelkLogMsgArg, value) == 8);

static_assert(sizeof(ZelkLogMsgArgList) == 24 && alignof(ZelkLogMsgArgList) == 8);
static_assert(offsetof(ZelkLogMsgArgList, msgId) == 0);
static_assert(offsetof(ZelkLogMsgArgList, listInfo) == 8);
static_assert(offsetof(ZelkLogMsgArgList, args) == 16);

static_assert(sizeof(ZelkLogMsgKindData) == 24 && alignof(ZelkLogMsgKindData) == 8);
static_assert(offsetof(ZelkLogMsgKindData, first.level) == 0);
static_assert(offsetof(ZelkLogMsgKindData, first.severity) == 0);
static_assert(offsetof(ZelkLogMsgKindData, first.contextText) == 0);
static_assert(offsetof(ZelkLogMsgKindData, second.who) == 8);
static_assert(offsetof(ZelkLogMsgKindData, second.subject) == 8);
static_assert(offsetof(ZelkLogMsgKindData, returnValue) == 16);

static_assert(sizeof(ZelkLogMsg) == 1688 && alignof(ZelkLogMsg) == 8);
static_assert(offsetof(ZelkLogMsg, marker) == 0);
static_assert(offsetof(ZelkLogMsg, format) == 8);
static_assert(offsetof(ZelkLogMsg, kind) == 16);
static_assert(offsetof(ZelkLogMsg, productId) == 24);
static_assert(offsetof(ZelkLogMsg, originatorId) == 32);
static_assert(offsetof(ZelkLogMsg, fileId) == 40);
static_assert(offsetof(ZelkLogMsg, auxNumber) == 48);
static_assert(offsetof(ZelkLogMsg, timeMs) == 56);
static_assert(offsetof(ZelkLogMsg, pid) == 64);
static_assert(offsetof(ZelkLogMsg, tid) == 72);
static_assert(offsetof(ZelkLogMsg, contextToken) == 80);
static_assert(offsetof(ZelkLogMsg, auxText) == 88);
static_assert(offsetof(ZelkLogMsg, fileHeaderText) == 96);
static_assert(offsetof(ZelkLogMsg, logsetName) == 608);
static_assert(offsetof(ZelkLogMsg, kindData) == 1640);
static_assert(offsetof(ZelkLogMsg, args) == 1664);

static_assert(sizeof(QueryNode) == 40 && alignof(QueryNode) == 8);
static_assert(offsetof(QueryNode, kind) == 0);
static_assert(offsetof(QueryNode, visitMark) == 4);
static_assert(offsetof(QueryNode, value) == 8);
static_assert(offsetof(QueryNode, locale) == 16);
static_assert(offsetof(QueryNode, left) == 24);
static_assert(offsetof(QueryNode, right) == 32);

static_assert(sizeof(QueryParseContext) == 32 && alignof(QueryParseContext) == 8);
static_assert(offsetof(QueryParseContext, resultTree) == 0);
static_assert(offsetof(QueryParseContext, locale) == 8);
static_assert(offsetof(QueryParseContext, abortCode) == 16);
static_assert(offsetof(QueryParseContext, operatorCount) == 20);
static_assert(offsetof(QueryParseContext, pendingText) == 24);

static_assert(sizeof(LogOsFile) == 32776 && alignof(LogOsFile) == 4);
static_assert(offsetof(LogOsFile, fd) == 0);
static_assert(offsetof(LogOsFile, area) == 4);
static_assert(offsetof(LogOsFile, readerState) == 32772);

static_assert(sizeof(textMessage) == 4104 && alignof(textMessage) == 8);
static_assert(offsetof(textMessage, buffer) == 0);
static_assert(offsetof(textMessage, text) == 4096);

static_assert(sizeof(ZelkLogLocalizerList) == 16 && alignof(ZelkLogLocalizerList) == 8);
static_assert(offsetof(ZelkLogLocalizerList, first) == 0);
static_assert(offsetof(ZelkLogLocalizerList, count) == 8);

static_assert(sizeof(ZelkLogProductCfg) == 2072 && alignof(ZelkLogProductCfg) == 8);
static_assert(offsetof(ZelkLogProductCfg, logDirectory) == 0);
static_assert(offsetof(ZelkLogProductCfg, oidNames) == 1024);
static_assert(offsetof(ZelkLogProductCfg, formatResource) == 2048);
static_assert(offsetof(ZelkLogProductCfg, changeFlags) == 2056);
static_assert(offsetof(ZelkLogProductCfg, removalFlags) == 2060);
static_assert(offsetof(ZelkLogProductCfg, coreData) == 2064);

static_assert(sizeof(ContextTitleEntry) == 40 && alignof(ContextTitleEntry) == 8);
static_assert(offsetof(ContextTitleEntry, next) == 0);
static_assert(offsetof(ContextTitleEntry, productId) == 8);
static_assert(offsetof(ContextTitleEntry, originatorId) == 16);
static_assert(offsetof(ContextTitleEntry, token) == 24);
static_assert(offsetof(ContextTitleEntry, title) == 32);

static_assert(sizeof(LogFileEntry) == 36304 && alignof(LogFileEntry) == 8);
static_assert(offsetof(LogFileEntry, next) == 0);
static_assert(offsetof(LogFileEntry, format) == 8);
static_assert(offsetof(LogFileEntry, file) == 16);
static_assert(offsetof(LogFileEntry, pending) == 32792);
static_assert(offsetof(LogFileEntry, coreWord1) == 34480);
static_assert(offsetof(LogFileEntry, coreWord2) == 34488);
static_assert(offsetof(LogFileEntry, savedOffset) == 34496);
static_assert(offsetof(LogFileEntry, headerText) == 34504);
static_assert(offsetof(LogFileEntry, logDirectory) == 35016);
static_assert(offsetof(LogFileEntry, fileName) == 36041);

static_assert(sizeof(LogQuery) == 1656 && alignof(LogQuery) == 8);
static_assert(offsetof(LogQuery, headerNotice) == 0);
static_assert(offsetof(LogQuery, currentFile) == 8);
static_assert(offsetof(LogQuery, reserved) == 16);
static_assert(offsetof(LogQuery, root) == 24);
static_assert(offsetof(LogQuery, contextTitles) == 32);
static_assert(offsetof(LogQuery, localizers) == 1632);
static_assert(offsetof(LogQuery, formatResource) == 1648);

// Everything above is checked by the compiler; this keeps the program a visible test.
TEST(Layout, FrozenAtCompileTime)
{
    SUCCEED();
}
