// usage: growth_work CASE COUNT
//
// Does one kind of work on COUNT items. The instructions of the function `measured` are counted.
// Needs an empty folder in $DP_ROOT.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_checker.hpp"
#include "batch/batch_file_loader.hpp"
#include "bios/dp_api.h"
#include "bios/template_info.hpp"
#include "logs/client_log.hpp"
#include "logs/process_log.hpp"
#include "platform/sysipc/thread.hpp"
#include "settings/plugin_list.hpp"
#include "tests/support/settings_model.hpp"
#include "tests/support/template_records.hpp"
#include "transactions/client_transaction.hpp"
#include "transactions/setting_transaction.hpp"

extern "C" [[gnu::noinline]] void measured(const std::function<void()>& work) {
    work();
}

namespace {

constexpr unsigned queries = 500;

std::filesystem::path below_root(const char* path) {
    const char* root = std::getenv("DP_ROOT");
    return std::filesystem::path(root == nullptr ? "/nowhere" : root) / path;
}

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "growth_work: %s\n", what);
        std::exit(1);
    }
}

std::string name_of(unsigned number) {
    return "Boot.Attribute" + std::to_string(number);
}

std::string set_line(unsigned number) {
    return "0 0 <t> set " + name_of(number) + " \"Enabled\" \"\"\n";
}

// Writes the template and the settings of `count` attributes in one collection. The template is
// older than its text, so the client does not run a tool.
void make_server(unsigned count) {
    std::filesystem::create_directories(below_root("tmp/dp"));
    std::filesystem::create_directories(below_root("var/dp"));
    std::ofstream(below_root("var/dp/uefi_template.efi")) << "template";
    std::filesystem::last_write_time(
        below_root("var/dp/uefi_template.efi"),
        std::filesystem::file_time_type::clock::now() - std::chrono::hours(1000));
    std::ofstream(below_root("tmp/dp/uefi_configs.txt")) << "Boot\n";
    std::ofstream text(below_root("tmp/dp/uefi_info.txt"));
    std::ofstream settings(below_root("var/dp/uefi_settings.txt"));
    for (unsigned i = 0; i < count; ++i) {
        text << test::attribute("Boot", "Attribute" + std::to_string(i), "Enabled");
        settings << set_line(i);
    }
    settings.close();
    text.close();
    require(dp_api_initialize() == 0, "no service");
}

void read_batch(unsigned count, bool load) {
    std::string text;
    for (unsigned i = 0; i < count; ++i) {
        text += set_line(i);
    }
    std::istringstream in(text);
    std::vector<dp::batch_file_entry> entries;
    dp::batch_file_checker checker;
    int got = 0;
    measured([&] {
        got = load ? dp::batch_file_loader(&entries).read_file(in, nullptr)
                   : dp::batch_file_reader(&checker).read_file(in, nullptr);
    });
    require(got == static_cast<int>(count), "lines are missing");
}

void read_template(unsigned count) {
    make_server(count);
    std::ifstream in(below_root("tmp/dp/uefi_info.txt"), std::ios::binary);
    std::vector<template_info> infos;
    measured([&] { template_info::read_settings(in, infos, ""); });
    require(infos.size() == count, "attributes are missing");
}

// A constant number of queries, spread over all attributes.
void query_values(unsigned count) {
    make_server(count);
    std::vector<std::string> names;
    std::vector<dp_transaction> requests(queries);
    for (unsigned i = 0; i < queries; ++i) {
        names.push_back(name_of(i * (count / queries)));
    }
    for (unsigned i = 0; i < queries; ++i) {
        requests[i].operation = dp::op_get;
        requests[i].name = names[i].c_str();
    }
    require(dp_get_bios_attribute_value(requests.data(), 1, 0) == 0, "no value");
    int failed = 0;
    measured([&] { failed = dp_get_bios_attribute_value(requests.data(), queries, 0); });
    require(failed == 0, "values are missing");
}

void query_attributes(unsigned count) {
    make_server(count);
    std::vector<std::string> names;
    for (unsigned i = 0; i < queries; ++i) {
        names.push_back(name_of(i * (count / queries)));
    }
    dp_attribute* attribute = nullptr;
    require(dp_get_bios_attribute(names[0].c_str(), &attribute) == 0, "no attribute");
    int failed = 0;
    measured([&] {
        for (const std::string& name : names) {
            failed += dp_get_bios_attribute(name.c_str(), &attribute);
        }
    });
    require(failed == 0, "attributes are missing");
}

