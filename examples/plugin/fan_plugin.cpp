#include "fan_plugin.hpp"

#include <sys/timerfd.h>
#include <unistd.h>
#include <settings/instance_number.hpp>
#include <transactions/command_status.hpp>

#include <algorithm>

namespace {

constexpr std::int32_t no_such_fan = 101;
constexpr long answer_time_ns = 20'000'000;

bool is_open(const dp::transaction_command& command, const dp::plugin* owner) {
    // Looking at `complete` alone is not enough: a line whose first word is not a status is a
    // command with status 255 that is not complete.
    return command.status == dp::command_status::success && !command.complete &&
           command.target.setting != nullptr && command.target.setting->owner == owner;
}

}  // namespace

bool speed_element::map_value(std::string* value) {
    if (!value->empty() && value->back() == '%') {
        value->pop_back();
    }
    return true;
}

std::int32_t speed_element::validate(const std::string& value) {
    const bool is_number = !value.empty() && value.size() <= 3 &&
                           value.find_first_not_of("0123456789") == std::string::npos;
    return is_number && std::stoi(value) >= 20 && std::stoi(value) <= 100 ? 0 : not_a_speed;
}

fan_plugin::fan_plugin()
    : plugin("fans", settings_owner), timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC)) {
    fans_.add_setting(&speed_);
}

fan_plugin::~fan_plugin() {
    close(timer_);
}

void fan_plugin::on_start(dp::registrar& /*reg*/) {}

void fan_plugin::on_stop(dp::registrar& /*reg*/) {}

// Every settings owner gets every transaction, also those without commands for it.
void fan_plugin::process_transaction(dp::registrar& reg, dp::transaction* trans) {
    auto* const settings = dynamic_cast<dp::setting_transaction*>(trans);
    const bool has_work =
        settings != nullptr &&
        std::any_of(settings->commands.begin(), settings->commands.end(),
                    [this](const auto* command) { return is_open(*command, this); });
    if (!has_work) {
        trans->substep_complete(reg, this);
        return;
    }
    // The host runs one transaction at a time, and keeps it until it is complete.
    waiting_ = settings;
    const itimerspec answer{{}, {0, answer_time_ns}};
    timerfd_settime(timer_, 0, &answer, nullptr);
}

void fan_plugin::on_answer(dp::registrar& reg) {
    std::uint64_t expirations = 0;
    if (read(timer_, &expirations, sizeof expirations) != sizeof expirations ||
        waiting_ == nullptr) {
        return;
    }
    dp::setting_transaction& trans = *waiting_;
    waiting_ = nullptr;
    for (dp::transaction_command* command : trans.commands) {
        if (is_open(*command, this)) {
            execute(*command);
        }
    }
    // Exactly once: a second call would end the sub-step of another plug-in.
    trans.substep_complete(reg, this);
    fans_.changed = 0;
}

void fan_plugin::execute(dp::transaction_command& command) {
    // The library checks the instances of deletes, not those of reads and writes, and takes "2x"
    // for 2.
    const std::uint32_t fan = dp::parse_instance(command.target.instance);
    if (fan < element_.min_instance || fan > element_.max_instance ||
        command.target.instance != std::to_string(fan)) {
        command.fail(no_such_fan);
        return;
    }
    std::string& speed = speeds_[fan - 1];
    switch (command.operation) {
        case dp::op_set:
        case dp::op_setv:
            speed = command.value_in;
            break;
        case dp::op_delete:
            speed = element_.default_value();
            // The library stores the outcome of reads and writes in the cache, not of deletes.
            speed_.set_instance_value(speed, fan);
            break;
        case dp::op_get:
        case dp::op_getv:
            break;
        default:
            command.fail(dp::command_status::unknown_operation);
            return;
    }
    command.value_out = speed;
    command.complete = true;
}
