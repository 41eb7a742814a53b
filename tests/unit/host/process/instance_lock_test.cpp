#include "host/process/instance_lock.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/child_process.hpp"
#include "tests/support/test_platform.hpp"

namespace {

class instance_lock_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/var/dp/lock";
};

TEST_F(instance_lock_test, a_second_process_is_told_who_has_it) {
    dp_host::instance_lock lock;
    ASSERT_EQ(lock.take(path), "");
    const std::string expected = "already running as process " + std::to_string(getpid());
    test::child_process other([&](const test::child_process::parent_channel&) {
        return dp_host::instance_lock().take(path) == expected ? 0 : 1;
    });
    EXPECT_EQ(other.wait(), 0);
}

TEST_F(instance_lock_test, it_ends_with_its_holder) {
    test::child_process other([&](const test::child_process::parent_channel& parent) {
        dp_host::instance_lock lock;
        parent.send(lock.take(path).empty() ? 'L' : 'N');
        return parent.receive() == 'E' ? 0 : 1;
    });
    ASSERT_EQ(other.receive(), 'L');
    dp_host::instance_lock lock;
    EXPECT_EQ(lock.take(path), "already running as process " + std::to_string(other.pid()));
    kill(other.pid(), SIGKILL);
    other.wait();
    EXPECT_EQ(lock.take(path), "");
}

TEST_F(instance_lock_test, a_link_is_refused) {
    test::write_file(path + ".real", "");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    dp_host::instance_lock lock;
    EXPECT_EQ(lock.take(path), path + " is a link");
}

}  // namespace
