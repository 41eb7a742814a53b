#ifndef DP_BATCH_PLAIN_LINE_HPP
#define DP_BATCH_PLAIN_LINE_HPP

#include <cstddef>
#include <string_view>

#include "common/byte_scan.hpp"

namespace dp {

/// Fast path for the common line form, a plain line. It consists of
/// - five words, each followed by one space; a word has no control characters, and the first word
///   does not begin with "#";
/// - two values in double quotes, separated by one space; a value has no backslashes;
/// - at most one more space;
/// - a newline.
/// A `line_scanner` handles lines of every form and extracts the same parts from a plain line.
///
/// The scan reads several bytes at a time: a newline must follow the text, and `padding` bytes from
/// that newline on must be readable. Their values do not matter.
struct plain_line {
    static constexpr std::size_t padding = sizeof(byte_scan::chunk);

    std::string_view status;
    std::string_view detail;
    std::string_view tid;
    std::string_view operation;
    std::string_view name;
    std::string_view value_in;
    std::string_view value_out;
    std::size_t size = 0;  ///< of the line, including its newline

    /// Splits the first line of `text`. Returns false, with undefined parts, when the line is not
    /// plain or its newline is not in the text.
    bool split(std::string_view text);
};

/// The scan functions of `plain_line`.
namespace plain_line_scan {

// Returns the first space or control character at or after `at`; there must be one.
inline const char* find_space_or_control(const char* at) {
    if constexpr (byte_scan::is_supported) {
        for (;; at += sizeof(byte_scan::chunk)) {
            if (const auto found = byte_scan::below(byte_scan::load(at), ' ' + 1); found != 0) {
                return at + byte_scan::first_of(found);
            }
        }
    } else {
        while (static_cast<unsigned char>(*at) > ' ') {
            ++at;
        }
        return at;
    }
}

// Returns the first quote, backslash or newline at or after `at`; there must be one.
inline const char* find_end_of_run(const char* at) {
    if constexpr (byte_scan::is_supported) {
        for (;; at += sizeof(byte_scan::chunk)) {
            const byte_scan::chunk bytes = byte_scan::load(at);
            const byte_scan::chunk found = byte_scan::equal(bytes, '"') |
                                           byte_scan::equal(bytes, '\\') |
                                           byte_scan::equal(bytes, '\n');
            if (found != 0) {
                return at + byte_scan::first_of(found);
            }
        }
    } else {
        while (*at != '"' && *at != '\\' && *at != '\n') {
            ++at;
        }
        return at;
    }
}

inline bool take_word(const char*& at, std::string_view& word) {
    const char* const end = find_space_or_control(at);
    if (*end != ' ' || end == at) {
        return false;
    }
    word = {at, static_cast<std::size_t>(end - at)};
    at = end + 1;
    return true;
}

inline bool take_value(const char*& at, std::string_view& value) {
    if (*at != '"') {
        return false;
    }
    const char* const first = at + 1;
    const char* const end = find_end_of_run(first);
    if (*end != '"') {
        return false;
    }
    value = {first, static_cast<std::size_t>(end - first)};
    at = end + 1;
    return true;
}

}  // namespace plain_line_scan

// Inline, so that the parts can stay in registers.
inline bool plain_line::split(std::string_view text) {
    using plain_line_scan::take_value;
    using plain_line_scan::take_word;
    const char* at = text.data();
    const char* const last = at + text.size();
    const bool has_parts = *at != '#' && take_word(at, status) && take_word(at, detail) &&
                           take_word(at, tid) && take_word(at, operation) && take_word(at, name) &&
                           take_value(at, value_in) && *at++ == ' ' && take_value(at, value_out);
    if (!has_parts) {
        return false;
    }
    if (*at == ' ') {
        ++at;
    }
    size = static_cast<std::size_t>(at - text.data()) + 1;
    return *at == '\n' && at != last;
}

}  // namespace dp

#endif
