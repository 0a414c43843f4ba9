/*
 * zelkLogPropertyStore.h - the stand-in property store's own settings.  The store codes
 * (UTI_PS_*) and operations are those of the boundary header src/core/zelkLogCore.h;
 * the section and property names are in zelkLogConfigLayout.h beside this header.
 *
 * A store is one text file in INI form; see docs/configuration.md for the format, the
 * locking and the mapping of the store codes to library result codes
 * (utipsres2zelklogres).
 */
#ifndef ZELKLOGPROPERTYSTORE_H_
#define ZELKLOGPROPERTYSTORE_H_

/* Where the global store lives: $ZELKLOG_CONFIG, else ZELKLOG_DEFAULT_CONFIG. */
#define ZELKLOG_CONFIG_ENV "ZELKLOG_CONFIG"
#define ZELKLOG_DEFAULT_CONFIG "/etc/zelklog/zelklog.conf"

/* Largest store file that is read (bytes); a larger file is reported as UTI_PS_CORRUPT. */
#define UTI_PS_MAX_FILE_SIZE (64u * 1024u * 1024u)

#endif /* ZELKLOGPROPERTYSTORE_H_ */
