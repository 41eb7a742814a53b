#include "redfish/access/accounts_text.hpp"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <utility>

#include "redfish/access/password_hash.hpp"
#include "redfish/access/role_names.hpp"
#include "redfish/access/text_rules.hpp"
#include "support/json.hpp"
#include "support/line_index.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

constexpr std::int64_t accounts_format = 1;

// Reads the values and keeps the first problem.
class accounts_text_reader {
  public:
    explicit accounts_text_reader(std::string_view text) : text_(text) {}

    dp_support::result<account_data> read() {
        const auto document = dp_support::parse_json(text_);
        if (!document.error.empty()) {
            return problem_at(document.error_offset, document.error);
        }
        const json_value& root = document.root;
        account_data data;
        if (!is_object(root, {"format", "policy", "accounts"})) {
            return *problem_;
        }
        const std::int64_t format = number(root, "format", 0, INT64_MAX).value_or(0);
        if (!problem_ && format != accounts_format) {
            fail(root.find("format") != nullptr ? *root.find("format") : root,
                 "the format must be " + std::to_string(accounts_format));
        }
        if (const json_value* const policy = root.find("policy"); !problem_ && policy != nullptr) {
            read_policy(*policy, data.policy);
        }
        const json_value* const accounts = root.find("accounts");
        if (!problem_ && (accounts == nullptr || accounts->kind != json_kind::array)) {
            fail(accounts != nullptr ? *accounts : root, "\"accounts\" must be a list");
        }
        if (!problem_ && accounts->items.size() > account_data::accounts_limit) {
            fail(*accounts,
                 "more than " + std::to_string(account_data::accounts_limit) + " accounts");
        }
        for (std::size_t i = 0; !problem_ && i < accounts->items.size(); ++i) {
            read_account(accounts->items[i], data);
        }
        if (problem_) {
            return *problem_;
        }
        return data;
    }

  private:
    [[nodiscard]] dp_support::failure problem_at(std::size_t offset,
                                                 const std::string& what) const {
        const auto position = dp_support::line_index(text_).position_of(offset);
        return {"line " + std::to_string(position.line) + ": " + what, 0};
    }

    void fail(const json_value& at, const std::string& what) {
        if (!problem_) {
            problem_ = problem_at(at.offset, what);
        }
    }

    bool is_object(const json_value& value, std::initializer_list<std::string_view> names) {
        if (value.kind != json_kind::object) {
            fail(value, "must be an object");
            return false;
        }
        for (const json_value* const repeated : value.repeated_members()) {
            fail(*repeated, "repeated member " + quoted_for_log(repeated->name));
        }
        for (const json_value& member : value.items) {
            bool is_known = false;
            for (const std::string_view name : names) {
                is_known = is_known || member.name == name;
            }
            if (!is_known) {
                fail(member, "unknown member " + quoted_for_log(member.name));
            }
        }
        return !problem_;
    }

    std::optional<std::int64_t> number(const json_value& object, std::string_view name,
                                       std::int64_t least, std::int64_t greatest) {
        const json_value* const value = object.find(name);
        if (value == nullptr) {
            return std::nullopt;
        }
        if (value->kind != json_kind::integer || value->integer < least ||
            value->integer > greatest) {
            fail(*value, quoted_for_log(name) + " must be a number from " + std::to_string(least) +
                             " to " + std::to_string(greatest));
            return std::nullopt;
        }
        return value->integer;
    }

    void seconds(const json_value& object, std::string_view name, std::int64_t least,
                 std::chrono::seconds& target) {
        const auto value = number(object, name, least, access_policy::greatest_time);
        target = value ? std::chrono::seconds(*value) : target;
    }

