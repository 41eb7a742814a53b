#include "tools/dpctl/names/name_lookup.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>
#include <variant>
#include <vector>

#include "common/fixed_paths.hpp"
#include "support/suggestions.hpp"

namespace dpctl {
namespace {

std::vector<std::string> suggestion_hints(const unknown_name& unknown) {
    const std::string question = dp_support::did_you_mean(unknown.suggestions);
    return question.empty() ? std::vector<std::string>{} : std::vector<std::string>{question};
}

}  // namespace

bool have_collections(const catalog& names, const session& service, report& rep) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const std::string& file = service.files().template_file;
    if (!names.collections().empty()) {
        if (!fs::exists(file, ignored)) {
            rep.note("the template " + file + " does not exist; its earlier expansion is used");
        } else if (!service.stale_expansion().empty()) {
            rep.note("the template " + file + " is older than " + service.stale_expansion() +
                     ", which cannot be removed and may belong to another template");
            rep.hint("To expand the template again: touch " + file);
        }
        return true;
    }
    const std::string tool = dp::fixed_paths::dpspy.str();
    const std::string list = dp::fixed_paths::uefi_configs.str();
    const std::string folder = fs::path(list).parent_path();
    const std::string none = "there are no collections: ";
    if (!fs::exists(file, ignored)) {
        rep.problem(none + "the template " + file + " does not exist",
                    {"dp-template creates one from a server's attribute registry."});
    } else if (access(tool.c_str(), X_OK) != 0) {
        const int reason = errno;
        rep.problem(none + tool + ", which expands the template " + file +
                        ", cannot be run: " + std::strerror(reason),
                    reason == ENOENT ? std::vector<std::string>{"Install dpspy there."}
                                     : std::vector<std::string>{});
    } else if (!fs::is_directory(folder, ignored)) {
        rep.problem(none + "the folder " + folder + ", into which " + tool +
                        " expands the template, does not exist",
                    {"dp_settingsd creates it when it starts."});
    } else {
        rep.problem(none + tool + " found none in the template " + file,
                    {"To see why: " + tool + " -sc -i " + file + " -o " + list});
    }
    return false;
}

const collection_view* find_collection(catalog& names, const session& service,
                                       const std::string& name, report& rep) {
    if (!have_collections(names, service, rep)) {
        return nullptr;
    }
    const auto found = names.find_collection(name);
    if (const auto* const unknown = std::get_if<unknown_name>(&found)) {
        auto hints = suggestion_hints(*unknown);
        hints.emplace_back("\"dpctl collections\" lists them all.");
        rep.problem(unknown->reason, hints);
        return nullptr;
    }
    return std::get<const collection_view*>(found);
}

std::optional<setting_ref> find_setting(catalog& names, const std::string& text, report& rep,
                                        const std::string& place) {
    auto found = names.find_setting(text);
    if (const auto* const unknown = std::get_if<unknown_name>(&found)) {
        rep.problem(place + unknown->reason, suggestion_hints(*unknown));
        return std::nullopt;
    }
    return std::get<setting_ref>(std::move(found));
}

}  // namespace dpctl
