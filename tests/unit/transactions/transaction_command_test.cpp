#include "transactions/transaction_command.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_loader.hpp"
#include "settings/instance_number.hpp"
#include "tests/support/settings_model.hpp"
#include "transactions/command_status.hpp"

using dp::batch_file_entry;
using dp::no_instance;
using dp::transaction_command;

namespace {

class transaction_command_test : public testing::Test {
  protected:
    transaction_command_test() {
        config.add_setting(&owned);
        config.add_setting(&ownerless);
        reg.configurations = {&config};
    }

    static batch_file_entry entry(const std::string& operation = "set",
                                  const std::string& name = "C.owned") {
        batch_file_entry e;
        e.status = "0";
        e.detail = "7";
        e.tid = "t1";
        e.operation = operation;
        e.name.parse(name);
        e.value_in = "in";
        e.value_out = "out";
        return e;
    }

    transaction_command built(batch_file_entry e) { return {&reg, e}; }

    // An open command on the owned setting.
    transaction_command open_command(dp::operations op, const std::string& instance = "") {
        auto none = test::single_entry();
        transaction_command c(op, &owned, none);
        c.status = 0;
        c.target.instance = instance;
        c.value_in = "in";
        c.value_out = "out";
        return c;
    }

    std::string cached(std::uint32_t instance = no_instance) {
        std::string out;
        return owned.get_instance_value(&out, instance) ? out : "unknown";
    }

    test::registrar reg;
    test::configuration config{"C"};
    test::element element;
    test::plugin owner{"owner"};
    dp::setting owned{&config, "owned", &owner, &element};
    dp::setting ownerless{&config, "ownerless", nullptr, &element};
};

std::string terse(transaction_command& c) {
    std::ostringstream os;
    c.write_terse_output(os);
    return os.str();
}

std::string padded(const transaction_command& c) {
    std::ostringstream os;
    os << c;
    return os.str();
}

const std::vector<dp::operations> every_operation{
    dp::op_unknown,    dp::op_get,          dp::op_set,           dp::op_getv,
    dp::op_setv,       dp::op_delete,       dp::op_cmd_import,    dp::op_cmd_export,
    dp::op_cmd_delete, dp::op_cmd_generate, dp::op_cmd_exportcsr, dp::op_cmd_generatecsr};

}  // namespace

using transaction_command_from_entry = transaction_command_test;

TEST_F(transaction_command_from_entry, takes_its_fields) {
    const auto c = built(entry("set", "C.owned.3"));
    EXPECT_EQ(c.status, 0);
    EXPECT_FALSE(c.complete);
    EXPECT_EQ(c.correlator, 7U);
    EXPECT_EQ(c.tid, "t1");
    EXPECT_EQ(c.operation, dp::op_set);
    EXPECT_EQ(c.target.setting, &owned);
    EXPECT_EQ(c.target.instance, "3");
    EXPECT_EQ(c.value_in, "in");
    EXPECT_EQ(c.value_out, "out");
    EXPECT_FALSE(c.host_flags[0]);
    EXPECT_FALSE(c.host_flags[1]);
    EXPECT_FALSE(c.no_input_mapping);
    EXPECT_EQ(c.host_word, 0U);
}

TEST_F(transaction_command_from_entry, takes_a_status_below_256_and_is_complete_unless_it_is_0) {
    struct {
        const char* text;
        std::int32_t status;
        bool complete;
    } const cases[]{
        {"0", 0, false},     {"5", 5, true},       {"255", 255, true},         {"256", 255, false},
        {"300", 255, false}, {"", 255, false},     {"x", 255, false},          {"-1", 255, false},
        {"007", 7, true},    {"12junk", 12, true}, {"4294967296", 255, false}, {"1", 1, true},
    };
    for (const auto& [text, status, complete] : cases) {
        auto e = entry();
        e.status = text;
        const auto c = built(e);
        EXPECT_EQ(c.status, status) << text;
        EXPECT_EQ(c.complete, complete) << text;
    }
}

TEST_F(transaction_command_from_entry, has_correlator_0_when_the_detail_does_not_parse) {
    for (const char* text : {"", "x", "4294967296"}) {
        auto e = entry();
        e.detail = text;
        EXPECT_EQ(built(e).correlator, 0U) << text;
    }
    auto e = entry();
    e.detail = "4294967295";
    EXPECT_EQ(built(e).correlator, 4294967295U);
}

