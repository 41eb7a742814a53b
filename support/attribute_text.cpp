#include "support/attribute_text.hpp"

#include <algorithm>
#include <sstream>
#include <unordered_set>

#include "bios/template_info.hpp"
#include "platform/sysipc/efi_decompressor.hpp"

namespace dp_tools {
namespace {

/// Takes the next record, without its end, off the front of `text`.
std::string_view next_record(std::string_view& text) {
    const auto end = text.find(template_info::record_end);
    const auto record = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (text.starts_with('\n')) {
        text.remove_prefix(1);
    }
    return record;
}

bool is_key(std::string_view key) {
    return !key.empty() && key.size() <= 16 &&
           std::all_of(key.begin(), key.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

/// Whether a record is made of items.
bool is_record(std::string_view record) {
    while (!record.empty()) {
        const auto end = record.find(template_info::item_end);
        const auto item = record.substr(0, end);
        const auto colon = item.find(':');
        if (colon == std::string_view::npos || !is_key(item.substr(0, colon))) {
            return false;
        }
        record.remove_prefix(end == std::string_view::npos ? record.size() : end + 1);
    }
    return true;
}

/// Whether the bytes are the image of an empty text, which the decompressor can't tell from data
/// that is not compressed: an 8-byte header whose sizes are that of the stream behind it and 0.
bool is_empty_image(std::string_view bytes) {
    if (bytes.size() <= 8 || bytes.substr(4, 4) != std::string_view("\0\0\0\0", 4)) {
        return false;
    }
    std::size_t compressed = 0;
    for (std::size_t i = 4; i-- > 0;) {
        compressed = compressed << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return compressed == bytes.size() - 8;
}

}  // namespace

std::string text_problem(std::string_view text) {
    if (text.empty()) {
        return "is empty";
    }
    for (std::size_t number = 1; !text.empty(); ++number) {
        const auto record = next_record(text);
        const std::string name = "holds record " + std::to_string(number);
        if (record.size() > template_info::record_limit) {
            return name + ", longer than " + std::to_string(template_info::record_limit) + " bytes";
        }
        if (!is_record(record)) {
            return name + ", which is not made of items";
        }
    }
    return "";
}

attribute_text expand_template(const std::string& bytes) {
    std::istringstream in(bytes);
    const auto expanded = sysipc::efi_decompressor::decompress(in);
    if (!expanded.empty()) {
        return {std::string(expanded.begin(), expanded.end()), ""};
    }
    if (is_empty_image(bytes)) {
        return {"", ""};
    }
    const std::string problem = text_problem(bytes);
    if (!problem.empty()) {
        return {std::nullopt, "neither a whole compressed image nor attribute text: it " + problem};
    }
    return {bytes, ""};
}

std::vector<std::string> configurations(std::string_view text) {
    std::vector<std::string> names;
    std::unordered_set<std::string> known;
    while (!text.empty()) {
        const auto record = next_record(text);
        if (record.size() > template_info::record_limit) {
            break;
        }
        template_info info;
        info.parse_setting_info(std::string(record));
        if (!info.cfg.empty() && known.insert(info.cfg).second) {
            names.push_back(info.cfg);
        }
    }
    return names;
}

}  // namespace dp_tools
