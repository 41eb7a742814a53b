#include "host/settings_service.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "bios/uefi_build_id.hpp"
#include "host/history/history_time.hpp"
#include "host/history/transaction_id.hpp"
#include "host/model/attribute_mapping.hpp"
#include "host/model/carry_over.hpp"
#include "host/model/read_template.hpp"
#include "host/model/values_file.hpp"
#include "host/model/vital_product_data.hpp"
#include "host/process/bounded_lock.hpp"
#include "host/process/private_folder.hpp"
#include "host/process/replace_under_lock.hpp"
#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "host/process/wall_clock.hpp"
#include "logs/alerts.hpp"
#include "service_api/attribute_registry.hpp"
#include "service_api/change_record.hpp"
#include "service_api/service_status.hpp"
#include "service_api/template_cache.hpp"
#include "settings/configuration.hpp"
#include "support/checked_streams.hpp"
#include "support/decimal.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

using dp_service::service_status::malformed_line;
using dp_service::service_status::not_persisted;
using dp_service::service_status::not_supported;
using dp_support::staged_file;

constexpr std::size_t most_value_lines = 20;
constexpr std::size_t longest_build_id_file = 4096;
constexpr unsigned char most_in_alert = 255;
constexpr std::size_t longest_update_lines = std::size_t{64} * 1024;

// Logs the stored values that could not be loaded, up to a limit.
class load_report {
  public:
    void add(value_store::load_result outcome, const std::string& name) {
        if (outcome == value_store::load_result::loaded) {
            return;
        }
        const bool is_unknown = outcome == value_store::load_result::unknown;
        unknown_ += is_unknown ? 1 : 0;
        if (++lines_ <= most_value_lines) {
            log_line(name, is_unknown ? ": not in the template; dropped its value"
                                      : ": its value is not valid");
        } else if (lines_ == most_value_lines + 1) {
            log_line("more values are not in the template or not valid");
        }
    }

    /// The number of values that the template has no attribute or instance for.
    [[nodiscard]] std::size_t unknown() const { return unknown_; }

  private:
    std::size_t unknown_ = 0;
    std::size_t lines_ = 0;
};

// Loads values under another collection: those of attributes that the template does not have, but
// that it has under the same name in one other collection. Values that were loaded already are not
// replaced.
void load_by_attribute(const named_values& values, const template_model& model, value_store& store,
                       load_report& report) {
    const auto only = attribute_mapping::index(model);
    std::unordered_map<std::string, std::string> collections;  // by the attribute's name
    std::unordered_set<std::string> ambiguous;
    std::unordered_set<const dp::setting*> present;
    dp::qualified_setting_name name;
    for (const auto& entry : values) {
        name.parse(entry.first);
        const auto [found, is_new] = collections.try_emplace(name.setting, name.configuration);
        if (!is_new && found->second != name.configuration) {
            ambiguous.insert(name.setting);
        }
        present.insert(model.find(name.configuration, name.setting));
    }
    for (const auto& [text, value] : values) {
        name.parse(text);
        if (model.find(name.configuration, name.setting) != nullptr) {
            continue;
        }
        const auto found = only.find(name.setting);
        const bool is_moved = found != only.end() && found->second != nullptr &&
                              !present.contains(found->second) && !ambiguous.contains(name.setting);
        if (is_moved) {
            name.configuration = found->second->configuration->name;
        }
        report.add(store.load(name, value, true), text);
        if (is_moved) {
            log_line(text, ": loaded as ", name.get_name());
        }
    }
}

// Loads the values of a file, also those that are not valid: they are the values of the server.
// Returns the number of values that were dropped or got another name.
std::size_t load_all(const named_values& values, const template_model& model, value_store& store) {
    load_report report;
    std::size_t others = 0;
    dp::qualified_setting_name name;
    for (const auto& [text, value] : values) {
        name.parse(text);
        if (model.find(name.configuration, name.setting) == nullptr) {
            ++others;
        } else {
            report.add(store.load(name, value, true), text);
        }
    }
    const std::size_t dropped = report.unknown();
    if (others > 0) {
        load_by_attribute(values, model, store, report);
    }
    return dropped + others;
}

bool every_setting(const dp::setting& /*s*/) {
    return true;
}

bool no_setting(const dp::setting& /*s*/) {
    return false;
}