void run_transaction(unsigned count) {
    test::configuration config("Boot");
    test::registrar reg;
    test::element element;
    reg.configurations.push_back(&config);
    test::plugin owner("owner");
    owner.on_process = [&](dp::registrar& r, dp::transaction* trans) {
        for (auto* command : static_cast<dp::setting_transaction*>(trans)->commands) {
            command->complete = true;
        }
        trans->substep_complete(r, &owner);
    };
    dp::plugin_list plugins{&owner};
    dp::setting setting(&config, "Attribute", &owner, &element);
    config.add_setting(&setting);
    dp::client_transaction trans(nullptr);
    measured([&] {
        for (std::uint32_t i = 0; i < count; ++i) {
            dp::setting::cache::entry entry;
            entry.instance = i;
            entry.value = "value";
            dp::transaction_command command(dp::op_set, &setting, entry);
            command.status = 0;
            trans.add_command("Boot", "Attribute", command);
        }
        test::run_transaction(trans, reg, plugins);
    });
    require(trans.commands.status.completed == count && trans.commands.status.errors == 0 &&
                setting.cache.size() == count,
            "commands were not carried out");
}

void use_instances(unsigned count) {
    test::configuration config("Boot");
    test::element element;
    dp::setting setting(&config, "Attribute", nullptr, &element);
    measured([&] {
        for (std::uint32_t i = 0; i < count; ++i) {
            setting.set_instance_value("value", i);
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            require(setting.cache.find_entry(i, false) != nullptr, "an instance is missing");
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            setting.remove_instance(i);
        }
    });
    require(setting.cache.size() == 0, "instances remain");
}

// A constant number of lines after `count` others, which are more than the log keeps.
void write_lines(unsigned count, const std::function<void()>& write_line) {
    for (unsigned i = 0; i < count; ++i) {
        write_line();
    }
    measured([&] {
        for (unsigned i = 0; i < queries; ++i) {
            write_line();
        }
    });
    require(std::filesystem::file_size(below_root("log")) > 4096, "lines are missing");
}

void write_client_log(unsigned count) {
    dp::client_log log(below_root("log"), false);
    const std::string line(250, 'x');
    write_lines(count, [&] { log.write_line(line); });
}

void write_process_log(unsigned count) {
    dp::process_log log(below_root("log"), false);
    const std::string text(250, 'x');
    write_lines(count, [&] { log.log_message("transaction", text, ""); });
}

// Prepares the answer of the settings service.
void prepare_answer(unsigned count, const char* status) {
    std::ofstream answer(below_root("tmp/dp/answer"));
    for (unsigned i = 0; i < count; ++i) {
        answer << status << ' ' << 100 + i << " <cim-0> set " << name_of(i) << " \"x\" \"\" \n";
    }
}

void fail_changes(unsigned count) {
    make_server(1);
    prepare_answer(count, "48");
    std::vector<std::string> names;
    std::vector<dp_transaction> requests(count);
    for (unsigned i = 0; i < count; ++i) {
        names.push_back(name_of(i));
    }
    for (unsigned i = 0; i < count; ++i) {
        requests[i].operation = dp::op_set;
        requests[i].name = names[i].c_str();
        requests[i].new_value = "x";
    }
    int failed = 0;
    measured([&] { failed = dp_set_bios_attribute_value(requests.data(), count); });
    require(failed == static_cast<int>(count) && requests.back().status == 48,
            "failures did not arrive");
}

void reset(unsigned count) {
    make_server(count);
    prepare_answer(count, "0");
    int result = -1;
    measured([&] { result = dp_bios_reset_to_defaults("Boot"); });
    require(result == 0, "the reset failed");
}

const std::map<std::string, std::function<void(unsigned)>>& cases() {
    static const std::map<std::string, std::function<void(unsigned)>> all{
        {"check_batch", [](unsigned count) { read_batch(count, false); }},
        {"load_batch", [](unsigned count) { read_batch(count, true); }},
        {"read_template", read_template},
        {"query_values", query_values},
        {"query_attributes", query_attributes},
        {"run_transaction", run_transaction},
        {"use_instances", use_instances},
        {"write_client_log", write_client_log},
        {"write_process_log", write_process_log},
        {"fail_changes", fail_changes},
        {"reset_to_defaults", reset},
    };
    return all;
}

}  // namespace

namespace sysipc {

// The settings service answers while the client pauses.
void thread::sleep(std::uint32_t /*milliseconds*/) {
    std::filesystem::rename(below_root("tmp/dp/answer"), below_root("tmp/dp/batch.out"));
}

}  // namespace sysipc

int main(int argc, char** argv) {
    const auto found = cases().find(argc == 3 ? argv[1] : "");
    const unsigned long count = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
    if (found == cases().end() || count < queries || count > 1'000'000) {
        std::fputs("usage: DP_ROOT=FOLDER growth_work CASE COUNT\n", stderr);
        return 2;
    }
    found->second(static_cast<unsigned>(count));
    return 0;
}
