#ifndef DP_PLATFORM_SYSIPC_EVENT_LOG_HPP
#define DP_PLATFORM_SYSIPC_EVENT_LOG_HPP

#include <cstdint>
#include <string>

namespace sysipc {
namespace event_log {

/// Bits of the level mask. A message is only formatted and appended when the mask has the bit of
/// its class.
namespace log_level {
inline constexpr std::uint32_t log = 0x80000000;    ///< ordinary lines, tag "LOG"
inline constexpr std::uint32_t error = 0x10000000;  ///< errors, tag "ERR"
/// Traces, in three classes.
/// @{
inline constexpr std::uint32_t trace_4 = 0x4;
inline constexpr std::uint32_t trace_2 = 0x2;
inline constexpr std::uint32_t trace_1 = 0x1;
/// @}
}  // namespace log_level

/// The streams of a diagnostic log. The board supplies the object that
/// `application_log::app_streams` points to; the library only calls it.
class streams {
  public:
    streams() = default;
    streams(const streams&) = delete;
    streams& operator=(const streams&) = delete;

    /// Appends one line. `level` is the tag "LOG", "DBG" or "ERR"; `text` begins with one space and
    /// may contain any bytes. Must not throw and must not call back into the library.
    virtual void append(const std::string& level, const std::string& text) = 0;

    /// The level mask, made of the bits of `log_level`.
    [[nodiscard]] virtual std::uint32_t mask() const = 0;

    /// The log's file setting and level setting, which the platform defines. A service that is
    /// started gets both on its command line.
    /// @{
    [[nodiscard]] virtual std::int32_t file() const = 0;
    [[nodiscard]] virtual std::uint32_t level() const = 0;
    /// @}

  protected:
    ~streams() = default;
};

}  // namespace event_log
}  // namespace sysipc

#endif
