#include "settings/plugin.hpp"

#include <ostream>
#include <utility>

#include "transactions/transaction.hpp"

namespace dp {

plugin::plugin(std::string plugin_name, types plugin_type, std::uint8_t alert_source)
    : name(std::move(plugin_name)), type(plugin_type), source(alert_source) {}

void plugin::process_transaction(registrar& reg, transaction* trans) {
    trans->substep_complete(reg, this);
}

void plugin::on_event(registrar& /*reg*/, const message_event& /*event*/) {}

void plugin::on_event(registrar& /*reg*/, const file_event& /*event*/) {}

void plugin::on_add_configuration(registrar& /*reg*/, configuration* /*config*/) {}

void plugin::on_unregister_configuration(registrar& /*reg*/, configuration* /*config*/) {}

void plugin::on_remove_configuration(registrar& /*reg*/, configuration* /*config*/) {}

const char* plugin::map(types type) {
    switch (type) {
        case template_owner:
            return "template_owner";
        case settings_owner:
            return "settings_owner";
        case client:
            return "client";
        default:
            return "unknown";
    }
}

std::ostream& operator<<(std::ostream& os, const plugin& p) {
    return os << p.name << ", type= " << plugin::map(p.type);
}

}  // namespace dp
