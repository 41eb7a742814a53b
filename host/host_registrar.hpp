#ifndef DP_HOST_HOST_REGISTRAR_HPP
#define DP_HOST_HOST_REGISTRAR_HPP

#include <deque>
#include <string>

#include "host/model/template_model.hpp"
#include "settings/plugin_list.hpp"
#include "settings/registrar.hpp"

namespace dp_host {

/// The library's view of the service: settings by name, plug-ins, and the queue of transactions.
/// Everything runs on the thread that calls `run_queued`.
class host_registrar final : public dp::registrar {
  public:
    dp::setting* resolve(const dp::qualified_setting_name& name) override;
    dp::setting* find_setting(const std::string& configuration_name,
                              const std::string& setting_name) override;
    void queue_transaction(dp::transaction* trans) override;

    /// Adds a plug-in to the list and starts it. Not owned; it must outlive `remove_plugins`.
    void add_plugin(dp::plugin* p);

    /// Stops the plug-ins, the last one first, and removes them from the list.
    void remove_plugins();

    /// From now on, names are resolved in `model`; in none if it is null. Notifies the plug-ins of
    /// removed and added configurations. Not owned; the previous model must still exist.
    void use_model(const template_model* model);

    /// Runs every queued transaction to its end, also those that are queued meanwhile.
    void run_queued();

  private:
    void run(dp::transaction& trans);

    const template_model* model_ = nullptr;
    dp::plugin_list plugins_;
    std::deque<dp::transaction*> queue_;
};

}  // namespace dp_host

#endif
