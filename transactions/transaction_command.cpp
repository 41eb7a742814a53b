#include "transactions/transaction_command.hpp"

#include <iomanip>
#include <ostream>
#include <sstream>

#include "batch/batch_file_entry.hpp"
#include "common/numbers.hpp"
#include "common/quoting.hpp"
#include "settings/instance_number.hpp"
#include "settings/registrar.hpp"
#include "settings/setting_element.hpp"
#include "transactions/command_status.hpp"
#include "transactions/terse_line.hpp"

namespace dp {
transaction_command::transaction_command(registrar* reg, batch_file_entry& entry) {
    const auto entry_status = parse_unsigned(entry.status);
    if (entry_status.ok && entry_status.value < 256) {
        status = static_cast<std::int32_t>(entry_status.value);
        complete = status != command_status::success;
    }
    const auto entry_correlator = parse_unsigned(entry.detail);
    correlator = entry_correlator.ok ? entry_correlator.value : 0;
    tid = entry.tid;
    operation = map_operation(entry.operation);
    if (operation == op_unknown) {
        fail(command_status::unknown_operation);
    }
    target.setting = reg == nullptr ? nullptr : reg->resolve(entry.name);
    target.instance = entry.name.instance;
    if (target.setting == nullptr) {
        fail(command_status::unresolved);
    } else if (target.setting->owner == nullptr) {
        fail(command_status::no_owner);
    }
    value_in = entry.value_in;
    value_out = entry.value_out;
}

transaction_command::transaction_command(operations op, setting* target_setting,
                                         setting::cache::entry& entry)
    : operation(op) {
    target.setting = target_setting;
    if (entry.instance < no_instance) {
        target.instance = std::to_string(entry.instance);
    }
    if (op == op_set || op == op_getv || op == op_setv) {
        value_in = entry.value;
    }
    if (op == op_get || op == op_setv) {
        value_out = entry.value;
    }
}

void transaction_command::fail(std::int32_t code) {
    if (status == command_status::success) {
        status = code;
    }
    complete = true;
}

void transaction_command::setup() {
    if (status != command_status::success || complete || operation != op_get ||
        target.setting == nullptr) {
        return;
    }
    if (target.setting->get_instance_value(&value_out, parse_instance(target.instance))) {
        complete = true;
    }
}

void transaction_command::map_input_value() {
    if (target.setting == nullptr || (operation != op_set && operation != op_setv)) {
        return;
    }
    if (!target.setting->element->map_value(&value_in)) {
        fail(command_status::value_not_mapped);
    }
}

// NOLINTNEXTLINE(readability-make-member-function-const): changes the target's cache.
void transaction_command::finish() {
    if (!complete || target.setting == nullptr) {
        return;
    }
    const std::uint32_t instance = parse_instance(target.instance);
    if (status == command_status::value_not_known) {
        target.setting->invalidate_instance(instance);
        return;
    }
    if (status != command_status::success) {
        return;
    }
    switch (operation) {
        case op_get:
        case op_getv:
        case op_setv:  // the value as the plug-in set it
            target.setting->set_instance_value(value_out, instance);
            break;
        case op_set:
            target.setting->set_instance_value(value_in, instance);
            break;
        default:
            break;
    }
}

void transaction_command::write_terse_output(std::ostream& os) {
    if (tid.empty()) {
        tid = "<none>";
    }
    os << terse_line{status, correlator, tid, operation, target.get_name(), value_in, value_out};
}

std::ostream& operator<<(std::ostream& os, const transaction_command& command) {
    // A separate stream, so that the caller's flags, fill and width have no effect.
    std::ostringstream line;
    line.imbue(std::locale::classic());
    const auto quoted = [](const std::string& value) { return add_quotes(add_backslash(value)); };
    line << std::right << std::setw(3) << command.status << ' ' << std::left << std::setw(6)
         << command.correlator << ' ' << std::setw(10) << command.tid << ' ' << std::setw(10)
         << map_operation(command.operation) << ' ' << std::setw(30) << command.target.get_name()
         << ' ' << std::setw(10) << quoted(command.value_in) << ' ' << std::setw(10)
         << quoted(command.value_out) << ' ';
    os.width(0);
    return os << line.view();
}

}  // namespace dp
