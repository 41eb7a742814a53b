#include "tools/dpctl/changes/wait_notice.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

// Stores what is written to it, possibly by another thread, and lets a test wait for a text.
class awaited_text final : public std::streambuf {
  public:
    // Whether the text was written within two minutes.
    bool wait_for(const std::string& wanted) {
        std::unique_lock guard(mutex_);
        return written_.wait_for(guard, std::chrono::minutes(2),
                                 [&] { return text_.find(wanted) != std::string::npos; });
    }
    std::string text() {
        const std::lock_guard guard(mutex_);
        return text_;
    }

  protected:
    int_type overflow(int_type c) override {
        const char written = traits_type::to_char_type(c);
        return xsputn(&written, 1) == 1 ? traits_type::not_eof(c) : traits_type::eof();
    }
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        const std::lock_guard guard(mutex_);
        text_.append(text, static_cast<std::size_t>(size));
        written_.notify_all();
        return size;
    }

  private:
    std::mutex mutex_;
    std::condition_variable written_;
    std::string text_;
};

constexpr dp_support::terminal no_terminal;
constexpr dp_support::terminal wide_terminal{60, 24, false};

// What a terminal shows of `text` after its last "\r".
std::string last_line(const std::string& text) {
    return text.substr(text.rfind('\r') + 1);
}

TEST(wait_notice, is_a_plain_line_without_a_terminal) {
    std::ostringstream err;
    { const wait_notice notice(err, no_terminal, "waiting"); }
    EXPECT_EQ(err.str(), "dpctl: waiting\n");
}

TEST(wait_notice, counts_seconds_on_a_terminal_and_removes_its_line) {
    awaited_text written;
    std::ostream err(&written);
    double seconds = 0;
    {
        const wait_notice notice(err, wide_terminal, "waiting");
        EXPECT_TRUE(written.wait_for("dpctl: waiting ... 1 s"));
        seconds = notice.seconds();
    }
    EXPECT_TRUE(written.text().starts_with("\rdpctl: waiting ... ")) << written.text();
    EXPECT_EQ(last_line(written.text()), "");
    EXPECT_TRUE(written.text().ends_with("\r                      \r")) << written.text();
    EXPECT_GE(seconds, 1);
}

TEST(wait_notice, with_a_delay_shows_only_announcements_without_a_terminal) {
    awaited_text written;
    std::ostream err(&written);
    {
        wait_notice notice(err, no_terminal, "waiting", std::chrono::milliseconds(1));
        notice.update("updated");
        notice.progress(1, 2);
        notice.announce("announced");
        EXPECT_TRUE(written.wait_for("announced\n"));
        notice.announce("again");
        EXPECT_TRUE(written.wait_for("again\n"));
    }
    EXPECT_EQ(written.text(), "dpctl: announced\ndpctl: again\n");
}

TEST(wait_notice, that_ends_before_its_delay_shows_nothing) {
    for (const auto& shown_on : {wide_terminal, no_terminal}) {
        std::ostringstream err;
        {
            wait_notice notice(err, shown_on, "waiting", std::chrono::hours(1));
            notice.announce("announced");
            notice.progress(1, 100);
        }
        EXPECT_EQ(err.str(), "");
    }
}

TEST(wait_notice, replaces_its_text_on_a_terminal) {
    awaited_text written;
    std::ostream err(&written);
    {
        wait_notice notice(err, wide_terminal, "a long text");
        EXPECT_TRUE(written.wait_for("a long text ... "));
        notice.update("short");
        EXPECT_TRUE(written.wait_for("\rdpctl: short ... "));
    }
    // Spaces cover the rest of the longer line.
    EXPECT_NE(written.text().find("      "), std::string::npos);
    EXPECT_EQ(last_line(written.text()), "");
}

TEST(wait_notice, shows_the_progress_on_a_terminal) {
    awaited_text written;
    std::ostream err(&written);
    wait_notice notice(err, wide_terminal, "waiting");
    notice.progress(50, 100);
    EXPECT_TRUE(written.wait_for("dpctl: waiting [##########..........], 50 of 100 ... "))
        << written.text();
}

TEST(wait_notice, shows_no_raw_control_bytes) {
    std::ostringstream err;
    { const wait_notice notice(err, no_terminal, "a\x1b[2J"); }
    EXPECT_EQ(err.str(), "dpctl: a\\x1b[2J\n");
}

TEST(wait_line, fits_the_width) {
    const std::string text = "the settings service makes the changes";
    for (std::size_t columns = 20; columns <= 200; ++columns) {
        for (const std::uint32_t total : {0U, 3U, 5000U}) {
            EXPECT_LE(display_width(wait_line(text, 2, total, 12, columns)),
                      std::max<std::size_t>(columns, 32))
                << columns;
        }
    }
    EXPECT_EQ(wait_line(text, 0, 0, 7, 30), "dpctl: the settings s… ... 7 s");
}

TEST(wait_line, has_a_bar_only_for_many_commands) {
    EXPECT_EQ(wait_line("waiting", 1, 3, 2, 79), "dpctl: waiting, 1 of 3 ... 2 s");
    EXPECT_EQ(wait_line("waiting", 10, 40, 2, 40), "dpctl: waiting [#....], 10 of 40 ... 2 s");
    EXPECT_EQ(wait_line("waiting", 9000, 9000, 2, 200),
              "dpctl: waiting [##############################], 9000 of 9000 ... 2 s");
}

TEST(wait_notice, ends_at_once) {
    using std::chrono::steady_clock;
    // A busy machine may delay some attempts. If the notice waited for the end of the second, it
    // would delay all of them.
    auto shortest = steady_clock::duration::max();
    for (int tries = 0; tries < 20 && shortest > std::chrono::milliseconds(900); ++tries) {
        std::ostringstream err;
        const auto start = steady_clock::now();
        { const wait_notice notice(err, wide_terminal, "waiting"); }
        shortest = std::min(shortest, steady_clock::now() - start);
    }
    EXPECT_LT(shortest, std::chrono::milliseconds(900));
}

}  // namespace
}  // namespace dpctl
