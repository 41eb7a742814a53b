#ifndef DP_PLATFORM_FM_MESSAGE_FORMATTER_HPP
#define DP_PLATFORM_FM_MESSAGE_FORMATTER_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "common/export.hpp"
#include "platform/fm/alerts.hpp"

namespace sysipc {
class message;
}

namespace fm {

/// Writes and reads the messages to the firmware manager. Payload: 2 bytes kind (2), 2 bytes alert,
/// then the parameters: 4 bytes identifier, and value and two further bytes, a byte each.
class DP_API message_formatter {
  public:
    static constexpr std::uint16_t alert_kind = 2;
    /// What stands in front of the parameters, to be added to `parameter_byte_count` for the
    /// message's payload length.
    static constexpr std::size_t payload_offset = 4;

    /// A formatter of `target`, which must outlive it. The message stays as it is.
    explicit message_formatter(sysipc::message& target);

    /// Makes the message an alert; it is not sent, and its payload length is the caller's to set.
    void send_alert(std::uint32_t id, command::alerts alert, unsigned char value, unsigned char b1,
                    unsigned char b2);

    /// Bytes of parameters that `send_alert` wrote; 0 before.
    [[nodiscard]] std::size_t parameter_byte_count() const;

    /// Whether the message is an alert with all its parameters; only then do the others tell
    /// anything.
    [[nodiscard]] bool is_alert() const;
    [[nodiscard]] std::uint32_t id() const;
    [[nodiscard]] command::alerts alert() const;
    [[nodiscard]] unsigned char value() const;

  private:
    sysipc::message& target_;
    std::size_t parameter_byte_count_ = 0;
};

/// "bios_updated value=0"; an alert without a name is its number.
DP_API std::ostream& operator<<(std::ostream& os, const message_formatter& formatter);

}  // namespace fm

#endif
