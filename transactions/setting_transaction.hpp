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
    /// Applied to each command when a plug-in ends its sub-step: finishes a complete command whose
    /// setting that plug-in owns.
    class DP_API command_finish_visitor {
      public:
        explicit command_finish_visitor(plugin* finished) : plugin_(finished) {}
        void operator()(transaction_command* command) const;

      private:
        plugin* plugin_;
    };

    void on_execute_step(registrar& reg, plugin_list& plugins) override;
    void on_substep_complete(registrar& reg, plugin* p) override;

    /// The first command with that correlator, or null. Searches the list in order: commands are
    /// open data, so any of them may have changed since the last call.
    transaction_command* get_command_by_corr(std::uint32_t correlator);

    /// Writes every command in order, each followed by a line end and a flush: its terse line, or
    /// its padded line.
    void write_batch_commands(std::ostream& os, bool terse);

    transaction_command_list commands;
    std::string name;           ///< as the logs show the transaction
    std::string requester;      ///< for the host: who asked
    void* host_data = nullptr;  ///< for the host
    std::int32_t progress = 0;  ///< counts progress records; the logs advance it
};

}  // namespace dp

#endif
