#include "batch/batch_line.hpp"

#include <bit>
#include <cstddef>
#include <cstring>

#include "batch/stored_text.hpp"

namespace dp {
namespace {

bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// As many bytes as the machine takes at a time.
using chunk = std::size_t;

// A chunk that holds `byte` in every place.
constexpr chunk filled(unsigned char byte) {
    return ~chunk{0} / 0xFFU * byte;
}

// The first blank or control character from `at` on. There must be one, with
// `batch_line::padding` readable bytes from it on.
const char* find_blank_or_control(const char* at) {
    if constexpr (std::endian::native == std::endian::little) {
        for (;; at += sizeof(chunk)) {
            chunk bytes = 0;
            std::memcpy(&bytes, at, sizeof bytes);
            // Sets the highest bit of every byte up to ' '. It may set it in further bytes behind
            // the first of them, into which the subtraction borrowed.
            const chunk found = (bytes - filled(' ' + 1)) & ~bytes & filled(0x80);
            if (found != 0) {
                return at + std::countr_zero(found) / 8;
            }
        }
    } else {
        while (static_cast<unsigned char>(*at) > ' ') {
            ++at;
        }
        return at;
    }
}

// The white space that ends the word at `at`.
const char* find_space(const char* at) {
    at = find_blank_or_control(at);
    while (*at != ' ' && !is_space(*at)) {
        at = find_blank_or_control(at + 1);
    }
    return at;
}

// The first byte from `at` on that a value's bytes don't go past: a quote, a backslash, or the line
// feed behind the line. Values are short; taking several bytes at a time does not pay here.
const char* find_end_of_run(const char* at) {
    while (*at != '"' && *at != '\\' && *at != '\n') {
        ++at;
    }
    return at;
}

}  // namespace

std::string_view batch_line::take_word() {
    // Mostly it is one blank.
    const char* first = *at_ == ' ' ? at_ + 1 : at_;
    while (first != last_ && is_space(*first)) {
        ++first;
    }
    at_ = find_space(first);
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
