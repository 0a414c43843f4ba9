/*
 * zelkLogPropertyStore.h - the property store's codes beyond those the read library
 * reads itself (UTI_PS_OK, UTI_PS_DENIED, UTI_PS_NO_STORE, UTI_PS_END in zelkLogCore.h).
 *
 * A store is one text file in INI form; see docs/configuration.md for the format, the
 * locking and the mapping of these codes to library result codes (utipsres2zelklogres).
 */
#ifndef ZELKLOG_PROPERTY_STORE_H
#define ZELKLOG_PROPERTY_STORE_H

#define UTI_PS_IO_ERROR 1u     /* reading, writing, syncing or renaming failed */
#define UTI_PS_OPEN_FAILED 2u  /* the store could not be opened (no location given) */
#define UTI_PS_BAD_ARGUMENT 3u /* null or empty argument, or a handle that is not open */
#define UTI_PS_NO_MEMORY 4u    /* an allocation failed */
/* 5 UTI_PS_DENIED, 6 UTI_PS_NO_STORE, 7 UTI_PS_END: see zelkLogCore.h */
#define UTI_PS_NOT_FOUND 8u /* no such section or property */
#define UTI_PS_CORRUPT 9u   /* the file is not a readable store (garbled, NUL bytes, too large) */

/* Largest store file that is read (bytes); a larger file is reported as UTI_PS_CORRUPT. */
#define UTI_PS_MAX_FILE_SIZE (64u * 1024u * 1024u)

/* utiOpenPropertyStore flag: the handle is opened on a product's section of the global
 * store in order to remove the whole product (see utiRemovePropertyRoot). */
#define UTI_PS_OPEN_PRODUCT_REMOVAL 1u

#endif /* ZELKLOG_PROPERTY_STORE_H */
