#include "host/store_plugin.hpp"

#include <algorithm>
#include <utility>

#include "host/history/change_flags.hpp"
#include "platform/dp/alerts.hpp"
#include "platform/sysipc/system_message_queue.hpp"
#include "service_api/alert_sources.hpp"
#include "service_api/service_status.hpp"
#include "settings/configuration.hpp"
#include "settings/registrar.hpp"
#include "settings/setting_element.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

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

void succeed(dp::transaction_command& command, const std::string& value) {
    command.value_out = value;
    command.complete = true;
}

// Fails a command that succeeded, because its change was undone.
void fail_undone(dp::transaction_command& command) {
    command.value_out.clear();
    command.status = dp_service::service_status::not_persisted;
    change_flags::changed(command) = false;
}

}  // namespace

store_plugin::store_plugin(persist_function persist)
    : dp::plugin("settings_store", settings_owner, dp_service::alert_sources::settings_store),
      persist_(std::move(persist)) {}

void store_plugin::on_start(dp::registrar& /*reg*/) {}

void store_plugin::on_stop(dp::registrar& /*reg*/) {}

void store_plugin::serve(const template_model& model, value_store& store) {
    model_ = &model;
    store_ = &store;
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
    const auto changed = execute_and_persist(*settings);
    trans->substep_complete(reg, this);

    // The end of the sub-step stored the value of each command in the cache. That is wrong after
    // deletes and a rollback, and does not include the other fields of rows.
    for (const auto& at : changed) {
        refresh_cache(at);
        at.setting->configuration->changed = 0;
    }
}

std::vector<value_store::key> store_plugin::execute_and_persist(dp::setting_transaction& trans) {
    try {
        std::vector<dp::transaction_command*> answered;
        for (dp::transaction_command* command : trans.commands) {
            if (is_open(*command)) {
                execute(*command);
                answered.push_back(command);
            }
        }
        auto changed = store_->changed();
        if (!changed.empty()) {
            persist(trans, answered);
        }
        return changed;
    } catch (...) {
        // Memory ran out. The changes must not become part of the next transaction.
        store_->undo_changes();
        throw;
    }
}

void store_plugin::persist(const dp::setting_transaction& trans,
                           const std::vector<dp::transaction_command*>& answered) {
    const std::size_t count = store_->changed().size();
    if (const auto persisted = persist_(trans); !persisted) {
        rollback(answered);
        alert(dp::command::alerts::persist_failed,
              clamp_to_byte(static_cast<std::size_t>(persisted.code())));
    } else {
        store_->keep_changes();
        alert(dp::command::alerts::settings_changed, clamp_to_byte(count));
    }
}

void store_plugin::alert(dp::command::alerts what, unsigned char value) const {
    // `send_alert` logs every failure, but having no listeners is not one.
    if (sysipc::system_message_queue(dp::command::alert_queue, 0).is_open()) {
        send_alert(what, value);
    }
}

void store_plugin::execute(dp::transaction_command& command) {
    dp::setting& setting = *command.target.setting;
    const dp::operations op = command.operation;
    if (op != dp::op_get && op != dp::op_getv && !is_write(op)) {
        command.fail(dp_service::service_status::not_supported);
        return;
    }
    value_store::key at{&setting, 0};
    if (!element_of(setting).parse_instance(command.target.instance, at.instance)) {
        command.fail(dp_service::service_status::bad_instance);
        return;
    }
    if (op == dp::op_delete) {
        remove(command, at);
    } else if (is_write(op)) {
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
    if (element_of(*at.setting).is_read_only() && is_change) {
        command.fail(dp_service::service_status::read_only);
        return;
    }
    change_flags::changed(command) = is_change;
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
    if (element.is_read_only()) {
        command.fail(dp_service::service_status::read_only);
        return;
    }
    if (element.is_single_valued()) {
        const std::string value = element.default_value();
        const std::string* const present = store_->find(at);
        change_flags::changed(command) = present == nullptr || *present != value;
        store_->put(at, value);
        succeed(command, value);
        return;
    }
    change_flags::changed(command) = change_flags::removed(command) = store_->find(at) != nullptr;
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

void store_plugin::rollback(const std::vector<dp::transaction_command*>& answered) {
    std::vector<dp::transaction_command*> reads;
    for (dp::transaction_command* command : answered) {
        value_store::key at{command->target.setting, 0};
        if (!element_of(*at.setting).parse_instance(command->target.instance, at.instance) ||
            !is_changed(at)) {
            continue;
        }
        if (!is_write(command->operation)) {
            reads.push_back(command);
        } else if (command->status == dp::command_status::success) {
            fail_undone(*command);
        }
    }
    store_->undo_changes();
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
