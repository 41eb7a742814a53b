#include "support/wrapped_text.hpp"

#include <algorithm>
#include <utility>

#include "support/utf8.hpp"

namespace dp_support {
namespace {

// Adds the words of a line without newlines.
void add_wrapped(std::string_view text, std::size_t width, text_measure measure,
                 std::vector<std::string>& lines) {
    std::string line;
    std::size_t columns = 0;
    bool is_first = true;
    bool is_continued = false;
    while (!text.empty()) {
        const std::size_t space = text.find(' ');
        const std::string_view word = text.substr(0, space);
        text.remove_prefix(space == std::string_view::npos ? text.size() : space + 1);
        const std::size_t word_columns = measure(word);
        if (!is_first && columns + 1 + word_columns > width) {
            lines.push_back(std::move(line));
            line.clear();
            columns = 0;
            is_first = true;
            is_continued = true;
        }
        // Several spaces remain, except where the line is broken.
        if (is_first && word.empty() && is_continued) {
            continue;
        }
        if (!is_first) {
            line += ' ';
            ++columns;
        }
        line += word;
        columns += word_columns;
        is_first = false;
    }
    lines.push_back(std::move(line));
}

}  // namespace

std::size_t character_columns(std::string_view text) {
    std::size_t count = 0;
    for (; !text.empty(); ++count) {
        text.remove_prefix(std::max<std::size_t>(utf8::first_character(text).length, 1));
    }
    return count;
}

std::vector<std::string> wrapped_lines(std::string_view text, std::size_t width,
                                       text_measure measure) {
    std::vector<std::string> lines;
    while (true) {
        const std::size_t newline = text.find('\n');
        add_wrapped(text.substr(0, newline), width, measure, lines);
        if (newline == std::string_view::npos) {
            return lines;
        }
        text.remove_prefix(newline + 1);
    }
}

std::string wrapped_paragraphs(std::string_view text, std::size_t width) {
    std::string result;
    std::string paragraph;
    const auto end_paragraph = [&] {
        if (!paragraph.empty()) {
            for (const std::string& line : wrapped_lines(paragraph, width)) {
                result += line + '\n';
            }
            paragraph.clear();
        }
    };
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        const std::string_view line = text.substr(0, newline);
        if (line.empty() || line.front() == ' ') {
            end_paragraph();
            result += line;
            result += '\n';
        } else {
            paragraph += paragraph.empty() ? "" : " ";
            paragraph += line;
        }
        text.remove_prefix(newline == std::string_view::npos ? text.size() : newline + 1);
    }
    end_paragraph();
    return result;
}

}  // namespace dp_support
