#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "common/quoting.hpp"
#include "service_api/attribute_description.hpp"
#include "service_api/choice_list.hpp"
#include "service_api/registry_value.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/values/dependency_index.hpp"
#include "tools/dpctl/values/dependency_text.hpp"
#include "tools/dpctl/values/limits_in_force.hpp"
#include "tools/dpctl/values/setting_values.hpp"
#include "tools/dpctl/values/setup_view.hpp"

namespace dpctl {
namespace {

using dp_service::registry_map;
using dp_service::registry_property;
using dp_service::registry_value;
using dp_support::command_line;
using dp_support::json_value;

constexpr std::size_t show_label_width = 19;

// An attribute with its settings and what the registry says about it.
struct shown_attribute {
    const setup_view& setup;
    const setting_ref& setting;
    std::span<const setting_ref> instances;
    std::span<const setting_values> values;
    const dp_service::registry_attribute* entry = nullptr;  // null: the registry has none
    std::uint32_t index = 0;                                // of the entry
    const dependency_index* dependencies = nullptr;         // null: no registry

    [[nodiscard]] const dp_attribute& attribute() const { return *setting.attribute; }
    [[nodiscard]] const dp_service::attribute_registry& registry() const {
        return *setup.state().registry();
    }
    [[nodiscard]] std::string text(registry_property which) const {
        return setup.text(setting, which);
    }
    [[nodiscard]] std::string describe(const registry_map& map) const {
        return dependency_text(registry(), *setup.state().rules(), map);
    }
    // The dependency that determines the property now.
    [[nodiscard]] const registry_map* cause(registry_property which) const {
        return entry == nullptr ? nullptr : setup.state().rules()->cause(index, which);
    }
    // The template's limits with what the dependencies determine now.
    template <class Limits>
    [[nodiscard]] Limits in_force(Limits limits) const {
        return entry == nullptr ? limits : limits_in_force(limits, *setup.state().rules(), index);
    }
    [[nodiscard]] bool is_in_force(const registry_map& map) const {
        return map.property != registry_property::current_value &&
               setup.state().rules()->cause(map.attribute, map.property) == &map;
    }
};

void show_item(report& rep, const std::string& label, const std::string& text,
               text_style style = text_style::plain) {
    rep.item(show_label_width, "  " + label, text, style);
}

void show_optional_item(report& rep, const std::string& label, const std::string& text) {
    if (!text.empty()) {
        show_item(rep, label, text);
    }
}

// A choice with its display name, as a person reads it.
std::string choice_text(const std::string& name, const std::string& display_name) {
    std::string text =
        name.empty() || name.find(',') != std::string::npos ? dp::add_quotes(name) : name;
    if (!display_name.empty() && display_name != name) {
        text += " (" + display_name + ')';
    }
    return text;
}

std::vector<std::string> choice_texts(const shown_attribute& shown) {
    std::vector<std::string> texts;
    for (const auto& name : dp_service::choice_list::split(shown.attribute().chc)) {
        std::string display_name;
        if (shown.entry != nullptr) {
            const auto& choices = shown.entry->choices;
            const auto found = std::find_if(choices.begin(), choices.end(),
                                            [&](const auto& each) { return each.name == name; });
            display_name = found == choices.end() ? std::string() : found->display_name;
        }
        texts.push_back(choice_text(name, display_name));
    }
    return texts;
}

// The choices on one line if they fit, otherwise one per line.
void show_choices(report& rep, const shown_attribute& shown) {
    constexpr std::size_t widest_line = 60;
    const std::vector<std::string> choices = choice_texts(shown);
    std::string line;
    for (const auto& choice : choices) {
        line += (line.empty() ? "" : ", ") + choice;
    }
    const std::size_t columns = rep.screen().columns;
    const std::size_t width =
        columns == 0 ? widest_line : columns - std::min(columns, show_label_width);
    if (display_width(printable(line)) <= width) {
        show_optional_item(rep, "Possible values", line);
        return;
    }
    for (std::size_t i = 0; i < choices.size(); ++i) {
        show_item(rep, i == 0 ? "Possible values" : "", choices[i]);
    }
}

// A limit in force, with the dependencies that determine it and, where it differs, that of the
// template: "0 to 50 (upper bound 50 while Mode is Eco; template: 0 to 100)".
std::string with_causes(const std::string& limit, const std::string& of_template,
                        const shown_attribute& shown,
                        std::initializer_list<registry_property> properties) {
    std::string reasons;
    for (const registry_property each : properties) {
        if (const auto* const cause = shown.cause(each)) {
            reasons += (reasons.empty() ? "" : "; ") + shown.describe(*cause);
        }
    }
    if (limit != of_template) {
        reasons += "; template: " + (of_template.empty() ? "none" : of_template);
    }
    return reasons.empty() ? limit : limit + " (" + reasons + ')';
}

void show_restrictions(report& rep, const shown_attribute& shown) {
    const dp_attribute& attribute = shown.attribute();
    if (dp_service::is_numeric(attribute)) {
        const dp_service::number_limits fixed = dp_service::number_limits_of(attribute);
        const dp_service::number_limits now = shown.in_force(fixed);
        show_item(rep, "Range",
                  with_causes(dp_service::range_text(now), dp_service::range_text(fixed), shown,
                              {registry_property::lower_bound, registry_property::upper_bound}));
        show_item(rep, "Step",
                  with_causes(std::to_string(now.step), std::to_string(fixed.step), shown,
                              {registry_property::scalar_increment}));
    } else if (dp_service::is_string(attribute)) {
        const dp_service::text_limits fixed = dp_service::text_limits_of(attribute);
        const dp_service::text_limits now = shown.in_force(fixed);
        show_item(rep, "Length",
                  with_causes(dp_service::length_text(now), dp_service::length_text(fixed), shown,
                              {registry_property::min_length, registry_property::max_length}));
        show_optional_item(
            rep, "Pattern",
            with_causes(now.pattern, fixed.pattern, shown, {registry_property::value_expression}));
    } else if (dp_service::is_enumeration(attribute)) {
        show_choices(rep, shown);
    }
}

// What setup shows above the values: the registry's texts, or without one those of the template.
void show_texts(report& rep, const shown_attribute& shown) {
    const dp_attribute& attribute = shown.attribute();
    if (shown.entry == nullptr) {
        show_item(rep, "Type", dp_service::type_name(attribute));
        show_optional_item(rep, "Description", attribute.dsc);
        show_optional_item(rep, "Help", attribute.fds);
        show_optional_item(rep, "Group", attribute.grp);
        return;
    }
    show_optional_item(rep, "Display name", shown.text(registry_property::display_name));
    show_optional_item(rep, "Menu", shown.setup.menu(shown.setting));
    show_item(rep, "Type",
              shown.entry->type == dp_service::registry_type::boolean
                  ? "boolean"
                  : dp_service::type_name(attribute));
    show_optional_item(rep, "Help", shown.text(registry_property::help_text));
    show_optional_item(rep, "Warning", shown.text(registry_property::warning_text));
}

void show_list(report& rep, const std::string& label, const std::vector<std::string>& lines) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        show_item(rep, i == 0 ? label : "", lines[i]);
    }
}

