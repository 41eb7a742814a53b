#ifndef DP_TRANSACTIONS_SETTING_TRANSACTION_HPP
#define DP_TRANSACTIONS_SETTING_TRANSACTION_HPP

#include <cstdint>
#include <iosfwd>
#include <string>

#include "common/export.hpp"
#include "transactions/transaction.hpp"
#include "transactions/transaction_command_list.hpp"

namespace dp {

/// A transaction that carries setting commands.
class DP_API setting_transaction : public transaction {
  public:
    /// Applied to each command when a plug-in ends its sub-step. Finishes the command if it is
    /// complete and the plug-in owns its setting.
    class DP_API command_finish_visitor {
      public:
        /// `finished` has ended its sub-step. It is not owned.
        explicit command_finish_visitor(plugin* finished) : plugin_(finished) {}
        /// Finishes a command.
        void operator()(transaction_command* command) const;

      private:
        plugin* plugin_;
    };

    void on_execute_step(registrar& reg, plugin_list& plugins) override;
    void on_substep_complete(registrar& reg, plugin* p) override;

    /// Returns the first command with that correlator, or null. Linear search: commands are open
    /// data, so any of them may have changed since the last call.
    transaction_command* get_command_by_corr(std::uint32_t correlator);

    /// Writes every command in order, as a terse or a padded line, each followed by a newline and a
    /// flush.
    void write_batch_commands(std::ostream& os, bool terse);

    transaction_command_list commands;  ///< not owned; in execution order
    std::string name;                   ///< the transaction's name in the logs
    std::string requester;              ///< for the host: who requested the transaction
    void* host_data = nullptr;          ///< for the host
    std::int32_t progress = 0;          ///< number of progress records; the logs increment it
};

}  // namespace dp

#endif
