#include "transactions/basic_transaction_command.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>

namespace {

std::string terse(dp::basic_transaction_command& c) {
    std::ostringstream os;
    c.write_terse_output(os);
    return os.str();
}

}  // namespace

TEST(basic_transaction_command, writes_the_result_line_with_its_name_as_the_target) {
    dp::basic_transaction_command c{0, 100, "<cim-1>", dp::op_cmd_export, "A.B.C.3", "in", "out"};
    EXPECT_EQ(terse(c), R"(0 100 <cim-1> command export A.B.C.3 "in" "out" )");
}

TEST(basic_transaction_command, writes_a_value_without_escaping_it) {
    dp::basic_transaction_command c{226, 4294967295, "t", dp::op_set, "A.B", R"(x"\)", ""};
    EXPECT_EQ(terse(c), R"(226 4294967295 t set A.B "x"\" "" )");
}

TEST(basic_transaction_command, stores_and_prints_none_for_an_empty_tid) {
    dp::basic_transaction_command c;
    c.name = "A.B";
    EXPECT_EQ(terse(c), R"(0 0 <none> unknown A.B "" "" )");
    EXPECT_EQ(c.tid, "<none>");
}

TEST(basic_transaction_command, writes_the_same_line_in_any_stream_state) {
    dp::basic_transaction_command c{255, 255, "t", dp::op_get, "A.B", "", ""};
    std::ostringstream os;
    os << std::hex << std::showbase << std::setfill('*') << std::setw(80);
    c.write_terse_output(os);
    EXPECT_EQ(os.str(), R"(255 255 t get A.B "" "" )");
}
