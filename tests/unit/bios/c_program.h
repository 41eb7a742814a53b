#ifndef DP_TESTS_UNIT_BIOS_C_PROGRAM_H
#define DP_TESTS_UNIT_BIOS_C_PROGRAM_H

#include <stddef.h>

/* What a program in C99 makes of the C API. */

#ifdef __cplusplus
extern "C" {
#endif

/* Walks the attributes of a collection by the stride that is given and writes their ids, each
 * followed by a comma. What dp_get_bios_attributes answered. */
int c_list_ids(const char* collection, size_t stride, char* text, size_t size);

/* Reads one value. What dp_get_bios_attribute_value answered; the value in `text`. */
int c_read_value(const char* name, char* text, size_t size);

/* The sizes of the records as C sees them. */
size_t c_attribute_size(void);
size_t c_transaction_size(void);

#ifdef __cplusplus
}
#endif

#endif
