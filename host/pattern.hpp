#ifndef DP_HOST_PATTERN_HPP
#define DP_HOST_PATTERN_HPP

#include <memory>
#include <string>

namespace dp_host {

/// A regular expression that values are held against. It matches anywhere in a value unless it is
/// anchored. Texts are UTF-8; bytes that are not match nothing. The work that one match may take is
/// limited, so that no pattern can hold the service up.
class pattern {
  public:
    explicit pattern(const std::string& expression);
    ~pattern();
    pattern(const pattern&) = delete;
    pattern& operator=(const pattern&) = delete;

    /// Why the expression is not understood; empty when it is.
    [[nodiscard]] const std::string& problem() const { return problem_; }

    /// Whether `value` matches. False, with a line in the log, when finding out would take too
    /// long; false always when the expression is not understood.
    [[nodiscard]] bool matches(const std::string& value) const;

  private:
    struct compiled;
    std::unique_ptr<compiled> compiled_;
    std::string problem_;
};

}  // namespace dp_host

#endif