TEST_F(transaction_command_from_entry,
       fails_with_224_for_an_unknown_operation_but_keeps_its_setting) {
    const auto c = built(entry("nonsense"));
    EXPECT_EQ(c.operation, dp::op_unknown);
    EXPECT_EQ(c.status, 224);
    EXPECT_TRUE(c.complete);
    EXPECT_EQ(c.target.setting, &owned);
    EXPECT_EQ(built(entry("command")).status, 224);
}

TEST_F(transaction_command_from_entry, fails_with_16_for_an_unresolved_name) {
    for (const char* name : {"C.missing", "D.owned", "owned", "", "."}) {
        const auto c = built(entry("set", name));
        EXPECT_EQ(c.status, 16) << name;
        EXPECT_TRUE(c.complete);
        EXPECT_EQ(c.target.setting, nullptr);
    }
    const auto c = built(entry("set", "C.missing.4"));
    EXPECT_EQ(c.target.instance, "4");
}

TEST_F(transaction_command_from_entry, fails_with_17_for_a_setting_without_an_owner) {
    const auto c = built(entry("set", "C.ownerless"));
    EXPECT_EQ(c.status, 17);
    EXPECT_TRUE(c.complete);
    EXPECT_EQ(c.target.setting, &ownerless);
}

TEST_F(transaction_command_from_entry, resolves_nothing_without_a_registrar) {
    auto e = entry();
    const transaction_command c(nullptr, e);
    EXPECT_EQ(c.status, 16);
    EXPECT_TRUE(c.complete);
    EXPECT_EQ(c.value_in, "in");
}

TEST_F(transaction_command_from_entry, keeps_the_first_problem) {
    EXPECT_EQ(built(entry("nonsense", "C.missing")).status, 224);
    auto e = entry("nonsense", "C.missing");
    e.status = "5";
    EXPECT_EQ(built(e).status, 5);
    e.status = "not a number";
    const auto c = built(e);
    EXPECT_EQ(c.status, 255) << "255 is not 0, so it is kept";
    EXPECT_TRUE(c.complete);
}

TEST_F(transaction_command_from_entry, accepts_every_keyword) {
    const char* const keywords[]{"get",          "set",           "getv",           "setv",
                                 "delete",       "cmd_import",    "cmd_export",     "cmd_delete",
                                 "cmd_generate", "cmd_exportcsr", "cmd_generatecsr"};
    for (const char* keyword : keywords) {
        const auto c = built(entry(keyword));
        EXPECT_EQ(c.operation, dp::map_operation(std::string(keyword)));
        EXPECT_EQ(c.status, 0) << keyword;
    }
}

TEST_F(transaction_command_from_entry, keeps_an_empty_tid) {
    auto e = entry();
    e.tid = "";
    EXPECT_EQ(built(e).tid, "");
}

using transaction_command_from_cache = transaction_command_test;

TEST_F(transaction_command_from_cache, has_status_255_and_names_the_instance) {
    owned.set_instance_value("v", 42);
    const transaction_command c(dp::op_get, &owned, *owned.cache.find_entry(42, false));
    EXPECT_EQ(c.status, 255);
    EXPECT_FALSE(c.complete);
    EXPECT_EQ(c.correlator, 0U);
    EXPECT_EQ(c.tid, "<tid>");
    EXPECT_EQ(c.operation, dp::op_get);
    EXPECT_EQ(c.target.setting, &owned);
    EXPECT_EQ(c.target.instance, "42");
    EXPECT_FALSE(c.host_flags[0]);
    EXPECT_FALSE(c.host_flags[1]);
    EXPECT_FALSE(c.no_input_mapping);
    EXPECT_EQ(c.host_word, 0U);
}

TEST_F(transaction_command_from_cache, has_no_instance_text_for_the_special_numbers) {
    for (const auto& [instance, text] : std::vector<std::pair<std::uint32_t, std::string>>{
             {0, "0"}, {0xFFFFFFFD, "4294967293"}, {0xFFFFFFFE, ""}, {0xFFFFFFFF, ""}}) {
        dp::setting::cache::entry e;
        e.instance = instance;
        EXPECT_EQ(transaction_command(dp::op_set, &owned, e).target.instance, text);
    }
}

TEST_F(transaction_command_from_cache, stores_the_value_as_input_or_output_of_the_operation) {
    dp::setting::cache::entry e;
    e.value = "v";
    for (const auto op : every_operation) {
        const transaction_command c(op, &owned, e);
        const bool in = op == dp::op_set || op == dp::op_getv || op == dp::op_setv;
        const bool out = op == dp::op_get || op == dp::op_setv;
        EXPECT_EQ(c.value_in, in ? "v" : "") << op;
        EXPECT_EQ(c.value_out, out ? "v" : "") << op;
    }
}

