#ifndef DP_HOST_STORE_PLUGIN_HPP
#define DP_HOST_STORE_PLUGIN_HPP

#include <functional>
#include <vector>

#include "host/model/template_model.hpp"
#include "host/model/value_store.hpp"
#include "settings/plugin.hpp"
#include "support/result.hpp"
#include "transactions/setting_transaction.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {

/// The service's settings owner: keeps the values of all attributes and executes a transaction's
/// reads, writes and deletes in their order. The changes of a transaction are persisted together
/// before any command of it is answered. If that fails, all of them are undone, and every command
/// that would have changed something fails with `service_status::not_persisted`.
///
/// A delete of an instance removes its value, and all fields of the row when the setting is a
/// record's key. A delete of a single-valued setting, where it is permitted, restores the default.
/// Setting the key of a row that does not exist creates the row with its defaults.
///
/// Commands that changed something are flagged (`change_flags`). Listeners are alerted when the
/// changes of a transaction were persisted, and when that failed.
class store_plugin final : public dp::plugin {
  public:
    /// Writes the store's content to the disk. Its argument is the transaction that changed it,
    /// whose commands are executed and flagged. The code of a failure is a value of errno.
    using persist_function = std::function<dp_support::result<>(const dp::setting_transaction&)>;

    explicit store_plugin(persist_function persist);

    /// From now on, serves the values of `store`, whose attributes are those of `model`, and fills
    /// the settings' caches. Neither is owned; both must outlive their use here.
    void serve(const template_model& model, value_store& store);

    /// Sends an alert if there are listeners.
    void alert(dp::command::alerts what, unsigned char value) const;

    void on_start(dp::registrar& reg) override;
    void process_transaction(dp::registrar& reg, dp::transaction* trans) override;
    void on_stop(dp::registrar& reg) override;

  private:
    [[nodiscard]] bool is_open(const dp::transaction_command& command) const;
    [[nodiscard]] template_element& element_of(const dp::setting& s) const;
    std::vector<value_store::key> execute_and_persist(dp::setting_transaction& trans);
    void persist(const dp::setting_transaction& trans,
                 const std::vector<dp::transaction_command*>& answered);
    void execute(dp::transaction_command& command);
    void read(dp::transaction_command& command, value_store::key at);
    void write(dp::transaction_command& command, value_store::key at);
    void remove(dp::transaction_command& command, value_store::key at);
    [[nodiscard]] bool is_changed(value_store::key at) const;
    void rollback(const std::vector<dp::transaction_command*>& answered);
    void refresh_cache(value_store::key at) const;

    persist_function persist_;
    const template_model* model_ = nullptr;
    value_store* store_ = nullptr;
};

}  // namespace dp_host

#endif
