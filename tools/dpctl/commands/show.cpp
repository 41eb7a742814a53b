#include <cstddef>
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

void show_item(report& rep, const std::string& label, const std::string& text) {
    constexpr std::size_t label_width = 19;
    rep.item(label_width, "  " + label, text);
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
    if (display_width(printable(line)) <= widest_line) {
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

void show_text(report& rep, const setting_ref& requested, const std::vector<setting_ref>& settings,
               const std::vector<setting_values>& values) {
    const dp_attribute& attribute = *requested.attribute;
    rep.line(requested.name());
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
        show_item(rep, "Pending", value_text(values[i].pending));
        show_item(rep, "Current",
                  value_text(values[i].current) +
                      (values[i].waits_for_restart ? " (until the server restarts)" : ""));
    }
    show_item(rep, "Read-only", is_read_only(attribute) ? "yes" : "no");
}

json_value to_json(const setting_ref& requested, const std::vector<setting_ref>& settings,
                   const std::vector<setting_values>& values) {
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
    session service(files, rep);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }
    auto& list = rep.document().set("attributes", json_value::array());
    bool first = true;
    for (const auto& text : texts) {
        const auto requested = find_setting(names, text, rep);
        if (!requested) {
            continue;
        }
        const auto settings = requested->all();
        const auto setting_names = names_of(settings);
        const auto values = read_values(service, setting_names);
        if (rep.as_json()) {
            list.push_back(to_json(*requested, settings, values));
            continue;
        }
        if (!std::exchange(first, false)) {
            rep.line("");
        }
        show_text(rep, *requested, settings, values);
    }
}

}  // namespace

void add_show(command_line& program, invocation& request) {
    auto& command =
        add_command(program, request, "show",
                    {.summary = "Show everything known about settings",
                     .details = name_help,
                     .examples = {"dpctl show Boot.BootMode", "dpctl show BootMode --json"}});
    const auto names = add_name_arguments(command);
    add_file_options(command, request);
    command.on_selected([&request, names] {
        request.run = [&request, names](report& rep) { run_show(request.files, *names, rep); };
    });
}

}  // namespace dpctl
