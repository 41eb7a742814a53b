#ifndef DP_BIOS_DP_EVENT_CATEGORIES_H
#define DP_BIOS_DP_EVENT_CATEGORIES_H

/**
 * @file
 * Reads the table that maps the numbers of event categories (of RAS events) to names. Another
 * component writes it to a file, which is read at every call. The function needs no initialisation
 * and keeps no state, so any thread may call it at any time.
 *
 * Texts are bytes; no character set is assumed.
 */

/* This header is C99. NOLINTBEGIN(modernize-*) */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bytes of each text of an entry, its NUL included. */
#define DP_CATEGORY_TEXT_SIZE 256

/** One category. The bytes after a text's NUL are 0. */
typedef struct dp_category_map_entry {
    int32_t bit;                       /**< category number */
    char name[DP_CATEGORY_TEXT_SIZE];  /**< NUL-terminated */
    char value[DP_CATEGORY_TEXT_SIZE]; /**< NUL-terminated */
} dp_category_map_entry;

/* Callers declare the same structure: it has no padding on any machine. */
#ifdef __cplusplus
#define DP_STATIC_ASSERT_(condition) static_assert(condition, "a field has moved")
#else
#define DP_STATIC_ASSERT_(condition) __extension__ _Static_assert(condition, "a field has moved")
#endif
DP_STATIC_ASSERT_(offsetof(dp_category_map_entry, bit) == 0);
DP_STATIC_ASSERT_(offsetof(dp_category_map_entry, name) == 4);
DP_STATIC_ASSERT_(offsetof(dp_category_map_entry, value) == 4 + DP_CATEGORY_TEXT_SIZE);
DP_STATIC_ASSERT_(sizeof(dp_category_map_entry) == 4 + 2 * DP_CATEGORY_TEXT_SIZE);
#undef DP_STATIC_ASSERT_

/** Sets *count to the number of entries and copies them to out, in the file's order, unless out is
 * null. There is no capacity argument. Call it with a null out to get *count, then provide an array
 * for all entries; make it somewhat larger, because the file may change in between. A missing or
 * unreadable file has 0 entries. 0 success; -1 when count is null (nothing is written) or memory
 * ran out (*count is 0). */
__attribute__((visibility("default"))) int dp_get_uim_event_category_mapping(
    dp_category_map_entry* out, uint32_t* count);

#ifdef __cplusplus
} /* extern "C" */
#endif

/* NOLINTEND(modernize-*) */

#endif
