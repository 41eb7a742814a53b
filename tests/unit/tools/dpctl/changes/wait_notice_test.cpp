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

TEST(wait_notice, is_a_plain_line_without_a_terminal) {
    std::ostringstream err;
    { const wait_notice notice(err, false, "waiting"); }
    EXPECT_EQ(err.str(), "dpctl: waiting\n");
}

TEST(wait_notice, counts_seconds_on_a_terminal_and_removes_its_line) {
    awaited_text written;
    std::ostream err(&written);
    double seconds = 0;
    {
        const wait_notice notice(err, true, "waiting");
        EXPECT_TRUE(written.wait_for("1 s"));
        seconds = notice.seconds();
    }
    EXPECT_TRUE(written.text().starts_with("\rdpctl: waiting ... 0 s\rdpctl: waiting ... 1 s"))
        << written.text();
    EXPECT_TRUE(written.text().ends_with("\r\x1b[K"));
    EXPECT_GE(seconds, 1);
}

TEST(wait_notice, with_a_delay_shows_only_announcements_without_a_terminal) {
    std::ostringstream err;
    {
        wait_notice notice(err, false, "waiting", std::chrono::hours(1));
        notice.update("updated");
        notice.announce("announced");
    }
    EXPECT_EQ(err.str(), "dpctl: announced\n");
}

TEST(wait_notice, that_ends_before_its_delay_shows_nothing_on_a_terminal) {
    std::ostringstream err;
    {
        wait_notice notice(err, true, "waiting", std::chrono::hours(1));
        notice.announce("announced");
    }
    EXPECT_EQ(err.str(), "");
}

TEST(wait_notice, replaces_its_text_on_a_terminal) {
    awaited_text written;
    std::ostream err(&written);
    {
        wait_notice notice(err, true, "a long text");
        EXPECT_TRUE(written.wait_for("a long text ... 0 s"));
        notice.update("short");
        EXPECT_TRUE(written.wait_for("\r\x1b[Kdpctl: short ... 1 s"));
    }
    EXPECT_TRUE(written.text().ends_with("\r\x1b[K"));
}

TEST(wait_notice, ends_at_once) {
    using std::chrono::steady_clock;
    // A busy machine may delay some attempts. If the notice waited for the end of the second, it
    // would delay all of them.
    auto shortest = steady_clock::duration::max();
    for (int tries = 0; tries < 20 && shortest > std::chrono::milliseconds(900); ++tries) {
        std::ostringstream err;
        const auto start = steady_clock::now();
        { const wait_notice notice(err, true, "waiting"); }
        shortest = std::min(shortest, steady_clock::now() - start);
    }
    EXPECT_LT(shortest, std::chrono::milliseconds(900));
}

}  // namespace
}  // namespace dpctl
