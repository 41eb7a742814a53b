#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "service_api/attribute_description.hpp"
#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/desired/server_identity.hpp"
#include "tools/dpctl/desired/state_export.hpp"
#include "tools/dpctl/desired/state_file.hpp"
#include "tools/dpctl/names/name_lookup.hpp"
#include "tools/dpctl/names/setting_selection.hpp"
#include "tools/dpctl/values/registry_state.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;
using dp_support::json_value;

struct export_options {
    std::vector<std::string> collections;
    bool pending = false;
    bool current = false;
    bool non_default = false;
    bool all = false;
};

bool has_default(const setting_ref& setting, const reading& value) {
    return dp_service::is_removed_by_default(*setting.attribute)
               ? !value.known
               : is_value(value, setting.attribute->dft, *setting.attribute);
}

json_value or_null(const std::string& text) {
    return text.empty() ? json_value() : json_value(text);
}

void note_left_out(const exported_state& state, report& rep) {
    std::string text;
    if (state.unique != 0) {
        text = std::to_string(state.unique) + " unique to this server";
    }
    if (state.read_only != 0) {
        text += (text.empty() ? "" : ", ") + std::to_string(state.read_only) + " read-only";
    }
    if (!text.empty()) {
        rep.note("settings left out: " + text + "; --all exports them");
    }
    for (const auto& name : state.incomplete) {
        rep.problem(name + ": left out, because its value could not be read whole");
    }
}

void run_export(const file_names& files, const export_options& options, report& rep) {
    session service(files, rep);
    catalog names(service);
    if (!have_collections(names, service, rep)) {
        return;
    }
    const registry_state registry(service, names, rep);
    auto settings = select_settings(names, options.collections, options.collections.empty(), rep);
    auto values =
        service.read(names_of(settings), options.current ? values_of::current : values_of::pending);
    if (options.non_default) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < settings.size(); ++i) {
            if (!has_default(settings[i], values[i])) {
                std::swap(settings[kept], settings[i]);
                std::swap(values[kept++], values[i]);
            }
        }
        settings.resize(kept);
        values.resize(kept);
    }
    auto state = export_state(names, registry, settings, values, options.all);
    note_left_out(state, rep);

    const server_identity server = identify_server(service, registry);
    auto& document = rep.document();
    document.set(registry_version_member, or_null(server.registry_version));
    document.set(build_id_member, or_null(server.build_id));
    document.set(attributes_member, std::move(state.attributes));
    if (!state.read_only_attributes.items.empty()) {
        document.set(read_only_member, std::move(state.read_only_attributes));
    }
}

}  // namespace

void add_export(command_line& program, invocation& request) {
    auto& command = add_command(
        program, request, "export",
        {.summary = "Print the values of settings as a desired state",
         .details =
             "Prints a JSON document for \"dpctl apply\", also without --json. It names the\n"
             "version of the registry and the BIOS build that it was made from. Settings that\n"
             "identify the server, as an asset tag, and read-only ones are left out, so that the\n"
             "document can be applied to other servers. Those that are read-only because of\n"
             "others are listed apart: they are set where that is possible.\n",
         .examples = {"dpctl export > server.json", "dpctl export --non-default Boot",
                      "dpctl export --current --all"}});
    const auto options = std::make_shared<export_options>();
    command.add_option("COLLECTION", options->collections,
                       "Names of collections, or names or patterns of settings; without one, all");
    command.add_flag("--pending", options->pending, "The pending values, as without any option");
    command.add_flag("--current", options->current, "The current values",
                     {.excludes = "--pending"});
    command.add_flag("--non-default", options->non_default,
                     "Only values that differ from the default", {.excludes = "--current"});
    command.add_flag("--all", options->all,
                     "Also what identifies the server, and what is read-only");
    add_file_options(command, request);
    command.on_selected([&request, options] {
        request.json = true;
        request.run = [&request, options](report& rep) {
            run_export(request.files, *options, rep);
        };
    });
}

}  // namespace dpctl
