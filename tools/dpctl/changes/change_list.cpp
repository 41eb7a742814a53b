#include "tools/dpctl/changes/change_list.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "support/complete_lines.hpp"

namespace dpctl {
namespace {

using dp_service::change_record;

// Whether `name` is all of `text`, or the part before one of its dots.
bool begins_with_name(std::string_view text, std::string_view name) {
    return text.starts_with(name) && (text.size() == name.size() || text[name.size()] == '.');
}

}  // namespace

change_list read_changes(std::string_view text) {
    change_list result;
    result.is_incomplete =
        dp_support::for_each_complete_line(text, [&result](std::string_view line) {
            if (auto change = change_record::parse(std::string(line))) {
                result.changes.push_back(std::move(*change));
            } else if (!line.empty()) {
                ++result.foreign_lines;
            }
        });
    return result;
}

bool is_named(std::string_view target, std::string_view name) {
    if (name.ends_with('.')) {
        name.remove_suffix(1);
    }
    const std::size_t dot = target.find('.');
    return begins_with_name(target, name) ||
           (dot != std::string_view::npos && begins_with_name(target.substr(dot + 1), name));
}

std::vector<change_record> select_changes(const std::vector<change_record>& changes,
                                          const std::vector<std::string>& names,
                                          std::size_t count) {
    std::vector<change_record> selected;
    std::copy_if(changes.begin(), changes.end(), std::back_inserter(selected),
                 [&](const change_record& change) {
                     return names.empty() ||
                            std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                                return is_named(change.target, name);
                            });
                 });
    if (count > 0 && selected.size() > count) {
        selected.erase(selected.begin(), selected.end() - static_cast<std::ptrdiff_t>(count));
    }
    return selected;
}

}  // namespace dpctl
