#ifndef DP_HOST_STORE_PLUGIN_HPP
#define DP_HOST_STORE_PLUGIN_HPP

#include <functional>
#include <vector>

#include "host/model/template_model.hpp"
#include "host/model/value_store.hpp"
#include "settings/plugin.hpp"
#include "transactions/setting_transaction.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {

/// The settings owner of the service: it keeps the values of every attribute and carries out the
/// reads, writes and deletes of a transaction in their order. What a transaction changed is made to
/// last in one go before any command of it is answered; if that fails, all of it is undone and each
/// command that would have changed something fails with
/// `dp_service::service_status::not_persisted`.
///
/// A delete of an instance removes its value (the whole row, when the setting is the key of a
/// record); of a single-valued setting, where it is permitted, it brings the default back. Setting
/// the key of a row that does not exist creates the row with its defaults.
///
/// Commands that changed something are marked (`command_marks`). Whoever listens is alerted to a
/// transaction's changes, once they last, and to the failure to make them last.
class store_plugin final : public dp::plugin {
  public:
    /// Makes the store's content last. It gets the transaction that changed it, whose commands are
    /// carried out and marked. 0, or an error number (errno) when it could not.
    using persist_function = std::function<int(const dp::setting_transaction&)>;

    explicit store_plugin(persist_function persist);

    /// Serves the values of `store`, whose attributes are those of `model`, from now on, and fills
    /// the settings' caches. Both stay the caller's and outlive their use here.
    void serve(const template_model& model, value_store& store);

    /// Sends an alert if somebody listens.
    void alert(dp::command::alerts what, unsigned char value) const;

    void on_start(dp::registrar& reg) override;
    void process_transaction(dp::registrar& reg, dp::transaction* trans) override;
    void on_stop(dp::registrar& reg) override;

  private:
    [[nodiscard]] bool is_open(const dp::transaction_command& command) const;
    [[nodiscard]] template_element& element_of(const dp::setting& s) const;
    void make_last(const dp::setting_transaction& trans,
                   const std::vector<dp::transaction_command*>& answered);
    void carry_out(dp::transaction_command& command);
    void read(dp::transaction_command& command, value_store::place at);
    void write(dp::transaction_command& command, value_store::place at);
    void remove(dp::transaction_command& command, value_store::place at);
    [[nodiscard]] bool is_changed(value_store::place at) const;
    void take_back(const std::vector<dp::transaction_command*>& answered);
    void bring_to_cache(value_store::place at) const;

    persist_function persist_;
    const template_model* model_ = nullptr;
    value_store* store_ = nullptr;
};

}  // namespace dp_host

#endif
