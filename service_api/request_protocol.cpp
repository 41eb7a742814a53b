#include "service_api/request_protocol.hpp"

#include <array>

#include "support/decimal.hpp"

namespace dp_service::request_protocol {
namespace {

constexpr std::string_view protocol_version = "dp1";
constexpr std::string_view planned_on_key = "pending=";
constexpr std::string_view on_behalf_of_key = "for=";

// The words of a line, of which the last one may be followed by nothing else. Lines with empty
// words, which two spaces in a row make, are not valid.
class word_reader {
  public:
    explicit word_reader(std::string_view line) : rest_(line) {}

    /// The next word; empty when there is none.
    std::string_view next() {
        const std::size_t end = rest_.find(' ');
        const std::string_view word = rest_.substr(0, end);
        is_at_end_ = end == std::string_view::npos;
        rest_.remove_prefix(is_at_end_ ? rest_.size() : end + 1);
        return word;
    }

    /// The next word as a decimal number; nothing when it is not one, or too large.
    std::optional<std::uint32_t> next_number() {
        return dp_support::decimal::parse<std::uint32_t>(next());
    }

    [[nodiscard]] bool is_at_end() const { return is_at_end_; }

  private:
    std::string_view rest_;
    bool is_at_end_ = false;
};

bool is_printable_word(std::string_view word) {
    for (const char c : word) {
        if (c <= ' ' || c > '~') {
            return false;
        }
    }
    return !word.empty();
}

// Takes the value of a word KEY=VALUE into `value`. False when the word has another key, or when
// `value` is there already.
bool take_value(std::string_view word, std::string_view key, std::string& value) {
    if (!value.empty() || !word.starts_with(key)) {
        return false;
    }
    value = word.substr(key.size());
    return true;
}

struct message_form {
    message::kinds kind;
    std::string_view word;
    int numbers;
};

constexpr std::array<message_form, 6> message_forms{{
    {message::kinds::waiting, "waiting", 1},
    {message::kinds::ready, "ready", 0},
    {message::kinds::progress, "progress", 2},
    {message::kinds::dependent, "dependent", 2},
    {message::kinds::answer, "answer", 2},
    {message::kinds::refused, "refused", 2},
}};

}  // namespace

bool is_person(std::string_view name) {
    return name.size() <= longest_person && is_printable_word(name) &&
           name.find(',') == std::string_view::npos;
}

std::string request_header::line() const {
    std::string text(protocol_version);
    text += ' ' + kind + ' ' + std::to_string(length);
    if (!planned_on.empty()) {
        text += ' ';
        text += planned_on_key;
        text += planned_on;
    }
    if (!on_behalf_of.empty()) {
        text += ' ';
        text += on_behalf_of_key;
        text += on_behalf_of;
    }
    return text;
}

std::optional<request_header> request_header::parse(std::string_view line) {
    word_reader words(line);
    request_header header;
    if (line.size() > longest_line || words.next() != protocol_version) {
        return std::nullopt;
    }
    header.kind = words.next();
    const auto length = words.next_number();
    if (!is_printable_word(header.kind) || !length) {
        return std::nullopt;
    }
    header.length = *length;
    while (!words.is_at_end()) {
        const std::string_view word = words.next();
        const bool is_valid = take_value(word, planned_on_key, header.planned_on)
                                  ? is_printable_word(header.planned_on)
                                  : take_value(word, on_behalf_of_key, header.on_behalf_of) &&
                                        is_person(header.on_behalf_of);
        if (!is_valid) {
            return std::nullopt;
        }
    }
    return header;
}

std::string message::line() const {
    for (const message_form& form : message_forms) {
        if (form.kind == kind) {
            std::string text(form.word);
            text += form.numbers > 0 ? ' ' + std::to_string(first) : std::string();
            text += form.numbers > 1 ? ' ' + std::to_string(second) : std::string();
            return text;
        }
    }
    return {};
}

std::optional<message> message::parse(std::string_view line) {
    word_reader words(line);
    const std::string_view word = words.next();
    for (const message_form& form : message_forms) {
        if (form.word != word) {
            continue;
        }
        message parsed;
        parsed.kind = form.kind;
        for (int i = 0; i < form.numbers; ++i) {
            const auto number = words.is_at_end() ? std::nullopt : words.next_number();
            if (!number) {
                return std::nullopt;
            }
            (i == 0 ? parsed.first : parsed.second) = *number;
        }
        return words.is_at_end() ? std::optional(parsed) : std::nullopt;
    }
    return std::nullopt;
}

}  // namespace dp_service::request_protocol
