#ifndef DP_TESTS_UNIT_PLATFORM_SUPPORT_HPP
#define DP_TESTS_UNIT_PLATFORM_SUPPORT_HPP

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/support/process.hpp"

namespace test {

/// Creates a folder for one test and removes it with its contents.
class scratch_folder {
  public:
    scratch_folder();
    ~scratch_folder();
    scratch_folder(const scratch_folder&) = delete;
    scratch_folder& operator=(const scratch_folder&) = delete;

    [[nodiscard]] std::string path(const std::string& name = "") const;

  private:
    std::filesystem::path folder_;
};

/// Runs a command and waits for it. Its environment has `variables` and none of this process's
/// variables for the log.
program_result run(const std::vector<std::string>& command,
                   const std::map<std::string, std::string>& variables);

}  // namespace test

#endif
