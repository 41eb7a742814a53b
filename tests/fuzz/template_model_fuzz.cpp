// Arbitrary bytes as a template's text: a model that can be made from it finds its attributes, has
// defaults that its own elements accept, and checks any value.

#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "batch/qualified_setting_name.hpp"
#include "bios/template_info.hpp"
#include "host/model/template_model.hpp"
#include "host/model/value_store.hpp"
#include "settings/configuration.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/input.hpp"
#include "tests/support/memory_file.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::memory_file file;
    fuzzing::input in(data, size);
    const std::string value = in.until('\n');
    std::ifstream text = file.open_with(in.rest());
    std::vector<template_info> infos;
    template_info::read_settings(text, infos, "");
    const auto model = dp_host::template_model::make(infos, nullptr);
    if (!model) {
        fuzzing::require(!model.reason().empty(), "a refusal has a reason");
        return 0;
    }
    const auto& attributes = (*model)->attributes();
    fuzzing::require(attributes.size() == infos.size(), "each record is an attribute");
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        auto& element = *attributes[i].element;
        fuzzing::require((*model)->find(infos[i].cfg, infos[i].id) == attributes[i].setting &&
                             (*model)->position_of(attributes[i].setting) == i,
                         "an attribute is found by its name");
        fuzzing::require(element.validate(element.default_value()) == 0, "a default is accepted");
        const bool is_valid = element.is_valid(value);
        fuzzing::require(!is_valid || element.is_read_only() || element.validate(value) == 0,
                         "a valid value is accepted");
        std::uint32_t instance = 0;
        if (element.parse_instance(value, instance)) {
            dp_host::value_store::key at{attributes[i].setting, instance};
            fuzzing::require(value.empty() || at.name().instance == value,
                             "an instance has one name");
        }
    }
    return 0;
}
