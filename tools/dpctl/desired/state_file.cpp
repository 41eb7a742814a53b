#include "tools/dpctl/desired/state_file.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "common/io_loops.hpp"
#include "support/json.hpp"
#include "support/line_index.hpp"
#include "support/read_file.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/system/readable_file.hpp"

namespace dpctl {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
constexpr std::string_view blanks = " \t";
constexpr std::string_view replacement = "\xEF\xBF\xBD";  // of bytes that are not UTF-8
constexpr std::string_view bytes_suffix = "_bytes";

std::optional<std::string> from_hexadecimal(std::string_view digits) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        unsigned char byte = 0;
        const char* const end = digits.data() + i + 2;
        if (std::from_chars(digits.data() + i, end, byte, 16).ptr != end) {
            return std::nullopt;
        }
        bytes += static_cast<char>(byte);
    }
    return digits.empty() || digits.size() % 2 != 0 ? std::nullopt : std::optional(bytes);
}

// Reads the JSON form.
class json_state_reader {
  public:
    json_state_reader(std::string_view text, state_file& state)
        : lines_(text), state_(state), document_(dp_support::parse_json(text)) {}

    void read() {
        if (!document_.error.empty()) {
            add_problem(document_.error_offset, "is not JSON: " + document_.error);
            return;
        }
        const json_value& root = document_.root;
        if (root.kind != json_kind::object) {
            add_problem(root, "is " + kind_name(root.kind) + ", not an object");
            return;
        }
        report_repeated(root);
        state_.registry_version = text_member(registry_version_member);
        state_.build_id = text_member(build_id_member);
        const json_value* const attributes = root.find(attributes_member);
        if (attributes == nullptr) {
            add_problem(root, "has no \"Attributes\"");
        } else {
            read_attributes(*attributes, false);
        }
        if (const json_value* const read_only = root.find(read_only_member)) {
            read_attributes(*read_only, true);
        }
    }

  private:
    void add_problem(std::size_t offset, std::string message) {
        state_.problems.push_back({lines_.position_of(offset).line, std::move(message)});
    }
    void add_problem(const json_value& at, std::string message) {
        add_problem(at.offset, std::move(message));
    }

    // Returns the repeated members.
    std::unordered_set<const json_value*> report_repeated(const json_value& object) {
        const auto repeated = object.repeated_members();
        for (const auto* const member : repeated) {
            add_problem(*member, in_quotes(member->name) + " is given twice");
        }
        return {repeated.begin(), repeated.end()};
    }

    std::string text_member(std::string_view name) {
        const json_value* const member = document_.root.find(name);
        if (member == nullptr || member->kind == json_kind::null) {
            return "";
        }
        if (member->kind != json_kind::text) {
            add_problem(*member,
                        in_quotes(name) + " is " + kind_name(member->kind) + ", not a text");
        }
        return member->text;
    }

    void read_attributes(const json_value& attributes, bool may_remain) {
        if (attributes.kind != json_kind::object) {
            add_problem(attributes, in_quotes(attributes.name) + " is " +
                                        kind_name(attributes.kind) + ", not an object");
            return;
        }
        const auto repeated = report_repeated(attributes);
        const auto bytes = bytes_by_name(attributes);
        state_.entries.reserve(attributes.items.size());
        for (const json_value& member : attributes.items) {
            if (repeated.contains(&member) || is_bytes_of_another(member, bytes)) {
                continue;
            }
            state_entry entry{member.name, member.text, state_entry::kinds::text,
                              lines_.position_of(member.offset).line, may_remain};
            switch (member.kind) {
                case json_kind::text:
                    if (const auto found = bytes.find(member.name); found != bytes.end()) {
                        entry.value = found->second;
                    }
                    break;
                case json_kind::boolean:
                    entry.kind = state_entry::kinds::boolean;
                    entry.value = member.truth ? "true" : "false";
                    break;
                case json_kind::integer:
                case json_kind::real:
                    entry.kind = state_entry::kinds::number;
                    break;
                case json_kind::null:
                case json_kind::array:
                case json_kind::object:
                    add_problem(member, in_quotes(member.name) + " is " + kind_name(member.kind) +
                                            ", not a value");
                    continue;
            }
            state_.entries.push_back(std::move(entry));
        }
    }

