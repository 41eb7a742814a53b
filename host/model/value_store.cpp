#include "host/model/value_store.hpp"

#include <utility>

#include "settings/configuration.hpp"

namespace dp_host {
namespace {

constexpr std::uint32_t most_default_instances = 100'000;

}  // namespace

dp::qualified_setting_name value_store::key::name() const {
    dp::qualified_setting_name name;
    name.configuration = setting->configuration->name;
    name.setting = setting->name;
    name.instance = instance == dp::no_instance ? "" : std::to_string(instance);
    return name;
}

value_store::value_store(const template_model& model)
    : model_(model), values_(model.attributes().size()) {}

value_store::load_result value_store::load(const dp::qualified_setting_name& name,
                                           std::string value, bool also_invalid) {
    const std::size_t position = model_.position_of(model_.find(name.configuration, name.setting));
    if (position == template_model::npos) {
        return load_result::unknown;
    }
    template_element& element = *model_.attributes()[position].element;
    std::uint32_t instance = 0;
    if (!element.parse_instance(name.instance, instance)) {
        return load_result::unknown;
    }
    const bool is_valid = element.map_value(&value) && element.is_valid(value);
    if (is_valid || also_invalid) {
        values_[position].insert_or_assign(instance, std::move(value));
    }
    return is_valid ? load_result::loaded : load_result::invalid;
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

const std::string* value_store::find(key at) const {
    const auto& values = values_[model_.position_of(at.setting)];
    const auto found = values.find(at.instance);
    return found == values.end() ? nullptr : &found->second;
}

std::uint64_t value_store::number_of(key at) const {
    return (std::uint64_t{model_.position_of(at.setting)} << 32U) | at.instance;
}

void value_store::record(key at, std::optional<std::string> before) {
    if (changed_.insert(number_of(at)).second) {
        changes_.push_back({at, std::move(before)});
    }
}

void value_store::put(key at, const std::string& value) {
    auto& values = values_[model_.position_of(at.setting)];
    const auto [found, is_new] = values.try_emplace(at.instance, value);
    if (is_new) {
        record(at, std::nullopt);
    } else if (found->second != value) {
        record(at, std::exchange(found->second, value));
    }
}

void value_store::remove(key at) {
    auto& values = values_[model_.position_of(at.setting)];
    const auto found = values.find(at.instance);
    if (found != values.end()) {
        record(at, std::move(found->second));
        values.erase(found);
    }
}

bool value_store::is_changed(key at) const {
    return changed_.contains(number_of(at));
}

std::vector<value_store::key> value_store::changed() const {
    std::vector<key> keys;
    keys.reserve(changes_.size());
    for (const auto& entry : changes_) {
        keys.push_back(entry.at);
    }
    return keys;
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
