#ifndef DP_TESTS_UNIT_BIOS_C_PROGRAM_H
#define DP_TESTS_UNIT_BIOS_C_PROGRAM_H

#include <stddef.h>

/* The C API as a program in C99 uses it. */

#ifdef __cplusplus
extern "C" {
#endif

/* Walks the attributes of a collection with the given stride and writes their ids, each followed by
 * a comma. Returns the result of dp_get_bios_attributes. */
int c_list_ids(const char* collection, size_t stride, char* text, size_t size);

/* Reads one value into `text`. Returns the result of dp_get_bios_attribute_value. */
int c_read_value(const char* name, char* text, size_t size);

/* The sizes of the structures in C. */
size_t c_attribute_size(void);
size_t c_transaction_size(void);

#ifdef __cplusplus
}
#endif

#endif
