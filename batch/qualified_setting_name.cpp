#include "batch/qualified_setting_name.hpp"

namespace dp {

void qualified_setting_name::parse(const std::string& text) {
    const std::size_t first = text.find('.');
    if (first == std::string::npos) {
        configuration = "err";
        setting = text.empty() ? "invalid_setting" : text;
        instance.clear();
        return;
    }
    const std::size_t last = text.rfind('.');
    configuration.assign(text, 0, first);
    if (first == last) {
        setting.assign(text, first + 1, std::string::npos);
        instance.clear();
    } else {
        setting.assign(text, first + 1, last - first - 1);
        instance.assign(text, last + 1, std::string::npos);
    }
}

std::string qualified_setting_name::get_name() const {
    std::string name = configuration;
    name += '.';
    name += setting;
    if (!instance.empty()) {
        name += '.';
        name += instance;
    }
    return name;
}

}  // namespace dp
