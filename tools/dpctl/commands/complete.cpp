#include <algorithm>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "service_api/attribute_description.hpp"
#include "service_api/choice_list.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/catalog.hpp"
#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;

// Text that cannot be typed as it is shown is not offered.
void offer(const std::string& text, report& rep) {
    if (printable(text) == text) {
        rep.line(text);
    }
}

void complete_collections(const catalog& names, const std::string& typed, report& rep) {
    for (const auto& name : names.collections()) {
        if (name.starts_with(typed)) {
            offer(name, rep);
        }
    }
}

// The settings of a collection whose full names begin with the typed text.
void complete_full_names(const collection_view& view, const std::string& typed, report& rep) {
    for (const auto& setting : view.settings()) {
        const std::string name = setting.name();
        if (name.starts_with(typed)) {
            offer(name, rep);
        }
    }
}

// The names without a collection that begin with the typed text and that only one collection has.
void complete_bare_names(catalog& names, const std::string& typed, report& rep) {
    for (const auto& setting : names.match_settings("*")) {
        const std::string bare = setting.name().substr(setting.collection->name().size() + 1);
        if (bare.starts_with(typed) &&
            std::holds_alternative<setting_ref>(names.find_setting(bare))) {
            offer(bare, rep);
        }
    }
}

// The full names in the collection that was already typed; before that, the collections, and the
// bare names as soon as something was typed.
void complete_names(catalog& names, const std::string& typed, report& rep) {
    const std::size_t dot = typed.find('.');
    const auto found = names.find_collection(typed.substr(0, dot));
    if (const auto* const view = std::get_if<const collection_view*>(&found);
        view != nullptr && dot != std::string::npos) {
        complete_full_names(**view, typed, rep);
        return;
    }
    for (const auto& name : names.collections()) {
        if (name.starts_with(typed)) {
            offer(name + '.', rep);
        }
    }
    if (!typed.empty()) {
        complete_bare_names(names, typed, rep);
    }
}

void complete_values(catalog& names, const std::string& name, report& rep) {
    const auto found = names.find_setting(name);
    const auto* const setting = std::get_if<setting_ref>(&found);
    if (setting != nullptr && dp_service::is_enumeration(*setting->attribute)) {
        for (const auto& choice : dp_service::choice_list::split(setting->attribute->chc)) {
            offer(choice, rep);
        }
    }
}

void offer_all(const std::vector<std::string>& texts, report& rep) {
    for (const auto& text : texts) {
        offer(text, rep);
    }
}

void complete_settings(const file_names& files, const std::string& kind, const std::string& typed,
                       report& rep) {
    session service(files, rep);
    catalog names(service);
    if (kind == "collections") {
        complete_collections(names, typed, rep);
    } else if (kind == "names") {
        complete_names(names, typed, rep);
    } else {
        complete_values(names, typed, rep);
    }
}

// The words that need no files of a server.
void complete_words(const command_line& program, const std::string& kind, const std::string& typed,
                    report& rep) {
    if (kind == "subcommands") {
        offer_all(program.subcommand_names(), rep);
    } else if (const command_line* const command = program.find_subcommand(typed)) {
        offer_all(command->option_names(), rep);
    }
}

}  // namespace

void add_complete(command_line& program, invocation& request) {
    // Only for the shell's completion, therefore hidden.
    auto& command =
        program.add_subcommand("complete", "Print the possible completions, one per line");
    command.hide();
    const auto kind = std::make_shared<std::string>();
    const auto typed = std::make_shared<std::string>();
    command.add_option("KIND", *kind, "The kind of word to complete",
                       {.value_name = "TEXT",
                        .required = true,
                        .choices = {"subcommands", "options", "collections", "names", "values"}});
    command.add_option("TYPED", *typed,
                       "The typed part; the name whose value is completed, or the subcommand whose "
                       "options are",
                       {.value_name = "TEXT"});
    add_file_options(command, request);
    command.on_selected([&program, &request, kind, typed] {
        request.run = [&program, &request, kind, typed](report& rep) {
            if (*kind == "subcommands" || *kind == "options") {
                complete_words(program, *kind, *typed, rep);
            } else {
                complete_settings(request.files, *kind, *typed, rep);
            }
        };
    });
}

}  // namespace dpctl
