#include "tools/dp-template/finding.hpp"

#include <utility>

namespace dp_tools {

void findings_list::add(finding::severity weight, const dp_support::json_value& value,
                        std::string pointer, std::string message) {
    findings_.push_back({weight, value.offset, std::move(pointer), std::move(message)});
}

std::string wrong_kind(const dp_support::json_value& value, const std::string& expected) {
    return "is " + kind_name(value.kind) + " instead of " + expected;
}

}  // namespace dp_tools
