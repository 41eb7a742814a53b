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
    /// Names the table's file; reads nothing.
    category_bitMap();

    /// Appends the file's entries in the file's order, equal ones too. Lines that do not begin with
    /// a digit, lack "=" or "::" behind it, or have a number beyond 32 bits are skipped. A line of
    /// 200 characters or more ends the reading. A file that can't be opened, or is none, such as a
    /// folder or a pipe, has no entries.
    void extractBitMap();

    std::string file_name;
    std::vector<BitMap> entries;
};

/// Fills the record of the C API; texts are cut to 255 characters.
void copy_to_entry(const BitMap& from, dp_category_map_entry& to);

}  // namespace dp

#endif
