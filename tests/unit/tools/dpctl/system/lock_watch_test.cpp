#include "tools/dpctl/system/lock_watch.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "common/file_locks.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/scratch_files.hpp"

namespace dpctl {
namespace {

using std::chrono::steady_clock;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

// A process that has the file `path` locked for writing until it is told to end.
class writer_process {
  public:
    explicit writer_process(const std::string& path)
        : process_([path](const test::child_process::parent_channel& parent) {
              const writelock lock(path);
              parent.send('l');
              static_cast<void>(parent.receive());
              return 0;
          }) {
        EXPECT_EQ(process_.receive(), 'l');
    }

    void end() {
        process_.send('e');
        process_.wait();
    }

    // As messages have it.
    [[nodiscard]] std::string name() const {
        const std::string pid = std::to_string(process_.pid());
        std::string program = test::read_file("/proc/" + pid + "/comm");
        program.pop_back();
        return "process " + pid + " (" + program + ')';
    }

  private:
    test::child_process process_;
};

class lock_watching : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        test::write_file(file_, "text");
    }

    const std::string file_ = test::root() + "/file";
};

class writer_of_test : public lock_watching {};
class wait_for_writers_test : public lock_watching {};
class lock_watch_test : public lock_watching {};

TEST_F(writer_of_test, names_the_process_that_has_the_lock) {
    EXPECT_EQ(writer_of(file_), "");
    writer_process writer(file_);
    EXPECT_EQ(writer_of(file_), writer.name());
    writer.end();
    EXPECT_EQ(writer_of(file_), "");
    EXPECT_EQ(writer_of(test::root() + "/missing"), "");
}

TEST_F(writer_of_test, ignores_readers) {
    test::child_process reader([&](const test::child_process::parent_channel& parent) {
        const readlock lock(file_);
        parent.send('l');
        static_cast<void>(parent.receive());
        return 0;
    });
    ASSERT_EQ(reader.receive(), 'l');
    EXPECT_EQ(writer_of(file_), "");
}

TEST_F(writer_of_test, does_not_know_the_process_of_a_lock_without_one) {
    const int descriptor = open(file_.c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    ASSERT_EQ(fcntl(descriptor, F_OFD_SETLK, &lock), 0);
    EXPECT_EQ(writer_of(file_), "another process");
    close(descriptor);
}

TEST_F(wait_for_writers_test, reports_who_still_has_a_lock_at_the_end) {
    const std::string other = test::root() + "/other";
    test::write_file(other, "");
    const writer_process writer(file_);
    std::vector<std::string> notes;
    const auto note = [&](const std::string& text) { notes.push_back(text); };
    EXPECT_EQ(wait_for_writers({other, file_}, steady_clock::now(), note),
              file_ + " is locked by " + writer.name());
    EXPECT_EQ(wait_for_writers({other}, steady_clock::now(), note), "");
    EXPECT_THAT(notes, IsEmpty());
}

TEST_F(wait_for_writers_test, notifies_once_and_continues_when_the_lock_is_released) {
    writer_process writer(file_);
    std::vector<std::string> notes;
    EXPECT_EQ(wait_for_writers({file_}, steady_clock::now() + 1h,
                               [&](const std::string& text) {
                                   notes.push_back(text);
                                   writer.end();
                               }),
              "");
    ASSERT_THAT(notes, SizeIs(1));
    EXPECT_THAT(notes[0], HasSubstr("waiting: " + file_ + " is locked by process "));
}

TEST_F(lock_watch_test, interrupts_the_wait_of_the_library) {
    const writer_process writer(file_);
    for (int round = 0; round < 3; ++round) {
        lock_watch watch({file_}, steady_clock::now());
        const readlock first(file_);
        const readlock second(file_);  // the thread is interrupted as often as it waits
        EXPECT_EQ(watch.finish(), file_ + " is locked by " + writer.name());
    }
}

TEST_F(lock_watch_test, finds_the_lock_of_a_file_that_was_replaced) {
    lock_watch watch({file_}, steady_clock::now());
    const std::string other = test::root() + "/other";
    test::write_file(other, "");
    const writer_process writer(other);
    std::filesystem::rename(other, file_);
    { const readlock lock(file_); }
    EXPECT_EQ(watch.finish(), file_ + " is locked by " + writer.name());
}

TEST_F(lock_watch_test, does_not_disturb_a_call_that_takes_long_without_a_lock) {
    lock_watch watch({file_, test::root() + "/missing"}, steady_clock::now());
    const int descriptor = open(file_.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(file_lock_read(descriptor), 0);
    const timespec pause{0, 200'000'000};  // several rounds of the watch
    EXPECT_EQ(nanosleep(&pause, nullptr), 0);
    // The watch has not dropped this process's lock.
    test::child_process locker([&](const test::child_process::parent_channel& /*parent*/) {
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        const int own = open(file_.c_str(), O_RDWR | O_CLOEXEC);
        return fcntl(own, F_SETLK, &lock) == -1 ? 0 : 1;
    });
    EXPECT_EQ(locker.wait(), 0);
    EXPECT_EQ(watch.finish(), "");
    close(descriptor);
}

TEST_F(lock_watch_test, restores_the_action_of_the_signal) {
    struct sigaction action {};
    { const lock_watch watch({file_}, steady_clock::now() + 1h); }
    ASSERT_EQ(sigaction(SIGALRM, nullptr, &action), 0);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

}  // namespace
}  // namespace dpctl
