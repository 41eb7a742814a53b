#ifndef DP_TESTS_SUPPORT_ENVIRONMENT_VARIABLE_HPP
#define DP_TESTS_SUPPORT_ENVIRONMENT_VARIABLE_HPP

#include <cstdlib>
#include <optional>
#include <string>

namespace test {

/// Sets an environment variable of this process for a scope, and restores it afterwards.
class environment_variable {
  public:
    environment_variable(const char* name, const std::string& value) : name_(name) {
        if (const char* previous = std::getenv(name); previous != nullptr) {
            previous_ = previous;
        }
        set(value);
    }
    ~environment_variable() {
        if (previous_) {
            set(*previous_);
        } else {
            unsetenv(name_);
        }
    }
    environment_variable(const environment_variable&) = delete;
    environment_variable& operator=(const environment_variable&) = delete;

    /// Gives it another value.
    void set(const std::string& value) { setenv(name_, value.c_str(), 1); }

  private:
    const char* name_;
    std::optional<std::string> previous_;
};

}  // namespace test

#endif
