// Arbitrary bytes as a selection: both forms are split as by a plain splitter, and a selection that
// the full form can express survives a round trip.

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "batch/batch_list_info.hpp"
#include "tests/fuzz/fuzzing.hpp"

namespace {

using selection = std::map<std::string, std::string>;

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> pieces(1);
    for (const char c : text) {
        if (c == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += c;
        }
    }
    return pieces;
}

selection reference_selection(const std::string& text) {
    selection all;
    if (text.empty()) {
        return all;
    }
    if (text[0] == '[' && text.find("value=") != std::string::npos) {
        for (const auto& item : split(text, ']')) {
            auto parts = split(item, '\'');
            parts.resize(std::max<std::size_t>(parts.size(), 4));
            if (!parts[1].empty()) {
                all[parts[1]] = parts[3];
            }
        }
        return all;
    }
    const auto values = split(text, ',');
    for (std::size_t i = 0; i < values.size(); ++i) {
        all[values[i]] = std::to_string(i + 1);
    }
    return all;
}

/// Whether the full form can express the selection.
bool full_form_expresses(const selection& all) {
    const auto fits = [](const std::string& text) {
        return text.find_first_of("']") == std::string::npos;
    };
    return std::all_of(all.begin(), all.end(), [&](const auto& item) {
        return !item.first.empty() && fits(item.first) && fits(item.second);
    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    dp::batch_list_info info;
    selection parsed;
    info.parse_selections(text, parsed);
    fuzzing::require(parsed == reference_selection(text),
                     "the selection is that of a plain splitter");

    const std::string full = info.get_string(parsed);
    const std::string terse = info.get_string_terse(parsed);
    fuzzing::require(info.tersify(text) == terse,
                     "the terse form of the text is that of its selection");
    fuzzing::require(info.get_current().empty(), "the current selection is unchanged");
    info.set_current(text);
    fuzzing::require(info.get_current() == full && info.get_current_terse() == terse,
                     "the current selection is that of the text");
    if (full_form_expresses(parsed)) {
        selection back;
        info.parse_selections(full, back);
        fuzzing::require(back == parsed, "a selection survives a round trip through its full form");
    }
    return 0;
}
