#ifndef DP_PLATFORM_POSIX_ALERT_MESSAGE_HPP
#define DP_PLATFORM_POSIX_ALERT_MESSAGE_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>

namespace sysipc {
class message;
}

/// How alerts of every kind lie in a message. Payload: 2 bytes kind, 2 bytes alert, then the
/// parameters, whose number and meaning the kind tells.
namespace dp_platform {

/// What stands in front of the parameters.
inline constexpr std::size_t alert_head_size = 4;

/// Makes `target` an alert; the payload length stays the caller's to set. Parameters for which the
/// buffer has no room are left out, all of them.
/// @return the bytes of parameters that were written
std::size_t write_alert(sysipc::message& target, std::uint16_t kind, std::uint16_t alert,
                        std::span<const unsigned char> parameters);

/// The parameters of an alert of that kind, good as long as the message lives; null when `source`
/// is none, or has less than `size` bytes of them.
const unsigned char* alert_parameters(const sysipc::message& source, std::uint16_t kind,
                                      std::size_t size);

/// Which alert a message is that has parameters.
std::uint16_t alert_number(const sysipc::message& source);

/// An alert by its name, or by its number when `name` is null.
void print_alert(std::ostream& os, const char* name, std::uint16_t alert);

}  // namespace dp_platform

#endif
