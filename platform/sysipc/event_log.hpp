#ifndef DP_PLATFORM_SYSIPC_EVENT_LOG_HPP
#define DP_PLATFORM_SYSIPC_EVENT_LOG_HPP

#include <cstdint>
#include <string>

namespace sysipc {
namespace event_log {

/// The streams of a diagnostic log. The board supplies the object behind
/// `application_log::app_streams`; the library only calls it.
class streams {
  public:
    streams() = default;
    streams(const streams&) = delete;
    streams& operator=(const streams&) = delete;

    /// Appends one line. `level` is the tag "LOG", "DBG" or "ERR"; `text` begins with one blank and
    /// may hold any bytes. Must not throw and must not call back into the library.
    virtual void append(const std::string& level, const std::string& text) = 0;

    /// The level mask: a message is only formatted and appended when the mask has the bit of its
    /// class.
    [[nodiscard]] virtual std::uint32_t mask() const = 0;

    /// The number of the log's file setting, and its level setting. A service that is started gets
    /// both on its command line.
    [[nodiscard]] virtual std::int32_t file() const = 0;
    [[nodiscard]] virtual std::uint32_t level() const = 0;

  protected:
    ~streams() = default;
};

}  // namespace event_log
}  // namespace sysipc

#endif
