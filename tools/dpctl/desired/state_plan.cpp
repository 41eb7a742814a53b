#include "tools/dpctl/desired/state_plan.hpp"

#include <cstddef>
#include <iterator>
#include <unordered_set>
#include <utility>
#include <variant>

#include "tools/dpctl/changes/change_planner.hpp"
#include "tools/dpctl/desired/desired_settings.hpp"
#include "tools/dpctl/desired/server_identity.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/values/registry_state.hpp"

namespace dpctl {
namespace {

void note_difference(const std::string& source, const std::string& what,
                     const std::string& of_state, const std::string& of_server, report& rep) {
    if (!of_state.empty() && of_state != of_server) {
        rep.note("warning: " + source + " was made from " + what + ' ' + in_quotes(of_state) +
                 ", but that of this server is " +
                 (of_server.empty() ? std::string("not known") : in_quotes(of_server)));
    }
}

}  // namespace

std::optional<state_file> load_state(const std::string& path, report& rep) {
    auto state = read_state(path);
    if (!state) {
        rep.problem(state.reason());
        return std::nullopt;
    }
    return *std::move(state);
}

void note_other_versions(const state_file& state, const session& service,
                         const registry_state& registry, report& rep) {
    const server_identity server = identify_server(service, registry);
    note_difference(state.source, "registry version", state.registry_version,
                    server.registry_version, rep);
    note_difference(state.source, "BIOS build", state.build_id, server.build_id, rep);
}

std::vector<desired_setting> defaults_of_others(catalog& names, const registry_state& registry,
                                                const std::vector<desired_setting>& named,
                                                report& rep) {
    std::unordered_set<std::string> known;
    for (const auto& desired : named) {
        known.insert(desired.setting.name());
    }
    std::vector<desired_setting> others;
    std::size_t unique = 0;
    for (const auto& collection : names.collections()) {
        const auto found = names.find_collection(collection);
        for (auto& setting : std::get<const collection_view*>(found)->settings_with_values()) {
            if (known.contains(setting.name())) {
                continue;
            }
            const auto* const attribute = registry.find(setting);
            if (attribute != nullptr && attribute->is_system_unique) {
                ++unique;
            } else {
                others.push_back(default_of(setting));
            }
        }
    }
    rep.document().set("kept_unique", unique);
    if (unique != 0) {
        rep.line(std::to_string(unique) +
                 (unique == 1 ? " setting that identifies this server is left as it is."
                              : " settings that identify this server are left as they are."));
    }
    return others;
}

std::optional<change_plan> plan_state(session& service, const std::string& path,
                                      bool others_default, report& rep) {
    const auto state = load_state(path, rep);
    if (!state) {
        return std::nullopt;
    }
    const auto planner = change_planner::start(service, rep);
    if (planner == nullptr) {
        return std::nullopt;
    }
    note_other_versions(*state, service, planner->registry(), rep);
    auto settings = resolve_state(planner->names(), planner->registry(), *state, rep);
    if (others_default) {
        auto others = defaults_of_others(planner->names(), planner->registry(), settings, rep);
        std::move(others.begin(), others.end(), std::back_inserter(settings));
    }
    return planner->plan(settings);
}

}  // namespace dpctl
