#include "host/exchange/batch_transaction.hpp"

#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "host/model/template_element.hpp"
#include "service_api/service_status.hpp"
#include "settings/instance_number.hpp"
#include "settings/registrar.hpp"
#include "settings/setting.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

constexpr std::int32_t execution_step = 1;

bool is_open(const dp::transaction_command& command) {
    return command.status == dp::command_status::success && !command.complete;
}

bool is_read(const dp::transaction_command& command) {
    return command.operation == dp::op_get || command.operation == dp::op_getv;
}

// The library reads the number at the beginning of an instance text and ignores the rest; this
// service accepts one text for each instance. The library's own check of deletes comes first.
void check_instance(dp::transaction_command& command) {
    const dp::operations op = command.operation;
    if (!is_read(command) && op != dp::op_set && op != dp::op_setv) {
        return;
    }
    const auto* element = dynamic_cast<template_element*>(command.target.setting->element);
    std::uint32_t instance = 0;
    if (element != nullptr && !element->parse_instance(command.target.instance, instance)) {
        command.fail(dp_service::service_status::bad_instance);
    }
}

}  // namespace

batch_transaction::batch_transaction(std::vector<dp::transaction_command>& batch,
                                     listener on_step_end)
    : on_step_end_(std::move(on_step_end)) {
    commands.reserve(batch.size());
    for (auto& command : batch) {
        commands.push_back(&command);
    }
    if (!batch.empty()) {
        name = batch.front().tid;
        // The logs write the name between "<" and ">" themselves.
        if (name.size() > 2 && name.front() == '<' && name.back() == '>') {
            name = name.substr(1, name.size() - 2);
        }
        requester = name;
    }
}

void batch_transaction::queue(dp::registrar& reg) {
    for (dp::transaction_command* command : commands) {
        if (is_open(*command) && command->target.setting != nullptr) {
            check_instance(*command);
        }
        if (is_open(*command)) {
            command->map_input_value();
        }
    }
    reg.queue_transaction(this);
}

void batch_transaction::execute_step(dp::registrar& reg, dp::plugin_list& plugins) {
    const std::int32_t before = step;
    dp::setting_transaction::execute_step(reg, plugins);
    if (step != before && on_step_end_) {
        on_step_end_(*this);
    }
}

void batch_transaction::on_execute_step(dp::registrar& reg, dp::plugin_list& plugins) {
    if (step == execution_step) {
        keep_reads_in_order();
    }
    dp::setting_transaction::on_execute_step(reg, plugins);
}

// The cache answers reads before any write of the transaction is executed, with the old value.
// Instances that the transaction both writes and reads are therefore removed from the cache, so
// that the owner of the setting answers in order.
void batch_transaction::keep_reads_in_order() {
    std::unordered_map<dp::setting*, std::unordered_set<std::uint32_t>> written;
    for (const dp::transaction_command* command : commands) {
        if (is_open(*command) && !is_read(*command)) {
            written[command->target.setting].insert(dp::parse_instance(command->target.instance));
        }
    }
    if (written.empty()) {
        return;
    }
    for (const dp::transaction_command* command : commands) {
        if (!is_open(*command) || command->operation != dp::op_get) {
            continue;
        }
        const auto found = written.find(command->target.setting);
        const std::uint32_t instance = dp::parse_instance(command->target.instance);
        if (found != written.end() && found->second.contains(instance)) {
            command->target.setting->invalidate_instance(instance);
        }
    }
}

void batch_transaction::on_transaction_complete(dp::registrar& /*reg*/) {
    is_complete_ = true;
}

void batch_transaction::on_transaction_event(dp::registrar& /*reg*/) {
    commands.update_status();
}

}  // namespace dp_host
