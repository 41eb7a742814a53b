#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "host/model/template_registry.hpp"
#include "service_api/service_status.hpp"
#include "tests/unit/host/sample_service.hpp"

namespace {

using dp_service::service_status::forbidden_by_dependency;
using dp_service::service_status::not_a_choice;
using dp_service::service_status::not_persisted;
using dp_service::service_status::read_only;
using testing::ElementsAre;

/// The registry of the sample template, with these dependencies, each the text of its "Dependency".
std::string sample_registry(const std::vector<std::string>& dependencies) {
    std::string text = R"({"RegistryEntries": {"Attributes": [
{"AttributeName": "Mode", "Type": "Enumeration", "Value": ["UEFI", "Legacy"]},
{"AttributeName": "Delay", "Type": "Integer"}, {"AttributeName": "Label", "Type": "String"},
{"AttributeName": "Vendor", "Type": "Enumeration", "Value": ["acme", "other"], "ReadOnly": true},
{"AttributeName": "Order", "Type": "String"}, {"AttributeName": "Speed", "Type": "Integer"},
{"AttributeName": "User", "Type": "String"}, {"AttributeName": "Role", "Type": "String"}],
"Dependencies": [)";
    for (const std::string& dependency : dependencies) {
        text += (text.ends_with('[') ? "" : ",") +
                (R"({"DependencyFor": "Mode", "Dependency": )" + dependency + "}");
    }
    return text + "]}}";
}

/// While Mode is `mode`, PROPERTY of ATTRIBUTE is VALUE (as JSON).
std::string while_mode_is(const std::string& mode, const std::string& attribute,
                          const std::string& property, const std::string& value) {
    return R"({"MapFrom": [{"MapFromAttribute": "Mode", "MapFromProperty": "CurrentValue", )"
           R"("MapFromCondition": "EQU", "MapFromValue": ")" +
           mode + R"("}], "MapToAttribute": ")" + attribute + R"(", "MapToProperty": ")" +
           property + R"(", "MapToValue": )" + value + "}";
}

const std::string legacy_fixes_delay = while_mode_is("Legacy", "Delay", "ReadOnly", "true");
const std::string legacy_sets_delay = while_mode_is("Legacy", "Delay", "CurrentValue", "20");

class store_plugin_dependencies : public test::sample_service {
  protected:
    void serve(const std::vector<std::string>& dependencies) {
        auto made = dp_host::template_registry::make(sample_registry(dependencies), *model);
        ASSERT_TRUE(made) << made.reason();
        registry = *std::move(made);
        registry->load(*store);
        plugin.serve(*model, *store, registry.get());
    }

    std::vector<std::int32_t> statuses_of(std::vector<dp::transaction_command> commands) {
        run(commands);
        std::vector<std::int32_t> statuses;
        for (const auto& command : commands) {
            statuses.push_back(command.status);
        }
        return statuses;
    }

    std::unique_ptr<dp_host::template_registry> registry;
};

TEST_F(store_plugin_dependencies, refuse_a_change_with_a_status_and_the_reason) {
    serve({legacy_fixes_delay});
    EXPECT_EQ(run_one("set", "Boot.Delay", "10").status, 0);
    EXPECT_EQ(run_one("set", "Boot.Mode", "Legacy").status, 0);
    const auto refused = run_one("set", "Boot.Delay", "15");
    EXPECT_EQ(refused.status, forbidden_by_dependency);
    EXPECT_EQ(refused.value_out, "read-only because Mode is Legacy");
    EXPECT_EQ(value_of("Boot.Delay"), "10");
    EXPECT_EQ(run_one("set", "Boot.Delay", "10").status, 0);  // its value already
    EXPECT_EQ(run_one("set", "Boot.Mode", "UEFI").status, 0);
    EXPECT_EQ(run_one("set", "Boot.Delay", "15").status, 0);
}

