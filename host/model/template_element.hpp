#ifndef DP_HOST_MODEL_TEMPLATE_ELEMENT_HPP
#define DP_HOST_MODEL_TEMPLATE_ELEMENT_HPP

#include <cstdint>
#include <string>

#include "bios/template_info.hpp"
#include "settings/setting_element.hpp"

namespace dp_host {

/// An attribute's description in the template: its instances and its default; derived classes add
/// which values it accepts. `make_template_element` creates them. The default is always accepted: a
/// reset sends it, and some vendors' defaults are outside their own limits.
class template_element : public dp::setting_element {
  public:
    [[nodiscard]] std::int32_t validate(const std::string& value) final;
    [[nodiscard]] std::string default_value() final { return default_; }

    /// Whether the value is valid for the attribute, read-only or not.
    [[nodiscard]] bool is_valid(const std::string& value);

    /// Whether the attribute cannot be changed. `validate` accepts the default all the same, since
    /// a reset sends it for every attribute: the owner of the values refuses what would change one.
    [[nodiscard]] bool is_read_only() const;

    /// Dependencies may make the attribute writable: from now on `validate` accepts changes of a
    /// read-only attribute, and the owner of the values alone decides.
    void leave_read_only_to_owner() { is_left_to_owner_ = true; }

    [[nodiscard]] bool is_single_valued() const { return max_instance == dp::no_instance; }

    /// Parses a command's instance text. True, with the number in `instance`, when the attribute
    /// may have that instance. Only the plain decimal form is accepted, so that every instance has
    /// one name.
    bool parse_instance(const std::string& text, std::uint32_t& instance) const;

  protected:
    /// `default_value` is the default of `info` in the form in which values are stored.
    template_element(const template_info& info, std::string default_value);

    /// The status of a value that is not the default: 0 when it is valid.
    [[nodiscard]] virtual std::int32_t check(const std::string& value) = 0;

  private:
    std::string default_;
    bool is_left_to_owner_ = false;
};

}  // namespace dp_host

#endif
