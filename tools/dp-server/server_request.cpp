#include "tools/dp-server/server_request.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <thread>

#include "service_api/server_answer.hpp"
#include "service_api/server_paths.hpp"
#include "support/file_descriptor.hpp"
#include "support/output_files.hpp"
#include "support/read_file.hpp"
#include "tools/dp-server/server_files.hpp"

namespace dp_tools {
namespace {

using clock = std::chrono::steady_clock;
using dp_support::failure;
using dp_support::result;
using dp_support::system_failure;

constexpr std::chrono::milliseconds pause{20};
constexpr std::size_t answer_limit = 65536;

/// Calls `attempt` repeatedly until it returns true or the time is up.
template <class Attempt>
bool wait_until(clock::time_point deadline, Attempt attempt) {
    while (!attempt()) {
        const auto left = deadline - clock::now();
        if (left <= clock::duration::zero()) {
            return false;
        }
        std::this_thread::sleep_for(std::min<clock::duration>(left, pause));
    }
    return true;
}

/// The service's answer; nothing until the file has a complete line.
std::optional<std::string> read_answer(const std::string& path) {
    const auto content = dp_support::read_file(path, answer_limit);
    if (!content) {
        return std::nullopt;
    }
    const auto end = content->find('\n');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    return content->substr(0, end);
}

/// Whether the answer says that the request was carried out.
result<> outcome_of(const std::string& answer) {
    const auto parsed = dp_service::server_answer::parse(answer);
    if (parsed && parsed->status == 0) {
        return {};
    }
    const std::string status = answer.substr(0, answer.find(' '));
    const bool has_reason = parsed && !parsed->reason.empty();
    return failure{(has_reason ? parsed->reason : "the service refused") + " (status " + status +
                   ")"};
}

}  // namespace

result<> run_request(const std::string& request, std::chrono::milliseconds timeout,
                     const std::function<result<>()>& prepare) {
    const auto deadline = clock::now() + timeout;
    if (const auto checked = check_folder(dp_service::server_paths::exchange_folder.str());
        !checked) {
        return failure{checked.reason() + "; is dp_settingsd running?"};
    }
    const std::string lock_name = dp_service::server_paths::request_lock.str();
    const dp_support::file_descriptor lock(
        open(lock_name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!lock.is_open()) {
        return system_failure("open", lock_name, errno);
    }
    if (!wait_until(deadline, [&] { return flock(lock.get(), LOCK_EX | LOCK_NB) == 0; })) {
        return failure{"another request is still running"};
    }
    if (auto prepared = prepare(); !prepared) {
        return prepared;
    }
    const std::string answer_name = dp_service::server_paths::server_answer.str();
    if (unlink(answer_name.c_str()) != 0 && errno != ENOENT) {
        return system_failure("remove", answer_name, errno);
    }
    const std::string request_name = dp_service::server_paths::server_request.str();
    if (auto sent = dp_support::replace_file(request_name, request + "\n"); !sent) {
        return sent;
    }
    std::optional<std::string> answer;
    if (wait_until(deadline, [&] { return (answer = read_answer(answer_name)).has_value(); })) {
        return outcome_of(*answer);
    }
    const bool was_waiting = unlink(request_name.c_str()) == 0;
    return failure{was_waiting ? "the request was not accepted in time; is dp_settingsd running?"
                               : "dp_settingsd accepted the request but did not answer in time"};
}

}  // namespace dp_tools
