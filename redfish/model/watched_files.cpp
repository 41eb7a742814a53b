#include "redfish/model/watched_files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "common/fixed_paths.hpp"
#include "service_api/server_paths.hpp"

namespace dp_redfish {
namespace {

std::int64_t nanoseconds_of(const timespec& time) {
    constexpr std::int64_t in_a_second = 1'000'000'000;
    return std::int64_t{time.tv_sec} * in_a_second + time.tv_nsec;
}

file_state state_of_file(const char* path) {
    struct stat status {};
    if (stat(path, &status) != 0) {
        return {};
    }
    return {status.st_dev, status.st_ino, status.st_size, nanoseconds_of(status.st_mtim),
            nanoseconds_of(status.st_ctim)};
}

}  // namespace

std::string path_of(watched_file file) {
    switch (file) {
        case watched_file::bios_template:
            return dp::fixed_paths::uefi_template.str();
        case watched_file::registry:
            return dp_service::server_paths::registry.str();
        case watched_file::pending_values:
            return dp::fixed_paths::uefi_settings.str();
        case watched_file::current_values:
            return dp::fixed_paths::uefi_current.str();
        case watched_file::vital_product_data:
            return dp_service::server_paths::vital_product_data.str();
        case watched_file::history:
            break;
    }
    return dp_service::server_paths::history.str();
}

file_states watched_file_states() {
    static const auto paths = [] {
        std::array<std::string, watched_file_count> all;
        for (std::size_t i = 0; i < all.size(); ++i) {
            all[i] = path_of(static_cast<watched_file>(i));
        }
        return all;
    }();
    file_states states;
    for (std::size_t i = 0; i < states.size(); ++i) {
        states[i] = state_of_file(paths[i].c_str());
    }
    return states;
}

dp_support::result<> check_rights_to_read() {
    const auto check = [](const std::string& path) -> dp_support::result<> {
        if (faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) != 0 && errno == EACCES) {
            return dp_support::system_failure("read", path, EACCES);
        }
        return {};
    };
    for (std::size_t i = 0; i < watched_file_count; ++i) {
        if (auto checked = check(path_of(static_cast<watched_file>(i))); !checked) {
            return checked;
        }
    }
    // The library reads the expanded template there.
    return check(dp::fixed_paths::uefi_info.str());
}

}  // namespace dp_redfish