TEST_F(store_plugin_dependencies, are_decided_for_a_transaction_as_a_whole) {
    serve({legacy_fixes_delay});
    // Allowed before the transaction, then after it; in every order of the commands.
    EXPECT_THAT(
        statuses_of({command("set", "Boot.Mode", "Legacy"), command("set", "Boot.Delay", "10")}),
        ElementsAre(0, 0));
    EXPECT_THAT(
        statuses_of({command("set", "Boot.Delay", "15"), command("set", "Boot.Mode", "UEFI")}),
        ElementsAre(0, 0));
    EXPECT_EQ(value_of("Boot.Delay"), "15");
    // The specified validation comes first: the refused value of Mode changes nothing.
    run_one("set", "Boot.Mode", "Legacy");
    EXPECT_THAT(statuses_of({command("set", "Boot.Mode", "CSM"), command("set", "Boot.Delay", "20"),
                             command("set", "Boot.Label", "x")}),
                ElementsAre(not_a_choice, forbidden_by_dependency, 0));
}

TEST_F(store_plugin_dependencies, set_values_and_record_their_cause) {
    serve({legacy_sets_delay});
    EXPECT_EQ(run_one("set", "Boot.Mode", "Legacy").status, 0);
    EXPECT_EQ(value_of("Boot.Delay"), "20");
    EXPECT_NE(on_disk.find("Boot.Delay \"20\""), std::string::npos);
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0].name, "Boot.Mode");
    EXPECT_EQ(changes[0].cause, "");
    EXPECT_EQ(changes[1].name, "Boot.Delay");
    EXPECT_EQ(changes[1].before, "5");
    EXPECT_EQ(changes[1].after, "20");
    EXPECT_EQ(changes[1].cause, "Mode is Legacy");
    // It acts when Mode changes, not as long as it has the value.
    EXPECT_EQ(run_one("set", "Boot.Delay", "25").status, 0);
    EXPECT_EQ(run_one("set", "Boot.Mode", "Legacy").status, 0);
    EXPECT_EQ(value_of("Boot.Delay"), "25");
}

TEST_F(store_plugin_dependencies, refuse_a_command_whose_value_they_replace) {
    serve({legacy_sets_delay});
    std::vector<dp::transaction_command> commands{command("set", "Boot.Mode", "Legacy"),
                                                  command("set", "Boot.Delay", "10")};
    run(commands);
    EXPECT_EQ(commands[0].status, 0);
    EXPECT_EQ(commands[1].status, forbidden_by_dependency);
    EXPECT_EQ(commands[1].value_out, "set to 20 because Mode is Legacy");
    EXPECT_EQ(value_of("Boot.Delay"), "20");
}

TEST_F(store_plugin_dependencies, let_a_collection_with_read_only_attributes_be_reset) {
    serve({legacy_sets_delay, legacy_fixes_delay});
    run_one("set", "Boot.Mode", "Legacy");
    // Mode stays, so that Delay stays read-only.
    std::vector<dp::transaction_command> commands{command("set", "Boot.Delay", "5"),
                                                  command("set", "Boot.Label", "disk"),
                                                  command("set", "Boot.Mode", "Legacy")};
    run(commands);
    EXPECT_EQ(commands[0].status, 0);
    EXPECT_EQ(commands[0].value_out, "20");
    EXPECT_EQ(commands[1].status, 0);
    EXPECT_EQ(value_of("Boot.Delay"), "20");
    EXPECT_EQ(run_one("getv", "Boot.Delay").value_out, "20");
    // Another value is refused.
    EXPECT_EQ(run_one("set", "Boot.Delay", "10").status, forbidden_by_dependency);
    // The dependency gives the attribute its value and makes it read-only in the same transaction.
    EXPECT_THAT(
        statuses_of({command("set", "Boot.Mode", "UEFI"), command("set", "Boot.Delay", "5")}),
        ElementsAre(0, 0));
    EXPECT_EQ(value_of("Boot.Delay"), "5");
    EXPECT_THAT(
        statuses_of({command("set", "Boot.Mode", "Legacy"), command("set", "Boot.Delay", "5")}),
        ElementsAre(0, 0));
    EXPECT_EQ(value_of("Boot.Delay"), "20");
}

TEST_F(store_plugin_dependencies, can_make_a_read_only_attribute_writable) {
    serve({while_mode_is("Legacy", "Vendor", "ReadOnly", "false")});
    EXPECT_EQ(run_one("set", "Boot.Vendor", "other").status, forbidden_by_dependency);
    run_one("set", "Boot.Mode", "Legacy");
    EXPECT_EQ(run_one("set", "Boot.Vendor", "other").status, 0);
    EXPECT_EQ(value_of("Boot.Vendor"), "other");
}

