#include "batch/parse_name.hpp"

#include "batch/assign_text.hpp"
#include "batch/qualified_setting_name.hpp"

namespace dp {

void parse_name(std::string_view text, qualified_setting_name& name) {
    const std::size_t first = text.find('.');
    if (first == std::string_view::npos) {
        assign_text(name.configuration, "err");
        assign_text(name.setting, text.empty() ? "invalid_setting" : text);
        name.instance.clear();
        return;
    }
    assign_text(name.configuration, text.substr(0, first));
    const std::string_view rest = text.substr(first + 1);
    // Search forwards first: most names have only one dot.
    if (rest.find('.') == std::string_view::npos) {
        assign_text(name.setting, rest);
        name.instance.clear();
        return;
    }
    const std::size_t last = rest.rfind('.');
    assign_text(name.setting, rest.substr(0, last));
    assign_text(name.instance, rest.substr(last + 1));
}

}  // namespace dp
