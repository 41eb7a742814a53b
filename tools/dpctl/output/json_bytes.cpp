#include "tools/dpctl/output/json_bytes.hpp"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "support/hexadecimal.hpp"
#include "support/utf8.hpp"

namespace dpctl {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

bool has_other_bytes(const json_value& value) {
    return value.kind == json_kind::text && !dp_support::utf8::count_characters(value.text);
}

json_value digits_of(const json_value& value) {
    if (!has_other_bytes(value)) {
        return {};
    }
    return dp_support::hexadecimal_digits(
        {reinterpret_cast<const unsigned char*>(value.text.data()), value.text.size()});
}

json_value list_of_digits(const json_value& list) {
    json_value digits = json_value::array();
    for (const json_value& item : list.items) {
        digits.push_back(digits_of(item));
    }
    return digits;
}

}  // namespace

// Documents are built by this program, a few levels deep.
// NOLINTNEXTLINE(misc-no-recursion)
void add_bytes(json_value& document) {
    std::vector<json_value> added;
    for (json_value& item : document.items) {
        add_bytes(item);
        if (document.kind != json_kind::object) {
            continue;
        }
        if (has_other_bytes(item)) {
            added.push_back(digits_of(item));
        } else if (item.kind == json_kind::array &&
                   std::any_of(item.items.begin(), item.items.end(), has_other_bytes)) {
            added.push_back(list_of_digits(item));
        } else {
            continue;
        }
        added.back().name = item.name + "_bytes";
    }
    std::move(added.begin(), added.end(), std::back_inserter(document.items));
}

}  // namespace dpctl
