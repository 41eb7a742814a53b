#ifndef DP_TESTS_SUPPORT_TIME_ZONE_HPP
#define DP_TESTS_SUPPORT_TIME_ZONE_HPP

#include <ctime>
#include <string>

#include "tests/support/environment_variable.hpp"

namespace test {

/// Sets the time zone in the environment for a scope, and restores it afterwards. The code under
/// test has to notice a change: only the restored zone is made known with tzset.
class time_zone {
  public:
    explicit time_zone(const std::string& name) : variable_("TZ", name) {}

    void set(const std::string& name) { variable_.set(name); }

  private:
    struct update {
        update() = default;
        ~update() { tzset(); }
        update(const update&) = delete;
        update& operator=(const update&) = delete;
    };

    update after_restore_;  // destroyed after variable_
    environment_variable variable_;
};

}  // namespace test

#endif
