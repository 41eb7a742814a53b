#include "bios/cim_helper.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "batch/batch_file_loader.hpp"
#include "batch/batch_list_info.hpp"
#include "batch/qualified_setting_name.hpp"
#include "bios/attribute_files.hpp"
#include "bios/uefi_build_id.hpp"
#include "common/clock.hpp"
#include "common/file_utilities.hpp"
#include "common/fixed_paths.hpp"
#include "common/io_loops.hpp"
#include "common/log.hpp"
#include "common/numbers.hpp"
#include "common/open_regular_file.hpp"
#include "transactions/command_status.hpp"
#include "transactions/operations.hpp"

namespace dp {
namespace {

constexpr std::int64_t fresh_seconds = 4;

constexpr std::uint32_t first_correlator = 100;

constexpr int result_tries = 60;
constexpr int result_interval_ms = 1000;

// Greatest size of an answer in bytes: a part for surplus lines, and one for each command.
constexpr std::uint64_t answer_bytes = std::uint64_t{1024} * 1024;
constexpr std::uint64_t answer_bytes_per_command = std::uint64_t{64} * 1024;

// Results of the operations.
constexpr int unknown_collection = 2;
constexpr int no_result_entries = 3;
constexpr int reset_failed = 3;
constexpr int collections_changed = 4;
constexpr int instances_changed = 5;
constexpr int build_id_changed = 6;

std::string_view collection_name(const char* cfg) {
    if (cfg == nullptr) {
        throw std::logic_error("null collection name");
    }
    return cfg;
}

void set_status(dp_transaction& request, std::int32_t status) {
    request.status = static_cast<std::uint32_t>(status);
}

void answer_with_value(dp_transaction& request, std::string_view value) {
    constexpr std::size_t most = sizeof(request.value) - 1;
    const std::size_t length = std::min(value.size(), most);
    value.copy(request.value, length);
    request.value[length] = '\0';
    set_status(request, value.size() > most ? command_status::value_cut : command_status::success);
}

// False when the request failed. `name` is a buffer that consecutive calls share.
bool answer_request(dp_transaction& request, const cim_helper::value_map& values,
                    std::string& name) {
    if (request.operation != op_get) {
        set_status(request, command_status::unknown_operation);
        return false;
    }
    if (request.name == nullptr) {
        set_status(request, command_status::unresolved);
        return false;
    }
    const auto found = values.find(name.assign(request.name));
    if (found == values.end()) {
        set_status(request, command_status::unresolved);
        return false;
    }
    if (batch_list_info::is_full_form(found->second)) {
        answer_with_value(request, batch_list_info().tersify(found->second));
    } else {
        answer_with_value(request, found->second);
    }
    return true;
}

// A batch file that is removed unless it is written completely. The settings service takes a batch
// when its writer closes it, so an incomplete one is removed before that, also when an exception or
// the thread's cancellation ends the writing.
class batch_output {
  public:
    explicit batch_output(std::string path)
        : path_(std::move(path)), out_(path_, std::ios::binary), is_kept_(!out_.is_open()) {}
    ~batch_output() {
        if (!is_kept_) {
            static_cast<void>(std::remove(path_.c_str()));
        }
    }
    batch_output(const batch_output&) = delete;
    batch_output& operator=(const batch_output&) = delete;

    std::ostream& out() { return out_; }
    [[nodiscard]] bool is_open() const { return out_.is_open(); }

    // Closes the file. False when it could not be written completely.
    bool complete() {
        if (out_.good()) {
            out_.close();  // Some file systems report a failed write only now.
            is_kept_ = out_.good();
        }
        return is_kept_;
    }

