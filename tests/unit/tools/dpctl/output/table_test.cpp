#include "tools/dpctl/output/table.hpp"

#include <gtest/gtest.h>

#include <sstream>

namespace dpctl {
namespace {

std::string written(const table& rows) {
    std::ostringstream os;
    rows.write(os);
    return os.str();
}

TEST(table, aligns_columns_under_their_headings) {
    table rows({"NAME", "VALUE", "NOTES"});
    rows.add({"Boot.Mode", "UEFI", "read-only"});
    rows.add({"A", "x", ""});
    EXPECT_EQ(written(rows),
              "NAME       VALUE  NOTES\n"
              "Boot.Mode  UEFI   read-only\n"
              "A          x\n");
}

TEST(table, has_no_spaces_at_the_end_of_a_line) {
    table rows({"A", "B", "C"});
    rows.add({"1", "", ""});
    rows.add({"", "", "3"});
    EXPECT_EQ(written(rows),
              "A  B  C\n"
              "1\n"
              "      3\n");
}

TEST(table, counts_terminal_columns_not_bytes) {
    table rows({"NAME", "VALUE"});
    rows.add({"Größe", "1"});
    rows.add({"起動順", "2"});
    EXPECT_EQ(written(rows),
              "NAME    VALUE\n"
              "Größe   1\n"
              "起動順  2\n");
}

TEST(table, shows_no_raw_control_bytes) {
    table rows({"NAME"});
    rows.add({"a\x1b[31m\nb"});
    EXPECT_EQ(written(rows), "NAME\na\\x1b[31m\\x0ab\n");
}

TEST(table, shifts_only_the_row_of_a_very_wide_cell) {
    const std::string wide(table::widest_column + 1, 'x');
    table rows({"NAME", "VALUE"});
    rows.add({wide, "1"});
    rows.add({"A", "2"});
    EXPECT_EQ(written(rows), "NAME  VALUE\n" + wide + "  1\nA     2\n");
}

TEST(table, writes_the_headings_without_rows) {
    EXPECT_EQ(written(table({"A", "B"})), "A  B\n");
}

TEST(table, accepts_a_row_with_missing_cells) {
    table rows({"A", "B"});
    rows.add({"1"});
    EXPECT_EQ(written(rows), "A  B\n1\n");
}

}  // namespace
}  // namespace dpctl
