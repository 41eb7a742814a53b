#include <string.h>

#include "bios/dp_event_categories.h"

/* Called by the tests: a caller in C that declares the same structure. */
int event_categories_in_c(uint32_t* count, const char** first_value);

int event_categories_in_c(uint32_t* count, const char** first_value) {
    static dp_category_map_entry entries[4];
    memset(entries, 0, sizeof entries);
    const int result = dp_get_uim_event_category_mapping(entries, count);
    *first_value = entries[0].value;
    return result;
}
