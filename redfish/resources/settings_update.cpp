#include "redfish/resources/settings_update.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "redfish/protocol/etag.hpp"
#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/request_body.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/attribute_value.hpp"
#include "redfish/resources/bios_etags.hpp"
#include "redfish/resources/service_answer.hpp"
#include "redfish/resources/settings_change.hpp"
#include "service_api/service_status.hpp"
#include "transactions/command_status.hpp"

namespace dp_redfish {
namespace {

using dp_service::settings_client;

bool is_done(const settings_client::change& command) {
    return command.status == dp::command_status::success;
}

// Whether the values of a change are the pending ones.
bool is_pending(const server_snapshot& now, const settings_change& change) {
    const auto& positions = now.catalog->by_full_name;
    return std::all_of(change.commands.begin(), change.commands.end(),
                       [&](const settings_client::change& command) {
                           const auto found = positions.find(command.name);
                           return found != positions.end() &&
                                  is_same_value(now.catalog->settings[found->second], command.value,
                                                now.pending[found->second]);
                       });
}

// One PATCH.
class settings_update {
  public:
    settings_update(server_model& model, settings_client& client, const call& request,
                    const settings_answer& answer_with)
        : model_(model), client_(client), request_(request), answer_with_(answer_with) {}

    answer run() {
        // Each repetition is there because another client changed the values meanwhile.
        constexpr int most_attempts = 5;
        for (int attempt = 0; attempt < most_attempts; ++attempt) {
            if (auto result = try_once()) {
                return *std::move(result);
            }
        }
        return unavailable_answer("Other clients change the values all the time.");
    }

  private:
    // Nothing when the values changed since they were read.
    std::optional<answer> try_once() {
        const snapshot_pointer server = model_.read_now();
        if (server == nullptr) {
            return unavailable_answer("The server's values cannot be read.");
        }
        const std::string& version = server->pending_version;
        const std::string_view condition = request_.request->header("If-Match");
        if (!condition.empty() && !lists_etag(condition, etag_of_pending(*server))) {
            return error_answer(http_status::precondition_failed, {{"PreconditionFailed"}});
        }
        settings_change change = plan_change(*server, *request_.document.find("Attributes"));
        if (!change.problems.empty()) {
            return error_answer(http_status::bad_request, change.problems);
        }
        if (change.commands.empty()) {
            return answer_with_(server, {});
        }
        const auto outcome = client_.change_settings(change.commands, version);
        if (outcome.state == settings_client::states::refused &&
            outcome.status == dp_service::service_status::pending_changed &&
            (condition.empty() || condition == "*")) {
            return std::nullopt;
        }
        if (outcome.state == settings_client::states::unanswered) {
            return answer_unknown(change, outcome);
        }
        if (!was_done(outcome)) {
            return service_failure(outcome);
        }
        if (std::all_of(change.commands.begin(), change.commands.end(), is_done)) {
            return answer_done(*server, outcome);
        }
        return answer_partial(*server, change);
    }

    // The service ended during the change: the files say whether it was done.
    [[nodiscard]] answer answer_unknown(const settings_change& change,
                                        const settings_client::result& outcome) {
        const snapshot_pointer now = model_.read_now();
        return now != nullptr && is_pending(*now, change) ? answer_with_(now, {})
                                                          : service_failure(outcome);
    }

    [[nodiscard]] answer answer_done(const server_snapshot& before,
                                     const settings_client::result& outcome) {
        const snapshot_pointer now = model_.read_now();
        if (now == nullptr) {
            return unavailable_answer("The values were changed, but cannot be read.");
        }
        std::vector<message> notes{{"Success"}};
        const auto& positions = before.catalog->by_full_name;
        for (const auto& record : outcome.dependent) {
            const auto found = positions.find(record.target);
            if (found == positions.end()) {
                continue;
            }
            const server_setting& setting = before.catalog->settings[found->second];
            if (!setting.is_secret) {
                notes.push_back({"PropertyValueModified",
                                 {setting.name, record.value.value_or("")},
                                 "/Attributes" + pointer_segment(setting.name),
                                 record.cause.empty() ? "" : "Because " + record.cause + '.'});
            }
        }
        return answer_with_(now, notes);
    }

    // The service refused something that was checked here: takes the rest back.
    [[nodiscard]] answer answer_partial(const server_snapshot& before, settings_change& change) {
        std::vector<message> problems;
        unsigned status = http_status::bad_request;
        for (std::size_t i = 0; i < change.commands.size(); ++i) {
            const auto& command = change.commands[i];
            if (is_done(command)) {
                continue;
            }
            problems.push_back(refusal_message(command.status,
                                               before.catalog->settings[change.settings[i]],
                                               command.value, command.reason));
            if (command.status == dp_service::service_status::not_persisted) {
                status = http_status::insufficient_storage;
            } else if (problems.back().id == "PropertyNotUpdated" &&
                       status != http_status::insufficient_storage) {
                status = http_status::internal_error;
            }
        }
        auto undo = undo_commands(before, change);
        if (!undo.empty()) {
            const auto outcome = client_.change_settings(undo);
            const bool is_undone = outcome.state == settings_client::states::answered &&
                                   std::all_of(undo.begin(), undo.end(), is_done);
            if (!is_undone) {
                problems.push_back(
                    {"GeneralError",
                     {},
                     {},
                     "The other values were changed and could not be changed back."});
                status = http_status::internal_error;
            }
        }
        return error_answer(status, problems);
    }

    server_model& model_;
    settings_client& client_;
    const call& request_;
    const settings_answer& answer_with_;
};

}  // namespace

answer update_settings(server_model& model, settings_client& client, const call& request,
                       const settings_answer& answer_with) {
    return settings_update(model, client, request, answer_with).run();
}

}  // namespace dp_redfish
