#include "bios/attribute_files.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string_view>

#include "batch/batch_file_settings_rdr.hpp"
#include "bios/template_info.hpp"
#include "common/file_locks.hpp"
#include "common/file_utilities.hpp"
#include "common/fixed_paths.hpp"
#include "common/log.hpp"

namespace dp {
namespace {

enum class extent { whole_file, first_line };

// The bytes of a file, or those of its first line and perhaps more, as far as they can be read.
// Reads blocks and not lines: std::getline hides that memory ran out.
std::string file_text(const std::string& file, extent wanted) {
    std::ifstream in(file, std::ios::binary);
    std::array<char, 4096> block{};
    std::string text;
    bool enough = false;
    do {
        in.read(block.data(), block.size());
        const std::string_view bytes(block.data(), static_cast<std::size_t>(in.gcount()));
        text.append(bytes);
        enough = wanted == extent::first_line && bytes.find('\n') != std::string_view::npos;
    } while (in && !enough);
    return text;
}

// Lets the outside tool write `text_file` again if the template is newer. Whether that worked shows
// only in the file.
void expand_template(const std::string& template_file, const char* options,
                     const std::string& text_file) {
    if (!file_newer_than(template_file, text_file)) {
        return;
    }
    const std::string command =
        fixed_paths::dpspy.str() + options + template_file + " -o " + text_file;
    log_line(log_level::trace_4, "LOG", command);
    [[maybe_unused]] const int result = std::system(command.c_str());
}

}  // namespace

void read_template_file(const std::string& template_file, const std::string& cfg,
                        std::vector<template_info>& out) {
    const readlock lock(template_file);
    const std::string text_file = fixed_paths::uefi_info.str();
    expand_template(template_file, " -sf  -i ", text_file);
    std::ifstream in(text_file, std::ios::binary);
    template_info::read_settings(in, out, cfg);
}

void read_collection_list(const std::string& template_file, std::vector<std::string>& names) {
    const readlock lock(template_file);
    const std::string list_file = fixed_paths::uefi_configs.str();
    expand_template(template_file, " -sc -i ", list_file);
    const std::string list = file_text(list_file, extent::whole_file);
    for (std::size_t begin = 0; begin < list.size();) {
        const std::size_t end = std::min(list.find('\n', begin), list.size());
        if (end != begin) {
            names.emplace_back(list, begin, end - begin);
        }
        begin = end + 1;
    }
}

void read_settings_file(const std::string& file, std::vector<std::string>& names,
                        std::vector<std::string>& values) {
    const readlock lock(file);
    std::stringstream text;
    batch_file_settings_rdr reader(&names, &values);
    // A stream hides an exception that is thrown inside, unless it is asked to throw.
    text.exceptions(std::ios::badbit | std::ios::failbit);
    reader.decompress(file, text);
    text.exceptions(std::ios::badbit);
    reader.read_file(text, nullptr);
}

std::string read_build_id(const std::string& file) {
    const readlock lock(file);
    const std::string text = file_text(file, extent::first_line);
    return text.substr(0, text.find('\n'));
}

void remove_file(const std::string& file) {
    if (std::remove(file.c_str()) != 0 && errno != ENOENT) {
        const int error = errno;
        log_line(log_level::trace_4, "LOG", "remove ", file, " failed, errno= ", error);
    }
}

}  // namespace dp
