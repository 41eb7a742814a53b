#include "tools/dpctl/changes/plan_report.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/json.hpp"
#include "tests/support/sample_attribute.hpp"
#include "tools/dpctl/output/report.hpp"

namespace dpctl {
namespace {

planned_change change_of(const std::string& name, change_outcome outcome) {
    planned_change planned;
    planned.change.name = name;
    planned.change.value = "UEFI";
    planned.change.replaced = {true, false, "Legacy"};
    planned.requested = "uefi";
    planned.pending = planned.change.replaced;
    planned.current = planned.change.replaced;
    planned.copy =
        std::make_shared<dp_service::attribute_copy>(test::sample_choices("Mode", "Legacy,UEFI"));
    planned.outcome = outcome;
    return planned;
}

std::string text_about(const planned_change& planned) {
    return describe_change(planned, "settings.txt");
}

TEST(describe_change, names_both_values_and_the_cause) {
    planned_change planned = change_of("Boot.Mode", change_outcome::planned);
    EXPECT_EQ(text_about(planned), "Legacy -> UEFI") << "another case of letters is no other value";
    planned.requested = "fast";
    EXPECT_EQ(text_about(planned), "Legacy -> UEFI (requested: \"fast\")");
    planned.requested = "UEFI";
    planned.cause = "Profile is Custom";
    EXPECT_EQ(text_about(planned), "Legacy -> UEFI because Profile is Custom");
    planned.change.operation = dp::op_delete;
    planned.cause.clear();
    EXPECT_EQ(text_about(planned), "Legacy -> -");
}

TEST(describe_change, says_when_the_value_becomes_current) {
    planned_change planned = change_of("Boot.Mode", change_outcome::changed);
    planned.change.stored = {true, false, "UEFI"};
    EXPECT_EQ(text_about(planned), "Legacy -> UEFI, pending until the server restarts");
    planned.current = planned.change.stored;
    EXPECT_EQ(text_about(planned), "Legacy -> UEFI, same as the current value");
}

TEST(describe_change, says_why_nothing_was_changed) {
    planned_change planned = change_of("Boot.Mode", change_outcome::remains);
    planned.reason = "it is read-only";
    EXPECT_EQ(text_about(planned), "remains Legacy instead of UEFI, it is read-only");
    planned.outcome = change_outcome::refused;
    EXPECT_EQ(text_about(planned), "it is read-only");
    planned.outcome = change_outcome::unconfirmed;
    EXPECT_EQ(text_about(planned),
              "the settings service made the change, but the pending value in settings.txt is "
              "still Legacy");
}

TEST(describe_counts, names_the_outcomes_that_there_are) {
    change_plan plan;
    EXPECT_EQ(describe_counts(plan), "nothing to change");
    plan.changes = {change_of("A", change_outcome::changed),
                    change_of("B", change_outcome::already),
                    change_of("C", change_outcome::changed)};
    EXPECT_EQ(describe_counts(plan), "2 changed, 1 already so");
}

TEST(report_plan, shows_effects_only_when_something_is_changed) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    change_plan plan;
    plan.changes = {change_of("A", change_outcome::not_requested)};
    plan.effects = {{"B", "1", "2", "A is UEFI"}};
    report_plan(plan, "settings.txt", shown_changes::all, rep);
    EXPECT_EQ(out.str(), "");
    plan.changes[0].outcome = change_outcome::planned;
    report_plan(plan, "settings.txt", shown_changes::all, rep);
    EXPECT_EQ(out.str(), "A: Legacy -> UEFI\nB: 1 -> 2 because A is UEFI\n");
    EXPECT_EQ(err.str(), "");
}

TEST(fill_document, has_each_change_and_the_counts) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    change_plan plan;
    plan.changes = {change_of("A", change_outcome::planned)};
    fill_document(plan, "settings.txt", rep);
    const dp_support::json_value& change = rep.document().find("settings")->items.at(0);
    EXPECT_EQ(change.find("outcome")->text, "planned");
    EXPECT_EQ(change.find("requested")->text, "uefi");
    EXPECT_EQ(change.find("value")->text, "UEFI");
    EXPECT_EQ(rep.document().find("summary")->find("planned")->integer, 1);
}

}  // namespace
}  // namespace dpctl
