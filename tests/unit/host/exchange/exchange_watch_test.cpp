#include "host/exchange/exchange_watch.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "support/file_descriptor.hpp"
#include "tests/support/intercepted_call.hpp"
#include "tests/support/test_platform.hpp"

namespace {

class exchange_watch_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        ASSERT_TRUE(watch.begin(folder));
    }

    bool has_events(int timeout_ms = 0) {
        pollfd entry{watch.descriptor(), POLLIN, 0};
        return poll(&entry, 1, timeout_ms) == 1;
    }

    static void set_age(const std::string& path, std::time_t seconds) {
        const timespec written{std::time(nullptr) - seconds, 0};
        const timespec times[] = {written, written};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }

    std::string folder = test::root() + "/tmp/dp";
    std::string file = folder + "/batch";
    dp_host::exchange_watch watch;
};

TEST_F(exchange_watch_test, a_quiet_folder_has_no_events) {
    EXPECT_FALSE(has_events());
    EXPECT_TRUE(watch.read_events());
}

TEST_F(exchange_watch_test, every_way_in_which_a_file_appears_is_an_event) {
    test::write_file(file, "x");
    EXPECT_TRUE(has_events());
    EXPECT_TRUE(watch.read_events());
    EXPECT_FALSE(has_events());

    test::write_file(test::root() + "/elsewhere", "x");
    ASSERT_EQ(std::rename((test::root() + "/elsewhere").c_str(), file.c_str()), 0);
    EXPECT_TRUE(has_events());
    EXPECT_TRUE(watch.read_events());

    ASSERT_EQ(link(file.c_str(), (file + "2").c_str()), 0);
    EXPECT_TRUE(has_events());
    EXPECT_TRUE(watch.read_events());

    ASSERT_EQ(symlink(file.c_str(), (file + "3").c_str()), 0);
    EXPECT_TRUE(has_events());
}

TEST_F(exchange_watch_test, a_file_that_was_written_or_moved_is_complete_until_it_is_forgotten) {
    const dp_support::file_descriptor writer(open(file.c_str(), O_WRONLY | O_CREAT, 0600));
    EXPECT_TRUE(watch.read_events());
    EXPECT_FALSE(watch.is_complete("batch")) << "it was only created";
    test::write_file(file + "2", "");
    EXPECT_TRUE(watch.read_events());
    EXPECT_FALSE(watch.is_complete("batch"));
    EXPECT_TRUE(watch.is_complete("batch2"));
    EXPECT_TRUE(watch.is_complete("batch2"));
    watch.forget("batch2");
    EXPECT_FALSE(watch.is_complete("batch2"));

    test::write_file(file, "");
    EXPECT_FALSE(watch.is_complete("batch")) << "the event was not read yet";
    EXPECT_TRUE(watch.read_events());
    EXPECT_TRUE(watch.is_complete("batch"));
    watch.forget("batch");

    ASSERT_EQ(std::rename((file + "2").c_str(), file.c_str()), 0);
    EXPECT_TRUE(watch.read_events());
    EXPECT_TRUE(watch.is_complete("batch")) << "a file that was moved there is complete";
}

TEST_F(exchange_watch_test, a_file_that_is_created_again_is_not_complete) {
    test::write_file(file, "");
    std::filesystem::remove(file);
    const dp_support::file_descriptor writer(open(file.c_str(), O_WRONLY | O_CREAT, 0600));
    EXPECT_TRUE(watch.read_events());
    EXPECT_FALSE(watch.is_complete("batch"));
}

TEST_F(exchange_watch_test, a_complete_file_that_was_removed_does_not_count_for_the_next_one) {
    test::write_file(file, "x");
    ASSERT_EQ(std::rename(file.c_str(), (file + ".run").c_str()), 0);
    EXPECT_TRUE(watch.read_events());
    EXPECT_FALSE(watch.is_complete("batch"));
    test::write_file(file, "x");
    std::filesystem::remove(file);
    EXPECT_TRUE(watch.read_events());
    EXPECT_FALSE(watch.is_complete("batch"));
}

TEST_F(exchange_watch_test, a_folder_that_is_removed_is_an_event) {
    std::filesystem::remove_all(folder);
    EXPECT_TRUE(has_events());
    EXPECT_FALSE(watch.read_events());
    EXPECT_FALSE(watch.begin(folder));
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    EXPECT_TRUE(watch.begin(folder));
    test::write_file(file, "x");
    EXPECT_TRUE(has_events());
    EXPECT_TRUE(watch.read_events());
    ASSERT_EQ(std::rename(folder.c_str(), (folder + "2").c_str()), 0);
    EXPECT_FALSE(watch.read_events());
}

TEST_F(exchange_watch_test, polls_when_the_user_has_no_inotify_instance_left) {
    EXPECT_FALSE(watch.is_polling());
    {
        const test::intercepted_call used_up(test::libc_call::inotify_init1, EMFILE);
        ASSERT_TRUE(watch.begin(folder));
        EXPECT_TRUE(watch.is_polling());
    }
    constexpr int patience_ms = 10'000;
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(has_events(patience_ms));
        EXPECT_TRUE(watch.read_events());
        EXPECT_FALSE(has_events()) << "the pause begins again";
    }
    ASSERT_TRUE(watch.begin(folder));
    EXPECT_FALSE(watch.is_polling()) << "one is free again";
    const test::intercepted_call not_there(test::libc_call::inotify_init1, ENOSYS);
    EXPECT_FALSE(watch.begin(folder));
}

TEST_F(exchange_watch_test, a_polled_file_is_complete_when_it_was_not_written_for_a_while) {
    ASSERT_TRUE(watch.begin_polling(folder));
    EXPECT_FALSE(watch.is_complete("batch"));
    test::write_file(file, "");
    set_age(file, 0);
    EXPECT_FALSE(watch.is_complete("batch"));
    set_age(file, 3);
    EXPECT_TRUE(watch.is_complete("batch"));
    watch.forget("batch");
    std::filesystem::remove(file);
    EXPECT_FALSE(watch.is_complete("batch"));
}

TEST_F(exchange_watch_test, a_polled_folder_that_is_removed_or_replaced_is_noticed) {
    ASSERT_TRUE(watch.begin_polling(folder));
    EXPECT_TRUE(watch.read_events());
    ASSERT_EQ(std::rename(folder.c_str(), (folder + "2").c_str()), 0);
    EXPECT_FALSE(watch.read_events());
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    EXPECT_FALSE(watch.read_events()) << "another one";
    ASSERT_TRUE(watch.begin_polling(folder));
    EXPECT_TRUE(watch.read_events());
    std::filesystem::remove_all(folder);
    EXPECT_FALSE(watch.begin_polling(folder));
    test::write_file(folder, "a file");
    EXPECT_FALSE(watch.begin_polling(folder));
}

}  // namespace
