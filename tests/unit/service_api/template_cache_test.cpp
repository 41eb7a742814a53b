#include "service_api/template_cache.hpp"

#include <gtest/gtest.h>

#include "common/file_utilities.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

TEST(template_cache_test, discard_removes_all_of_its_files) {
    test::clean_root();
    for (const auto& file : dp_service::template_cache::files) {
        test::write_file(file.str(), "x");
    }
    dp_service::template_cache::discard();
    for (const auto& file : dp_service::template_cache::files) {
        EXPECT_FALSE(fileexist(file.str()));
    }
    dp_service::template_cache::discard();
}

}  // namespace
