#include "redfish/protocol/deferred_operations.hpp"

#include <algorithm>
#include <cstddef>

#include "redfish/protocol/field_text.hpp"
#include "support/ascii_case.hpp"

namespace dp_redfish {

bool prefers_deferred(std::string_view prefer) {
    while (!prefer.empty()) {
        const std::size_t end = std::min(prefer.find(','), prefer.size());
        const std::string_view preference = prefer.substr(0, end);
        const std::string_view name = preference.substr(0, preference.find_first_of(";="));
        if (dp_support::lower_case(without_spaces_around(name)) == "respond-async") {
            return true;
        }
        prefer.remove_prefix(std::min(end + 1, prefer.size()));
    }
    return false;
}

}  // namespace dp_redfish
