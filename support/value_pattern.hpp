#ifndef DP_SUPPORT_VALUE_PATTERN_HPP
#define DP_SUPPORT_VALUE_PATTERN_HPP

#include <memory>
#include <string>

/// A regular expression that values are held against: the `reg` of a template. It matches anywhere
/// in a value unless it is anchored. Texts are UTF-8; bytes that are not match nothing. The work
/// that one match may take is limited, so that no pattern can hold its user up. One thread at a
/// time may use an object.
class value_pattern {
  public:
    explicit value_pattern(const std::string& expression);
    ~value_pattern();
    value_pattern(const value_pattern&) = delete;
    value_pattern& operator=(const value_pattern&) = delete;

    /// Why the expression is not understood, and at which byte; empty when it is.
    [[nodiscard]] const std::string& problem() const { return problem_; }

    enum class verdict {
        matches,
        differs,    ///< also always when the expression is not understood
        undecided,  ///< finding out would take too much work
    };

    /// How `value` stands to the pattern.
    [[nodiscard]] verdict judge(const std::string& value) const;

  private:
    struct compiled;
    std::unique_ptr<compiled> compiled_;
    std::string problem_;
};

#endif
