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

class commands : public testing::Test {
  protected:
    commands() {
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

using command_from_an_entry = commands;

TEST_F(command_from_an_entry, takes_its_fields) {
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

TEST_F(command_from_an_entry, keeps_a_status_below_256_and_is_complete_unless_it_is_0) {
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

TEST_F(command_from_an_entry, has_correlator_0_when_it_does_not_parse) {
    for (const char* text : {"", "x", "4294967296"}) {
        auto e = entry();
        e.detail = text;
        EXPECT_EQ(built(e).correlator, 0U) << text;
    }
    auto e = entry();
    e.detail = "4294967295";
    EXPECT_EQ(built(e).correlator, 4294967295U);
}

TEST_F(command_from_an_entry, with_an_unknown_operation_fails_with_224_but_keeps_its_setting) {
    const auto c = built(entry("nonsense"));
    EXPECT_EQ(c.operation, dp::op_unknown);
    EXPECT_EQ(c.status, 224);
    EXPECT_TRUE(c.complete);
    EXPECT_EQ(c.target.setting, &owned);
    EXPECT_EQ(built(entry("command")).status, 224);
}

TEST_F(command_from_an_entry, with_an_unresolved_name_fails_with_16) {
    for (const char* name : {"C.missing", "D.owned", "owned", "", "."}) {
        const auto c = built(entry("set", name));
        EXPECT_EQ(c.status, 16) << name;
        EXPECT_TRUE(c.complete);
        EXPECT_EQ(c.target.setting, nullptr);
    }
    const auto c = built(entry("set", "C.missing.4"));
    EXPECT_EQ(c.target.instance, "4");
}

TEST_F(command_from_an_entry, with_a_setting_that_nobody_owns_fails_with_17) {
    const auto c = built(entry("set", "C.ownerless"));
    EXPECT_EQ(c.status, 17);
    EXPECT_TRUE(c.complete);
    EXPECT_EQ(c.target.setting, &ownerless);
}

TEST_F(command_from_an_entry, resolves_nothing_without_a_registrar) {
    auto e = entry();
    const transaction_command c(nullptr, e);
    EXPECT_EQ(c.status, 16);
    EXPECT_TRUE(c.complete);
    EXPECT_EQ(c.value_in, "in");
}

TEST_F(command_from_an_entry, keeps_the_first_problem) {
    EXPECT_EQ(built(entry("nonsense", "C.missing")).status, 224);
    auto e = entry("nonsense", "C.missing");
    e.status = "5";
    EXPECT_EQ(built(e).status, 5);
    e.status = "not a number";
    const auto c = built(e);
    EXPECT_EQ(c.status, 255) << "255 is not 0, so no code is stored over it";
    EXPECT_TRUE(c.complete);
}

TEST_F(command_from_an_entry, takes_every_keyword) {
    const char* const keywords[]{"get",          "set",           "getv",           "setv",
                                 "delete",       "cmd_import",    "cmd_export",     "cmd_delete",
                                 "cmd_generate", "cmd_exportcsr", "cmd_generatecsr"};
    for (const char* keyword : keywords) {
        const auto c = built(entry(keyword));
        EXPECT_EQ(c.operation, dp::map_operation(std::string(keyword)));
        EXPECT_EQ(c.status, 0) << keyword;
    }
}

TEST_F(command_from_an_entry, takes_an_empty_tid_as_it_is) {
    auto e = entry();
    e.tid = "";
    EXPECT_EQ(built(e).tid, "");
}

using command_for_a_cached_instance = commands;

TEST_F(command_for_a_cached_instance, is_not_run_and_names_the_instance) {
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

TEST_F(command_for_a_cached_instance, has_no_instance_text_for_the_two_special_numbers) {
    for (const auto& [instance, text] : std::vector<std::pair<std::uint32_t, std::string>>{
             {0, "0"}, {0xFFFFFFFD, "4294967293"}, {0xFFFFFFFE, ""}, {0xFFFFFFFF, ""}}) {
        dp::setting::cache::entry e;
        e.instance = instance;
        EXPECT_EQ(transaction_command(dp::op_set, &owned, e).target.instance, text);
    }
}

TEST_F(command_for_a_cached_instance, puts_the_value_where_the_operation_has_it) {
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

using command_failure = commands;

TEST_F(command_failure, stores_its_code_only_over_0) {
    auto c = open_command(dp::op_set);
    c.fail(16);
    EXPECT_EQ(c.status, 16);
    EXPECT_TRUE(c.complete);
    c.fail(17);
    EXPECT_EQ(c.status, 16);
}

using command_setup = commands;

TEST_F(command_setup, answers_a_get_from_the_cache) {
    owned.set_instance_value("cached", 3);
    auto c = open_command(dp::op_get, "3");
    c.setup();
    EXPECT_TRUE(c.complete);
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(c.value_out, "cached");
}

TEST_F(command_setup, leaves_a_get_open_whose_value_is_not_known) {
    owned.set_instance_value("cached", 3);
    owned.invalidate_instance(3);
    for (const char* instance : {"3", "4", "", "x"}) {
        auto c = open_command(dp::op_get, instance);
        c.setup();
        EXPECT_FALSE(c.complete) << instance;
        EXPECT_EQ(c.value_out, "out");
    }
}

TEST_F(command_setup, finds_the_single_value_and_the_instance_that_is_no_number) {
    owned.set_instance_value("single", no_instance);
    owned.set_instance_value("odd", dp::invalid_instance);
    auto single = open_command(dp::op_get);
    single.setup();
    EXPECT_EQ(single.value_out, "single");
    auto odd = open_command(dp::op_get, "x");
    odd.setup();
    EXPECT_EQ(odd.value_out, "odd");
}

TEST_F(command_setup, never_answers_another_operation) {
    owned.set_instance_value("cached", no_instance);
    for (const auto op : every_operation) {
        auto c = open_command(op);
        c.setup();
        EXPECT_EQ(c.complete, op == dp::op_get) << op;
        EXPECT_EQ(c.value_out, op == dp::op_get ? "cached" : "out");
    }
}

TEST_F(command_setup, leaves_failed_complete_and_targetless_commands_alone) {
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

using command_input_mapping = commands;

TEST_F(command_input_mapping, lets_the_element_translate_the_value_of_a_write) {
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

TEST_F(command_input_mapping, that_fails_gives_18) {
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

TEST_F(command_input_mapping, by_default_changes_nothing) {
    auto c = open_command(dp::op_set);
    c.map_input_value();
    EXPECT_EQ(c.value_in, "in");
    EXPECT_FALSE(c.complete);
    c.target.setting = nullptr;
    c.map_input_value();
    EXPECT_FALSE(c.complete);
}

using command_finish = commands;

TEST_F(command_finish, stores_what_the_operation_leaves_in_the_cache) {
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

TEST_F(command_finish, does_nothing_while_the_command_is_open) {
    owned.set_instance_value("old", no_instance);
    auto c = open_command(dp::op_set);
    c.finish();
    c.status = 32;
    c.finish();
    EXPECT_EQ(cached(), "old");
}

TEST_F(command_finish, leaves_the_cache_alone_after_a_failure) {
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

TEST_F(command_finish, with_status_32_invalidates_whatever_the_operation_was) {
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

TEST_F(command_finish, without_a_setting_does_nothing) {
    auto c = open_command(dp::op_set);
    c.complete = true;
    c.target.setting = nullptr;
    c.finish();
    c.status = 32;
    c.finish();
    EXPECT_EQ(config.version, 0U);
}

TEST_F(command_finish, stores_under_the_instance_that_is_no_number) {
    auto c = open_command(dp::op_set, "x");
    c.complete = true;
    c.finish();
    EXPECT_EQ(cached(dp::invalid_instance), "in");
}

using terse_line_of_a_command = commands;

TEST_F(terse_line_of_a_command, has_seven_items_each_followed_by_one_blank) {
    auto c = built(entry("cmd_import", "C.owned.3"));
    EXPECT_EQ(terse(c), R"(0 7 t1 command import C.owned.3 "in" "out" )");
}

TEST_F(terse_line_of_a_command, without_a_setting_says_so) {
    auto c = built(entry("set", "C.missing.3"));
    EXPECT_EQ(terse(c), R"(16 7 t1 set ERR.INVALID_SETTING "in" "out" )");
}

TEST_F(terse_line_of_a_command, has_numbers_of_either_end) {
    auto c = open_command(dp::op_unknown);
    c.status = INT32_MIN;
    c.correlator = 0xFFFFFFFF;
    EXPECT_EQ(terse(c), R"(-2147483648 4294967295 <tid> unknown C.owned "in" "out" )");
}

TEST_F(terse_line_of_a_command, stores_and_prints_none_for_an_empty_tid) {
    auto c = open_command(dp::op_get);
    c.tid = "";
    EXPECT_EQ(terse(c), R"(0 0 <none> get C.owned "in" "out" )");
    EXPECT_EQ(c.tid, "<none>");
}

TEST_F(terse_line_of_a_command, never_escapes_values) {
    auto c = open_command(dp::op_get);
    c.value_in = R"(a"b\c)";
    c.value_out = std::string("\n\0", 2);
    EXPECT_EQ(terse(c), R"(0 0 <tid> get C.owned "a"b\c" ")" + std::string("\n\0", 2) + "\" ");
}

TEST_F(terse_line_of_a_command, is_the_same_whatever_the_streams_state) {
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
    EXPECT_EQ(os.width(), 0) << "used up, as by any output";
}

TEST_F(terse_line_of_a_command, is_what_the_reader_takes_back) {
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

using padded_line_of_a_command = commands;

TEST_F(padded_line_of_a_command, fills_each_item_to_its_width) {
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

TEST_F(padded_line_of_a_command, writes_longer_items_whole) {
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

TEST_F(padded_line_of_a_command, just_fits_its_widths) {
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

TEST_F(padded_line_of_a_command, escapes_values) {
    auto c = open_command(dp::op_get);
    c.value_in = R"(a"b\c)";
    c.value_out = "";
    EXPECT_EQ(padded(c),
              "  0 0      <tid>      get        C.owned                        "
              R"("a\"b\\c"  "")"
              "         ");
}

TEST_F(padded_line_of_a_command, without_a_setting_says_so) {
    auto c = open_command(dp::op_set);
    c.target.setting = nullptr;
    EXPECT_EQ(padded(c),
              "  0 0      <tid>      set        ERR.INVALID_SETTING            \"in\"       "
              "\"out\"      ");
}

TEST_F(padded_line_of_a_command, is_the_same_whatever_the_streams_state_and_leaves_it) {
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

TEST_F(padded_line_of_a_command, does_not_change_the_command) {
    auto c = open_command(dp::op_get);
    c.tid = "";
    EXPECT_EQ(padded(c),
              "  0 0                 get        C.owned                        \"in\"       "
              "\"out\"      ");
    EXPECT_EQ(c.tid, "");
}

TEST(command_status, codes_are_those_of_the_result_line) {
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