    // The values that have bytes that are not UTF-8: of members that have such bytes replaced, and
    // beside which there is a member NAME_bytes with all of them in hexadecimal digits.
    static std::unordered_map<std::string, std::string> bytes_by_name(
        const json_value& attributes) {
        std::unordered_map<std::string, std::string> bytes;
        std::unordered_set<std::string_view> replaced;
        for (const json_value& member : attributes.items) {
            if (member.text.find(replacement) != std::string::npos) {
                replaced.insert(member.name);
            }
        }
        for (const json_value& member : attributes.items) {
            if (replaced.empty() || !member.name.ends_with(bytes_suffix)) {
                continue;
            }
            std::string name = member.name.substr(0, member.name.size() - bytes_suffix.size());
            if (auto value = from_hexadecimal(member.text); value && replaced.contains(name)) {
                bytes.emplace(std::move(name), *std::move(value));
            }
        }
        return bytes;
    }

    static bool is_bytes_of_another(const json_value& member,
                                    const std::unordered_map<std::string, std::string>& bytes) {
        return member.name.ends_with(bytes_suffix) &&
               bytes.contains(member.name.substr(0, member.name.size() - bytes_suffix.size()));
    }

    dp_support::line_index lines_;
    state_file& state_;
    dp_support::json_document document_;
};

void read_lines(std::string_view text, state_file& state) {
    for (std::size_t number = 1; !text.empty(); ++number) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::size_t equals = line.find('=');
        const std::string_view name =
            line.substr(0, line.substr(0, equals).find_last_not_of(blanks) + 1);
        if (equals == std::string_view::npos || name.empty()) {
            constexpr std::size_t longest_shown = 60;
            state.problems.push_back(
                {number, in_quotes(without_partial_character(line.substr(0, longest_shown))) +
                             " is not NAME=VALUE"});
            continue;
        }
        state.entries.push_back({std::string(name), std::string(line.substr(equals + 1)),
                                 state_entry::kinds::text, number});
    }
}

}  // namespace

std::string state_file::place_of(std::size_t line) const {
    return line == 0 ? std::string() : source + ':' + std::to_string(line) + ": ";
}

state_file parse_state(std::string source, std::string_view text) {
    state_file state;
    state.source = std::move(source);
    std::string_view content = text;
    if (content.starts_with(byte_order_mark)) {
        content.remove_prefix(byte_order_mark.size());
    }
    const std::size_t first = content.find_first_not_of(" \t\r\n");
    if (first != std::string_view::npos && (content[first] == '{' || content[first] == '[')) {
        json_state_reader(text, state).read();
    } else if (first == std::string_view::npos) {
        // As the output of a command that failed: with the defaults of all others it would erase
        // every value.
        state.problems.push_back({0, state.source + ": is empty"});
    } else {
        read_lines(content, state);
    }
    return state;
}

dp_support::result<state_file> read_state(const std::string& path) {
    if (path == "-") {
        const std::string source = "standard input";
        std::string text;
        if (!dp::read_all(STDIN_FILENO, state_size_limit, text)) {
            return errno == EFBIG
                       ? dp_support::failure{source + ": is larger than " +
                                                 std::to_string(state_size_limit) + " bytes",
                                             errno}
                       : dp_support::system_failure("read", source, errno);
        }
        return parse_state(source, text);
    }
    if (std::string reason = why_unreadable(path); !reason.empty()) {
        return dp_support::failure{std::move(reason)};
    }
    const auto text = dp_support::read_file(path, state_size_limit);
    if (!text) {
        return text.error();
    }
    return parse_state(path, *text);
}

}  // namespace dpctl
