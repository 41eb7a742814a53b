#include "batch/line_scanner.hpp"

#include "batch/assign_text.hpp"
#include "common/white_space.hpp"

namespace dp {
namespace {

// Returns the first quote, backslash or newline at or after `at`. There is always one: the newline
// after the line.
const char* find_end_of_run(const char* at) {
    while (*at != '"' && *at != '\\' && *at != '\n') {
        ++at;
    }
    return at;
}

}  // namespace

std::string_view line_scanner::take_word() {
    while (at_ != last_ && is_space(*at_)) {
        ++at_;
    }
    const char* const first = at_;
    // The newline after the line ends its last word.
    while (!is_space(*at_)) {
        ++at_;
    }
    return {first, static_cast<std::size_t>(at_ - first)};
}

void line_scanner::take_word(std::string& word) {
    const std::string_view next = take_word();
    if (!next.empty()) {
        assign_text(word, next);
    }
}

void line_scanner::take_value(std::string& value) {
    const char* at = find_end_of_run(at_);
    while (*at == '\\') {
        // Skip the escaped byte.
        at = find_end_of_run(at + 1 == last_ ? last_ : at + 2);
    }
    if (at == last_) {
        value.clear();
        at_ = last_;
        return;
    }
    const char* const first = at + 1;
    at = find_end_of_run(first);
    assign_text(value, {first, static_cast<std::size_t>(at - first)});
    while (*at == '\\') {
        const char* const run = at + 1;
        if (run == last_) {
            at = last_;
            break;
        }
        // The escaped byte belongs to the value, even if it is a quote or a backslash.
        at = find_end_of_run(run + 1);
        value.append(run, at);
    }
    at_ = at == last_ ? last_ : at + 1;
}

}  // namespace dp
