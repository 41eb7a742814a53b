// Arbitrary bytes as requests of a client that is logged in or not, through the access control and
// all routes, with tasks and streams of events: each request is answered once, with a status that
// is no internal error and a body that is JSON if it says so, and streams carry whole events.

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <future>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "redfish/access/add_account.hpp"
#include "redfish/access/password_access_control.hpp"
#include "redfish/events/event_service.hpp"
#include "redfish/events/service_event.hpp"
#include "redfish/http/http_limits.hpp"
#include "redfish/http/http_message.hpp"
#include "redfish/http/request_reader.hpp"
#include "redfish/http/response_head.hpp"
#include "redfish/model/server_model.hpp"
#include "redfish/page/page_routes.hpp"
#include "redfish/protocol/gateway.hpp"
#include "redfish/protocol/route_table.hpp"
#include "redfish/resources/account_routes.hpp"
#include "redfish/resources/all_resources.hpp"
#include "redfish/resources/event_resources.hpp"
#include "redfish/resources/session_routes.hpp"
#include "redfish/resources/task_resources.hpp"
#include "redfish/resources/task_store.hpp"
#include "support/json.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/fuzzing_root.hpp"
#include "tests/fuzz/input.hpp"
#include "tests/support/recorded_stream.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/sealed_values.hpp"

