#include "host/exchange/exchange_watch.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "support/file_descriptor.hpp"
#include "tests/support/test_platform.hpp"

namespace {

class exchange_watch_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        ASSERT_EQ(watch.begin(folder), "");
    }

    bool something_happened() {
        pollfd entry{watch.descriptor(), POLLIN, 0};
        return poll(&entry, 1, 0) == 1;
    }

    std::string folder = test::root() + "/tmp/dp";
    std::string file = folder + "/batch";
    dp_host::exchange_watch watch;
};

TEST_F(exchange_watch_test, quiet_folders_tell_nothing) {
    EXPECT_FALSE(something_happened());
    EXPECT_TRUE(watch.take_events());
}

TEST_F(exchange_watch_test, whatever_way_a_file_arrives_is_noticed) {
    test::write_file(file, "x");
    EXPECT_TRUE(something_happened());
    EXPECT_TRUE(watch.take_events());
    EXPECT_FALSE(something_happened());

    test::write_file(test::root() + "/elsewhere", "x");
    ASSERT_EQ(std::rename((test::root() + "/elsewhere").c_str(), file.c_str()), 0);
    EXPECT_TRUE(something_happened());
    EXPECT_TRUE(watch.take_events());

    ASSERT_EQ(link(file.c_str(), (file + "2").c_str()), 0);
    EXPECT_TRUE(something_happened());
    EXPECT_TRUE(watch.take_events());

    ASSERT_EQ(symlink(file.c_str(), (file + "3").c_str()), 0);
    EXPECT_TRUE(something_happened());
}

TEST_F(exchange_watch_test, the_end_of_a_files_writing_is_told_until_it_is_forgotten) {
    const dp_support::file_descriptor writer(open(file.c_str(), O_WRONLY | O_CREAT, 0600));
    EXPECT_TRUE(watch.take_events());
    EXPECT_FALSE(watch.has_ended("batch")) << "it was only made";
    test::write_file(file + "2", "");
    EXPECT_TRUE(watch.take_events());
    EXPECT_FALSE(watch.has_ended("batch"));
    EXPECT_TRUE(watch.has_ended("batch2"));
    EXPECT_TRUE(watch.has_ended("batch2"));
    watch.forget_end("batch2");
    EXPECT_FALSE(watch.has_ended("batch2"));

    test::write_file(file, "");
    EXPECT_FALSE(watch.has_ended("batch")) << "the event was not taken yet";
    EXPECT_TRUE(watch.take_events());
    EXPECT_TRUE(watch.has_ended("batch"));
    watch.forget_end("batch");

    ASSERT_EQ(std::rename((file + "2").c_str(), file.c_str()), 0);
    EXPECT_TRUE(watch.take_events());
    EXPECT_TRUE(watch.has_ended("batch")) << "what is moved there is finished";
}

TEST_F(exchange_watch_test, a_file_that_is_made_anew_has_not_ended) {
    test::write_file(file, "");
    std::filesystem::remove(file);
    const dp_support::file_descriptor writer(open(file.c_str(), O_WRONLY | O_CREAT, 0600));
    EXPECT_TRUE(watch.take_events());
    EXPECT_FALSE(watch.has_ended("batch"));
}

TEST_F(exchange_watch_test, the_end_of_a_file_that_has_left_is_not_that_of_the_next_one) {
    test::write_file(file, "x");
    ASSERT_EQ(std::rename(file.c_str(), (file + ".run").c_str()), 0);
    EXPECT_TRUE(watch.take_events());
    EXPECT_FALSE(watch.has_ended("batch"));
    test::write_file(file, "x");
    std::filesystem::remove(file);
    EXPECT_TRUE(watch.take_events());
    EXPECT_FALSE(watch.has_ended("batch"));
}

TEST_F(exchange_watch_test, a_folder_that_goes_away_is_noticed) {
    std::filesystem::remove_all(folder);
    EXPECT_TRUE(something_happened());
    EXPECT_FALSE(watch.take_events());
    EXPECT_NE(watch.begin(folder), "");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    EXPECT_EQ(watch.begin(folder), "");
    test::write_file(file, "x");
    EXPECT_TRUE(something_happened());
    EXPECT_TRUE(watch.take_events());
    ASSERT_EQ(std::rename(folder.c_str(), (folder + "2").c_str()), 0);
    EXPECT_FALSE(watch.take_events());
}

}  // namespace
