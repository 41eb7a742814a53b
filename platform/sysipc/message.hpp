#ifndef DP_PLATFORM_SYSIPC_MESSAGE_HPP
#define DP_PLATFORM_SYSIPC_MESSAGE_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/export.hpp"

namespace sysipc {

/// A message for a system message queue: a header with source, queue and payload length, then the
/// payload, which begins with the message's kind. Whoever fills a message says last how long its
/// payload is.
///
/// As bytes, numbers with the least significant byte first:
///   0     source
///   1     queue
///   2..3  payload length
///   4..   payload: 2 bytes kind, then what the kind defines
class DP_API message {
  public:
    static constexpr std::size_t header_size = 4;
    static constexpr std::size_t kind_size = 2;  ///< at the beginning of the payload

    /// An empty message, all zeros, on a buffer of `buffer_size` bytes for header and payload; at
    /// least as big as header and kind, at most 65535.
    explicit message(std::size_t buffer_size);

    /// Who sends it, and the number of the queue that it is for.
    [[nodiscard]] unsigned char source() const;
    void set_source(unsigned char source);
    [[nodiscard]] unsigned char queue() const;
    void set_queue(unsigned char queue);

    [[nodiscard]] std::uint16_t kind() const;
    void set_kind(std::uint16_t kind);

    /// Bytes of payload that count; more than fit are cut to `payload_capacity`.
    [[nodiscard]] std::size_t payload_length() const;
    void set_payload_length(std::size_t length);
    [[nodiscard]] std::size_t payload_capacity() const;

    /// The payload's bytes, all `payload_capacity` of them. Good as long as this object lives.
    [[nodiscard]] unsigned char* payload();
    [[nodiscard]] const unsigned char* payload() const;

    /// What goes over the queue: `size` bytes, header and payload.
    [[nodiscard]] const unsigned char* data() const;
    [[nodiscard]] std::size_t size() const;

    /// Takes over bytes that came over a queue. False, and the message is empty, when they are not
    /// a message or do not fit the buffer.
    bool assign(const unsigned char* data, std::size_t size);

  private:
    std::vector<unsigned char> buffer_;
};

}  // namespace sysipc

#endif
