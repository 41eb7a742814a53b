#include "tools/dpctl/values/dependency_index.hpp"

namespace dpctl {
namespace {

using dp_service::registry_map;
using dp_service::registry_term;

// The parser limits the depth.
// NOLINTNEXTLINE(misc-no-recursion)
void add_read_attributes(const std::vector<registry_term>& terms, std::set<std::uint32_t>& read) {
    for (const registry_term& term : terms) {
        if (term.subexpressions.empty()) {
            read.insert(term.attribute);
        } else {
            add_read_attributes(term.subexpressions, read);
        }
    }
}

}  // namespace

std::set<std::uint32_t> attributes_read(const registry_map& map) {
    std::set<std::uint32_t> read;
    add_read_attributes(map.terms, read);
    return read;
}

dependency_index::dependency_index(const dp_service::attribute_registry& registry)
    : changing_(registry.attributes.size()), decided_by_(registry.attributes.size()) {
    for (const registry_map& map : registry.maps) {
        changing_[map.attribute].push_back(&map);
        std::set<std::uint32_t> deciding = attributes_read(map);
        if (map.property == dp_service::registry_property::current_value && map.cause) {
            deciding.insert(*map.cause);
        }
        deciding.erase(map.attribute);
        for (const std::uint32_t attribute : deciding) {
            decided_by_[attribute].push_back(&map);
        }
    }
}

}  // namespace dpctl
