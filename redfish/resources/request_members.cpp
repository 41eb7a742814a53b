#include "redfish/resources/request_members.hpp"

#include <cstddef>
#include <utility>

#include "redfish/protocol/request_body.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

std::string shown_value(const json_value& value) {
    constexpr std::size_t longest = 200;
    std::string text = value.kind == json_kind::text
                           ? value.text
                           : to_text(value, dp_support::json_layout::one_line);
    if (text.size() > longest) {
        text.resize(longest);
        text += "...";
    }
    return text;
}

}  // namespace

const json_value* request_members::any(std::string_view name) {
    known_.emplace(name);
    return body_.find(name);
}

void request_members::wrong(std::string_view name, message what) {
    what.related_property = "/" + std::string(name);
    errors_.push_back(std::move(what));
}

void request_members::wrong_type(const json_value& member, bool is_secret) {
    wrong(member.name, {"PropertyValueTypeError",
                        {is_secret ? "(not shown)" : shown_value(member), member.name}});
}

std::optional<std::string_view> request_members::text(std::string_view name) {
    const json_value* const member = any(name);
    if (member != nullptr && member->kind != json_kind::text) {
        wrong_type(*member, false);
        return std::nullopt;
    }
    return member != nullptr ? std::optional<std::string_view>(member->text) : std::nullopt;
}

std::optional<std::string_view> request_members::secret(std::string_view name) {
    const json_value* const member = any(name);
    if (member != nullptr && member->kind != json_kind::text) {
        wrong_type(*member, true);
        return std::nullopt;
    }
    return member != nullptr ? std::optional<std::string_view>(member->text) : std::nullopt;
}

std::optional<bool> request_members::boolean(std::string_view name) {
    const json_value* const member = any(name);
    if (member != nullptr && member->kind != json_kind::boolean) {
        wrong_type(*member, false);
        return std::nullopt;
    }
    return member != nullptr ? std::optional(member->truth) : std::nullopt;
}

std::optional<std::int64_t> request_members::integer(std::string_view name, std::int64_t least,
                                                     std::int64_t greatest) {
    const json_value* const member = any(name);
    if (member == nullptr) {
        return std::nullopt;
    }
    const bool is_huge = member->kind == json_kind::real && !member->text.empty() &&
                         member->text.find_first_of(".eE") == std::string::npos;
    if (member->kind != json_kind::integer && !is_huge) {
        wrong_type(*member, false);
        return std::nullopt;
    }
    if (is_huge || member->integer < least || member->integer > greatest) {
        wrong(name, {"PropertyValueOutOfRange",
                     {shown_value(*member), member->name},
                     {},
                     "From " + std::to_string(least) + " to " + std::to_string(greatest) + "."});
        return std::nullopt;
    }
    return member->integer;
}

void request_members::read_only(std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names) {
        if (any(name) != nullptr) {
            not_settable_.push_back(
                {"PropertyNotWritable", {std::string(name)}, "/" + std::string(name)});
        }
    }
}

void request_members::ignore(std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names) {
        any(name);
    }
}

void request_members::require(std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names) {
        if (!has(name)) {
            wrong(name, {"PropertyMissing", {std::string(name)}});
        }
    }
}

void request_members::unknown() {
    for (const json_value& member : body_.items) {
        if (!member.name.starts_with("@odata.") && !known_.contains(member.name)) {
            not_settable_.push_back(
                {"PropertyUnknown", {member.name}, pointer_segment(member.name)});
        }
    }
}

std::vector<message> request_members::all() const {
    std::vector<message> messages = errors_;
    messages.insert(messages.end(), not_settable_.begin(), not_settable_.end());
    return messages;
}

void annotate(json_value& resource, const request_members& members) {
    if (members.not_settable().empty()) {
        return;
    }
    json_value list = json_value::array();
    for (const message& why : members.not_settable()) {
        list.push_back(message_json(why));
    }
    resource.set("@Message.ExtendedInfo", std::move(list));
}

}  // namespace dp_redfish