void show_dependencies(report& rep, const shown_attribute& shown) {
    if (shown.entry == nullptr) {
        return;
    }
    std::vector<std::string> own;
    for (const registry_map* const map : shown.dependencies->changing(shown.index)) {
        own.push_back(shown.describe(*map) + (shown.is_in_force(*map) ? " (now)" : ""));
    }
    std::vector<std::string> others;
    for (const registry_map* const map : shown.dependencies->decided_by(shown.index)) {
        others.push_back(shown.registry().attributes[map->attribute].name + ": " +
                         shown.describe(*map));
    }
    show_list(rep, "Depends on", own);
    show_list(rep, "Decides about", others);
}

void show_state(report& rep, const shown_attribute& shown) {
    const std::string reason = shown.setup.why_read_only(shown.setting);
    const bool is_fixed = dp_service::is_read_only(shown.attribute());
    show_item(rep, "Read-only", is_fixed ? "yes" : reason.empty() ? "no" : "now: " + reason);
    if (shown.setup.flag(shown.setting, registry_property::gray_out)) {
        show_item(rep, "Grayed out", "yes, but it can be changed");
    }
    if (shown.setup.is_hidden(shown.setting)) {
        show_item(rep, "Hidden", "yes, the setup menus do not show it");
    }
}

void show_attribute(const shown_attribute& shown, report& rep) {
    const dp_attribute& attribute = shown.attribute();
    rep.line(shown.setting.name(), text_style::heading);
    show_texts(rep, shown);
    show_restrictions(rep, shown);
    const std::string fixed_default = dp_service::is_removed_by_default(attribute)
                                          ? "no value"
                                          : value_text({true, false, attribute.dft});
    show_item(rep, "Default",
              with_causes(fixed_default, fixed_default, shown, {registry_property::default_value}));
    for (std::size_t i = 0; i < shown.instances.size(); ++i) {
        if (shown.instances[i].instance != shown.setting.instance) {
            rep.line("  Instance " + shown.instances[i].instance);
        }
        const setting_values& values = shown.values[i];
        show_item(rep, "Pending", value_text(values.pending),
                  values.waits_for_restart ? text_style::changed : text_style::plain);
        show_item(rep, "Current",
                  value_text(values.current) +
                      (values.waits_for_restart ? " (until the server restarts)" : ""));
    }
    show_dependencies(rep, shown);
    show_state(rep, shown);
}

