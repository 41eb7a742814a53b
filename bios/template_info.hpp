#ifndef DP_BIOS_TEMPLATE_INFO_HPP
#define DP_BIOS_TEMPLATE_INFO_HPP

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "bios/dp_api.h"
#include "common/export.hpp"

/// One attribute of the UEFI template. The template's text is a sequence of template records. A
/// template record is a sequence of items, each a key, ":", a value and the item end byte, and ends
/// with the record end byte and an optional line feed. Fields whose keys are missing are empty or
/// zero.
class DP_API template_info {
  public:
    static constexpr char item_end = '\x95';    ///< ends each item
    static constexpr char record_end = '\xA7';  ///< ends each template record
    /// The greatest size of a template record in bytes, without its end byte.
    static constexpr unsigned record_limit = 16383;
    /// Bit of `flg`: the attribute has a `rec` item.
    static constexpr std::uint32_t rec_flag = 0x100000;

    /// Values of `type`, with the fields that they use; any other is an enumeration (`num`, `chc`).
    static constexpr std::int32_t type_numeric = DP_TYPE_NUMERIC;    ///< `min`, `max`, `stp`
    static constexpr std::int32_t type_string = DP_TYPE_STRING;      ///< `minc`, `maxc`, `reg`
    static constexpr std::int32_t type_no_range = DP_TYPE_NO_RANGE;  ///< none

    /// Fills the fields from one template record without its end byte. Skips unknown keys; the
    /// later of two equal keys wins; a number field with other text is 0.
    void parse_setting_info(std::string record);

    /// Appends one entry to `out` for each template record of `in`. When `cfg` is not empty, only
    /// records that contain the item "cfg:" + `cfg` count. An empty record counts too. A record
    /// that is too long ends the reading and leaves `in` failed; entries read so far are kept.
    /// Always 0.
    static int read_settings(std::ifstream& in, std::vector<template_info>& out, std::string cfg);

    /// The unsigned number at the start of `text`, as a stream extracts it; 0 when there is none.
    static std::uint32_t a2i(std::string text, bool hex);

    /// Fills `a` with this entry's fields. The texts of `a` point into this object: they are valid
    /// until it changes or is destroyed.
    void convert_to_attribute(dp_attribute& a) const;

    std::uint32_t leading_words[2] = {};  ///< part of the fixed layout; not used
    std::string id;                       ///< attribute name
    std::string spif;                     ///< passed on unchanged
    std::string grif;                     ///< passed on unchanged
    std::string cfg;                      ///< collection
    std::string cfgname;                  ///< a text of the collection
    std::string cfgsetn;                  ///< a text of the collection
    std::string grp;                      ///< group
    std::string gspif;                    ///< passed on unchanged
    std::string ggrif;                    ///< passed on unchanged
    std::string mri;                      ///< passed on unchanged
    std::string dsc;                      ///< description
    std::string fds;                      ///< passed on unchanged
    std::int32_t type = 0;                ///< see `type_numeric`
    std::uint32_t flg = 0;                ///< flags; hexadecimal in the text
    std::uint32_t mni = 0;                ///< lowest instance number
    std::uint32_t mxi = 0;                ///< highest instance number
    std::string dft;                      ///< default value
    std::string mfg;                      ///< passed on unchanged
    std::string dfa;                      ///< "remove": the default is a deleted setting
    std::string rec;                      ///< name of the setting record, see `rec_flag`
    std::uint32_t min = 0;                ///< numeric: lower bound
    std::uint32_t max = 0;                ///< numeric: upper bound
    std::uint32_t stp = 0;                ///< numeric: step
    std::uint32_t minc = 0;               ///< string: least length
    std::uint32_t maxc = 0;               ///< string: greatest length
    std::string reg;                      ///< string: pattern
    std::uint32_t num = 0;                ///< enumeration: number of choices
    std::string chc;                      ///< enumeration: the choices, not split
};

/// Writes one template record with its end byte and a line feed: the common items, then those of
/// the entry's type. The parser reads the same fields back. Flushes the stream. The numbers do not
/// depend on the stream's flags; the stream is left in decimal.
DP_API std::ostream& operator<<(std::ostream& os, const template_info& info);

namespace dp {
using ::template_info;
}  // namespace dp

#endif
