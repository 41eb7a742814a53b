#include <gmock/gmock.h>

#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/dpctl.hpp"
#include "tests/support/program.hpp"
#include "tests/support/registry_json.hpp"
#include "tests/support/rounds.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/service_process.hpp"

// Plans for generated registries, compared with what dp_settingsd does.

namespace {

using nlohmann::json;
using test::dpctl;
using test::run_program;
using test::service_process;

constexpr int attribute_count = 12;
constexpr int map_count = 16;
constexpr int value_count = 4;

// A registry and states for it, from a seed.
class generated_server {
  public:
    explicit generated_server(unsigned seed) : random_(seed) {}

    std::string registry() {
        json attributes = json::array();
        for (int i = 0; i < attribute_count; ++i) {
            json attribute{{"AttributeName", name(i)},
                           {"MenuPath", "./Setup"},
                           {"Type", is_number(i) ? "Integer" : "Enumeration"},
                           {"DefaultValue", value(i, 0)}};
            if (is_number(i)) {
                attribute["LowerBound"] = 0;
                attribute["UpperBound"] = value_count - 1;
            }
            for (int v = 0; !is_number(i) && v < value_count; ++v) {
                attribute["Value"].push_back({{"ValueName", value(i, v)}});
            }
            attributes.push_back(attribute);
        }
        json maps = json::array();
        for (int i = 0; i < map_count; ++i) {
            maps.push_back(map());
        }
        return json{{"RegistryVersion", "1"},
                    {"RegistryEntries", {{"Attributes", attributes}, {"Dependencies", maps}}}}
            .dump();
    }

    // Values for some of the attributes.
    std::string state() {
        json attributes = json::object();
        for (int i = 0; i < attribute_count; ++i) {
            if (below(3) != 0) {
                attributes[name(i)] = value(i, below(value_count));
            }
        }
        return json{{"Attributes", attributes}}.dump();
    }

  private:
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    static std::string name(int i) { return "A" + std::to_string(i); }
    static bool is_number(int i) { return i % 3 == 0; }
    static json value(int i, int v) {
        return is_number(i) ? json(v) : json("v" + std::to_string(v));
    }

    json map() {
        const int from = below(attribute_count);
        const int to = below(attribute_count);
        json map{{"MapFrom", json::array({{{"MapFromAttribute", name(from)},
                                           {"MapFromProperty", "CurrentValue"},
                                           {"MapFromCondition", below(2) == 0 ? "EQU" : "NEQ"},
                                           {"MapFromValue", value(from, below(value_count))}}})},
                 {"MapToAttribute", name(to)}};
        const int kind = below(4);
        map["MapToProperty"] = kind == 0 ? "CurrentValue" : kind == 1 ? "GrayOut" : "ReadOnly";
        map["MapToValue"] = kind == 0 ? value(to, below(value_count)) : json(true);
        return {
            {"DependencyFor", name(kind == 0 ? from : to)}, {"Type", "Map"}, {"Dependency", map}};
    }

    std::mt19937 random_;
};

std::map<std::string, std::string> pending_of(const json& settings, const char* member) {
    std::map<std::string, std::string> values;
    for (const json& setting : settings) {
        values[setting["name"].get<std::string>()] = setting[member].get<std::string>();
    }
    return values;
}

// All pending values.
std::map<std::string, std::string> pending_values() {
    std::map<std::string, std::string> values;
    const json state = json::parse(dpctl({"export", "--all"}).out);
    for (const auto& [name, value] : state["Attributes"].items()) {
        values["Setup." + name] = value.is_string() ? value.get<std::string>() : value.dump();
    }
    return values;
}

class dpctl_dependent_state : public testing::Test {
  protected:
    void start(const std::string& registry) {
        test::write_file(service_process::path("/registry.json"), registry);
        const auto compiled = run_program(
            "dp-template",
            {"registry.json", "-o", "bios.efi", "--settings", "values.txt", "--text", "bios.txt"});
        ASSERT_EQ(compiled.exit_code, 0) << compiled.err;
        const auto installed =
            run_program("dp-server", {"install", "--template", "bios.efi", "--settings",
                                      "values.txt", "--build-id", "B1", "--replace"});
        ASSERT_EQ(installed.exit_code, 0) << installed.err;
        ASSERT_TRUE(server_.start()) << service_process::log();
    }

