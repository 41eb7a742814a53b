#ifndef DP_PLATFORM_SYSIPC_PARAMETER_LIST_HPP
#define DP_PLATFORM_SYSIPC_PARAMETER_LIST_HPP

#include <cstddef>

#include "common/export.hpp"

namespace sysipc {

class message;

/// Writes the parameters of a message: byte arrays without gaps, in the order in which they are
/// added. The kind of the message defines their lengths.
class DP_API parameter_list {
  public:
    /// Parameters of `target`, which must outlive this list, from `payload_offset` on: after the
    /// message's kind (2), or after kind and alert (4).
    parameter_list(message& target, std::size_t payload_offset);

    /// Adds one parameter. When it does not fit the message's buffer, returns false and adds
    /// nothing.
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
