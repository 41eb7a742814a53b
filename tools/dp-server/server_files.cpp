#include "tools/dp-server/server_files.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "batch/batch_file_checker.hpp"
#include "batch/batch_file_reader.hpp"
#include "common/fixed_paths.hpp"
#include "service_api/server_paths.hpp"
#include "service_api/service_lock.hpp"
#include "service_api/template_cache.hpp"
#include "support/output_files.hpp"
#include "support/read_file.hpp"
#include "support/template_expansion.hpp"

namespace dp_tools {
namespace {

constexpr mode_t only_owner = S_IRWXU;
constexpr mode_t parent_mode = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

/// Makes a folder for this user only, and the folders above it for everybody to read.
std::string make_folder(const std::string& path) {
    for (std::size_t end = path.find('/', 1); end != std::string::npos;
         end = path.find('/', end + 1)) {
        const std::string parent = path.substr(0, end);
        if (mkdir(parent.c_str(), parent_mode) != 0 && errno != EEXIST) {
            return parent + ": " + std::strerror(errno);
        }
    }
    if (mkdir(path.c_str(), only_owner) != 0 && errno != EEXIST) {
        return path + ": " + std::strerror(errno);
    }
    return problem_with_folder(path);
}

bool exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

/// Reads a template that can be expanded and describes at least one configuration.
std::string read_template(const std::string& path, std::string& bytes) {
    auto content = dp_support::read_file(path, dp_support::template_size_limit);
    if (!content) {
        return content.reason();
    }
    const auto expanded = dp_support::expand_template(*content);
    if (!expanded) {
        return path + ": " + expanded.reason();
    }
    if (const auto checked = dp_support::check_template_text(*expanded); !checked) {
        return path + ": is no template: its text " + checked.reason();
    }
    if (dp_support::configuration_names(*expanded).empty()) {
        return path + ": is no template: it names no configuration";
    }
    bytes = std::move(*content);
    return "";
}

/// Reads a file of values: nothing but clean set commands, possibly compressed.
std::string read_values(const std::string& path, std::string& bytes) {
    auto content = dp_support::read_file(path, dp_support::template_size_limit);
    if (!content) {
        return content.reason();
    }
    std::stringstream text;
    dp::batch_file_checker checker;
    dp::batch_file_reader reader(&checker);
    if (!reader.decompress(path, text)) {
        return path + ": can't be read";
    }
    reader.read_file(text, nullptr);
    if (checker.bad > 0) {
        return path + ": " + std::to_string(checker.bad) + " lines are no clean set commands";
    }
    if (checker.good == 0) {
        return path + ": holds no values";
    }
    bytes = std::move(*content);
    return "";
}

/// Keeps services from starting as long as `lock` is open; why that can't be, above all because one
/// runs.
std::string lock_out_services(dp_service::service_lock& lock) {
    const std::string name = dp_service::server_paths::service_lock.str();
    const int error = lock.acquire(name);
    if (error == 0) {
        return "";
    }
    return error == EAGAIN ? "dp_settingsd runs; it has to be stopped first"
                           : name + ": " + std::strerror(error);
}

}  // namespace

std::string problem_with_folder(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return path + ": " + std::strerror(errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        return path + ": is not a folder";
    }
    if (status.st_uid != geteuid()) {
        return path + ": belongs to user " + std::to_string(status.st_uid) + ", not to user " +
               std::to_string(geteuid());
    }
    return "";
}

std::string install_server(const server_parts& parts, bool replace) {
    std::string bios;
    std::string settings;
    std::string current;
    std::string problem = read_template(parts.template_file, bios);
    if (problem.empty()) {
        problem = read_values(parts.settings_file, settings);
    }
    if (problem.empty()) {
        problem = read_values(parts.current_file, current);
    }
    for (const auto& folder :
         {dp_service::server_paths::data_folder, dp_service::server_paths::exchange_folder}) {
        if (problem.empty()) {
            problem = make_folder(folder.str());
        }
    }
    if (!problem.empty()) {
        return problem;
    }
    const std::string data = dp_service::server_paths::vital_product_data.str();
    const std::string targets[] = {dp::fixed_paths::uefi_template.str(),
                                   dp::fixed_paths::uefi_settings.str(),
                                   dp::fixed_paths::uefi_current.str(), data};
    if (!replace) {
        for (const auto& target : targets) {
            if (exists(target)) {
                return target + ": a server is installed already";
            }
        }
    }
    dp_service::service_lock lock;
    if (problem = lock_out_services(lock); !problem.empty()) {
        return problem;
    }
    dp_support::output_files files;
    const auto done =
        files.stage(targets[0], bios)
            .and_then([&] { return files.stage(targets[1], settings); })
            .and_then([&] { return files.stage(targets[2], current); })
            .and_then([&] { return files.stage(data, "UEFIID=" + parts.build_id + "\n"); })
            .and_then([&] { return files.commit(); });
    dp_service::template_cache::discard();
    return done.reason();
}

std::string place_update(const std::string& template_file, const std::string& build_id) {
    const auto content = dp_support::read_file(template_file, dp_support::template_size_limit);
    if (!content) {
        return content.reason();
    }
    std::string problem = problem_with_folder(dp_service::server_paths::data_folder.str());
    if (problem.empty()) {
        problem = make_folder(dp_service::server_paths::update_folder.str());
    }
    if (!problem.empty()) {
        return problem;
    }
    dp_support::output_files files;
    return files.stage(dp_service::server_paths::update_template.str(), *content)
        .and_then([&] {
            return files.stage(dp_service::server_paths::update_build_id.str(), build_id + "\n");
        })
        .and_then([&] { return files.commit(); })
        .reason();
}

std::string build_id_problem(const std::string& build_id) {
    if (build_id.empty()) {
        return "the build id is empty";
    }
    const bool has_control = std::any_of(build_id.begin(), build_id.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == '\x7F';
    });
    return has_control ? "the build id holds a control character" : "";
}

}  // namespace dp_tools
