#include "host/model/attribute_mapping.hpp"

#include <gtest/gtest.h>

#include "settings/configuration.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::template_model;

std::unique_ptr<template_model> model_of(const std::vector<const char*>& collections) {
    std::vector<template_info> infos;
    for (const char* const collection : collections) {
        infos.push_back(test::text(collection, "X", "", 0, 0, ""));
    }
    return *template_model::make(infos, nullptr);
}

// The collection of the attribute that A.X becomes; "none" without one.
std::string after(const template_model& before, const template_model& now) {
    const dp_host::attribute_mapping mapping(before, now);
    const dp::setting* const found = mapping.after(*before.find("A", "X"));
    return found == nullptr ? "none" : found->configuration->name;
}

TEST(attribute_mapping_test, prefers_the_same_collection) {
    EXPECT_EQ(after(*model_of({"A", "B"}), *model_of({"B", "A"})), "A");
    EXPECT_EQ(after(*model_of({"A"}), *model_of({"A", "B"})), "A");
}

TEST(attribute_mapping_test, follows_an_attribute_to_another_collection_when_its_name_is_unique) {
    EXPECT_EQ(after(*model_of({"A"}), *model_of({"B"})), "B");
    EXPECT_EQ(after(*model_of({"A", "B"}), *model_of({"B"})), "none");
    EXPECT_EQ(after(*model_of({"A"}), *model_of({"B", "C"})), "none");
}

TEST(attribute_mapping_test, is_the_same_in_both_directions) {
    const auto before = model_of({"A"});
    const auto now = model_of({"B"});
    const dp_host::attribute_mapping mapping(*before, *now);
    EXPECT_EQ(mapping.before(*now->find("B", "X")), before->find("A", "X"));
    const auto two = model_of({"A", "B"});
    const dp_host::attribute_mapping other(*before, *two);
    EXPECT_EQ(other.before(*two->find("A", "X")), before->find("A", "X"));
    EXPECT_EQ(other.before(*two->find("B", "X")), nullptr);
}

}  // namespace