TEST_F(store_plugin_dependencies, leave_other_read_only_attributes_as_they_are) {
    serve({legacy_fixes_delay});
    EXPECT_EQ(run_one("set", "Boot.Vendor", "other").status, read_only);
    EXPECT_EQ(run_one("set", "Boot.Vendor", "acme").status, 0);
}

TEST_F(store_plugin_dependencies, do_nothing_when_the_changes_are_not_persisted) {
    serve({legacy_sets_delay, legacy_fixes_delay});
    disk_is_full = true;
    std::vector<dp::transaction_command> commands{command("set", "Boot.Mode", "Legacy"),
                                                  command("set", "Boot.Delay", "5")};
    run(commands);
    EXPECT_EQ(commands[0].status, not_persisted);
    EXPECT_EQ(commands[1].status, not_persisted);
    disk_is_full = false;
    EXPECT_EQ(value_of("Boot.Mode"), "UEFI");
    EXPECT_EQ(value_of("Boot.Delay"), "5");
    EXPECT_EQ(run_one("set", "Boot.Delay", "10").status, 0);
    memory_is_full = true;
    EXPECT_THROW(run_one("set", "Boot.Mode", "Legacy"), std::bad_alloc);
    memory_is_full = false;
}

TEST_F(store_plugin_dependencies, after_memory_ran_out_are_those_before) {
    serve({legacy_fixes_delay});
    memory_is_full = true;
    EXPECT_THROW(run_one("set", "Boot.Mode", "Legacy"), std::bad_alloc);
    EXPECT_FALSE(
        std::get<bool>(registry->rules().property(1, dp_service::registry_property::read_only)));
}

TEST_F(store_plugin_dependencies, that_give_a_value_the_template_does_not_allow_are_ignored) {
    serve({while_mode_is("Legacy", "Delay", "CurrentValue", "7"),
           while_mode_is("Legacy", "Label", "CurrentValue", "\"a\\nb\""),
           while_mode_is("Legacy", "Speed", "CurrentValue", "9"), legacy_fixes_delay});
    EXPECT_EQ(run_one("set", "Boot.Mode", "Legacy").status, 0);
    EXPECT_EQ(value_of("Boot.Delay"), "5");
    EXPECT_EQ(value_of("Boot.Label"), "disk");
    EXPECT_EQ(value_of("Ports.Speed.1"), "10");
    EXPECT_EQ(run_one("set", "Boot.Delay", "10").status, forbidden_by_dependency);
}

TEST_F(store_plugin_dependencies, of_the_same_attribute_the_last_write_counts) {
    serve({});
    EXPECT_THAT(statuses_of({command("set", "Boot.Delay", "10"), command("set", "Boot.Delay", "15"),
                             command("set", "Boot.Delay", "15")}),
                ElementsAre(forbidden_by_dependency, 0, 0));
    EXPECT_EQ(value_of("Boot.Delay"), "15");
}

TEST_F(store_plugin_dependencies, make_a_reason_of_one_short_line) {
    std::string terms;
    for (int i = 0; i < 100; ++i) {
        terms +=
            std::string(terms.empty() ? "" : ", ") +
            R"({"MapFromAttribute": "Label", "MapFromCondition": "NEQ", "MapFromValue": "a\nb)" +
            "\xC3\xA4" + R"("})";
    }
    serve({R"({"MapFrom": [)" + terms +
           R"(], "MapToAttribute": "Delay", "MapToProperty": "ReadOnly", "MapToValue": true})"});
    const auto refused = run_one("set", "Boot.Delay", "15");
    EXPECT_EQ(refused.status, forbidden_by_dependency);
    EXPECT_TRUE(refused.value_out.starts_with("read-only because Label is not a b\xC3\xA4 and "))
        << refused.value_out;
    EXPECT_TRUE(refused.value_out.ends_with("...")) << refused.value_out;
    EXPECT_LE(refused.value_out.size(), 1003U);
}

}  // namespace
