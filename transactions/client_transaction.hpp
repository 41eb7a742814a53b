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
        virtual void operator()(registrar& reg, client_transaction* trans) = 0;

      protected:
        ~completion_callback() = default;
    };

    /// `on_completion` is not owned, outlives the transaction and may be null.
    explicit client_transaction(completion_callback* on_completion = nullptr);
    ~client_transaction() override;

    void on_transaction_complete(registrar& reg) override;
    void on_transaction_event(registrar& reg) override;

    /// Stores a copy of `command` under its qualified name: configuration, setting and the
    /// command's instance text. A command already stored under that name is replaced.
    void add_command(const std::string& configuration_name, const std::string& setting_name,
                     transaction_command& command);

    /// Resolves every command's name (status 16 when it does not resolve), maps its input value,
    /// lists the commands by name and hands the transaction to the registrar. Called once.
    void queue(registrar& reg);

    std::map<std::string, transaction_command> requests;
    completion_callback* completion;
};

}  // namespace dp

#endif
