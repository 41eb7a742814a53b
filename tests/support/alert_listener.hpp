#ifndef DP_TESTS_SUPPORT_ALERT_LISTENER_HPP
#define DP_TESTS_SUPPORT_ALERT_LISTENER_HPP

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "platform/dp/message_formatter.hpp"
#include "platform/fm/message_formatter.hpp"
#include "platform/posix/message_listener.hpp"
#include "platform/sysipc/message.hpp"

namespace test {

/// Listens to a queue and converts its alerts to texts with `Formatter`.
template <class Formatter, unsigned char number>
class alert_listener {
  public:
    alert_listener() { EXPECT_TRUE(queue_.is_open()) << queue_.error(); }

    /// The oldest unread alert; "none" when there is none.
    std::string next() {
        sysipc::message content(8096);
        if (queue_.receive(content, 0) != dp_platform::message_listener::result::received) {
            return "none";
        }
        std::ostringstream text;
        text << Formatter(content);
        return text.str();
    }

  private:
    dp_platform::message_listener queue_{number};
};

using plugin_alerts = alert_listener<dp::message_formatter, 8>;
using firmware_manager_alerts = alert_listener<fm::message_formatter, 3>;

}  // namespace test

#endif
