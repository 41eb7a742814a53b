#ifndef DP_LOGS_ALERTS_HPP
#define DP_LOGS_ALERTS_HPP

#include "common/export.hpp"
#include "platform/fm/alerts.hpp"

// Alerts tell the rest of the controller that something happened. Each is one message on one of the
// platform's message queues; nothing waits for a receiver. Plug-ins alert with
// `plugin::send_alert`.

namespace dp {

/// Kinds of `send_application_alert`'s messages, with their parameters, a byte each.
namespace application_alert {
inline constexpr int detailed_kind = 11;  ///< detail, value
inline constexpr int plain_kind = 16;     ///< value
}  // namespace application_alert

/// Alerts the firmware manager, on queue 3. An alert that can't be sent is lost in silence.
DP_API void send_fm_alert(fm::command::alerts alert, unsigned char value);

/// Sends an alert of `source` to queue number `queue`: kind 11 with `detail` and the low byte of
/// `value`, or kind 16 with the low byte of `value` alone. 0 when sent; 1 when not, and for any
/// other kind, which opens no queue.
DP_API int send_application_alert(unsigned char source, unsigned char queue, unsigned char detail,
                                  int kind, int value);

}  // namespace dp

#endif
