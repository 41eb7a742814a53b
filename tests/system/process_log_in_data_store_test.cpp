#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string>

#include "common/log.hpp"
#include "logs/process_log.hpp"
#include "platform/posix/ds_folder.hpp"
#include "tests/support/environment_variable.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/test_platform.hpp"

// The library's process log, stored by the POSIX platform's data store.

namespace {

using testing::ElementsAre;

class process_log_in_data_store : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    static std::string stored() { return test::read_file(dp_platform::ds_file_path("status")); }

    const std::string folder_ = test::root() + "/tmp/store";
    test::environment_variable variable_{"DP_DS_FOLDER", folder_};
};

TEST_F(process_log_in_data_store, stores_the_whole_text_with_every_record) {
    dp::process_log log("status", true);
    std::string expected = "<dp-status> 0001 DP.MESSAGE init \n";
    EXPECT_EQ(stored(), expected);
    log.log_working("T", 0);
    log.log_done("T", 0, 1, 0);
    expected += "<T> 0002 DP.WORKING 0\n<T> 0003 DP.DONE 0 1 0\n";
    EXPECT_EQ(stored(), expected);
    EXPECT_EQ(log.write_dsfile(), static_cast<int>(expected.size()));
    using iterator = std::filesystem::directory_iterator;
    EXPECT_EQ(std::distance(iterator(folder_), iterator()), 1) << "no temporary file is left";
    EXPECT_FALSE(std::filesystem::exists("status"));
}

TEST_F(process_log_in_data_store, logs_a_missing_store_and_writes_the_text_later) {
    const std::string missing = test::root() + "/tmp/absent/store";
    variable_.set(missing);
    test::recording_log diagnostics(dp::log_level::trace_1);
    dp::process_log log("status", true);
    EXPECT_THAT(diagnostics.lines,
                ElementsAre(test::recording_log::line{
                    "LOG", " add_entry: could not add entry to log file - rc = " +
                               std::to_string(-ENOENT)}));
    std::filesystem::create_directory(test::root() + "/tmp/absent");
    log.log_working("T", 0);
    EXPECT_EQ(stored(), "<dp-status> 0001 DP.MESSAGE init \n<T> 0002 DP.WORKING 0\n");
    EXPECT_EQ(diagnostics.lines.size(), 1U);
}

}  // namespace
