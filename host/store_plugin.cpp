#include "host/store_plugin.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/dp/alerts.hpp"
#include "platform/sysipc/system_message_queue.hpp"
#include "service_api/alert_sources.hpp"
#include "service_api/dependency_decision.hpp"
#include "service_api/service_alerts.hpp"
#include "service_api/service_status.hpp"
#include "settings/configuration.hpp"
#include "settings/registrar.hpp"
#include "settings/setting_element.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

using dp_service::registry_dependencies;
using dp_service::registry_property;

// An alert carries one byte.
unsigned char clamp_to_byte(std::size_t number) {
    return static_cast<unsigned char>(std::min<std::size_t>(number, 255));
}

bool is_write(dp::operations op) {
    return op == dp::op_set || op == dp::op_setv || op == dp::op_delete;
}

// The settings whose instances are created and removed with those of `s`: those of its record when
// it is the key, otherwise none.
const std::vector<dp::setting*>& row_of(const dp::setting& s) {
    static const std::vector<dp::setting*> none;
    const auto& records = s.configuration->records;
    const auto record = records.find(s.element->record_name);
    return s.is_record_key() && record != records.end() ? record->second.settings : none;
}

// The value that a write gives an attribute without instances.
std::string new_value(const dp::transaction_command& command) {
    return command.operation == dp::op_delete ? command.target.setting->element->default_value()
                                              : command.value_in;
}

std::optional<std::string> copy_of(const std::string* value) {
    return value == nullptr ? std::nullopt : std::optional(*value);
}

// A reason for a person, which a registry can make long.
std::string shortened(std::string reason) {
    constexpr std::size_t longest = 1000;
    if (reason.size() > longest) {
        std::size_t end = longest;
        while (end > 0 && (static_cast<unsigned char>(reason[end]) & 0xC0U) == 0x80U) {
            --end;
        }
        reason.erase(end);
        reason += "...";
    }
    return reason;
}

void succeed(dp::transaction_command& command, const std::string& value) {
    command.value_out = value;
    command.complete = true;
}

}  // namespace

store_plugin::store_plugin(persist_function persist)
    : dp::plugin("settings_store", settings_owner, dp_service::alert_sources::settings_store),
      persist_(std::move(persist)) {}

void store_plugin::on_start(dp::registrar& /*reg*/) {}

void store_plugin::on_stop(dp::registrar& /*reg*/) {}

void store_plugin::serve(const template_model& model, value_store& store,
                         template_registry* registry) {
    model_ = &model;
    store_ = &store;
    registry_ = registry;
    store.for_each([](value_store::key at, const std::string& value) {
        at.setting->set_instance_value(value, at.instance);
    });
    for (const auto& configuration : model.configurations()) {
        configuration->changed = 0;
    }
}

bool store_plugin::is_open(const dp::transaction_command& command) const {
    return command.status == dp::command_status::success && !command.complete &&
           command.target.setting != nullptr && command.target.setting->owner == this;
}

template_element& store_plugin::element_of(const dp::setting& s) const {
    return *model_->attributes()[model_->position_of(&s)].element;
}

void store_plugin::process_transaction(dp::registrar& reg, dp::transaction* trans) {
    if (trans == nullptr) {
        return;
    }
    auto* const settings = dynamic_cast<dp::setting_transaction*>(trans);
    if (settings == nullptr) {
        trans->substep_complete(reg, this);
        return;
    }
    auto changed = execute_and_persist(*settings);
    trans->substep_complete(reg, this);

    // The end of the sub-step stored the value of each command in the cache. That is wrong after
    // deletes, a rollback and writes that left the value, and does not include the other fields of
    // rows and what dependencies changed.
    for (const dp::transaction_command* command : kept_) {
        changed.push_back({command->target.setting, dp::no_instance});
    }
    for (const auto& at : changed) {
        refresh_cache(at);
        at.setting->configuration->changed = 0;
    }
}

std::vector<value_store::key> store_plugin::execute_and_persist(dp::setting_transaction& trans) {
    changes_.clear();
    dependent_changes_ = 0;
    kept_.clear();
    try {
        command_list answered;
        for (dp::transaction_command* command : trans.commands) {
            if (is_open(*command)) {
                check(*command);
                answered.push_back(command);
            }
        }
        execute_decided(answered);
        auto changed = store_->changed();
        if (changed.empty()) {
            undo_changes();
        } else {
            persist(trans, answered);
        }
        return changed;
    } catch (...) {
        // Memory ran out. The changes must not become part of the next transaction.
        undo_changes();
        throw;
    }
}

