#include "batch/batch_file_entry.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_loader.hpp"

using dp::batch_file_entry;

namespace {

batch_file_entry entry(const std::string& operation, const std::string& name) {
    batch_file_entry e;
    e.status = "0";
    e.detail = "0";
    e.tid = "17";
    e.operation = operation;
    e.name.parse(name);
    return e;
}

std::string written(const batch_file_entry& e) {
    std::ostringstream os;
    os << e;
    return os.str();
}

batch_file_entry read_back(const std::string& line) {
    std::vector<batch_file_entry> all;
    dp::batch_file_loader loader(&all);
    std::istringstream in(line);
    EXPECT_EQ(loader.read_file(in, nullptr), 1) << line;
    return all.empty() ? batch_file_entry() : all.front();
}

}  // namespace

TEST(batch_file_entry, writes_a_line_that_ends_with_a_quote_and_a_space) {
    auto e = entry("set", "BIOS.BootMode");
    e.value_in = "UEFI";
    EXPECT_EQ(written(e), R"(0 0 17 set BIOS.BootMode "UEFI" "" )");
}

TEST(batch_file_entry, writes_the_long_command_form_and_the_instance) {
    auto e = entry("command", "Certs.Key.2");
    e.command = "import";
    e.value_in = "file";
    EXPECT_EQ(written(e), R"(0 0 17 command import Certs.Key.2 "file" "" )");
}

TEST(batch_file_entry, writes_an_empty_command_word_as_two_adjacent_spaces) {
    EXPECT_EQ(written(entry("command", "A.B")), R"(0 0 17 command  A.B "" "" )");
}

TEST(batch_file_entry, never_writes_the_command_word_of_another_operation) {
    auto e = entry("set", "A.B");
    e.command = "import";
    EXPECT_EQ(written(e), R"(0 0 17 set A.B "" "" )");
    e.operation = "Command";
    EXPECT_EQ(written(e), R"(0 0 17 Command A.B "" "" )");
}

TEST(batch_file_entry, writes_an_empty_entry) {
    EXPECT_EQ(written(batch_file_entry()), R"(    . "" "" )");
}

TEST(batch_file_entry, writes_the_same_line_at_any_stream_width) {
    std::ostringstream os;
    os << std::left << std::setfill('*') << std::setw(60) << entry("get", "A.B");
    EXPECT_EQ(os.str(), R"(0 0 17 get A.B "" "" )");
    EXPECT_EQ(os.width(), 0);
}

TEST(batch_file_entry, is_read_back_as_it_was_written) {
    for (const char* operation :
         {"get", "set", "getv", "setv", "delete", "cmd_import", "command"}) {
        auto e = entry(operation, "C.a.b.3");
        e.status = "226";
        e.detail = "100";
        e.tid = "<cim-1>";
        e.command = e.operation == "command" ? "import" : "";
        e.value_in = "value in";
        e.value_out = "value\tout #";
        const auto back = read_back(written(e));
        EXPECT_EQ(back.status, e.status);
        EXPECT_EQ(back.detail, e.detail);
        EXPECT_EQ(back.tid, e.tid);
        EXPECT_EQ(back.operation, e.operation);
        EXPECT_EQ(back.command, e.command);
        EXPECT_EQ(back.name.get_name(), e.name.get_name());
        EXPECT_EQ(back.value_in, e.value_in);
        EXPECT_EQ(back.value_out, e.value_out);
    }
}

TEST(batch_file_entry, does_not_escape_quotes_and_backslashes) {
    auto e = entry("set", "A.B");
    e.value_in = R"(a\b)";
    EXPECT_EQ(written(e), R"(0 0 17 set A.B "a\b" "" )");
    EXPECT_EQ(read_back(written(e)).value_in, "ab");
    e.value_in = R"(a"b)";
    EXPECT_EQ(written(e), R"(0 0 17 set A.B "a"b" "" )");
    std::vector<batch_file_entry> all;
    dp::batch_file_loader loader(&all);
    std::istringstream in(written(e));
    EXPECT_EQ(loader.read_file(in, nullptr), 0) << "two words follow the second value";
}

TEST(batch_file_entry, is_copied_field_by_field) {
    auto e = entry("command", "A.B.3");
    e.command = "import";
    const batch_file_entry copy = e;
    e = batch_file_entry();
    EXPECT_EQ(written(copy), R"(0 0 17 command import A.B.3 "" "" )");
}
