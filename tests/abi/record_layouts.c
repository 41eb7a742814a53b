/* Checks the layout of the records of the C API, as a caller's compiler sees it: every field in its
 * order and width, with no more padding than the alignment requires. On the 32-bit target this
 * gives records of 28 and 24 words. */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "bios/dp_api.h"
#include "bios/dp_event_categories.h"

typedef struct field {
    const char* name;
    size_t offset;
    size_t width;
    size_t alignment;
    size_t present_width;
} field;

#define WIDTH_OF(record, name) sizeof(((record*)0)->name)
#define NUMBER(record, name) \
    { #name, offsetof(record, name), 4, 4, WIDTH_OF(record, name) }
#define POINTER(record, name) \
    { #name, offsetof(record, name), sizeof(void*), sizeof(void*), WIDTH_OF(record, name) }
#define BYTES(record, name, count) \
    { #name, offsetof(record, name), count, 1, WIDTH_OF(record, name) }

static const field attribute_fields[] = {
    POINTER(dp_attribute, id),  POINTER(dp_attribute, spif),    POINTER(dp_attribute, grif),
    POINTER(dp_attribute, cfg), POINTER(dp_attribute, cfgname), POINTER(dp_attribute, cfgsetn),
    POINTER(dp_attribute, grp), POINTER(dp_attribute, gspif),   POINTER(dp_attribute, ggrif),
    POINTER(dp_attribute, mri), POINTER(dp_attribute, dsc),     POINTER(dp_attribute, fds),
    NUMBER(dp_attribute, type), NUMBER(dp_attribute, flg),      NUMBER(dp_attribute, mni),
    NUMBER(dp_attribute, mxi),  POINTER(dp_attribute, dft),     POINTER(dp_attribute, mfg),
    POINTER(dp_attribute, dfa), POINTER(dp_attribute, rec),     NUMBER(dp_attribute, min),
    NUMBER(dp_attribute, max),  NUMBER(dp_attribute, stp),      NUMBER(dp_attribute, minc),
    NUMBER(dp_attribute, maxc), POINTER(dp_attribute, reg),     NUMBER(dp_attribute, num),
    POINTER(dp_attribute, chc),
};
static const field transaction_fields[] = {
    NUMBER(dp_transaction, status),   NUMBER(dp_transaction, operation),
    POINTER(dp_transaction, name),    POINTER(dp_transaction, new_value),
    BYTES(dp_transaction, value, 80),
};
static const field category_fields[] = {
    NUMBER(dp_category_map_entry, bit),
    BYTES(dp_category_map_entry, name, 256),
    BYTES(dp_category_map_entry, value, 256),
};

static size_t round_up(size_t size, size_t alignment) {
    return (size + alignment - 1) / alignment * alignment;
}

/* Returns the number of faults. */
static int check(const char* record, const field* fields, size_t count, size_t size, size_t words) {
    size_t offset = 0;
    size_t widest = 1;
    int faults = 0;
    for (size_t i = 0; i < count; ++i) {
        const field* f = &fields[i];
        offset = round_up(offset, f->alignment);
        if (f->offset != offset || f->present_width != f->width) {
            printf("%s.%s: offset %u and width %u, should be %u and %u\n", record, f->name,
                   (unsigned)f->offset, (unsigned)f->present_width, (unsigned)offset,
                   (unsigned)f->width);
            ++faults;
        }
        offset += f->width;
        widest = f->alignment > widest ? f->alignment : widest;
    }
    const size_t expected = sizeof(void*) == 4 ? 4 * words : round_up(offset, widest);
    if (size != expected) {
        printf("%s: %u bytes, should be %u\n", record, (unsigned)size, (unsigned)expected);
        ++faults;
    }
    return faults;
}

#define COUNT(array) (sizeof(array) / sizeof((array)[0]))

int main(void) {
    int faults =
        check("dp_attribute", attribute_fields, COUNT(attribute_fields), sizeof(dp_attribute), 28);
    faults += check("dp_transaction", transaction_fields, COUNT(transaction_fields),
                    sizeof(dp_transaction), 24);
    faults += check("dp_category_map_entry", category_fields, COUNT(category_fields),
                    sizeof(dp_category_map_entry), 129);
    return faults == 0 ? 0 : 1;
}
