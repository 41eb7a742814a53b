#ifndef DP_TESTS_SUPPORT_SCRATCH_FILES_HPP
#define DP_TESTS_SUPPORT_SCRATCH_FILES_HPP

#include <ctime>
#include <string>

namespace test {

/// The scratch folder of this run: $DP_ROOT, with bin, tmp/dp and var/dp in it. A test that needs
/// them clean calls `clean_root` first.
std::string root();
void clean_root();

/// Whole files.
std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& content);
/// Waits until the file holds the text, which another process or thread writes: whether it came
/// within a minute.
bool wait_for_text(const std::string& path, const std::string& text);
/// Sets access and modification time to whole seconds.
void set_mtime(const std::string& path, std::time_t seconds);
/// Writes an executable shell script.
void write_script(const std::string& path, const std::string& body);

}  // namespace test

#endif
