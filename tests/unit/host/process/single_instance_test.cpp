#include "host/process/single_instance.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/child_process.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::ensure_single_instance;

class ensure_single_instance_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/var/dp/lock";
};

TEST_F(ensure_single_instance_test, a_second_process_fails_and_names_the_first) {
    dp_service::service_lock lock;
    ASSERT_TRUE(ensure_single_instance(lock, path));
    const std::string expected = "already running as process " + std::to_string(getpid());
    test::child_process other([&](const test::child_process::parent_channel&) {
        dp_service::service_lock second;
        return ensure_single_instance(second, path).reason() == expected ? 0 : 1;
    });
    EXPECT_EQ(other.wait(), 0);
}

TEST_F(ensure_single_instance_test, the_lock_ends_with_its_process) {
    test::child_process other([&](const test::child_process::parent_channel& parent) {
        dp_service::service_lock lock;
        parent.send(ensure_single_instance(lock, path) ? 'L' : 'N');
        return parent.receive() == 'E' ? 0 : 1;
    });
    ASSERT_EQ(other.receive(), 'L');
    dp_service::service_lock lock;
    EXPECT_EQ(ensure_single_instance(lock, path).reason(),
              "already running as process " + std::to_string(other.pid()));
    kill(other.pid(), SIGKILL);
    other.wait();
    EXPECT_TRUE(ensure_single_instance(lock, path));
}

TEST_F(ensure_single_instance_test, a_symlink_is_refused) {
    test::write_file(path + ".real", "");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    dp_service::service_lock lock;
    EXPECT_EQ(ensure_single_instance(lock, path).reason(), path + " is a symlink");
}

}  // namespace
