#include "batch/qualified_setting_name.hpp"

#include "batch/parse_name.hpp"

namespace dp {

void qualified_setting_name::parse(const std::string& text) {
    const bool is_own_part = &text == &configuration || &text == &setting || &text == &instance;
    if (is_own_part) {
        parse_name(std::string(text), *this);
    } else {
        parse_name(text, *this);
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
