#ifndef DP_TESTS_SUPPORT_SHOWN_SERVER_HPP
#define DP_TESTS_SUPPORT_SHOWN_SERVER_HPP

#include <algorithm>
#include <cstdio>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bios/template_info.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/sealed_values.hpp"

namespace test {

/// The files of a server below $DP_ROOT, as a settings service leaves them: with an expanded
/// template.
class shown_server {
  public:
    using values = std::map<std::string, std::string>;

    /// Empties the scratch folder and writes the files.
    explicit shown_server(const std::vector<template_info>& infos, const values& pending,
                          const values& current) {
        clean_root();
        std::vector<std::string> collections;
        std::ostringstream records;
        std::string names;
        for (const auto& info : infos) {
            records << info;
            if (std::find(collections.begin(), collections.end(), info.cfg) == collections.end()) {
                collections.push_back(info.cfg);
                names += info.cfg + '\n';
            }
        }
        write_file(root() + "/var/dp/uefi_template.efi", "not read");
        set_mtime(root() + "/var/dp/uefi_template.efi", 1'000'000);
        write_file(root() + "/tmp/dp/uefi_configs.txt", names);
        write_file(root() + "/tmp/dp/uefi_info.txt", records.str());
        write_file(root() + "/var/dp/vpd.txt", "UEFIID=B1\n");
        set_pending(pending);
        set_current(current);
    }

    static void set_pending(const values& all) { replace(pending_path(), text_of(all)); }
    static void set_current(const values& all) { replace(current_path(), text_of(all)); }
    static void set_registry(const std::string& text) {
        replace(root() + "/var/dp/uefi_registry.json", text);
    }
    static void set_history(const std::string& text) { replace(root() + "/var/dp/history", text); }

    static std::string pending_path() { return root() + "/var/dp/uefi_settings.txt"; }
    static std::string current_path() { return root() + "/var/dp/uefi_current.txt"; }

  private:
    static std::string text_of(const values& all) {
        std::string lines;
        for (const auto& [name, value] : all) {
            std::string quoted;
            for (const char c : value) {
                quoted += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
            }
            lines += "0 0 uefi set ";
            lines += name;
            lines += " \"";
            lines += quoted;
            lines += "\" \"\"\n";
        }
        return sealed(lines);
    }

    static void replace(const std::string& path, const std::string& text) {
        write_file(path + ".new", text);
        if (std::rename((path + ".new").c_str(), path.c_str()) != 0) {
            throw std::runtime_error("cannot replace " + path);
        }
    }
};

}  // namespace test

#endif
