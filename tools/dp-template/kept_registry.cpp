#include "tools/dp-template/kept_registry.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "service_api/attribute_registry.hpp"
#include "tools/dp-template/encodable_text.hpp"

namespace dp_tools {
namespace {

using dp_support::json_kind;
using dp_support::json_value;
using severity = finding::severity;

std::string pointer_to(std::string_view list, std::size_t index) {
    return "/RegistryEntries/" + std::string(list) + "/" + std::to_string(index);
}

// The password that a dependency names; null when it names none. Recursion ends at the depth that
// the parser allows.
// NOLINTNEXTLINE(misc-no-recursion)
const json_value* named_password(const json_value& part, const compiled_registry& compiled) {
    constexpr std::array<std::string_view, 3> names{"DependencyFor", "MapToAttribute",
                                                    "MapFromAttribute"};
    if (part.kind == json_kind::text) {
        const bool is_name = std::find(names.begin(), names.end(), part.name) != names.end();
        return is_name && compiled.password_names.contains(part.text) ? &part : nullptr;
    }
    for (const json_value& inner : part.items) {
        if (const json_value* found = named_password(inner, compiled)) {
            return found;
        }
    }
    return nullptr;
}

// The members of an object with that name.
std::vector<json_value*> members(json_value& object, std::string_view name) {
    std::vector<json_value*> found;
    for (json_value& member : object.items) {
        if (member.name == name) {
            found.push_back(&member);
        }
    }
    return found;
}

class registry_filter {
  public:
    registry_filter(json_value root, compiled_registry& compiled)
        : root_(std::move(root)), compiled_(compiled), findings_(compiled.findings) {}

    std::string text() {
        for (json_value* entries : members(root_, "RegistryEntries")) {
            for (json_value* attributes : members(*entries, "Attributes")) {
                keep_attributes(*attributes);
            }
            for (json_value* dependencies : members(*entries, "Dependencies")) {
                drop_dependencies_of_passwords(*dependencies);
            }
        }
        report_problems();
        std::stable_sort(compiled_.findings.begin(), compiled_.findings.end(),
                         [](const finding& a, const finding& b) { return a.offset < b.offset; });
        return dp_support::to_text(root_, dp_support::json_layout::one_line) + '\n';
    }

  private:
    void keep_attributes(json_value& list) {
        std::vector<json_value> kept;
        kept.reserve(compiled_.positions.size());
        for (const std::size_t position : compiled_.positions) {
            kept.push_back(std::move(list.items[position]));
        }
        list.items = std::move(kept);
    }

    void drop_dependencies_of_passwords(json_value& list) {
        std::vector<json_value> kept;
        dependencies_.clear();
        for (std::size_t i = 0; i < list.items.size(); ++i) {
            if (const json_value* password = named_password(list.items[i], compiled_)) {
                findings_.add(severity::notice, *password, pointer_to("Dependencies", i),
                              "the dependency is left out, because it names the password " +
                                  quoted_for_message(password->text));
            } else {
                kept.push_back(std::move(list.items[i]));
                dependencies_.push_back(i);
            }
        }
        list.items = std::move(kept);
    }

    // The index that an element of a list has in the whole registry.
    [[nodiscard]] std::size_t original_index(std::string_view list, std::size_t index) const {
        if (list == "Attributes") {
            return compiled_.positions[index];
        }
        return list == "Dependencies" ? dependencies_[index] : index;
    }

    void report_problems() {
        const auto read = dp_service::read_attribute_registry(root_);
        if (!read) {
            findings_.add(severity::broken, root_, "", read.reason());
            return;
        }
        for (const auto& problem : read->problems) {
            json_value place;
            place.offset = problem.offset;
            const std::string pointer =
                problem.list.empty()
                    ? "/RegistryEntries"
                    : pointer_to(problem.list, original_index(problem.list, problem.index));
            findings_.add(
                severity::warning, place, pointer + problem.member,
                problem.message + (problem.list == "Dependencies" ? "; the dependency is ignored"
                                                                  : "; it is ignored"));
        }
    }

    json_value root_;
    compiled_registry& compiled_;
    findings_list findings_;
    std::vector<std::size_t> dependencies_;  // the indexes of those that are kept
};

}  // namespace

std::string kept_registry(const json_value& root, compiled_registry& compiled) {
    return registry_filter(root, compiled).text();
}

}  // namespace dp_tools
