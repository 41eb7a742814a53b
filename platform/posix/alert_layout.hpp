#ifndef DP_PLATFORM_POSIX_ALERT_LAYOUT_HPP
#define DP_PLATFORM_POSIX_ALERT_LAYOUT_HPP

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>

namespace sysipc {
class message;
}

namespace dp_platform {

/// How alerts of one kind are written to messages and read again. Payload: 2 bytes kind, 2 bytes
/// alert, then the parameters, whose number and meaning depend on the kind.
class alert_layout {
  public:
    /// Bytes of the payload before the parameters.
    static constexpr std::size_t parameter_offset = 4;

    /// Alerts of kind `kind` with `parameter_size` bytes of parameters.
    constexpr alert_layout(std::uint16_t kind, std::size_t parameter_size)
        : kind_(kind), parameter_size_(parameter_size) {}

    /// Makes `target` an alert; does not set its payload length. Writes no parameters at all when
    /// they do not fit the buffer.
    /// @return the number of parameter bytes written
    std::size_t write(sysipc::message& target, std::uint16_t alert,
                      std::span<const unsigned char> parameters) const;

    /// The parameters of the alert `source`, valid until the message is assigned to or destroyed.
    /// Null when it is not an alert of this kind with all its parameters.
    [[nodiscard]] const unsigned char* parameters(const sysipc::message& source) const;

    /// The number of the alert; 0 when `parameters` would be null.
    [[nodiscard]] std::uint16_t alert(const sysipc::message& source) const;

    /// The parameter byte at `offset`; 0 when `parameters` would be null.
    [[nodiscard]] unsigned char byte(const sysipc::message& source, std::size_t offset) const;

  private:
    std::uint16_t kind_;
    std::size_t parameter_size_;
};

/// Prints the formatter's alert by the name that `name_of` gives for it, or by its number when that
/// is null. Prints "no alert" and returns false when the formatter's message is not an alert.
template <class Formatter, class Alert>
bool print_alert(std::ostream& os, const Formatter& formatter, const char* (*name_of)(Alert)) {
    if (!formatter.is_alert()) {
        os << "no alert";
        return false;
    }
    const Alert alert = formatter.alert();
    if (const char* const name = name_of(alert); name != nullptr) {
        os << name;
    } else {
        os << static_cast<std::uint16_t>(alert);
    }
    return true;
}

}  // namespace dp_platform

#endif
