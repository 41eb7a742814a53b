#ifndef DP_HOST_MODEL_READ_TEMPLATE_HPP
#define DP_HOST_MODEL_READ_TEMPLATE_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "bios/template_info.hpp"
#include "support/result.hpp"

namespace dp_host {

/// Greatest size in bytes of a template, compressed or not, and of its attribute text.
inline constexpr std::uint32_t largest_template = std::uint32_t{64} << 20U;

/// The attributes of the template `template_path`, in its order. They are read from its attribute
/// text `text_path`, which clients use too; dpspy expands the template to it first when it is
/// missing or older than the template. A template without attributes is a failure, and so is one
/// that is larger than `largest_template`, which is refused unread.
dp_support::result<std::vector<template_info>> read_template(const std::string& template_path,
                                                             const std::string& text_path);

/// Writes what the library expands the template `template_path` to (`dp_service::template_cache`)
/// unless it is newer than the template already, and gives it later times than the template has in
/// whole seconds: readers then expand nothing.
dp_support::result<> write_expansion(const std::string& template_path);

}  // namespace dp_host

#endif
