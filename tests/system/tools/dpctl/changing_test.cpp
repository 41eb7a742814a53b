#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "service_api/request_protocol.hpp"
#include "service_api/service_status.hpp"
#include "service_api/values_seal.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/fake_request_service.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/dpctl_json.hpp"
#include "tests/system/tools/dpctl/fake_service.hpp"
#include "tests/system/tools/dpctl/sample_server_files.hpp"

namespace {

namespace service_status = dp_service::service_status;
using nlohmann::json;
using test::batch_command;
using test::dpctl;
using test::dpctl_json;
using test::program_result;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class dpctl_set : public testing::Test {
  protected:
    dpctl_set() { server_.install(test::sample_settings()); }

    test::server_files server_;
};

class dpctl_reset : public dpctl_set {};

TEST_F(dpctl_set, changes_several_settings_in_one_batch) {
    const test::fake_service service(test::accept_all);
    const auto result = dpctl({"set", "Boot.Mode=Fast Boot", "Delay=15", "Boot.Order.2=A, B"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out,
              "Boot.Mode: Legacy -> Fast Boot, pending until the server restarts\n"
              "Boot.Delay: 10 -> 15, pending until the server restarts\n"
              "Boot.Order.2: Net -> A, B, pending until the server restarts\n");
    EXPECT_EQ(result.err, "");
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_EQ(service.batches()[0][0].operation, "set");
    EXPECT_EQ(service.batches()[0][2].name, "Boot.Order.2");
    EXPECT_EQ(service.batches()[0][2].value, "A, B");
}

TEST_F(dpctl_set, reports_a_change_back_to_the_current_value) {
    const test::fake_service service(test::accept_all);
    EXPECT_EQ(dpctl({"set", "Boot.Mode=UEFI"}).out,
              "Boot.Mode: Legacy -> UEFI, same as the current value\n");
}

TEST_F(dpctl_set, reports_refused_changes_and_makes_the_others) {
    const test::fake_service service([](const std::vector<batch_command>& commands) {
        return test::carry_out(commands, {{"Boot.Mode", service_status::not_a_choice}});
    });
    // The service may know other choices than the template that was read.
    const json result =
        dpctl_json({"set", "Boot.Mode=Fast Boot", "Boot.Delay=15", "Boot.Tag=Rack 7"}, 1);
    const std::string reason = R"("Fast Boot" is not one of Legacy, UEFI, Fast Boot)";
    EXPECT_EQ(result["errors"][0].get<std::string>().find("Boot.Mode: " + reason), 0U);
    EXPECT_EQ(result["settings"][0]["outcome"], "refused");
    EXPECT_EQ(result["settings"][0]["status"], 48);
    EXPECT_EQ(result["settings"][0]["previous"], "Legacy");
    EXPECT_EQ(result["settings"][0]["pending"], "Legacy");
    EXPECT_EQ(result["settings"][1]["outcome"], "changed");
    EXPECT_EQ(result["settings"][1]["previous"], "10");
    EXPECT_EQ(result["settings"][1]["pending"], "15");
    EXPECT_EQ(result["settings"][2]["outcome"], "changed");
    EXPECT_GT(result["waited_seconds"], 0);
}

TEST_F(dpctl_set, sends_no_request_for_values_that_the_template_does_not_allow) {
    // There is no service, so a request would not be answered.
    const auto result =
        dpctl({"set", "Boot.Mode=Foo", "Boot.Delay=101", "Boot.Tag=ä", "Boot.Serial=S2",
               "Boot.Order.3=Net", "Memory.Mode=A", "Memory.Speed=fast"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err,
              "dpctl: Boot.Mode: \"Foo\" is not one of Legacy, UEFI, Fast Boot\n"
              "dpctl: Boot.Delay: \"101\" is out of range (allowed: 0 to 100 in steps of 5)\n"
              "dpctl: Boot.Tag: \"ä\" does not match the pattern (allowed: 0 to 200 characters "
              "that match ^[ -~]*$)\n"
              "dpctl: Boot.Serial: it is read-only\n"
              "dpctl: Boot.Order.3: the attribute has no such instance\n"
              "dpctl: Memory.Speed: \"fast\" is not a decimal number (allowed: 0 to 4294967295)\n"
              "  Nothing was changed.\n");
    EXPECT_EQ(result.out, "Memory.Mode is already A\n");
}

TEST_F(dpctl_set, requests_nothing_when_one_value_is_not_allowed) {
    const json result = dpctl_json({"set", "Boot.Mode=Foo", "Boot.Delay=15"}, 1);
    EXPECT_EQ(result["errors"],
              json::parse(R"(["Boot.Mode: \"Foo\" is not one of Legacy, UEFI, Fast Boot"])"));
    EXPECT_EQ(result["settings"][0],
              json::parse(R"({"name": "Boot.Mode", "requested": "Foo", "outcome": "refused",
                  "message": "\"Foo\" is not one of Legacy, UEFI, Fast Boot", "previous": "Legacy",
                  "pending": "Legacy", "current": "UEFI", "truncated": false, "status": 48})"));
    EXPECT_EQ(result["settings"][1]["outcome"], "not_requested");
    EXPECT_EQ(result["settings"][1]["pending"], "10");
    EXPECT_EQ(result["waited_seconds"], 0);
}

TEST_F(dpctl_set, reports_the_value_that_was_replaced) {
    test::fake_service service([](const std::vector<batch_command>& commands) {
        // Another client changes them after dpctl read them, and before its turn.
        test::store_pending({{"Boot.Delay", "50"}, {"Boot.Tag", "mine"}});
        return test::accept_all(commands);
    });
    service.is_changed_meanwhile = true;
    const auto result = dpctl({"set", "Boot.Delay=15", "Boot.Tag=mine"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out,
              "Boot.Delay: 50 -> 15, pending until the server restarts\n"
              "Boot.Tag is already mine\n");
}

TEST_F(dpctl_set, plans_a_request_on_the_version_of_the_values_that_it_read) {
    std::string version;
    test::fake_request_service service([&](test::service_end& client) {
        dp_service::request_protocol::request_header header;
        std::string text;
        client.take_request(header, text);
        version = header.planned_on;
    });
    const std::string settings = test::root() + "/var/dp/uefi_settings.txt";
    dpctl({"set", "Boot.Delay=15"});
    EXPECT_EQ(version, dp_service::values_seal::version_of(settings));
    EXPECT_NE(version, "");
    std::filesystem::copy_file(settings, test::root() + "/other.txt");
    dpctl({"set", "Boot.Delay=15", "--settings-file", "other.txt"});
    EXPECT_EQ(version, "") << "the version of another file says nothing about the service's";
}

TEST_F(dpctl_set, notes_that_another_client_changed_a_setting_again) {
    const test::fake_service service([](const std::vector<batch_command>& commands) {
        const std::string answer = test::accept_all(commands);
        test::store_pending({{"Boot.Delay", "50"}});
        return answer;
    });
    const auto result = dpctl({"set", "Boot.Delay=15"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "Boot.Delay: 10 -> 15, pending until the server restarts\n");
    EXPECT_EQ(result.err, "dpctl: Boot.Delay: was changed again meanwhile, to 50\n");
}

TEST_F(dpctl_set, does_not_believe_an_answer_that_the_settings_file_contradicts) {
    const test::fake_service service([](const std::vector<batch_command>& commands) {
        return test::answer_line(commands[0], 0, "UEFI");
    });
    const auto result = dpctl({"set", "Boot.Mode=UEFI"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err,
              "dpctl: Boot.Mode: the settings service made the change, but the pending value in " +
                  test::root() + "/var/dp/uefi_settings.txt is still Legacy\n");
    EXPECT_THAT(result.out, IsEmpty());
}

TEST_F(dpctl_set, does_not_believe_an_answer_that_does_not_match_the_request) {
    const std::vector<test::fake_service::answer_function> wrong{
        [](const auto&) { return std::string(); },
        [](const auto& commands) {
            auto other = commands;
            other[0].name = "Boot.Nope";
            return test::accept_all(other);
        },
        [](const auto& commands) {
            auto more = commands;
            more.push_back(commands[0]);
            return test::accept_all(more);
        },
    };
    for (const auto& answer : wrong) {
        const test::fake_service service(answer);
        const auto result = dpctl({"set", "Boot.Mode=UEFI", "--json"});
        EXPECT_EQ(result.exit_code, 1);
        const json document = json::parse(result.out);
        EXPECT_EQ(document["request"], "unanswered");
        EXPECT_EQ(document["settings"][0]["outcome"], "no_answer");
        EXPECT_THAT(document["errors"], SizeIs(1));
        EXPECT_THAT(result.err, HasSubstr("does not match the request"));
        EXPECT_THAT(result.err, HasSubstr("the pending value is now "));
    }
}

TEST_F(dpctl_set, shows_another_spelling_by_the_service) {
    const test::fake_service service([](const std::vector<batch_command>& commands) {
        test::store_pending({{"Boot.Tag", "shortened"}});
        return test::answer_line(commands[0], 0, "shortened");
    });
    EXPECT_EQ(
        dpctl({"set", "Boot.Tag=SHORTENED BY THE SERVICE"}).out,
        "Boot.Tag: \"\" -> shortened (requested: \"SHORTENED BY THE SERVICE\"), pending until "
        "the server restarts\n");
}

TEST_F(dpctl_set, reports_a_missing_service_at_once) {
    const auto result = dpctl({"set", "Boot.Mode=UEFI"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, testing::StartsWith("dpctl: no settings service: "));
    EXPECT_THAT(result.err, testing::EndsWith("dp_settingsd is not running\n"
                                              "  Nothing was changed.\n"));
    EXPECT_THAT(result.out, IsEmpty());
    const json document = dpctl_json({"set", "Boot.Mode=UEFI", "Boot.Tag="}, 1);
    EXPECT_EQ(document["request"], "no_service");
    EXPECT_LT(document["waited_seconds"], 1);
    EXPECT_EQ(document["settings"][0]["outcome"], "not_requested");
    EXPECT_EQ(document["settings"][1]["outcome"], "already");
    EXPECT_EQ(dpctl_json({"reset", "Boot"}, 1)["request"], "no_service");
}

TEST_F(dpctl_set, writes_nothing_in_the_temporary_folder) {
    const test::fake_service service(test::accept_all);
    // The template has been expanded, which the library does there.
    test::set_mtime(test::root() + "/var/dp/uefi_template.efi", 1'000'000'000);
    EXPECT_EQ(dpctl({"list", "Boot"}).exit_code, 0);
    const std::string folder = test::root() + "/tmp/dp";
    const std::string victim = test::root() + "/victim";
    test::write_file(victim, "untouched");
    std::filesystem::create_symlink(victim, folder + "/batch");
    ASSERT_EQ(mkfifo((folder + "/batch.out").c_str(), 0600), 0);
    const auto before = std::filesystem::last_write_time(folder);
    EXPECT_EQ(dpctl({"set", "Boot.Mode=Fast Boot"}).exit_code, 0);
    EXPECT_EQ(dpctl({"reset", "Boot"}).exit_code, 0);
    EXPECT_EQ(std::filesystem::last_write_time(folder), before);
    EXPECT_EQ(test::read_file(victim), "untouched");
}

TEST_F(dpctl_set, shows_the_position_in_the_queue_when_it_waits_longer) {
    const std::string errors = test::root() + "/errors";
    const test::fake_request_service service([&](test::service_end& client) {
        const auto header = dp_service::request_protocol::request_header::parse(client.read_line());
        client.read_bytes(header->length);
        client.send("waiting 2\n");
        test::wait_for_text(errors, "2 requests of other clients are ahead\n");
        client.send("waiting 1\n");
        test::wait_for_text(errors, "1 request of another client is ahead\n");
        client.send("waiting 0\n");
        client.send("refused 56 4\nfull");
    });
    const auto result = test::run_program(
        "/bin/sh", {"-c", "'" + test::program_path("dpctl") + "' set Boot.Mode=UEFI 2>" + errors});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(test::read_file(errors),
              "dpctl: waiting: 2 requests of other clients are ahead\n"
              "dpctl: waiting: 1 request of another client is ahead\n"
              "dpctl: full\n"
              "  Nothing was changed.\n");
}

// Runs "dpctl set" in a shell, interrupts it when `interrupt` returns, and waits for it.
program_result set_and_interrupt(int signal, const std::function<void()>& interrupt) {
    const std::string pid_file = test::root() + "/pid";
    std::thread interrupter([&] {
        interrupt();
        kill(std::stoi(test::read_file(pid_file)), signal);
    });
    auto result = test::run_program(
        "/bin/sh", {"-c", "echo $$ >" + pid_file + "; exec '" + test::program_path("dpctl") +
                              "' set Boot.Mode=UEFI"});
    interrupter.join();
    return result;
}

TEST_F(dpctl_set, withdraws_a_request_that_has_not_started_when_it_is_interrupted) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::promise<void> received;
        std::atomic<bool> was_withdrawn = false;
        const test::fake_request_service service([&](test::service_end& client) {
            const auto header =
                dp_service::request_protocol::request_header::parse(client.read_line());
            client.read_bytes(header->length);
            client.send("waiting 1\n");
            received.set_value();
            was_withdrawn = client.read_line().empty();
        });
        const auto result = set_and_interrupt(signal, [&] { received.get_future().wait(); });
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_THAT(result.err,
                    testing::EndsWith(
                        "dpctl: cancelled; the request was withdrawn, nothing was changed\n"));
        EXPECT_TRUE(test::eventually([&] { return service.handled() == 1; }));
        EXPECT_TRUE(was_withdrawn);
    }
}

TEST_F(dpctl_set, finishes_a_request_that_has_started_when_it_is_interrupted) {
    std::promise<void> started;
    std::promise<void> interrupted;
    const test::fake_service service([&](const std::vector<batch_command>& commands) {
        started.set_value();
        interrupted.get_future().wait();
        return test::accept_all(commands);
    });
    const std::string pid_file = test::root() + "/pid";
    std::thread interrupter([&] {
        started.get_future().wait();
        kill(std::stoi(test::read_file(pid_file)), SIGINT);
        interrupted.set_value();
    });
    const auto result = test::run_program(
        "/bin/sh", {"-c", "echo $$ >" + pid_file + "; exec '" + test::program_path("dpctl") +
                              "' set Boot.Mode=UEFI"});
    interrupter.join();
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "Boot.Mode: Legacy -> UEFI, same as the current value\n");
    EXPECT_EQ(result.err,
              "dpctl: interrupted after the settings service had started the request; it was "
              "finished\n");
}

TEST_F(dpctl_set, reports_that_a_request_had_started_when_the_service_ended) {
    const test::fake_request_service service([](test::service_end& client) {
        dp_service::request_protocol::request_header header;
        std::string text;
        client.take_request(header, text);
    });
    const auto result = dpctl({"set", "Boot.Mode=UEFI"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("the request had started"));
    EXPECT_THAT(result.err, HasSubstr("dpctl: Boot.Mode: the settings service did not answer; the "
                                      "pending value is now Legacy\n"));
}

TEST_F(dpctl_set, sends_no_request_for_values_that_are_already_set) {
    // There is no service, so a request would not be answered.
    const auto result = dpctl({"set", "Boot.Mode=Legacy", "Boot.Tag="});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out,
              "Boot.Mode is already Legacy\n"
              "Boot.Tag is already \"\"\n");
    EXPECT_THAT(result.err, IsEmpty());
    const json document = dpctl_json({"set", "Boot.Mode=Legacy"});
    EXPECT_EQ(document["settings"][0]["outcome"], "already");
    EXPECT_EQ(document["waited_seconds"], 0);
}

TEST_F(dpctl_set, requests_only_values_that_differ) {
    const test::fake_service service(test::accept_all);
    EXPECT_EQ(dpctl({"set", "Boot.Mode=Legacy", "Boot.Delay=20"}).exit_code, 0);
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_EQ(service.batches()[0][0].name, "Boot.Delay");
}

TEST_F(dpctl_set, refuses_a_newline_which_a_batch_line_cannot_contain) {
    const auto result = dpctl({"set", "Boot.Tag=a\nb", "Boot.Delay=15"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err,
              "dpctl: Boot.Tag: the value \"a\\x0ab\" contains a newline, which a request to the "
              "settings service cannot contain\n"
              "  Nothing was changed.\n");
}

TEST_F(dpctl_set, refuses_a_setting_given_twice_and_an_attribute_with_instances) {
    EXPECT_THAT(dpctl({"set", "Boot.Delay=15", "Delay=20"}).err,
                HasSubstr("Boot.Delay: it is given twice"));
    EXPECT_THAT(
        dpctl({"set", "Boot.Order=Net"}).err,
        HasSubstr("Boot.Order: it has 2 instances; name one of them, for example Boot.Order.1"));
}

TEST_F(dpctl_set, carries_every_character_but_a_newline_unchanged) {
    server_.install({{"Boot.Text", {{"type", "5"}}, "-", "-"}});
    const test::fake_service service(test::accept_all);
    for (const std::string value : {"say \"x\"", "C:\\dir\\", "\\\"", "\"", "a\tb", "\x1b[0m\r",
                                    "\"\" \"\"", "\\\\", "ä\xff"}) {
        const auto result = dpctl({"set", "Boot.Text=" + value});
        EXPECT_EQ(result.exit_code, 0) << value << result.err;
        ASSERT_FALSE(service.batches().empty());
        EXPECT_EQ(service.batches().back()[0].value, value);
        EXPECT_EQ(dpctl({"set", "Boot.Text=" + value}).out.find("Boot.Text is already"), 0U)
            << "it was read back unchanged";
    }
}

TEST_F(dpctl_set, refuses_a_name_with_a_space) {
    server_.install({{"Boot.Two Words", {{"type", "5"}}, "a", "a"}});
    EXPECT_THAT(dpctl({"set", "Boot.Two Words=b"}).err,
                HasSubstr("Boot.Two Words: the name contains a space"));
}

TEST_F(dpctl_set, accepts_values_that_look_like_options_or_lists) {
    const test::fake_service service(test::accept_all);
    for (const char* const value : {"--json", "-1", "[a,b]", "a=b", "{}", "++", "%s%n"}) {
        EXPECT_EQ(dpctl({"set", std::string("Boot.Tag=") + value}).exit_code, 0) << value;
        EXPECT_EQ(dpctl({"get", "Boot.Tag"}).out, std::string("Boot.Tag=") + value + '\n');
    }
}

TEST_F(dpctl_set, reports_that_it_may_not_use_the_request_socket) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root, to become a user without rights";
    }
    const test::fake_service service(test::accept_all);
    // The template has been expanded, so reading works.
    test::set_mtime(test::root() + "/var/dp/uefi_template.efi", 1'000'000'000);
    EXPECT_EQ(dpctl({"list", "Boot"}).exit_code, 0);
    std::filesystem::permissions(test::root(), std::filesystem::perms(0755));
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"set", "Boot.Mode=UEFI"}, {"reset", "Boot"}}) {
        const auto result = test::run_program_unprivileged("dpctl", arguments);
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_EQ(result.err, "dpctl: cannot use the settings service: " + test::root() +
                                  "/run/dp/settings.sock: permission denied: run as root\n"
                                  "  Nothing was changed.\n");
    }
}

TEST_F(dpctl_set, makes_two_changes_at_once_one_after_the_other) {
    const test::fake_service service(test::accept_all);
    program_result first;
    std::thread other([&] { first = dpctl({"set", "Boot.Delay=20"}); });
    const auto second = dpctl({"set", "Boot.Tag=Rack 7"});
    other.join();
    EXPECT_EQ(first.exit_code, 0) << first.err;
    EXPECT_EQ(second.exit_code, 0) << second.err;
    EXPECT_EQ(dpctl({"get", "Boot.Delay", "Boot.Tag"}).out, "Boot.Delay=20\nBoot.Tag=Rack 7\n");
}

TEST_F(dpctl_reset, sets_the_settings_of_a_collection_to_their_defaults) {
    test::store_pending({{"Boot.Tag", "Rack 7"}, {"Boot.Serial", "none"}});
    const test::fake_service service(test::accept_all);
    const auto result = dpctl({"reset", "Boot"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out,
              "Boot.Mode: Legacy -> UEFI, same as the current value\n"
              "Boot.Tag: Rack 7 -> \"\", same as the current value\n"
              "Boot.Order.2: Net -> Disk, pending until the server restarts\n"
              "3 changed, 3 already so.\n");
    EXPECT_EQ(dpctl({"get", "Boot.Mode"}).out, "Boot.Mode=UEFI\n");
}

TEST_F(dpctl_reset, does_not_fail_because_of_read_only_settings) {
    const test::fake_service service(test::accept_all);
    const auto result = dpctl({"reset", "Boot"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out,
                HasSubstr("Boot.Serial: remains S123 instead of none, it is read-only\n"));
    // Now all defaults are set, so no request is sent.
    const auto again = dpctl({"reset", "Boot"});
    EXPECT_EQ(again.exit_code, 0);
    EXPECT_THAT(again.out, HasSubstr("5 already so, 1 read-only and not changed.\n"));
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_THAT(service.batches()[0], SizeIs(2)) << "the read-only setting is not requested";
}

TEST_F(dpctl_reset, reports_the_settings_that_were_not_reset) {
    const test::fake_service service([](const std::vector<batch_command>& commands) {
        return test::carry_out(commands, {{"Boot.Order.2", service_status::not_persisted}});
    });
    const json result = dpctl_json({"reset", "Boot"}, 1);
    ASSERT_THAT(result["settings"], SizeIs(6));
    EXPECT_EQ(result["settings"][0],
              json::parse(R"({"name": "Boot.Mode", "requested": "UEFI", "outcome": "changed",
                  "message": "Legacy -> UEFI, same as the current value", "previous": "Legacy",
                  "pending": "UEFI", "current": "UEFI", "truncated": false})"));
    EXPECT_EQ(result["settings"][1]["outcome"], "already");
    EXPECT_EQ(result["settings"][3]["outcome"], "read_only");
    EXPECT_EQ(result["settings"][5]["outcome"], "refused");
    EXPECT_EQ(result["errors"][0],
              "Boot.Order.2: the settings service could not write the change to disk, so it was "
              "not made");
}

TEST_F(dpctl_reset, takes_names_of_settings_and_collections) {
    const test::fake_service service(test::accept_all);
    EXPECT_EQ(dpctl({"reset", "Speed", "Memory", "Boot.Mode", "--yes"}).exit_code, 0);
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_THAT(service.batches()[0], SizeIs(2));
    EXPECT_EQ(dpctl({"get", "Memory.Speed", "Boot.Mode"}).out, "Memory.Speed=0\nBoot.Mode=UEFI\n");
    EXPECT_EQ(dpctl({"reset", "--all"}).exit_code, 0);
    EXPECT_EQ(dpctl({"get", "Boot.Order.2"}).out, "Boot.Order.2=Disk\n");
}

TEST_F(dpctl_reset, fails_without_values_to_reset) {
    test::write_file(test::root() + "/var/dp/uefi_settings.txt", "");
    const auto result = dpctl({"reset", "Boot"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("uefi_settings.txt has no values of Boot"));
}

}  // namespace
