#include "service_api/value_limits.hpp"

#include <algorithm>
#include <limits>

#include "service_api/service_status.hpp"
#include "support/decimal.hpp"
#include "transactions/command_status.hpp"

namespace dp_service::value_limits {

std::int32_t check_number(const std::string& value, std::uint32_t least, std::uint32_t greatest,
                          std::uint32_t step) {
    if (!dp_support::decimal::is_digits(value)) {
        return service_status::not_a_number;
    }
    const bool is_bounded = least != 0 || greatest != 0;
    const std::uint32_t most = is_bounded ? greatest : std::numeric_limits<std::uint32_t>::max();
    const auto number = dp_support::decimal::parse<std::uint32_t>(value);
    if (!number || *number < least || *number > most) {
        return service_status::out_of_range;
    }
    return (*number - least) % std::max<std::uint32_t>(1, step) == 0 ? dp::command_status::success
                                                                     : service_status::not_a_step;
}

std::int32_t check_length(std::size_t length, std::uint32_t least, std::uint32_t greatest) {
    if (length < least) {
        return service_status::too_short;
    }
    return greatest != 0 && length > greatest ? service_status::too_long
                                              : dp::command_status::success;
}

}  // namespace dp_service::value_limits
