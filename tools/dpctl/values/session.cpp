#include "tools/dpctl/values/session.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "common/file_utilities.hpp"
#include "common/fixed_paths.hpp"
#include "service_api/stored_values.hpp"
#include "service_api/template_cache.hpp"
#include "service_api/values_seal.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/system/lock_watch.hpp"
#include "tools/dpctl/system/readable_file.hpp"
#include "transactions/command_status.hpp"
#include "transactions/operations.hpp"

namespace dpctl {
namespace {

// Queries return 1 when memory ran out or a file could not be read to its end. An unknown
// collection is not an error.
void require(int result) {
    if (result == 1) {
        throw std::runtime_error("the BIOS attributes could not be read");
    }
}

std::string or_default(std::string name, const dp::fixed_path& default_name) {
    return name.empty() ? default_name.str() : std::move(name);
}

void require_readable(const std::string& path) {
    if (const std::string reason = why_unreadable(path); !reason.empty()) {
        throw std::runtime_error(reason);
    }
}

bool exists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 || errno != ENOENT;
}

// Differs after each time that the file was written; all zeros without a file.
auto version_of(const std::string& path) {
    struct stat status {};
    static_cast<void>(stat(path.c_str(), &status));
    return std::tuple(status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
                      status.st_mtim.tv_nsec, status.st_ctim.tv_sec, status.st_ctim.tv_nsec);
}

// Whether the template exists and is not the server's own.
bool is_foreign_template(const std::string& template_file) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    return fs::exists(template_file, ignored) &&
           !fs::equivalent(template_file, dp::fixed_paths::uefi_template.str(), ignored);
}

// The file of an expansion that the library will not renew because it is newer than the template;
// empty when the library will expand the template again.
std::string expansion_newer_than(const std::string& template_file) {
    for (const auto& file : dp_service::template_cache::files) {
        if (file_older_than(template_file, file.str())) {
            return file.str();
        }
    }
    return {};
}

// Replaces the values that were cut by the whole ones. A file that was replaced since they were
// read has other values, which do not go with the rest.
void complete_cut_values(std::span<const std::string> names, std::vector<reading>& readings,
                         const std::string& file) {
    if (std::none_of(readings.begin(), readings.end(), [](const reading& r) { return r.cut; })) {
        return;
    }
    const auto stored = dp_service::read_stored_values(file);
    for (std::size_t i = 0; stored && i < names.size(); ++i) {
        reading& value = readings[i];
        const auto whole = stored->find(names[i]);
        if (value.cut && whole != stored->end() && whole->second.size() >= DP_VALUE_SIZE &&
            whole->second.starts_with(value.text)) {
            value = {true, false, whole->second};
        }
    }
}

}  // namespace

session::session(file_names files, report& rep) : rep_(rep), files_(std::move(files)) {
    // The library opens its files without a check and reads to their end: it would wait for the
    // writer of a pipe, and never finish with a device such as /dev/zero.
    for (const auto* const name :
         {&files_.template_file, &files_.settings, &files_.current, &files_.registry}) {
        if (!name->empty()) {
            require_readable(*name);
        }
    }
    for (const auto* const name : {&files_.settings, &files_.current, &files_.registry}) {
        if (!name->empty() && !exists(*name)) {
            throw std::runtime_error(*name + ": does not exist");
        }
    }
    if (!files_.template_file.empty()) {
        dp_cim_change_template_fname(files_.template_file.c_str());
        is_template_foreign_ = is_foreign_template(files_.template_file);
    }
    if (is_template_foreign_) {
        dp_service::template_cache::discard();
        stale_expansion_ = expansion_newer_than(files_.template_file);
    }
    if (!files_.settings.empty()) {
        dp_cim_change_settings_fname(files_.settings.c_str());
    }
    if (!files_.current.empty()) {
        dp_cim_change_current_fname(files_.current.c_str());
    }
    files_.template_file =
        or_default(std::move(files_.template_file), dp::fixed_paths::uefi_template);
    files_.settings = or_default(std::move(files_.settings), dp::fixed_paths::uefi_settings);
    files_.current = or_default(std::move(files_.current), dp::fixed_paths::uefi_current);
    require(dp_api_initialize());
}

session::~session() {
    dp_api_uninitialize();
    if (is_template_foreign_) {
        dp_service::template_cache::discard();
    }
}