void store_plugin::undo_changes() {
    store_->undo_changes();
    if (registry_ != nullptr) {
        registry_->rules().undo();
    }
}

void store_plugin::persist(const dp::setting_transaction& trans, const command_list& answered) {
    const std::size_t count = store_->changed().size();
    if (const auto persisted = persist_(trans, changes_); !persisted) {
        rollback(answered);
        alert(dp::command::alerts::persist_failed,
              clamp_to_byte(static_cast<std::size_t>(persisted.code())));
        return;
    }
    store_->keep_changes();
    if (registry_ != nullptr) {
        registry_->rules().keep();
    }
    alert(dp::command::alerts::settings_changed, clamp_to_byte(count));
    if (dependent_changes_ > 0) {
        alert(dp_service::service_alerts::changed_by_dependency, clamp_to_byte(dependent_changes_));
    }
}

// Executes the commands that are open, and what dependencies make of them.
void store_plugin::execute_decided(const command_list& commands) {
    std::vector<registry_dependencies::change> decided;
    if (registry_ != nullptr) {
        decided = decide(commands);
    }
    for (dp::transaction_command* command : commands) {
        if (is_open(*command)) {
            execute(*command);
        }
    }
    if (registry_ != nullptr) {
        apply(decided);
    }
    for (dp::transaction_command* command : kept_) {
        const std::string* const value = store_->find({command->target.setting, dp::no_instance});
        command->value_out = value == nullptr ? "" : *value;
    }
}

// Decides about the writes of attributes without instances. The other commands stay as they are.
std::vector<registry_dependencies::change> store_plugin::decide(const command_list& commands) {
    command_list writes;
    std::vector<registry_dependencies::assignment> values;
    for (dp::transaction_command* command : commands) {
        const auto attribute = registry_->attribute_of(*command->target.setting);
        if (is_open(*command) && is_write(command->operation) && attribute) {
            writes.push_back(command);
            values.push_back({*attribute, registry_->value_of(*attribute, new_value(*command))});
        }
    }
    auto decision = dp_service::decide(registry_->rules(), values);
    for (std::size_t i = 0; i < writes.size(); ++i) {
        if (decision.refusals[i].empty()) {
            continue;
        }
        if (is_kept_at_default(*writes[i], values[i].attribute)) {
            writes[i]->complete = true;
            kept_.push_back(writes[i]);
        } else {
            writes[i]->fail(dp_service::service_status::forbidden_by_dependency);
            writes[i]->value_out = shortened(decision.refusals[i]);
        }
    }
    return std::move(decision.changes);
}

bool store_plugin::is_kept_at_default(const dp::transaction_command& command,
                                      std::uint32_t attribute) const {
    if (new_value(command) != command.target.setting->element->default_value()) {
        return false;
    }
    const auto is_set_by_dependency = [&](registry_property flag) {
        const auto* const is_set = std::get_if<bool>(&registry_->rules().property(attribute, flag));
        return is_set != nullptr && *is_set && registry_->rules().cause(attribute, flag) != nullptr;
    };
    return is_set_by_dependency(registry_property::read_only) ||
           is_set_by_dependency(registry_property::immutable);
}

// Stores the values that dependencies set.
void store_plugin::apply(const std::vector<registry_dependencies::change>& changes) {
    for (const auto& change : changes) {
        if (change.cause == nullptr) {
            continue;
        }
        const value_store::key at{&registry_->setting_of(change.attribute), dp::no_instance};
        const std::string value = dp_service::setting_text(
            registry_->rules().property(change.attribute, registry_property::current_value));
        const std::string* const present = store_->find(at);
        if (present == nullptr || *present != value) {
            changes_.push_back({at.name().get_name(), copy_of(present), value,
                                shortened(registry_->rules().condition_text(*change.cause))});
            ++dependent_changes_;
            store_->put(at, value);
        }
    }
}

void store_plugin::alert(dp::command::alerts what, unsigned char value) const {
    // `send_alert` logs every failure, but having no listeners is not one.
    if (sysipc::system_message_queue(dp::command::alert_queue, 0).is_open()) {
        send_alert(what, value);
    }
}

