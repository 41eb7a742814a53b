#include "host/model/selection_element.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "batch/batch_list_info.hpp"
#include "service_api/choice_list.hpp"
#include "service_api/service_status.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

using orders_by_item = std::map<std::string, std::string>;

// The form in which a selection is stored; nothing when it is not ordered.
std::optional<std::string> stored_form(const std::string& value) {
    if (!dp::batch_list_info::is_full_form(value)) {
        return value;
    }
    dp::batch_list_info list;
    orders_by_item items;
    list.parse_selections(value, items);
    std::set<std::string> orders;
    bool has_comma = false;
    for (const auto& [item, order] : items) {
        if (order.empty() || !orders.insert(order).second) {
            return std::nullopt;
        }
        has_comma = has_comma || item.find(',') != std::string::npos;
    }
    return has_comma ? list.get_string(items) : list.get_string_terse(items);
}

}  // namespace

selection_element::selection_element(const template_info& info)
    : template_element(info, stored_form(info.dft).value_or(info.dft)) {
    for (auto& choice : dp_service::choice_list::split(info.chc)) {
        choices_.insert(std::move(choice));
    }
}

bool selection_element::map_value(std::string* value) {
    auto stored = stored_form(*value);
    if (!stored) {
        return false;
    }
    *value = *std::move(stored);
    return true;
}

std::int32_t selection_element::check(const std::string& value) {
    dp::batch_list_info list;
    orders_by_item items;
    list.parse_selections(value, items);
    const bool all_known =
        choices_.empty() || std::all_of(items.begin(), items.end(), [this](const auto& item) {
            return choices_.contains(item.first);
        });
    const auto terse_size =
        static_cast<std::size_t>(std::count(value.begin(), value.end(), ',')) + 1;
    const bool repeats =
        !dp::batch_list_info::is_full_form(value) && !value.empty() && items.size() != terse_size;
    return all_known && !repeats ? dp::command_status::success
                                 : dp_service::service_status::not_a_choice;
}

}  // namespace dp_host
