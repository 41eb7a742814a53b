#include "transactions/transaction.hpp"

#include "settings/plugin.hpp"

namespace dp {

void transaction::execution_visitor::operator()(plugin* p) const {
    if (p->type != plugin::settings_owner) {
        return;
    }
    ++transaction_.pending;
    p->process_transaction(registrar_, &transaction_);
}

transaction::~transaction() = default;

void transaction::execute_step(registrar& reg, plugin_list& plugins) {
    if (step == 0) {
        return;
    }
    if (step != last_step) {
        last_step = step;
        on_execute_step(reg, plugins);
    }
    if (pending == 0) {
        on_transaction_event(reg);
        --step;
    }
}

void transaction::transaction_complete(registrar& reg) {
    on_transaction_complete(reg);
}

void transaction::substep_complete(registrar& reg, plugin* p) {
    if (pending == 0) {
        return;
    }
    --pending;
    on_substep_complete(reg, p);
}

}  // namespace dp
