#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "bios/dp_api.h"
#include "service_api/service_status.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/service_process.hpp"
#include "tests/support/test_platform.hpp"
#include "transactions/operations.hpp"

// The C API in this process and the service in another one.

namespace {

using test::service_process;

class c_api : public testing::Test {
  protected:
    c_api() {
        // The client checks for its result once a second, 60 times. Here a pause ends as soon as
        // there is a result, and takes at most half a second.
        time.on_sleep = [](std::uint32_t) {
            for (int i = 0; i < 500 && access(service_process::result().c_str(), F_OK) != 0; ++i) {
                usleep(1'000);
            }
        };
    }
    void SetUp() override {
        ASSERT_TRUE(server.start()) << service_process::log();
        dp_api_initialize();
    }
    void TearDown() override { dp_api_uninitialize(); }

    // A new client reads changed files at once.
    static void reopen() {
        dp_api_uninitialize();
        dp_api_initialize();
    }

    static std::string value(const char* name, int which = 0) {
        dp_transaction read{};
        read.operation = dp::op_get;
        read.name = name;
        const int failed = dp_get_bios_attribute_value(&read, 1, which);
        return failed == 0 ? read.value : "status " + std::to_string(read.status);
    }

    static int change(dp::operations op, const char* name, const char* new_value,
                      std::uint32_t* status = nullptr) {
        dp_transaction request{};
        request.operation = op;
        request.name = name;
        request.new_value = new_value;
        const int result = dp_set_bios_attribute_value(&request, 1);
        if (status != nullptr) {
            *status = request.status;
        }
        return result;
    }

    test::stepped_time time;
    service_process server;
};

TEST_F(c_api, lists_the_collections_and_attributes_of_the_template) {
    const char** names = nullptr;
    unsigned count = 0;
    ASSERT_EQ(dp_get_bios_collections(&names, &count), 0);
    EXPECT_EQ(std::set<std::string>(names, names + count),
              (std::set<std::string>{"Boot", "Ports"}));
    dp_attribute* attributes = nullptr;
    ASSERT_EQ(dp_get_bios_attributes("Boot", &attributes, &count), 0);
    ASSERT_EQ(count, 5U);
    EXPECT_STREQ(attributes[0].id, "Mode");
    ASSERT_EQ(dp_get_bios_attribute_names("Ports", &names, &count), 0);
    EXPECT_EQ(std::set<std::string>(names, names + count),
              (std::set<std::string>{"Ports.Speed.1", "Ports.Speed.2", "Ports.Speed.3",
                                     "Ports.Speed.4"}));
}

TEST_F(c_api, keeps_a_change_pending_until_the_server_restarts) {
    EXPECT_EQ(value("Boot.Mode"), "UEFI");
    EXPECT_EQ(change(dp::op_set, "Boot.Mode", "Legacy"), 0);
    EXPECT_EQ(value("Boot.Mode"), "Legacy");
    EXPECT_EQ(value("Boot.Mode", 1), "UEFI");
    EXPECT_EQ(service_process::restart(), "0");
    reopen();
    EXPECT_EQ(value("Boot.Mode", 1), "Legacy");
}

TEST_F(c_api, returns_a_status_for_each_refused_change) {
    const std::pair<const char*, const char*> changes[] = {
        {"Boot.Mode", "Legacy"},
        {"Boot.Mode", "CSM"},
        {"Boot.Delay", "x"},
        {"Boot.Delay", "61"},
        {"Boot.Delay", "7"},
        {"Boot.Label", "a\"b"},
        {"Boot.Label", "123456789012345678901"},
        {"Boot.Vendor", "other"},
        {"Boot.Gone", "1"},
        {"Ports.Speed.5", "1"},
        {"Boot.Delay", "60"},
    };
    const std::uint32_t untouched = 999;
    std::vector<dp_transaction> requests;
    for (const auto& [name, new_value] : changes) {
        dp_transaction request{};
        request.status = untouched;
        request.operation = dp::op_set;
        request.name = name;
        request.new_value = new_value;
        requests.push_back(request);
    }
    EXPECT_EQ(dp_set_bios_attribute_value(requests.data(), static_cast<unsigned>(requests.size())),
              9);
    const std::vector<std::uint32_t> expected{untouched,
                                              dp_service::service_status::not_a_choice,
                                              dp_service::service_status::not_a_number,
                                              dp_service::service_status::out_of_range,
                                              dp_service::service_status::not_a_step,
                                              dp_service::service_status::malformed_line,
                                              dp_service::service_status::too_long,
                                              dp_service::service_status::read_only,
                                              16,
                                              dp_service::service_status::bad_instance,
                                              untouched};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(requests[i].status, expected[i]) << requests[i].name;
    }
    EXPECT_EQ(value("Boot.Mode"), "Legacy");
    EXPECT_EQ(value("Boot.Delay"), "60");
}

TEST_F(c_api, changes_and_deletes_instances) {
    EXPECT_EQ(change(dp::op_setv, "Ports.Speed.2", "0100"), 0);
    EXPECT_EQ(value("Ports.Speed.2"), "100");
    EXPECT_EQ(change(dp::op_delete, "Ports.Speed.3", ""), 0);
    EXPECT_EQ(value("Ports.Speed.3"), "status 16");
    std::uint32_t status = 0;
    EXPECT_EQ(change(dp::op_delete, "Boot.Mode", "", &status), 1);
    EXPECT_EQ(status, 226U);
}

TEST_F(c_api, reads_list_selections_in_the_terse_form_whatever_was_set) {
    EXPECT_EQ(value("Boot.Order"), "HDD,PXE");
    EXPECT_EQ(change(dp::op_set, "Boot.Order", "[value='HDD',order='2'],[value='PXE',order='1']"),
              0);
    EXPECT_EQ(value("Boot.Order"), "PXE,HDD");
    EXPECT_EQ(change(dp::op_set, "Boot.Order", "HDD,PXE"), 0);
    EXPECT_EQ(value("Boot.Order"), "HDD,PXE");
}

TEST_F(c_api, resets_a_collection_to_its_defaults) {
    change(dp::op_set, "Boot.Mode", "Legacy");
    change(dp::op_set, "Boot.Delay", "10");
    change(dp::op_set, "Ports.Speed.1", "99");
    EXPECT_EQ(dp_bios_reset_to_defaults("Boot"), 0);
    EXPECT_EQ(value("Boot.Mode"), "UEFI");
    EXPECT_EQ(value("Boot.Delay"), "5");
    EXPECT_EQ(value("Ports.Speed.1"), "99");
}

TEST_F(c_api, reports_a_bios_update) {
    const char** names = nullptr;
    unsigned count = 0;
    ASSERT_EQ(dp_get_bios_collections(&names, &count), 0);
    EXPECT_EQ(dp_bios_need_reinit("Boot"), 0);
    auto infos = test::sample_template();
    infos.push_back(test::choice("Fans", "Speed", "low", "low,high"));
    service_process::place_update(infos, "B2");
    ASSERT_EQ(service_process::update(), "0");
    // The client checks files again after four seconds.
    EXPECT_TRUE(test::eventually([] { return dp_bios_need_reinit("Boot") == 4; }));
    reopen();
    ASSERT_EQ(dp_get_bios_collections(&names, &count), 0);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(value("Fans.Speed", 1), "low");
}

TEST_F(c_api, fails_without_a_service) {
    ASSERT_EQ(server.stop(), 0);
    time.on_sleep = nullptr;
    std::uint32_t status = 0;
    EXPECT_EQ(change(dp::op_set, "Boot.Mode", "Legacy", &status), -1);
    EXPECT_EQ(status, 255U);
}

}  // namespace
