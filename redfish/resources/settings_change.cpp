#include "redfish/resources/settings_change.hpp"

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

#include "bios/dp_api.h"
#include "redfish/protocol/request_body.hpp"
#include "redfish/resources/attribute_value.hpp"
#include "service_api/attribute_description.hpp"
#include "service_api/dependency_decision.hpp"
#include "service_api/registry_dependencies.hpp"
#include "service_api/registry_value.hpp"
#include "service_api/service_status.hpp"
#include "service_api/template_flags.hpp"
#include "service_api/value_check.hpp"
#include "support/decimal.hpp"
#include "transactions/command_status.hpp"
#include "transactions/operations.hpp"

namespace dp_redfish {
namespace {

namespace service_status = dp_service::service_status;
using dp_service::registry_dependencies;
using dp_service::registry_property;
using dp_service::registry_type;
using dp_service::registry_value;
using dp_support::json_kind;
using dp_support::json_value;

// Of very many problems only the first ones are reported.
constexpr std::size_t most_problems = 1000;

// A batch carries no longer values; a part of a line is for the words before it.
constexpr std::size_t longest_value = std::size_t{31} * 1024;

constexpr const char* hidden_value = "******";

std::string attribute_pointer(const std::string& name) {
    return "/Attributes" + pointer_segment(name);
}

std::string sentence(std::string reason) {
    if (reason.empty()) {
        return reason;
    }
    if (reason.front() >= 'a' && reason.front() <= 'z') {
        reason.front() = static_cast<char>(reason.front() - 'a' + 'A');
    }
    return reason.back() == '.' ? reason : reason + '.';
}

// A requested value as a person writes it.
std::string written(const server_setting& setting, const json_value& value) {
    if (setting.is_secret) {
        return hidden_value;
    }
    return value.kind == json_kind::text ? value.text
                                         : to_text(value, dp_support::json_layout::one_line);
}

message wrong_type(const server_setting& setting, const json_value& value) {
    return {"PropertyValueTypeError",
            {written(setting, value), setting.name},
            attribute_pointer(setting.name)};
}

message out_of_range(const server_setting& setting, std::string value) {
    return {"PropertyValueOutOfRange",
            {std::move(value), setting.name},
            attribute_pointer(setting.name),
            sentence("allowed: " + dp_service::allowed_values(setting.attribute->get()))};
}

bool is_number(const json_value& value) {
    return value.kind == json_kind::integer || value.kind == json_kind::real;
}

// The text of a requested value in a batch, or why the setting cannot have it.
std::variant<std::string, message> batch_value(const server_setting& setting,
                                               const json_value& value) {
    switch (setting.type) {
        case registry_type::integer: {
            if (!is_number(value)) {
                return wrong_type(setting, value);
            }
            std::string digits = written(setting, value);
            if (value.kind == json_kind::integer && value.integer >= 0) {
                return digits;
            }
            // Beyond all bounds, but a number without a fraction.
            const bool is_whole = digits.find_first_not_of("-0123456789") == std::string::npos;
            return is_whole ? out_of_range(setting, std::move(digits)) : wrong_type(setting, value);
        }
        case registry_type::boolean:
            if (value.kind != json_kind::boolean) {
                return wrong_type(setting, value);
            }
            return dp_service::setting_text(registry_value(value.truth));
        default:
            break;
    }
    if (value.kind != json_kind::text) {
        return wrong_type(setting, value);
    }
    constexpr std::string_view line_ends("\n\0", 2);
    if (value.text.find_first_of(line_ends) != std::string::npos) {
        return message{"PropertyValueFormatError",
                       {written(setting, value), setting.name},
                       attribute_pointer(setting.name),
                       "A value contains neither a newline nor a null character."};
    }
    if (value.text.size() > longest_value) {
        return message{"StringValueTooLong",
                       {value.text.substr(0, 32) + "...", std::to_string(longest_value)},
                       attribute_pointer(setting.name)};
    }
    return value.text;
}

// Whether the resource shows the requested value already.
bool is_shown(const server_setting& setting, const json_value& value,
              const std::optional<std::string>& pending) {
    const json_value shown = attribute_json(setting, pending);
    constexpr auto layout = dp_support::json_layout::one_line;
    return shown.kind == value.kind && to_text(shown, layout) == to_text(value, layout);
}

// Whether the message for a status says all that the status does.
bool is_told_by_message(std::int32_t status) {
    return status == service_status::read_only || status == service_status::too_short ||
           status == service_status::too_long || status == service_status::not_a_number ||
           status == service_status::bad_instance;
}

// The status that the settings service would give the value, without dependencies.
std::int32_t check_alone(const server_setting& setting, const std::string& value) {
    dp_attribute attribute = setting.attribute->get();
    if (setting.is_read_only_by_dependency) {
        attribute.flg &= ~dp_service::template_flags::read_only;
    }
    return dp_service::check_value(attribute, setting.instance, value);
}

struct requested_value {
    std::size_t setting;
    std::string value;
    bool is_pending;  // already
};

// Loads the pending values into the rules of the registry.
void load_pending(registry_dependencies& rules, const server_snapshot& server) {
    const settings_catalog& catalog = *server.catalog;
    std::vector<registry_dependencies::assignment> values;
    for (std::size_t i = 0; i < catalog.settings.size(); ++i) {
        const auto index = catalog.settings[i].index;
        if (index && server.pending[i]) {
            values.push_back(
                {*index, catalog.registry->attributes[*index].value_of_text(*server.pending[i])});
        }
    }
    rules.load(values);
    rules.keep();
}

class change_planner {
  public:
    explicit change_planner(const server_snapshot& server)
        : server_(server), catalog_(*server.catalog) {}