using transaction_command_fail = transaction_command_test;

TEST_F(transaction_command_fail, stores_a_code_only_if_the_status_is_0) {
    auto c = open_command(dp::op_set);
    c.fail(16);
    EXPECT_EQ(c.status, 16);
    EXPECT_TRUE(c.complete);
    c.fail(17);
    EXPECT_EQ(c.status, 16);
}

using transaction_command_setup = transaction_command_test;

TEST_F(transaction_command_setup, answers_a_get_from_the_cache) {
    owned.set_instance_value("cached", 3);
    auto c = open_command(dp::op_get, "3");
    c.setup();
    EXPECT_TRUE(c.complete);
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(c.value_out, "cached");
}

TEST_F(transaction_command_setup, leaves_a_get_of_an_unknown_value_open) {
    owned.set_instance_value("cached", 3);
    owned.invalidate_instance(3);
    for (const char* instance : {"3", "4", "", "x"}) {
        auto c = open_command(dp::op_get, instance);
        c.setup();
        EXPECT_FALSE(c.complete) << instance;
        EXPECT_EQ(c.value_out, "out");
    }
}

TEST_F(transaction_command_setup, finds_the_single_value_and_the_invalid_instance) {
    owned.set_instance_value("single", no_instance);
    owned.set_instance_value("odd", dp::invalid_instance);
    auto single = open_command(dp::op_get);
    single.setup();
    EXPECT_EQ(single.value_out, "single");
    auto odd = open_command(dp::op_get, "x");
    odd.setup();
    EXPECT_EQ(odd.value_out, "odd");
}

TEST_F(transaction_command_setup, answers_no_other_operation) {
    owned.set_instance_value("cached", no_instance);
    for (const auto op : every_operation) {
        auto c = open_command(op);
        c.setup();
        EXPECT_EQ(c.complete, op == dp::op_get) << op;
        EXPECT_EQ(c.value_out, op == dp::op_get ? "cached" : "out");
    }
}

TEST_F(transaction_command_setup, ignores_failed_complete_and_targetless_commands) {
    owned.set_instance_value("cached", no_instance);
    auto failed = open_command(dp::op_get);
    failed.status = 255;
    failed.setup();
    EXPECT_FALSE(failed.complete);
    auto complete = open_command(dp::op_get);
    complete.complete = true;
    complete.setup();
    EXPECT_EQ(complete.value_out, "out");
    auto targetless = open_command(dp::op_get);
    targetless.target.setting = nullptr;
    targetless.setup();
    EXPECT_FALSE(targetless.complete);
}

using transaction_command_map_input_value = transaction_command_test;

TEST_F(transaction_command_map_input_value, lets_the_element_map_the_value_of_a_write) {
    element.on_map = [](std::string* value) {
        *value = '<' + *value + '>';
        return true;
    };
    for (const auto op : every_operation) {
        auto c = open_command(op);
        c.map_input_value();
        const bool write = op == dp::op_set || op == dp::op_setv;
        EXPECT_EQ(c.value_in, write ? "<in>" : "in") << op;
        EXPECT_FALSE(c.complete);
        EXPECT_EQ(c.status, 0);
    }
}

TEST_F(transaction_command_map_input_value, fails_with_18_when_the_element_cannot_map_the_value) {
    element.on_map = [](std::string*) { return false; };
    auto c = open_command(dp::op_set);
    c.map_input_value();
    EXPECT_EQ(c.status, 18);
    EXPECT_TRUE(c.complete);
    auto earlier = open_command(dp::op_setv);
    earlier.status = 255;
    earlier.map_input_value();
    EXPECT_EQ(earlier.status, 255);
    EXPECT_TRUE(earlier.complete);
}

TEST_F(transaction_command_map_input_value, changes_nothing_by_default) {
    auto c = open_command(dp::op_set);
    c.map_input_value();
    EXPECT_EQ(c.value_in, "in");
    EXPECT_FALSE(c.complete);
    c.target.setting = nullptr;
    c.map_input_value();
    EXPECT_FALSE(c.complete);
}

using transaction_command_finish = transaction_command_test;

