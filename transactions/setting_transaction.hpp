#ifndef DP_TRANSACTIONS_SETTING_TRANSACTION_HPP
#define DP_TRANSACTIONS_SETTING_TRANSACTION_HPP

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

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

    /// The first command with that correlator, or null. A list of more than 64 commands has its
    /// correlators indexed at the first call and again when its length changed or a step began;
    /// finding one is then a matter of a few comparisons. One that the index lacks is looked for
    /// command by command. In such a list, a correlator stored since in a command before the
    /// indexed one with that correlator is found only when a step began.
    transaction_command* get_command_by_corr(std::uint32_t correlator);

    /// Writes every command in order, each followed by a line end and a flush: its terse line, or
    /// its padded line.
    void write_batch_commands(std::ostream& os, bool terse);

    transaction_command_list commands;
    std::string name;           ///< as the logs show the transaction
    std::string requester;      ///< for the host: who asked
    void* host_data = nullptr;  ///< for the host
    std::int32_t progress = 0;  ///< counts progress records; the logs advance it

  private:
    DP_LOCAL void index_correlators();

    // Every listed command's correlator and position, sorted.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> by_correlator_;
};

}  // namespace dp

#endif
