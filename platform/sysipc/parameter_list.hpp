#ifndef DP_PLATFORM_SYSIPC_PARAMETER_LIST_HPP
#define DP_PLATFORM_SYSIPC_PARAMETER_LIST_HPP

#include <cstddef>

#include "common/export.hpp"

namespace sysipc {

class message;

/// The parameters of a message: byte arrays one behind the other, in the order in which they are
/// added. The kind of the message says how long each is.
class DP_API parameter_list {
  public:
    /// Parameters of `target`, which must outlive this list, from `payload_offset` on: behind the
    /// message's kind (2) or behind kind and alert (4).
    parameter_list(message& target, std::size_t payload_offset);

    /// Adds one parameter. False, and nothing is added, when it does not fit the message's buffer.
    bool add_byte_array(const unsigned char* data, std::size_t size);

    /// Bytes of all parameters so far.
    [[nodiscard]] std::size_t byte_count() const;

  private:
    message& target_;
    std::size_t offset_;
    std::size_t byte_count_ = 0;
};

}  // namespace sysipc

#endif
