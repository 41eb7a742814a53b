#include "host/settings_service.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <utility>
#include <vector>

#include "bios/uefi_build_id.hpp"
#include "host/history/history_time.hpp"
#include "host/model/read_template.hpp"
#include "host/model/values_file.hpp"
#include "host/model/vital_product_data.hpp"
#include "host/process/private_folder.hpp"
#include "host/process/replace_under_lock.hpp"
#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "logs/alerts.hpp"
#include "service_api/change_record.hpp"
#include "service_api/service_status.hpp"
#include "service_api/template_cache.hpp"
#include "settings/configuration.hpp"
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

// Loads the values of a file, also those that are not valid: they are the values of the server.
// Returns the number of values that were dropped.
std::size_t load_all(const named_values& values, value_store& store) {
    load_report report;
    dp::qualified_setting_name name;
    for (const auto& [text, value] : values) {
        name.parse(text);
        report.add(store.load(name, value, true), text);
    }
    return report.unknown();
}

// Whether the template determines the value of the setting, because nobody else can set it.
bool is_determined_by(const template_model& model, const dp::setting& before) {
    const std::size_t position =
        model.position_of(model.find(before.configuration->name, before.name));
    if (position == template_model::npos) {
        return false;
    }
    template_element& element = *model.attributes()[position].element;
    return element.is_read_only() && !element.default_value().empty();
}

void carry_over(const value_store& before, const template_model& model, value_store& store) {
    load_report report;
    before.for_each([&](value_store::key at, const std::string& value) {
        if (!is_determined_by(model, *at.setting)) {
            const dp::qualified_setting_name name = at.name();
            report.add(store.load(name, value, false), name.get_name());
        }
    });
}

bool every_setting(const dp::setting& /*s*/) {
    return true;
}

bool no_setting(const dp::setting& /*s*/) {
    return false;
}

// The history's line for something that the service itself did.
std::string event_line(const char* target, const std::string& text) {
    const dp_service::change_record event{dp_service::change_record::by_service,
                                          history_time(std::time(nullptr)), target, text};
    return event.line() + '\n';
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

settings_service::settings_service()
    : plugin_([this](const auto& trans) { return persist(trans); }) {
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
    use(*std::move(model), std::move(store));
    if (auto loaded = load_values(); !loaded) {
        return loaded;
    }
    plugin_.serve(*model_, *store_);
    refresh_build_id();
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
        dropped = load_all(source.values, *store_);
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
        load_all(current->content->values, values);
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

dp_support::result<> settings_service::persist(const dp::setting_transaction& trans) {
    const std::string lines = history_.lines_of(trans);
    auto written = write_pending(lines);
    if (written) {
        history_.append(lines);
    }
    journal_.remove();
    return written;
}

void settings_service::retry_failed_write() {
    if (file_differs_) {
        // A failure is logged, and the next call tries again.
        static_cast<void>(write_pending({}));
    }
}

void settings_service::use(std::unique_ptr<template_model> model,
                           std::unique_ptr<value_store> store) {
    registrar_.use_model(model.get());
    plugin_.serve(*model, *store);
    // Nothing refers to the previous model and store any more.
    store_ = std::move(store);
    model_ = std::move(model);
}

void settings_service::send_alerts(dp::command::alerts what, fm::command::alerts fm_what) const {
    plugin_.alert(what, 0);
    dp::send_fm_alert(fm_what, 0);
}

dp_service::server_answer settings_service::restart() {
    if (const auto written = write_values_file(current_file_, *store_); !written) {
        log_error("restart: ", written.reason());
        return {not_persisted, written.reason()};
    }
    log_line("the server restarted: pending values are current");
    send_alerts(dp::command::alerts::server_restarted, fm::command::alerts::server_restarted);
    return {};
}

struct settings_service::update_parts {
    std::string build_id;
    std::unique_ptr<template_model> model;
    std::unique_ptr<value_store> store;
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
    const std::string text_path = service_files::update_text.str();
    dp_support::remove_or_set_aside(text_path);
    const auto infos = read_template(template_path, text_path);
    dp_support::remove_or_set_aside(text_path);
    if (!infos) {
        return refuse(infos.reason());
    }
    auto model = template_model::make(*infos, &plugin_);
    if (!model) {
        return refuse(model.reason());
    }
    parts.model = *std::move(model);
    parts.store = std::make_unique<value_store>(*parts.model);
    carry_over(*store_, *parts.model, *parts.store);
    parts.store->add_defaults([&](const dp::setting& s) {
        return model_->find(s.configuration->name, s.name) == nullptr ||
               is_determined_by(*parts.model, s);
    });
    return {};
}

dp_support::result<> settings_service::install(update_parts parts) {
    const std::string product_data_path = dp_service::server_paths::vital_product_data.str();
    const auto data = with_product_data(product_data_path, "UEFIID", parts.build_id);
    if (!data) {
        return data.error();
    }
    staged_file bios(dp::fixed_paths::uefi_template.str(), staged_file::durable);
    staged_file pending(dp::fixed_paths::uefi_settings.str(), staged_file::durable);
    staged_file current(dp::fixed_paths::uefi_current.str(), staged_file::durable);
    staged_file product_data(product_data_path, staged_file::durable);
    std::ifstream source(dp_service::server_paths::update_template.str(), std::ios::binary);
    bios.out() << source.rdbuf();
    const std::string version = write_values(*parts.store, pending.out());
    write_values(*parts.store, current.out());
    product_data.out() << *data;
    staged_file* const files[] = {&bios, &pending, &current, &product_data};
    dp_support::result<> done;
    for (staged_file* file : files) {
        done = done.and_then([&] { return file->complete(); });
    }
    if (done) {
        pending_file_.keep_backup();
        current_file_.keep_backup();
    }
    for (staged_file* file : files) {
        done = done.and_then([&] { return replace_under_lock(*file); });
    }
    if (pending.is_in_place()) {
        pending_file_.remember();
    }
    if (current.is_in_place()) {
        current_file_.remember();
    }
    // With its template in place, the new BIOS is the server's, even if other files could not be
    // written: the next start or request writes them.
    if (bios.is_in_place()) {
        dp_service::template_cache::discard();
        use(std::move(parts.model), std::move(parts.store));
        pending_version_ = version;
        file_differs_ = !pending.is_in_place();
        refresh_build_id();
        send_alerts(dp::command::alerts::bios_updated, fm::command::alerts::bios_updated);
        send_alerts(dp::command::alerts::server_restarted, fm::command::alerts::server_restarted);
    }
    return done;
}

dp_service::server_answer settings_service::update() {
    update_parts parts;
    if (const auto prepared = prepare_update(parts); !prepared) {
        log_error("BIOS update refused: ", prepared.reason());
        return {prepared.code(), prepared.reason()};
    }
    const std::string build_id = parts.build_id;
    if (const auto installed = install(std::move(parts)); !installed) {
        log_error("BIOS update failed: ", installed.reason());
        return {not_persisted, installed.reason()};
    }
    dp_support::remove_or_set_aside(dp_service::server_paths::update_template.str());
    dp_support::remove_or_set_aside(dp_service::server_paths::update_build_id.str());
    log_line("updated the BIOS to ", build_id, " and restarted the server");
    return {};
}

}  // namespace dp_host
