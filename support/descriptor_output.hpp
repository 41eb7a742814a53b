#ifndef DP_SUPPORT_DESCRIPTOR_OUTPUT_HPP
#define DP_SUPPORT_DESCRIPTOR_OUTPUT_HPP

#include <array>
#include <ostream>
#include <streambuf>

namespace dp_support {

/// A buffered output stream on an open descriptor, which is not owned. A write that fails sets the
/// stream's bad state. The destructor does not flush.
class descriptor_output : public std::ostream {
  public:
    explicit descriptor_output(int fd);

    /// errno of the first write that failed; 0 when none did.
    [[nodiscard]] int error() const { return buffer_.error; }

  private:
    struct buffer : std::streambuf {
        explicit buffer(int descriptor);
        int_type overflow(int_type c) override;
        int sync() override;

        int fd;
        int error = 0;
        std::array<char, 65536> bytes{};
    };

    buffer buffer_;
};

}  // namespace dp_support

#endif
