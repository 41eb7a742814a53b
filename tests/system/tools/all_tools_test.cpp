#include <gmock/gmock.h>

#include <string>

#include "tests/system/tools/tool_test.hpp"

namespace {

using test::program_result;
using test::run_program;
using testing::HasSubstr;

class all_tools : public test::tool_test {};

/// Runs a program of this build in a shell. `rest` may redirect its streams.
program_result run_in_shell(const std::string& program, const std::string& rest) {
    return run_program("/bin/sh", {"-c", test::program_path(program) + " " + rest});
}

TEST_F(all_tools, name_the_unknown_argument) {
    for (const char* program : {"dp-server", "dp-template", "dpctl", "dpspy", "sysvpd"}) {
        const auto result = run_program(program, {"--frob"});
        EXPECT_EQ(result.exit_code, 2) << program;
        EXPECT_THAT(result.err, HasSubstr("not expected: --frob\n")) << program;
    }
    EXPECT_THAT(run_program("dpctl", {"lsit", "Boot"}).err, HasSubstr("not expected: lsit\n"));
    EXPECT_THAT(run_program("dpctl", {"list", "--frob"}).err, HasSubstr("not expected: --frob\n"));
    EXPECT_THAT(run_program("dpctl", {"check"}).err, HasSubstr("COLLECTION is required\n"));
}

TEST_F(all_tools, fail_when_their_output_is_lost) {
    for (const char* program : {"dp-server", "dp-template", "dpctl", "dpspy", "sysvpd"}) {
        for (const char* lost : {"--help >/dev/full", "--help >&-"}) {
            const auto result = run_in_shell(program, lost);
            EXPECT_EQ(result.exit_code, 1) << program << ' ' << lost;
            EXPECT_THAT(result.err, HasSubstr("could not be written\n")) << program << ' ' << lost;
        }
    }
    compile(test::sample_registry);
    const auto result = run_in_shell(
        "dp-server", "install --template u.efi --settings s.txt --build-id B1 >/dev/full");
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "dp-server: a part of the output could not be written\n");
}

}  // namespace
