#ifndef DP_BIOS_CIM_HELPER_HPP
#define DP_BIOS_CIM_HELPER_HPP

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "bios/dp_api.h"
#include "bios/template_info.hpp"
#include "transactions/basic_transaction_command.hpp"

namespace dp {

/// When a watched file was last read, and how it was then.
struct readtimes {
    std::int64_t read_time = 0;          ///< seconds since the epoch; 0 never
    std::int32_t modification_time = 0;  ///< the file's, at that read
    std::uint32_t force = 0;             ///< non-zero: the next question is answered with a read
};

/// The BIOS attribute service behind the C API. Not thread-safe.
///
/// Its file names become part of command lines that a shell runs. They come from the process that
/// loads the library and are trusted; nothing that is read from a file reaches a command line.
class cim_helper {
  public:
    using value_map = std::map<std::string, std::string>;
    using name_lists = std::vector<std::vector<std::string>>;

    static std::string dp_api_template_fname;
    /// Item 0: the settings file (values as last set); item 1: the current-values file.
    static std::array<std::string, 2> dp_api_settings_fname;

    cim_helper() = default;
    ~cim_helper() = default;
    cim_helper(const cim_helper&) = delete;
    cim_helper& operator=(const cim_helper&) = delete;

    int init();

    // Template and files (cim_helper_files.cpp).
    /// Whether `file` must be read (again); then fills `out` for the caller to store with
    /// `store_read_time` once it has read.
    int is_read_necessary(const std::string& file, unsigned slot, readtimes& out);
    int read_template(std::string cfg, bool force, std::vector<template_info>& out);
    int read_config_names(std::vector<std::string>& names);
    int read_setting_instances(name_lists& inst);
    value_map* read_settings(int which);
    int read_uefi_build_id_file(std::string& id);
    static int update_uefi_build_id_file();
    static std::uint32_t a2i(std::string text, bool hex);

    // Queries (cim_helper_queries.cpp).
    int init_confignames();
    int init_setting_instances();
    int get_config_idx(const std::string& name, unsigned* idx);
    int is_valid_collection(const std::string& name);
    int get_config_count();
    const char** get_config_names();
    dp_attribute* get_attributes(const char* cfg);
    unsigned get_attributes_count(const char* cfg);
    dp_attribute* get_attribute(const char* name);
    const char** get_attribute_names(const char* cfg);
    unsigned get_attribute_names_count(const char* cfg);
    static int get_setting_value(const value_map* map, const std::string& name, std::string* value);
    int get_bios_attribute_value(dp_transaction* trans, unsigned count, int which);

    // Changes (cim_helper_changes.cpp).
    void trans_to_commands(const dp_transaction* trans, unsigned count,
                           std::vector<basic_transaction_command>& cmds) const;
    void write_batch_file(std::vector<basic_transaction_command>& cmds);
    int process_batch_file(std::vector<basic_transaction_command>& cmds,
                           std::vector<batch_file_entry>& entries);
    /// Index of the first command with that correlator, or -1. The commands are in the order of
    /// their correlators, as `trans_to_commands` makes them.
    static int find_correlator_index(const std::vector<basic_transaction_command>& cmds,
                                     std::uint32_t corr);
    int set_bios_attribute_value(dp_transaction* trans, unsigned count);
    int need_reinit(const char* cfg);
    int reset_to_defaults(const char* cfg);

  private:
    static constexpr unsigned slot_settings = 0;
    static constexpr unsigned slot_current = 1;
    static constexpr unsigned slot_template = 2;
    static constexpr unsigned slot_config_names = 3;
    static constexpr unsigned slot_instances = 4;
    static constexpr unsigned slot_build_id = 5;

    std::array<value_map, 2> values_;
    std::array<readtimes, 6> read_times_{};
    std::uint32_t correlator_ = 0;
    std::uint8_t confignames_ready_ = 0;
    std::uint8_t instances_ready_ = 0;
    std::vector<std::string> config_names_;
    std::vector<std::vector<template_info>> templates_;
    name_lists instances_;
    std::vector<const char*> config_name_pointers_;
    std::vector<std::vector<dp_attribute>> attributes_;
    std::vector<std::vector<const char*>> attribute_names_;
    std::string build_id_;

    // Indexes beside the lists above: first position of a name.
    std::unordered_map<std::string_view, unsigned> config_index_;
    std::vector<std::unordered_map<std::string_view, std::size_t>> attribute_index_;
};

}  // namespace dp

#endif