// The history's line for something that the service itself did.
std::string event_line(const char* target, const std::string& text,
                       const std::string& who = dp_service::change_record::by_service) {
    const dp_service::change_record event{who, history_time(wall_clock()), target, text};
    return event.line() + '\n';
}

// The files that an update replaces.
std::vector<std::string> installed_paths() {
    return {dp::fixed_paths::uefi_template.str(), dp::fixed_paths::uefi_settings.str(),
            dp::fixed_paths::uefi_current.str(), dp_service::server_paths::vital_product_data.str(),
            dp_service::server_paths::registry.str()};
}

// Locks the files that an update replaces, waiting for all of them together as long as for one.
// They stay locked as long as the result exists.
dp_support::result<std::vector<bounded_lock>> lock_installed_files() {
    std::vector<bounded_lock> locks;
    std::uint32_t remaining_ms = bounded_lock::timeout_ms;
    for (const auto& path : installed_paths()) {
        auto lock = bounded_lock::acquire(path, bounded_lock::kind::exclusive, remaining_ms);
        if (!lock) {
            return lock.error();
        }
        locks.push_back(*std::move(lock));
    }
    return locks;
}

// The history's record of a value that an update did not keep under its name.
dp_service::change_record update_record(const std::string& who,
                                        const carry_over_report::entry& value, bool is_lost) {
    const std::string cause = !is_lost ? "the updated BIOS calls " + value.name + " so"
                              : value.new_name.empty() ? "the updated BIOS has no such attribute"
                              : value.now ? "the value is not valid for the updated BIOS"
                                          : "the updated BIOS has no such instance";
    return {who,
            history_time(wall_clock()),
            value.now ? value.new_name : value.name,
            value.now,
            value.value,
            cause};
}

// The history's lines for an update. Those for single values are limited, so that they do not push
// out all earlier changes; values that were lost come first.
std::string update_lines(const std::string& client, const std::string& build_id,
                         const carry_over_report& report) {
    const std::string who =
        text_of(dp_service::change_record::by_service, ",id=", new_transaction_id(),
                client.empty() ? "" : ",", client);
    constexpr const char* of_bios = dp_service::change_record::of_bios;
    std::string lines =
        event_line(of_bios, "updated to " + build_id + ": " + report.summary(), who);
    std::size_t left_out = 0;
    for (const auto* const values : {&report.lost, &report.converted}) {
        for (const auto& value : *values) {
            const std::string line =
                update_record(who, value, values == &report.lost).line() + '\n';
            if (left_out != 0 || lines.size() + line.size() > longest_update_lines) {
                ++left_out;
            } else {
                lines += line;
            }
        }
    }
    if (left_out != 0) {
        lines +=
            event_line(of_bios, text_of(left_out, " more of these values are not listed"), who);
    }
    return lines;
}

// The changes that dependencies made.
std::vector<value_change> dependent_of(const std::vector<value_change>& changes) {
    std::vector<value_change> dependent;
    std::copy_if(changes.begin(), changes.end(), std::back_inserter(dependent),
                 [](const value_change& change) { return !change.cause.empty(); });
    return dependent;
}

std::vector<value_store::key> keys_of(const value_store& store) {
    std::vector<value_store::key> keys;
    store.for_each([&](value_store::key at, const std::string& /*value*/) { keys.push_back(at); });
    return keys;
}

unsigned char clamp_to_alert(std::size_t number) {
    return static_cast<unsigned char>(std::min<std::size_t>(number, most_in_alert));
}

// The registry in a file, if there is one.
struct registry_file {
    std::string text;
    std::unique_ptr<template_registry> registry;  // null when there is no file
};

dp_support::result<registry_file> read_registry(const std::string& path,
                                                const template_model& model) {
    if (is_missing(path)) {
        return registry_file{};
    }
    auto text = read_trusted_file(path, dp_service::registry_size_limit);
    if (!text) {
        return text.error();
    }
    auto registry = template_registry::make(*text, model);
    if (!registry) {
        return dp_support::failure{path + ": " + registry.reason(), registry.code()};
    }
    return registry_file{*std::move(text), *std::move(registry)};
}

// The library opens the file of the build id without checks, so it must be trusted.
void refresh_build_id() {
    const auto checked = check_trusted(dp::fixed_paths::uefi_build_id.str());
    if (!checked) {
        log_error("cannot update the build id: ", checked.reason());
    } else if (update_uefi_build_id_file() == 1) {
        log_line("the build id of the BIOS changed");
    }
}

}  // namespace

