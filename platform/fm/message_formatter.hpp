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
/// then the parameters: identifier (4 bytes), value (1 byte) and two further bytes.
class DP_API message_formatter {
  public:
    /// The kind of the messages.
    static constexpr std::uint16_t alert_kind = 2;
    /// Bytes of the payload before the parameters. Add `parameter_byte_count` for the message's
    /// payload length.
    static constexpr std::size_t payload_offset = 4;

    /// A formatter of `target`, which must outlive it. Does not change the message.
    explicit message_formatter(sysipc::message& target);

    /// Makes the message an alert. Does not send it or set its payload length.
    void send_alert(std::uint32_t id, command::alerts alert, unsigned char value, unsigned char b1,
                    unsigned char b2);

    /// Bytes of parameters that `send_alert` wrote; 0 before.
    [[nodiscard]] std::size_t parameter_byte_count() const;

    /// Whether the message is an alert with all its parameters. If not, the operations below
    /// return 0.
    [[nodiscard]] bool is_alert() const;
    /// The identifier.
    [[nodiscard]] std::uint32_t id() const;
    /// What is reported.
    [[nodiscard]] command::alerts alert() const;
    /// Its meaning depends on the alert.
    [[nodiscard]] unsigned char value() const;

  private:
    sysipc::message& target_;
    std::size_t parameter_byte_count_ = 0;
};

/// Prints "bios_updated value=0", with the number of an alert that has no name.
DP_API std::ostream& operator<<(std::ostream& os, const message_formatter& formatter);

}  // namespace fm

#endif
