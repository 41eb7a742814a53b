#include <algorithm>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "service_api/choice_list.hpp"
#include "tools/dpctl/commands/command_options.hpp"
#include "tools/dpctl/names/catalog.hpp"
#include "tools/dpctl/output/attribute_text.hpp"
#include "tools/dpctl/output/text.hpp"

namespace dpctl {
namespace {

// What can't be typed as it is shown is not offered.
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

// Full names within the collection that is typed already; before that, the collections.
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

void add_complete(CLI::App& app, job& what) {
    // For the shell's completion only: no group, so the help does not name it.
    auto& command = *app.add_subcommand("complete", "Print what may stand next, a line each");
    command.group("");
    const auto kind = std::make_shared<std::string>();
    const auto typed = std::make_shared<std::string>();
    command.add_option("KIND", *kind, "What is wanted")
        ->required()
        ->check(CLI::IsMember({"collections", "names", "values"}));
    command.add_option("TYPED", *typed, "What is typed already, or the name whose value is next");
    add_file_options(command, what);
    command.callback([&what, kind, typed] {
        what.run = [&what, kind, typed](report& rep) {
            session service(what.files);
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
