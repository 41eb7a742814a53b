#include "tools/dpctl/output/table.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>

#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

std::string written(const table& rows, std::size_t columns = 0, bool has_colours = false) {
    std::ostringstream os;
    rows.write(os, {columns, 24, has_colours});
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

TEST(table, writes_titles_between_rows) {
    table rows({"NAME", "VALUE"});
    rows.add_title("Setup > Boot \x1b");
    rows.add({"Mode", "UEFI"});
    EXPECT_EQ(written(rows), "NAME  VALUE\n\nSetup > Boot \\x1b\nMode  UEFI\n");
    EXPECT_EQ(written(rows, 12), "NAME  VALUE\n\nSetup > Boot\n\\x1b\nMode  UEFI\n");
}

// Names, a type that may be left out, and values that may be shortened.
table wide_table() {
    table rows({"NAME", {"TYPE", 11, true}, {"PENDING", 8}, {"CURRENT", 8}});
    rows.add({"Boot.NetworkBootOrder", "enumeration", "a long pending value", "short"});
    rows.add({"Boot.A", "integer", "1", "another long current value"});
    return rows;
}

TEST(table, changes_nothing_on_a_wide_terminal) {
    EXPECT_EQ(written(wide_table(), 200), written(wide_table()));
}

TEST(table, shortens_texts_on_a_narrower_terminal) {
    EXPECT_EQ(written(wide_table(), 70),
              "NAME                   TYPE         PENDING           CURRENT\n"
              "Boot.NetworkBootOrder  enumeration  a long pending …  short\n"
              "Boot.A                 integer      1                 another long cu…\n");
}

TEST(table, leaves_columns_out_on_a_narrow_terminal) {
    EXPECT_EQ(written(wide_table(), 48),
              "NAME                   PENDING       CURRENT\n"
              "Boot.NetworkBootOrder  a long pend…  short\n"
              "Boot.A                 1             another lo…\n");
}

TEST(table, breaks_the_rows_of_long_names_on_a_very_narrow_terminal) {
    EXPECT_EQ(written(wide_table(), 30),
              "NAME        PENDING   CURRENT\n"
              "Boot.NetworkBootOrder\n"
              "            a long …  short\n"
              "Boot.A      1         another…\n");
}

// Two columns that may not be shortened.
table table_of_changes() {
    table rows({"TIME", {"CLIENT", 8, true}, "SETTING", {"FROM", 4}, {"TO", 4}});
    rows.add({"2026-11-22T15:25:09+01:00", "uid=0,gid=0", "Boot.NetworkBootOrder", "a long value",
              "another"});
    rows.add({"2026-11-22T15:25:10+01:00", "uid=0,gid=0", "Boot.A", "1", "2"});
    return rows;
}

TEST(table, breaks_rows_after_each_column_that_is_too_wide) {
    EXPECT_EQ(written(table_of_changes(), 50),
              "TIME             SETTING                FROM  TO\n"
              "2026-11-22T15:25:09+01:00\n"
              "                 Boot.NetworkBootOrder  a l…  ano…\n"
              "2026-11-22T15:25:10+01:00\n"
              "                 Boot.A                 1     2\n");
    EXPECT_EQ(written(table_of_changes(), 27),
              "TIME\n"
              "  SETTING        FROM  TO\n"
              "2026-11-22T15:25:09+01:00\n"
              "  Boot.NetworkBootOrder\n"
              "                 a l…  ano…\n"
              "2026-11-22T15:25:10+01:00\n"
              "  Boot.A         1     2\n");
}

TEST(table, never_exceeds_the_width_of_a_terminal) {
    const auto expect_fit = [](const table& rows, std::size_t least) {
        for (std::size_t columns = least; columns <= 200; ++columns) {
            std::istringstream lines(written(rows, columns));
            for (std::string line; std::getline(lines, line);) {
                EXPECT_LE(display_width(line), columns) << line;
            }
        }
    };
    expect_fit(wide_table(), 21);
    expect_fit(table_of_changes(), 25);
}

TEST(table, has_styles_on_a_terminal_with_colours) {
    table rows({"NAME", "VALUE"});
    rows.add({"Mode", {"UEFI", text_style::changed}});
    EXPECT_EQ(written(rows, 80, true),
              "\x1b[1mNAME\x1b[0m  \x1b[1mVALUE\x1b[0m\nMode  \x1b[33mUEFI\x1b[0m\n");
    EXPECT_EQ(written(rows, 80, false), "NAME  VALUE\nMode  UEFI\n");
}

}  // namespace
}  // namespace dpctl
