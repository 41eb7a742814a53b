#include <settings/configuration.hpp>
#include <settings/instance_number.hpp>
#include <settings/setting.hpp>
#include <settings/setting_element.hpp>

#include <iostream>

#include "snippets.hpp"

namespace {

struct inventory : dp::configuration {
    inventory() : configuration("Inventory") {}
};

}  // namespace

void snippets::settings(const std::string& /*folder*/) {
    //! [example]
    inventory configuration;  // derived from dp::configuration
    dp::non_xml_setting_element any_value;
    dp::setting tag(&configuration, "Tag", nullptr, &any_value);
    configuration.add_setting(&tag);
    tag.set_instance_value("rack 7", dp::no_instance);
    //! [example]
    tag.display_cache(std::cout);
}
