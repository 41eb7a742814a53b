#ifndef DP_LOGS_ALERTS_HPP
#define DP_LOGS_ALERTS_HPP

#include "common/export.hpp"
#include "platform/fm/alerts.hpp"

// Alerts that report events to the rest of the controller. Each is one message on one of the
// platform's message queues; sending never waits for a receiver. Plug-ins use `plugin::send_alert`.

namespace dp {

/// Kinds of the messages that `send_application_alert` sends, and their parameters of one byte
/// each.
namespace application_alert {
inline constexpr int detailed_kind = 11;  ///< detail, value
inline constexpr int plain_kind = 16;     ///< value
}  // namespace application_alert

/// Sends an alert to the firmware manager, on queue 3. An alert that cannot be sent is silently
/// dropped.
DP_API void send_fm_alert(fm::command::alerts alert, unsigned char value);

/// Sends an alert from `source` on queue number `queue`: kind 11 with `detail` and the low byte of
/// `value`, or kind 16 with only the low byte of `value`. Returns 0 when it was sent, otherwise 1.
/// For any other kind it returns 1 and opens no queue.
DP_API int send_application_alert(unsigned char source, unsigned char queue, unsigned char detail,
                                  int kind, int value);

}  // namespace dp

#endif
