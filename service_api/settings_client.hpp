#ifndef DP_SERVICE_API_SETTINGS_CLIENT_HPP
#define DP_SERVICE_API_SETTINGS_CLIENT_HPP

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "service_api/change_record.hpp"
#include "service_api/server_paths.hpp"
#include "transactions/operations.hpp"

namespace dp_service {

/// Changes settings through dp_settingsd's request socket. Each call connects, waits for its turn,
/// and returns when the request is answered, or when it is certain that it will not be done.
///
///     settings_client client;
///     std::vector<settings_client::change> changes{{"Boot.Mode", "Legacy"}};
///     const auto answer = client.change_settings(changes);
///     if (answer.state != settings_client::states::answered) {
///         std::cerr << answer.reason << '\n';
///     }
///
/// A program that also reads values through the C API initialises the C API again before it reads
/// back what it changed here: the C API may keep the values it read for up to four seconds.
///
/// Before it sends anything, a client checks that the socket's folder belongs to root or to its own
/// user, that nobody else can write there, and that the service runs as the folder's owner.
///
/// Calls of one object come from one thread at a time; different objects are independent. Nothing
/// here raises SIGPIPE.
class settings_client {
  public:
    /// What became of a request.
    enum class states : std::uint8_t {
        answered,    ///< done; the answer says how
        refused,     ///< the service refused it: nothing was and nothing will be done
        withdrawn,   ///< cancelled or timed out before it started: nothing was and will be done
        no_service,  ///< it was not sent: no service, or one that is not trusted
        /// It had started, but no complete answer came: it was done, unless the service was killed.
        /// In every case it was or will be done as a whole or not at all.
        unanswered,
    };

    /// What became of a request, with its answer.
    struct result {
        states state = states::no_service;  ///< what became of it
        std::int32_t status = 0;  ///< of an answer or a refusal: 0 or one of `service_status`
        std::string text;         ///< of an answer or a refusal: result lines, report or reason
        std::string reason;       ///< on one line, for a person; empty when answered with status 0

        /// Of an answer: other settings that the batch changed, because their values depend on
        /// those that were requested. Each record has the cause. Of very many only the last.
        std::vector<change_record> dependent;
    };

    /// A command for one setting, and its outcome.
    struct change {
        std::string name;                       ///< COLLECTION.ATTRIBUTE[.INSTANCE]
        std::string value{};                    ///< any text without a newline and a null character
        dp::operations operation = dp::op_set;  ///< a set or a delete
        /// 0 when it was done; otherwise one of `service_status` and `dp::command_status`.
        std::int32_t status = 255;
        std::string stored{};  ///< the value that the service has now; set when it was done
        std::string reason{};  ///< why it was not done, if the service says more than the status
    };

    /// The socket. Default: that of the board's service.
    std::string socket_path = server_paths::request_socket.str();

    /// The person for whom this client acts, if it acts for one: a name as
    /// `request_protocol::is_person` describes. The history has it beside the client itself, as
    /// what the client said. With another name, requests are refused here, with
    /// `service_status::malformed_line`, and nothing is sent.
    std::string on_behalf_of{};

    /// How long to wait until the request starts, and from then on for its answer.
    /// @{
    std::chrono::milliseconds start_timeout{60'000};
    std::chrono::milliseconds answer_timeout{60'000};
    /// @}

    /// When this descriptor becomes readable before the request has started, it is withdrawn; later
    /// it has no effect. Not owned; -1: none.
    int cancel_descriptor = -1;

    /// Called, if set, when the number of requests ahead is known and when it changes, when the
    /// request starts, and with its progress. They must not call this object.
    /// @{
    std::function<void(std::uint32_t ahead)> on_waiting;
    std::function<void()> on_start;
    std::function<void(std::uint32_t done, std::uint32_t total)> on_progress;
    /// @}

    /// Requests the changes as one batch. `planned_on`, if not empty, is the `pending_version` that
    /// the pending values must still have; otherwise the request is refused with
    /// `service_status::pending_changed`.
    ///
    /// When answered, each change has its status. The answer is checked: if it does not have
    /// exactly one line for each change, in their order and with their names, the state is
    /// `unanswered`. A name or value that a batch cannot carry is refused here, with
    /// `service_status::malformed_line`, and nothing is sent.
    result change_settings(std::vector<change>& changes, const std::string& planned_on = {});

    /// Sends a batch text, whose answer is the text of result lines.
    result run_batch(const std::string& text, const std::string& planned_on = {});

    /// Restarts the simulated server: pending values become current.
    result restart();

    /// Updates the simulated server's BIOS from the files in `server_paths::update_folder`, and
    /// restarts the server. The text of the answer lists what became of the values.
    result update();

    /// What `update` would do, as a text; does nothing.
    result plan_update();

    /// The version of the pending values, the text of the answer. It changes when they change.
    result pending_version();

  private:
    result send(std::string_view kind, const std::string& text, const std::string& planned_on);
};

}  // namespace dp_service

#endif
