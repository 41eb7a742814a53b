#ifndef DP_BENCH_SUPPORT_GENERATED_TEMPLATE_HPP
#define DP_BENCH_SUPPORT_GENERATED_TEMPLATE_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "bios/template_info.hpp"

namespace bench {

/// Attributes like those of a server's template: choices, numbers and texts in a few collections,
/// about 400 bytes each in the template's text. The result depends only on `count`.
std::vector<template_info> generated_template(std::size_t count);

/// The text of a template.
std::string template_text(const std::vector<template_info>& infos);

/// The names of the collections in `generated_template`.
const std::vector<std::string>& generated_collections();

/// Lines that set each attribute to its default.
std::string settings_text(const std::vector<template_info>& infos);

}  // namespace bench

#endif
