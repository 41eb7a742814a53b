#include "settings/setting_element.hpp"

namespace dp {

bool setting_element::map_value(std::string* /*value*/) {
    return true;
}

std::string setting_element::default_value() {
    return {};
}

std::int32_t setting_element::validate(const std::string& /*value*/) {
    return 0;
}

setting_element::~setting_element() = default;

std::int32_t non_xml_setting_element::validate(const std::string& /*value*/) {
    return 0;
}

}  // namespace dp
