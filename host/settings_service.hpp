#ifndef DP_HOST_SETTINGS_SERVICE_HPP
#define DP_HOST_SETTINGS_SERVICE_HPP

#include <memory>
#include <string>
#include <vector>

#include "bios/template_info.hpp"
#include "common/fixed_paths.hpp"
#include "host/history/change_history.hpp"
#include "host/history/history_note.hpp"
#include "host/host_registrar.hpp"
#include "host/model/template_model.hpp"
#include "host/model/value_store.hpp"
#include "host/process/service_files.hpp"
#include "host/store_plugin.hpp"
#include "platform/dp/alerts.hpp"
#include "platform/fm/alerts.hpp"
#include "service_api/server_answer.hpp"
#include "service_api/server_paths.hpp"
#include "support/result.hpp"

namespace dp_host {

/// The service's state: the template's configurations and the values of their settings, in memory
/// and on disk, and the history of what clients changed. Pending values (as last set) and current
/// values (in force) are two files; a restart of the simulated server makes the one the other.
class settings_service {
  public:
    settings_service();
    ~settings_service();
    settings_service(const settings_service&) = delete;
    settings_service& operator=(const settings_service&) = delete;

    /// Reads the template and the values and writes what is missing: files of values from the
    /// template's defaults (pending ones from the current ones, if only those are there), and the
    /// build id. What a service that was killed left out of the history comes there first. Returns
    /// why the service can't begin; empty when it has begun.
    std::string start();

    host_registrar& registrar() { return registrar_; }

    /// To be called when transactions were run. If the file of pending values does not hold what
    /// the commands were told, because writing it failed half-way, tries to put it right.
    void settle();

    /// Restarts the simulated server: pending values become current. Alerts whoever listens.
    dp_service::server_answer restart();

    /// Updates the simulated server's BIOS from the parts that lie ready, and restarts it. Values
    /// of attributes that the new template still has, and that are still valid, stay; all others
    /// are the new defaults, and so are read-only attributes for which it has one. Everything is
    /// examined and written beside the old files first; then they are replaced one behind the
    /// other. Interrupted anywhere, the update can be run again. Alerts whoever listens as soon as
    /// there is another BIOS.
    dp_service::server_answer update();

  private:
    struct update_parts;

    int persist(const dp::setting_transaction& trans);
    dp_support::result<> write_pending(const std::string& history_lines);
    dp_support::result<> write_store(const std::string& path, const value_store& store,
                                     const std::string& history_lines = {});
    std::string load_values();
    dp_service::server_answer prepare_update(update_parts& parts);
    void tell_of(dp::command::alerts what, fm::command::alerts fm_what) const;
    void install(std::unique_ptr<template_model> model, std::unique_ptr<value_store> store);

    host_registrar registrar_;
    store_plugin plugin_;
    std::unique_ptr<template_model> model_;
    std::unique_ptr<value_store> store_;
    bool file_differs_ = false;
    change_history history_{dp_service::server_paths::history.str()};
    // A line of the history is shorter than the history may be.
    history_note note_{service_files::history_note.str(), dp::fixed_paths::uefi_settings.str(),
                       2 * change_history::usual_limit};
};

}  // namespace dp_host

#endif
