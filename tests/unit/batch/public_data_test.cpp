// The public data of batch/ as a host uses it: data members by name, type and order, data that is
// set after construction, and derived classes.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "batch/batch_file_checker.hpp"
#include "batch/batch_file_converter.hpp"
#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_loader.hpp"
#include "batch/batch_file_reader.hpp"
#include "batch/batch_file_settings_rdr.hpp"
#include "batch/cache_updater.hpp"
#include "tests/support/data_members.hpp"
#include "tests/unit/batch/processor_without_rtti.hpp"

namespace {

const char* const line = "0 0 t set A.B.3 \"in\" \"out\"\n";

// A processor derived from one of the library's.
template <class Processor>
class counting final : public Processor {
  public:
    void process_entry(dp::batch_file_entry& entry, dp::registrar* reg) override {
        ++calls;
        Processor::process_entry(entry, reg);
    }
    int calls = 0;
};

}  // namespace

TEST(qualified_setting_name, is_an_aggregate_of_three_texts) {
    const dp::qualified_setting_name name{"A", "B", "3"};
    EXPECT_TRUE(test::has_type<std::string>(name.configuration));
    EXPECT_TRUE(test::has_type<std::string>(name.setting));
    EXPECT_TRUE(test::has_type<std::string>(name.instance));
    EXPECT_TRUE(test::in_order(name.configuration, name.setting, name.instance));
    EXPECT_EQ(name.get_name(), "A.B.3");
}

TEST(batch_file_entry, is_an_aggregate_of_ten_texts) {
    const dp::batch_file_entry e{"0", "1", "t", "set", "", {"A", "B", ""}, "in", "out"};
    EXPECT_TRUE(test::has_type<dp::qualified_setting_name>(e.name));
    EXPECT_TRUE(test::in_order(e.status, e.detail, e.tid, e.operation, e.command, e.name,
                               e.value_in, e.value_out));
    static_assert(sizeof(dp::batch_file_entry) == 10 * sizeof(std::string));
    const dp::batch_file_entry copy(e);
    std::ostringstream os;
    os << copy;
    EXPECT_EQ(os.str(), "0 1 t set A.B \"in\" \"out\" ");
}

TEST(batch_file_reader, takes_its_processor_after_construction) {
    dp::batch_file_reader reader;
    EXPECT_EQ(reader.processor, nullptr);
    EXPECT_TRUE(test::has_type<dp::batch_file_intf*>(reader.processor));
    std::istringstream unread(line);
    EXPECT_EQ(reader.read_file(unread, nullptr), 0);
    dp::batch_file_checker checker;
    reader.processor = &checker;
    std::istringstream in(line);
    EXPECT_EQ(reader.read_file(in, nullptr), 1);
    EXPECT_EQ(checker.good, 1U);
}

TEST(batch_file_checker, has_public_counts_and_can_be_derived_from) {
    counting<dp::batch_file_checker> checker;
    static_assert(std::is_base_of_v<dp::batch_file_intf, dp::batch_file_checker>);
    static_assert(!std::is_base_of_v<dp::batch_file_reader, dp::batch_file_checker>);
    EXPECT_TRUE(test::has_type<unsigned>(checker.good));
    EXPECT_TRUE(test::has_type<unsigned>(checker.bad));
    EXPECT_TRUE(test::in_order(checker.good, checker.bad));
    dp::batch_file_reader reader;
    reader.processor = &checker;
    std::istringstream in(line);
    EXPECT_EQ(reader.read_file(in, nullptr), 1);
    EXPECT_EQ(checker.calls, 1);
    EXPECT_EQ(checker.good, 1U);
}

TEST(batch_file_settings_rdr, takes_its_lists_after_construction) {
    counting<dp::batch_file_settings_rdr> rdr;
    EXPECT_TRUE(test::has_type<std::vector<std::string>*>(rdr.names));
    EXPECT_TRUE(test::has_type<std::vector<std::string>*>(rdr.values));
    EXPECT_TRUE(test::in_order(rdr.processor, rdr.names, rdr.values));
    EXPECT_EQ(rdr.processor, static_cast<dp::batch_file_intf*>(&rdr));
    std::istringstream unlisted(line);
    EXPECT_EQ(rdr.read_file(unlisted, nullptr), 1);
    std::vector<std::string> names;
    std::vector<std::string> values;
    rdr.names = &names;
    rdr.values = &values;
    std::istringstream in(line);
    EXPECT_EQ(rdr.read_file(in, nullptr), 1);
    EXPECT_EQ(rdr.calls, 2);
    EXPECT_EQ(names, std::vector<std::string>{"A.B.3"});
    EXPECT_EQ(values, std::vector<std::string>{"in"});
}

TEST(batch_file_converter, has_public_commands_and_can_be_derived_from) {
    counting<dp::batch_file_converter> converter;
    EXPECT_TRUE(test::has_type<std::vector<dp::transaction_command>>(converter.commands));
    EXPECT_TRUE(test::in_order(converter.processor, converter.commands));
    std::istringstream in(line);
    EXPECT_EQ(converter.read_file(in, nullptr), 1);
    EXPECT_EQ(converter.calls, 1);
    ASSERT_EQ(converter.commands.size(), 1U);
    EXPECT_EQ(converter.commands[0].value_in, "in");
}

TEST(batch_file_loader, takes_its_list_after_construction) {
    counting<dp::batch_file_loader> loader;
    EXPECT_EQ(loader.entries, nullptr);
    EXPECT_TRUE(test::has_type<unsigned>(loader.failed));
    EXPECT_TRUE(test::has_type<unsigned>(loader.succeeded));
    EXPECT_TRUE(test::has_type<std::vector<dp::batch_file_entry>*>(loader.entries));
    EXPECT_TRUE(test::in_order(loader.processor, loader.failed, loader.succeeded, loader.entries));
    std::istringstream unlisted(line);
    EXPECT_EQ(loader.read_file(unlisted, nullptr), 1);
    EXPECT_EQ(loader.succeeded, 1U) << "without a list it only counts";
    std::vector<dp::batch_file_entry> entries;
    loader.entries = &entries;
    std::istringstream in(line);
    EXPECT_EQ(loader.read_file(in, nullptr), 1);
    EXPECT_EQ(loader.calls, 2);
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].value_out, "out");
}

TEST(cache_updater_test, is_a_static_function) {
    dp::batch_file_entry entry;
    static_assert(std::is_same_v<decltype(&dp::cache_updater::process_entry),
                                 void (*)(dp::batch_file_entry&, dp::registrar*)>);
    dp::cache_updater::process_entry(entry, nullptr);
}

// Firmware is often compiled without run-time type information.
TEST(batch_file_reader, works_with_a_processor_without_type_information) {
    if (!test::processor_without_rtti::works_in_this_build) {
        GTEST_SKIP() << "the sanitizer that checks virtual calls needs type information";
    }
    test::processor_without_rtti processor;
    dp::batch_file_reader reader(&processor);
    std::istringstream in("0 0 t set A.B \"x\" \"\"\n0 0 t  set A.B \"y\" \"\"\n");
    EXPECT_EQ(reader.read_file(in, nullptr), 2);
    EXPECT_EQ(processor.values, "xy");
}
