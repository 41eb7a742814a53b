#include "host/model/choice_element.hpp"

#include "service_api/choice_list.hpp"
#include "service_api/service_status.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {

choice_element::choice_element(const template_info& info) : template_element(info, info.dft) {
    for (auto& choice : dp_service::choice_list::split(info.chc)) {
        choices_.insert(std::move(choice));
    }
}

std::int32_t choice_element::check(const std::string& value) {
    return choices_.contains(value) ? dp::command_status::success
                                    : dp_service::service_status::not_a_choice;
}

}  // namespace dp_host
