#include "host/settings_service.hpp"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <utility>

#include "bios/uefi_build_id.hpp"
#include "common/fixed_paths.hpp"
#include "host/exchange/own_file.hpp"
#include "host/exchange/run_folder.hpp"
#include "host/model/template_text.hpp"
#include "host/model/values_file.hpp"
#include "host/model/vital_product_data.hpp"
#include "host/process/replace_under_lock.hpp"
#include "host/process/service_files.hpp"
#include "host/process/service_log.hpp"
#include "logs/alerts.hpp"
#include "service_api/server_paths.hpp"
#include "service_api/service_status.hpp"
#include "service_api/template_cache.hpp"
#include "settings/configuration.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

constexpr std::size_t most_value_lines = 20;
constexpr std::uint64_t longest_build_id_file = 4096;

// Says what became of values that were stored before, up to a number of them.
class adoption_report {
  public:
    void add(value_store::adoption outcome, const std::string& name) {
        if (outcome == value_store::adoption::taken) {
            return;
        }
        const bool no_place = outcome == value_store::adoption::no_place;
        dropped_ += no_place ? 1 : 0;
        if (++lines_ <= most_value_lines) {
            log_line(name, no_place ? ": the template has no place for its value"
                                    : ": its value is not valid");
        } else if (lines_ == most_value_lines + 1) {
            log_line("more values have no place or are not valid");
        }
    }
    [[nodiscard]] std::size_t dropped() const { return dropped_; }

  private:
    std::size_t dropped_ = 0;
    std::size_t lines_ = 0;
};

// Values of a file stay as they are, valid or not: they are what the server has.
std::size_t adopt_all(named_values& values, value_store& store) {
    adoption_report report;
    dp::qualified_setting_name name;
    for (auto& [text, value] : values) {
        name.parse(text);
        report.add(store.adopt(name, std::move(value), true), text);
    }
    return report.dropped();
}

// What nobody can set is the new BIOS's to tell, if it tells it.
bool is_told_by(const template_model& model, const dp::setting& before) {
    const std::size_t position =
        model.position_of(model.find(before.configuration->name, before.name));
    if (position == template_model::npos) {
        return false;
    }
    template_element& element = *model.attributes()[position].element;
    return element.is_read_only() && !element.default_value().empty();
}

void carry_over(const value_store& before, const template_model& model, value_store& store) {
    adoption_report report;
    dp::qualified_setting_name name;
    before.for_each([&](value_store::place at, const std::string& value) {
        if (is_told_by(model, *at.setting)) {
            return;
        }
        name.configuration = at.setting->configuration->name;
        name.setting = at.setting->name;
        name.instance = at.instance == dp::no_instance ? "" : std::to_string(at.instance);
        report.add(store.adopt(name, value, false), name.get_name());
    });
}

bool every_setting(const dp::setting& /*s*/) {
    return true;
}

bool no_setting(const dp::setting& /*s*/) {
    return false;
}

