#include "host/exchange/status_log.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/test_platform.hpp"
#include "tests/unit/host/sample_service.hpp"

namespace {

class status_log_test : public test::sample_service {
  protected:
    void SetUp() override { test::clean_root(); }

    std::string path = test::root() + "/tmp/dp/status";
    const std::string begun = "<dp-status> 0001 DP.MESSAGE init \n";

    /// The status file after a transaction of these commands.
    std::string status_of(std::vector<dp::transaction_command>& commands) {
        dp_host::batch_transaction transaction(commands);
        dp_host::status_log log;
        transaction.queue(registrar);
        registrar.run_queued();
        log.stop(&transaction);
        return test::read_file(path);
    }

    std::vector<dp::transaction_command> failing(int count) {
        std::vector<dp::transaction_command> commands{command("get", "Boot.Mode")};
        for (int i = 1; i <= count; ++i) {
            commands.push_back(command("set", "Boot.Mode", "no choice"));
            commands.back().target.instance = std::to_string(i);
        }
        return commands;
    }
};

TEST_F(status_log_test, replaces_the_file_of_the_previous_transaction) {
    test::write_file(path, "status of an earlier transaction\n");
    const dp_host::status_log log;
    EXPECT_EQ(test::read_file(path), begun);
}

TEST_F(status_log_test, replaces_a_symlink_and_not_its_target) {
    const std::string precious = test::root() + "/precious";
    test::write_file(precious, "precious");
    std::filesystem::create_symlink(precious, path);
    const dp_host::status_log log;
    EXPECT_EQ(test::read_file(path), begun);
    EXPECT_FALSE(std::filesystem::is_symlink(path));
    EXPECT_EQ(test::read_file(precious), "precious");
}

TEST_F(status_log_test, replaces_pipes_and_folders) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    { const dp_host::status_log log; }
    EXPECT_EQ(test::read_file(path), begun);
    ASSERT_EQ(unlink(path.c_str()), 0);
    std::filesystem::create_directories(path + "/full");
    { const dp_host::status_log log; }
    EXPECT_EQ(test::read_file(path), begun);
}

TEST_F(status_log_test, writes_nothing_without_its_folder) {
    std::filesystem::remove_all(test::root() + "/tmp/dp");
    std::vector<dp::transaction_command> commands{command("set", "Boot.Mode", "Legacy")};
    dp_host::batch_transaction transaction(commands);
    dp_host::status_log log;
    log.start(&transaction);
    transaction.queue(registrar);
    registrar.run_queued();
    log.stop(&transaction);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(commands[0].status, 0);
}

TEST_F(status_log_test, reports_failed_commands_in_their_order) {
    std::vector<dp::transaction_command> commands{command("set", "Boot.Mode", "CSM"),
                                                  command("get", "Boot.Mode"),
                                                  command("set", "Boot.Delay", "x")};
    EXPECT_EQ(status_of(commands), begun +
                                       "<test-1> 0002 DP.ERROR Boot.Mode 48\n"
                                       "<test-1> 0003 DP.ERROR Boot.Delay 49\n"
                                       "<test-1> 0004 DP.DONE 1 1 2\n");
}

// The sequence number of the last status record is the number of all of them.
TEST_F(status_log_test, reports_the_last_of_many_failed_commands_and_counts_all) {
    constexpr int most = dp_host::status_log::most_failures;
    std::vector<dp::transaction_command> commands = failing(most);
    std::string status = status_of(commands);
    EXPECT_NE(status.find("<test-1> 0192 DP.DONE 1 1 400\n"), std::string::npos) << status;

    commands = failing(most + 3);
    status = status_of(commands);
    EXPECT_NE(status.find("<test-1> 0192 DP.DONE 1 1 403\n"), std::string::npos) << status;
    EXPECT_NE(status.find("<test-1> 0191 DP.ERROR Boot.Mode.403 59\n"), std::string::npos)
        << status;
}

}  // namespace
