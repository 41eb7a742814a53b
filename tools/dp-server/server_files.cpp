#include "tools/dp-server/server_files.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "batch/batch_file_checker.hpp"
#include "batch/batch_file_reader.hpp"
#include "common/fixed_paths.hpp"
#include "service_api/attribute_registry.hpp"
#include "service_api/server_paths.hpp"
#include "service_api/service_lock.hpp"
#include "service_api/template_cache.hpp"
#include "service_api/values_backups.hpp"
#include "service_api/values_seal.hpp"
#include "support/checked_streams.hpp"
#include "support/folder_of.hpp"
#include "support/output_files.hpp"
#include "support/read_file.hpp"
#include "support/template_expansion.hpp"

namespace dp_tools {
namespace {

using dp_support::failure;
using dp_support::result;
using dp_support::system_failure;

constexpr mode_t only_owner = S_IRWXU;
constexpr mode_t parent_mode = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

/// Creates a folder for this user only, and its parent folders, which everybody may read.
result<> make_folder(const std::string& path) {
    for (std::size_t end = path.find('/', 1); end != std::string::npos;
         end = path.find('/', end + 1)) {
        const std::string parent = path.substr(0, end);
        if (mkdir(parent.c_str(), parent_mode) != 0 && errno != EEXIST) {
            return system_failure("create the folder", parent, errno);
        }
    }
    if (mkdir(path.c_str(), only_owner) != 0 && errno != EEXIST) {
        return system_failure("create the folder", path, errno);
    }
    return check_folder(path);
}

/// The bytes of a template that can be expanded and has at least one configuration.
result<std::string> read_template(const std::string& path) {
    auto bytes = dp_support::read_file(path, dp_support::template_size_limit);
    if (!bytes) {
        return bytes;
    }
    const auto text = dp_support::expand_template(*bytes);
    if (!text) {
        return failure{path + ": " + text.reason()};
    }
    if (const auto checked = dp_support::check_template_text(*text); !checked) {
        return failure{path + ": is not a template: its text " + checked.reason()};
    }
    if (dp_support::configuration_names(*text).empty()) {
        return failure{path + ": is not a template: it has no configuration"};
    }
    return bytes;
}

/// The bytes of a file of values, which contains only valid set commands and may be compressed.
result<std::string> read_values(const std::string& path) {
    auto bytes = dp_support::read_file(path, dp_support::template_size_limit);
    if (!bytes) {
        return bytes;
    }
    dp_support::checked_stringstream text;
    dp::batch_file_checker checker;
    dp::batch_file_reader reader(&checker);
    if (!reader.decompress(path, text)) {
        return failure{path + ": cannot be read"};
    }
    const auto examined = dp_service::values_seal::examine(text.view());
    reader.read_file(text, nullptr);
    if (checker.bad > 0) {
        return failure{path + ": " + std::to_string(checker.bad) +
                       " lines are not valid set commands"};
    }
    if (checker.good == 0) {
        return failure{path + ": contains no values"};
    }
    if (examined.found == dp_service::values_seal::completeness::damaged) {
        return failure{path + ": " + examined.problem};
    }
    return bytes;
}

// The names of the attributes of a template; none when it cannot be read.
std::vector<std::string> names_in(const std::string& template_file) {
    const auto bytes = read_template(template_file);
    const auto text = bytes ? dp_support::expand_template(*bytes) : bytes;
    return text ? dp_support::attribute_names(*text) : std::vector<std::string>();
}

result<> stage_or_remove(dp_support::output_files& files, const std::string& path,
                         const std::optional<std::string>& content) {
    return content ? files.stage(path, *content) : files.stage_removal(path);
}

}  // namespace

bool exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

result<> lock_out_services(dp_service::service_lock& lock) {
    const std::string path = dp_service::server_paths::service_lock.str();
    const int error = lock.acquire(path);
    if (error == 0) {
        return {};
    }
    return error == EAGAIN ? failure{"dp_settingsd is running; stop it first", error}
                           : system_failure("lock", path, error);
}

result<> check_folder(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return system_failure("use the folder", path, errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        return failure{path + ": is not a folder"};
    }
    if (status.st_uid != geteuid()) {
        return failure{path + ": belongs to user " + std::to_string(status.st_uid) +
                       ", not to user " + std::to_string(geteuid())};
    }
    return {};
}

result<> install_server(const server_parts& parts, bool replace) {
    const auto bios = read_template(parts.template_file);
    if (!bios) {
        return bios.error();
    }
    const auto settings = read_values(parts.settings_file);
    if (!settings) {
        return settings.error();
    }
    const auto current = read_values(parts.current_file);
    if (!current) {
        return current.error();
    }
    for (const auto& folder :
         {dp_service::server_paths::data_folder, dp_service::server_paths::exchange_folder}) {
        if (auto made = make_folder(folder.str()); !made) {
            return made;
        }
    }
    const std::string template_path = dp::fixed_paths::uefi_template.str();
    const std::string settings_path = dp::fixed_paths::uefi_settings.str();
    const std::string current_path = dp::fixed_paths::uefi_current.str();
    const std::string registry_path = dp_service::server_paths::registry.str();
    const std::string data_path = dp_service::server_paths::vital_product_data.str();
    if (!replace) {
        for (const auto& path : {template_path, settings_path, current_path, data_path}) {
            if (exists(path)) {
                return failure{path + ": a server is already installed"};
            }
        }
    }
    dp_service::service_lock lock;
    if (auto locked = lock_out_services(lock); !locked) {
        return locked;
    }
    dp_support::output_files files;
    auto installed =
        files.stage(template_path, *bios)
            .and_then([&] { return files.stage(settings_path, *settings); })
            .and_then([&] { return files.stage(current_path, *current); })
            .and_then([&] { return files.stage(data_path, "UEFIID=" + parts.build_id + "\n"); })
            .and_then([&] { return stage_or_remove(files, registry_path, parts.registry); })
            .and_then([&] { return files.commit(); });
    dp_service::template_cache::discard();
    if (installed) {
        dp_service::values_backups::discard(settings_path);
        dp_service::values_backups::discard(current_path);
    }
    return installed;
}

result<registry_file> find_registry(const std::string& template_file,
                                    const std::optional<std::string>& registry) {
    const std::string path =
        registry.value_or(dp_support::folder_of(template_file) + "/uefi_registry.json");
    if (!registry && !exists(path)) {
        return registry_file();
    }
    auto content = dp_support::read_file(path, dp_service::registry_size_limit);
    if (!content) {
        return content.error();
    }
    const auto read = dp_service::parse_attribute_registry(*content);
    if (!read) {
        return failure{path + ": " + read.reason()};
    }
    const auto names = names_in(template_file);
    if (!names.empty() && !read->belongs_to(names)) {
        const std::string problem = path + ": is the registry of another template";
        return registry ? result<registry_file>(failure{problem})
                        : registry_file{std::nullopt, problem + "; it is not used"};
    }
    return registry_file{*std::move(content), {}};
}

result<> place_update(const std::string& template_file, const std::optional<std::string>& registry,
                      const std::string& build_id) {
    const auto bytes = dp_support::read_file(template_file, dp_support::template_size_limit);
    if (!bytes) {
        return bytes.error();
    }
    dp_support::output_files files;
    return check_folder(dp_service::server_paths::data_folder.str())
        .and_then([] { return make_folder(dp_service::server_paths::update_folder.str()); })
        .and_then(
            [&] { return files.stage(dp_service::server_paths::update_template.str(), *bytes); })
        .and_then([&] {
            return files.stage(dp_service::server_paths::update_build_id.str(), build_id + "\n");
        })
        .and_then([&] {
            return stage_or_remove(files, dp_service::server_paths::update_registry.str(),
                                   registry);
        })
        .and_then([&] { return files.commit(); });
}

std::string build_id_problem(const std::string& build_id) {
    if (build_id.empty()) {
        return "the build id is empty";
    }
    const bool has_control = std::any_of(build_id.begin(), build_id.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == '\x7F';
    });
    return has_control ? "the build id contains a control character" : "";
}

}  // namespace dp_tools
