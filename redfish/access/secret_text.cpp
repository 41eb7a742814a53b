#include "redfish/access/secret_text.hpp"

#include <algorithm>
#include <cstring>

namespace dp_redfish {

secret_text::secret_text(std::size_t size)
    : bytes_(std::make_unique<char[]>(size + 1)), size_(size) {}

secret_text::secret_text(std::string_view text) : secret_text(text.size()) {
    std::copy(text.begin(), text.end(), bytes_.get());
}

secret_text::~secret_text() {
    if (bytes_) {
        explicit_bzero(bytes_.get(), size_);
    }
}

}  // namespace dp_redfish
