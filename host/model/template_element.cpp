#include "host/model/template_element.hpp"

#include "batch/batch_list_info.hpp"
#include "host/model/choice_element.hpp"
#include "host/model/number_element.hpp"
#include "host/model/selection_element.hpp"
#include "host/model/text_element.hpp"
#include "service_api/service_status.hpp"
#include "service_api/template_flags.hpp"
#include "support/decimal.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

/// An attribute of the type that has no range data: any value will do.
class free_element final : public template_element {
  public:
    explicit free_element(const template_info& info) : template_element(info) {}

  private:
    std::int32_t check(const std::string& /*value*/) override {
        return dp::command_status::success;
    }
};

std::unique_ptr<template_element> of_type(const template_info& info) {
    if (dp::batch_list_info::is_full_form(info.dft)) {
        return std::make_unique<selection_element>(info);
    }
    switch (info.type) {
        case template_info::type_numeric:
            return std::make_unique<number_element>(info);
        case template_info::type_string:
            return std::make_unique<text_element>(info);
        case template_info::type_no_range:
            return std::make_unique<free_element>(info);
        default:
            return std::make_unique<choice_element>(info);
    }
}

}  // namespace

template_element::template_element(const template_info& info) : default_(info.dft) {
    if (info.mxi > 0) {
        min_instance = info.mni;
        max_instance = info.mxi;
    }
    record_name = info.rec;
    flags = info.flg;
    // An attribute whose default is to be gone may be deleted, or resetting it could not work.
    if (info.dfa == "remove") {
        flags |= deletable_flag;
    }
}

std::unique_ptr<template_element> template_element::make(const template_info& info) {
    auto element = of_type(info);
    // Values are compared in the form in which they are stored.
    element->map_value(&element->default_);
    return element;
}

bool template_element::is_read_only() const {
    return (flags & dp_service::template_flags::read_only) != 0;
}

std::int32_t template_element::validate(const std::string& value) {
    if (value == default_) {
        return dp::command_status::success;
    }
    return is_read_only() ? dp_service::service_status::read_only : check(value);
}

bool template_element::may_have(const std::string& value) {
    return value == default_ || check(value) == dp::command_status::success;
}

bool template_element::names_instance(const std::string& text, std::uint32_t& instance) const {
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
