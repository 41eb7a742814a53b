#include "tools/dpctl/names/catalog.hpp"

#include <algorithm>
#include <span>
#include <utility>

#include "support/suggestions.hpp"
#include "tools/dpctl/names/name_pattern.hpp"
#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

bool is_match(const setting_ref& setting, const std::string& pattern) {
    const std::string name = setting.name();
    const std::string_view inner =
        std::string_view(name).substr(setting.collection->name().size() + 1);
    return matches_pattern(name, pattern) || matches_pattern(inner, pattern);
}

}  // namespace

catalog::catalog(attribute_source& source) : source_(source), collections_(source.collections()) {
    for (const auto& name : collections_) {
        views_.try_emplace(name);
    }
}

bool catalog::is_collection(std::string_view name) const {
    return views_.find(std::string(name)) != views_.end();
}

const collection_view& catalog::view(const std::string& name) {
    auto& view = views_[name];
    if (view == nullptr) {
        view = std::make_unique<collection_view>(name, source_.attributes(name),
                                                 source_.setting_names(name));
    }
    return *view;
}

std::variant<const collection_view*, unknown_name> catalog::find_collection(
    const std::string& name) {
    if (is_collection(name)) {
        return &view(name);
    }
    return unknown_name{"there is no collection " + in_quotes(name), similar_collections(name)};
}

std::vector<std::string> catalog::similar_collections(const std::string& name) const {
    const std::vector<std::string_view> names(collections_.begin(), collections_.end());
    std::vector<std::string> found;
    for (const std::size_t i : dp_support::similar_names(name, names)) {
        found.push_back(collections_[i]);
    }
    return found;
}

std::variant<setting_ref, unknown_name> catalog::find_setting(const std::string& text) {
    const std::size_t dot = text.find('.');
    if (dot != std::string::npos && is_collection(std::string_view(text).substr(0, dot))) {
        if (auto setting = view(text.substr(0, dot)).find(std::string_view(text).substr(dot + 1))) {
            return std::move(*setting);
        }
    }
    std::vector<setting_ref> found;
    for (const auto& name : collections_) {
        if (auto setting = view(name).find(text)) {
            found.push_back(std::move(*setting));
        }
    }
    if (found.size() == 1) {
        return std::move(found.front());
    }
    if (found.empty()) {
        return explain_unknown(text);
    }
    std::vector<std::string> collections;
    std::vector<std::string> names;
    for (const auto& setting : found) {
        collections.push_back(setting.collection->name());
        names.push_back(setting.name());
    }
    return unknown_name{"several collections have " + in_quotes(text) + ": " +
                            printable(dp_support::enumerate(collections, " and ")) + "; use " +
                            printable(dp_support::enumerate(names, " or ")),
                        {}};
}

std::vector<setting_ref> catalog::match_settings(const std::string& pattern) {
    std::vector<setting_ref> found;
    for (const auto& name : collections_) {
        for (setting_ref& setting : view(name).settings()) {
            if (is_match(setting, pattern)) {
                found.push_back(std::move(setting));
            }
        }
    }
    return found;
}

std::vector<setting_ref> catalog::match_attributes(const std::string& pattern) {
    std::vector<setting_ref> found;
    for (const auto& name : collections_) {
        for (const dp_attribute& attribute : view(name).attributes()) {
            setting_ref setting{&view(name), &attribute, {}};
            if (is_match(setting, pattern)) {
                found.push_back(std::move(setting));
            }
        }
    }
    return found;
}

unknown_name catalog::explain_unknown(const std::string& text) {
    const std::size_t dot = text.find('.');
    const std::string collection = text.substr(0, dot);
    const std::string inner = dot == std::string::npos ? text : text.substr(dot + 1);
    const bool collection_known = dot != std::string::npos && is_collection(collection);

    unknown_name result;
    if (collection_known) {
        result.reason =
            "collection " + printable(collection) + " has no attribute " + in_quotes(inner);
    } else if (dot != std::string::npos) {
        result.reason = "there is no collection " + in_quotes(collection);
    } else {
        result.reason = "no collection has an attribute " + in_quotes(text);
    }

    // The same attribute in another collection is the best suggestion.
    constexpr std::size_t most_suggestions = 3;
    for (const auto& name : collections_) {
        if (const auto setting = view(name).find(inner)) {
            result.suggestions.push_back(setting->name());
            if (result.suggestions.size() == most_suggestions) {
                break;
            }
        }
    }
    if (!result.suggestions.empty()) {
        return result;
    }

    std::vector<setting_ref> attributes;
    std::vector<std::string_view> names;
    for (const auto& name : collections_) {
        if (collection_known && name != collection) {
            continue;
        }
        for (const auto& attribute : view(name).attributes()) {
            attributes.push_back({&view(name), &attribute, {}});
            names.emplace_back(attribute.id);
        }
    }
    for (const std::size_t i : dp_support::similar_names(inner, names, most_suggestions)) {
        result.suggestions.push_back(attributes[i].name());
    }
    if (result.suggestions.empty() && !collection_known && dot != std::string::npos) {
        result.suggestions = similar_collections(collection);
    }
    return result;
}

}  // namespace dpctl
