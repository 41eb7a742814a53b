#ifndef DP_HOST_SETTINGS_SERVICE_HPP
#define DP_HOST_SETTINGS_SERVICE_HPP

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/fixed_paths.hpp"
#include "host/history/change_history.hpp"
#include "host/history/history_journal.hpp"
#include "host/history/value_change.hpp"
#include "host/host_registrar.hpp"
#include "host/model/template_model.hpp"
#include "host/model/template_registry.hpp"
#include "host/model/update_files.hpp"
#include "host/model/value_store.hpp"
#include "host/model/values_archive.hpp"
#include "host/process/service_files.hpp"
#include "host/store_plugin.hpp"
#include "platform/dp/alerts.hpp"
#include "platform/fm/alerts.hpp"
#include "service_api/server_answer.hpp"
#include "service_api/server_paths.hpp"
#include "support/result.hpp"

namespace dp_host {

/// The service's state: the template's configurations, the values of their settings in memory and
/// on disk, and the history of clients' changes. Pending values (as last set) and current values
/// (in force) are two files; a restart of the simulated server makes the pending values current,
/// and a change of an attribute that needs no restart does so at once.
///
/// With a registry of the template, changes that its dependencies forbid are refused, and values
/// that they set are changed too: see `store_plugin`. A registry that cannot be read is logged, and
/// the service does without it.
class settings_service {
  public:
    /// With `readers`, the members of that group can read the settings, their template, the history
    /// and the status; the process's mask must allow it.
    explicit settings_service(std::optional<gid_t> readers = std::nullopt);
    ~settings_service();
    settings_service(const settings_service&) = delete;
    settings_service& operator=(const settings_service&) = delete;

    /// Reads the template and the values, and writes the files that are missing. First replays the
    /// history's journal.
    ///
    /// Pending values are those of the first complete one of their file, its backup, the file of
    /// current values and its backup, and else the template's defaults; current values those of
    /// their file, its backup, the pending values, and else the defaults. A damaged file is kept
    /// under another name, and what replaced its values is logged, alerted and recorded in the
    /// history. Fails with EBUSY when another process keeps one of the files locked.
    dp_support::result<> start();

    host_registrar& registrar() { return registrar_; }

    [[nodiscard]] std::optional<gid_t> readers() const { return readers_; }

    /// Writes the file of pending values again when it has values that the store does not have,
    /// because an earlier write failed after it had replaced the file, and the file of current
    /// values when it lacks values that need no restart. Call it after transactions.
    void retry_failed_write();

    /// The version of the pending values: `dp_service::values_seal::version_of` their file, a short
    /// text without spaces that changes exactly when a pending value changes.
    [[nodiscard]] const std::string& pending_version() const { return pending_version_; }

    /// What dependencies changed in the last transaction, as lines of the history; empty when they
    /// were taken already.
    std::string take_dependent_lines() { return std::exchange(dependent_lines_, {}); }

    /// Whether an update was decided whose files are not all in place. If memory runs out then, the
    /// model may be incomplete: the service must end, and its next start completes the update.
    [[nodiscard]] bool is_installing() const { return is_installing_; }

    /// Alerts listeners.
    void alert(dp::command::alerts what, unsigned char value) const { plugin_.alert(what, value); }

    /// Restarts the simulated server: pending values become current. Alerts listeners.
    dp_service::server_answer restart();

    /// Updates the simulated server's BIOS from the files in `server_paths::update_folder`, and
    /// restarts it. What becomes of the values is as `carry_over` says; the counts and the values
    /// that were converted or lost are in the answer's report, the history and the log, and the
    /// number of lost values in the alert. New files are all checked and written before the first
    /// one replaces an old file (`update_files`): an update that is interrupted is completed by the
    /// next start, or was never begun. Fails with nothing changed when another process keeps one of
    /// the files locked. `client` is who requested it, for the history: `peer::str`.
    dp_service::server_answer update(const std::string& client = {});

    /// What `update` would do, without doing it: its failure, or its report.
    dp_service::server_answer plan_update();

  private:
    struct update_parts;

    dp_support::result<> persist(const dp::setting_transaction& trans,
                                 const std::vector<value_change>& changes);
    dp_support::result<> write_pending(const std::string& history_lines);
    dp_support::result<> write_values_file(values_archive& to, const value_store& store,
                                           const std::string& history_lines = {});
    dp_support::result<> load_values();
    std::string report_recovery(const values_archive& of, const values_archive::loaded& found,
                                const char* target, const char* instead) const;
    dp_support::result<> prepare_update(update_parts& parts);
    dp_support::result<> install(update_parts parts);
    dp_support::result<> stage(update_parts& parts, const std::string& marker);
    dp_support::result<> complete_installation();
    void announce_update(std::size_t lost) const;
    void send_alerts(dp::command::alerts what, fm::command::alerts fm_what,
                     unsigned char value) const;
    void use(std::unique_ptr<template_model> model, std::unique_ptr<value_store> store,
             std::unique_ptr<template_registry> registry);
    void serve();
    void make_current(std::vector<value_store::key> keys);
    dp_support::result<> try_make_current(const std::vector<value_store::key>& keys);

    void prepare_for_readers() const;

    std::optional<gid_t> readers_;
    host_registrar registrar_;
    store_plugin plugin_;
    std::unique_ptr<template_model> model_;
    std::unique_ptr<value_store> store_;
    std::unique_ptr<template_registry> registry_;     // null: the server has none
    std::unique_ptr<template_model> replaced_model_;  // only while `use` replaces it
    std::unique_ptr<value_store> replaced_store_;
    std::unique_ptr<template_registry> replaced_registry_;
    bool file_differs_ = false;     // from the store, because writing it failed
    bool is_current_late_ = false;  // the current values lack some that need no restart
    bool is_installing_ = false;    // an update was decided, and its files are not all in place
    std::string dependent_lines_;
    std::string pending_version_;
    values_archive pending_file_{dp::fixed_paths::uefi_settings.str()};
    values_archive current_file_{dp::fixed_paths::uefi_current.str()};
    const update_files update_files_;
    change_history history_{dp_service::server_paths::history.str()};
    // The lines of one transaction have at most the size of the history and one line.
    history_journal journal_{service_files::history_journal.str(),
                             dp::fixed_paths::uefi_settings.str(),
                             2 * change_history::default_limit};
};

}  // namespace dp_host

#endif
