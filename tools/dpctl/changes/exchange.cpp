#include "tools/dpctl/changes/exchange.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>

#include "common/fixed_paths.hpp"
#include "service_api/server_paths.hpp"
#include "tools/dpctl/output/report.hpp"

namespace dpctl {
namespace {

bool is_writable(const std::string& path) {
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

}  // namespace

bool can_exchange(report& rep) {
    const std::string folder = dp_service::server_paths::exchange_folder.str();
    const std::string batch = dp::fixed_paths::batch.str();
    std::string obstacle = folder;
    if (is_writable(folder)) {
        if (is_writable(batch) || errno == ENOENT) {
            return true;
        }
        obstacle = batch;
    }
    const int reason = errno;
    rep.problem("the settings service can't be asked: " + obstacle +
                    " can't be written: " + std::strerror(reason),
                {reason == ENOENT ? "dp_settingsd makes this folder; it may not be running."
                                  : "It belongs to the user as whom dp_settingsd runs."});
    return false;
}

bool answer_is_there() {
    std::error_code ignored;
    return std::filesystem::exists(dp::fixed_paths::batch_result.str(), ignored);
}

void report_no_answer(report& rep, double seconds) {
    rep.problem("no answer came from the settings service within " +
                    std::to_string(std::lround(seconds)) + " s; dp_settingsd may not be running",
                {"The request was written to " + dp::fixed_paths::batch.str() +
                     ", the answer was awaited in " + dp::fixed_paths::batch_result.str() + ".",
                 "A service that is started later may still carry the request out."});
}

void acquire(dp_service::exchange_lock& lock, report& rep) {
    if (!lock.try_acquire()) {
        rep.note("another dpctl waits for the settings service; this one waits for its turn");
        lock.acquire();
    }
}

}  // namespace dpctl
