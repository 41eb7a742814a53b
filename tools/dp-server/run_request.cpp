#include "tools/dp-server/run_request.hpp"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cerrno>
#include <thread>

#include "service_api/server_paths.hpp"
#include "support/file_descriptor.hpp"

namespace dp_tools {
namespace {

using clock = std::chrono::steady_clock;
using dp_service::settings_client;
using dp_support::failure;

constexpr std::chrono::milliseconds pause{20};

std::chrono::milliseconds time_until(clock::time_point deadline) {
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(deadline - clock::now()),
                    std::chrono::milliseconds(0));
}

}  // namespace

dp_support::result<std::string> run_request(settings_client::result (settings_client::*request)(),
                                            std::chrono::milliseconds timeout,
                                            const std::function<dp_support::result<>()>& prepare) {
    const auto deadline = clock::now() + timeout;
    const std::string folder = dp_service::server_paths::data_folder.str();
    // Keeps another operator from replacing the files of an update before the service read them.
    const dp_support::file_descriptor lock(
        open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!lock.is_open()) {
        return dp_support::system_failure("use the folder", folder, errno);
    }
    while (flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        const auto left = time_until(deadline);
        if (left.count() == 0) {
            return failure{"another request is still running"};
        }
        std::this_thread::sleep_for(std::min(left, pause));
    }
    if (auto prepared = prepare(); !prepared) {
        return prepared.error();
    }
    settings_client client;
    client.start_timeout = time_until(deadline);
    client.answer_timeout = client.start_timeout;
    auto answer = (client.*request)();
    if (answer.state == settings_client::states::answered && answer.status == 0) {
        return std::move(answer.text);
    }
    const bool has_status = answer.state == settings_client::states::answered ||
                            answer.state == settings_client::states::refused;
    return failure{answer.reason +
                   (has_status ? " (status " + std::to_string(answer.status) + ")" : "")};
}

}  // namespace dp_tools
