#include "tools/dp-template/finding.hpp"

#include <utility>

namespace dp_tools {

void findings_list::add(finding::severity weight, const dp_support::json_value& value,
                        std::string pointer, std::string message) {
    findings_.push_back({weight, value.offset, std::move(pointer), std::move(message)});
}

std::string kind_name(dp_support::json_kind kind) {
    using dp_support::json_kind;
    switch (kind) {
        case json_kind::null:
            return "null";
        case json_kind::boolean:
            return "true or false";
        case json_kind::integer:
        case json_kind::real:
            return "a number";
        case json_kind::text:
            return "a text";
        case json_kind::array:
            return "a list";
        case json_kind::object:
            return "an object";
    }
    return "";
}

std::string wrong_kind(const dp_support::json_value& value, const std::string& expected) {
    return "is " + kind_name(value.kind) + " instead of " + expected;
}

}  // namespace dp_tools
