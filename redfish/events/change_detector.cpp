#include "redfish/events/change_detector.hpp"

#include <algorithm>
#include <utility>

#include "redfish/model/registry_resource.hpp"
#include "redfish/resources/attribute_value.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"

namespace dp_redfish {
namespace {

using dp_service::change_record;

// A value as a message's argument.
std::string argument_of(const server_setting& setting, const std::optional<std::string>& value) {
    const auto shown = attribute_json(setting, value);
    return shown.kind == dp_support::json_kind::text
               ? shown.text
               : to_text(shown, dp_support::json_layout::one_line);
}

service_event resource_changed(const std::string& path, const char* type, std::string time) {
    return make_event("ResourceEvent", "ResourceChanged", {}, path, type, std::move(time));
}

service_event settings_changed(std::string time) {
    return resource_changed(resource_paths::bios_settings, "Bios", std::move(time));
}

// A change of a pending value.
service_event value_event(const server_setting& setting, const std::optional<std::string>& before,
                          const std::optional<std::string>& after, std::string time) {
    if (setting.is_secret) {
        return settings_changed(std::move(time));
    }
    const char* id = "PendingValueChanged";
    std::vector<std::string> arguments{setting.name};
    if (before) {
        arguments.push_back(argument_of(setting, before));
    }
    if (after) {
        arguments.push_back(argument_of(setting, after));
    }
    if (!before) {
        id = "PendingValueSet";
    } else if (!after) {
        id = "PendingValueRemoved";
    }
    return make_event("SettingsEvents", id, std::move(arguments), resource_paths::bios_settings,
                      "Bios", std::move(time));
}

bool is_about_settings(const change_record& record) {
    return !record.target.starts_with('(');
}

std::string build_of(const server_snapshot& server) {
    const auto found = server.product_data.find("UEFIID");
    return found == server.product_data.end() ? std::string() : found->second;
}

bool needs_restart(const settings_catalog& catalog, const server_setting& setting) {
    return catalog.registry == nullptr || !setting.index ||
           catalog.registry->attributes[*setting.index].reset_required;
}

}  // namespace

std::vector<service_event> change_detector::start(snapshot_pointer now, std::size_t most) {
    last_ = std::move(now);
    unsettled_.clear();
    std::vector<service_event> events;
    const std::size_t count = last_->history->records().size();
    add_history(events, count - std::min(count, most));
    return events;
}

std::vector<service_event> change_detector::observe(snapshot_pointer now, clock::time_point time) {
    std::vector<service_event> events;
    const snapshot_pointer before = std::exchange(last_, std::move(now));
    if (before == nullptr || before == last_) {
        return events;
    }
    if (before->catalog != last_->catalog) {
        unsettled_.clear();
    }
    // First, so that what the history says is not found in the values again.
    compare_pending(*before, events, time);
    if (before->history != last_->history) {
        const auto known = last_->history->find(last_record_);
        if (known || last_record_.empty()) {
            add_history(events, known ? *known + 1 : 0);
        } else if (!last_->history->is_empty()) {
            // The history is another one, or much was dropped at once.
            last_record_ = last_->history->ids().back();
            events.push_back(settings_changed(time_now_text()));
        }
    }
    add_update(*before, events);
    add_restart(*before, events);
    return events;
}

// Adds the events of the records of the history from `first` on.
void change_detector::add_history(std::vector<service_event>& events, std::size_t first) {
    const auto& records = last_->history->records();
    const settings_catalog& catalog = *last_->catalog;
    std::string hidden_group;  // whose secret changes were reported
    for (std::size_t i = first; i < records.size(); ++i) {
        const change_record& record = records[i];
        if (!is_about_settings(record)) {
            continue;
        }
        const auto found = catalog.by_full_name.find(record.target);
        const bool is_known = found != catalog.by_full_name.end();
        if (is_known) {
            unsettled_.erase(found->second);
        }
        const bool is_hidden = !is_known || catalog.settings[found->second].is_secret;
        if (is_hidden && hidden_group == record.who) {
            continue;
        }
        service_event event = is_hidden ? settings_changed(record.time)
                                        : value_event(catalog.settings[found->second],
                                                      record.before, record.value, record.time);
        if (is_hidden) {
            hidden_group = record.who;
        }
        event.record_id = last_->history->ids()[i];
        event.group = record.who;
        events.push_back(std::move(event));
    }
    last_record_ = records.empty() ? std::string() : last_->history->ids().back();
}

// The template, its registry and the build id.
void change_detector::add_update(const server_snapshot& before,
                                 std::vector<service_event>& events) const {
    const std::string build = build_of(*last_);
    if (build != build_of(before)) {
        events.push_back(make_event("SettingsEvents", "BiosUpdated", {build_of(before), build},
                                    resource_paths::bios, "Bios", time_now_text()));
    }
    if (before.catalog->version != last_->catalog->version) {
        events.push_back(resource_changed(registry_path(last_->catalog->registry_id),
                                          "AttributeRegistry", time_now_text()));
    }
}

// A restart writes the current values again. They are also written when a value that needs no
// restart changes; then they differ in such values only.
void change_detector::add_restart(const server_snapshot& before,
                                  std::vector<service_event>& events) const {
    const file_state& was = before.state_of(watched_file::current_values);
    const file_state& is = last_->state_of(watched_file::current_values);
    if (is == file_state() ||
        (is.device == was.device && is.inode == was.inode && is.written == was.written)) {
        return;
    }
    const settings_catalog& catalog = *last_->catalog;
    bool has_changed = false;
    bool has_restarted = before.catalog != last_->catalog;
    for (std::size_t i = 0; !has_restarted && i < last_->current.size(); ++i) {
        if (before.current[i] != last_->current[i]) {
            has_changed = true;
            has_restarted = needs_restart(catalog, catalog.settings[i]);
        }
    }
    if (has_restarted || !has_changed) {
        events.push_back(make_event("SettingsEvents", "ServerRestarted", {}, resource_paths::system,
                                    "ComputerSystem", time_now_text()));
    } else {
        events.push_back(resource_changed(resource_paths::bios, "Bios", time_now_text()));
    }
}

// Notes which pending values differ, until the history explains them.
void change_detector::compare_pending(const server_snapshot& before,
                                      std::vector<service_event>& events, clock::time_point time) {
    if (before.catalog != last_->catalog) {
        // The positions are not those of the same settings.
        if (before.catalog->version != last_->catalog->version) {
            events.push_back(settings_changed(time_now_text()));
        }
        return;
    }
    if (before.pending_version == last_->pending_version) {
        return;
    }
    for (std::size_t i = 0; i < last_->pending.size(); ++i) {
        if (before.pending[i] == last_->pending[i]) {
            continue;
        }
        const auto [change, is_new] =
            unsettled_.try_emplace(i, unsettled_change{before.pending[i], time});
        change->second.since = time;
        if (!is_new && change->second.before == last_->pending[i]) {
            unsettled_.erase(change);
        }
    }
}

std::vector<service_event> change_detector::settle(clock::time_point time) {
    std::vector<service_event> events;
    for (auto it = unsettled_.begin(); it != unsettled_.end();) {
        if (time - it->second.since < history_delay) {
            ++it;
            continue;
        }
        const server_setting& setting = last_->catalog->settings[it->first];
        service_event event =
            value_event(setting, it->second.before, last_->pending[it->first], time_now_text());
        event.group = "(values)";
        events.push_back(std::move(event));
        it = unsettled_.erase(it);
    }
    return events;
}

}  // namespace dp_redfish
