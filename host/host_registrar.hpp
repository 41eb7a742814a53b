#ifndef DP_HOST_HOST_REGISTRAR_HPP
#define DP_HOST_HOST_REGISTRAR_HPP

#include <deque>
#include <string>

#include "settings/plugin_list.hpp"
#include "settings/registrar.hpp"
#include "host/model/template_model.hpp"

namespace dp_host {

/// The service as the library sees it: its settings by name, its plug-ins, and the queue of its
/// transactions. Everything happens on the thread that calls `run_queued`.
class host_registrar final : public dp::registrar {
  public:
    dp::setting* resolve(const dp::qualified_setting_name& name) override;
    dp::setting* find_setting(const std::string& configuration_name,
                              const std::string& setting_name) override;
    void queue_transaction(dp::transaction* trans) override;

    /// Starts a plug-in and takes it into the list; it stays the caller's until `remove_plugins`.
    void add_plugin(dp::plugin* p);

    /// Stops the plug-ins, the last one first, and empties the list.
    void remove_plugins();

    /// Resolves names in `model` from now on (null: no name resolves) and tells the plug-ins which
    /// configurations came and went. The model stays the caller's; the one before is still alive.
    void use_model(const template_model* model);

    /// Carries every queued transaction, and those that they queue, through its steps to its end.
    void run_queued();

  private:
    void run(dp::transaction& trans);

    const template_model* model_ = nullptr;
    dp::plugin_list plugins_;
    std::deque<dp::transaction*> queue_;
};

}  // namespace dp_host

#endif
