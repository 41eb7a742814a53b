#include "service_api/value_check.hpp"

#include <algorithm>
#include <map>
#include <vector>

#include "batch/batch_list_info.hpp"
#include "service_api/attribute_description.hpp"
#include "service_api/choice_list.hpp"
#include "service_api/service_status.hpp"
#include "service_api/value_limits.hpp"
#include "support/decimal.hpp"
#include "support/utf8.hpp"
#include "support/value_pattern.hpp"
#include "transactions/command_status.hpp"

namespace dp_service {
namespace {

using dp::batch_list_info;
using dp::command_status::success;
using dp_support::value_pattern;

bool has_instance(const dp_attribute& attribute, const std::string& instance) {
    if (attribute.mxi == 0) {
        return instance.empty();
    }
    const auto number = dp_support::decimal::parse<std::uint32_t>(instance);
    return number && (instance.front() != '0' || instance.size() == 1) &&
           *number >= attribute.mni && *number <= attribute.mxi;
}

bool is_default(const dp_attribute& attribute, const std::string& value) {
    if (is_numeric(attribute) && dp_support::decimal::is_digits(value)) {
        return value.substr(std::min(value.find_first_not_of('0'), value.size() - 1)) ==
               attribute.dft;
    }
    return value == attribute.dft;
}

// Whether the attribute's value may be a list selection, whose items are the choices. The library
// returns the default of one in the terse form, "A,B", so its limits are not those of its type.
bool may_be_selection(const dp_attribute& attribute, const std::string& value) {
    return batch_list_info::is_full_form(value) ||
           std::string_view(attribute.dft).find(',') != std::string_view::npos ||
           (is_enumeration(attribute) && value.find(',') != std::string::npos);
}

std::int32_t check_choices(const dp_attribute& attribute, const std::string& value) {
    const auto choices = dp_service::choice_list::split(attribute.chc);
    const auto is_choice = [&](const std::string& text) {
        return std::find(choices.begin(), choices.end(), text) != choices.end();
    };
    if (choices.empty() || is_choice(value)) {
        return success;
    }
    if (!may_be_selection(attribute, value)) {
        return service_status::not_a_choice;
    }
    std::map<std::string, std::string> items;
    batch_list_info().parse_selections(value, items);
    return std::all_of(items.begin(), items.end(),
                       [&](const auto& item) { return is_choice(item.first); })
               ? success
               : service_status::not_a_choice;
}

std::int32_t check_text(const dp_attribute& attribute, const std::string& value) {
    if (may_be_selection(attribute, value)) {
        return success;
    }
    const auto length = dp_support::utf8::count_characters(value).value_or(value.size());
    const std::int32_t status =
        dp_service::value_limits::check_length(length, attribute.minc, attribute.maxc);
    if (status != success || *attribute.reg == '\0') {
        return status;
    }
    return value_pattern(attribute.reg).judge(value) == value_pattern::verdict::differs
               ? service_status::pattern_mismatch
               : success;
}

}  // namespace

std::int32_t check_value(const dp_attribute& attribute, const std::string& instance,
                         const std::string& value) {
    if (!has_instance(attribute, instance)) {
        return service_status::bad_instance;
    }
    if (is_read_only(attribute)) {
        return service_status::read_only;
    }
    if (is_default(attribute, value)) {
        return success;
    }
    if (is_numeric(attribute)) {
        return may_be_selection(attribute, value)
                   ? success
                   : dp_service::value_limits::check_number(value, attribute.min, attribute.max,
                                                            attribute.stp);
    }
    if (is_string(attribute)) {
        return check_text(attribute, value);
    }
    return is_enumeration(attribute) ? check_choices(attribute, value) : success;
}

}  // namespace dp_service
