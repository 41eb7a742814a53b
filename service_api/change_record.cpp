#include "service_api/change_record.hpp"

#include <cstddef>

#include "common/quoting.hpp"

namespace dp_service {
namespace {

constexpr const char* separator = "   ";
constexpr std::size_t separator_size = 3;

// The text between the quotes, unescaped; nothing when it does not end with the closing quote.
std::optional<std::string> unquoted(const std::string& text) {
    if (text.empty() || text.front() != '"') {
        return std::nullopt;
    }
    std::string value;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '"') {
            return i + 1 == text.size() ? std::optional(value) : std::nullopt;
        }
        if (text[i] == '\\' && ++i == text.size()) {
            break;
        }
        value += text[i];
    }
    return std::nullopt;
}

bool is_word(const std::string& text) {
    return !text.empty() && text.find(' ') == std::string::npos;
}

}  // namespace

std::string change_record::line() const {
    std::string text = '<' + who + "> " + time + separator + target;
    if (value) {
        text += separator + dp::add_quotes(dp::add_backslash(*value));
    }
    return text;
}

std::optional<change_record> change_record::parse(const std::string& line) {
    const std::size_t who_end = line.find("> ");
    if (line.empty() || line.front() != '<' || who_end == std::string::npos) {
        return std::nullopt;
    }
    const std::size_t time_begin = who_end + 2;
    const std::size_t time_end = line.find(separator, time_begin);
    if (time_end == std::string::npos) {
        return std::nullopt;
    }
    const std::size_t target_begin = time_end + separator_size;
    const std::size_t target_end = line.find(separator, target_begin);
    change_record record;
    record.who = line.substr(1, who_end - 1);
    record.time = line.substr(time_begin, time_end - time_begin);
    record.target = line.substr(target_begin, target_end - target_begin);
    if (target_end != std::string::npos) {
        record.value = unquoted(line.substr(target_end + separator_size));
        if (!record.value) {
            return std::nullopt;
        }
    }
    if (!is_word(record.target)) {
        return std::nullopt;
    }
    return record;
}

}  // namespace dp_service
