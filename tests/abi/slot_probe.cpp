#include "batch/batch_file_intf.hpp"
#include "settings/configuration.hpp"
#include "settings/plugin.hpp"
#include "transactions/client_transaction.hpp"
#include "transactions/setting_transaction.hpp"
#include "transactions/transaction.hpp"

// Derived classes as a customer writes them. They are never run: the test reads in which slot the
// compiler puts each operation.
namespace slot_probe {

class plugin final : public dp::plugin {
  public:
    plugin();
    void on_start(dp::registrar& reg) override;
    void process_transaction(dp::registrar& reg, dp::transaction* trans) override;
    void on_event(dp::registrar& reg, const message_event& event) override;
    void on_event(dp::registrar& reg, const file_event& event) override;
    void on_stop(dp::registrar& reg) override;
    void on_add_configuration(dp::registrar& reg, dp::configuration* config) override;
    void on_unregister_configuration(dp::registrar& reg, dp::configuration* config) override;
    void on_remove_configuration(dp::registrar& reg, dp::configuration* config) override;
};

plugin::plugin() : dp::plugin("slot_probe", client) {}
void plugin::on_start(dp::registrar& /*reg*/) {}
void plugin::process_transaction(dp::registrar& /*reg*/, dp::transaction* /*trans*/) {}
void plugin::on_event(dp::registrar& /*reg*/, const message_event& /*event*/) {}
void plugin::on_event(dp::registrar& /*reg*/, const file_event& /*event*/) {}
void plugin::on_stop(dp::registrar& /*reg*/) {}
void plugin::on_add_configuration(dp::registrar& /*reg*/, dp::configuration* /*config*/) {}
void plugin::on_unregister_configuration(dp::registrar& /*reg*/, dp::configuration* /*config*/) {}
void plugin::on_remove_configuration(dp::registrar& /*reg*/, dp::configuration* /*config*/) {}

class settings_callback final : public dp::configuration::settings_callback {
  public:
    void operator()(dp::setting* s, int arg) override;
};

void settings_callback::operator()(dp::setting* /*s*/, int /*arg*/) {}

class transaction final : public dp::transaction {
  public:
    ~transaction() override;
    void execute_step(dp::registrar& reg, dp::plugin_list& plugins) override;
    void on_execute_step(dp::registrar& reg, dp::plugin_list& plugins) override;
    void transaction_complete(dp::registrar& reg) override;
    void substep_complete(dp::registrar& reg, dp::plugin* p) override;
    void on_substep_complete(dp::registrar& reg, dp::plugin* p) override;
    void on_transaction_complete(dp::registrar& reg) override;
    void on_transaction_event(dp::registrar& reg) override;
};

transaction::~transaction() = default;
void transaction::execute_step(dp::registrar& /*reg*/, dp::plugin_list& /*plugins*/) {}
void transaction::on_execute_step(dp::registrar& /*reg*/, dp::plugin_list& /*plugins*/) {}
void transaction::transaction_complete(dp::registrar& /*reg*/) {}
void transaction::substep_complete(dp::registrar& /*reg*/, dp::plugin* /*p*/) {}
void transaction::on_substep_complete(dp::registrar& /*reg*/, dp::plugin* /*p*/) {}
void transaction::on_transaction_complete(dp::registrar& /*reg*/) {}
void transaction::on_transaction_event(dp::registrar& /*reg*/) {}

class setting_transaction final : public dp::setting_transaction {
  public:
    ~setting_transaction() override;
    void on_transaction_complete(dp::registrar& reg) override;
    void on_transaction_event(dp::registrar& reg) override;
};

setting_transaction::~setting_transaction() = default;
void setting_transaction::on_transaction_complete(dp::registrar& /*reg*/) {}
void setting_transaction::on_transaction_event(dp::registrar& /*reg*/) {}

class completion_callback final : public dp::client_transaction::completion_callback {
  public:
    void operator()(dp::registrar& reg, dp::client_transaction* trans) override;
};

void completion_callback::operator()(dp::registrar& /*reg*/, dp::client_transaction* /*trans*/) {}

class batch_file_intf final : public dp::batch_file_intf {
  public:
    void process_entry(dp::batch_file_entry& entry, dp::registrar* reg) override;
};

void batch_file_intf::process_entry(dp::batch_file_entry& /*entry*/, dp::registrar* /*reg*/) {}

}  // namespace slot_probe
