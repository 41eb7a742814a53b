#ifndef DP_TESTS_SUPPORT_TEST_DATA_HPP
#define DP_TESTS_SUPPORT_TEST_DATA_HPP

#include <string>

namespace test {

/// The path of a file of real data, such as "efi/records.bin", in the folder that the build option
/// DP_TEST_DATA_DIR names.
std::string data_file(const std::string& name);

/// Why a test that needs this file is skipped; empty if the file can be read.
std::string missing_data(const std::string& name);

}  // namespace test

#endif
