#include "redfish/model/server_model.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <future>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "common/file_locks.hpp"
#include "service_api/server_paths.hpp"
#include "support/json.hpp"
#include "tests/support/applying_service.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/local_socket.hpp"
#include "tests/support/shown_server.hpp"

namespace {

using dp_redfish::server_model;
using dp_redfish::snapshot_pointer;
using test::shown_server;

class server_model_test : public testing::Test {
  protected:
    shown_server files{test::sample_template(),
                       {{"Boot.Mode", "UEFI"}, {"Boot.Delay", "5"}},
                       {{"Boot.Mode", "Legacy"}}};
    server_model model;

    static std::string value(const snapshot_pointer& server, const std::string& name) {
        const auto& text = server->pending[server->catalog->by_name.at(name)];
        return text ? *text : "(none)";
    }
};

TEST_F(server_model_test, reads_values_names_and_product_data) {
    const auto server = model.read_now();
    ASSERT_NE(server, nullptr);
    EXPECT_EQ(value(server, "Mode"), "UEFI");
    EXPECT_EQ(value(server, "Speed_4"), "(none)");
    EXPECT_EQ(server->current[server->catalog->by_name.at("Mode")], "Legacy");
    EXPECT_EQ(server->product_data.at("UEFIID"), "B1");
    EXPECT_NE(server->pending_version, "");
    EXPECT_NE(server->pending_version, server->current_version);
}

TEST_F(server_model_test, reads_nothing_again_while_no_file_changes) {
    const auto first = model.read_now();
    EXPECT_EQ(model.read_now(), first);
    shown_server::set_pending({{"Boot.Mode", "Legacy"}});
    const auto second = model.read_now();
    EXPECT_NE(second, first);
    EXPECT_EQ(second->catalog, first->catalog);
    EXPECT_EQ(value(second, "Mode"), "Legacy");
    EXPECT_EQ(value(first, "Mode"), "UEFI") << "a snapshot never changes";
}

TEST_F(server_model_test, makes_a_registry_of_the_template) {
    const auto server = model.read_now();
    const auto registry = dp_support::parse_json(*server->catalog->registry_text).root;
    EXPECT_EQ(server->catalog->registry, nullptr);
    const auto& attributes = registry.find("RegistryEntries")->find("Attributes")->items;
    ASSERT_EQ(attributes.size(), server->catalog->settings.size());
    EXPECT_EQ(attributes[0].find("AttributeName")->text, "Mode");
    EXPECT_EQ(attributes[0].find("Type")->text, "Enumeration");
    EXPECT_EQ(attributes[0].find("Value")->items.at(1).find("ValueName")->text, "Legacy");
    EXPECT_EQ(attributes[1].find("UpperBound")->integer, 60);
    EXPECT_EQ(attributes[3].find("ReadOnly")->truth, true);
}

TEST_F(server_model_test, ignores_the_registry_of_another_template) {
    shown_server::set_registry(R"({"RegistryEntries": {"Attributes": [
        {"AttributeName": "Mode", "Type": "String"}]}})");
    EXPECT_EQ(model.read_now()->catalog->registry, nullptr);
    shown_server::set_registry("{");
    EXPECT_EQ(model.read_now()->catalog->registry, nullptr);
}

TEST_F(server_model_test, has_nothing_without_files) {
    test::clean_root();
    const auto server = model.read_now();
    ASSERT_NE(server, nullptr);
    EXPECT_TRUE(server->catalog->settings.empty());
    EXPECT_EQ(server->pending_version, "");
    EXPECT_TRUE(server->history->is_empty());
}

TEST_F(server_model_test, lets_readers_pass_a_change_that_waits) {
    std::promise<void> release;
    std::promise<void> running;
    model.change([&](dp_service::settings_client&) {
        running.set_value();
        release.get_future().wait();
    });
    running.get_future().wait();
    shown_server::set_pending({{"Boot.Mode", "Legacy"}});
    EXPECT_EQ(value(model.read_now(), "Mode"), "Legacy");
    release.set_value();
    model.stop();  // the thread uses the promises
}

TEST_F(server_model_test, refuses_changes_when_too_many_wait) {
    std::promise<void> release;
    auto released = release.get_future().share();
    int accepted = 0;
    while (model.change([released](dp_service::settings_client&) { released.wait(); })) {
        ASSERT_LT(++accepted, 1000);
    }
    EXPECT_GE(accepted, 64);
    release.set_value();
}

TEST_F(server_model_test, does_not_begin_changes_that_waited_too_long) {
    const test::applying_service service({});
    server_model impatient({.change_patience = std::chrono::milliseconds(0)});
    std::promise<dp_service::settings_client::states> outcome;
    impatient.change([&](dp_service::settings_client& client) {
        std::vector<dp_service::settings_client::change> commands{{"Boot.Mode", "Legacy"}};
        outcome.set_value(client.change_settings(commands).state);
    });
    EXPECT_EQ(outcome.get_future().get(), dp_service::settings_client::states::withdrawn);
    EXPECT_EQ(value(model.read_now(), "Mode"), "UEFI");
    impatient.stop();  // the thread uses the promise
}

