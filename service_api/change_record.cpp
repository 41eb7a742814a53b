#include "service_api/change_record.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "common/quoting.hpp"

namespace dp_service {
namespace {

constexpr std::string_view separator = "   ";
constexpr std::string_view before_key = "was ";
constexpr std::string_view cause_key = "because ";
constexpr std::string_view id_key = ",id=";
constexpr std::string_view on_behalf_of_key = ",for=";
constexpr std::string_view program_key = ",program=";

std::string quoted_field(const std::string& text) {
    return dp::add_quotes(dp::add_backslash(text));
}

// Takes a quoted text from the beginning of `rest`, and the separator after it. Nothing when there
// is none, or when something else follows it.
std::optional<std::string> take_quoted(std::string_view& rest) {
    if (!rest.starts_with('"')) {
        return std::nullopt;
    }
    std::string value;
    std::size_t end = 1;
    for (; end < rest.size() && rest[end] != '"'; ++end) {
        if (rest[end] == '\\') {
            ++end;
        }
        if (end < rest.size()) {
            value += rest[end];
        }
    }
    if (end >= rest.size()) {
        return std::nullopt;
    }
    rest.remove_prefix(end + 1);
    if (rest.empty()) {
        return value;
    }
    const bool is_field = rest.starts_with(separator) && rest.size() > separator.size();
    rest.remove_prefix(is_field ? separator.size() : 0);
    return is_field ? std::optional(value) : std::nullopt;
}

// Takes the fields after the target. False when they are not such fields.
bool take_values(std::string_view rest, change_record& record) {
    if (rest.starts_with('"')) {
        record.value = take_quoted(rest);
        if (!record.value) {
            return false;
        }
    }
    if (rest.starts_with(before_key)) {
        rest.remove_prefix(before_key.size());
        record.before = take_quoted(rest);
        if (!record.before) {
            return false;
        }
    }
    if (rest.starts_with(cause_key)) {
        rest.remove_prefix(cause_key.size());
        const auto cause = take_quoted(rest);
        if (!cause) {
            return false;
        }
        record.cause = *cause;
    }
    return rest.empty();
}

bool is_word(const std::string& text) {
    return !text.empty() && text.find(' ') == std::string::npos;
}

}  // namespace

change_record::requester change_record::requested_by() const {
    // The name is the client's, and may contain the words of the other parts.
    const std::size_t id_begin = who.rfind(id_key);
    if (id_begin == std::string::npos) {
        return {who, {}, {}};
    }
    const std::size_t id_end = std::min(who.find(',', id_begin + 1), who.size());
    requester by{who.substr(0, id_begin),
                 who.substr(id_begin + id_key.size(), id_end - id_begin - id_key.size()),
                 who.substr(std::min(id_end + 1, who.size()))};
    // Paths that earlier versions wrote may contain the words of the other parts.
    const std::size_t begin = by.client.find(on_behalf_of_key);
    const std::size_t end = by.client.find(program_key);
    if (begin < end && end != std::string::npos) {
        by.on_behalf_of = by.client.substr(begin + on_behalf_of_key.size(),
                                           end - begin - on_behalf_of_key.size());
        by.client.erase(begin, end - begin);
    }
    return by;
}

std::string change_record::line() const {
    std::string text = '<' + who + "> " + time;
    const auto add = [&text](std::string_view key, const std::string& field) {
        text += separator;
        text += key;
        text += field;
    };
    add({}, target);
    if (value) {
        add({}, quoted_field(*value));
    }
    if (before) {
        add(before_key, quoted_field(*before));
    }
    if (!cause.empty()) {
        add(cause_key, quoted_field(cause));
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
    const std::size_t target_begin = time_end + separator.size();
    const std::size_t target_end = line.find(separator, target_begin);
    change_record record;
    record.who = line.substr(1, who_end - 1);
    record.time = line.substr(time_begin, time_end - time_begin);
    record.target = line.substr(target_begin, target_end - target_begin);
    if (target_end != std::string::npos) {
        const std::string_view fields =
            std::string_view(line).substr(target_end + separator.size());
        if (fields.empty() || !take_values(fields, record)) {
            return std::nullopt;
        }
    }
    if (!is_word(record.target)) {
        return std::nullopt;
    }
    return record;
}

}  // namespace dp_service
