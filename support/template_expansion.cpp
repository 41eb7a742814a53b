#include "support/template_expansion.hpp"

#include <algorithm>
#include <unordered_set>

#include "bios/template_info.hpp"
#include "platform/sysipc/efi_decompressor.hpp"
#include "support/checked_streams.hpp"

namespace dp_support {
namespace {

/// Removes the first template record from `text` and returns it without its end.
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

/// Whether a template record consists of items.
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

/// Whether the bytes are the image of an empty text, for which the decompressor returns the same as
/// for uncompressed data. Such an image is an 8-byte header, with the size of the stream after it
/// and the size 0, and the stream.
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

// Calls `use` with each template record that the library reads: an overlong one ends the reading.
template <class Use>
void for_each_record(std::string_view text, Use use) {
    while (!text.empty()) {
        const auto record = next_record(text);
        if (record.size() > template_info::record_limit) {
            return;
        }
        template_info info;
        info.parse_setting_info(std::string(record));
        use(info);
    }
}

}  // namespace

result<> check_template_text(std::string_view text) {
    if (text.empty()) {
        return failure{"is empty"};
    }
    for (std::size_t number = 1; !text.empty(); ++number) {
        const auto record = next_record(text);
        const std::string name = "contains record " + std::to_string(number);
        if (record.size() > template_info::record_limit) {
            return failure{name + ", which is longer than " +
                           std::to_string(template_info::record_limit) + " bytes"};
        }
        if (!is_record(record)) {
            return failure{name + ", which does not consist of items"};
        }
    }
    return {};
}

result<std::string> expand_template(const std::string& bytes) {
    checked_istringstream in(bytes);
    const auto expanded = sysipc::efi_decompressor::decompress(in);
    if (!expanded.empty()) {
        return std::string(expanded.begin(), expanded.end());
    }
    if (is_empty_image(bytes)) {
        return std::string();
    }
    if (const auto checked = check_template_text(bytes); !checked) {
        return failure{"is neither a complete compressed image nor attribute text: it " +
                       checked.reason()};
    }
    return bytes;
}

std::vector<std::string> configuration_names(std::string_view text) {
    std::vector<std::string> names;
    std::unordered_set<std::string> known;
    for_each_record(text, [&](const template_info& info) {
        if (!info.cfg.empty() && known.insert(info.cfg).second) {
            names.push_back(info.cfg);
        }
    });
    return names;
}

std::vector<std::string> attribute_names(std::string_view text) {
    std::vector<std::string> names;
    for_each_record(text, [&](const template_info& info) {
        if (!info.cfg.empty() || !info.id.empty()) {
            names.push_back(info.id);
        }
    });
    return names;
}

}  // namespace dp_support
