#include "tools/dpctl/output/printable_text.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

#include "support/utf8.hpp"

namespace dpctl {
namespace {

namespace utf8 = dp_support::utf8;

struct range {
    char32_t first;
    char32_t last;
};

// The ranges are sorted.
template <std::size_t size>
bool contains(const std::array<range, size>& ranges, char32_t code) {
    const auto* const found =
        std::upper_bound(ranges.begin(), ranges.end(), code,
                         [](char32_t value, const range& r) { return value < r.first; });
    return found != ranges.begin() && code <= std::prev(found)->last;
}

// Control characters, line separators, invisible characters, and those that change the writing
// direction.
constexpr std::array<range, 9> unprintable{{{0x00, 0x1F},
                                            {0x7F, 0x9F},
                                            {0x61C, 0x61C},
                                            {0x200B, 0x200B},
                                            {0x200E, 0x200F},
                                            {0x2028, 0x202E},
                                            {0x2060, 0x206F},
                                            {0xFEFF, 0xFEFF},
                                            {0xE0000, 0xE007F}}};

constexpr std::array<range, 13> zero_width{{{0x300, 0x36F},
                                            {0x483, 0x489},
                                            {0x591, 0x5BD},
                                            {0x610, 0x61A},
                                            {0x64B, 0x65F},
                                            {0x200C, 0x200D},
                                            {0x20D0, 0x20FF},
                                            {0x302A, 0x302D},
                                            {0x3099, 0x309A},
                                            {0xFE00, 0xFE0F},
                                            {0xFE20, 0xFE2F},
                                            {0x1F3FB, 0x1F3FF},
                                            {0xE0100, 0xE01EF}}};

constexpr std::array<range, 12> double_width{{{0x1100, 0x115F},
                                              {0x2E80, 0x303E},
                                              {0x3041, 0x33FF},
                                              {0x3400, 0x4DBF},
                                              {0x4E00, 0xA4CF},
                                              {0xAC00, 0xD7A3},
                                              {0xF900, 0xFAFF},
                                              {0xFE30, 0xFE6F},
                                              {0xFF00, 0xFF60},
                                              {0xFFE0, 0xFFE6},
                                              {0x1F300, 0x1FAFF},
                                              {0x20000, 0x3FFFD}}};

std::string hexadecimal(char32_t value, std::size_t least_digits) {
    std::string digits;
    for (; value != 0 || digits.size() < least_digits; value >>= 4U) {
        digits.insert(digits.begin(), "0123456789abcdef"[value & 0xFU]);
    }
    return digits;
}

std::size_t width_of(const utf8::character& c) {
    if (contains(zero_width, c.code)) {
        return 0;
    }
    return contains(double_width, c.code) ? 2U : 1U;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const utf8::character c = utf8::first_character(text);
        if (c.length == 0) {
            shown += "\\x" + hexadecimal(static_cast<unsigned char>(text.front()), 2);
            text.remove_prefix(1);
            continue;
        }
        if (!contains(unprintable, c.code)) {
            shown += text.substr(0, c.length);
        } else if (c.length == 1) {
            shown += "\\x" + hexadecimal(c.code, 2);
        } else {
            shown += "\\u{" + hexadecimal(c.code, 4) + "}";
        }
        text.remove_prefix(c.length);
    }
    return shown;
}

std::string in_quotes(std::string_view text) {
    return '"' + printable(text) + '"';
}

std::size_t display_width(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const utf8::character c = utf8::first_character(text);
        width += width_of(c);
        text.remove_prefix(std::max<std::size_t>(c.length, 1));
    }
    return width;
}

std::string padded(std::string_view text, std::size_t width) {
    return std::string(text) + std::string(width - std::min(width, display_width(text)), ' ');
}

std::string shortened(std::string_view text, std::size_t width) {
    if (display_width(text) <= width) {
        return std::string(text);
    }
    constexpr std::string_view mark = "…";
    std::size_t end = 0;
    for (std::size_t columns = 1; end < text.size();) {
        const utf8::character c = utf8::first_character(text.substr(end));
        columns += width_of(c);
        if (columns > width) {
            break;
        }
        end += std::max<std::size_t>(c.length, 1);
    }
    return std::string(text.substr(0, end)) + std::string(width == 0 ? "" : mark);
}

std::string_view without_partial_character(std::string_view text) {
    // A character has at most four bytes, so an incomplete one has at most three.
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, text.size()); ++back) {
        const char c = text[text.size() - back];
        if (utf8::is_continuation(c)) {
            continue;
        }
        if (utf8::sequence_length(c) > back) {
            text.remove_suffix(back);
        }
        break;
    }
    return text;
}

}  // namespace dpctl
