#ifndef DP_TESTS_UNIT_BIOS_FAILING_NEW_HPP
#define DP_TESTS_UNIT_BIOS_FAILING_NEW_HPP

namespace test {

/// Makes one allocation of this program fail for its lifetime: the one after `successes` others on
/// this thread. With `lasting` all later allocations fail too.
class failing_new {
  public:
    explicit failing_new(int successes, bool lasting = false);
    ~failing_new();
    failing_new(const failing_new&) = delete;
    failing_new& operator=(const failing_new&) = delete;

    /// Whether the failure was reached.
    [[nodiscard]] static bool failed();
};

/// Suspends `failing_new` for its lifetime: allocations of the test itself neither fail nor count.
class spared_new {
  public:
    spared_new();
    ~spared_new();
    spared_new(const spared_new&) = delete;
    spared_new& operator=(const spared_new&) = delete;

  private:
    bool armed_;
};

}  // namespace test

#endif