    settings_change plan(const json_value& attributes) {
        for (const auto& member : attributes.items) {
            take(member);
        }
        // Without the values that are refused already, dependencies would decide about another
        // batch.
        if (plan_.problems.empty() && catalog_.registry != nullptr) {
            check_dependencies();
        }
        for (const auto& wanted : requested_) {
            if (!wanted.is_pending) {
                plan_.commands.push_back(
                    {catalog_.settings[wanted.setting].full_name, wanted.value});
                plan_.settings.push_back(wanted.setting);
            }
        }
        if (plan_.problems.size() > most_problems) {
            plan_.problems.resize(most_problems);
            plan_.problems.push_back({"MaximumErrorsExceeded"});
        }
        return std::move(plan_);
    }

  private:
    void take(const json_value& member) {
        const auto known = catalog_.by_name.find(member.name);
        if (known == catalog_.by_name.end()) {
            plan_.problems.push_back(
                {"PropertyUnknown", {member.name}, attribute_pointer(member.name)});
            return;
        }
        const server_setting& setting = catalog_.settings[known->second];
        auto value = batch_value(setting, member);
        if (auto* const problem = std::get_if<message>(&value)) {
            // A client may send back all that it read: null too, and a text that is no number.
            if (!is_shown(setting, member, server_.pending[known->second])) {
                plan_.problems.push_back(std::move(*problem));
            }
            return;
        }
        requested_value wanted{known->second, std::get<std::string>(std::move(value)), false};
        wanted.is_pending = is_same_value(setting, wanted.value, server_.pending[known->second]);
        if (!wanted.is_pending) {
            if (const std::int32_t status = check_alone(setting, wanted.value);
                status != dp::command_status::success) {
                plan_.problems.push_back(refusal_message(status, setting, wanted.value, ""));
                return;
            }
        }
        requested_.push_back(std::move(wanted));
    }

    [[nodiscard]] registry_value value_of(const requested_value& wanted) const {
        const std::uint32_t index = *catalog_.settings[wanted.setting].index;
        return catalog_.registry->attributes[index].value_of_text(wanted.value);
    }

    static bool is_read_only(const registry_dependencies& rules, std::uint32_t index) {
        const auto is_set = [&](registry_property which) {
            const auto* const flag = std::get_if<bool>(&rules.property(index, which));
            return flag != nullptr && *flag;
        };
        return is_set(registry_property::read_only) || is_set(registry_property::immutable);
    }

    void check_dependencies() {
        registry_dependencies rules(*catalog_.registry);
        load_pending(rules, server_);
        std::vector<registry_dependencies::assignment> commands;
        std::vector<requested_value*> commanded;
        std::vector<bool> was_read_only;
        for (auto& wanted : requested_) {
            if (const auto index = catalog_.settings[wanted.setting].index) {
                commands.push_back({*index, value_of(wanted)});
                commanded.push_back(&wanted);
                was_read_only.push_back(is_read_only(rules, *index));
            }
        }
        const auto decision = dp_service::decide(rules, commands);
        for (std::size_t i = 0; i < commanded.size(); ++i) {
            const registry_value& after =
                rules.property(commands[i].attribute, registry_property::current_value);
            if (after == commands[i].value) {
                // Another one sets it if it is not permitted itself.
                commanded[i]->is_pending =
                    commanded[i]->is_pending || !decision.refusals[i].empty();
                continue;
            }
            refuse(*commanded[i], was_read_only[i],
                   decision.refusals[i].empty()
                       ? "it would be set to " + dp_service::setting_text(after) +
                             " because of another value of the request"
                       : decision.refusals[i]);
        }
    }

