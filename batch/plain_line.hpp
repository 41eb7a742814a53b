#ifndef DP_BATCH_PLAIN_LINE_HPP
#define DP_BATCH_PLAIN_LINE_HPP

#include <cstddef>
#include <string_view>

#include "common/byte_scan.hpp"

namespace dp {

/// The parts of a plain line, the form in which nearly all lines come.
///
/// A line is plain when it consists of
/// - five words, each with one blank behind it; they may hold any byte but control characters, and
///   the first does not begin with "#";
/// - two values in quotes, which may hold any byte but backslashes, with one blank between them;
/// - nothing more, or one more blank;
/// - a line feed.
/// A `batch_line` takes the same parts off such a line, only slower: it is ready for any line.
///
/// The text is scanned several bytes at a time. So a line feed stands directly behind it, and
/// `padding` bytes from there on can be read; what the others hold does not matter.
struct plain_line {
    static constexpr std::size_t padding = sizeof(byte_scan::chunk);

    std::string_view status;
    std::string_view detail;
    std::string_view tid;
    std::string_view operation;
    std::string_view name;
    std::string_view value_in;
    std::string_view value_out;
    std::size_t size = 0;  ///< of the line, its line feed included

    /// Splits the line that `text` begins with. False when it is not plain or does not end in the
    /// text; the parts are then of no use.
    bool split(std::string_view text);
};

/// How `plain_line` scans.
namespace plain_line_scan {

// The first blank or control character from `at` on; there must be one.
inline const char* find_blank_or_control(const char* at) {
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

// The first quote, backslash or line feed from `at` on; there must be one.
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
    const char* const end = find_blank_or_control(at);
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

// Here, so that the parts need not go through memory.
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
