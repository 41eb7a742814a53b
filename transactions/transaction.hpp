#ifndef DP_TRANSACTIONS_TRANSACTION_HPP
#define DP_TRANSACTIONS_TRANSACTION_HPP

#include <cstdint>

#include "common/export.hpp"

namespace dp {

class plugin;
class plugin_list;
class registrar;

/// Work that the host carries through its plug-ins in steps. The host calls `execute_step` until
/// `step` is 0 and then `transaction_complete`, all on its dispatching thread.
class DP_API transaction {
  public:
    /// Applied to each plug-in when a step hands the transaction out: a settings owner gets a
    /// sub-step and its `process_transaction` called; any other plug-in is skipped.
    class DP_API execution_visitor {
      public:
        execution_visitor(registrar& reg, transaction& trans)
            : registrar_(reg), transaction_(trans) {}
        void operator()(plugin* p) const;

      private:
        registrar& registrar_;
        transaction& transaction_;
    };

    transaction() = default;
    transaction(const transaction&) = delete;
    transaction& operator=(const transaction&) = delete;

    // The order of the virtual operations is part of the binary interface.

    virtual ~transaction() = 0;

    /// Runs the present step unless it already ran; ends it when no sub-step is pending. Does
    /// nothing when no step remains.
    virtual void execute_step(registrar& reg, plugin_list& plugins);
    virtual void on_execute_step(registrar& reg, plugin_list& plugins) = 0;

    /// The host calls it after the last step.
    virtual void transaction_complete(registrar& reg);

    /// A plug-in calls it when it is done with its sub-step. Ignored when none is pending.
    virtual void substep_complete(registrar& reg, plugin* p);
    virtual void on_substep_complete(registrar& reg, plugin* p) = 0;
    virtual void on_transaction_complete(registrar& reg) = 0;

    /// A step ended.
    virtual void on_transaction_event(registrar& reg) = 0;

    std::int32_t last_step = 0;  ///< the step for which `on_execute_step` last ran
    std::int32_t step = 2;       ///< steps still to run: 2 validates, 1 executes
    std::uint32_t pending = 0;   ///< sub-steps still working on the present step
};

}  // namespace dp

#endif
