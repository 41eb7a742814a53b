#ifndef DP_HOST_STORE_PLUGIN_HPP
#define DP_HOST_STORE_PLUGIN_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "host/history/value_change.hpp"
#include "host/model/template_model.hpp"
#include "host/model/template_registry.hpp"
#include "host/model/value_store.hpp"
#include "service_api/registry_dependencies.hpp"
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
/// With a registry, the dependencies decide about the writes of a transaction as a whole
/// (`dp_service::decide`): one that they forbid fails with `forbidden_by_dependency`, and the
/// values that they set are changed after the commands were executed. A write of the default to an
/// attribute that they make read-only succeeds and changes nothing, so that a collection with such
/// attributes can be reset.
///
/// Listeners are alerted when the changes of a transaction were persisted, and when that failed.
class store_plugin final : public dp::plugin {
  public:
    /// Writes the store's content to the disk. Its arguments are the transaction that changed it,
    /// whose commands are executed, and the changes in the order in which they were made: of a row
    /// that is created or removed only that of its key. The code of a failure is a value of errno.
    using persist_function = std::function<dp_support::result<>(const dp::setting_transaction&,
                                                                const std::vector<value_change>&)>;

    explicit store_plugin(persist_function persist);

    /// From now on, serves the values of `store`, whose attributes are those of `model`, and fills
    /// the settings' caches. `registry` is that of `model`, or null, and has the values of `store`.
    /// None is owned; all must outlive their use here.
    void serve(const template_model& model, value_store& store, template_registry* registry);

    /// Sends an alert if there are listeners.
    void alert(dp::command::alerts what, unsigned char value) const;

    void on_start(dp::registrar& reg) override;
    void process_transaction(dp::registrar& reg, dp::transaction* trans) override;
    void on_stop(dp::registrar& reg) override;

  private:
    using command_list = std::vector<dp::transaction_command*>;

    [[nodiscard]] bool is_open(const dp::transaction_command& command) const;
    [[nodiscard]] template_element& element_of(const dp::setting& s) const;
    std::vector<value_store::key> execute_and_persist(dp::setting_transaction& trans);
    void persist(const dp::setting_transaction& trans, const command_list& answered);
    void check(dp::transaction_command& command) const;
    [[nodiscard]] bool is_protected(const dp::setting& s) const;
    void execute_decided(const command_list& commands);
    std::vector<dp_service::registry_dependencies::change> decide(const command_list& commands);
    [[nodiscard]] bool is_kept_at_default(const dp::transaction_command& command,
                                          std::uint32_t attribute) const;
    void apply(const std::vector<dp_service::registry_dependencies::change>& changes);
    void undo_changes();
    void execute(dp::transaction_command& command);
    void read(dp::transaction_command& command, value_store::key at);
    void write(dp::transaction_command& command, value_store::key at);
    void remove(dp::transaction_command& command, value_store::key at);
    [[nodiscard]] bool is_changed(value_store::key at) const;
    void rollback(const command_list& answered);
    void refresh_cache(value_store::key at) const;

    persist_function persist_;
    const template_model* model_ = nullptr;
    value_store* store_ = nullptr;
    template_registry* registry_ = nullptr;

    // Of the transaction that is executed.
    std::vector<value_change> changes_;
    std::size_t dependent_changes_ = 0;  // of these, made by dependencies
    command_list kept_;                  // writes of defaults that leave the values as they are
};

}  // namespace dp_host

#endif
