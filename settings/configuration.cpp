#include "settings/configuration.hpp"

#include <ostream>
#include <utility>

#include "settings/setting.hpp"

namespace dp {

bool setting_name_less::operator()(const setting* a, const setting* b) const {
    return a->name < b->name;
}

bool setting_name_less::operator()(const setting* a, std::string_view b) const {
    return a->name < b;
}

bool setting_name_less::operator()(std::string_view a, const setting* b) const {
    return a < b->name;
}

configuration::configuration(std::string configuration_name)
    : name(std::move(configuration_name)) {}

void configuration::load_settings(registrar& /*reg*/) {}

void configuration::enumerate_settings(registrar& /*reg*/, settings_callback* callback, int arg) {
    for (setting* s : settings) {
        (*callback)(s, arg);
    }
}

void configuration::add_setting(setting* s) {
    settings.insert(s);
}

setting* configuration::find_setting(const std::string& setting_name) const {
    const auto found = settings.find(std::string_view(setting_name));
    return found == settings.end() ? nullptr : *found;
}

void configuration::count_change() {
    if (changed == 0) {
        changed = 1;
        ++version;
    }
}

std::ostream& operator<<(std::ostream& os, const configuration& c) {
    return os << c.name;
}

}  // namespace dp