    void read_policy(const json_value& value, access_policy& policy) {
        if (!is_object(value, {"session_timeout", "absolute_session_timeout",
                               "absolute_session_timeout_enabled", "lockout_threshold",
                               "lockout_duration", "lockout_reset_after"})) {
            return;
        }
        policy.has_absolute_timeout =
            truth(value, "absolute_session_timeout_enabled", policy.has_absolute_timeout);
        seconds(value, "absolute_session_timeout", access_policy::least_session_timeout,
                policy.absolute_timeout);
        seconds(value, "session_timeout", access_policy::least_session_timeout,
                policy.session_timeout);
        policy.lockout_threshold =
            number(value, "lockout_threshold", 0, access_policy::greatest_threshold)
                .value_or(policy.lockout_threshold);
        seconds(value, "lockout_duration", 0, policy.lockout_duration);
        seconds(value, "lockout_reset_after", 0, policy.lockout_reset_after);
        if (!policy.is_consistent()) {
            fail(value, R"("lockout_reset_after" must not exceed "lockout_duration")");
        }
    }

    bool truth(const json_value& object, std::string_view name, bool otherwise) {
        const json_value* const value = object.find(name);
        if (value == nullptr) {
            return otherwise;
        }
        if (value->kind != json_kind::boolean) {
            fail(*value, quoted_for_log(name) + " must be true or false");
        }
        return value->truth;
    }

    std::string text(const json_value& object, std::string_view name) {
        const json_value* const value = object.find(name);
        if (value == nullptr || value->kind != json_kind::text) {
            fail(value != nullptr ? *value : object, quoted_for_log(name) + " must be a text");
            return {};
        }
        return value->text;
    }

    void read_account(const json_value& value, account_data& data) {
        if (!is_object(value,
                       {"name", "role", "enabled", "password", "password_change_required"})) {
            return;
        }
        account added;
        added.name = text(value, "name");
        if (!problem_ && !is_user_name(added.name)) {
            fail(value, quoted_for_log(added.name) + " cannot be the name of an account");
        }
        if (!problem_ && data.find(added.name) != nullptr) {
            fail(value, "two accounts have the name " + quoted_for_log(added.name));
        }
        const std::string role = text(value, "role");
        const auto known_role = find_role(role);
        if (!problem_ && !known_role) {
            fail(value, "there is no role " + quoted_for_log(role));
        }
        added.enabled = truth(value, "enabled", added.enabled);
        added.must_change_password =
            truth(value, "password_change_required", added.must_change_password);
        added.password_hash = text(value, "password");
        if (!problem_ && !is_password_hash(added.password_hash)) {
            fail(value, "\"password\" must be a yescrypt hash of crypt(3)");
        }
        if (!problem_) {
            added.role = *known_role;
            data.accounts.push_back(std::move(added));
        }
    }

    std::string_view text_;
    std::optional<dp_support::failure> problem_;
};

}  // namespace

dp_support::result<account_data> read_accounts_text(std::string_view text) {
    return accounts_text_reader(text).read();
}

std::string write_accounts_text(const account_data& data) {
    json_value accounts = json_value::array();
    for (const account& one : data.accounts) {
        json_value entry = json_value::object({{"name", one.name},
                                               {"role", role_name(one.role)},
                                               {"enabled", one.enabled},
                                               {"password", one.password_hash}});
        if (one.must_change_password) {
            entry.set("password_change_required", true);
        }
        accounts.push_back(std::move(entry));
    }
    const access_policy& policy = data.policy;
    json_value rules =
        json_value::object({{"session_timeout", policy.session_timeout.count()},
                            {"lockout_threshold", policy.lockout_threshold},
                            {"lockout_duration", policy.lockout_duration.count()},
                            {"lockout_reset_after", policy.lockout_reset_after.count()}});
    // What has its default is left out: programs before this member refuse the file otherwise.
    if (policy.has_absolute_timeout != access_policy().has_absolute_timeout) {
        rules.set("absolute_session_timeout_enabled", policy.has_absolute_timeout);
    }
    if (policy.absolute_timeout != access_policy().absolute_timeout) {
        rules.set("absolute_session_timeout", policy.absolute_timeout.count());
    }
    return to_text(json_value::object({{"format", accounts_format},
                                       {"policy", std::move(rules)},
                                       {"accounts", std::move(accounts)}}),
                   dp_support::json_layout::indented) +
           "\n";
}

}  // namespace dp_redfish
