#include "redfish/protocol/media_type.hpp"

#include <cstddef>

#include "redfish/protocol/field_text.hpp"
#include "support/ascii_case.hpp"

namespace dp_redfish {
media_type::media_type(std::string_view text) {
    std::size_t end = text.find(';');
    name = dp_support::lower_case(without_spaces_around(text.substr(0, end)));
    while (end != std::string_view::npos) {
        text.remove_prefix(end + 1);
        end = text.find(';');
        const std::string_view part = text.substr(0, end);
        const std::size_t equals = part.find('=');
        if (equals == std::string_view::npos) {
            continue;
        }
        std::string_view value = without_spaces_around(part.substr(equals + 1));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
            value = value.substr(1, value.size() - 2);
        }
        parameters_.emplace_back(
            dp_support::lower_case(without_spaces_around(part.substr(0, equals))), value);
    }
}

std::string_view media_type::parameter(std::string_view wanted) const {
    for (const auto& [known, value] : parameters_) {
        if (known == wanted) {
            return value;
        }
    }
    return {};
}

}  // namespace dp_redfish
