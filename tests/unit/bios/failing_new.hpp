#ifndef DP_TESTS_UNIT_BIOS_FAILING_NEW_HPP
#define DP_TESTS_UNIT_BIOS_FAILING_NEW_HPP

namespace test {

/// Lets one allocation of this program fail: the one after `successes` others on this thread.
/// Construct one around the call under test.
class failing_new {
  public:
    explicit failing_new(int successes);
    ~failing_new();
    failing_new(const failing_new&) = delete;
    failing_new& operator=(const failing_new&) = delete;

    /// Whether the failure was reached.
    [[nodiscard]] static bool failed();
};

}  // namespace test

#endif
