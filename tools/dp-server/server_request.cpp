#include "tools/dp-server/server_request.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
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

constexpr std::chrono::milliseconds pause{20};
constexpr std::size_t answer_limit = 65536;

/// Calls `attempt` again and again until it answers true or the time is over.
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

/// The service's answer; none as long as there is no whole line.
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

/// Why the answer says that the request was not carried out.
std::string reason_of(const std::string& answer) {
    const auto parsed = dp_service::server_answer::parse(answer);
    if (parsed && parsed->status == 0) {
        return "";
    }
    const std::string status = answer.substr(0, answer.find(' '));
    const bool has_reason = parsed && !parsed->reason.empty();
    return (has_reason ? parsed->reason : "the service refused") + " (status " + status + ")";
}

}  // namespace

std::string run_request(const std::string& request, std::chrono::milliseconds timeout,
                        const std::function<std::string()>& prepare) {
    const auto deadline = clock::now() + timeout;
    if (const std::string problem =
            problem_with_folder(dp_service::server_paths::exchange_folder.str());
        !problem.empty()) {
        return problem + "; is dp_settingsd running?";
    }
    const std::string lock_name = dp_service::server_paths::request_lock.str();
    const dp_support::file_descriptor lock(
        open(lock_name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!lock.is_open()) {
        return lock_name + ": " + std::strerror(errno);
    }
    if (!wait_until(deadline, [&] { return flock(lock.get(), LOCK_EX | LOCK_NB) == 0; })) {
        return "another request is still running";
    }
    if (std::string problem = prepare(); !problem.empty()) {
        return problem;
    }
    const std::string answer_name = dp_service::server_paths::server_answer.str();
    if (unlink(answer_name.c_str()) != 0 && errno != ENOENT) {
        return answer_name + ": " + std::strerror(errno);
    }
    const std::string request_name = dp_service::server_paths::server_request.str();
    if (const auto placed = dp_support::replace_file(request_name, request + "\n"); !placed) {
        return placed.reason();
    }
    std::optional<std::string> answer;
    if (wait_until(deadline, [&] { return (answer = read_answer(answer_name)).has_value(); })) {
        return reason_of(*answer);
    }
    const bool was_waiting = unlink(request_name.c_str()) == 0;
    return was_waiting ? "nobody took the request within the time; is dp_settingsd running?"
                       : "dp_settingsd took the request but did not answer within the time";
}

}  // namespace dp_tools
