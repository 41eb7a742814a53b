#include "tools/dp-template/menu_collections.hpp"

#include <algorithm>
#include <optional>

#include "tools/dp-template/encodable_text.hpp"

namespace dp_tools {
namespace {

constexpr std::string_view without_menu = "BIOS";

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view white_space = " \t\r\n";
    const auto first = text.find_first_not_of(white_space);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(white_space) - first + 1);
}

/// The number of leading elements that all paths with a menu share.
std::size_t shared_elements(const std::vector<std::vector<std::string>>& paths) {
    std::optional<std::vector<std::string>> shared;
    for (const auto& path : paths) {
        if (path.empty()) {
            continue;
        }
        if (!shared) {
            shared = path;
            continue;
        }
        const auto difference =
            std::mismatch(shared->begin(), shared->end(), path.begin(), path.end()).first;
        shared->erase(difference, shared->end());
    }
    return shared ? shared->size() : 0;
}

std::string joined(const std::vector<std::string>& path, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : "/") + path[i];
    }
    return text;
}

}  // namespace

std::vector<std::string> menu_elements(std::string_view path) {
    std::vector<std::string> elements;
    while (!path.empty()) {
        const auto end = path.find('/');
        const auto element = trimmed(path.substr(0, end));
        if (!element.empty() && element != ".") {
            elements.emplace_back(element);
        }
        path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
    }
    return elements;
}

menu_collections::menu_collections(const std::vector<std::vector<std::string>>& paths)
    : shared_(shared_elements(paths)) {
    std::set<std::string> taken;
    if (std::any_of(paths.begin(), paths.end(), [](const auto& path) { return path.empty(); })) {
        taken.insert(std::string(without_menu));
    }
    std::map<std::string, std::size_t> next_number;
    for (const auto& path : paths) {
        const std::string key = key_of(path);
        if (!index_.emplace(key, all_.size()).second) {
            continue;
        }
        collection added;
        if (path.empty()) {
            added.name = without_menu;
            added.title = without_menu;
        } else {
            added.title = path[std::min(shared_, path.size() - 1)];
            added.menu = key;
            std::string base = collection_name(added.title);
            if (base.empty()) {
                base = "Menu";
            }
            added.name = base;
            auto& number = next_number.emplace(base, 2).first->second;
            while (!taken.insert(added.name).second) {
                added.name = base + std::to_string(number++);
                added.renamed = true;
            }
        }
        all_.push_back(std::move(added));
    }
}

std::string menu_collections::key_of(const std::vector<std::string>& path) const {
    return joined(path, std::min(shared_ + 1, path.size()));
}

const menu_collections::collection& menu_collections::of(
    const std::vector<std::string>& path) const {
    return all_[index_.at(key_of(path))];
}

}  // namespace dp_tools
