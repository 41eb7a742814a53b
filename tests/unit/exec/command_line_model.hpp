#ifndef DP_TESTS_UNIT_EXEC_COMMAND_LINE_MODEL_HPP
#define DP_TESTS_UNIT_EXEC_COMMAND_LINE_MODEL_HPP

#include <string>
#include <tuple>
#include <vector>

namespace test {

/// The expected result for a command line. The model works in two passes, tokens and grammar, where
/// the library has one loop over the characters.
struct command_line_outcome {
    using redirection = std::tuple<std::string, std::string, int>;  // source, target, operation

    std::string refusal;  ///< the logged reason; empty when the line is accepted
    std::vector<std::string> params;
    std::vector<redirection> redirections;
};

command_line_outcome model_command_line(const std::string& line);

}  // namespace test

#endif