    service_process server_;
};

TEST_F(dpctl_dependent_state, becomes_what_the_plan_says) {
    // Four registries with eight states each.
    const int rounds = test::rounds(32);
    for (int first = 0; first < rounds; first += 8) {
        const unsigned seed = 1 + static_cast<unsigned>(first) / 8;
        generated_server generated(seed);
        start(generated.registry());
        auto expected = pending_values();
        for (int round = 0; round < 8 && first + round < rounds; ++round) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
            test::write_file(service_process::path("/state"), generated.state());
            const json plan = json::parse(dpctl({"plan", "--json", "state"}).out);
            for (const json& setting : plan["settings"]) {
                if (setting["outcome"] == "planned") {
                    expected[setting["name"]] = setting["value"];
                }
            }
            for (const auto& [name, value] : pending_of(plan["effects"], "pending")) {
                expected[name] = value;
            }
            const bool is_possible = plan["summary"]["refused"] == 0;
            if (!is_possible) {
                const auto before = pending_values();
                EXPECT_EQ(dpctl({"apply", "state"}).exit_code, 1);
                EXPECT_EQ(pending_values(), before) << "all or nothing";
            }
            const auto applied = dpctl({"apply", "--keep-going", "--json", "state"});
            EXPECT_EQ(pending_of(json::parse(applied.out)["effects"], "pending"),
                      pending_of(plan["effects"], "pending"));
            EXPECT_EQ(applied.exit_code, !is_possible                      ? 1
                                         : plan["summary"]["planned"] == 0 ? 3
                                                                           : 0)
                << applied.out << applied.err << plan.dump(1);
            ASSERT_EQ(pending_values(), expected) << applied.out << applied.err << plan.dump(1);
        }
        ASSERT_EQ(server_.stop(), 0);
    }
}

// Profile decides about Limit and Turbo.
class dpctl_power_state : public dpctl_dependent_state {
  protected:
    void SetUp() override { start(test::power_registry()); }
};

TEST_F(dpctl_power_state, is_reverted_with_the_commands_that_revert_shows) {
    ASSERT_EQ(dpctl({"set", "Profile=Custom", "Limit=200"}).exit_code, 0);
    ASSERT_EQ(dpctl({"set", "Profile=Balanced"}).exit_code, 0);
    const auto refused = dpctl({"revert", "--all"});
    EXPECT_EQ(refused.exit_code, 1);
    std::istringstream lines(refused.err);
    int count = 0;
    for (std::string line; std::getline(lines, line);) {
        if (const auto command = line.find("dpctl set "); command != std::string::npos) {
            ++count;
            const auto shown = run_program("/bin/sh", {"-c", "'" + test::program_path("dpctl") +
                                                                 "'" + line.substr(command + 5)});
            EXPECT_EQ(shown.exit_code, 0) << line << shown.err;
        }
    }
    EXPECT_EQ(count, 2) << refused.err;
    EXPECT_EQ(dpctl({"revert", "--all"}).exit_code, 0);
    EXPECT_EQ(dpctl({"diff"}).exit_code, 3);
}

TEST_F(dpctl_power_state, that_a_dependency_works_against_is_reached_in_two_steps) {
    test::write_file(service_process::path("/state"),
                     R"({"Attributes": {"Profile": "Custom", "Turbo": true, "Limit": 300}})");
    const auto refused = dpctl({"apply", "state"});
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_NE(refused.err.find("Run the command with --keep-going, which makes the other changes, "
                               "and then again to change "),
              std::string::npos)
        << refused.err;
    const auto first = dpctl({"apply", "--keep-going", "state"});
    EXPECT_EQ(first.exit_code, 1);
    EXPECT_NE(first.err.find("Run the command again to change "), std::string::npos) << first.err;
    EXPECT_EQ(dpctl({"apply", "state"}).exit_code, 0);
    EXPECT_EQ(dpctl({"apply", "state"}).exit_code, 3);
}

}  // namespace
