#include "tools/dpctl/desired/server_identity.hpp"

#include <cstddef>

#include "common/fixed_paths.hpp"
#include "support/read_file.hpp"
#include "tools/dpctl/system/readable_file.hpp"
#include "tools/dpctl/values/registry_state.hpp"
#include "tools/dpctl/values/session.hpp"

namespace dpctl {
namespace {

// The first line of the file of the build id.
std::string read_build_id() {
    constexpr std::size_t limit = 4096;
    const std::string path = dp::fixed_paths::uefi_build_id.str();
    if (!why_unreadable(path).empty()) {
        return "";
    }
    const auto text = dp_support::read_file(path, limit);
    return text ? text->substr(0, text->find('\n')) : std::string();
}

}  // namespace

server_identity identify_server(const session& service, const registry_state& registry) {
    server_identity identity;
    if (registry.registry() != nullptr) {
        identity.registry_version = registry.registry()->version;
    }
    if (!service.has_foreign_template()) {
        identity.build_id = read_build_id();
    }
    return identity;
}

}  // namespace dpctl
