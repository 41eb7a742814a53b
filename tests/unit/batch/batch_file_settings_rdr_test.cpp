#include "batch/batch_file_settings_rdr.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

using list = std::vector<std::string>;

TEST(batch_file_settings_rdr, appends_names_and_input_values_in_parallel) {
    list names{"kept"};
    list values{"kept"};
    dp::batch_file_settings_rdr reader(&names, &values);
    std::istringstream in(
        "0 0 t set A.B \"x\" \"out\"\n"
        "0 0 t set A.B.C.3 \"a\\\"b\" \"\"\n"
        "0 0 t set B\n"
        "0 0 t set A.D \"dropped\" \"\" two words\n"
        "0 0 t get A.E \"\" \"out\"\n");
    EXPECT_EQ(reader.read_file(in, nullptr), 4);
    EXPECT_EQ(names, (list{"kept", "A.B", "A.B.C.3", "err.B", "A.E"}));
    EXPECT_EQ(values, (list{"kept", "x", "a\"b", "", ""}));
}

TEST(batch_file_settings_rdr, cannot_be_copied) {
    EXPECT_FALSE(std::is_copy_constructible_v<dp::batch_file_settings_rdr>);
    EXPECT_FALSE(std::is_copy_assignable_v<dp::batch_file_settings_rdr>);
}
