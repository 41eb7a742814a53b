#include "common/file_locks.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/file_utilities.hpp"
#include "common/log.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/interrupting_timer.hpp"
#include "tests/support/open_descriptors.hpp"
#include "tests/support/process.hpp"
#include "tests/support/test_platform.hpp"

namespace fs = std::filesystem;
using test::child_process;
using test::recording_log;

namespace {

using lines = std::vector<recording_log::line>;

// A descriptor for a scope. Closing it drops this process's locks on its file.
class descriptor {
  public:
    descriptor(const std::string& path, int flags) : fd_(open(path.c_str(), flags | O_CLOEXEC)) {}
    ~descriptor() { close(fd_); }
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;
    operator int() const { return fd_; }

  private:
    int fd_;
};

// The lock that would keep another process from locking `path` exclusively; F_UNLCK when there is
// none. `at` picks a single byte.
struct seen_lock {
    int type;
    pid_t holder;
    off_t start;
    off_t length;
};

// Asks from a child process, because a process does not see its own locks.
seen_lock lock_on(const std::string& path, off_t at = -1) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    child_process asker([&](const auto&) {
        const descriptor fd(path, O_RDWR);
        struct flock query {};
        query.l_type = F_WRLCK;
        query.l_whence = SEEK_SET;
        query.l_start = at < 0 ? 0 : at;
        query.l_len = at < 0 ? 0 : 1;
        if (fcntl(fd, F_GETLK, &query) != 0) {
            return 1;
        }
        const seen_lock seen{query.l_type, query.l_pid, query.l_start, query.l_len};
        return write(ends[1], &seen, sizeof seen) == sizeof seen ? 0 : 1;
    });
    EXPECT_EQ(asker.wait(), 0);
    close(ends[1]);
    seen_lock seen{};
    EXPECT_EQ(read(ends[0], &seen, sizeof seen), static_cast<ssize_t>(sizeof seen));
    close(ends[0]);
    return seen;
}

class lock_file : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    // The lock that other processes see when a guard's owner has only the permissions `mode` on the
    // file.
    template <class Guard>
    [[nodiscard]] seen_lock lock_with_only(fs::perms mode) const {
        test::write_file(path, "");
        fs::permissions(test::root(), fs::perms{0755});
        fs::permissions(path, mode);
        child_process owner([this](const child_process::parent_channel& parent) {
            if (!test::drop_privileges()) {
                return 2;
            }
            const Guard guard(path);
            parent.send('g');
            static_cast<void>(parent.receive());
            return 0;
        });
        EXPECT_EQ(owner.receive(), 'g');
        fs::permissions(path, fs::perms{0600});
        return lock_on(path);
    }

    // The body of a process that sends 'w' before it waits for the guard and 'g' when it has it. At
    // the next byte from the parent it releases the guard and sends 'd'.
    template <class Guard>
    [[nodiscard]] auto holder() const {
        return [this](const child_process::parent_channel& parent) {
            parent.send('w');
            {
                const Guard guard(path);
                parent.send('g');
                static_cast<void>(parent.receive());
            }
            parent.send('d');
            static_cast<void>(parent.receive());
            return 0;
        };
    }

    const std::string path = test::root() + "/tmp/dp/lock";
};

// Usually long enough for a process that does not have to wait to report. On a slow machine a test
// that expects silence may pass by mistake, but never fails.
constexpr int short_while_ms = 100;

// Closes this process's descriptor of `path` without its owner's knowledge, as a daemon does that
// closes every inherited descriptor.
void close_descriptor_of(const std::string& path) {
    std::vector<int> found;
    for (const auto& item : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (fs::read_symlink(item.path(), ignored) == path) {
            found.push_back(std::stoi(item.path().filename().string()));
        }
    }
    ASSERT_EQ(found.size(), 1U);
    ASSERT_EQ(close(found[0]), 0);
}

}  // namespace

using file_lock_test = lock_file;

