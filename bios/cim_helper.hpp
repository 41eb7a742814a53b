#ifndef DP_BIOS_CIM_HELPER_HPP
#define DP_BIOS_CIM_HELPER_HPP

#include <array>
#include <cstddef>
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

/// When a watched file was last read, and its modification time at that read.
struct readtimes {
    std::int64_t read_time = 0;          ///< seconds since the epoch; 0 never
    std::int32_t modification_time = 0;  ///< of the file, at that read
    std::uint32_t force = 0;             ///< non-zero: the next check asks for a read
};

/// The BIOS attribute service that implements the C API. Reads its files on first use and caches
/// their contents. Not thread-safe.
///
/// Its file names become part of command lines that a shell runs. They come from the process that
/// loads the library and are trusted; nothing that is read from a file reaches a command line.
///
/// Where a collection's name is a `const char*`, null throws std::logic_error. A call that ends
/// with any other exception (out of memory) can be repeated: a file that was not read completely
/// counts as not read.
class cim_helper {
  public:
    using value_map = std::map<std::string, std::string>;
    using name_lists = std::vector<std::vector<std::string>>;

    // Class-wide; replaced only before first use, by contract.
    // NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables)
    static std::string dp_api_template_fname;
    /// Item 0: the settings file (values as last set); item 1: the current-values file.
    static std::array<std::string, 2> dp_api_settings_fname;
    // NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

    cim_helper() = default;
    ~cim_helper() = default;
    cim_helper(const cim_helper&) = delete;
    cim_helper& operator=(const cim_helper&) = delete;

    /// Does nothing: every file is read on first use. Always 1.
    static int init() { return 1; }

    // Reading the files.

    /// 1 when `file` must be read (again); the caller stores `out` in the slot after the read. 0
    /// when the slot's last read is at most 4 seconds old or the file has not changed since. A file
    /// that changed in the same second in which it was read is read again.
    int is_read_necessary(const std::string& file, unsigned slot, readtimes& out) const;
    /// Appends the template's entries of a collection to `out` if the template changed or `force`
    /// is set. Always 1.
    int read_template(const std::string& cfg, bool force, std::vector<template_info>& out);
    /// Appends the names of the collections. 1 read, 0 not necessary.
    int read_config_names(std::vector<std::string>& names);
    /// Appends the qualified names of the settings file to the lists of their collections. 1 read,
    /// 0 not necessary.
    int read_setting_instances(name_lists& inst);
    /// The values of the settings file (`which` 0) or the current-values file (any other), read
    /// again when necessary. Never null.
    value_map* read_settings(int which);
    /// 1 when the build id was read (empty without a file), 0 when not necessary.
    int read_uefi_build_id_file(std::string& id);
    /// 1 when the build-id file was replaced by another id, 0 otherwise.
    static int update_uefi_build_id_file();
    /// The same as `template_info::a2i`.
    static std::uint32_t a2i(const std::string& text, bool hex);

    // Queries.

    /// Read the list of collections (and the build id), and the setting instances, once in the
    /// lifetime of the service. Operations that need them call them. Always 1.
    int init_confignames();
    int init_setting_instances();
    /// 1 and the first position of the name in the list of collections; 0 when it is not there.
    int get_config_idx(std::string_view name, unsigned* idx);
    int is_valid_collection(std::string_view name);
    int get_config_count();
    /// The first of the collections' names; null without any.
    const char** get_config_names();
    /// The first of a collection's attributes, read until there are any; null without any.
    dp_attribute* get_attributes(const char* cfg);
    /// How many attributes `get_attributes` returned; reads only the list of collections.
    unsigned get_attributes_count(const char* cfg);
    /// The first attribute whose id is the setting part of the name; null without one.
    dp_attribute* get_attribute(const char* name);
    /// The first of the names of a collection's setting instances; null without any.
    const char** get_attribute_names(const char* cfg);
    unsigned get_attribute_names_count(const char* cfg);
    /// 1 and the value of that name; 0 without one, and `value` is unchanged.
    static int get_setting_value(const value_map* map, const std::string& name, std::string* value);
    /// Answers each request in `trans`; returns how many failed.
    int get_bios_attribute_value(dp_transaction* trans, unsigned count, int which);

    // Changes.

    /// Appends one command per request, in order, with correlators from 100 up.
    void trans_to_commands(const dp_transaction* trans, unsigned count,
                           std::vector<basic_transaction_command>& cmds) const;
    /// Writes the batch file; the next batch gets another transaction id. False when the file was
    /// opened but could not be written completely; it was then removed before it was closed, so
    /// that the settings service does not execute a part of it.
    bool write_batch_file(std::vector<basic_transaction_command>& cmds);
    /// Lets the settings service execute the commands and gathers the answers, which may take a
    /// minute. How many failed, or -1 when there is nothing to do, the batch could not be written
    /// completely, or no answer could be read. An answer is a regular file of at most 1 MiB and
    /// 64 KiB for each command. `entries` gets statuses and details of failed commands.
    int process_batch_file(std::vector<basic_transaction_command>& cmds,
                           std::vector<batch_file_entry>& entries);
    /// Index of the first command with that correlator, or -1. The commands are sorted by
    /// correlator, as `trans_to_commands` makes them.
    static int find_correlator_index(const std::vector<basic_transaction_command>& cmds,
                                     std::uint32_t corr);
    /// These three return what the functions of the C API document.
    int set_bios_attribute_value(dp_transaction* trans, unsigned count);
    int need_reinit(const char* cfg);
    int reset_to_defaults(const char* cfg);

  private:
    // Read-time slots. Two of the files have two readers, each with a slot of its own.
    static constexpr unsigned slot_settings = 0;
    static constexpr unsigned slot_current = 1;
    static constexpr unsigned slot_template = 2;
    static constexpr unsigned slot_config_names = 3;
    static constexpr unsigned slot_instances = 4;
    static constexpr unsigned slot_build_id = 5;

    bool load_attributes(std::string_view cfg, unsigned& idx);
    [[nodiscard]] dp_attribute* find_attribute(unsigned idx, std::string_view id);

    std::array<value_map, 2> values_;
    std::array<readtimes, 6> read_times_{};

  public:
    std::uint32_t correlator = 0;        ///< counts the batches; part of their transaction ids
    std::uint8_t confignames_ready = 0;  ///< 1 once `init_confignames` has run
    std::uint8_t instances_ready = 0;    ///< 1 once `init_setting_instances` has run

  private:
    std::vector<std::string> config_names_;
    std::vector<std::vector<template_info>> templates_;
    name_lists instances_;
    std::vector<const char*> config_name_pointers_;
    std::vector<std::vector<dp_attribute>> attributes_;
    std::vector<std::vector<const char*>> attribute_names_;
    std::string build_id_;

    // Indexes of the lists above: the first position of a name or id.
    std::unordered_map<std::string_view, unsigned> config_index_;
    std::vector<std::unordered_map<std::string_view, std::size_t>> attribute_index_;
};

}  // namespace dp

#endif
