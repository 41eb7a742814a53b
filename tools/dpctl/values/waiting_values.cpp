#include "tools/dpctl/values/waiting_values.hpp"

#include "common/fixed_paths.hpp"

namespace dpctl {

std::size_t count_waiting_values(const dp_service::stored_values& pending,
                                 const dp_service::stored_values& current) {
    std::size_t count = 0;
    std::size_t common = 0;
    for (const auto& [name, value] : pending) {
        const auto found = current.find(name);
        common += found != current.end() ? 1U : 0U;
        count += found == current.end() || found->second != value ? 1U : 0U;
    }
    return count + current.size() - common;
}

std::optional<std::size_t> count_waiting_values() {
    const auto pending = dp_service::read_stored_values(dp::fixed_paths::uefi_settings.str());
    const auto current = dp_service::read_stored_values(dp::fixed_paths::uefi_current.str());
    return pending && current ? std::optional(count_waiting_values(*pending, *current))
                              : std::nullopt;
}

}  // namespace dpctl
