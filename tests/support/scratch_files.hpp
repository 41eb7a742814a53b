#ifndef DP_TESTS_SUPPORT_SCRATCH_FILES_HPP
#define DP_TESTS_SUPPORT_SCRATCH_FILES_HPP

#include <ctime>
#include <string>

namespace test {

/// The scratch folder of this process, $DP_ROOT. Throws std::logic_error when there is none.
std::string root();

/// Removes a folder with all that is in it, also while another process creates files there.
void remove_folder(const std::string& path);
/// Empties the scratch folder and creates bin, tmp/dp, tmp/DS and var/dp in it.
void clean_root();

/// Returns the file's content; "" when it cannot be read.
std::string read_file(const std::string& path);
/// Writes a whole file. Throws std::runtime_error on failure, as the functions below do.
void write_file(const std::string& path, const std::string& content);
/// Waits until the file contains a text that another process or thread writes; false when it does
/// not within `patience`.
bool wait_for_text(const std::string& path, const std::string& text);
/// Sets the access and modification times, in seconds since the epoch.
void set_mtime(const std::string& path, std::time_t seconds);
/// Writes an executable shell script.
void write_script(const std::string& path, const std::string& body);

}  // namespace test

#endif