// The library writes the build id into its file, so it must be one to write into.
void refresh_build_id() {
    const std::string problem = problem_with_file(dp::fixed_paths::uefi_build_id.str());
    if (!problem.empty()) {
        log_error("the build id can't be kept: ", problem);
    } else if (update_uefi_build_id_file() == 1) {
        log_line("the BIOS has another build id");
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

std::string settings_service::start() {
    for (const auto& path :
         {dp::fixed_paths::uefi_settings, dp::fixed_paths::uefi_current,
          dp::fixed_paths::uefi_build_id, dp_service::server_paths::vital_product_data}) {
        if (std::string problem = problem_with_file(path.str()); !problem.empty()) {
            return problem;
        }
    }
    history_.complete(note_.lines_in_force());
    note_.remove();
    std::vector<template_info> infos;
    std::string problem = read_template_text(dp::fixed_paths::uefi_template.str(),
                                             dp::fixed_paths::uefi_info.str(), infos);
    if (!problem.empty()) {
        return problem;
    }
    auto model = template_model::make(infos, &plugin_, problem);
    if (!model) {
        return dp::fixed_paths::uefi_template.str() + ": " + problem;
    }
    auto store = std::make_unique<value_store>(*model);
    install(std::move(model), std::move(store));
    problem = load_values();
    if (problem.empty()) {
        plugin_.serve(*model_, *store_);
        refresh_build_id();
        log_line("serving ", model_->attributes().size(), " attributes in ",
                 model_->configurations().size(), " collections");
    }
    return problem;
}

std::string settings_service::load_values() {
    const std::string pending_path = dp::fixed_paths::uefi_settings.str();
    const std::string current_path = dp::fixed_paths::uefi_current.str();
    named_values pending;
    named_values current;
    bool has_pending = false;
    bool has_current = false;
    std::string problem = read_values(pending_path, pending, has_pending);
    if (problem.empty()) {
        problem = read_values(current_path, current, has_current);
    }
    if (!problem.empty()) {
        return problem;
    }
    const std::size_t dropped = adopt_all(has_pending ? pending : current, *store_);
    const std::size_t added =
        store_->add_defaults(has_pending || has_current ? no_setting : every_setting);
    if (!has_pending || dropped > 0 || added > 0) {
        problem = write_store(pending_path, *store_).reason();
    }
    if (problem.empty() && !has_current) {
        value_store defaults(*model_);
        defaults.add_defaults(every_setting);
        problem = write_store(current_path, defaults).reason();
    }
    return problem;
}

dp_support::result<> settings_service::write_store(const std::string& path,
                                                   const value_store& store,
                                                   const std::string& history_lines) {
    dp_support::staged_file file(path, dp_support::staged_file::durable);
    write_values(store, file.out());
    auto written = file.complete();
    if (written) {
        if (!history_lines.empty()) {
            note_.write(file.staged_path(), history_lines);
        }
        written = replace_under_lock(file);
    }
    if (path == dp::fixed_paths::uefi_settings.str()) {
        file_differs_ = !written && file.is_in_place();
    }
    return written;
}

dp_support::result<> settings_service::write_pending(const std::string& history_lines) {
    auto written = write_store(dp::fixed_paths::uefi_settings.str(), *store_, history_lines);
    if (!written) {
        log_error("changes are not kept: ", written.reason());
    }
    return written;
}

int settings_service::persist(const dp::setting_transaction& trans) {
    const std::string lines = history_.lines_of(trans);
    const auto written = write_pending(lines);
    if (written) {
        history_.append(lines);
    }
    note_.remove();
    return written.code();
}

void settings_service::settle() {
    if (file_differs_) {
        static_cast<void>(write_pending({}));
    }
}

void settings_service::install(std::unique_ptr<template_model> model,
                               std::unique_ptr<value_store> store) {
    registrar_.use_model(model.get());
    plugin_.serve(*model, *store);
    // What was there before goes last: nothing points at it any more.
    std::swap(store_, store);
    std::swap(model_, model);
    store.reset();
}

void settings_service::tell_of(dp::command::alerts what, fm::command::alerts fm_what) const {
    plugin_.alert(what, 0);
    dp::send_fm_alert(fm_what, 0);
}

dp_service::server_answer settings_service::restart() {
    const std::string problem = write_store(dp::fixed_paths::uefi_current.str(), *store_).reason();
    if (!problem.empty()) {
        log_error("restart: ", problem);
        return {dp_service::service_status::not_persisted, problem};
    }
    log_line("the server restarted: pending values are current");
    tell_of(dp::command::alerts::server_restarted, fm::command::alerts::server_restarted);
    return {};
}

struct settings_service::update_parts {
    std::string build_id;
    std::unique_ptr<template_model> model;
    std::unique_ptr<value_store> store;
};

dp_service::server_answer settings_service::prepare_update(update_parts& parts) {
    const std::string template_path = dp_service::server_paths::update_template.str();
    if (open_own_file(template_path).missing) {
        return {dp_service::service_status::not_supported,
                "no update lies ready in " + dp_service::server_paths::update_folder.str()};
    }
    std::string problem = prepare_run_folder(dp_service::server_paths::update_folder.str());
    if (problem.empty()) {
        parts.build_id = read_own_file(dp_service::server_paths::update_build_id.str(),
                                       longest_build_id_file, problem);
        parts.build_id.resize(std::min(parts.build_id.find('\n'), parts.build_id.size()));
    }
    if (problem.empty() && !is_product_data_value(parts.build_id)) {
        problem = dp_service::server_paths::update_build_id.str() + " holds no build id";
    }
    std::vector<template_info> infos;
    if (problem.empty()) {
        const std::string text_path = service_files::update_text.str();
        dp_support::remove_or_set_aside(text_path);
        problem = read_template_text(template_path, text_path, infos);
        dp_support::remove_or_set_aside(text_path);
    }
    if (problem.empty()) {
        parts.model = template_model::make(infos, &plugin_, problem);
    }
    if (!parts.model) {
        return {dp_service::service_status::malformed_line, problem};
    }
    parts.store = std::make_unique<value_store>(*parts.model);
    carry_over(*store_, *parts.model, *parts.store);
    parts.store->add_defaults([&](const dp::setting& s) {
        return model_->find(s.configuration->name, s.name) == nullptr ||
               is_told_by(*parts.model, s);
    });
    return {};
}

dp_service::server_answer settings_service::update() {
    update_parts parts;
    dp_service::server_answer outcome = prepare_update(parts);
    if (outcome.status != 0) {
        log_error("BIOS update refused: ", outcome.reason);
        return outcome;
    }
    dp_support::staged_file bios(dp::fixed_paths::uefi_template.str(),
                                 dp_support::staged_file::durable);
    dp_support::staged_file pending(dp::fixed_paths::uefi_settings.str(),
                                    dp_support::staged_file::durable);
    dp_support::staged_file current(dp::fixed_paths::uefi_current.str(),
                                    dp_support::staged_file::durable);
    dp_support::staged_file product_data(dp_service::server_paths::vital_product_data.str(),
                                         dp_support::staged_file::durable);
    std::ifstream source(dp_service::server_paths::update_template.str(), std::ios::binary);
    bios.out() << source.rdbuf();
    write_values(*parts.store, pending.out());
    write_values(*parts.store, current.out());
    product_data.out() << with_product_data(dp_service::server_paths::vital_product_data.str(),
                                            "UEFIID", parts.build_id, outcome.reason);
    dp_support::staged_file* const files[] = {&bios, &pending, &current, &product_data};
    for (dp_support::staged_file* file : files) {
        if (outcome.reason.empty()) {
            outcome.reason = file->complete().reason();
        }
    }
    for (dp_support::staged_file* file : files) {
        if (outcome.reason.empty()) {
            outcome.reason = replace_under_lock(*file).reason();
        }
    }
    // With the template in place it is the new BIOS, whatever else could not be written: the next
    // start, or the next request, gives it its values.
    if (bios.is_in_place()) {
        dp_service::template_cache::discard();
        install(std::move(parts.model), std::move(parts.store));
        file_differs_ = !pending.is_in_place();
        refresh_build_id();
        tell_of(dp::command::alerts::bios_updated, fm::command::alerts::bios_updated);
        tell_of(dp::command::alerts::server_restarted, fm::command::alerts::server_restarted);
    }
    if (!outcome.reason.empty()) {
        log_error("BIOS update failed: ", outcome.reason);
        outcome.status = dp_service::service_status::not_persisted;
        return outcome;
    }
    dp_support::remove_or_set_aside(dp_service::server_paths::update_template.str());
    dp_support::remove_or_set_aside(dp_service::server_paths::update_build_id.str());
    log_line("the BIOS was updated to ", parts.build_id, " and the server restarted");
    return {};
}

}  // namespace dp_host
