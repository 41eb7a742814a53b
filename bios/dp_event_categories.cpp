#include "bios/dp_event_categories.h"

#include <new>

#include "bios/category_bitmap.hpp"

int dp_get_uim_event_category_mapping(dp_category_map_entry* out, uint32_t* count) {
    if (count == nullptr) {
        return -1;
    }
    *count = 0;
    // No exception may reach a C caller. Only a lack of memory throws here.
    try {
        dp::category_bitMap map;
        map.extractBitMap();
        *count = static_cast<uint32_t>(map.entries.size());
        if (out != nullptr) {
            for (const dp::BitMap& entry : map.entries) {
                dp::copy_to_entry(entry, *out++);
            }
        }
        return 0;
    } catch (const std::bad_alloc&) {
        return -1;
    }
}