json_value to_json(const registry_value& value) {
    return std::visit(
        [](const auto& content) -> json_value {
            if constexpr (std::is_same_v<std::decay_t<decltype(content)>, std::monostate>) {
                return nullptr;
            } else {
                return content;
            }
        },
        value);
}

json_value to_json(const dependency_index::map_list& maps, const shown_attribute& shown) {
    json_value list = json_value::array();
    for (const registry_map* const map : maps) {
        list.push_back(
            json_value::object({{"attribute", shown.registry().attributes[map->attribute].name},
                                {"property", dp_service::name_of(map->property)},
                                {"value", to_json(map->value)},
                                {"condition", shown.setup.state().rules()->condition_text(*map)},
                                {"in_force", shown.is_in_force(*map)}}));
    }
    return list;
}

// What only the registry says.
void add_registry_members(const shown_attribute& shown, json_value& result) {
    const std::string reason = shown.setup.why_read_only(shown.setting);
    result.set("display_name", shown.text(registry_property::display_name));
    result.set("menu", shown.setup.menu(shown.setting));
    result.set("menu_path", shown.entry->menu_path);
    result.set("warning", shown.text(registry_property::warning_text));
    result.set("hidden", shown.setup.is_hidden(shown.setting));
    result.set("grayed_out", shown.setup.flag(shown.setting, registry_property::gray_out));
    result.set("read_only_reason", reason.empty() ? json_value() : json_value(reason));
    auto& names = result.set("value_display_names", json_value::array());
    for (const auto& choice : shown.entry->choices) {
        names.push_back(choice.display_name.empty() ? choice.name : choice.display_name);
    }
    result.set("depends_on", to_json(shown.dependencies->changing(shown.index), shown));
    result.set("decides_about", to_json(shown.dependencies->decided_by(shown.index), shown));
}

// A limit, and that of the template where it differs.
void add_limit(json_value& object, const std::string& name, const json_value& now,
               const json_value& of_template, bool differs) {
    object.set(name, now);
    if (differs) {
        object.set("template_" + name, of_template);
    }
}

json_value length_json(std::int64_t limit) {
    return limit == 0 ? json_value() : json_value(limit);
}

void add_limits(const shown_attribute& shown, json_value& result) {
    const dp_attribute& attribute = shown.attribute();
    if (dp_service::is_numeric(attribute)) {
        const dp_service::number_limits fixed = dp_service::number_limits_of(attribute);
        const dp_service::number_limits now = shown.in_force(fixed);
        add_limit(result, "minimum", now.least, fixed.least, now.least != fixed.least);
        add_limit(result, "maximum", now.greatest, fixed.greatest, now.greatest != fixed.greatest);
        add_limit(result, "step", now.step, fixed.step, now.step != fixed.step);
    } else if (dp_service::is_string(attribute)) {
        const dp_service::text_limits fixed = dp_service::text_limits_of(attribute);
        const dp_service::text_limits now = shown.in_force(fixed);
        add_limit(result, "minimum_length", now.least, fixed.least, now.least != fixed.least);
        add_limit(result, "maximum_length", length_json(now.greatest), length_json(fixed.greatest),
                  now.greatest != fixed.greatest);
        add_limit(result, "pattern", now.pattern, fixed.pattern, now.pattern != fixed.pattern);
    } else if (dp_service::is_enumeration(attribute)) {
        result.set("possible_values", dp_service::choice_list::split(attribute.chc));
    }
}

