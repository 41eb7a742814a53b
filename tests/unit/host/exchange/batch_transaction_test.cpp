#include "host/exchange/batch_transaction.hpp"

#include <cstdint>

#include "tests/unit/host/sample_service.hpp"
#include "transactions/command_status.hpp"

namespace {

using batch_transaction_test = test::sample_service;

TEST_F(batch_transaction_test, executes_commands_for_one_target_in_their_order) {
    std::vector<dp::transaction_command> commands{
        command("get", "Boot.Mode"),         command("set", "Boot.Mode", "Legacy"),
        command("get", "Boot.Mode"),         command("getv", "Boot.Mode"),
        command("set", "Boot.Mode", "UEFI"), command("set", "Boot.Mode", "CSM"),
        command("get", "Boot.Mode"),         command("set", "Boot.Mode", "Legacy"),
    };
    run(commands);
    const std::vector<std::string> values{"UEFI", "Legacy", "Legacy", "Legacy",
                                          "UEFI", "",       "UEFI",   "Legacy"};
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(commands[i].value_out, values[i]) << i;
    }
    EXPECT_EQ(value_of("Boot.Mode"), "Legacy");
}

TEST_F(batch_transaction_test, a_read_after_a_delete_finds_nothing_neither_in_the_cache) {
    std::vector<dp::transaction_command> commands{
        command("set", "Ports.Speed.1", "20"), command("get", "Ports.Speed.1"),
        command("delete", "Ports.Speed.1"), command("get", "Ports.Speed.1")};
    run(commands);
    EXPECT_EQ(commands[1].value_out, "20");
    EXPECT_EQ(commands[3].status, dp::command_status::value_not_known);
    EXPECT_EQ(value_of("Ports.Speed.1"), "status 32");
}

TEST_F(batch_transaction_test, a_refused_write_does_not_change_what_reads_return) {
    std::vector<dp::transaction_command> commands{command("set", "Boot.Mode", "CSM"),
                                                  command("get", "Boot.Mode")};
    run(commands);
    EXPECT_EQ(commands[1].value_out, "UEFI");
}

TEST_F(batch_transaction_test, has_the_identifier_of_its_client_as_its_name) {
    std::vector<dp::transaction_command> commands{command("get", "Boot.Mode")};
    EXPECT_EQ(dp_host::batch_transaction(commands).name, "test-1");
    EXPECT_EQ(dp_host::batch_transaction(commands).requester, "test-1");
    commands[0].tid = "plain";
    EXPECT_EQ(dp_host::batch_transaction(commands).name, "plain");
    commands[0].tid = "<>";
    EXPECT_EQ(dp_host::batch_transaction(commands).name, "<>");
}

TEST_F(batch_transaction_test, completes_without_commands) {
    std::vector<dp::transaction_command> commands;
    run(commands);
}

TEST_F(batch_transaction_test, counts_commands_and_errors) {
    std::vector<dp::transaction_command> commands{command("get", "Boot.Mode"),
                                                  command("set", "Boot.Mode", "CSM"),
                                                  command("get", "Boot.Gone")};
    dp_host::batch_transaction transaction(commands);
    transaction.queue(registrar);
    registrar.run_queued();
    EXPECT_EQ(transaction.commands.status.total, 3U);
    EXPECT_EQ(transaction.commands.status.completed, 3U);
    EXPECT_EQ(transaction.commands.status.errors, 2U);
}

TEST_F(batch_transaction_test, calls_its_listener_after_every_step) {
    std::vector<dp::transaction_command> commands{command("get", "Boot.Mode")};
    std::vector<std::int32_t> steps;
    dp_host::batch_transaction transaction(commands,
                                           [&steps](auto& t) { steps.push_back(t.step); });
    transaction.queue(registrar);
    EXPECT_TRUE(steps.empty());
    registrar.run_queued();
    EXPECT_EQ(steps, (std::vector<std::int32_t>{1, 0}));
}

}  // namespace
