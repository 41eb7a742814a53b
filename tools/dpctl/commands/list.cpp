#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "service_api/attribute_description.hpp"
#include "support/ascii_case.hpp"
#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/names/name_pattern.hpp"
#include "tools/dpctl/output/table.hpp"
#include "tools/dpctl/values/setting_values.hpp"
#include "tools/dpctl/values/setup_view.hpp"

namespace dpctl {
namespace {

using dp_service::registry_property;
using dp_support::command_line;
using dp_support::json_value;

struct list_options {
    std::vector<std::string> collections;
    bool all = false;
    bool changed = false;
    bool non_default = false;
    bool read_only = false;
    bool writable = false;
    std::string match;
    std::string sort;
};

struct listed_setting {
    setting_ref setting;
    std::string name;
    setting_values values;
    std::string display_name;
    std::string why_read_only;
    bool is_hidden = false;

    [[nodiscard]] const dp_attribute& attribute() const { return *setting.attribute; }
};

std::vector<listed_setting> read_settings(session& service, const setup_view& setup,
                                          const std::vector<const collection_view*>& views) {
    std::vector<listed_setting> listed;
    std::vector<std::string> names;
    for (const collection_view* const view : views) {
        for (setting_ref& setting : view->settings()) {
            names.push_back(setting.name());
            listed_setting& added = listed.emplace_back();
            added.name = names.back();
            added.display_name = setup.text(setting, registry_property::display_name);
            added.why_read_only = setup.why_read_only(setting);
            added.is_hidden = setup.is_hidden(setting);
            added.setting = std::move(setting);
        }
    }
    auto values = read_values(service, names);
    for (std::size_t i = 0; i < listed.size(); ++i) {
        listed[i].values = std::move(values[i]);
    }
    return listed;
}

// Whether the text contains what is wanted or, if that is a pattern, matches it. The case of
// letters is ignored.
bool is_like(std::string_view text, const std::string& wanted) {
    return matches_pattern(
        dp_support::lower_case(text),
        dp_support::lower_case(is_pattern(wanted) ? wanted : '*' + wanted + '*'));
}

bool is_named_like(const std::string& name, const std::string& wanted) {
    return is_like(name, wanted) ||
           is_like(std::string_view(name).substr(name.find('.') + 1), wanted);
}

bool is_wanted(const listed_setting& listed, const list_options& options) {
    const bool cannot_change = !listed.why_read_only.empty();
    return (options.all || !listed.is_hidden) &&
           (!options.changed || listed.values.waits_for_restart) &&
           (!options.non_default || !is_default_value(listed.values.pending, listed.attribute())) &&
           (!options.read_only || cannot_change) && (!options.writable || !cannot_change) &&
           (options.match.empty() || is_named_like(listed.name, options.match) ||
            is_like(listed.display_name, options.match));
}

std::string notes_on(const listed_setting& listed) {
    std::string text = listed.why_read_only;
    if (listed.values.waits_for_restart) {
        text += text.empty() ? "pending restart" : ", pending restart";
    }
    return text;
}

json_value to_json(const listed_setting& listed, const setup_view& setup) {
    auto result = json_value::object({{"name", listed.name},
                                      {"type", dp_service::type_name(listed.attribute())},
                                      {"read_only", !listed.why_read_only.empty()}});
    add_values(result, listed.values);
    if (setup.has_menus()) {
        result.set("display_name", listed.display_name);
        result.set("menu", setup.menu(listed.setting));
        result.set("hidden", listed.is_hidden);
        result.set("grayed_out", setup.flag(listed.setting, registry_property::gray_out));
    }
    return result;
}

void show_table(const std::vector<listed_setting>& settings, const setup_view& setup,
                bool has_titles, report& rep) {
    constexpr std::size_t least_type = 11;
    constexpr std::size_t least_value = 8;
    constexpr std::size_t least_notes = 9;
    constexpr std::size_t least_display_name = 16;
    std::vector<table_column> columns{"NAME",
                                      {"TYPE", least_type, true},
                                      {"PENDING", least_value},
                                      {"CURRENT", least_value},
                                      {"NOTES", least_notes}};
    if (setup.has_menus()) {
        columns.insert(columns.begin() + 1, {"DISPLAY NAME", least_display_name, true});
    }
    table rows(std::move(columns));
    std::string title;
    for (const listed_setting& listed : settings) {
        if (std::string menu = setup.menu(listed.setting); has_titles && menu != title) {
            title = std::move(menu);
            rows.add_title(title.empty() ? "No menu" : title);
        }
        const text_style style =
            listed.values.waits_for_restart ? text_style::changed : text_style::plain;
        std::vector<table_cell> cells{
            listed.name,
            dp_service::type_name(listed.attribute()),
            {value_text(listed.values.pending), style},
            value_text(listed.values.current),
            {notes_on(listed), style == text_style::plain ? text_style::faint : style}};
        if (setup.has_menus()) {
            cells.insert(cells.begin() + 1, table_cell(listed.display_name));
        }
        rows.add(std::move(cells));
    }
    rep.show(rows);
}

void sort_settings(std::vector<listed_setting>& settings, const setup_view& setup, bool by_name) {
    if (by_name) {
        std::stable_sort(settings.begin(), settings.end(),
                         [](const auto& a, const auto& b) { return a.name < b.name; });
    } else if (setup.has_menus()) {
        std::stable_sort(settings.begin(), settings.end(), [&](const auto& a, const auto& b) {
            return setup.position(a.setting) < setup.position(b.setting);
        });
    }
}

void run_list(const file_names& files, const list_options& options, report& rep) {
    rep.allow_pager();
    session service(files, rep);
    catalog names(service);
    const auto views = find_collections(names, service, options.collections, rep);
    if (views.empty()) {
        return;
    }

    const setup_view setup(service, names, rep);
    auto settings = read_settings(service, setup, views);
    const bool is_empty = settings.empty();
    const auto hidden =
        options.all ? 0 : std::count_if(settings.begin(), settings.end(), [](const auto& each) {
            return each.is_hidden;
        });
    settings.erase(
        std::remove_if(settings.begin(), settings.end(),
                       [&](const listed_setting& each) { return !is_wanted(each, options); }),
        settings.end());
    const bool by_name = options.sort == "name";
    sort_settings(settings, setup, by_name);

    auto& document = rep.document();
    auto& collections = document.set("collections", json_value::array());
    for (const collection_view* const view : views) {
        collections.push_back(view->name());
    }
    auto& list = document.set("settings", json_value::array());
    for (const listed_setting& listed : settings) {
        list.push_back(to_json(listed, setup));
    }
    if (!settings.empty()) {
        show_table(settings, setup, setup.has_menus() && !by_name, rep);
    } else if (!is_empty) {
        rep.line("No settings match.");
    } else {
        rep.line(views.size() == 1 ? views.front()->name() + " has no attributes."
                                   : "The collections have no attributes.");
    }
    document.set("hidden_settings", hidden);
    if (hidden > 0) {
        rep.note(std::to_string(hidden) +
                 (hidden == 1 ? " setting that the setup menus hide is not listed"
                              : " settings that the setup menus hide are not listed") +
                 "; --all lists everything");
    }
}

}  // namespace

void add_list(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "list",
        {.summary = "List the settings of collections with their values",
         .details =
             "Without a collection, lists all of them. PENDING is the value that was set last,\n"
             "CURRENT the value in effect since the server's last start; \"-\" means no value.\n"
             "\"pending restart\" marks settings whose two values differ.\n"
             "If the server has a registry, the settings are grouped by the menus of its setup, "
             "in\n"
             "their order, and have display names.\n"
             "On a terminal the columns are fitted to its width; elsewhere nothing is shortened.\n",
         .examples = {"dpctl list Boot", "dpctl list --changed", "dpctl list --match '*PXE*'",
                      "dpctl list Boot --json"}});
    const auto options = std::make_shared<list_options>();
    command.add_option("COLLECTION", options->collections, "The names of collections");
    command.add_flag("--all", options->all, "Also settings that the setup menus hide");
    command.add_flag("--changed", options->changed,
                     "Only settings whose pending value differs from the current one");
    command.add_flag("--non-default", options->non_default,
                     "Only settings whose pending value is not the default");
    command.add_option("--match", options->match,
                       "Only settings whose name or display name contains this text, or matches it "
                       "if it has * or ?, in any case of letters",
                       {.value_name = "PATTERN"});
    command.add_flag("--read-only", options->read_only, "Only settings that cannot be changed");
    command.add_flag("--writable", options->writable, "Only settings that can be changed",
                     {.excludes = "--read-only"});
    command.add_option("--sort", options->sort,
                       "The order: as in the setup menus (default), or by name",
                       {.value_name = "ORDER", .choices = {"menu", "name"}});
    add_file_options(command, request);
    command.on_selected([&request, options] {
        request.run = [&request, options](report& rep) { run_list(request.files, *options, rep); };
    });
}

}  // namespace dpctl
