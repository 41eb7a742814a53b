#include "redfish/protocol/request_body.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/media_type.hpp"
#include "redfish/protocol/messages.hpp"
#include "support/ascii_case.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

// Of very many repeated members, only the first ones are reported.
constexpr std::size_t most_repeated_members = 100;

// Whether a body of this Content-Type can be read. One that is missing is taken for JSON.
bool is_json_type(std::string_view field) {
    const media_type type(field);
    const std::string_view charset = type.parameter("charset");
    return type.name.empty() ||
           (type.name == "application/json" &&
            (charset.empty() || dp_support::equal_ignoring_case(charset, "utf-8")));
}

void find_repeated(const json_value& value, const std::string& pointer,
                   std::vector<message>& found) {
    for (const json_value* const repeated : value.repeated_members()) {
        if (found.size() < most_repeated_members) {
            found.push_back(
                {"PropertyDuplicate", {repeated->name}, pointer + pointer_segment(repeated->name)});
        }
    }
    for (std::size_t i = 0; i < value.items.size(); ++i) {
        const json_value& item = value.items[i];
        if (item.kind == json_kind::object || item.kind == json_kind::array) {
            find_repeated(item,
                          pointer + (value.kind == json_kind::array ? "/" + std::to_string(i)
                                                                    : pointer_segment(item.name)),
                          found);
        }
    }
}

}  // namespace

std::variant<json_value, answer> read_request_body(const http_request& request) {
    const std::string& text = request.body;
    if (text.empty() && request.method == "POST") {
        return json_value::object();
    }
    if (!is_json_type(request.header("Content-Type"))) {
        return error_answer(http_status::unsupported_media_type,
                            {{"HeaderInvalid",
                              {"Content-Type"},
                              {},
                              "The body of a request is application/json, in UTF-8."}});
    }
    auto document = dp_support::parse_json(text);
    if (!document.error.empty()) {
        const std::size_t end = std::min(document.error_offset, text.size());
        const auto line =
            1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
        return error_answer(http_status::bad_request,
                            {{"MalformedJSON",
                              {},
                              {},
                              "Line " + std::to_string(line) + ", byte " + std::to_string(end) +
                                  ": " + document.error + '.'}});
    }
    if (document.root.kind != json_kind::object) {
        return error_answer(
            http_status::bad_request,
            {{"UnrecognizedRequestBody",
              {},
              {},
              "The body is " + kind_name(document.root.kind) + " instead of an object."}});
    }
    std::vector<message> repeated;
    find_repeated(document.root, "", repeated);
    if (!repeated.empty()) {
        return error_answer(http_status::bad_request, repeated);
    }
    return std::move(document.root);
}

std::string pointer_segment(std::string_view name) {
    std::string segment = "/";
    for (const char c : name) {
        if (c == '~') {
            segment += "~0";
        } else if (c == '/') {
            segment += "~1";
        } else {
            segment += c;
        }
    }
    return segment;
}

}  // namespace dp_redfish
