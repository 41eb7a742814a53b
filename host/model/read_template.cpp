#include "host/model/read_template.hpp"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <fstream>

#include "common/file_utilities.hpp"
#include "common/fixed_paths.hpp"
#include "host/process/bounded_lock.hpp"
#include "host/process/run_program.hpp"
#include "host/process/text_of.hpp"
#include "host/process/trusted_file.hpp"
#include "service_api/plain_size.hpp"

namespace dp_host {
namespace {

// The library's reader silently ends at an overlong template record.
bool has_overlong_record(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string record;
    for (bool is_first = true; std::getline(in, record, template_info::record_end);
         is_first = false) {
        const std::size_t newline = !is_first && record.starts_with('\n') ? 1 : 0;
        if (record.size() - newline > template_info::record_limit) {
            return true;
        }
    }
    return false;
}

// A template that would cost a lot of memory is refused before anything is expanded.
dp_support::result<> check_size(const std::string& path) {
    const auto size = dp_service::plain_size(path);
    if (size && *size > largest_template) {
        return dp_support::failure{text_of(path, " has more than ", largest_template, " bytes"),
                                   EFBIG};
    }
    return {};
}

bool is_empty_record(const template_info& info) {
    return info.cfg.empty() && info.id.empty();
}

dp_support::result<> expand(const std::string& template_path, const std::string& text_path,
                            const char* what = "-sf") {
    return run_program(dp::fixed_paths::dpspy.str(), {what, "-i", template_path, "-o", text_path})
        .and_then([&] { return check_trusted(text_path); });
}

// The same, unless the text is newer than the template.
dp_support::result<> expand_if_older(const std::string& template_path, const std::string& text_path,
                                     const char* what = "-sf") {
    return file_newer_than(template_path, text_path) ? expand(template_path, text_path, what)
                                                     : dp_support::result<>();
}

// Makes the file `path` at least one second newer than `template_path`.
dp_support::result<> make_newer(const std::string& path, const std::string& template_path) {
    const auto file = open_trusted_file(path);
    if (!file) {
        return file.error();
    }
    const auto source = open_trusted_file(template_path);
    if (!source) {
        return source.error();
    }
    if (file->modified.tv_sec > source->modified.tv_sec) {
        return {};
    }
    const timespec later{source->modified.tv_sec + 1, 0};
    const std::array<timespec, 2> times{later, later};
    if (futimens(file->descriptor.get(), times.data()) != 0) {
        return dp_support::system_failure("set the time of", path, errno);
    }
    return {};
}

}  // namespace

dp_support::result<> write_expansion(const std::string& template_path) {
    const std::string info = dp::fixed_paths::uefi_info.str();
    const std::string list = dp::fixed_paths::uefi_configs.str();
    const auto lock = bounded_lock::acquire(template_path, bounded_lock::kind::shared);
    if (!lock) {
        return lock.error();
    }
    return expand_if_older(template_path, info)
        .and_then([&] { return expand_if_older(template_path, list, "-sc"); })
        .and_then([&] { return make_newer(info, template_path); })
        .and_then([&] { return make_newer(list, template_path); });
}

dp_support::result<std::vector<template_info>> read_template(const std::string& template_path,
                                                             const std::string& text_path) {
    if (const auto file = open_trusted_file(template_path); !file) {
        return file.error();
    }
    if (const auto checked = check_size(template_path); !checked) {
        return checked.error();
    }
    if (const auto checked = check_trusted(text_path); !checked) {
        return checked.error();
    }
    const auto lock = bounded_lock::acquire(template_path, bounded_lock::kind::shared);
    if (!lock) {
        return lock.error();
    }
    if (const auto expanded = expand_if_older(template_path, text_path); !expanded) {
        return expanded.error();
    }
    if (const auto checked = check_size(text_path); !checked) {
        return checked.error();
    }
    std::ifstream in(text_path, std::ios::binary);
    if (!in) {
        return dp_support::system_failure("open", text_path, errno);
    }
    std::vector<template_info> infos;
    template_info::read_settings(in, infos, "");
    if (has_overlong_record(text_path)) {
        return dp_support::failure{
            text_of(text_path, ": the record after attribute ", infos.size(), " is too long")};
    }
    std::erase_if(infos, is_empty_record);
    if (infos.empty()) {
        return dp_support::failure{text_path + " contains no attributes"};
    }
    return infos;
}

}  // namespace dp_host