TEST_F(file_lock_test, locks_the_whole_file_however_it_grows) {
    test::write_file(path, "");
    const descriptor fd(path, O_RDWR);
    ASSERT_EQ(file_lock_write(fd), 0);
    const seen_lock seen = lock_on(path);
    EXPECT_EQ(seen.type, F_WRLCK);
    EXPECT_EQ(seen.holder, getpid());
    EXPECT_EQ(seen.start, 0);
    EXPECT_EQ(seen.length, 0);
    EXPECT_EQ(lock_on(path, 0).type, F_WRLCK);
    EXPECT_EQ(lock_on(path, 5'000'000'000).type, F_WRLCK);
}

TEST_F(file_lock_test, locks_from_the_start_at_any_file_position) {
    test::write_file(path, "0123456789");
    const descriptor fd(path, O_RDWR);
    ASSERT_EQ(lseek(fd, 5, SEEK_SET), 5);
    ASSERT_EQ(file_lock_read(fd), 0);
    EXPECT_EQ(lock_on(path, 0).type, F_RDLCK);
    EXPECT_EQ(lock_on(path).start, 0);
}

TEST_F(file_lock_test, converts_a_lock_to_the_other_kind) {
    test::write_file(path, "");
    const descriptor fd(path, O_RDWR);
    ASSERT_EQ(file_lock_read(fd), 0);
    EXPECT_EQ(lock_on(path).type, F_RDLCK);
    ASSERT_EQ(file_lock_write(fd), 0);
    EXPECT_EQ(lock_on(path).type, F_WRLCK);
    ASSERT_EQ(file_lock_read(fd), 0);
    EXPECT_EQ(lock_on(path).type, F_RDLCK);
}

TEST_F(file_lock_test, releases_the_lock) {
    test::write_file(path, "");
    const descriptor fd(path, O_RDWR);
    ASSERT_EQ(file_lock_write(fd), 0);
    EXPECT_EQ(file_unlock(fd), 0);
    EXPECT_EQ(lock_on(path).type, F_UNLCK);
    EXPECT_EQ(file_unlock(fd), 0) << "without a lock too";
}

TEST_F(file_lock_test, needs_a_descriptor_of_the_right_mode) {
    test::write_file(path, "");
    {
        const descriptor fd(path, O_RDONLY);
        errno = 0;
        EXPECT_EQ(file_lock_write(fd), -1);
        EXPECT_EQ(errno, EBADF);
        EXPECT_EQ(file_lock_read(fd), 0);
    }
    {
        const descriptor fd(path, O_WRONLY);
        errno = 0;
        EXPECT_EQ(file_lock_read(fd), -1);
        EXPECT_EQ(errno, EBADF);
        EXPECT_EQ(file_lock_write(fd), 0);
    }
    for (const auto function : {file_lock_write, file_lock_read, file_unlock}) {
        errno = 0;
        EXPECT_EQ(function(-1), -1);
        EXPECT_EQ(errno, EBADF);
    }
}

TEST_F(file_lock_test, waits_for_another_process_but_releases_without_waiting) {
    child_process writer(holder<writelock>());
    ASSERT_EQ(writer.receive(), 'w');
    ASSERT_EQ(writer.receive(), 'g');
    child_process waiter([this](const child_process::parent_channel& parent) {
        const descriptor fd(path, O_RDWR);
        if (file_unlock(fd) != 0) {
            return 1;
        }
        parent.send('u');
        if (file_lock_write(fd) != 0) {
            return 2;
        }
        parent.send('g');
        return 0;
    });
    ASSERT_EQ(waiter.receive(), 'u');
    EXPECT_EQ(waiter.receive(short_while_ms), '\0');
    writer.send('.');
    EXPECT_EQ(waiter.receive(), 'g');
    EXPECT_EQ(waiter.wait(), 0);
}

using readlock_test = lock_file;

TEST_F(readlock_test, locks_logs_and_creates_nothing_for_a_missing_file) {
    const recording_log log(0xFFFFFFFF);
    { const readlock guard(path); }
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(readlock_test, holds_a_shared_lock_for_its_lifetime) {
    const recording_log log(0xFFFFFFFF);
    test::write_file(path, "content");
    {
        const readlock guard(path);
        const seen_lock seen = lock_on(path);
        EXPECT_EQ(seen.type, F_RDLCK);
        EXPECT_EQ(seen.holder, getpid());
        EXPECT_EQ(seen.length, 0);
    }
    EXPECT_EQ(lock_on(path).type, F_UNLCK);
    EXPECT_EQ(test::read_file(path), "content");
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(readlock_test, needs_no_permission_to_write_the_file) {
    EXPECT_EQ(lock_with_only<readlock>(fs::perms{0444}).type, F_RDLCK);
}

TEST_F(readlock_test, waits_while_another_process_writes) {
    std::optional<writelock> mine(std::in_place, path);
    child_process reader(holder<readlock>());
    ASSERT_EQ(reader.receive(), 'w');
    EXPECT_EQ(reader.receive(short_while_ms), '\0');
    mine.reset();
    EXPECT_EQ(reader.receive(), 'g');
}

TEST_F(readlock_test, shares_the_file_with_other_readers) {
    test::write_file(path, "");
    const readlock mine(path);
    child_process first(holder<readlock>());
    child_process second(holder<readlock>());
    for (const auto* reader : {&first, &second}) {
        EXPECT_EQ(reader->receive(), 'w');
        EXPECT_EQ(reader->receive(), 'g');
    }
}

TEST_F(readlock_test, excludes_writers_until_the_last_reader_is_done) {
    test::write_file(path, "");
    child_process first(holder<readlock>());
    child_process second(holder<readlock>());
    for (const auto* reader : {&first, &second}) {
        ASSERT_EQ(reader->receive(), 'w');
        ASSERT_EQ(reader->receive(), 'g');
    }
    child_process writer(holder<writelock>());
    ASSERT_EQ(writer.receive(), 'w');
    EXPECT_EQ(writer.receive(short_while_ms), '\0');
    first.send('.');
    ASSERT_EQ(first.receive(), 'd');
    EXPECT_EQ(writer.receive(short_while_ms), '\0');
    second.send('.');
    EXPECT_EQ(writer.receive(), 'g');
}

TEST_F(readlock_test, continues_without_a_lock_and_logs_when_the_wait_fails) {
    recording_log log(dp::log_level::log);
    child_process writer(holder<writelock>());
    ASSERT_EQ(writer.receive(), 'w');
    ASSERT_EQ(writer.receive(), 'g');
    const lines expected{
        {"LOG", " readlock file " + path + " failed, errno= " + std::to_string(EINTR)}};
    {
        const test::interrupting_timer timer(20'000);
        { const readlock guard(path); }
        EXPECT_EQ(log.lines, expected);
        log.mask_value = ~dp::log_level::log;
        { const readlock guard(path); }
    }
    EXPECT_EQ(log.lines, expected);
}

TEST_F(readlock_test, logs_when_the_lock_cannot_be_released) {
    recording_log log(dp::log_level::log);
    test::write_file(path, "");
    const lines expected{{"LOG", " ~readlock failed, errno= " + std::to_string(EBADF)}};
    {
        const readlock guard(path);
        close_descriptor_of(path);
    }
    EXPECT_EQ(log.lines, expected);
    log.mask_value = ~dp::log_level::log;
    {
        const readlock guard(path);
        close_descriptor_of(path);
    }
    EXPECT_EQ(log.lines, expected);
}

TEST_F(readlock_test, keeps_no_descriptor_open) {
    test::write_file(path, "");
    const auto before = test::open_descriptors();
    {
        const readlock reader(path);
        const writelock writer(path);
        EXPECT_EQ(test::open_descriptors(), before + 2);
    }
    EXPECT_EQ(test::open_descriptors(), before);
}

using writelock_test = lock_file;

TEST_F(writelock_test, creates_a_missing_file_and_locks_it) {
    const recording_log log(0xFFFFFFFF);
    {
        const writelock guard(path);
        EXPECT_TRUE(fs::exists(path));
        EXPECT_EQ(fs::file_size(path), 0U);
        const seen_lock seen = lock_on(path);
        EXPECT_EQ(seen.type, F_WRLCK);
        EXPECT_EQ(seen.holder, getpid());
        EXPECT_EQ(seen.length, 0);
    }
    EXPECT_EQ(lock_on(path).type, F_UNLCK);
    EXPECT_TRUE(fs::exists(path));
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(writelock_test, never_changes_the_contents) {
    test::write_file(path, "content");
    test::set_mtime(path, 1000);
    { const writelock guard(path); }
    EXPECT_EQ(test::read_file(path), "content");
    EXPECT_EQ(mtime(path), 1000);
}

TEST_F(writelock_test, needs_no_permission_to_read_the_file) {
    EXPECT_EQ(lock_with_only<writelock>(fs::perms{0222}).type, F_WRLCK);
}

TEST_F(writelock_test, locks_and_logs_nothing_when_the_file_cannot_be_opened) {
    const recording_log log(0xFFFFFFFF);
    {
        const writelock missing_folder(test::root() + "/missing/lock");
        const writelock folder(test::root());
    }
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(writelock_test, waits_for_another_writer) {
    std::optional<writelock> mine(std::in_place, path);
    child_process writer(holder<writelock>());
    ASSERT_EQ(writer.receive(), 'w');
    EXPECT_EQ(writer.receive(short_while_ms), '\0');
    mine.reset();
    EXPECT_EQ(writer.receive(), 'g');
}

TEST_F(writelock_test, is_released_when_its_process_dies) {
    child_process writer(holder<writelock>());
    ASSERT_EQ(writer.receive(), 'w');
    ASSERT_EQ(writer.receive(), 'g');
    EXPECT_EQ(lock_on(path).type, F_WRLCK);
    kill(writer.pid(), SIGKILL);
    EXPECT_EQ(writer.wait(), 128 + SIGKILL);
    EXPECT_EQ(lock_on(path).type, F_UNLCK);
}

TEST_F(writelock_test, continues_without_a_lock_and_logs_when_the_wait_fails) {
    recording_log log(dp::log_level::log);
    child_process reader(holder<writelock>());
    ASSERT_EQ(reader.receive(), 'w');
    ASSERT_EQ(reader.receive(), 'g');
    const lines expected{
        {"LOG", " writelock file " + path + " failed, errno= " + std::to_string(EINTR)}};
    {
        const test::interrupting_timer timer(20'000);
        { const writelock guard(path); }
        EXPECT_EQ(log.lines, expected);
        log.mask_value = ~dp::log_level::log;
        { const writelock guard(path); }
    }
    EXPECT_EQ(log.lines, expected);
}

TEST_F(writelock_test, logs_when_two_processes_wait_for_each_other) {
    const recording_log log(dp::log_level::log);
    const std::string other = path + "2";
    const writelock mine(path);
    child_process peer([&](const child_process::parent_channel& parent) {
        const writelock first(other);
        parent.send('h');
        const writelock second(path);
        return 0;
    });
    ASSERT_EQ(peer.receive(), 'h');
    // The peer waits for `path` and we wait for `other`. The kernel detects the deadlock, whichever
    // of the two starts to wait last, and ends one of the two waits.
    { const writelock guard(other); }
    if (log.lines.empty()) {
        // The peer's wait failed, so the peer has released both locks.
        EXPECT_EQ(peer.wait(), 0);
    } else {
        EXPECT_EQ(log.lines, (lines{{"LOG", " writelock file " + other +
                                                " failed, errno= " + std::to_string(EDEADLK)}}));
    }
}

TEST_F(writelock_test, logs_when_the_lock_cannot_be_released) {
    recording_log log(dp::log_level::log);
    const lines expected{{"LOG", " ~writelock file failed, errno= " + std::to_string(EBADF)}};
    {
        const writelock guard(path);
        close_descriptor_of(path);
    }
    EXPECT_EQ(log.lines, expected);
    log.mask_value = ~dp::log_level::log;
    {
        const writelock guard(path);
        close_descriptor_of(path);
    }
    EXPECT_EQ(log.lines, expected);
}
