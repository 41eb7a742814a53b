#include "tools/dpctl/changes/service_exchange.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>

#include "common/fixed_paths.hpp"
#include "tools/dpctl/output/report.hpp"

namespace dpctl {
namespace {

bool is_writable(const std::string& path) {
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

}  // namespace

bool can_send_requests(report& rep) {
    const std::string batch = dp::fixed_paths::batch.str();
    const std::string folder = std::filesystem::path(batch).parent_path();
    std::string obstacle = folder;
    if (is_writable(folder)) {
        if (is_writable(batch) || errno == ENOENT) {
            return true;
        }
        obstacle = batch;
    }
    const int reason = errno;
    rep.problem("cannot send a request to the settings service: cannot write to " + obstacle +
                    ": " + std::strerror(reason),
                {reason == ENOENT ? "dp_settingsd creates this folder; it may not be running."
                                  : "It belongs to the user that runs dp_settingsd."});
    return false;
}

void acquire(dp_service::exchange_lock& lock, report& rep) {
    if (!lock.try_acquire()) {
        rep.note("another client is using the settings service; waiting until it has finished");
        lock.acquire();
    }
}

bool has_answer() {
    std::error_code ignored;
    return std::filesystem::exists(dp::fixed_paths::batch_result.str(), ignored);
}

void report_no_answer(report& rep, double seconds) {
    rep.problem("no answer from the settings service within " +
                    std::to_string(std::lround(seconds)) + " s; dp_settingsd may not be running",
                {"The request was written to " + dp::fixed_paths::batch.str() +
                     ", the answer was expected in " + dp::fixed_paths::batch_result.str() + ".",
                 "If the service is started later, it may still carry out the request."});
}

}  // namespace dpctl
