#ifndef DP_HOST_EXCHANGE_BATCH_TRANSACTION_HPP
#define DP_HOST_EXCHANGE_BATCH_TRANSACTION_HPP

#include <functional>
#include <string>
#include <vector>

#include "transactions/setting_transaction.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {

/// The commands of one batch file as a transaction: every line of the file, in its order, also when
/// several aim at the same setting. A read behind a write of the same instance gives what was
/// written.
class batch_transaction final : public dp::setting_transaction {
  public:
    using listener = std::function<void(batch_transaction&)>;

    /// The commands stay the caller's and in their place until the transaction is complete.
    /// `on_step_end`, if there is one, is called whenever a step ended.
    explicit batch_transaction(std::vector<dp::transaction_command>& batch,
                               listener on_step_end = nullptr);

    /// Checks the instances that commands name, maps their values and hands the transaction to the
    /// registrar. Called once.
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
