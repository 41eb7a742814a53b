#ifndef DP_TRANSACTIONS_TRANSACTION_HPP
#define DP_TRANSACTIONS_TRANSACTION_HPP

#include <cstdint>

#include "common/export.hpp"

namespace dp {

class plugin;
class plugin_list;
class registrar;

/// Work that the host runs through its plug-ins in steps. The host calls `execute_step` until
/// `step` is 0, and then `transaction_complete`, all on its dispatching thread.
class DP_API transaction {
  public:
    /// Applied to each plug-in in a step that the plug-ins execute. Adds a pending sub-step and
    /// calls `process_transaction` for a settings owner; skips any other plug-in.
    class DP_API execution_visitor {
      public:
        /// Neither is owned.
        execution_visitor(registrar& reg, transaction& trans)
            : registrar_(reg), transaction_(trans) {}
        /// Starts the sub-step of a plug-in.
        void operator()(plugin* p) const;

      private:
        registrar& registrar_;
        transaction& transaction_;
    };

    transaction() = default;
    transaction(const transaction&) = delete;
    transaction& operator=(const transaction&) = delete;

    // The order of the virtual functions is part of the binary interface.

    virtual ~transaction() = 0;

    /// Executes the current step, unless that was done already, and ends it when no sub-step is
    /// pending. Does nothing when no step remains.
    ///
    /// A call runs at most one step. If `step` is the same afterwards, a plug-in answers later:
    /// wait for the events of the plug-ins, and call it again after `substep_complete` was called.
    /// Calling it in between is harmless and does nothing.
    virtual void execute_step(registrar& reg, plugin_list& plugins);

    /// Executes the current step; called once for each step.
    virtual void on_execute_step(registrar& reg, plugin_list& plugins) = 0;

    /// Called by the host after the last step.
    virtual void transaction_complete(registrar& reg);

    /// Called by a plug-in when it has finished its sub-step. Ignored when none is pending. Pending
    /// sub-steps are only counted: a second call for the same plug-in ends the sub-step of another
    /// one, whose commands stay open.
    virtual void substep_complete(registrar& reg, plugin* p);

    /// Called for each sub-step that a plug-in completes.
    virtual void on_substep_complete(registrar& reg, plugin* p) = 0;

    /// Called by `transaction_complete`.
    virtual void on_transaction_complete(registrar& reg) = 0;

    /// Called at the end of each step.
    virtual void on_transaction_event(registrar& reg) = 0;

    std::int32_t last_step = 0;  ///< the step for which `on_execute_step` last ran
    std::int32_t step = 2;       ///< steps still to run: 2 validates, 1 executes
    std::uint32_t pending = 0;   ///< sub-steps of the current step still to complete
};

}  // namespace dp

#endif
