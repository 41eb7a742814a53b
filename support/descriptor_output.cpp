#include "support/descriptor_output.hpp"

#include <cerrno>
#include <cstddef>
#include <string_view>

#include "common/io_loops.hpp"

namespace dp_support {

descriptor_output::buffer::buffer(int descriptor) : fd(descriptor) {
    setp(bytes.data(), bytes.data() + bytes.size());
}

int descriptor_output::buffer::sync() {
    const std::string_view text(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    if (error == 0 && !dp::write_all(fd, text)) {
        error = errno;
    }
    setp(bytes.data(), bytes.data() + bytes.size());
    return error == 0 ? 0 : -1;
}

descriptor_output::buffer::int_type descriptor_output::buffer::overflow(int_type c) {
    if (sync() != 0) {
        return traits_type::eof();
    }
    if (traits_type::eq_int_type(c, traits_type::eof())) {
        return traits_type::not_eof(c);
    }
    return sputc(traits_type::to_char_type(c));
}

descriptor_output::descriptor_output(int fd) : std::ostream(nullptr), buffer_(fd) {
    rdbuf(&buffer_);
}

}  // namespace dp_support
