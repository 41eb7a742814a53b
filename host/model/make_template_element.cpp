#include "host/model/make_template_element.hpp"

#include "batch/batch_list_info.hpp"
#include "host/model/choice_element.hpp"
#include "host/model/number_element.hpp"
#include "host/model/selection_element.hpp"
#include "host/model/text_element.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

/// An attribute of the type without range data: every value is valid.
class free_element final : public template_element {
  public:
    explicit free_element(const template_info& info) : template_element(info, info.dft) {}

  private:
    std::int32_t check(const std::string& /*value*/) override {
        return dp::command_status::success;
    }
};

}  // namespace

std::unique_ptr<template_element> make_template_element(const template_info& info) {
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

}  // namespace dp_host
