#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "tests/system/tools/tool_test.hpp"

namespace {

using test::run_program;
using testing::StartsWith;

class sysvpd : public test::tool_test {};

TEST_F(sysvpd, prints_the_value_of_a_key) {
    write("var/dp/vpd.txt", "MODEL=Halden 2200\nUEFIID=HLD-1.4.2=x\nEMPTY=\nnonsense\n\nUEFIID=2");
    const auto result = run_program("sysvpd", {"-g", "UEFIID"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "HLD-1.4.2=x\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(run_program("sysvpd", {"-g", "MODEL"}).out, "Halden 2200\n");
    EXPECT_EQ(run_program("sysvpd", {"-g", "EMPTY"}).out, "\n");
}

TEST_F(sysvpd, fails_without_the_item_or_without_data) {
    write("var/dp/vpd.txt", "UEFIID=1\nUEFI=2\n");
    for (const char* key : {"uefiid", "UEFII", "UEFIIDX", "", "1", "UEFIID=1"}) {
        const auto result = run_program("sysvpd", {"-g", key});
        EXPECT_EQ(result.exit_code, 1) << key;
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("sysvpd: "));
    }
    std::filesystem::remove(path("var/dp/vpd.txt"));
    EXPECT_EQ(run_program("sysvpd", {"-g", "UEFIID"}).exit_code, 1);
    std::filesystem::create_directory(path("var/dp/vpd.txt"));
    const auto folder = run_program("sysvpd", {"-g", "UEFIID"});
    EXPECT_EQ(folder.exit_code, 1);
    EXPECT_EQ(folder.err, "sysvpd: cannot read " + path("var/dp/vpd.txt") + "\n");
}

TEST_F(sysvpd, distinguishes_wrong_usage_from_failure) {
    EXPECT_EQ(run_program("sysvpd", {}).exit_code, 2);
    EXPECT_EQ(run_program("sysvpd", {"UEFIID"}).exit_code, 2);
    EXPECT_EQ(run_program("sysvpd", {"-g"}).exit_code, 2);
    EXPECT_EQ(run_program("sysvpd", {"--help"}).exit_code, 0);
}

}  // namespace