settings_service::settings_service(std::optional<gid_t> readers)
    : readers_(readers),
      plugin_([this](const auto& trans, const auto& changes) { return persist(trans, changes); }),
      update_files_(dp_service::server_paths::update_folder.str(), installed_paths()) {
    registrar_.add_plugin(&plugin_);
}

settings_service::~settings_service() {
    registrar_.use_model(nullptr);
    registrar_.remove_plugins();
}

dp_support::result<> settings_service::start() {
    for (const auto& path :
         {dp::fixed_paths::uefi_settings, dp::fixed_paths::uefi_current,
          dp::fixed_paths::uefi_build_id, dp_service::server_paths::vital_product_data}) {
        if (auto checked = check_trusted(path.str()); !checked) {
            return checked;
        }
    }
    history_.complete(journal_.lines_to_replay());
    journal_.remove();
    is_installing_ = update_files_.is_committed();
    if (is_installing_) {
        log_line("an update of the BIOS was interrupted: completing it");
        if (auto completed = complete_installation(); !completed) {
            return completed;
        }
    }
    update_files_.discard();
    const std::string template_path = dp::fixed_paths::uefi_template.str();
    const auto infos = read_template(template_path, dp::fixed_paths::uefi_info.str());
    if (!infos) {
        return infos.error();
    }
    auto model = template_model::make(*infos, &plugin_);
    if (!model) {
        return dp_support::failure{template_path + ": " + model.reason(), model.code()};
    }
    auto store = std::make_unique<value_store>(**model);
    auto file = read_registry(dp_service::server_paths::registry.str(), **model);
    if (!file) {
        log_error("the registry is not used: ", file.reason());
        file = registry_file{};
    }
    use(*std::move(model), std::move(store), std::move(file->registry));
    if (auto loaded = load_values(); !loaded) {
        return loaded;
    }
    serve();
    make_current(keys_of(*store_));
    refresh_build_id();
    prepare_for_readers();
    log_line("serving ", model_->attributes().size(), " attributes in ",
             model_->configurations().size(), " collections");
    return {};
}

// Logs why the file is not used and what its values were replaced by, keeps the damaged files, and
// returns the line for the history. Empty when there is nothing to report.
std::string settings_service::report_recovery(const values_archive& of,
                                              const values_archive::loaded& found,
                                              const char* target, const char* instead) const {
    if (found.problem.empty()) {
        return {};
    }
    const std::string source = found.is_backup ? "its backup" : instead;
    log_error(found.problem, "; using ", source, " instead");
    of.keep_damaged();
    plugin_.alert(dp::command::alerts::persist_failed, found.is_damaged ? EBADMSG : ENOENT);
    plugin_.alert(dp::command::alerts::settings_changed, most_in_alert);
    return event_line(target, found.problem + "; using " + source);
}

dp_support::result<> settings_service::load_values() {
    auto pending = pending_file_.load();
    if (!pending) {
        return pending.error();
    }
    auto current = current_file_.load();
    if (!current) {
        return current.error();
    }
    std::size_t dropped = 0;
    const bool is_first = !pending->content && !current->content;
    if (!is_first) {
        const auto& source = pending->content ? *pending->content : *current->content;
        dropped = load_all(source.values, *model_, *store_);
        pending_version_ = source.version;
    }
    if (!pending->content && !is_first && pending->problem.empty()) {
        log_line(pending_file_.path(), " is missing; using the current values");
    }
    const std::size_t added = store_->add_defaults(is_first ? every_setting : no_setting);
    const std::string pending_line =
        report_recovery(pending_file_, *pending, dp_service::change_record::of_pending_values,
                        current->content ? "the current values" : "the defaults");
    const std::string current_line =
        report_recovery(current_file_, *current, dp_service::change_record::of_current_values,
                        pending->content ? "the pending values" : "the defaults");
    if (!pending->content || pending->is_backup || dropped > 0 || added > 0) {
        if (auto written = write_values_file(pending_file_, *store_, pending_line); !written) {
            return written;
        }
        history_.append(pending_line);
        journal_.remove();
    }
    if (current->content && !current->is_backup) {
        return {};
    }
    value_store values(*model_);
    if (current->is_backup) {
        load_all(current->content->values, *model_, values);
    } else if (!is_first) {
        store_->for_each([&](value_store::key at, const std::string& value) {
            values.load(at.name(), value, true);
        });
    }
    values.add_defaults(is_first ? every_setting : no_setting);
    if (auto written = write_values_file(current_file_, values); !written) {
        return written;
    }
    history_.append(current_line);
    return {};
}

