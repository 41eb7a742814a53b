#ifndef DP_HOST_EXCHANGE_BATCH_TRANSACTION_HPP
#define DP_HOST_EXCHANGE_BATCH_TRANSACTION_HPP

#include <functional>
#include <vector>

#include "transactions/setting_transaction.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {

/// The commands of one batch file as a transaction, in the order of the file, also when several
/// have the same target: a read after a write of the same instance returns what was written.
class batch_transaction final : public dp::setting_transaction {
  public:
    using listener = std::function<void(batch_transaction&)>;

    /// `batch` is not owned and must not change until the transaction is complete. `on_step_end`,
    /// if set, is called after every step.
    explicit batch_transaction(std::vector<dp::transaction_command>& batch,
                               listener on_step_end = nullptr);

    /// Checks the instances of the commands, maps their values and queues the transaction at the
    /// registrar. Call it once.
    void queue(dp::registrar& reg);

    void execute_step(dp::registrar& reg, dp::plugin_list& plugins) override;
    void on_execute_step(dp::registrar& reg, dp::plugin_list& plugins) override;
    void on_transaction_complete(dp::registrar& reg) override;
    void on_transaction_event(dp::registrar& reg) override;

    [[nodiscard]] bool is_complete() const { return is_complete_; }

  private:
    void keep_reads_in_order();

    listener on_step_end_;
    bool is_complete_ = false;
};

}  // namespace dp_host

#endif
