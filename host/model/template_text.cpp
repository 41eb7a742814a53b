#include "host/model/template_text.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "common/file_locks.hpp"
#include "common/file_utilities.hpp"
#include "common/fixed_paths.hpp"
#include "host/exchange/own_file.hpp"
#include "host/process/run_program.hpp"
#include "host/process/service_log.hpp"

namespace dp_host {
namespace {

// Reading ends, without a sign, at a record that is too long; so such a one is looked for apart.
bool has_overlong_record(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string record;
    for (bool is_first = true; std::getline(in, record, template_info::record_end);
         is_first = false) {
        const std::size_t line_end = !is_first && record.starts_with('\n') ? 1 : 0;
        if (record.size() - line_end > template_info::record_limit) {
            return true;
        }
    }
    return false;
}

bool is_empty_record(const template_info& info) {
    return info.cfg.empty() && info.id.empty();
}

}  // namespace

std::string read_template_text(const std::string& template_path, const std::string& text_path,
                               std::vector<template_info>& infos) {
    if (const own_file file = open_own_file(template_path); !file.problem.empty()) {
        return file.problem;
    }
    if (std::string problem = problem_with_file(text_path); !problem.empty()) {
        return problem;
    }
    const readlock lock(template_path);
    if (file_newer_than(template_path, text_path)) {
        std::string problem = run_program(dp::fixed_paths::dpspy.str(),
                                          {"-sf", "-i", template_path, "-o", text_path});
        if (problem.empty()) {
            problem = problem_with_file(text_path);
        }
        if (!problem.empty()) {
            return problem;
        }
    }
    std::ifstream in(text_path, std::ios::binary);
    if (!in) {
        return text_of("cannot open ", text_path, ": ", std::strerror(errno));
    }
    std::vector<template_info> found;
    template_info::read_settings(in, found, "");
    if (has_overlong_record(text_path)) {
        return text_of(text_path, ": the record behind attribute ", found.size(), " is too long");
    }
    std::erase_if(found, is_empty_record);
    if (found.empty()) {
        return text_path + " holds no attributes";
    }
    infos.insert(infos.end(), std::make_move_iterator(found.begin()),
                 std::make_move_iterator(found.end()));
    return {};
}

}  // namespace dp_host
