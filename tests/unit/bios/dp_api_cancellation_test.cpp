// The cancellation of a thread that waits in the C API.

#include <pthread.h>

#include "tests/unit/bios/bios_service.hpp"

namespace {

class dp_api_cancellation : public test::bios_service {};

void* change_a_setting(void* /*unused*/) {
    dp_transaction trans = test::request(2, "A.B", "x");
    dp_set_bios_attribute_value(&trans, 1);
    return nullptr;
}

TEST_F(dp_api_cancellation, ends_the_thread_and_leaves_the_service_usable) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer cannot follow the unwinding of a cancelled thread";
#endif
    ASSERT_EQ(dp_api_initialize(), 0);
    // The thread cancels itself while it waits for the answer, so nothing depends on time.
    time.on_sleep = [](std::uint32_t) {
        pthread_cancel(pthread_self());
        pthread_testcancel();
    };
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, change_a_setting, nullptr), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    time.on_sleep = [this](std::uint32_t) {
        test::write_file(result_file, test::outcome("0", "100"));
    };
    dp_transaction trans = test::request(2, "A.B", "x");
    EXPECT_EQ(dp_set_bios_attribute_value(&trans, 1), 0);
}

}  // namespace