  private:
    std::string path_;
    std::ofstream out_;
    bool is_kept_;
};

// The text of an answer to a number of commands. False when it is not a regular file, when it is
// longer than such an answer may be, or when it cannot be read to its end.
bool read_answer(const std::string& path, std::size_t commands, std::string& text) {
    struct input {
        ~input() {
            if (descriptor >= 0) {
                ::close(descriptor);
            }
        }
        int descriptor;
    } const file{open_regular_file(path, O_RDONLY)};
    const std::uint64_t limit =
        std::min<std::uint64_t>(answer_bytes + answer_bytes_per_command * commands,
                                std::numeric_limits<std::size_t>::max());
    return file.descriptor >= 0 && read_all(file.descriptor, static_cast<std::size_t>(limit), text);
}

// Counts the entries of an answer, and keeps of the failed ones what `set_bios_attribute_value`
// needs: the numbers in status and detail, of entries in a row with the same detail only the last,
// which decides. A short line has the texts of the line before it, so all texts of all entries
// could take far more memory than the answer.
class outcome_loader final : public batch_file_loader {
  public:
    using batch_file_loader::batch_file_loader;

    void process_entry(batch_file_entry& entry, registrar* /*reg*/) override {
        if (entry.status == "0") {
            ++succeeded;
            return;
        }
        ++failed;
        const std::string detail = std::to_string(parse_unsigned(entry.detail).value);
        if (!has_kept_ || entries->back().detail != detail) {
            entries->emplace_back().detail = detail;
            has_kept_ = true;
        }
        entries->back().status = std::to_string(parse_unsigned(entry.status).value);
    }

  private:
    bool has_kept_ = false;  // an entry of this answer
};

}  // namespace

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): see their declarations.
std::string cim_helper::dp_api_template_fname = fixed_paths::uefi_template.str();
std::array<std::string, 2> cim_helper::dp_api_settings_fname = {fixed_paths::uefi_settings.str(),
                                                                fixed_paths::uefi_current.str()};
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

// Reading the files.

int cim_helper::is_read_necessary(const std::string& file, unsigned slot, readtimes& out) const {
    const std::int64_t now = current_time();
    const readtimes& last = read_times_[slot];
    if (last.force == 0 && last.read_time + fresh_seconds >= now) {
        return 0;
    }
    const std::int32_t modified = mtime(file);
    // Modification times are cut to 32 bits, so the read time is cut as well to compare them.
    if (last.force == 0 && last.modification_time == modified &&
        static_cast<std::int32_t>(last.read_time) != modified) {
        return 0;
    }
    out = {now, modified, 0};
    return 1;
}

int cim_helper::read_template(const std::string& cfg, bool force, std::vector<template_info>& out) {
    readtimes times;
    const bool necessary = is_read_necessary(dp_api_template_fname, slot_template, times) != 0;
    if (!necessary && !force) {
        return 1;
    }
    read_template_file(dp_api_template_fname, cfg, out);
    if (necessary) {
        read_times_[slot_template] = times;
    }
    return 1;
}

int cim_helper::read_config_names(std::vector<std::string>& names) {
    readtimes times;
    if (is_read_necessary(dp_api_template_fname, slot_config_names, times) == 0) {
        return 0;
    }
    read_collection_list(dp_api_template_fname, names);
    read_times_[slot_config_names] = times;
    return 1;
}

int cim_helper::read_setting_instances(name_lists& inst) {
    readtimes times;
    const std::string& file = dp_api_settings_fname[0];
    if (is_read_necessary(file, slot_instances, times) == 0) {
        return 0;
    }
    std::vector<std::string> names;
    std::vector<std::string> values;
    read_settings_file(file, names, values);
    init_confignames();
    inst.resize(config_names_.size());
    qualified_setting_name parts;
    for (std::string& name : names) {
        parts.parse(name);
        unsigned idx = 0;
        if (get_config_idx(parts.configuration, &idx) != 0) {
            inst[idx].push_back(std::move(name));
        }
    }
    read_times_[slot_instances] = times;
    return 1;
}

