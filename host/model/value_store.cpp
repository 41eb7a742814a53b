#include "host/model/value_store.hpp"

#include <utility>

namespace dp_host {
namespace {

constexpr std::uint32_t most_default_instances = 100'000;

}  // namespace

value_store::value_store(const template_model& model)
    : model_(model), values_(model.attributes().size()) {}

value_store::adoption value_store::adopt(const dp::qualified_setting_name& name, std::string value,
                                         bool also_not_valid) {
    const std::size_t position = model_.position_of(model_.find(name.configuration, name.setting));
    if (position == template_model::npos) {
        return adoption::no_place;
    }
    template_element& element = *model_.attributes()[position].element;
    std::uint32_t instance = 0;
    if (!element.names_instance(name.instance, instance)) {
        return adoption::no_place;
    }
    const bool is_valid = element.map_value(&value) && element.may_have(value);
    if (is_valid || also_not_valid) {
        values_[position].insert_or_assign(instance, std::move(value));
    }
    return is_valid ? adoption::taken : adoption::not_valid;
}

std::size_t value_store::add_defaults(const std::function<bool(const dp::setting&)>& is_new) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < values_.size(); ++i) {
        if (!values_[i].empty()) {
            continue;
        }
        const auto& [setting, element] = model_.attributes()[i];
        const std::string value = element->default_value();
        if (element->is_single_valued()) {
            values_[i].emplace(dp::no_instance, value);
            ++count;
        } else if (element->record_name.empty() && is_new(*setting) &&
                   element->max_instance - element->min_instance < most_default_instances) {
            for (std::uint32_t n = element->min_instance; n <= element->max_instance; ++n) {
                values_[i].emplace_hint(values_[i].end(), n, value);
            }
            ++count;
        }
    }
    return count;
}

const std::string* value_store::find(place at) const {
    const auto& values = values_[model_.position_of(at.setting)];
    const auto found = values.find(at.instance);
    return found == values.end() ? nullptr : &found->second;
}

std::uint64_t value_store::key_of(place at) const {
    return (std::uint64_t{model_.position_of(at.setting)} << 32U) | at.instance;
}

void value_store::note(place at, std::optional<std::string> before) {
    if (changed_.insert(key_of(at)).second) {
        changes_.push_back({at, std::move(before)});
    }
}

void value_store::put(place at, const std::string& value) {
    auto& values = values_[model_.position_of(at.setting)];
    const auto [found, is_new] = values.try_emplace(at.instance, value);
    if (is_new) {
        note(at, std::nullopt);
    } else if (found->second != value) {
        note(at, std::exchange(found->second, value));
    }
}

void value_store::remove(place at) {
    auto& values = values_[model_.position_of(at.setting)];
    const auto found = values.find(at.instance);
    if (found != values.end()) {
        note(at, std::move(found->second));
        values.erase(found);
    }
}

bool value_store::is_changed(place at) const {
    return changed_.contains(key_of(at));
}

std::vector<value_store::place> value_store::changed_places() const {
    std::vector<place> places;
    places.reserve(changes_.size());
    for (const auto& change : changes_) {
        places.push_back(change.at);
    }
    return places;
}

void value_store::keep_changes() {
    changes_.clear();
    changed_.clear();
}

void value_store::undo_changes() {
    for (auto& [at, before] : changes_) {
        auto& values = values_[model_.position_of(at.setting)];
        if (before) {
            values.insert_or_assign(at.instance, *std::move(before));
        } else {
            values.erase(at.instance);
        }
    }
    keep_changes();
}

}  // namespace dp_host
