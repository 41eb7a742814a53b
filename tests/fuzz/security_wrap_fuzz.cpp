// Arbitrary text as a command line, compared with the model of the unit tests. Redirections are
// parsed but never applied, because a generated line could name any file.

#include <string>
#include <vector>

#include "common/log.hpp"
#include "exec/security_wrap.hpp"
#include "platform/sysipc/application_log.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/unit/exec/command_line_model.hpp"

namespace {

// Keeps the last logged line.
class last_line final : public sysipc::event_log::streams {
  public:
    void append(const std::string&, const std::string& line) override { text = line; }
    [[nodiscard]] std::uint32_t mask() const override { return dp::log_level::error; }
    [[nodiscard]] std::int32_t file() const override { return 0; }
    [[nodiscard]] std::uint32_t level() const override { return 0; }

    std::string text;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(data, data + size);
    const std::string line = bytes.c_str();

    last_line log;
    sysipc::application_log::app_streams = &log;
    std::vector<std::string> params;
    std::vector<dp::security_wrap::redirection> redirections;
    unsigned flag = 0;
    const bool accepted =
        dp::security_wrap::parse_commandline(line.c_str(), params, redirections, flag);
    dp::security_wrap::redirection_file out;
    dp::security_wrap::redirection_file err;
    const std::string refusal = log.text;
    dp::security_wrap::parse_redirection(redirections, out, err);
    sysipc::application_log::app_streams = nullptr;

    const test::command_line_outcome expected = test::model_command_line(line);
    fuzzing::require(accepted == expected.refusal.empty(),
                     "a line is accepted exactly when the model accepts it");
    if (!accepted) {
        fuzzing::require(refusal == " ***ERROR*** ERROR: security_wrap::exec: " + expected.refusal,
                         "the reason of a refusal is that of the model");
        return 0;
    }
    fuzzing::require(flag == 1, "the flag is 1");
    fuzzing::require(params == expected.params, "the parameters are those of the model");
    fuzzing::require(redirections.size() == expected.redirections.size(),
                     "the number of redirections is that of the model");
    for (std::size_t i = 0; i < redirections.size(); ++i) {
        const auto& r = redirections[i];
        fuzzing::require(expected.redirections[i] == test::command_line_outcome::redirection(
                                                         r.source, r.target, r.operation),
                         "the redirections are those of the model");
    }
    return 0;
}