dp_support::result<> settings_service::write_values_file(values_archive& to,
                                                         const value_store& store,
                                                         const std::string& history_lines) {
    // Files of an update that are placed later would replace what is written now.
    if (is_installing_) {
        if (auto completed = complete_installation(); !completed) {
            return completed;
        }
    }
    staged_file file(to.path(), staged_file::durable);
    const std::string version = write_values(store, file.out());
    auto written = file.complete();
    if (written) {
        if (!history_lines.empty()) {
            journal_.write(file.staged_path(), history_lines);
        }
        to.keep_backup();
        written = replace_under_lock(file);
    }
    if (file.is_in_place()) {
        to.remember();
    }
    if (&to == &pending_file_) {
        file_differs_ = !written && file.is_in_place();
        if (written) {
            pending_version_ = version;
        }
    }
    return written;
}

dp_support::result<> settings_service::write_pending(const std::string& history_lines) {
    auto written = write_values_file(pending_file_, *store_, history_lines);
    if (!written) {
        log_error("changes are not persisted: ", written.reason());
    }
    return written;
}

dp_support::result<> settings_service::persist(const dp::setting_transaction& trans,
                                               const std::vector<value_change>& changes) {
    const std::string& who = trans.requester.empty() ? trans.name : trans.requester;
    const std::string lines = history_.lines_of(who, changes);
    auto written = write_pending(lines);
    if (written) {
        history_.append(lines);
        dependent_lines_ = history_.lines_of(who, dependent_of(changes));
    }
    journal_.remove();
    if (written) {
        make_current(store_->changed());
    }
    return written;
}

void settings_service::retry_failed_write() {
    if (file_differs_ || is_installing_) {
        // A failure is logged, and the next call tries again.
        static_cast<void>(write_pending({}));
    }
    if (is_current_late_) {
        make_current(keys_of(*store_));
    }
}

void settings_service::use(std::unique_ptr<template_model> model,
                           std::unique_ptr<value_store> store,
                           std::unique_ptr<template_registry> registry) {
    // Both models exist until nothing refers to the previous one, also if memory runs out
    // meanwhile.
    replaced_registry_ = std::exchange(registry_, std::move(registry));
    replaced_store_ = std::exchange(store_, std::move(store));
    replaced_model_ = std::exchange(model_, std::move(model));
    registrar_.use_model(model_.get());
    serve();
    replaced_registry_.reset();
    replaced_store_.reset();
    replaced_model_.reset();
}

void settings_service::serve() {
    if (registry_ != nullptr) {
        registry_->load(*store_);
    }
    plugin_.serve(*model_, *store_, registry_.get());
}

// Writes those of the pending values `keys` that need no restart to the current values. A failure
// is logged, and `retry_failed_write` tries again.
void settings_service::make_current(std::vector<value_store::key> keys) {
    const auto needs_restart = [&](value_store::key at) {
        return registry_ == nullptr || registry_->is_restart_needed(*at.setting);
    };
    keys.erase(std::remove_if(keys.begin(), keys.end(), needs_restart), keys.end());
    is_current_late_ = false;
    if (keys.empty()) {
        return;
    }
    const auto made = try_make_current(keys);
    if (!made) {
        log_error("changes that need no restart are not current: ", made.reason());
        is_current_late_ = true;
    }
}

dp_support::result<> settings_service::try_make_current(const std::vector<value_store::key>& keys) {
    const auto file = current_file_.load();
    if (!file) {
        return file.error();
    }
    if (!file->content) {
        return dp_support::failure{file->problem.empty() ? current_file_.path() + " is missing"
                                                         : file->problem};
    }
    value_store current(*model_);
    dp::qualified_setting_name name;
    for (const auto& [text, value] : file->content->values) {
        name.parse(text);
        current.load(name, value, true);
    }
    for (const auto& at : keys) {
        if (const std::string* const value = store_->find(at); value != nullptr) {
            current.put(at, *value);
        }
    }
    return current.changed().empty() ? dp_support::result<>()
                                     : write_values_file(current_file_, current);
}

