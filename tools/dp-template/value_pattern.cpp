#include "dp-template/value_pattern.hpp"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <cstddef>
#include <memory>

namespace dp_tools {

std::string pattern_problem(const std::string& pattern) {
    int error = 0;
    std::size_t offset = 0;
    const std::unique_ptr<pcre2_code, void (*)(pcre2_code*)> code(
        pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), 0, &error,
                      &offset, nullptr),
        pcre2_code_free);
    if (code) {
        return "";
    }
    std::array<unsigned char, 256> text{};
    pcre2_get_error_message(error, text.data(), text.size());
    return "does not compile: " + std::string(reinterpret_cast<const char*>(text.data())) +
           " at character " + std::to_string(offset + 1);
}

}  // namespace dp_tools
