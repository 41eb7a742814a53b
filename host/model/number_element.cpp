#include "host/model/number_element.hpp"

#include <algorithm>
#include <utility>

#include "service_api/value_limits.hpp"
#include "support/decimal.hpp"

namespace dp_host {
namespace {

// Texts that are not numbers are unchanged.
std::string without_leading_zeros(std::string value) {
    if (dp_support::decimal::is_digits(value)) {
        value.erase(0, std::min(value.find_first_not_of('0'), value.size() - 1));
    }
    return value;
}

}  // namespace

number_element::number_element(const template_info& info)
    : template_element(info, without_leading_zeros(info.dft)),
      min_(info.min),
      max_(info.max),
      step_(info.stp) {}

bool number_element::map_value(std::string* value) {
    *value = without_leading_zeros(std::move(*value));
    return true;
}

std::int32_t number_element::check(const std::string& value) {
    return dp_service::value_limits::check_number(value, min_, max_, step_);
}

}  // namespace dp_host
