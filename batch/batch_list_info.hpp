#ifndef DP_BATCH_BATCH_LIST_INFO_HPP
#define DP_BATCH_BATCH_LIST_INFO_HPP

#include <map>
#include <string>

#include "common/export.hpp"

namespace dp {

/// An ordered selection out of a list of values, in its two texts: the full form
/// `[value='B',order='2'],[value='A',order='1']` and the terse form `A,B`. A selection map leads
/// from value to order; orders are kept and compared as text, so "10" comes before "2".
class DP_API batch_list_info {
  public:
    /// Whether a text is in the full form: it begins with "[" and contains "value=".
    [[nodiscard]] static bool is_full_form(const std::string& text);

    /// Replaces `sel` by the selection that `text` gives in either form.
    void parse_selections(std::string text, std::map<std::string, std::string>& sel);

    /// Adds one item of the full form to `sel`; an item without a value adds nothing.
    void parse_instance(std::string part, std::map<std::string, std::string>& sel);

    /// The full form, by value.
    std::string get_string(std::map<std::string, std::string>& sel);

    /// The terse form, by order.
    std::string get_string_terse(std::map<std::string, std::string>& sel);

    /// Reads `text` into the current selection. Always true.
    bool set_current(const std::string& text);
    std::string get_current();
    std::string get_current_terse();

    /// The terse form of `text`; the current selection stays.
    std::string tersify(std::string text);

  private:
    std::map<std::string, std::string> current_;
};

}  // namespace dp

#endif
