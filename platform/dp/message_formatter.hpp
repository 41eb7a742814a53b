#ifndef DP_PLATFORM_DP_MESSAGE_FORMATTER_HPP
#define DP_PLATFORM_DP_MESSAGE_FORMATTER_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "common/export.hpp"
#include "platform/dp/alerts.hpp"

namespace sysipc {
class message;
}

namespace dp {

/// Writes and reads the messages of the settings service's plug-ins. Payload: 2 bytes kind (1),
/// 2 bytes alert, then the parameters: plug-in id and value, one byte each.
class DP_API message_formatter {
  public:
    /// The kind of the messages.
    static constexpr std::uint16_t alert_kind = 1;
    /// Bytes of the payload before the parameters. Add `parameter_byte_count` for the message's
    /// payload length.
    static constexpr std::size_t payload_offset = 4;

    /// A formatter of `target`, which must outlive it. Does not change the message.
    explicit message_formatter(sysipc::message& target);

    /// Makes the message an alert of the plug-in `id`. Does not send it or set its payload length.
    void send_alert_plugins(command::alerts alert, unsigned char id, unsigned char value);

    /// Bytes of parameters that `send_alert_plugins` wrote; 0 before.
    [[nodiscard]] std::size_t parameter_byte_count() const;

    /// Whether the message is an alert with all its parameters. If not, the operations below
    /// return 0.
    [[nodiscard]] bool is_alert() const;
    /// What is reported.
    [[nodiscard]] command::alerts alert() const;
    /// The plug-in that reports it.
    [[nodiscard]] unsigned char id() const;
    /// Its meaning depends on the alert.
    [[nodiscard]] unsigned char value() const;

  private:
    sysipc::message& target_;
    std::size_t parameter_byte_count_ = 0;
};

/// Prints "persist_failed plugin=3 value=28", with the number of an alert that has no name.
DP_API std::ostream& operator<<(std::ostream& os, const message_formatter& formatter);

}  // namespace dp

#endif
