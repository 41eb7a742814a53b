#ifndef DP_BIOS_ATTRIBUTE_FILES_HPP
#define DP_BIOS_ATTRIBUTE_FILES_HPP

#include <string>
#include <vector>

class template_info;

namespace dp {

// Reads the files of the BIOS attribute service, each under a read lock on the file that its
// writers lock. A file that cannot be opened reads as an empty one.

/// Appends the entries of a collection (all entries if `cfg` is empty) to `out`. The outside tool
/// first expands the template if it is newer than its text.
void read_template_file(const std::string& template_file, const std::string& cfg,
                        std::vector<template_info>& out);

/// Appends the names of the template's collections. The outside tool first expands the template if
/// it is newer than the list.
void read_collection_list(const std::string& template_file, std::vector<std::string>& names);

/// Appends the qualified names and the values of a settings file, possibly compressed, to the
/// lists, which stay aligned. Throws when memory runs out: half a file must not pass for a whole
/// one.
void read_settings_file(const std::string& file, std::vector<std::string>& names,
                        std::vector<std::string>& values);

/// The first line of the build-id file, without its newline.
std::string read_build_id(const std::string& file);

/// Removes a file. A failure is logged, but for a missing file.
void remove_file(const std::string& file);

}  // namespace dp

#endif
