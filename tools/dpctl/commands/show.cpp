#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "common/quoting.hpp"
#include "service_api/choice_list.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/values/attribute_description.hpp"
#include "tools/dpctl/values/setting_values.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

constexpr std::size_t show_label_width = 19;

void show_item(report& rep, const std::string& label, const std::string& text,
               text_style style = text_style::plain) {
    rep.item(show_label_width, "  " + label, text, style);
}

void show_optional_item(report& rep, const std::string& label, const std::string& text) {
    if (!text.empty()) {
        show_item(rep, label, text);
    }
}

// The choices on one line if they fit, otherwise one per line.
void show_choices(report& rep, const dp_attribute& attribute) {
    constexpr std::size_t widest_line = 60;
    std::string line;
    std::vector<std::string> choices = dp_service::choice_list::split(attribute.chc);
    for (auto& choice : choices) {
        if (choice.empty() || choice.find(',') != std::string::npos) {
            choice = dp::add_quotes(choice);
        }
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

void show_restrictions(report& rep, const dp_attribute& attribute) {
    if (is_numeric(attribute)) {
        show_item(rep, "Range", number_range(attribute));
        show_item(rep, "Step", std::to_string(number_step(attribute)));
    } else if (is_string(attribute)) {
        show_item(rep, "Length", string_length(attribute));
        show_optional_item(rep, "Pattern", attribute.reg);
    } else if (is_enumeration(attribute)) {
        show_choices(rep, attribute);
    }
}

void show_text(report& rep, const setting_ref& requested, std::span<const setting_ref> settings,
               std::span<const setting_values> values) {
    const dp_attribute& attribute = *requested.attribute;
    rep.line(requested.name(), text_style::heading);
    show_item(rep, "Type", type_name(attribute));
    show_optional_item(rep, "Description", attribute.dsc);
    show_optional_item(rep, "Help", attribute.fds);
    show_optional_item(rep, "Group", attribute.grp);
    show_restrictions(rep, attribute);
    show_item(
        rep, "Default",
        is_removed_by_default(attribute) ? "no value" : value_text({true, false, attribute.dft}));
    for (std::size_t i = 0; i < settings.size(); ++i) {
        if (settings[i].instance != requested.instance) {
            rep.line("  Instance " + settings[i].instance);
        }
        show_item(rep, "Pending", value_text(values[i].pending),
                  values[i].waits_for_restart ? text_style::changed : text_style::plain);
        show_item(rep, "Current",
                  value_text(values[i].current) +
                      (values[i].waits_for_restart ? " (until the server restarts)" : ""));
    }
    show_item(rep, "Read-only", is_read_only(attribute) ? "yes" : "no");
}

json_value to_json(const setting_ref& requested, std::span<const setting_ref> settings,
                   std::span<const setting_values> values) {
    const dp_attribute& attribute = *requested.attribute;
    auto result = json_value::object({{"name", requested.name()},
                                      {"collection", requested.collection->name()},
                                      {"attribute", attribute.id},
                                      {"type", type_name(attribute)},
                                      {"description", attribute.dsc},
                                      {"help", attribute.fds},
                                      {"group", attribute.grp}});
    if (is_numeric(attribute)) {
        result.set("minimum", attribute.min);
        result.set("maximum", number_maximum(attribute));
        result.set("step", number_step(attribute));
    } else if (is_string(attribute)) {
        result.set("minimum_length", attribute.minc);
        result.set("maximum_length",
                   attribute.maxc == 0 ? json_value() : json_value(attribute.maxc));
        result.set("pattern", attribute.reg);
    } else if (is_enumeration(attribute)) {
        result.set("possible_values", dp_service::choice_list::split(attribute.chc));
    }
    result.set("default", default_json(attribute));
    result.set("read_only", is_read_only(attribute));
    auto& list = result.set("settings", json_value::array());
    for (std::size_t i = 0; i < settings.size(); ++i) {
        auto setting = json_value::object({{"name", settings[i].name()}});
        add_values(setting, values[i]);
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
    auto start = std::size_t{0};
    for (std::size_t i = 0; i < requested.size(); ++i) {
        const std::span own_settings(settings.data() + start, ends[i] - start);
        const std::span own_values(values.data() + start, ends[i] - start);
        start = ends[i];
        if (rep.as_json()) {
            list.push_back(to_json(requested[i], own_settings, own_values));
            continue;
        }
        if (!std::exchange(first, false)) {
            rep.line("");
        }
        show_text(rep, requested[i], own_settings, own_values);
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
