#ifndef DP_TOOLS_DP_TEMPLATE_VALUE_PATTERN_HPP
#define DP_TOOLS_DP_TEMPLATE_VALUE_PATTERN_HPP

#include <memory>
#include <string>

namespace dp_tools {

/// A regular expression that values are held against, in the dialect of dp_settingsd: UTF-8, found
/// anywhere in a value unless it is anchored.
class value_pattern {
  public:
    explicit value_pattern(const std::string& expression);
    ~value_pattern();
    value_pattern(const value_pattern&) = delete;
    value_pattern& operator=(const value_pattern&) = delete;

    /// Why the expression is not understood, as "does not compile: ..."; empty when it is.
    [[nodiscard]] const std::string& problem() const { return problem_; }

    /// Whether `value` matches; true, too, when finding out would take too long.
    [[nodiscard]] bool matches(const std::string& value) const;

  private:
    struct compiled;
    std::unique_ptr<compiled> compiled_;
    std::string problem_;
};

}  // namespace dp_tools

#endif