cim_helper::value_map* cim_helper::read_settings(int which) {
    const unsigned slot = which == 0 ? slot_settings : slot_current;
    const std::string& file = dp_api_settings_fname[slot];
    value_map& map = values_[slot];
    readtimes times;
    if (is_read_necessary(file, slot, times) == 0) {
        return &map;
    }
    std::vector<std::string> names;
    std::vector<std::string> values;
    read_settings_file(file, names, values);
    map.clear();
    for (std::size_t i = 0; i < names.size(); ++i) {
        map.insert_or_assign(std::move(names[i]), std::move(values[i]));
    }
    read_times_[slot] = times;
    return &map;
}

int cim_helper::read_uefi_build_id_file(std::string& id) {
    readtimes times;
    const std::string file = fixed_paths::uefi_build_id.str();
    if (is_read_necessary(file, slot_build_id, times) == 0) {
        return 0;
    }
    id = read_build_id(file);
    read_times_[slot_build_id] = times;
    return 1;
}

int cim_helper::update_uefi_build_id_file() {
    return ::update_uefi_build_id_file();
}

std::uint32_t cim_helper::a2i(const std::string& text, bool hex) {
    return template_info::a2i(text, hex);
}

// Queries.

int cim_helper::init_confignames() {
    if (confignames_ready != 0) {
        return 1;
    }
    std::vector<std::string> names;
    if (read_config_names(names) != 0) {
        config_names_ = std::move(names);
    }
    config_name_pointers_.clear();
    config_index_.clear();
    for (std::size_t i = 0; i < config_names_.size(); ++i) {
        config_index_.emplace(config_names_[i], static_cast<unsigned>(i));
        if (!config_names_[i].empty()) {
            config_name_pointers_.push_back(config_names_[i].c_str());
        }
    }
    templates_.resize(config_names_.size());
    attributes_.resize(config_names_.size());
    attribute_index_.resize(config_names_.size());
    read_uefi_build_id_file(build_id_);
    confignames_ready = 1;
    return 1;
}

int cim_helper::init_setting_instances() {
    if (instances_ready != 0) {
        return 1;
    }
    name_lists inst;
    if (read_setting_instances(inst) != 0) {
        instances_ = std::move(inst);
    }
    attribute_names_.clear();
    attribute_names_.resize(instances_.size());
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        attribute_names_[i].reserve(instances_[i].size());
        for (const std::string& name : instances_[i]) {
            attribute_names_[i].push_back(name.c_str());
        }
    }
    instances_ready = 1;
    return 1;
}

int cim_helper::get_config_idx(std::string_view name, unsigned* idx) {
    init_confignames();
    const auto found = config_index_.find(name);
    if (found == config_index_.end()) {
        return 0;
    }
    if (idx != nullptr) {
        *idx = found->second;
    }
    return 1;
}

int cim_helper::is_valid_collection(std::string_view name) {
    return get_config_idx(name, nullptr);
}

int cim_helper::get_config_count() {
    init_confignames();
    return static_cast<int>(config_name_pointers_.size());
}

const char** cim_helper::get_config_names() {
    init_confignames();
    return config_name_pointers_.empty() ? nullptr : config_name_pointers_.data();
}

// Reads the attributes of a collection unless there are any already. False for an unknown
// collection.
bool cim_helper::load_attributes(std::string_view cfg, unsigned& idx) {
    if (get_config_idx(cfg, &idx) == 0) {
        return false;
    }
    if (!attributes_[idx].empty()) {
        return true;
    }
    std::vector<template_info> entries;
    read_template(config_names_[idx], true, entries);
    std::vector<dp_attribute> attributes;
    std::unordered_map<std::string_view, std::size_t> index;
    attributes.reserve(entries.size());
    index.reserve(entries.size());
    for (template_info& entry : entries) {
        if (batch_list_info::is_full_form(entry.dft)) {
            entry.dft = batch_list_info().tersify(entry.dft);
        }
        dp_attribute& attribute = attributes.emplace_back();
        entry.convert_to_attribute(attribute);
        index.emplace(attribute.id, attributes.size() - 1);
    }
    // Moving a vector does not move its entries, so the attributes' texts stay valid.
    templates_[idx] = std::move(entries);
    attributes_[idx] = std::move(attributes);
    attribute_index_[idx] = std::move(index);
    return true;
}

