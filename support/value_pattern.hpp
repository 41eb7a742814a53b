#ifndef DP_SUPPORT_VALUE_PATTERN_HPP
#define DP_SUPPORT_VALUE_PATTERN_HPP

#include <memory>
#include <string>

namespace dp_support {

/// The regular expression `reg` of a template, which values are matched with. It matches anywhere
/// in a value unless it is anchored. Texts are UTF-8; bytes that are not UTF-8 match nothing. The
/// work for one match is limited, so that no pattern blocks its user. One thread at a time may use
/// an object.
class value_pattern {
  public:
    explicit value_pattern(const std::string& expression);
    ~value_pattern();
    value_pattern(const value_pattern&) = delete;
    value_pattern& operator=(const value_pattern&) = delete;

    /// Why the expression is not valid, and at which byte; empty when it is valid.
    [[nodiscard]] const std::string& problem() const { return problem_; }

    enum class verdict {
        matches,
        differs,    ///< also for every value when the expression is not valid
        undecided,  ///< the match needs more than the permitted work
    };

    /// Whether `value` matches.
    [[nodiscard]] verdict judge(const std::string& value) const;

  private:
    struct compiled;
    std::unique_ptr<compiled> compiled_;
    std::string problem_;
};

}  // namespace dp_support

#endif
