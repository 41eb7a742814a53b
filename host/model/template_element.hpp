#ifndef DP_HOST_MODEL_TEMPLATE_ELEMENT_HPP
#define DP_HOST_MODEL_TEMPLATE_ELEMENT_HPP

#include <cstdint>
#include <memory>
#include <string>

#include "bios/template_info.hpp"
#include "settings/setting_element.hpp"

namespace dp_host {

/// What a template says of one attribute: its instances, its default, and, in the classes derived
/// from it, which values it takes. The attribute's default passes always: a reset sends it, and
/// some vendors' defaults lie outside their own limits.
class template_element : public dp::setting_element {
  public:
    /// The element for an attribute, by its type.
    static std::unique_ptr<template_element> make(const template_info& info);

    [[nodiscard]] std::int32_t validate(const std::string& value) final;
    [[nodiscard]] std::string default_value() final { return default_; }

    /// Whether the attribute may have that value, read-only or not.
    [[nodiscard]] bool may_have(const std::string& value);

    /// The attribute can't be changed. `validate` lets its default pass all the same, since a reset
    /// sends that for every attribute: whoever stores values refuses what would be a change.
    [[nodiscard]] bool is_read_only() const;

    [[nodiscard]] bool is_single_valued() const { return max_instance == dp::no_instance; }

    /// Whether a command's instance text names an instance that this attribute may have; then
    /// stores its number. Only the plain decimal form is taken, so that no instance has two names.
    bool names_instance(const std::string& text, std::uint32_t& instance) const;

  protected:
    explicit template_element(const template_info& info);

    /// The status of a value that is not the default: 0 when the attribute takes it.
    [[nodiscard]] virtual std::int32_t check(const std::string& value) = 0;

  private:
    std::string default_;
};

}  // namespace dp_host

#endif
