#ifndef DP_TESTS_SUPPORT_SCRATCH_PROCESS_HPP
#define DP_TESTS_SUPPORT_SCRATCH_PROCESS_HPP

#include <filesystem>
#include <functional>

namespace test {

/// Runs `work` in a child process whose $DP_ROOT is a clean scratch folder in `parent`, and removes
/// the folder afterwards, however the child ends. Returns the result of `work`, or what ended the
/// child (`exit_code_of`).
///
/// The child executes this program again with `argv`, because the library reads $DP_ROOT when it is
/// loaded: main must come here again before it does anything else.
int run_in_scratch_process(char* const* argv, const std::filesystem::path& parent,
                           const std::function<int()>& work);

}  // namespace test

#endif
