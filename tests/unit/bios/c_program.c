#include "tests/unit/bios/c_program.h"

#include <stdio.h>
#include <string.h>

#include "bios/dp_api.h"

int c_list_ids(const char* collection, size_t stride, char* text, size_t size) {
    dp_attribute* attributes = NULL;
    unsigned count = 0;
    const int result = dp_get_bios_attributes(collection, &attributes, &count);
    size_t used = 0;
    text[0] = '\0';
    for (unsigned i = 0; i < count; ++i) {
        const char* id = NULL;
        /* The id is the first word of the structure. */
        memcpy(&id, (const char*)attributes + i * stride, sizeof id);
        used += (size_t)snprintf(text + used, size - used, "%s,", id);
    }
    return result;
}

int c_read_value(const char* name, char* text, size_t size) {
    dp_transaction trans;
    memset(&trans, 0, sizeof trans);
    trans.operation = 1;
    trans.name = name;
    const int result = dp_get_bios_attribute_value(&trans, 1, 0);
    snprintf(text, size, "%s", trans.value);
    return result;
}

size_t c_attribute_size(void) {
    return sizeof(dp_attribute);
}

size_t c_transaction_size(void) {
    return sizeof(dp_transaction);
}
