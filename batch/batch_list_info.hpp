#ifndef DP_BATCH_BATCH_LIST_INFO_HPP
#define DP_BATCH_BATCH_LIST_INFO_HPP

#include <map>
#include <string>

#include "common/export.hpp"

namespace dp {

/// An ordered selection from a list of values, in two text forms: the full form
/// `[value='B',order='2'],[value='A',order='1']` and the terse form `A,B`. A selection map maps
/// each value to its order. Orders are stored and compared as text, so "10" comes before "2".
class DP_API batch_list_info {
  public:
    /// Whether `text` has the full form: it begins with "[" and contains "value=".
    [[nodiscard]] static bool is_full_form(const std::string& text);

    /// Replaces `sel` with the selection in `text`, which has either form.
    void parse_selections(std::string text, std::map<std::string, std::string>& sel);

    /// Adds an item of the full form to `sel`. Ignores an item without a value.
    void parse_instance(std::string part, std::map<std::string, std::string>& sel);

    /// Returns the full form, sorted by value.
    std::string get_string(std::map<std::string, std::string>& sel);

    /// Returns the terse form, sorted by order.
    std::string get_string_terse(std::map<std::string, std::string>& sel);

    /// Replaces the current selection with that in `text`. Always returns true.
    bool set_current(const std::string& text);

    /// Return the current selection in the full and in the terse form.
    /// @{
    std::string get_current();
    std::string get_current_terse();
    /// @}

    /// Returns the terse form of `text`. Does not change the current selection.
    std::string tersify(std::string text);

  private:
    std::map<std::string, std::string> current_;
};

}  // namespace dp

#endif
