#include "tools/dpctl/changes/change_list.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "tools/dpctl/status/whole_lines.hpp"

namespace dpctl {
namespace {

// Whether `text` is `front`, or goes on behind it with a dot.
bool begins_with_parts(std::string_view text, std::string_view front) {
    return text.starts_with(front) && (text.size() == front.size() || text[front.size()] == '.');
}

}  // namespace

change_list read_changes(std::string_view text) {
    change_list result;
    result.is_torn = for_each_whole_line(text, [&result](std::string_view line) {
        if (auto record = dp_service::change_record::parse(std::string(line))) {
            result.changes.push_back(std::move(*record));
        } else if (!line.empty()) {
            ++result.foreign_lines;
        }
    });
    return result;
}

bool is_meant(std::string_view target, std::string_view name) {
    if (name.ends_with('.')) {
        name.remove_suffix(1);
    }
    const std::size_t dot = target.find('.');
    return begins_with_parts(target, name) ||
           (dot != std::string_view::npos && begins_with_parts(target.substr(dot + 1), name));
}

std::vector<dp_service::change_record> choose(const std::vector<dp_service::change_record>& changes,
                                              const std::vector<std::string>& names,
                                              std::size_t count) {
    std::vector<dp_service::change_record> chosen;
    std::copy_if(changes.begin(), changes.end(), std::back_inserter(chosen),
                 [&](const dp_service::change_record& change) {
                     return names.empty() ||
                            std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                                return is_meant(change.target, name);
                            });
                 });
    if (count > 0 && chosen.size() > count) {
        chosen.erase(chosen.begin(), chosen.end() - static_cast<std::ptrdiff_t>(count));
    }
    return chosen;
}

}  // namespace dpctl
