#include "tools/dpctl/output/vetting.hpp"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "platform/sysipc/application_log.hpp"
#include "platform/sysipc/event_log.hpp"
#include "tests/support/recording_log.hpp"

namespace dpctl {
namespace {

using test::recording_log;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace log_level = sysipc::event_log::log_level;

std::vector<std::string> described(const vetting& result) {
    std::vector<std::string> texts;
    for (const auto& redirection : result.redirections) {
        texts.push_back(describe(redirection));
    }
    return texts;
}

TEST(vet, returns_parameters_redirections_and_the_flag) {
    const vetting result = vet("ls -l \"/tmp/a b\" > /tmp/list 2>&1");
    EXPECT_TRUE(result.accepted);
    EXPECT_EQ(result.reason, "");
    EXPECT_THAT(result.parameters, ElementsAre("ls", "-l", "/tmp/a b"));
    EXPECT_THAT(described(result),
                ElementsAre("standard output to the file \"/tmp/list\" (overwritten)",
                            "standard error to standard output"));
    EXPECT_EQ(result.flag, 0x14U);
    EXPECT_EQ(describe_flag(result.flag),
              "standard output to a file, standard error to standard output");
}

TEST(describe, names_every_kind_of_redirection) {
    EXPECT_THAT(described(vet("c >>f")),
                ElementsAre("standard output to the file \"f\" (appended)"));
    EXPECT_THAT(described(vet("c >/dev/null 2>/dev/null")),
                ElementsAre("standard output to /dev/null", "standard error to /dev/null"));
    EXPECT_THAT(described(vet("c >&2")), ElementsAre("standard output to standard error"));
    EXPECT_THAT(described(vet("c >&1")),
                ElementsAre("standard output to the file \"&1\" (overwritten)"))
        << "a stream is not redirected to itself";
    EXPECT_EQ(describe_flag(0), "no redirection");
    EXPECT_EQ(describe_flag(0x23),
              "standard output is discarded, standard error is discarded, "
              "standard output to standard error");
    EXPECT_EQ(describe_flag(0x08), "standard error to a file");
}

TEST(vet, returns_the_reason_of_the_vetter) {
    const std::vector<std::pair<std::string, std::string>> refused{
        {"a | b", "pipe is not supported"},
        {"a < b", "redirect input is not supported"},
        {"a\"b\"", "quotes appears in the middle of parameter"},
        {"a \"\"", "no parameter between quotes"},
        {"a\\b", "escape char appear out of quotes"},
        {"a \"\\n\"", "unknown escape character"},
        {"a > > f", "redirection parse error"},
        {"a 3>f", "unknown redirection input"},
        {std::string(128, 'x'), "parameter is too long"},
    };
    for (const auto& [command, reason] : refused) {
        const vetting result = vet(command);
        EXPECT_FALSE(result.accepted) << command;
        EXPECT_EQ(result.reason, reason) << command;
        EXPECT_EQ(result.flag, 0U) << command;
    }
    EXPECT_THAT(vet("sort names | head").parameters, ElementsAre("sort", "names"));
}

TEST(vet, has_a_reason_where_the_vetter_has_none) {
    EXPECT_EQ(vet("a >b >c").reason, "a stream is redirected to two files");
    EXPECT_EQ(vet("  ab").reason, "there is no parameter, so there is nothing to run");
    EXPECT_EQ(vet(">f").reason, "there is no parameter, so there is nothing to run");
    for (const char* const nothing : {"", "   ", "&"}) {
        const vetting result = vet(nothing);
        EXPECT_FALSE(result.accepted) << nothing;
        EXPECT_NE(result.reason, "") << nothing;
    }
}

TEST(vet, returns_the_examined_part) {
    EXPECT_EQ(vet("ls -l &").examined, "ls -l");
    EXPECT_EQ(vet("  ab").examined, "  ");
    EXPECT_EQ(vet("ls").examined, "ls");
}

TEST(vet, forwards_to_the_log_and_restores_it) {
    const recording_log log(log_level::error);
    vet("a | b");
    EXPECT_THAT(log.lines, SizeIs(1));
    EXPECT_EQ(sysipc::application_log::app_streams, &log);
}

TEST(vet, respects_the_mask_of_the_log) {
    const recording_log log(0);
    EXPECT_EQ(vet("a | b").reason, "pipe is not supported");
    EXPECT_THAT(log.lines, IsEmpty());
}

}  // namespace
}  // namespace dpctl