// Files of before, of the library and of the outside tools, and the expansion of the template,
// which readers cannot write.
void settings_service::prepare_for_readers() const {
    if (!readers_) {
        return;
    }
    if (const auto expanded = write_expansion(dp::fixed_paths::uefi_template.str()); !expanded) {
        log_error("the group of readers must expand the template itself: ", expanded.reason());
    }
    std::vector<std::string> paths = installed_paths();
    for (const auto& file : dp_service::template_cache::files) {
        paths.push_back(file.str());
    }
    paths.push_back(dp::fixed_paths::uefi_build_id.str());
    paths.push_back(dp_service::server_paths::history.str());
    for (const std::string& path : paths) {
        if (const auto given = give_read_access(path, *readers_); !given) {
            log_error(given.reason());
        }
    }
}

void settings_service::send_alerts(dp::command::alerts what, fm::command::alerts fm_what,
                                   unsigned char value) const {
    plugin_.alert(what, value);
    dp::send_fm_alert(fm_what, value);
}

void settings_service::announce_update(std::size_t lost) const {
    send_alerts(dp::command::alerts::bios_updated, fm::command::alerts::bios_updated,
                clamp_to_alert(lost));
    send_alerts(dp::command::alerts::server_restarted, fm::command::alerts::server_restarted, 0);
}

dp_service::server_answer settings_service::restart() {
    if (const auto written = write_values_file(current_file_, *store_); !written) {
        log_error("restart: ", written.reason());
        return {not_persisted, written.reason()};
    }
    log_line("the server restarted: pending values are current");
    send_alerts(dp::command::alerts::server_restarted, fm::command::alerts::server_restarted, 0);
    return {};
}

struct settings_service::update_parts {
    std::string client;  // that requested it; may be empty
    std::string build_id;
    std::string bios;  // the template's file
    std::unique_ptr<template_model> model;
    registry_file registry;
    std::unique_ptr<value_store> store;
    carry_over_report values;
    std::string version;  // of the values in `store`; set by `stage`
};

// The code of a failure is one of `service_status`.
dp_support::result<> settings_service::prepare_update(update_parts& parts) {
    const std::string folder = dp_service::server_paths::update_folder.str();
    const std::string template_path = dp_service::server_paths::update_template.str();
    const std::string build_id_path = dp_service::server_paths::update_build_id.str();
    const auto refuse = [](const std::string& reason) {
        return dp_support::failure{reason, malformed_line};
    };
    if (is_missing(template_path)) {
        return dp_support::failure{"there is no update in " + folder, not_supported};
    }
    if (const auto prepared = prepare_private_folder(folder); !prepared) {
        return refuse(prepared.reason());
    }
    const auto build_id = read_trusted_file(build_id_path, longest_build_id_file);
    if (!build_id) {
        return refuse(build_id.reason());
    }
    parts.build_id = build_id->substr(0, build_id->find('\n'));
    if (!is_product_data_value(parts.build_id)) {
        return refuse(build_id_path + " contains no build id");
    }
    auto bios = read_trusted_file(template_path, largest_template);
    if (!bios) {
        return refuse(bios.reason());
    }
    const std::string text_path = service_files::update_text.str();
    dp_support::remove_or_set_aside(text_path);
    const auto infos = read_template(template_path, text_path);
    dp_support::remove_or_set_aside(text_path);
    if (!infos) {
        return refuse(infos.reason());
    }
    const auto bios_after = read_trusted_file(template_path, largest_template);
    if (!bios_after || *bios_after != *bios) {
        return refuse(template_path + " was changed while it was read");
    }
    auto model = template_model::make(*infos, &plugin_);
    if (!model) {
        return refuse(model.reason());
    }
    auto registry = read_registry(dp_service::server_paths::update_registry.str(), **model);
    if (!registry) {
        return refuse(registry.reason());
    }
    parts.bios = *std::move(bios);
    parts.registry = *std::move(registry);
    parts.model = *std::move(model);
    parts.store = std::make_unique<value_store>(*parts.model);
    parts.values = carry_over(*model_, *store_, *parts.model, *parts.store);
    return {};
}

