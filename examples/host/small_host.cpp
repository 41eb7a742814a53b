// A complete host: owns the settings of the BIOS template, and carries out the batches of C API
// clients. Runs until it is killed: the settings file has all changes of a batch or none.
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <deque>
#include <dp_common.hpp>
#include <fstream>
#include <iostream>
#include <optional>
#include <service_api/choice_list.hpp>
#include <service_api/service_status.hpp>
#include <service_api/template_flags.hpp>
#include <service_api/value_limits.hpp>

namespace codes = dp_service::service_status;

// Readers see the old content or the new one.
bool replace_file(const std::string& path, const std::string& text) {
    const int file = open((path + ".new").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const bool is_written = file != -1 && dp::write_all(file, text) && fsync(file) == 0;
    close(file);
    return is_written && std::rename((path + ".new").c_str(), path.c_str()) == 0;
}

// What the template says about an attribute.
struct attribute_element : dp::setting_element {
    explicit attribute_element(const dp_attribute& of) : a(of) {
        min_instance = of.mxi > 0 ? of.mni : dp::no_instance;
        max_instance = of.mxi > 0 ? of.mxi : dp::no_instance;
        flags = of.dfa == std::string("remove") ? deletable_flag : 0;
    }
    // The library checks the instances of deletes only, and takes "2x" for 2.
    bool has_instance(const std::string& text) const {
        const std::uint32_t number = dp::parse_instance(text);
        return number >= min_instance && number <= max_instance &&
               text == (number == dp::no_instance ? "" : std::to_string(number));
    }
    std::int32_t validate(const std::string& value) override {
        if (value == a.dft || a.type == DP_TYPE_NO_RANGE)
            return 0;
        if (a.type == DP_TYPE_NUMERIC)
            return dp_service::value_limits::check_number(value, a.min, a.max, a.stp);
        if (a.type == DP_TYPE_STRING)
            return dp_service::value_limits::check_length(value.size(), a.minc, a.maxc);
        const auto all = dp_service::choice_list::split(a.chc);
        return std::count(all.begin(), all.end(), value) > 0 ? 0 : codes::not_a_choice;
    }
    const dp_attribute a;  // its texts belong to the C API
};

// Keeps the values, and writes them to the settings file before a transaction is answered.
struct values_plugin : dp::plugin {
    values_plugin() : plugin("values", settings_owner) {
        std::stringstream text;
        std::vector<dp::batch_file_entry> entries;
        dp::batch_file_loader reader(&entries);
        if (reader.decompress(path, text) && reader.read_file(text, nullptr) > 0)
            for (const dp::batch_file_entry& entry : entries)
                values[entry.name.get_name()] = entry.value_in;
    }
    void on_start(dp::registrar&) override {}
    void on_stop(dp::registrar&) override {}
    void process_transaction(dp::registrar& reg, dp::transaction* trans) override {
        const auto before = values;
        std::vector<dp::transaction_command*> mine;
        // The others failed before, as lines with status 255 did, or are for other plug-ins.
        if (auto* const settings = dynamic_cast<dp::setting_transaction*>(trans))
            for (dp::transaction_command* c : settings->commands)
                if (c->status == 0 && !c->complete && c->target.setting->owner == this) {
                    c->status = execute(*c);
                    c->complete = true;
                    mine.push_back(c);
                }
        std::ostringstream text;
        for (const auto& [name, value] : values)
            text << "0 0 uefi set " << name << " \"" << dp::add_backslash(value) << "\" \"\"\n";
        const writelock lock(path);
        if (values != before && !replace_file(path, text.str())) {
            values = before;
            for (dp::transaction_command* c : mine)
                c->fail(codes::not_persisted);
        }
        trans->substep_complete(reg, this);
        // With a known value, the next batch's reads would be answered before its writes.
        for (dp::transaction_command* c : mine)
            c->target.setting->invalidate_instance(dp::parse_instance(c->target.instance));
    }
    std::int32_t execute(dp::transaction_command& c) {
        const auto& element = static_cast<attribute_element&>(*c.target.setting->element);
        const std::string name = c.target.get_name();
        const bool is_read = c.operation == dp::op_get || c.operation == dp::op_getv;
        if (!element.has_instance(c.target.instance))
            return codes::bad_instance;
        if (is_read && values.count(name) == 0)
            return dp::command_status::value_not_known;
        if (!is_read && (element.a.flg & dp_service::template_flags::read_only) != 0)
            return codes::read_only;
        if (is_read)
            c.value_out = values[name];
        else if (c.operation == dp::op_set || c.operation == dp::op_setv)
            values[name] = c.value_out = c.value_in;
        else if (c.operation != dp::op_delete)
            return codes::not_supported;
        else if (values.erase(name) > 0 && c.target.instance.empty())
            values[name] = element.a.dft;
        return 0;
    }
    const std::string path = dp::fixed_paths::uefi_settings.str();
    std::map<std::string, std::string> values;  // by qualified name
};

// The commands of a batch file. The answer is written when they are complete.
struct batch : dp::setting_transaction, dp::dropped_line_listener {
    batch(dp::registrar& reg, std::istream&& in) {
        reader.read_file_reporting_dropped_lines(in, &reg, *this, 65536);
        for (dp::transaction_command& c : reader.commands)
            commands.push_back(&c);
    }
    // Without a line in the answer, the client would take the command for a success.
    void on_dropped_line(std::string_view line) override {
        std::string status, correlator;
        std::istringstream(std::string(line)) >> status >> correlator;
        answer << codes::malformed_line << ' ' << correlator << " - set - \"\" \"\"\n";
    }
    void on_transaction_event(dp::registrar&) override {}
    void on_transaction_complete(dp::registrar&) override {
        for (dp::transaction_command* c : commands)  // lines are written without escaping
            c->value_in = dp::add_backslash(c->value_in);
        write_batch_commands(answer, true);
        replace_file(dp::fixed_paths::batch_result.str(), answer.str());
    }
    dp::batch_file_converter reader;  // owns the commands
    std::ostringstream answer;
};

struct collection : dp::configuration {};
struct small_host : dp::registrar {
    small_host() {
        const char** names = nullptr;
        dp_attribute* attributes = nullptr;
        unsigned name_count = 0, count = 0;
        dp_get_bios_collections(&names, &name_count);
        for (; name_count-- > 0; ++names) {
            collection& owner = collections[*names];
            owner.name = *names;
            dp_get_bios_attributes(*names, &attributes, &count);
            for (; count-- > 0; ++attributes) {
                auto& e = elements.emplace_back(*attributes);
                owner.add_setting(&settings.emplace_back(&owner, attributes->id, &plugin, &e));
            }
        }
    }
    dp::setting* resolve(const dp::qualified_setting_name& name) override {
        return find_setting(name.configuration, name.setting);
    }
    dp::setting* find_setting(const std::string& in, const std::string& name) override {
        const auto found = collections.find(in);
        return found == collections.end() ? nullptr : found->second.find_setting(name);
    }
    void queue_transaction(dp::transaction* trans) override { running = trans; }
    // Runs a batch until it is answered, or a plug-in waits. Called after each event.
    void work() {
        const std::string path = dp::fixed_paths::batch.str(), taken = path + ".run";
        if (running == nullptr && std::rename(path.c_str(), taken.c_str()) == 0)
            queue_transaction(&latest.emplace(*this, std::ifstream(taken, std::ios::binary)));
        std::int32_t before = -1;
        while (running != nullptr && running->step != before) {
            before = running->step;
            if (before == 0)
                return std::exchange(running, nullptr)->transaction_complete(*this);
            running->execute_step(*this, plugins);
        }
    }
    values_plugin plugin;
    dp::plugin_list plugins{&plugin};
    std::deque<attribute_element> elements;
    std::deque<dp::setting> settings;
    std::map<std::string, collection> collections;
    std::optional<batch> latest;
    dp::transaction* running = nullptr;
};

int main() {
    const std::string folder = dirname(dp::fixed_paths::batch.str());
    const int files = inotify_init1(IN_CLOEXEC);
    if (inotify_add_watch(files, folder.c_str(), IN_CLOSE_WRITE) == -1)
        return std::perror(folder.c_str()), 1;
    update_uefi_build_id_file();
    dp_api_initialize();  // reads the template; its attributes are valid until the end
    small_host host;
    std::cout << "ready" << std::endl;
    pollfd entry{files, POLLIN, 0};  // and the descriptors of plug-ins that answer later
    for (char events[4096]; poll(&entry, 1, -1) == 1 && read(files, events, sizeof events) > 0;)
        host.work();
    return 1;
}
