#include <algorithm>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "service_api/choice_list.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/catalog.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/values/attribute_description.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;

// Text that cannot be typed as it is shown is not offered.
void offer(const std::string& text, report& rep) {
    if (printable(text) == text) {
        rep.line(text);
    }
}

void complete_collections(const catalog& names, report& rep) {
    for (const auto& name : names.collections()) {
        offer(name, rep);
    }
}

// The full names in the collection that was already typed; before that, the collections.
void complete_names(catalog& names, const std::string& typed, report& rep) {
    const std::size_t dot = typed.find('.');
    if (dot == std::string::npos) {
        for (const auto& name : names.collections()) {
            offer(name + '.', rep);
        }
        return;
    }
    const auto found = names.find_collection(typed.substr(0, dot));
    if (const auto* const view = std::get_if<const collection_view*>(&found)) {
        for (const auto& setting : (*view)->settings()) {
            const std::string name = setting.name();
            if (name.starts_with(typed)) {
                offer(name, rep);
            }
        }
    }
}

void complete_values(catalog& names, const std::string& name, report& rep) {
    const auto found = names.find_setting(name);
    const auto* const setting = std::get_if<setting_ref>(&found);
    if (setting != nullptr && is_enumeration(*setting->attribute)) {
        for (const auto& choice : dp_service::choice_list::split(setting->attribute->chc)) {
            offer(choice, rep);
        }
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
    command.add_option(
        "KIND", *kind, "The kind of word to complete",
        {.value_name = "TEXT", .required = true, .choices = {"collections", "names", "values"}});
    command.add_option("TYPED", *typed, "The typed part, or the name whose value is completed",
                       {.value_name = "TEXT"});
    add_file_options(command, request);
    command.on_selected([&request, kind, typed] {
        request.run = [&request, kind, typed](report& rep) {
            session service(request.files, rep);
            catalog names(service);
            if (*kind == "collections") {
                complete_collections(names, rep);
            } else if (*kind == "names") {
                complete_names(names, *typed, rep);
            } else {
                complete_values(names, *typed, rep);
            }
        };
    });
}

}  // namespace dpctl
