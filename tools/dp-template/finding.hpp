#ifndef DP_TOOLS_DP_TEMPLATE_FINDING_HPP
#define DP_TOOLS_DP_TEMPLATE_FINDING_HPP

#include <cstddef>
#include <string>
#include <vector>

#include "support/json.hpp"

namespace dp_tools {

/// A message about a place in the registry.
struct finding {
    enum class severity {
        broken,   ///< the registry cannot be used at all
        unfit,    ///< the attribute cannot be encoded or is not clear; it is left out
        warning,  ///< the attribute is kept, with this restriction
        notice    ///< information, no problem
    };
    severity weight;
    std::size_t offset;   ///< of the value that the message is about
    std::string pointer;  ///< the same place as a JSON pointer
    std::string message;
};

/// Collects findings.
class findings_list {
  public:
    /// `findings` must outlive this object.
    explicit findings_list(std::vector<finding>& findings) : findings_(findings) {}

    void add(finding::severity weight, const dp_support::json_value& value, std::string pointer,
             std::string message);

  private:
    std::vector<finding>& findings_;
};

/// The message for a value that should be `expected`: "is a number instead of a text".
std::string wrong_kind(const dp_support::json_value& value, const std::string& expected);

}  // namespace dp_tools

#endif
