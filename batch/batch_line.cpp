#include "batch/batch_line.hpp"

#include <cstring>

namespace dp {
namespace {

bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

std::string_view batch_line::next_word() {
    while (at_ != last_ && is_space(*at_)) {
        ++at_;
    }
    const char* const first = at_;
    while (at_ != last_ && !is_space(*at_)) {
        ++at_;
    }
    at_end_ = at_ == last_;
    return {first, static_cast<std::size_t>(at_ - first)};
}

void batch_line::take_word(std::string& word) {
    const std::string_view next = next_word();
    if (!next.empty()) {
        word.assign(next);
    }
}

void batch_line::skip_word() {
    next_word();
}

void batch_line::take_value(std::string& value) {
    value.clear();
    // To the opening quote; a backslash hides the byte behind it.
    while (at_ != last_ && *at_ != '"') {
        at_ += *at_ == '\\' && at_ + 1 != last_ ? 2 : 1;
    }
    if (at_ == last_) {
        at_end_ = true;
        return;
    }
    ++at_;
    // Runs without quote and backslash are copied whole.
    const char* run = at_;
    for (; at_ != last_; ++at_) {
        if (*at_ == '"') {
            value.append(run, at_);
            ++at_;
            return;
        }
        if (*at_ == '\\') {
            value.append(run, at_);
            if (++at_ == last_) {
                at_end_ = true;
                return;
            }
            run = at_;
        }
    }
    value.append(run, at_);
    at_end_ = true;
}

}  // namespace dp