// Writes the files of the update and then its marker. Without success there is no marker, also when
// memory ran out: the next start would complete the update over later changes.
dp_support::result<> settings_service::stage(update_parts& parts, const std::string& marker) try {
    const std::string product_data_path = dp_service::server_paths::vital_product_data.str();
    const auto data = with_product_data(product_data_path, "UEFIID", parts.build_id);
    if (!data) {
        return data.error();
    }
    const std::string registry_path = dp_service::server_paths::registry.str();
    const auto stage_registry = [&] {
        if (parts.registry.registry != nullptr) {
            return update_files_.stage(registry_path, parts.registry.text);
        }
        return is_missing(registry_path) ? dp_support::result<>()
                                         : update_files_.stage_removal(registry_path);
    };
    dp_support::checked_ostringstream values;
    parts.version = write_values(*parts.store, values);
    auto staged =
        update_files_.stage(dp::fixed_paths::uefi_template.str(), parts.bios)
            .and_then([&] { return update_files_.stage(pending_file_.path(), values.view()); })
            .and_then([&] { return update_files_.stage(current_file_.path(), values.view()); })
            .and_then([&] { return update_files_.stage(product_data_path, *data); })
            .and_then([&] { return stage_registry(); })
            .and_then([&] { return update_files_.commit(marker); });
    if (!staged) {
        // Also a marker that is there although its folder could not be synced.
        static_cast<void>(update_files_.finish());
    }
    return staged;
} catch (...) {
    static_cast<void>(update_files_.finish());
    throw;
}

dp_support::result<> settings_service::install(update_parts parts) {
    const auto locks = lock_installed_files();
    if (!locks) {
        return locks.error();
    }
    const std::string lines = update_lines(parts.client, parts.build_id, parts.values);
    const std::size_t lost = parts.values.lost.size();
    if (auto staged = stage(parts, text_of(lost, '\n', lines)); !staged) {
        return staged;
    }
    // From here on the new BIOS is the server's, even when its files cannot be put in place now:
    // before anything else is written, they are.
    is_installing_ = true;
    pending_file_.keep_backup();
    current_file_.keep_backup();
    auto placed = update_files_.place();
    dp_service::template_cache::discard();
    pending_version_ = std::move(parts.version);
    use(std::move(parts.model), std::move(parts.store), std::move(parts.registry.registry));
    is_current_late_ = false;
    file_differs_ = false;
    history_.append(lines);
    if (placed) {
        pending_file_.remember();
        current_file_.remember();
        refresh_build_id();
        placed = update_files_.finish();
        is_installing_ = !placed;
    }
    prepare_for_readers();
    announce_update(lost);
    return placed;
}

// Puts the files of an update in place that was decided earlier.
dp_support::result<> settings_service::complete_installation() {
    const auto locks = lock_installed_files();
    if (!locks) {
        return locks.error();
    }
    const std::string text = update_files_.text_of_marker();
    if (auto placed = update_files_.place(); !placed) {
        log_error("cannot complete the update of the BIOS: ", placed.reason());
        return placed;
    }
    dp_service::template_cache::discard();
    pending_file_.remember();
    current_file_.remember();
    const std::size_t end = std::min(text.find('\n'), text.size());
    history_.complete(text.substr(std::min(end + 1, text.size())));
    if (auto finished = update_files_.finish(); !finished) {
        log_error("cannot complete the update of the BIOS: ", finished.reason());
        return finished;
    }
    is_installing_ = false;
    announce_update(dp_support::decimal::parse<std::size_t>(text.substr(0, end)).value_or(0));
    return {};
}

dp_service::server_answer settings_service::plan_update() {
    update_parts parts;
    if (const auto prepared = prepare_update(parts); !prepared) {
        return {prepared.code(), prepared.reason()};
    }
    return {0, {}, parts.values.lines()};
}

dp_service::server_answer settings_service::update(const std::string& client) {
    update_parts parts;
    parts.client = client;
    if (const auto prepared = prepare_update(parts); !prepared) {
        log_error("BIOS update refused: ", prepared.reason());
        return {prepared.code(), prepared.reason()};
    }
    const std::string build_id = parts.build_id;
    const std::string summary = parts.values.summary();
    std::vector<std::string> report = parts.values.lines();
    if (const auto installed = install(std::move(parts)); !installed) {
        log_error("BIOS update failed: ", installed.reason());
        return {not_persisted, installed.reason()};
    }
    dp_support::remove_or_set_aside(dp_service::server_paths::update_template.str());
    dp_support::remove_or_set_aside(dp_service::server_paths::update_registry.str());
    dp_support::remove_or_set_aside(dp_service::server_paths::update_build_id.str());
    log_line("updated the BIOS to ", build_id, " and restarted the server: ", summary);
    return {0, {}, std::move(report)};
}

}  // namespace dp_host
