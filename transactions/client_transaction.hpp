#ifndef DP_TRANSACTIONS_CLIENT_TRANSACTION_HPP
#define DP_TRANSACTIONS_CLIENT_TRANSACTION_HPP

#include <map>
#include <string>

#include "common/export.hpp"
#include "transactions/setting_transaction.hpp"
#include "transactions/transaction_command.hpp"

namespace dp {

/// A transaction that a client builds command by command. Owns its commands.
class DP_API client_transaction : public setting_transaction {
  public:
    /// Called when the transaction is complete; may delete the transaction.
    class completion_callback {
      public:
        /// `trans` is complete: the statuses of its commands are final.
        virtual void operator()(registrar& reg, client_transaction* trans) = 0;

      protected:
        ~completion_callback() = default;
    };

    /// `on_completion` is not owned, must outlive the transaction, and may be null.
    explicit client_transaction(completion_callback* on_completion = nullptr);
    ~client_transaction() override;

    void on_transaction_complete(registrar& reg) override;
    void on_transaction_event(registrar& reg) override;

    /// Stores a copy of `command` under its qualified name: configuration, setting and the
    /// command's instance text. Replaces a command that is already stored under that name, so a
    /// transaction cannot write and then read a setting. Only a command with status 0 is executed;
    /// a new one has 255.
    void add_command(const std::string& configuration_name, const std::string& setting_name,
                     transaction_command& command);

    /// Resolves the name of every command (status 16 when it does not resolve), maps its input
    /// value unless `no_input_mapping` is set, and appends it to `commands` in the order of the
    /// names, which is not the order in which they were added. A name that does not resolve
    /// affects no other command. Then hands the transaction to the registrar. Call it once.
    ///
    /// A setting without an owner is not noticed: no plug-in answers its commands, and they end
    /// with status 0 and without being complete. Only commands from batch entries get status 17 for
    /// it.
    void queue(registrar& reg);

    std::map<std::string, transaction_command> requests;  ///< by qualified name
    completion_callback* completion;                      ///< not owned; may be null
};

}  // namespace dp

#endif
