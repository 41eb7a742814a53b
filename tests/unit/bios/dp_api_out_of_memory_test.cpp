#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "bios/dp_api.h"
#include "tests/support/template_records.hpp"
#include "tests/unit/bios/bios_service.hpp"
#include "tests/unit/bios/failing_new.hpp"

namespace {

using test::attribute;
using test::outcome;
using test::request;
using test::setting;

constexpr const char* long_name = "Main.AnAttributeWithANameLongerThanASmallBuffer";

class dp_api_out_of_memory : public test::bios_service {
  protected:
    dp_api_out_of_memory() {
        write_aged(configs_file, "Main\nA collection whose name is longer than a small buffer\n",
                   10);
        write_aged(info_file,
                   attribute("Main", "A", "[value='B',order='2'],[value='A',order='1']") +
                       attribute("Main", long_name + 5, "a default longer than a small buffer"),
                   10);
        write_aged(settings_file,
                   "0 0 t set Main.A \"1\" \"\"\n0 0 t set " + std::string(long_name) +
                       ".7 \"a value longer than a small buffer\" \"\"\n",
                   10);
        write_aged(build_id_file, "A build id longer than a small buffer\n", 10);
        time.on_sleep = [this](std::uint32_t) {
            const test::spared_new spared;
            test::write_file(result_file, outcome("0", "100") + outcome("5", "101"));
        };
        time.sleeps.reserve(100'000);
    }

    // Makes each allocation of `call` fail in turn, alone or with all later ones, and repeats the
    // call with enough memory. `call` returns whether it succeeded; `check` examines the results
    // after each success.
    void expect_all_or_nothing(const std::function<bool()>& call,
                               const std::function<void()>& check) {
        for (const bool lasting : {false, true}) {
            int allocations = 0;
            for (bool failed = true; failed; ++allocations) {
                dp_api_uninitialize();
                ASSERT_EQ(dp_api_initialize(), 0);
                bool done = false;
                {
                    const test::failing_new failing(allocations, lasting);
                    done = call();
                    failed = test::failing_new::failed();
                }
                if (done) {
                    check();
                }
                ASSERT_TRUE(failed || done) << allocations;
                ASSERT_TRUE(call()) << allocations;
                check();
                if (HasFailure()) {
                    FAIL() << "allocation " << allocations;
                }
            }
            EXPECT_GT(allocations, 1) << "the call uses memory";
        }
    }

    const char** names = nullptr;
    dp_attribute* attrs = nullptr;
    unsigned count = 0;
    dp_transaction trans[2] = {};
};

TEST_F(dp_api_out_of_memory, initialisation_returns_1) {
    int result = 0;
    {
        const test::failing_new failing(0);
        result = dp_api_initialize();
    }
    EXPECT_EQ(result, 1);
    EXPECT_EQ(dp_get_bios_collections(&names, &count), 1);
    EXPECT_EQ(dp_api_initialize(), 0);
}

TEST_F(dp_api_out_of_memory, collections_are_returned_completely_or_not_at_all) {
    expect_all_or_nothing([&] { return dp_get_bios_collections(&names, &count) == 0; },
                          [&] {
                              ASSERT_EQ(count, 2U);
                              EXPECT_STREQ(names[1],
                                           "A collection whose name is longer than a small buffer");
                          });
}

TEST_F(dp_api_out_of_memory, attributes_are_returned_completely_or_not_at_all) {
    expect_all_or_nothing([&] { return dp_get_bios_attributes("Main", &attrs, &count) == 0; },
                          [&] {
                              ASSERT_EQ(count, 2U);
                              EXPECT_STREQ(attrs[0].dft, "A,B");
                              EXPECT_STREQ(attrs[1].id, long_name + 5);
                              EXPECT_STREQ(attrs[1].dft, "a default longer than a small buffer");
                          });
}

TEST_F(dp_api_out_of_memory, instance_names_are_returned_completely_or_not_at_all) {
    expect_all_or_nothing([&] { return dp_get_bios_attribute_names("Main", &names, &count) == 0; },
                          [&] {
                              ASSERT_EQ(count, 2U);
                              EXPECT_STREQ(names[0], "Main.A");
                              EXPECT_EQ(names[1], std::string(long_name) + ".7");
                          });
}

TEST_F(dp_api_out_of_memory, attribute_is_found_or_not) {
    expect_all_or_nothing([&] { return dp_get_bios_attribute(long_name, &attrs) == 0; },
                          [&] { EXPECT_STREQ(attrs->id, long_name + 5); });
}

TEST_F(dp_api_out_of_memory, values_are_read_or_every_request_fails) {
    const std::string name = std::string(long_name) + ".7";
    expect_all_or_nothing(
        [&] {
            trans[0] = request(1, "Main.A");
            trans[1] = request(1, name.c_str());
            const int result = dp_get_bios_attribute_value(trans, 2, 0);
            if (result != 0) {
                EXPECT_EQ(result, 2);
                EXPECT_EQ(trans[0].status, 255U);
                EXPECT_EQ(trans[1].status, 255U);
            }
            return result == 0;
        },
        [&] {
            EXPECT_STREQ(trans[0].value, "1");
            EXPECT_STREQ(trans[1].value, "a value longer than a small buffer");
        });
}

TEST_F(dp_api_out_of_memory, values_are_set_or_the_batch_fails) {
    expect_all_or_nothing(
        [&] {
            trans[0] = request(2, "Main.A", "a new value longer than a small buffer");
            trans[1] = request(2, long_name, "x");
            const int result = dp_set_bios_attribute_value(trans, 2);
            if (result == -1) {
                EXPECT_EQ(trans[0].status, 255U);
                EXPECT_EQ(trans[1].status, 255U);
            }
            return result != -1;
        },
        [&] {
            EXPECT_EQ(trans[0].status, 4711U);
            EXPECT_EQ(trans[1].status, 5U);
        });
}

TEST_F(dp_api_out_of_memory, need_reinit_succeeds_or_fails) {
    expect_all_or_nothing([&] { return dp_bios_need_reinit("Main") == 0; }, [] {});
}

TEST_F(dp_api_out_of_memory, reset_is_one_complete_batch_or_fails) {
    time.on_sleep = [this](std::uint32_t) {
        const test::spared_new spared;
        test::write_file(result_file, "");
    };
    expect_all_or_nothing([&] { return dp_bios_reset_to_defaults("Main") == 0; },
                          [&] {
                              const std::string batch = test::read_file(batch_file);
                              EXPECT_EQ(std::count(batch.begin(), batch.end(), '\n'), 2);
                          });
}

}  // namespace
