#include "batch/batch_line.hpp"

#include "batch/stored_text.hpp"

namespace dp {
namespace {

bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The first byte from `at` on that a value's bytes don't go past: a quote, a backslash, or the line
// feed behind the line.
const char* find_end_of_run(const char* at) {
    while (*at != '"' && *at != '\\' && *at != '\n') {
        ++at;
    }
    return at;
}

}  // namespace

std::string_view batch_line::take_word() {
    while (at_ != last_ && is_space(*at_)) {
        ++at_;
    }
    const char* const first = at_;
    // The line feed behind the line ends its last word.
    while (!is_space(*at_)) {
        ++at_;
    }
    return {first, static_cast<std::size_t>(at_ - first)};
}

void batch_line::take_word(std::string& word) {
    const std::string_view next = take_word();
    if (!next.empty()) {
        store_text(word, next);
    }
}

void batch_line::take_value(std::string& value) {
    const char* at = find_end_of_run(at_);
    while (*at == '\\') {
        // It hides the byte behind it.
        at = find_end_of_run(at + 1 == last_ ? last_ : at + 2);
    }
    if (at == last_) {
        value.clear();
        at_ = last_;
        return;
    }
    const char* const first = at + 1;
    at = find_end_of_run(first);
    store_text(value, {first, static_cast<std::size_t>(at - first)});
    while (*at == '\\') {
        const char* const run = at + 1;
        if (run == last_) {
            at = last_;
            break;
        }
        // The byte behind a backslash belongs to the run, whatever it is.
        at = find_end_of_run(run + 1);
        value.append(run, at);
    }
    at_ = at == last_ ? last_ : at + 1;
}

}  // namespace dp