json_value to_json(const shown_attribute& shown) {
    const dp_attribute& attribute = shown.attribute();
    const bool has_entry = shown.entry != nullptr;
    const std::string help =
        has_entry ? shown.text(registry_property::help_text) : std::string(attribute.fds);
    auto result = json_value::object({{"name", shown.setting.name()},
                                      {"collection", shown.setting.collection->name()},
                                      {"attribute", attribute.id},
                                      {"type", dp_service::type_name(attribute)},
                                      {"description", attribute.dsc},
                                      {"help", help},
                                      {"group", attribute.grp}});
    add_limits(shown, result);
    result.set("default", default_json(attribute));
    if (const auto* const cause = shown.cause(registry_property::default_value)) {
        result.set("dependent_default", dp_service::setting_text(cause->value));
    }
    const bool is_fixed = dp_service::is_read_only(attribute);
    const bool is_fixed_now = !shown.setup.why_read_only(shown.setting).empty();
    add_limit(result, "read_only", is_fixed_now, is_fixed, is_fixed_now != is_fixed);
    if (has_entry) {
        add_registry_members(shown, result);
    }
    auto& list = result.set("settings", json_value::array());
    for (std::size_t i = 0; i < shown.instances.size(); ++i) {
        auto setting = json_value::object({{"name", shown.instances[i].name()}});
        add_values(setting, shown.values[i]);
        list.push_back(std::move(setting));
    }
    return result;
}

void run_show(const file_names& files, const std::vector<std::string>& texts, report& rep) {
    rep.allow_pager();
    session service(files, rep);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }
    auto& list = rep.document().set("attributes", json_value::array());
    bool first = true;
    std::vector<setting_ref> requested;
    for (const auto& text : texts) {
        for (setting_ref& setting : find_attributes(names, text, rep)) {
            requested.push_back(std::move(setting));
        }
    }
    std::vector<setting_ref> settings;
    std::vector<std::size_t> ends;
    for (const setting_ref& each : requested) {
        for (setting_ref& setting : each.all()) {
            settings.push_back(std::move(setting));
        }
        ends.push_back(settings.size());
    }
    const auto values = read_values(service, names_of(settings));
    const setup_view setup(service, names, rep);
    std::optional<dependency_index> dependencies;
    if (setup.state().registry() != nullptr) {
        dependencies.emplace(*setup.state().registry());
    }
    auto start = std::size_t{0};
    for (std::size_t i = 0; i < requested.size(); ++i) {
        shown_attribute shown{setup,
                              requested[i],
                              {settings.data() + start, ends[i] - start},
                              {values.data() + start, ends[i] - start}};
        start = ends[i];
        if (const auto index = setup.state().index_of(requested[i])) {
            shown.index = *index;
            shown.dependencies = &*dependencies;
            shown.entry = &setup.state().registry()->attributes[*index];
        }
        if (rep.as_json()) {
            list.push_back(to_json(shown));
            continue;
        }
        if (!std::exchange(first, false)) {
            rep.line("");
        }
        show_attribute(shown, rep);
    }
}

}  // namespace

void add_show(command_line& program, invocation& request) {
    auto& command = add_command(program, request, "show",
                                {.summary = "Show everything known about settings",
                                 .details = std::string(name_help) + pattern_help,
                                 .examples = {"dpctl show Boot.BootMode", "dpctl show 'Boot.*PXE*'",
                                              "dpctl show BootMode --json"}});
    const auto names = add_name_arguments(command);
    add_file_options(command, request);
    command.on_selected([&request, names] {
        request.run = [&request, names](report& rep) { run_show(request.files, *names, rep); };
    });
}

}  // namespace dpctl
