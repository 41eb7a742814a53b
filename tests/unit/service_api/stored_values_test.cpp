#include "service_api/stored_values.hpp"

#include <gmock/gmock.h>

#include <string>

#include "tests/support/scratch_files.hpp"

namespace dp_service {
namespace {

using testing::Pair;
using testing::UnorderedElementsAre;

TEST(read_stored_values, reads_whole_values_as_the_c_api_spells_them) {
    test::clean_root();
    const std::string path = test::root() + "/values";
    const std::string long_value(500, 'x');
    test::write_file(path, "# a comment\n0 0 uefi set Boot.Tag \"" + long_value +
                               "\" \"\" \n"
                               "0 0 uefi set Boot.Order.1 \"[value='A',order='2'],"
                               "[value='B',order='1']\" \"\" \n"
                               "0 0 uefi set Boot.Text \"say \\\"x\\\"\" \"\" \n");
    const auto values = read_stored_values(path);
    ASSERT_TRUE(values);
    EXPECT_THAT(*values,
                UnorderedElementsAre(Pair("Boot.Tag", long_value), Pair("Boot.Order.1", "B,A"),
                                     Pair("Boot.Text", "say \"x\"")));
}

TEST(read_stored_values, is_nothing_without_a_regular_file) {
    test::clean_root();
    EXPECT_FALSE(read_stored_values(test::root() + "/missing"));
    EXPECT_FALSE(read_stored_values(test::root()));
}

}  // namespace
}  // namespace dp_service
