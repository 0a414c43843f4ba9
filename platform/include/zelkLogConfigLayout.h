/*
 * zelkLogConfigLayout.h - the sections and properties of the configuration stores that
 * the catalogue reads and writes and the logging core's configuration reader expects
 * (see docs/configuration.md for an example).
 *
 * Global store (at GetZelkLogCfgLoc()): one section per product, named by the product id
 * in decimal, plus the settings below.  A product's own store (its "ConfigPath"): one
 * section per originator, named by the originator id in decimal ("Default" for 112),
 * plus logset sections.
 */
#ifndef ZELKLOGCONFIGLAYOUT_H_
#define ZELKLOGCONFIGLAYOUT_H_

#define ZELKLOG_CFG_TOP "" /* the top of a store */

/* Product section of the global store */
#define ZELKLOG_CFG_NAMES "Names"                /* comma-separated names */
#define ZELKLOG_CFG_LOG_DIRECTORY "LogDirectory" /* directory of the product's log files */
#define ZELKLOG_CFG_CONFIG_PATH "ConfigPath"     /* location of the product's own store */
#define ZELKLOG_CFG_FORMAT_RESOURCE "FormatResource"

/* Originator section of a product's store */
#define ZELKLOG_CFG_FILE_ID "FileId"          /* file id of the originator's log files */
#define ZELKLOG_CFG_FILE_NAMES "FileNames"    /* comma-separated names of that file id */
#define ZELKLOG_CFG_DEFAULT_SECTION "Default" /* section of the default originator */
#define ZELKLOG_DEFAULT_ORIGINATOR 112u

/* Logsets: flat form (store path contains ".conf") and nested form */
#define ZELKLOG_CFG_LOGSET_PREFIX "LOGSET."
#define ZELKLOG_CFG_LOGSET_STORE_SUFFIX "\\LOGSET"

/* Settings of the global store */
#define ZELKLOG_CFG_JVM_PATH "JVMPath" /* at the top */
#define ZELKLOG_CFG_TOOLS_SECTION "LoggingTools"
#define ZELKLOG_CFG_TOOLS_RES_DIR "L10nResourceDir"

#endif /* ZELKLOGCONFIGLAYOUT_H_ */
