#include "tools/dpctl/names/name_lookup.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>
#include <variant>
#include <vector>

#include "common/fixed_paths.hpp"
#include "support/suggestions.hpp"
#include "tools/dpctl/names/name_pattern.hpp"
#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

std::vector<std::string> suggestion_hints(const unknown_name& unknown) {
    const std::string question = dp_support::did_you_mean(unknown.suggestions);
    return question.empty() ? std::vector<std::string>{} : std::vector<std::string>{question};
}

const collection_view* collection_or_problem(catalog& names, const std::string& name, report& rep) {
    const auto found = names.find_collection(name);
    if (const auto* const unknown = std::get_if<unknown_name>(&found)) {
        auto hints = suggestion_hints(*unknown);
        hints.emplace_back("\"dpctl collections\" lists them all.");
        rep.problem(unknown->reason, hints);
        return nullptr;
    }
    return std::get<const collection_view*>(found);
}

// Reports it when there are none.
std::vector<setting_ref> matches_or_problem(std::vector<setting_ref> found,
                                            const std::string& pattern, report& rep) {
    if (found.empty()) {
        rep.problem("no setting matches " + in_quotes(pattern));
    }
    return found;
}

// The name of an attribute may itself contain the characters of patterns.
bool is_pattern_only(catalog& names, const std::string& text) {
    if (!is_pattern(text)) {
        return false;
    }
    const auto found = names.find_setting(text);
    const auto* const setting = std::get_if<setting_ref>(&found);
    return setting == nullptr || is_pattern(setting->instance);
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
    return have_collections(names, service, rep) ? collection_or_problem(names, name, rep)
                                                 : nullptr;
}

std::vector<const collection_view*> find_collections(catalog& names, const session& service,
                                                     const std::vector<std::string>& wanted,
                                                     report& rep) {
    std::vector<const collection_view*> found;
    if (!have_collections(names, service, rep)) {
        return found;
    }
    for (const std::string& name : wanted.empty() ? names.collections() : wanted) {
        const collection_view* const view = collection_or_problem(names, name, rep);
        if (view != nullptr && std::find(found.begin(), found.end(), view) == found.end()) {
            found.push_back(view);
        }
    }
    return found;
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

std::vector<setting_ref> find_settings(catalog& names, const std::string& text, report& rep) {
    if (is_pattern_only(names, text)) {
        return matches_or_problem(names.match_settings(text), text, rep);
    }
    const auto setting = find_setting(names, text, rep);
    return setting ? setting->all() : std::vector<setting_ref>{};
}

std::vector<setting_ref> find_attributes(catalog& names, const std::string& text, report& rep) {
    if (is_pattern_only(names, text)) {
        auto found = names.match_attributes(text);
        return matches_or_problem(found.empty() ? names.match_settings(text) : std::move(found),
                                  text, rep);
    }
    auto setting = find_setting(names, text, rep);
    return setting ? std::vector<setting_ref>{std::move(*setting)} : std::vector<setting_ref>{};
}

}  // namespace dpctl