// Fails a command that cannot be executed whatever the values are.
void store_plugin::check(dp::transaction_command& command) const {
    const dp::setting& setting = *command.target.setting;
    const dp::operations op = command.operation;
    if (op != dp::op_get && op != dp::op_getv && !is_write(op)) {
        command.fail(dp_service::service_status::not_supported);
        return;
    }
    value_store::key at{command.target.setting, 0};
    if (!element_of(setting).parse_instance(command.target.instance, at.instance)) {
        command.fail(dp_service::service_status::bad_instance);
        return;
    }
    if (!is_write(op) || !is_protected(setting)) {
        return;
    }
    const std::string* const present = store_->find(at);
    if (op == dp::op_delete || present == nullptr || *present != command.value_in) {
        command.fail(dp_service::service_status::read_only);
    }
}

// Whether the attribute is read-only, and no dependency can change that.
bool store_plugin::is_protected(const dp::setting& s) const {
    if (!element_of(s).is_read_only()) {
        return false;
    }
    const auto attribute = registry_ == nullptr ? std::nullopt : registry_->attribute_of(s);
    return !attribute || !registry_->may_become_writable(*attribute);
}

void store_plugin::execute(dp::transaction_command& command) {
    value_store::key at{command.target.setting, 0};
    element_of(*at.setting).parse_instance(command.target.instance, at.instance);
    if (command.operation == dp::op_delete) {
        remove(command, at);
    } else if (is_write(command.operation)) {
        write(command, at);
    } else {
        read(command, at);
    }
}

void store_plugin::read(dp::transaction_command& command, value_store::key at) {
    const std::string* const value = store_->find(at);
    if (value == nullptr) {
        command.fail(dp::command_status::value_not_known);
    } else {
        succeed(command, *value);
    }
}

void store_plugin::write(dp::transaction_command& command, value_store::key at) {
    const std::string* const present = store_->find(at);
    const bool is_there = present != nullptr;
    const bool is_change = !is_there || *present != command.value_in;
    if (is_change) {
        changes_.push_back({at.name().get_name(), copy_of(present), command.value_in});
    }
    store_->put(at, command.value_in);
    if (!is_there) {
        for (dp::setting* member : row_of(*at.setting)) {
            const value_store::key field{member, at.instance};
            if (at.instance <= member->element->max_instance && store_->find(field) == nullptr) {
                store_->put(field, member->element->default_value());
            }
        }
    }
    succeed(command, command.value_in);
}

void store_plugin::remove(dp::transaction_command& command, value_store::key at) {
    template_element& element = element_of(*at.setting);
    if (element.is_single_valued()) {
        const std::string value = element.default_value();
        const std::string* const present = store_->find(at);
        if (present == nullptr || *present != value) {
            changes_.push_back({at.name().get_name(), copy_of(present), value});
        }
        store_->put(at, value);
        succeed(command, value);
        return;
    }
    if (const std::string* const present = store_->find(at); present != nullptr) {
        changes_.push_back({at.name().get_name(), *present, std::nullopt});
    }
    for (dp::setting* member : row_of(*at.setting)) {
        store_->remove({member, at.instance});
    }
    store_->remove(at);
    succeed(command, "");
}

bool store_plugin::is_changed(value_store::key at) const {
    const auto& row = row_of(*at.setting);
    return store_->is_changed(at) || std::any_of(row.begin(), row.end(), [&](dp::setting* member) {
               return store_->is_changed({member, at.instance});
           });
}

void store_plugin::rollback(const command_list& answered) {
    command_list reads;
    for (dp::transaction_command* command : answered) {
        value_store::key at{command->target.setting, 0};
        if (!element_of(*at.setting).parse_instance(command->target.instance, at.instance) ||
            !is_changed(at)) {
            continue;
        }
        if (!is_write(command->operation)) {
            reads.push_back(command);
        } else if (command->status == dp::command_status::success) {
            command->value_out.clear();
            command->status = dp_service::service_status::not_persisted;
        }
    }
    undo_changes();
    // These reads returned values that were undone.
    for (dp::transaction_command* command : reads) {
        command->status = dp::command_status::success;
        command->complete = false;
        command->value_out.clear();
        execute(*command);
    }
}

void store_plugin::refresh_cache(value_store::key at) const {
    if (const std::string* const value = store_->find(at); value != nullptr) {
        at.setting->set_instance_value(*value, at.instance);
    } else if (at.setting->cache.find_entry(at.instance, false) != nullptr) {
        at.setting->remove_instance(at.instance);
    }
}

}  // namespace dp_host