dp_attribute* cim_helper::find_attribute(unsigned idx, std::string_view id) {
    const auto found = attribute_index_[idx].find(id);
    return found != attribute_index_[idx].end() ? &attributes_[idx][found->second] : nullptr;
}

dp_attribute* cim_helper::get_attributes(const char* cfg) {
    unsigned idx = 0;
    if (!load_attributes(collection_name(cfg), idx) || attributes_[idx].empty()) {
        return nullptr;
    }
    return attributes_[idx].data();
}

unsigned cim_helper::get_attributes_count(const char* cfg) {
    unsigned idx = 0;
    if (get_config_idx(collection_name(cfg), &idx) == 0) {
        return 0;
    }
    return static_cast<unsigned>(attributes_[idx].size());
}

dp_attribute* cim_helper::get_attribute(const char* name) {
    if (name == nullptr) {
        return nullptr;
    }
    qualified_setting_name parts;
    parts.parse(name);
    unsigned idx = 0;
    return load_attributes(parts.configuration, idx) ? find_attribute(idx, parts.setting) : nullptr;
}

const char** cim_helper::get_attribute_names(const char* cfg) {
    const std::string_view name = collection_name(cfg);
    init_setting_instances();
    unsigned idx = 0;
    if (get_config_idx(name, &idx) == 0 || idx >= attribute_names_.size() ||
        attribute_names_[idx].empty()) {
        return nullptr;
    }
    return attribute_names_[idx].data();
}

unsigned cim_helper::get_attribute_names_count(const char* cfg) {
    const std::string_view name = collection_name(cfg);
    init_setting_instances();
    unsigned idx = 0;
    if (get_config_idx(name, &idx) == 0 || idx >= attribute_names_.size()) {
        return 0;
    }
    return static_cast<unsigned>(attribute_names_[idx].size());
}

int cim_helper::get_setting_value(const value_map* map, const std::string& name,
                                  std::string* value) {
    const auto found = map->find(name);
    if (found == map->end()) {
        return 0;
    }
    *value = found->second;
    return 1;
}

int cim_helper::get_bios_attribute_value(dp_transaction* trans, unsigned count, int which) {
    const value_map& values = *read_settings(which);
    if (trans == nullptr) {
        return 0;
    }
    int failed = 0;
    std::string name;
    for (unsigned i = 0; i < count; ++i) {
        if (!answer_request(trans[i], values, name)) {
            ++failed;
        }
    }
    return failed;
}

// Changes.

void cim_helper::trans_to_commands(const dp_transaction* trans, unsigned count,
                                   std::vector<basic_transaction_command>& cmds) const {
    if (trans == nullptr) {
        return;
    }
    const std::string tid = "<cim-" + std::to_string(correlator) + ">";
    for (unsigned i = 0; i < count; ++i) {
        const dp_transaction& request = trans[i];
        basic_transaction_command& command = cmds.emplace_back();
        command.correlator = first_correlator + i;
        command.tid = tid;
        command.operation = static_cast<operations>(request.operation);
        command.name = request.name != nullptr ? request.name : "";
        command.value_in = request.new_value != nullptr ? request.new_value : "";
    }
}

bool cim_helper::write_batch_file(std::vector<basic_transaction_command>& cmds) {
    ++correlator;
    const std::string path = fixed_paths::batch.str();
    batch_output batch(path);
    if (!batch.is_open()) {
        return true;
    }
    for (basic_transaction_command& command : cmds) {
        command.write_terse_output(batch.out());
        batch.out() << '\n' << std::flush;
    }
    if (!batch.complete()) {
        log_error_line("failed writing ", path);
        return false;
    }
    return true;
}

