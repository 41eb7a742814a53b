#ifndef DP_BIOS_CATEGORY_BITMAP_HPP
#define DP_BIOS_CATEGORY_BITMAP_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "bios/dp_event_categories.h"

namespace dp {

/// One entry of the event category table.
struct BitMap {
    std::int32_t bit;  ///< category number
    std::string name;
    std::string value;
};

/// The event category table: a text file of lines `<number> = <name> :: <value>`.
class category_bitMap {
  public:
    /// Sets `file_name`; reads nothing.
    category_bitMap();

    /// Appends the file's entries in the file's order, duplicates included. Skips lines that do not
    /// begin with a digit, lack "=" or a "::" after it, or have a number beyond 32 bits. Stops at a
    /// line of 200 characters or more. A file that cannot be opened or is not a regular file has no
    /// entries.
    void extractBitMap();

    std::string file_name;
    std::vector<BitMap> entries;
};

/// Fills an entry of the C API; texts are cut to 255 characters.
void copy_to_entry(const BitMap& from, dp_category_map_entry& to);

}  // namespace dp

#endif
