#include "dp-template/value_pattern.hpp"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <cstdint>
#include <utility>

namespace dp_tools {
namespace {

// "$" is the end of the value, "\u0041" a character; no need for "\C".
constexpr std::uint32_t dialect = PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_NEVER_BACKSLASH_C |
                                  PCRE2_DOLLAR_ENDONLY | PCRE2_ALT_BSUX;

// Ordinary patterns need a few hundred steps.
constexpr std::uint32_t step_limit = 100'000;
constexpr std::uint32_t heap_limit_kib = 1024;

PCRE2_SPTR bytes(const std::string& text) {
    return reinterpret_cast<PCRE2_SPTR>(text.data());
}

template <class Object>
using owner = std::unique_ptr<Object, void (*)(Object*)>;

}  // namespace

struct value_pattern::compiled {
    owner<pcre2_code> code;
    owner<pcre2_match_data> match;
    owner<pcre2_match_context> context;
};

value_pattern::value_pattern(const std::string& expression) {
    int error = 0;
    PCRE2_SIZE offset = 0;
    owner<pcre2_code> code(
        pcre2_compile(bytes(expression), expression.size(), dialect, &error, &offset, nullptr),
        pcre2_code_free);
    if (!code) {
        std::array<PCRE2_UCHAR, 256> text{};
        pcre2_get_error_message(error, text.data(), text.size());
        problem_ = "does not compile: " + std::string(reinterpret_cast<const char*>(text.data())) +
                   " at byte " + std::to_string(offset);
        return;
    }
    owner<pcre2_match_data> match(pcre2_match_data_create_from_pattern(code.get(), nullptr),
                                  pcre2_match_data_free);
    owner<pcre2_match_context> context(pcre2_match_context_create(nullptr),
                                       pcre2_match_context_free);
    pcre2_set_match_limit(context.get(), step_limit);
    pcre2_set_heap_limit(context.get(), heap_limit_kib);
    compiled_ =
        std::make_unique<compiled>(compiled{std::move(code), std::move(match), std::move(context)});
}

value_pattern::~value_pattern() = default;

bool value_pattern::matches(const std::string& value) const {
    return compiled_ &&
           pcre2_match(compiled_->code.get(), bytes(value), value.size(), 0, 0,
                       compiled_->match.get(), compiled_->context.get()) != PCRE2_ERROR_NOMATCH;
}

}  // namespace dp_tools
