#include "tools/dpctl/output/vetting.hpp"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "platform/sysipc/application_log.hpp"

namespace dpctl {
namespace {

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

// Stands where the process's log is and keeps what reaches it.
class kept_log final : public sysipc::event_log::streams {
  public:
    explicit kept_log(std::uint32_t mask)
        : mask_(mask), behind_(sysipc::application_log::app_streams) {
        sysipc::application_log::app_streams = this;
    }
    ~kept_log() { sysipc::application_log::app_streams = behind_; }
    kept_log(const kept_log&) = delete;
    kept_log& operator=(const kept_log&) = delete;

    void append(const std::string& level, const std::string& text) override {
        lines.push_back(level + text);
    }
    [[nodiscard]] std::uint32_t mask() const override { return mask_; }
    [[nodiscard]] std::int32_t file() const override { return 0; }
    [[nodiscard]] std::uint32_t level() const override { return 0; }

    std::vector<std::string> lines;

  private:
    std::uint32_t mask_;
    sysipc::event_log::streams* behind_;
};

TEST(vetting, tells_parameters_redirections_and_the_flag) {
    const vetting result = vet("ls -l \"/tmp/a b\" > /tmp/list 2>&1");
    EXPECT_TRUE(result.accepted);
    EXPECT_EQ(result.reason, "");
    EXPECT_THAT(result.parameters, ElementsAre("ls", "-l", "/tmp/a b"));
    EXPECT_THAT(described(result),
                ElementsAre("standard output to the file \"/tmp/list\", which is emptied first",
                            "standard error to standard output"));
    EXPECT_EQ(result.flag, 0x14U);
    EXPECT_EQ(describe_flag(result.flag),
              "standard output to a file, standard error to standard output");
}

TEST(vetting, tells_every_kind_of_redirection) {
    EXPECT_THAT(described(vet("c >>f")),
                ElementsAre("standard output to the file \"f\", behind what it holds"));
    EXPECT_THAT(described(vet("c >/dev/null 2>/dev/null")),
                ElementsAre("standard output to /dev/null", "standard error to /dev/null"));
    EXPECT_THAT(described(vet("c >&2")), ElementsAre("standard output to standard error"));
    EXPECT_THAT(described(vet("c >&1")),
                ElementsAre("standard output to the file \"&1\", which is emptied first"))
        << "a stream is not sent to itself";
    EXPECT_EQ(describe_flag(0), "no redirection");
    EXPECT_EQ(describe_flag(0x23),
              "standard output is dropped, standard error is dropped, "
              "standard output to standard error");
    EXPECT_EQ(describe_flag(0x08), "standard error to a file");
}

TEST(vetting, gives_the_vetters_own_reason) {
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

TEST(vetting, has_a_reason_where_the_vetter_is_silent) {
    EXPECT_EQ(vet("a >b >c").reason, "one stream goes to a second file");
    EXPECT_EQ(vet("  ab").reason, "no parameter is left, so there is nothing to run");
    EXPECT_EQ(vet(">f").reason, "no parameter is left, so there is nothing to run");
    for (const char* const nothing : {"", "   ", "&"}) {
        const vetting result = vet(nothing);
        EXPECT_FALSE(result.accepted) << nothing;
        EXPECT_NE(result.reason, "") << nothing;
    }
}

TEST(vetting, tells_what_was_looked_at) {
    EXPECT_EQ(vet("ls -l &").looked_at, "ls -l");
    EXPECT_EQ(vet("  ab").looked_at, "  ");
    EXPECT_EQ(vet("ls").looked_at, "ls");
}

TEST(vetting, hands_the_log_on_and_gives_it_back) {
    kept_log log(log_level::error);
    vet("a | b");
    EXPECT_THAT(log.lines, SizeIs(1));
    EXPECT_EQ(sysipc::application_log::app_streams, &log);
}

TEST(vetting, logs_no_error_that_the_log_does_not_want) {
    kept_log log(0);
    EXPECT_EQ(vet("a | b").reason, "pipe is not supported");
    EXPECT_THAT(log.lines, IsEmpty());
}

}  // namespace
}  // namespace dpctl
