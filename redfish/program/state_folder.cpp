#include "redfish/program/state_folder.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <system_error>

#include "redfish/access/access_environment.hpp"
#include "support/file_descriptor.hpp"
#include "support/read_file.hpp"
#include "support/staged_file.hpp"

namespace dp_redfish {

using dp_support::failure;
using dp_support::result;

result<> prepare_state_folder(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (mkdir(path.c_str(), S_IRWXU) == 0) {
        return {};
    }
    const int why = errno;
    struct stat found {};
    if (why != EEXIST || stat(path.c_str(), &found) != 0) {
        return dp_support::system_failure("create", path, why);
    }
    if (!S_ISDIR(found.st_mode) || found.st_uid != geteuid() ||
        (found.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return failure{path + " is not a folder which only this user can change"};
    }
    return {};
}

void remove_left_files(const std::string& folder) {
    const dp_support::file_descriptor handle(
        open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Who changes the accounts holds this lock.
    if (handle.is_open() && flock(handle.get(), LOCK_EX | LOCK_NB) == 0) {
        dp_support::remove_staged_files(folder);
    }
}

result<std::string> service_uuid(const std::string& state_folder) {
    constexpr std::size_t size = 36;
    const std::string path = state_folder + "/uuid";
    const auto kept = dp_support::read_file(path, size + 1);
    if (kept && kept->size() == size + 1) {
        return kept->substr(0, size);
    }
    if (!kept && kept.code() != ENOENT) {
        return kept.error();
    }
    auto digits = random_digits(access_environment::of_system(), size / 2 - 2);
    if (!digits) {
        return digits;
    }
    // A random one, of version 4 and variant 1.
    (*digits)[12] = '4';
    (*digits)[16] = 'a';
    for (const std::size_t place : {8U, 13U, 18U, 23U}) {
        digits->insert(place, "-");
    }
    const auto written = dp_support::write_private_file(path, *digits + '\n');
    return written ? digits : result<std::string>(written.error());
}

}  // namespace dp_redfish
