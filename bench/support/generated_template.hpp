#ifndef DP_BENCH_SUPPORT_GENERATED_TEMPLATE_HPP
#define DP_BENCH_SUPPORT_GENERATED_TEMPLATE_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "bios/template_info.hpp"

namespace bench {

/// Attributes as a server's template has them: choices, numbers and texts in a few collections,
/// about 400 bytes each in the template's text. The same for the same `count`.
std::vector<template_info> generated_template(std::size_t count);

/// The text of a template.
std::string template_text(const std::vector<template_info>& infos);

/// The collections' names of `sample_template`.
const std::vector<std::string>& generated_collections();

/// Lines that set each attribute to its default.
std::string settings_text(const std::vector<template_info>& infos);

}  // namespace bench

#endif
