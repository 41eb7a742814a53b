#include "tests/unit/logs/fake_store.hpp"

#include <gtest/gtest.h>

#include <cstddef>

// The fake does not use the members of the real class.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wunused-private-field"
#endif
#include "platform/ds_file/ds_file.hpp"

namespace {

test::fake_store* active = nullptr;

}  // namespace

namespace test {

fake_store::fake_store() {
    active = this;
}

fake_store::~fake_store() {
    active = nullptr;
}

}  // namespace test

ds_file::~ds_file() = default;

int ds_file::dsOpenFile(const std::string& name, int mode, std::size_t size) {
    if (active == nullptr) {
        return -1;
    }
    EXPECT_FALSE(active->is_open);
    active->openings.push_back({name, mode, size});
    int result = 1;
    if (!active->open_results.empty()) {
        result = active->open_results.front();
        active->open_results.pop_front();
    }
    active->is_open = result > 0;
    return result;
}

int ds_file::dsWriteFile(const void* data, std::size_t size) {
    EXPECT_TRUE(active->is_open);
    ++active->writes;
    active->text.assign(static_cast<const char*>(data), size);
    return active->write_result;
}

void ds_file::dsReleaseFile() {
    EXPECT_TRUE(active->is_open);
    ++active->releases;
    active->is_open = false;
}
