#include "tools/dpctl/names/name_pattern.hpp"

#include <algorithm>
#include <cstddef>

#include "support/utf8.hpp"

namespace dpctl {
namespace {

std::size_t first_length(std::string_view text) {
    return std::max<std::size_t>(dp_support::utf8::first_character(text).length, 1);
}

}  // namespace

bool is_pattern(std::string_view text) {
    return text.find_first_of("*?") != std::string_view::npos;
}

bool matches_pattern(std::string_view text, std::string_view pattern) {
    // After a mismatch, the last "*" takes one more character. An earlier one never needs to.
    std::string_view after_star;
    std::string_view retry;
    bool has_star = false;
    while (true) {
        if (!pattern.empty() && pattern.front() == '*') {
            pattern.remove_prefix(1);
            after_star = pattern;
            retry = text;
            has_star = true;
        } else if (pattern.empty() && text.empty()) {
            return true;
        } else if (!text.empty() && !pattern.empty() &&
                   (pattern.front() == '?' || pattern.front() == text.front())) {
            text.remove_prefix(pattern.front() == '?' ? first_length(text) : 1);
            pattern.remove_prefix(1);
        } else if (has_star && !retry.empty()) {
            retry.remove_prefix(first_length(retry));
            text = retry;
            pattern = after_star;
        } else {
            return false;
        }
    }
}

}  // namespace dpctl