TEST_F(transaction_command_finish, stores_the_value_of_a_read_or_write_in_the_cache) {
    for (const auto op : every_operation) {
        owned.remove_instance(5);
        auto c = open_command(op, "5");
        c.complete = true;
        c.finish();
        std::string expected = "unknown";
        if (op == dp::op_get || op == dp::op_getv || op == dp::op_setv) {
            expected = "out";
        } else if (op == dp::op_set) {
            expected = "in";
        }
        EXPECT_EQ(cached(5), expected) << op;
    }
}

TEST_F(transaction_command_finish, does_nothing_while_the_command_is_open) {
    owned.set_instance_value("old", no_instance);
    auto c = open_command(dp::op_set);
    c.finish();
    c.status = 32;
    c.finish();
    EXPECT_EQ(cached(), "old");
}

TEST_F(transaction_command_finish, leaves_the_cache_unchanged_after_a_failure) {
    owned.set_instance_value("old", no_instance);
    for (const auto op : every_operation) {
        for (const std::int32_t status : {1, 16, 21, 226, 255, -1}) {
            auto c = open_command(op);
            c.complete = true;
            c.status = status;
            c.finish();
            EXPECT_EQ(cached(), "old");
        }
    }
}

TEST_F(transaction_command_finish, invalidates_the_value_for_status_32_of_any_operation) {
    for (const auto op : every_operation) {
        owned.set_instance_value("old", 5);
        owned.set_instance_value("other", 6);
        auto c = open_command(op, "5");
        c.complete = true;
        c.status = 32;
        c.finish();
        EXPECT_EQ(cached(5), "unknown") << op;
        EXPECT_EQ(cached(6), "other");
    }
}

TEST_F(transaction_command_finish, does_nothing_without_a_setting) {
    auto c = open_command(dp::op_set);
    c.complete = true;
    c.target.setting = nullptr;
    c.finish();
    c.status = 32;
    c.finish();
    EXPECT_EQ(config.version, 0U);
}

TEST_F(transaction_command_finish, stores_a_value_under_the_invalid_instance) {
    auto c = open_command(dp::op_set, "x");
    c.complete = true;
    c.finish();
    EXPECT_EQ(cached(dp::invalid_instance), "in");
}

using transaction_command_write_terse_output = transaction_command_test;

TEST_F(transaction_command_write_terse_output, writes_seven_items_each_followed_by_a_space) {
    auto c = built(entry("cmd_import", "C.owned.3"));
    EXPECT_EQ(terse(c), R"(0 7 t1 command import C.owned.3 "in" "out" )");
}

TEST_F(transaction_command_write_terse_output, writes_an_error_name_without_a_setting) {
    auto c = built(entry("set", "C.missing.3"));
    EXPECT_EQ(terse(c), R"(16 7 t1 set ERR.INVALID_SETTING "in" "out" )");
}

TEST_F(transaction_command_write_terse_output,
       writes_the_lowest_status_and_the_highest_correlator) {
    auto c = open_command(dp::op_unknown);
    c.status = INT32_MIN;
    c.correlator = 0xFFFFFFFF;
    EXPECT_EQ(terse(c), R"(-2147483648 4294967295 <tid> unknown C.owned "in" "out" )");
}

TEST_F(transaction_command_write_terse_output, stores_and_writes_none_for_an_empty_tid) {
    auto c = open_command(dp::op_get);
    c.tid = "";
    EXPECT_EQ(terse(c), R"(0 0 <none> get C.owned "in" "out" )");
    EXPECT_EQ(c.tid, "<none>");
}

TEST_F(transaction_command_write_terse_output, never_escapes_values) {
    auto c = open_command(dp::op_get);
    c.value_in = R"(a"b\c)";
    c.value_out = std::string("\n\0", 2);
    EXPECT_EQ(terse(c), R"(0 0 <tid> get C.owned "a"b\c" ")" + std::string("\n\0", 2) + "\" ");
}

TEST_F(transaction_command_write_terse_output, writes_the_same_line_in_any_stream_state) {
    struct grouping final : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\1"; }
    };
    auto c = open_command(dp::op_get);
    c.status = 255;
    c.correlator = 123456;
    std::ostringstream os;
    os.imbue(std::locale(std::locale::classic(), new grouping));
    os << std::hex << std::showbase << std::showpos << std::left << std::setfill('*')
       << std::setw(200);
    c.write_terse_output(os);
    EXPECT_EQ(os.str(), R"(255 123456 <tid> get C.owned "in" "out" )");
    EXPECT_EQ(os.width(), 0) << "reset, as by any output";
}