TEST_F(server_model_test, ends_at_whatever_moment_it_is_stopped) {
    for (int i = 0; i < 1000; ++i) {
        server_model stopped;
        stopped.read([](const snapshot_pointer& /*server*/) {});
    }
}

TEST_F(server_model_test, takes_a_busy_settings_service_for_one_that_runs) {
    const std::string path = dp_service::server_paths::request_socket.str();
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    const auto listener = test::listen_at(path, 0);
    const auto other = test::connect_to(path);
    EXPECT_TRUE(server_model::has_settings_service());
}

TEST_F(server_model_test, knows_whether_the_settings_service_runs) {
    EXPECT_FALSE(server_model::has_settings_service());
    const test::applying_service service({});
    EXPECT_TRUE(server_model::has_settings_service());
}

// --- files that another process keeps locked

// Takes the exclusive lock on a file, and keeps it until the parent says something.
int keep_lock(const std::string& path, const test::child_process::parent_channel& parent) {
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    parent.send(file_lock_write(file) == 0 ? '1' : '0');
    return parent.receive() == '\0' ? 1 : 0;
}

class locked_files : public testing::Test {
  protected:
    static server_model::options impatient() {
        server_model::options options;
        options.patience = std::chrono::milliseconds(100);
        options.long_patience = std::chrono::milliseconds(1000);
        return options;
    }

    // Waits as a GET does.
    static snapshot_pointer get(server_model& model) {
        std::promise<snapshot_pointer> taken;
        model.read([&](snapshot_pointer server) { taken.set_value(std::move(server)); });
        return taken.get_future().get();
    }

    // The first snapshot, also when reading takes longer than a reader waits.
    static snapshot_pointer get_first(server_model& model) {
        snapshot_pointer first;
        test::eventually([&] { return (first = get(model)) != nullptr; });
        return first;
    }

    static std::string delay(const snapshot_pointer& server) {
        return *server->pending[server->catalog->by_name.at("Delay")];
    }

    shown_server files{test::sample_template(), {{"Boot.Delay", "5"}}, {}};
    std::vector<std::string> lines;
};

TEST_F(locked_files, do_not_delay_readers) {
    auto options = impatient();
    std::mutex mutex;
    options.log = [&](const std::string& line) {
        const std::lock_guard lock(mutex);
        lines.push_back(line);
    };
    server_model model(options);
    const auto first = get_first(model);
    ASSERT_NE(first, nullptr);
    shown_server::set_pending({{"Boot.Delay", "10"}});
    test::child_process other(
        [](const auto& parent) { return keep_lock(shown_server::pending_path(), parent); });
    ASSERT_EQ(other.receive(), '1');
    EXPECT_EQ(get(model), first) << "what the file contained last";
    // A reader waits from its call on, which is before the reading began.
    EXPECT_TRUE(test::eventually([&] { return model.is_blocked(); }));
    EXPECT_EQ(get(model), first);
    EXPECT_EQ(model.read_now(), nullptr) << "a change needs what it contains now";
    other.send('x');
    EXPECT_TRUE(test::eventually([&] { return delay(get(model)) == "10"; }));
    EXPECT_FALSE(model.is_blocked());
    EXPECT_EQ(lines.size(), 2U);
}

TEST_F(locked_files, are_unavailable_when_they_were_never_read) {
    server_model model(impatient());
    test::child_process other(
        [](const auto& parent) { return keep_lock(shown_server::pending_path(), parent); });
    ASSERT_EQ(other.receive(), '1');
    EXPECT_EQ(get(model), nullptr);
    other.send('x');
    EXPECT_TRUE(test::eventually([&] { return get(model) != nullptr; }));
}

// --- watching

TEST_F(locked_files, are_read_again_as_soon_as_they_change) {
    auto options = impatient();
    options.watches_files = true;
    server_model model(options);
    std::promise<std::string> seen;
    get_first(model);
    model.set_observer([&, has_seen = false](const snapshot_pointer& server) mutable {
        if (!std::exchange(has_seen, true)) {
            seen.set_value(delay(server));
        }
    });
    shown_server::set_pending({{"Boot.Delay", "10"}});
    auto value = seen.get_future();
    ASSERT_EQ(value.wait_for(test::patience), std::future_status::ready);
    EXPECT_EQ(value.get(), "10");
    model.stop();
}

TEST_F(locked_files, are_polled_when_the_kernel_cannot_watch_them) {
    auto options = impatient();
    options.watches_files = true;
    options.kernel.create = [] {
        errno = EMFILE;
        return -1;
    };
    server_model model(options);
    std::promise<void> seen;
    get_first(model);
    model.set_observer([&, has_seen = false](const snapshot_pointer& /*server*/) mutable {
        if (!std::exchange(has_seen, true)) {
            seen.set_value();
        }
    });
    shown_server::set_pending({{"Boot.Delay", "10"}});
    EXPECT_EQ(seen.get_future().wait_for(test::patience), std::future_status::ready);
    model.stop();
}

}  // namespace
