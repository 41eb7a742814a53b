#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "common/quoting.hpp"
#include "service_api/choice_list.hpp"
#include "tools/dpctl/changes/setting_values.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/known_names.hpp"
#include "tools/dpctl/output/attribute_text.hpp"
#include "tools/dpctl/output/text.hpp"

namespace dpctl {
namespace {

constexpr std::size_t label_width = 17;

void item(report& rep, const std::string& label, const std::string& text) {
    const std::size_t missing = label_width - std::min(label_width, label.size());
    rep.line("  " + label + std::string(missing, ' ') + text);
}

void optional_item(report& rep, const std::string& label, const std::string& text) {
    if (!text.empty()) {
        item(rep, label, text);
    }
}

// The choices behind one another if they fit a line, otherwise below one another.
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
        optional_item(rep, "Possible values", line);
        return;
    }
    for (std::size_t i = 0; i < choices.size(); ++i) {
        item(rep, i == 0 ? "Possible values" : "", choices[i]);
    }
}

void show_restrictions(report& rep, const dp_attribute& attribute) {
    if (is_numeric(attribute)) {
        item(rep, "Range", number_range(attribute));
        item(rep, "Step", std::to_string(number_step(attribute)));
    } else if (is_string(attribute)) {
        item(rep, "Length", string_length(attribute));
        optional_item(rep, "Pattern", attribute.reg);
    } else if (is_enumeration(attribute)) {
        show_choices(rep, attribute);
    }
}

void show_text(report& rep, const setting_ref& asked, const std::vector<setting_ref>& settings,
               const std::vector<setting_values>& values) {
    const dp_attribute& attribute = *asked.attribute;
    rep.line(asked.name());
    item(rep, "Type", type_name(attribute));
    optional_item(rep, "Description", attribute.dsc);
    optional_item(rep, "Help", attribute.fds);
    optional_item(rep, "Group", attribute.grp);
    show_restrictions(rep, attribute);
    item(rep, "Default",
         is_removed_by_default(attribute) ? "no value" : value_text({true, false, attribute.dft}));
    for (std::size_t i = 0; i < settings.size(); ++i) {
        if (settings[i].instance != asked.instance) {
            rep.line("  Instance " + settings[i].instance);
        }
        item(rep, "Pending", value_text(values[i].pending));
        item(rep, "Current",
             value_text(values[i].current) +
                 (values[i].waits_for_restart ? " (until the server restarts)" : ""));
    }
    item(rep, "Read-only", is_read_only(attribute) ? "yes" : "no");
}

nlohmann::ordered_json describe(const setting_ref& asked, const std::vector<setting_ref>& settings,
                                const std::vector<setting_values>& values) {
    const dp_attribute& attribute = *asked.attribute;
    nlohmann::ordered_json result = {
        {"name", asked.name()},         {"collection", asked.collection->name()},
        {"attribute", attribute.id},    {"type", type_name(attribute)},
        {"description", attribute.dsc}, {"help", attribute.fds},
        {"group", attribute.grp}};
    if (is_numeric(attribute)) {
        result["minimum"] = attribute.min;
        result["maximum"] = number_maximum(attribute);
        result["step"] = number_step(attribute);
    } else if (is_string(attribute)) {
        result["minimum_length"] = attribute.minc;
        result["maximum_length"] = attribute.maxc == 0 ? nlohmann::ordered_json(nullptr)
                                                       : nlohmann::ordered_json(attribute.maxc);
        result["pattern"] = attribute.reg;
    } else if (is_enumeration(attribute)) {
        result["possible_values"] = dp_service::choice_list::split(attribute.chc);
    }
    result["default"] = is_removed_by_default(attribute) ? nlohmann::ordered_json(nullptr)
                                                         : nlohmann::ordered_json(attribute.dft);
    result["read_only"] = is_read_only(attribute);
    auto& list = result["settings"] = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < settings.size(); ++i) {
        nlohmann::ordered_json one = {{"name", settings[i].name()}};
        add_values(one, values[i]);
        list.push_back(std::move(one));
    }
    return result;
}

void run(const file_names& files, const std::vector<std::string>& texts, report& rep) {
    session service(files);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }
    auto& list = rep.document()["attributes"] = nlohmann::ordered_json::array();
    bool first = true;
    for (const auto& text : texts) {
        const auto asked = find_setting(names, text, rep);
        if (!asked) {
            continue;
        }
        const auto settings = asked->all();
        const auto setting_names = names_of(settings);
        const auto values = read_values(service, setting_names);
        if (rep.as_json()) {
            list.push_back(describe(*asked, settings, values));
            continue;
        }
        if (!std::exchange(first, false)) {
            rep.line("");
        }
        show_text(rep, *asked, settings, values);
    }
}

}  // namespace

void add_show(CLI::App& app, job& what) {
    auto& command = add_command(app, what, "show", "Show all that is known of settings",
                                {"dpctl show Boot.BootMode", "dpctl show BootMode --json"});
    const auto texts = add_name_arguments(command);
    add_file_options(command, what);
    command.callback([&what, texts] {
        what.run = [&what, texts](report& rep) { run(what.files, *texts, rep); };
    });
}

}  // namespace dpctl
