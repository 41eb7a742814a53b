#ifndef DP_PLATFORM_SYSIPC_MESSAGE_HPP
#define DP_PLATFORM_SYSIPC_MESSAGE_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/export.hpp"

namespace sysipc {

/// A message for a system message queue: a header with source, queue and payload length, then the
/// payload, which begins with the message's kind. Set the payload length last.
///
/// The bytes of a message, numbers in little-endian order:
///
///     0     source
///     1     queue
///     2..3  payload length
///     4..   payload: 2 bytes kind, then what the kind defines
class DP_API message {
  public:
    static constexpr std::size_t header_size = 4;  ///< bytes before the payload
    static constexpr std::size_t kind_size = 2;    ///< at the start of the payload

    /// An empty message, all zeros, in a buffer of `buffer_size` bytes for header and payload. The
    /// buffer has at least 6 bytes, for header and kind, and at most 65535.
    explicit message(std::size_t buffer_size);

    /// The sender, and the number of the queue that the message is sent to.
    /// @{
    [[nodiscard]] unsigned char source() const;
    void set_source(unsigned char source);
    [[nodiscard]] unsigned char queue() const;
    void set_queue(unsigned char queue);
    /// @}

    /// What the message is: the first two bytes of the payload.
    /// @{
    [[nodiscard]] std::uint16_t kind() const;
    void set_kind(std::uint16_t kind);
    /// @}

    /// Bytes of the payload that are sent. A greater length is cut to `payload_capacity`.
    /// @{
    [[nodiscard]] std::size_t payload_length() const;
    void set_payload_length(std::size_t length);
    /// @}
    /// Greatest length of the payload.
    [[nodiscard]] std::size_t payload_capacity() const;

    /// The payload, `payload_capacity` bytes. Valid until this object is destroyed or assigned to.
    /// @{
    [[nodiscard]] unsigned char* payload();
    [[nodiscard]] const unsigned char* payload() const;
    /// @}

    /// The bytes that are sent: `size` bytes of header and payload. Valid as `payload` is.
    /// @{
    [[nodiscard]] const unsigned char* data() const;
    [[nodiscard]] std::size_t size() const;
    /// @}

    /// Copies the bytes received from a queue. When they are not a message or do not fit the
    /// buffer, returns false and makes the message empty.
    bool assign(const unsigned char* data, std::size_t size);

  private:
    std::vector<unsigned char> buffer_;
};

}  // namespace sysipc

#endif