// Runs `call`, in which the library locks and reads `files`.
void session::read_files(const std::vector<std::string>& files, const std::function<void()>& call) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(files_.lock_timeout);
    std::string obstacle =
        wait_for_writers(files, end, [this](const std::string& text) { rep_.note(text); });
    if (obstacle.empty()) {
        lock_watch watch(files, end);
        call();
        obstacle = watch.finish();
    }
    if (!obstacle.empty()) {
        throw std::runtime_error(obstacle + "; waited " + std::to_string(files_.lock_timeout) +
                                 " s for it");
    }
}

// Runs `call`, in which the library expands the template to `text_file` when that is older than the
// template, and reads it.
void session::expand(const std::string& text_file, const std::function<void()>& call) {
    require_readable(files_.template_file);
    const auto before = version_of(text_file);
    const bool is_there = before != decltype(before)();
    if (!is_there) {
        require_readable(text_file);  // its folder may be closed
    }
    const bool is_old = is_there && file_newer_than(files_.template_file, text_file);
    read_files({files_.template_file, dp::fixed_paths::uefi_build_id.str()}, call);
    require_readable(text_file);
    if (is_old && version_of(text_file) == before) {
        throw std::runtime_error("the template " + files_.template_file + " is newer than " +
                                 text_file + ", but " + dp::fixed_paths::dpspy.str() +
                                 " did not expand it again");
    }
}

std::vector<std::string> session::collections() {
    const char** names = nullptr;
    unsigned count = 0;
    expand(dp::fixed_paths::uefi_configs.str(),
           [&] { require(dp_get_bios_collections(&names, &count)); });
    return {names, names + count};
}

std::span<const dp_attribute> session::attributes(const std::string& collection) {
    dp_attribute* attributes = nullptr;
    unsigned count = 0;
    const std::string text_file = dp::fixed_paths::uefi_info.str();
    expand(text_file,
           [&] { require(dp_get_bios_attributes(collection.c_str(), &attributes, &count)); });
    if (!exists(text_file)) {
        throw std::runtime_error(text_file + " does not exist: " + dp::fixed_paths::dpspy.str() +
                                 " did not expand the template " + files_.template_file + " to it");
    }
    return {attributes, count};
}

std::span<const char* const> session::setting_names(const std::string& collection) {
    const char** names = nullptr;
    unsigned count = 0;
    require_readable(files_.settings);
    read_files({files_.settings},
               [&] { require(dp_get_bios_attribute_names(collection.c_str(), &names, &count)); });
    return {names, count};
}

std::string session::pending_version() const {
    std::error_code ignored;
    return std::filesystem::equivalent(files_.settings, dp::fixed_paths::uefi_settings.str(),
                                       ignored)
               ? dp_service::values_seal::version_of(files_.settings).value_or("")
               : std::string();
}

// The library's service is not an object, but its functions only work while a session exists.
// NOLINTBEGIN(readability-convert-member-functions-to-static)

std::vector<reading> session::read(std::span<const std::string> names, values_of which) {
    std::vector<dp_transaction> requests(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        requests[i].operation = dp::op_get;
        requests[i].name = names[i].c_str();
        requests[i].new_value = "";
    }
    const std::string& file = which == values_of::pending ? files_.settings : files_.current;
    require_readable(file);
    if (which == values_of::pending && !exists(file) && !std::exchange(noted_absence_, true)) {
        rep_.note("the settings file " + file +
                  " does not exist, so no setting has a pending value");
    }
    read_files({file}, [&] {
        dp_get_bios_attribute_value(requests.data(), static_cast<unsigned>(requests.size()),
                                    static_cast<int>(which));
    });
    std::vector<reading> readings(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (requests[i].status == dp::command_status::success) {
            readings[i] = {true, false, requests[i].value};
        } else if (requests[i].status == dp::command_status::not_run) {
            throw std::runtime_error("the values could not be read");
        } else if (requests[i].status == dp::command_status::value_cut) {
            readings[i] = {true, true, std::string(without_partial_character(requests[i].value))};
        }
    }
    complete_cut_values(names, readings, file);
    return readings;
}

int session::need_reinit(const std::string& collection) {
    const std::vector<std::string> files{files_.template_file, files_.settings,
                                         dp::fixed_paths::uefi_build_id.str()};
    std::for_each(files.begin(), files.end(), require_readable);
    int result = 0;
    read_files(files, [&] { result = dp_bios_need_reinit(collection.c_str()); });
    return result;
}

void session::reinitialize() {
    dp_api_uninitialize();
    require(dp_api_initialize());
}

// NOLINTEND(readability-convert-member-functions-to-static)

}  // namespace dpctl
