#include "settings/configuration_reference_list.hpp"

#include <algorithm>

#include "settings/configuration.hpp"

namespace dp {

void configuration_reference_list::add_reference(registrar& /*reg*/, configuration* config) {
    stale = true;
    references.emplace_back(config, 0);
}

void configuration_reference_list::remove_reference(registrar& /*reg*/, configuration* config) {
    stale = true;
    references.remove_if([config](const auto& reference) { return reference.first == config; });
}

bool configuration_reference_list::has_reference(registrar& /*reg*/,
                                                 const configuration* config) const {
    return std::any_of(references.begin(), references.end(),
                       [config](const auto& reference) { return reference.first == config; });
}

bool configuration_reference_list::is_stale() const {
    // A difference of exactly this bit does not count as a change.
    constexpr std::uint32_t ignored_difference = 0x10000000;
    return stale || std::any_of(references.begin(), references.end(), [](const auto& reference) {
               return ((reference.first->version - reference.second) & ~ignored_difference) != 0;
           });
}

void configuration_reference_list::update_versions(registrar& /*reg*/) {
    stale = false;
    for (auto& [config, version] : references) {
        version = config->version;
    }
}

}  // namespace dp
