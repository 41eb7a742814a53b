#include "tools/dpctl/values/registry_state.hpp"

#include <cerrno>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "service_api/server_paths.hpp"
#include "support/read_file.hpp"
#include "support/result.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/system/readable_file.hpp"
#include "tools/dpctl/values/session.hpp"

namespace dpctl {
namespace {

using dp_service::attribute_registry;

dp_support::result<attribute_registry> read_registry(const std::string& path) {
    if (std::string reason = why_unreadable(path); !reason.empty()) {
        return dp_support::failure{std::move(reason)};
    }
    const auto text = dp_support::read_file(path, dp_service::registry_size_limit);
    if (!text) {
        return text.error();
    }
    auto registry = dp_service::parse_attribute_registry(*text);
    if (!registry) {
        return dp_support::failure{path + ": " + registry.reason(), registry.code()};
    }
    return registry;
}

}  // namespace

registry_state::registry_state(session& service, catalog& names, report& rep) {
    const std::string& named = service.files().registry;
    if (named.empty() && service.has_foreign_template()) {
        return;
    }
    const std::string path = named.empty() ? dp_service::server_paths::registry.str() : named;
    auto registry = read_registry(path);
    std::string problem = registry.reason();
    const bool is_there = registry.ok() || registry.code() != ENOENT;
    if (registry) {
        registry_ = std::make_unique<const attribute_registry>(*std::move(registry));
        if (has_attributes_of(names)) {
            load_pending_values(service);
            return;
        }
        registry_.reset();
        problem = path + ": is the registry of another template";
    }
    if (!named.empty()) {
        throw std::runtime_error(problem);
    }
    if (is_there) {
        rep.note(problem + "; it is not used");
    }
}

registry_state::registry_state(attribute_registry registry, catalog& names)
    : registry_(std::make_unique<const attribute_registry>(std::move(registry))) {
    if (!has_attributes_of(names)) {
        throw std::runtime_error("the registry has other attributes");
    }
    rules_ = std::make_unique<dp_service::registry_dependencies>(*registry_);
}

bool registry_state::has_attributes_of(catalog& names) {
    std::vector<std::string_view> template_names;
    template_names.reserve(registry_->attributes.size());
    setting_names_.assign(registry_->attributes.size(), {});
    for (const auto& name : names.collections()) {
        const auto found = names.find_collection(name);
        const auto* const view = std::get<const collection_view*>(found);
        for (const auto& attribute : view->attributes()) {
            template_names.emplace_back(attribute.id);
            if (const auto index = registry_->find(attribute.id)) {
                setting_names_[*index] = setting_ref{view, &attribute, {}}.name();
            }
        }
    }
    return registry_->has_attributes(std::move(template_names));
}

void registry_state::load_pending_values(session& service) {
    rules_ = std::make_unique<dp_service::registry_dependencies>(*registry_);
    std::vector<std::string> settings;
    std::vector<std::uint32_t> indexes;
    for (std::size_t i = 0; i < setting_names_.size(); ++i) {
        if (!setting_names_[i].empty()) {
            settings.push_back(setting_names_[i]);
            indexes.push_back(static_cast<std::uint32_t>(i));
        }
    }
    const auto values = service.read(settings, values_of::pending);
    std::vector<dp_service::registry_dependencies::assignment> assignments;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].known) {
            const auto& attribute = registry_->attributes[indexes[i]];
            assignments.push_back({indexes[i], attribute.value_of_text(values[i].text)});
        }
    }
    rules_->load(assignments);
    rules_->keep();
}

std::optional<std::uint32_t> registry_state::index_of(const setting_ref& setting) const {
    return registry_ != nullptr && setting.instance.empty() ? registry_->find(setting.attribute->id)
                                                            : std::nullopt;
}

const dp_service::registry_attribute* registry_state::find(const setting_ref& setting) const {
    const auto index = index_of(setting);
    return index ? &registry_->attributes[*index] : nullptr;
}

}  // namespace dpctl
