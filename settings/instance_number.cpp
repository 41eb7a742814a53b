#include "settings/instance_number.hpp"

#include "common/numbers.hpp"

namespace dp {

std::uint32_t parse_instance(std::string_view text) {
    if (text.empty()) {
        return no_instance;
    }
    const auto number = parse_unsigned(text);
    return number.ok ? number.value : invalid_instance;
}

}  // namespace dp
