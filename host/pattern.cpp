#include "pattern.hpp"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <cstdint>

#include "service_log.hpp"

namespace dp_host {
namespace {

// Ordinary patterns need a few hundred steps; this many take some milliseconds.
constexpr std::uint32_t step_limit = 100'000;
constexpr std::uint32_t heap_limit_kib = 1024;

// The dialect of registries: no need for "\C", "$" is the end of the value, "\u0041" a character.
constexpr std::uint32_t options = PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_NEVER_BACKSLASH_C |
                                  PCRE2_DOLLAR_ENDONLY | PCRE2_ALT_BSUX;

std::string message(int code) {
    std::array<PCRE2_UCHAR, 256> text{};
    pcre2_get_error_message(code, text.data(), text.size());
    // The library's characters are bytes.
    return reinterpret_cast<const char*>(text.data());
}

PCRE2_SPTR bytes(const std::string& text) {
    return reinterpret_cast<PCRE2_SPTR>(text.data());
}

}  // namespace

struct pattern::compiled {
    explicit compiled(pcre2_code* c)
        : code(c),
          match(pcre2_match_data_create_from_pattern(c, nullptr)),
          context(pcre2_match_context_create(nullptr)) {
        pcre2_set_match_limit(context, step_limit);
        pcre2_set_heap_limit(context, heap_limit_kib);
    }
    ~compiled() {
        pcre2_match_context_free(context);
        pcre2_match_data_free(match);
        pcre2_code_free(code);
    }
    compiled(const compiled&) = delete;
    compiled& operator=(const compiled&) = delete;

    pcre2_code* code;
    pcre2_match_data* match;
    pcre2_match_context* context;
};

pattern::pattern(const std::string& expression) {
    int code = 0;
    PCRE2_SIZE offset = 0;
    pcre2_code* const result =
        pcre2_compile(bytes(expression), expression.size(), options, &code, &offset, nullptr);
    if (result == nullptr) {
        problem_ = text_of(message(code), " at byte ", offset);
        return;
    }
    compiled_ = std::make_unique<compiled>(result);
}

pattern::~pattern() = default;

bool pattern::matches(const std::string& value) const {
    if (!compiled_) {
        return false;
    }
    const int result = pcre2_match(compiled_->code, bytes(value), value.size(), 0, 0,
                                   compiled_->match, compiled_->context);
    if (result < 0 && result != PCRE2_ERROR_NOMATCH) {
        log_error("a value could not be held against its pattern: ", message(result));
    }
    return result >= 0;
}

}  // namespace dp_host
