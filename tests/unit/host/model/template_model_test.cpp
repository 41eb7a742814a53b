#include "host/model/template_model.hpp"

#include <gtest/gtest.h>

#include "settings/configuration.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::template_model;

std::string problem_with(const std::vector<template_info>& infos) {
    const auto model = template_model::make(infos, nullptr);
    EXPECT_FALSE(model);
    return model.reason();
}

TEST(template_model, has_a_configuration_for_every_collection_and_a_setting_for_every_attribute) {
    const auto made = template_model::make(test::sample_template(), nullptr);
    ASSERT_TRUE(made) << made.reason();
    const auto& model = *made;
    ASSERT_EQ(model->configurations().size(), 2U);
    EXPECT_EQ(model->configurations()[0]->name, "Boot");
    EXPECT_EQ(model->configurations()[0]->settings.size(), 5U);
    EXPECT_EQ(model->attributes().size(), 8U);
    dp::setting* const found = model->find("Boot", "Delay");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, model->configurations()[0]->find_setting("Delay"));
    EXPECT_EQ(model->position_of(found), 1U);
    EXPECT_EQ(model->find("Boot", "Speed"), nullptr);
    EXPECT_EQ(model->find("boot", "Delay"), nullptr);
    EXPECT_EQ(model->position_of(nullptr), template_model::npos);
}

TEST(template_model, setting_records_have_their_fields) {
    const auto made = template_model::make(test::sample_template(), nullptr);
    ASSERT_TRUE(made) << made.reason();
    const auto& model = *made;
    const auto& records = model->configurations()[1]->records;
    ASSERT_EQ(records.count("users"), 1U);
    EXPECT_EQ(records.at("users").settings.size(), 2U);
    EXPECT_TRUE(model->find("Ports", "User")->is_record_key());
}

TEST(template_model, equal_names_in_different_collections_are_different_settings) {
    const auto made = template_model::make(
        {test::choice("A", "X", "1", "1"), test::choice("B", "X", "1", "1")}, nullptr);
    ASSERT_TRUE(made) << made.reason();
    const auto& model = *made;
    EXPECT_NE(model->find("A", "X"), model->find("B", "X"));
}

TEST(template_model, refuses_names_that_batch_lines_cannot_contain) {
    EXPECT_EQ(problem_with({test::choice("A", "X", "", ""), test::choice("", "Y", "", "")}),
              "attribute 2 (.Y): its collection is not a word without dots");
    EXPECT_NE(problem_with({test::choice("A.B", "X", "", "")}), "");
    EXPECT_NE(problem_with({test::choice("A B", "X", "", "")}), "");
    EXPECT_EQ(problem_with({test::choice("A", "", "", "")}),
              "attribute 1 (A.): its name is not a word");
    EXPECT_NE(problem_with({test::choice("A", "X\tY", "", "")}), "");
    EXPECT_EQ(problem_with({test::choice("A", "X.Y", "", "")}),
              "attribute 1 (A.X.Y): its name has a dot");
}

TEST(template_model, accepts_dots_in_names_of_attributes_with_instances) {
    const auto made = template_model::make(
        {test::with_instances(test::choice("A", "X.Y", "1", "1"), 1, 2)}, nullptr);
    ASSERT_TRUE(made) << made.reason();
    const auto& model = *made;
    EXPECT_NE(model->find("A", "X.Y"), nullptr);
}

TEST(template_model, refuses_values_with_newlines_and_bad_instance_ranges) {
    EXPECT_NE(problem_with({test::choice("A", "X", "a\nb", "")}), "");
    EXPECT_NE(problem_with({test::choice("A", "X", "", "a\nb")}), "");
    EXPECT_NE(problem_with({test::with_instances(test::choice("A", "X", "", ""), 3, 2)}), "");
    EXPECT_NE(problem_with({test::with_instances(test::choice("A", "X", "", ""), 0, 0xFFFFFFFE)}),
              "");
}

TEST(template_model, refuses_two_attributes_with_the_same_name) {
    EXPECT_EQ(problem_with({test::choice("A", "X", "", ""), test::choice("A", "X", "", "")}),
              "attribute 2 (A.X): another attribute has its name");
}

}  // namespace
