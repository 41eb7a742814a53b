#include "support/value_pattern.hpp"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <cstdint>
#include <utility>

namespace dp_support {
namespace {

// Ordinary patterns need a few hundred steps; this many take some milliseconds.
constexpr std::uint32_t step_limit = 100'000;
constexpr std::uint32_t heap_limit_kib = 1024;

// The dialect of registries: no need for "\C", "$" is the end of the value, "\u0041" a character.
constexpr std::uint32_t dialect = PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_NEVER_BACKSLASH_C |
                                  PCRE2_DOLLAR_ENDONLY | PCRE2_ALT_BSUX;

PCRE2_SPTR bytes(const std::string& text) {
    return reinterpret_cast<PCRE2_SPTR>(text.data());
}

std::string message(int error) {
    std::array<PCRE2_UCHAR, 256> text{};
    pcre2_get_error_message(error, text.data(), text.size());
    // PCRE2's characters are bytes.
    return reinterpret_cast<const char*>(text.data());
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
        problem_ = message(error) + " at byte " + std::to_string(offset);
        return;
    }
    owner<pcre2_match_data> match(pcre2_match_data_create_from_pattern(code.get(), nullptr),
                                  pcre2_match_data_free);
    owner<pcre2_match_context> context(pcre2_match_context_create(nullptr),
                                       pcre2_match_context_free);
    if (!match || !context) {
        problem_ = message(PCRE2_ERROR_NOMEMORY);
        return;
    }
    pcre2_set_match_limit(context.get(), step_limit);
    pcre2_set_heap_limit(context.get(), heap_limit_kib);
    compiled_ =
        std::make_unique<compiled>(compiled{std::move(code), std::move(match), std::move(context)});
}

value_pattern::~value_pattern() = default;

value_pattern::verdict value_pattern::judge(const std::string& value) const {
    if (!compiled_) {
        return verdict::differs;
    }
    const int result = pcre2_match(compiled_->code.get(), bytes(value), value.size(), 0, 0,
                                   compiled_->match.get(), compiled_->context.get());
    if (result >= 0) {
        return verdict::matches;
    }
    return result == PCRE2_ERROR_NOMATCH ? verdict::differs : verdict::undecided;
}

}  // namespace dp_support
