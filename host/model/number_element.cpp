#include "host/model/number_element.hpp"

#include <algorithm>
#include <charconv>
#include <limits>

#include "service_api/service_status.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

bool is_plain_number(const std::string& value) {
    return !value.empty() && value.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

number_element::number_element(const template_info& info)
    : template_element(info),
      min_(info.min),
      max_(info.min == 0 && info.max == 0 ? std::numeric_limits<std::uint32_t>::max() : info.max),
      step_(std::max(1U, info.stp)) {}

bool number_element::map_value(std::string* value) {
    if (is_plain_number(*value)) {
        value->erase(0, std::min(value->find_first_not_of('0'), value->size() - 1));
    }
    return true;
}

std::int32_t number_element::check(const std::string& value) {
    if (!is_plain_number(value)) {
        return service_status::not_a_number;
    }
    std::uint32_t number = 0;
    const auto result = std::from_chars(value.data(), value.data() + value.size(), number);
    if (result.ec != std::errc{} || number < min_ || number > max_) {
        return service_status::out_of_range;
    }
    return (number - min_) % step_ == 0 ? dp::command_status::success : service_status::not_a_step;
}

}  // namespace dp_host