int cim_helper::process_batch_file(std::vector<basic_transaction_command>& cmds,
                                   std::vector<batch_file_entry>& entries) {
    if (cmds.empty()) {
        return -1;
    }
    const std::string result_file = fixed_paths::batch_result.str();
    // The answer to an earlier batch must not be taken for the answer to this one.
    remove_file(result_file);
    if (!write_batch_file(cmds)) {
        return -1;
    }
    if (!wait_for_file_exists(result_file, result_tries, result_interval_ms)) {
        return -1;
    }
    // Values may have changed, whatever the answer says.
    read_times_[slot_settings].force = 1;
    std::string answer;
    if (!read_answer(result_file, cmds.size(), answer)) {
        return -1;
    }
    std::istringstream in(std::move(answer));
    outcome_loader loader(&entries);
    loader.read_file(in, nullptr);
    return static_cast<int>(loader.failed);
}

int cim_helper::find_correlator_index(const std::vector<basic_transaction_command>& cmds,
                                      std::uint32_t corr) {
    const auto found =
        std::lower_bound(cmds.begin(), cmds.end(), corr,
                         [](const basic_transaction_command& command, std::uint32_t wanted) {
                             return command.correlator < wanted;
                         });
    if (found == cmds.end() || found->correlator != corr) {
        return -1;
    }
    return static_cast<int>(found - cmds.begin());
}

int cim_helper::set_bios_attribute_value(dp_transaction* trans, unsigned count) {
    std::vector<basic_transaction_command> cmds;
    std::vector<batch_file_entry> entries;
    trans_to_commands(trans, count, cmds);
    const int result = process_batch_file(cmds, entries);
    if (result == -1) {
        // One command per request; a null array has none.
        for (std::size_t i = 0; i < cmds.size(); ++i) {
            set_status(trans[i], command_status::not_run);
        }
        return -1;
    }
    if (result == 0) {
        return 0;
    }
    if (entries.empty()) {
        return no_result_entries;
    }
    for (const batch_file_entry& entry : entries) {
        const int index = find_correlator_index(cmds, parse_unsigned(entry.detail).value);
        if (index != -1) {
            trans[index].status = parse_unsigned(entry.status).value;
        }
    }
    return result;
}

int cim_helper::need_reinit(const char* cfg) {
    if (is_valid_collection(collection_name(cfg)) == 0) {
        return unknown_collection;
    }
    std::vector<std::string> names;
    if (read_config_names(names) != 0) {
        if (names.size() != config_names_.size() ||
            std::any_of(names.begin(), names.end(), [this](const std::string& name) {
                return get_config_idx(name, nullptr) == 0;
            })) {
            return collections_changed;
        }
    }
    init_setting_instances();
    name_lists inst;
    if (read_setting_instances(inst) != 0 && inst != instances_) {
        return instances_changed;
    }
    std::string id;
    if (read_uefi_build_id_file(id) != 0 && id != build_id_) {
        return build_id_changed;
    }
    return 0;
}

int cim_helper::reset_to_defaults(const char* cfg) {
    const std::string_view collection = collection_name(cfg);
    unsigned idx = 0;
    if (get_config_idx(collection, &idx) == 0) {
        return unknown_collection;
    }
    init_setting_instances();
    std::vector<basic_transaction_command> cmds;
    // Loads the collection once: get_attribute would read a template without attributes again
    // for each instance.
    if (idx < instances_.size() && !instances_[idx].empty() && load_attributes(collection, idx)) {
        qualified_setting_name parts;
        for (const std::string& name : instances_[idx]) {
            parts.parse(name);
            const dp_attribute* attribute = find_attribute(idx, parts.setting);
            if (attribute == nullptr) {
                continue;
            }
            dp_transaction request{};
            request.operation = std::strcmp(attribute->dfa, "remove") == 0 ? op_delete : op_set;
            request.name = name.c_str();
            request.new_value = attribute->dft;
            trans_to_commands(&request, 1, cmds);
        }
    }
    std::vector<batch_file_entry> entries;
    return process_batch_file(cmds, entries) != 0 ? reset_failed : 0;
}

}  // namespace dp
