#include "redfish/model/file_watch.hpp"

#include <poll.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/scratch_files.hpp"

namespace {

using dp_redfish::file_watch;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class file_watch_test : public testing::Test {
  protected:
    file_watch_test() {
        test::clean_root();
        std::filesystem::create_directories(folder);
    }

    // Whether there is something to take at once, and it is about a file.
    static bool has_changed(file_watch& watch) {
        pollfd source{watch.descriptor(), POLLIN, 0};
        return poll(&source, 1, 0) == 1 && watch.take_changes();
    }

    std::string folder = test::root() + "/watched";
    std::string file = folder + "/values";
    std::vector<std::string> lines;
    std::function<void(const std::string&)> log = [this](const std::string& line) {
        lines.push_back(line);
    };
};

TEST_F(file_watch_test, notices_that_a_file_is_written_replaced_and_removed) {
    file_watch watch({file}, log);
    EXPECT_TRUE(watch.is_complete());
    EXPECT_FALSE(has_changed(watch));
    test::write_file(file, "1");
    EXPECT_TRUE(has_changed(watch));
    EXPECT_FALSE(has_changed(watch));
    test::write_file(file + ".new", "2");
    EXPECT_FALSE(has_changed(watch)) << "it is another file";
    ASSERT_EQ(std::rename((file + ".new").c_str(), file.c_str()), 0);
    EXPECT_TRUE(has_changed(watch));
    std::filesystem::remove(file);
    EXPECT_TRUE(has_changed(watch));
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(file_watch_test, does_not_notice_readers) {
    test::write_file(file, "1");
    file_watch watch({file}, log);
    EXPECT_EQ(test::read_file(file), "1");
    EXPECT_FALSE(has_changed(watch));
}

TEST_F(file_watch_test, watches_a_folder_that_is_made_later) {
    std::filesystem::remove_all(folder);
    file_watch watch({file}, log);
    EXPECT_FALSE(watch.is_complete());
    std::filesystem::create_directories(folder);
    watch.repair();
    EXPECT_TRUE(watch.is_complete());
    test::write_file(file, "1");
    EXPECT_TRUE(has_changed(watch));
    EXPECT_THAT(lines, IsEmpty()) << "this is no problem";
}

TEST_F(file_watch_test, watches_a_folder_again_that_is_replaced) {
    file_watch watch({file}, log);
    std::filesystem::rename(folder, folder + ".old");
    EXPECT_TRUE(has_changed(watch));
    EXPECT_FALSE(watch.is_complete());
    std::filesystem::create_directories(folder);
    watch.repair();
    test::write_file(file, "1");
    EXPECT_TRUE(has_changed(watch));
    std::filesystem::remove_all(folder);
    EXPECT_TRUE(has_changed(watch));
    EXPECT_FALSE(watch.is_complete());
}

TEST_F(file_watch_test, says_once_that_the_kernel_has_no_instance_left) {
    auto calls = file_watch::kernel::of_system();
    calls.create = [] {
        errno = EMFILE;
        return -1;
    };
    file_watch watch({file}, log, calls);
    EXPECT_EQ(watch.descriptor(), -1);
    EXPECT_FALSE(watch.is_complete());
    watch.repair();
    EXPECT_THAT(lines, ElementsAre(HasSubstr("every second")));
}

TEST_F(file_watch_test, says_once_that_the_kernel_has_no_watch_left) {
    auto calls = file_watch::kernel::of_system();
    bool is_full = true;
    calls.add = [&, add = calls.add](int instance, const char* path, std::uint32_t events) {
        if (is_full) {
            errno = ENOSPC;
            return -1;
        }
        return add(instance, path, events);
    };
    file_watch watch({file, test::root() + "/other/file"}, log, calls);
    watch.repair();
    EXPECT_THAT(lines, ElementsAre(HasSubstr(": No space left on device")));
    is_full = false;
    watch.repair();
    test::write_file(file, "1");
    EXPECT_TRUE(has_changed(watch));
}

}  // namespace