TEST_F(transaction_command_write_terse_output, writes_a_line_that_the_batch_file_reader_reads) {
    auto c = open_command(dp::op_set, "3");
    c.correlator = 100;
    std::vector<batch_file_entry> read;
    dp::batch_file_loader loader(&read);
    std::stringstream file;
    c.write_terse_output(file);
    file << '\n';
    EXPECT_EQ(loader.read_file(file, nullptr), 1);
    EXPECT_EQ(read.at(0).status, "0");
    EXPECT_EQ(read.at(0).detail, "100");
    EXPECT_EQ(read.at(0).tid, "<tid>");
    EXPECT_EQ(read.at(0).operation, "set");
    EXPECT_EQ(read.at(0).name.get_name(), "C.owned.3");
    EXPECT_EQ(read.at(0).value_in, "in");
    EXPECT_EQ(read.at(0).value_out, "out");
}

using transaction_command_padded_output = transaction_command_test;

TEST_F(transaction_command_padded_output, pads_each_item_to_its_width) {
    auto c = open_command(dp::op_get, "3");
    c.correlator = 5;
    c.tid = "t1";
    EXPECT_EQ(padded(c),
              "  0 "
              "5      "
              "t1         "
              "get        "
              "C.owned.3                      "
              "\"in\"       "
              "\"out\"      ");
}

TEST_F(transaction_command_padded_output, writes_longer_items_whole) {
    auto c = open_command(dp::op_cmd_generatecsr, "a long instance text");
    c.status = -12345;
    c.correlator = 12345678;
    c.tid = "a-long-identifier";
    c.value_in = "a long value in";
    c.value_out = "a long value out";
    EXPECT_EQ(padded(c),
              "-12345 12345678 a-long-identifier command generatecsr C.owned.a long instance text  "
              " \"a long value in\" \"a long value out\" ");
}

TEST_F(transaction_command_padded_output, adds_no_padding_to_items_of_full_width) {
    auto c = open_command(dp::op_get);
    c.status = 255;
    c.correlator = 123456;
    c.tid = "0123456789";
    c.value_in = "12345678";
    c.value_out = "12345678";
    EXPECT_EQ(padded(c),
              "255 123456 0123456789 get        C.owned                        \"12345678\" "
              "\"12345678\" ");
}

TEST_F(transaction_command_padded_output, escapes_values) {
    auto c = open_command(dp::op_get);
    c.value_in = R"(a"b\c)";
    c.value_out = "";
    EXPECT_EQ(padded(c),
              "  0 0      <tid>      get        C.owned                        "
              R"("a\"b\\c"  "")"
              "         ");
}

TEST_F(transaction_command_padded_output, writes_an_error_name_without_a_setting) {
    auto c = open_command(dp::op_set);
    c.target.setting = nullptr;
    EXPECT_EQ(padded(c),
              "  0 0      <tid>      set        ERR.INVALID_SETTING            \"in\"       "
              "\"out\"      ");
}

TEST_F(transaction_command_padded_output,
       writes_the_same_line_in_any_stream_state_and_keeps_the_state) {
    auto c = open_command(dp::op_get);
    c.status = 17;
    c.correlator = 255;
    const std::string plain = padded(c);
    std::ostringstream os;
    os << std::hex << std::showbase << std::right << std::setfill('*');
    const auto flags = os.flags();
    os << std::setw(200) << c;
    EXPECT_EQ(os.str(), plain);
    EXPECT_EQ(os.flags(), flags);
    EXPECT_EQ(os.fill(), '*');
    EXPECT_EQ(os.width(), 0);
}

TEST_F(transaction_command_padded_output, does_not_change_the_command) {
    auto c = open_command(dp::op_get);
    c.tid = "";
    EXPECT_EQ(padded(c),
              "  0 0                 get        C.owned                        \"in\"       "
              "\"out\"      ");
    EXPECT_EQ(c.tid, "");
}

TEST(command_status, has_fixed_codes) {
    namespace status = dp::command_status;
    EXPECT_EQ(status::success, 0);
    EXPECT_EQ(status::unresolved, 16);
    EXPECT_EQ(status::no_owner, 17);
    EXPECT_EQ(status::value_not_mapped, 18);
    EXPECT_EQ(status::not_answered, 21);
    EXPECT_EQ(status::value_not_known, 32);
    EXPECT_EQ(status::unknown_operation, 224);
    EXPECT_EQ(status::delete_not_permitted, 226);
    EXPECT_EQ(status::not_run, 255);
}
