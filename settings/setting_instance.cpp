#include "settings/setting_instance.hpp"

#include <ostream>

#include "settings/configuration.hpp"
#include "settings/setting.hpp"

namespace dp {

std::string setting_instance::get_name() const {
    if (setting == nullptr) {
        return "ERR.INVALID_SETTING";
    }
    std::string name = setting->configuration->name + '.' + setting->name;
    if (!instance.empty()) {
        name += '.';
        name += instance;
    }
    return name;
}

std::ostream& operator<<(std::ostream& os, const setting_instance& i) {
    return os << i.get_name();
}

}  // namespace dp
