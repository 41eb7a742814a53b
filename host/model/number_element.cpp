#include "host/model/number_element.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "service_api/service_status.hpp"
#include "support/decimal.hpp"
#include "transactions/command_status.hpp"

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
      max_(info.min == 0 && info.max == 0 ? std::numeric_limits<std::uint32_t>::max() : info.max),
      step_(std::max(1U, info.stp)) {}

bool number_element::map_value(std::string* value) {
    *value = without_leading_zeros(std::move(*value));
    return true;
}

std::int32_t number_element::check(const std::string& value) {
    if (!dp_support::decimal::is_digits(value)) {
        return dp_service::service_status::not_a_number;
    }
    const auto number = dp_support::decimal::parse<std::uint32_t>(value);
    if (!number || *number < min_ || *number > max_) {
        return dp_service::service_status::out_of_range;
    }
    return (*number - min_) % step_ == 0 ? dp::command_status::success
                                         : dp_service::service_status::not_a_step;
}

}  // namespace dp_host
