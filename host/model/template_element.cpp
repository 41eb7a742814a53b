#include "host/model/template_element.hpp"

#include <utility>

#include "service_api/service_status.hpp"
#include "service_api/template_flags.hpp"
#include "support/decimal.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {

template_element::template_element(const template_info& info, std::string default_value)
    : default_(std::move(default_value)) {
    if (info.mxi > 0) {
        min_instance = info.mni;
        max_instance = info.mxi;
    }
    record_name = info.rec;
    flags = info.flg;
    // A reset deletes such an attribute, so deleting it must be permitted.
    if (info.dfa == "remove") {
        flags |= deletable_flag;
    }
}

bool template_element::is_read_only() const {
    return (flags & dp_service::template_flags::read_only) != 0;
}

std::int32_t template_element::validate(const std::string& value) {
    if (value == default_) {
        return dp::command_status::success;
    }
    return is_read_only() && !is_left_to_owner_ ? dp_service::service_status::read_only
                                                : check(value);
}

bool template_element::is_valid(const std::string& value) {
    return value == default_ || check(value) == dp::command_status::success;
}

bool template_element::parse_instance(const std::string& text, std::uint32_t& instance) const {
    if (is_single_valued()) {
        instance = dp::no_instance;
        return text.empty();
    }
    const auto number = dp_support::decimal::parse<std::uint32_t>(text);
    if (!number || (text.front() == '0' && text.size() > 1)) {
        return false;
    }
    instance = *number;
    return min_instance <= instance && instance <= max_instance;
}

}  // namespace dp_host