    void refuse(const requested_value& wanted, bool is_fixed, const std::string& reason) {
        const server_setting& setting = catalog_.settings[wanted.setting];
        plan_.problems.push_back(refusal_message(
            is_fixed ? service_status::read_only : service_status::forbidden_by_dependency, setting,
            wanted.value, reason));
    }

    const server_snapshot& server_;
    const settings_catalog& catalog_;
    std::vector<requested_value> requested_;
    settings_change plan_;
};

}  // namespace

settings_change plan_change(const server_snapshot& server, const json_value& attributes) {
    return change_planner(server).plan(attributes);
}

settings_change plan_reset(const server_snapshot& server) {
    settings_change plan;
    for (std::size_t i = 0; i < server.catalog->settings.size(); ++i) {
        const server_setting& setting = server.catalog->settings[i];
        const dp_attribute& attribute = setting.attribute->get();
        const auto& pending = server.pending[i];
        const bool is_fixed =
            dp_service::is_read_only(attribute) && !setting.is_read_only_by_dependency;
        const bool is_absent_instance = !setting.instance.empty() && !pending;
        // Its default is that of no server, as of an asset tag or an address.
        const bool identifies_server =
            setting.index && server.catalog->registry->attributes[*setting.index].is_system_unique;
        if (is_fixed || setting.is_secret || is_absent_instance || identifies_server) {
            continue;
        }
        if (dp_service::is_removed_by_default(attribute)) {
            if (pending) {
                plan.commands.push_back({setting.full_name, {}, dp::op_delete});
                plan.settings.push_back(i);
            }
        } else if (!is_same_value(setting, attribute.dft, pending)) {
            plan.commands.push_back({setting.full_name, attribute.dft});
            plan.settings.push_back(i);
        }
    }
    return plan;
}

std::vector<dp_service::settings_client::change> undo_commands(const server_snapshot& before,
                                                               const settings_change& change) {
    std::vector<dp_service::settings_client::change> commands;
    for (std::size_t i = 0; i < change.commands.size(); ++i) {
        if (change.commands[i].status != dp::command_status::success) {
            continue;
        }
        const std::string& name = change.commands[i].name;
        if (const auto& value = before.pending[change.settings[i]]) {
            commands.push_back({name, *value});
        } else {
            commands.push_back({name, {}, dp::op_delete});
        }
    }
    return commands;
}

message refusal_message(std::int32_t status, const server_setting& setting,
                        const std::string& value, const std::string& reason) {
    const dp_attribute& attribute = setting.attribute->get();
    const std::string shown = setting.is_secret ? hidden_value : value;
    message refusal{"PropertyNotUpdated",
                    {setting.name},
                    attribute_pointer(setting.name),
                    sentence(reason.empty() && !is_told_by_message(status)
                                 ? service_status::explanation(status, "the value")
                                 : reason)};
    switch (status) {
        case service_status::not_a_choice:
            refusal.id = "PropertyValueNotInList";
            refusal.arguments = {shown, setting.name};
            refusal.reason = sentence("allowed: " + dp_service::allowed_values(attribute));
            break;
        case service_status::not_a_number:
            refusal.id = "PropertyValueTypeError";
            refusal.arguments = {shown, setting.name};
            break;
        case service_status::out_of_range:
        case service_status::not_a_step:
            return out_of_range(setting, shown);
        case service_status::too_short:
            refusal.id = "StringValueTooShort";
            refusal.arguments = {shown, std::to_string(attribute.minc)};
            break;
        case service_status::too_long:
            refusal.id = "StringValueTooLong";
            refusal.arguments = {shown, std::to_string(attribute.maxc)};
            break;
        case service_status::pattern_mismatch:
        case service_status::malformed_line:
            refusal.id = "PropertyValueFormatError";
            refusal.arguments = {shown, setting.name};
            break;
        case service_status::read_only:
            refusal.id = "PropertyNotWritable";
            break;
        case service_status::bad_instance:
            refusal.id = "PropertyUnknown";
            break;
        case service_status::forbidden_by_dependency:
            refusal.id = "PropertyValueExternalConflict";
            refusal.arguments = {setting.name, shown};
            break;
        default:
            break;
    }
    return refusal;
}

}  // namespace dp_redfish
