#include "redfish/protocol/accepted_type.hpp"

#include <cstddef>
#include <string>

#include "redfish/protocol/media_type.hpp"
#include "support/ascii_case.hpp"

namespace dp_redfish {
namespace {

// How closely a range names a type; 0: not at all.
int closeness(std::string_view range, std::string_view type) {
    if (range == type) {
        return 3;
    }
    if (range == "*/*") {
        return 1;
    }
    const bool is_group =
        range.ends_with("/*") && type.starts_with(range.substr(0, range.size() - 1));
    return is_group ? 2 : 0;
}

// Whether a weight is zero: "0", "0.", "0.000".
bool is_zero(std::string_view weight) {
    return weight.starts_with('0') && weight.find_first_not_of("0.") == std::string_view::npos;
}

}  // namespace

accepted_type::accepted_type(std::string_view field, std::string_view type) {
    if (field.empty()) {
        is_accepted = true;
        return;
    }
    const std::string wanted = media_type(type).name;
    int closest = 0;
    for (;;) {
        const std::size_t comma = field.find(',');
        const media_type range(field.substr(0, comma));
        const int close = closeness(range.name, wanted);
        if (close > closest) {
            closest = close;
            is_accepted = !is_zero(range.parameter("q"));
            wants_utf8 =
                is_accepted && dp_support::equal_ignoring_case(range.parameter("charset"), "utf-8");
        }
        if (comma == std::string_view::npos) {
            return;
        }
        field.remove_prefix(comma + 1);
    }
}

}  // namespace dp_redfish
