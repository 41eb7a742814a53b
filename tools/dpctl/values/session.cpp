#include "tools/dpctl/values/session.hpp"

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "common/file_utilities.hpp"
#include "common/fixed_paths.hpp"
#include "service_api/template_cache.hpp"
#include "tools/dpctl/output/printable_text.hpp"
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

// The library opens its files without a check and reads to their end: it would wait for the writer
// of a pipe, and never finish with a device such as /dev/zero.
void require_file(const std::string& name) {
    std::error_code error;
    const auto status = std::filesystem::status(name, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw std::runtime_error(name + ": is not a file");
    }
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

}  // namespace

session::session(file_names files) : files_(std::move(files)) {
    for (const auto* const name : {&files_.template_file, &files_.settings, &files_.current}) {
        require_file(*name);
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
    files_ = {or_default(std::move(files_.template_file), dp::fixed_paths::uefi_template),
              or_default(std::move(files_.settings), dp::fixed_paths::uefi_settings),
              or_default(std::move(files_.current), dp::fixed_paths::uefi_current)};
    require(dp_api_initialize());
}

session::~session() {
    dp_api_uninitialize();
    if (is_template_foreign_) {
        dp_service::template_cache::discard();
    }
}

std::vector<std::string> session::collections() {
    const char** names = nullptr;
    unsigned count = 0;
    require(dp_get_bios_collections(&names, &count));
    return {names, names + count};
}

std::span<const dp_attribute> session::attributes(const std::string& collection) {
    dp_attribute* attributes = nullptr;
    unsigned count = 0;
    require(dp_get_bios_attributes(collection.c_str(), &attributes, &count));
    return {attributes, count};
}

std::span<const char* const> session::setting_names(const std::string& collection) {
    const char** names = nullptr;
    unsigned count = 0;
    require(dp_get_bios_attribute_names(collection.c_str(), &names, &count));
    return {names, count};
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
    dp_get_bios_attribute_value(requests.data(), static_cast<unsigned>(requests.size()),
                                static_cast<int>(which));
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
    return readings;
}

int session::set(std::span<change_request> requests) {
    std::vector<dp_transaction> records(requests.size());
    for (std::size_t i = 0; i < requests.size(); ++i) {
        records[i].status = unanswered;
        records[i].operation = dp::op_set;
        records[i].name = requests[i].name.c_str();
        records[i].new_value = requests[i].value.c_str();
    }
    const int result =
        dp_set_bios_attribute_value(records.data(), static_cast<unsigned>(records.size()));
    for (std::size_t i = 0; i < requests.size(); ++i) {
        requests[i].status = records[i].status;
    }
    return result;
}

int session::reset(const std::string& collection) {
    return dp_bios_reset_to_defaults(collection.c_str());
}

int session::need_reinit(const std::string& collection) {
    return dp_bios_need_reinit(collection.c_str());
}

// NOLINTEND(readability-convert-member-functions-to-static)

}  // namespace dpctl