namespace {

using dp_redfish::http_request;
using dp_redfish::http_response;
using dp_redfish::password_access_control;
using dp_redfish::secret_text;

// "admin:fuzzing password" and "eve:fuzzing password".
constexpr const char* as_administrator = "Basic YWRtaW46ZnV6emluZyBwYXNzd29yZA==";
constexpr const char* as_reader = "Basic ZXZlOmZ1enppbmcgcGFzc3dvcmQ=";

std::string accounts_path() {
    return fuzzing::scratch_path("/var/dp/accounts.json");
}

void write_server_files() {
    std::ostringstream records;
    std::string names;
    for (const auto& info : test::sample_template()) {
        records << info;
        if (names.find(info.cfg + '\n') == std::string::npos) {
            names += info.cfg + '\n';
        }
    }
    const std::string template_path = fuzzing::scratch_path("/var/dp/uefi_template.efi");
    fuzzing::write_scratch(template_path, "not read");
    // Older than what was expanded from it.
    std::filesystem::last_write_time(
        template_path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    fuzzing::write_scratch(fuzzing::scratch_path("/tmp/dp/uefi_configs.txt"), names);
    fuzzing::write_scratch(fuzzing::scratch_path("/tmp/dp/uefi_info.txt"), records.str());
    const std::string values = test::sealed("0 <f> 0 set Boot.Mode \"UEFI\" \"\"\n");
    fuzzing::write_scratch(fuzzing::scratch_path("/var/dp/uefi_settings.txt"), values);
    fuzzing::write_scratch(fuzzing::scratch_path("/var/dp/uefi_current.txt"), values);
    fuzzing::write_scratch(fuzzing::scratch_path("/var/dp/history"),
                           "<c,id=1> 2026-11-22T15:25:09+01:00   Boot.Mode   \"UEFI\"\n");
}

std::unique_ptr<password_access_control> start_access() {
    const auto environment = dp_redfish::access_environment::of_system();
    for (const auto& [name, role] : {std::pair("admin", dp_redfish::roles::administrator),
                                     std::pair("eve", dp_redfish::roles::read_only)}) {
        fuzzing::require(dp_redfish::add_account(accounts_path(), name, role,
                                                 secret_text(std::string_view("fuzzing password")),
                                                 environment, 1)
                             .ok(),
                         "an account can be made");
    }
    password_access_control::options options;
    options.accounts_path = accounts_path();
    options.log = [](const std::string&) {};
    options.hash_cost = 1;
    auto started = password_access_control::start(options);
    fuzzing::require(started.ok(), "the access control starts");
    return *std::move(started);
}

// What requests change is taken back after each input: the next one must not depend on it.
class kept_parts {
  public:
    kept_parts() { accounts_ = fuzzing::read_scratch(accounts_path()); }
    ~kept_parts() {
        model.stop();
        access->stop();
    }
    kept_parts(const kept_parts&) = delete;
    kept_parts& operator=(const kept_parts&) = delete;

    void restore() {
        for (const auto& session : access->sessions().list()) {
            access->sessions().end(session.id, "the input ends");
        }
        for (const char* const user : {"admin", "eve"}) {
            if (access->is_locked(user)) {
                access->unlock("fuzzing", user);
            }
        }
        if (fuzzing::read_scratch(accounts_path()) != accounts_) {
            fuzzing::write_scratch(accounts_path(), accounts_);
        }
        // Operations that were deferred use the routes.
        std::promise<void> is_idle;
        while (!model.change([&](dp_service::settings_client&) { is_idle.set_value(); })) {
            std::this_thread::yield();
        }
        is_idle.get_future().get();
    }

    std::unique_ptr<password_access_control> access = start_access();
    dp_redfish::server_model model;

  private:
    std::string accounts_;
};

// The service without its sockets, and without a settings service.
class redfish_service {
  public:
    explicit redfish_service(kept_parts& kept)
        : access_(*kept.access), gateway_(routes_, access_, &tasks_) {
        dp_redfish::add_server_routes(routes_, kept.model, {.version = "1", .uuid = {}});
        dp_redfish::add_event_routes(routes_, kept.model, events);
        dp_redfish::add_task_routes(routes_, tasks_);
        dp_redfish::add_session_routes(routes_, access_);
        dp_redfish::add_account_routes(routes_, access_);
        dp_redfish::add_page_routes(routes_);
    }

    http_response ask(const std::shared_ptr<const http_request>& request) {
        struct waiting {
            std::mutex mutex;
            std::condition_variable changed;
            std::vector<http_response> answers;
        };
        const auto made = std::make_shared<waiting>();
        gateway_.handle(request, [made](http_response response) {
            const std::lock_guard lock(made->mutex);
            made->answers.push_back(std::move(response));
            made->changed.notify_all();
        });
        std::unique_lock lock(made->mutex);
        fuzzing::require(made->changed.wait_for(lock, std::chrono::seconds(60),
                                                [&] { return !made->answers.empty(); }),
                         "a request is answered");
        fuzzing::require(made->answers.size() == 1, "a request is answered once");
        return std::move(made->answers.front());
    }

    dp_redfish::event_service events{without_thread()};

  private:
    static dp_redfish::event_service::options without_thread() {
        dp_redfish::event_service::options options;
        options.has_thread = false;
        return options;
    }

    password_access_control& access_;
    dp_redfish::task_store tasks_{
        {.report = [this](const char* message, const dp_redfish::deferred_task& task) {
            events.publish(dp_redfish::make_event("TaskEvent", message, {std::to_string(task.id)},
                                                  dp_redfish::task_path(task), "Task", ""));
        }}};
    dp_redfish::route_table routes_;
    dp_redfish::gateway gateway_;
};

dp_redfish::http_limits redfish_limits() {
    dp_redfish::http_limits limits;
    limits.body = 16'384;
    return limits;
}

bool is_json_text(std::string_view text) {
    return dp_support::parse_json(std::string(text)).error.empty();
}

void check_answer(const http_request& request, const http_response& response) {
    fuzzing::require(response.status >= 200 && response.status < 600 && response.status != 500,
                     "a request has an answer that is no internal error");
    fuzzing::require(response.status < 400 || response.body != nullptr || request.method == "HEAD",
                     "an error has a body");
    const auto type = response.headers.find("Content-Type");
    if (response.body != nullptr && type != response.headers.end() &&
        type->second.starts_with("application/json")) {
        fuzzing::require(is_json_text(*response.body), "a body of JSON is JSON");
    }
    // What a client sends cannot split a response.
    const std::string head = dp_redfish::response_head(response, {});
    fuzzing::require(head.find("\r\n\r\n") == head.size() - 4, "a head ends once");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool has_files = (write_server_files(), true);
    static kept_parts kept;
    redfish_service tested(kept);
    fuzzing::require(has_files, "the server has files");
    constexpr std::size_t most_requests = 8;
    fuzzing::input in(data, size);
    const std::uint8_t who = in.byte();
    dp_redfish::request_reader reader(redfish_limits());
    reader.append(in.rest());
    std::vector<std::shared_ptr<test::recorded_stream>> streams;
    for (std::size_t count = 0;
         count < most_requests && reader.state() == dp_redfish::request_reader::states::complete;
         ++count) {
        auto request = std::make_shared<http_request>(*reader.take());
        request->peer = "192.0.2.1";
        if (who == 'a' || who == 'r') {
            request->headers.try_emplace("Authorization",
                                         who == 'a' ? as_administrator : as_reader);
        }
        const auto response = tested.ask(request);
        check_answer(*request, response);
        if (response.start_stream) {
            streams.push_back(std::make_shared<test::recorded_stream>());
            response.start_stream(streams.back());
        }
        reader.next();
    }
    kept.restore();
    for (const auto& stream : streams) {
        for (const auto& payload : stream->payloads()) {
            fuzzing::require(payload.find("Events") != nullptr, "an event is whole");
        }
        stream->close();
    }
    fuzzing::require(tested.events.streams().empty(), "no stream is left");
    return 0;
}
