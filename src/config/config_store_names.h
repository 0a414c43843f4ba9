// Sections and properties of the configuration stores that the catalogue reads and
// writes (see docs/configuration.md).
#ifndef ZELKLOG_CONFIG_STORE_NAMES_H
#define ZELKLOG_CONFIG_STORE_NAMES_H

#include <cstdint>

namespace zelk::config {

constexpr const char *kTop = "";                    // the top of a store
constexpr const char *kNames = "Names";             // a product's names (global store)
constexpr const char *kDefaultSection = "Default";  // the default originator's section
constexpr uint64_t kDefaultOriginator = 112;
constexpr const char *kJvmPath = "JVMPath";            // global store, top
constexpr const char *kToolsSection = "LoggingTools";  // global store
constexpr const char *kToolsResDir = "L10nResourceDir";
constexpr const char *kLogSetPrefix = "LOGSET.";        // flat logset section prefix
constexpr const char *kLogSetStoreSuffix = "\\LOGSET";  // nested logset store suffix
constexpr unsigned kSectionBuffer = 80;                 // enumerated section names

}  // namespace zelk::config

#endif
