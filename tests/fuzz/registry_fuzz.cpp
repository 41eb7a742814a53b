// Arbitrary bytes as an attribute registry: what is compiled from it is a template that the service
// accepts, with initial values that it loads.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_loader.hpp"
#include "bios/template_info.hpp"
#include "host/model/template_model.hpp"
#include "host/model/value_store.hpp"
#include "support/json.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/support/memory_file.hpp"
#include "tools/dp-template/registry_compiler.hpp"

namespace {

std::vector<template_info> read_template(const std::string& text) {
    static const test::memory_file file;
    std::ifstream in = file.open_with(text);
    std::vector<template_info> infos;
    template_info::read_settings(in, infos, "");
    return infos;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    const auto document = dp_support::parse_json(text);
    if (!document.error.empty()) {
        fuzzing::require(document.error_offset <= size, "the error is in the text");
        return 0;
    }
    const std::string written =
        dp_support::to_text(document.root, dp_support::json_layout::one_line);
    fuzzing::require(dp_support::parse_json(written).error.empty(),
                     "a document that is written again is one");

    const auto registry = dp_tools::compile_registry(document.root, std::nullopt);
    if (registry.attributes.empty()) {
        return 0;
    }
    const auto infos = read_template(dp_tools::template_text(registry.attributes));
    fuzzing::require(infos.size() == registry.attributes.size(),
                     "each attribute is a record of the template");
    const auto model = dp_host::template_model::make(infos, nullptr);
    fuzzing::require(model.ok(), "the service accepts the template");

    std::istringstream settings(dp_tools::settings_text(registry.attributes));
    std::vector<dp::batch_file_entry> entries;
    dp::batch_file_loader loader(&entries);
    loader.read_file(settings, nullptr);
    fuzzing::require(entries.size() <= infos.size(), "an attribute has one initial value");
    dp_host::value_store store(**model);
    for (const auto& entry : entries) {
        fuzzing::require(store.load(entry.name, entry.value_in, true) !=
                             dp_host::value_store::load_result::unknown,
                         "an initial value belongs to an attribute");
    }
    return 0;
}
