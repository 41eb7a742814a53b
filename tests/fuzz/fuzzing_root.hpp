#ifndef DP_TESTS_FUZZ_FUZZING_ROOT_HPP
#define DP_TESTS_FUZZ_FUZZING_ROOT_HPP

#include <string>

namespace fuzzing {

/// The scratch folder of this process, in memory where the system has such a folder. It is $DP_ROOT
/// before the library's objects are initialised, contains the folders of a board, and is removed
/// when the process ends normally.
const std::string& scratch_root();

/// The path of a file below the scratch folder.
std::string scratch_path(const std::string& below_root);

/// Replaces a file by one with these bytes. Aborts when that fails.
void write_scratch(const std::string& path, const std::string& bytes);

/// The file's bytes; none when it cannot be read.
std::string read_scratch(const std::string& path);

/// Removes every file in the folder, but not its folders.
void empty_folder(const std::string& path);

}  // namespace fuzzing

#endif
