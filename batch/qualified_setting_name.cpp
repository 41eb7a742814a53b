#include "batch/qualified_setting_name.hpp"

#include "batch/name_parts.hpp"
#include "batch/stored_text.hpp"

namespace dp {

void parse_name(std::string_view text, qualified_setting_name& name) {
    const std::size_t first = text.find('.');
    if (first == std::string_view::npos) {
        store_text(name.configuration, "err");
        store_text(name.setting, text.empty() ? "invalid_setting" : text);
        name.instance.clear();
        return;
    }
    store_text(name.configuration, text.substr(0, first));
    const std::string_view rest = text.substr(first + 1);
    // Most names have no further dot; one call tells.
    if (rest.find('.') == std::string_view::npos) {
        store_text(name.setting, rest);
        name.instance.clear();
        return;
    }
    const std::size_t last = rest.rfind('.');
    store_text(name.setting, rest.substr(0, last));
    store_text(name.instance, rest.substr(last + 1));
}

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
