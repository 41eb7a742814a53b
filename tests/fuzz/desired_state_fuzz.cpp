// Arbitrary bytes as the file of a desired state: every problem has its place, and the settings
// that it names are the same after an export of their values.

#include <algorithm>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "service_api/attribute_registry.hpp"
#include "service_api/service_status.hpp"
#include "service_api/value_check.hpp"
#include "support/json.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/support/sample_attribute.hpp"
#include "tools/dpctl/desired/desired_settings.hpp"
#include "tools/dpctl/desired/state_export.hpp"
#include "tools/dpctl/desired/state_file.hpp"
#include "tools/dpctl/names/catalog.hpp"
#include "tools/dpctl/output/json_bytes.hpp"
#include "tools/dpctl/output/report.hpp"
#include "tools/dpctl/values/canonical_value.hpp"
#include "tools/dpctl/values/registry_state.hpp"

namespace {

// Two collections with attributes of each type, one of them with the same name in both.
class sample_source final : public dpctl::attribute_source {
  public:
    sample_source() {
        boot_ = {test::sample_choices("Mode", "Legacy,UEFI,Fast Boot"),
                 test::sample_number("Delay", 0, 100, 5),
                 test::sample_string("Tag", 0, 20, "^[ -~]*$"),
                 test::sample_attribute("Free", DP_TYPE_NO_RANGE),
                 test::sample_string("Order", 0, 0, "")};
        boot_.back().mni = 1;
        boot_.back().mxi = 2;
        power_ = {test::sample_choices("Mode", "a,A,b"),
                  test::sample_choices("Turbo", "False,True"),
                  test::sample_choices("Switch", "Disabled,Enabled")};
    }

    std::vector<std::string> collections() override { return {"Boot", "Power"}; }

    std::span<const dp_attribute> attributes(const std::string& collection) override {
        return collection == "Boot" ? boot_ : power_;
    }

    std::span<const char* const> setting_names(const std::string& collection) override {
        return collection == "Boot" ? std::span<const char* const>(boot_names_)
                                    : std::span<const char* const>(power_names_);
    }

  private:
    std::vector<dp_attribute> boot_;
    std::vector<dp_attribute> power_;
    std::vector<const char*> boot_names_{"Boot.Mode", "Boot.Delay",   "Boot.Tag",
                                         "Boot.Free", "Boot.Order.1", "Boot.Order.2"};
    std::vector<const char*> power_names_{"Power.Mode", "Power.Turbo", "Power.Switch"};
};

dp_service::attribute_registry sample_registry() {
    auto registry = dp_service::parse_attribute_registry(R"({"RegistryEntries": {"Attributes": [
        {"AttributeName": "Mode", "Type": "Enumeration"},
        {"AttributeName": "Delay", "Type": "Integer"}, {"AttributeName": "Tag", "Type": "String"},
        {"AttributeName": "Free", "Type": "String"}, {"AttributeName": "Order", "Type": "String"},
        {"AttributeName": "Mode", "Type": "Enumeration"},
        {"AttributeName": "Turbo", "Type": "Boolean"},
        {"AttributeName": "Switch", "Type": "Boolean"}]}})");
    return *std::move(registry);
}

struct sample_server {
    sample_source source;
    dpctl::catalog names{source};
    dpctl::registry_state registry{sample_registry(), names};
};

// The settings that a state names. What is reported about it goes to `messages`.
std::vector<dpctl::desired_setting> resolve(sample_server& server, const dpctl::state_file& state,
                                            std::string& messages) {
    std::ostringstream out;
    std::ostringstream err;
    dpctl::report rep(out, err, false);
    auto settings = dpctl::resolve_state(server.names, server.registry, state, rep);
    messages = err.str();
    fuzzing::require(rep.failed() == !messages.empty(), "every problem is reported");
    fuzzing::require(out.str().empty(), "problems are not a result");
    return settings;
}

void check_places(const dpctl::state_file& state, std::size_t lines) {
    for (const auto& entry : state.entries) {
        fuzzing::require(entry.line >= 1 && entry.line <= lines, "an entry is in a line");
    }
    for (const auto& problem : state.problems) {
        fuzzing::require(problem.line <= lines, "a problem is in a line");
        fuzzing::require(!problem.message.empty(), "a problem has a message");
    }
}

void check_settings(const std::vector<dpctl::desired_setting>& settings) {
    std::set<std::string> names;
    for (const auto& desired : settings) {
        const dp_attribute& attribute = *desired.setting.attribute;
        fuzzing::require(names.insert(desired.setting.name()).second, "a setting is named once");
        fuzzing::require(dpctl::canonical_value(attribute, desired.value) == desired.value,
                         "a value has the spelling of its attribute");
    }
}

// An export has settings that exist, not every name of an instance that a person may write.
bool is_setting(const dpctl::desired_setting& desired) {
    return dp_service::check_value(*desired.setting.attribute, desired.setting.instance,
                                   desired.value) != dp_service::service_status::bad_instance;
}

void check_export(sample_server& server, std::vector<dpctl::desired_setting> settings) {
    std::erase_if(settings, [](const auto& desired) { return !is_setting(desired); });
    std::vector<dpctl::setting_ref> exported;
    std::vector<dpctl::reading> values;
    for (const auto& desired : settings) {
        exported.push_back(desired.setting);
        values.push_back({true, false, desired.value});
    }
    auto state = dpctl::export_state(server.names, server.registry, exported, values, true);
    auto document = dp_support::json_value::object();
    document.set(dpctl::attributes_member, std::move(state.attributes));
    dpctl::add_bytes(document);
    const auto read = dpctl::parse_state(
        "export", dp_support::to_text(document, dp_support::json_layout::indented));
    fuzzing::require(read.problems.empty(), "an export is a state");
    std::string messages;
    const auto resolved = resolve(server, read, messages);
    fuzzing::require(messages.empty(), "an export names settings");
    fuzzing::require(std::equal(resolved.begin(), resolved.end(), settings.begin(), settings.end(),
                                [](const auto& a, const auto& b) {
                                    return a.setting.name() == b.setting.name() &&
                                           a.value == b.value;
                                }),
                     "an export has the same values");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static sample_server server;
    const std::string text(data, data + size);
    const auto state = dpctl::parse_state("state", text);
    check_places(state, 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
    std::string messages;
    const auto settings = resolve(server, state, messages);
    const bool is_whole = state.problems.empty() && settings.size() == state.entries.size();
    fuzzing::require(messages.empty() == is_whole, "what is wrong is reported");
    fuzzing::require(
        std::none_of(messages.begin(), messages.end(),
                     [](char c) { return static_cast<unsigned char>(c) < ' ' && c != '\n'; }),
        "messages have no control characters");
    check_settings(settings);
    check_export(server, settings);
    return 0;
}
