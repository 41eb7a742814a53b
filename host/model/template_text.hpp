#ifndef DP_HOST_MODEL_TEMPLATE_TEXT_HPP
#define DP_HOST_MODEL_TEMPLATE_TEXT_HPP

#include <string>
#include <vector>

#include "bios/template_info.hpp"

namespace dp_host {

/// Reads the template `template_path` through its text `text_path`, which clients use too: the
/// outside tool makes the text anew when the template is newer. Appends the attributes to `infos`
/// in the template's order. Returns why the template can't be used; empty when it can.
std::string read_template_text(const std::string& template_path, const std::string& text_path,
                               std::vector<template_info>& infos);

}  // namespace dp_host

#endif
