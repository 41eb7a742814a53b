#ifndef DP_SUPPORT_TEMPLATE_EXPANSION_HPP
#define DP_SUPPORT_TEMPLATE_EXPANSION_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "support/result.hpp"

namespace dp_support {

/// Greatest size in bytes of a template, compressed or not, that the programs accept.
inline constexpr std::size_t template_size_limit = std::size_t{256} << 20;

/// The attribute text of a template whose bytes are `bytes`: the expansion of a compressed image,
/// whatever it contains, or attribute text unchanged. Anything else, a truncated or corrupt image
/// included, is a failure.
result<std::string> expand_template(const std::string& bytes);

/// Whether `text` is a sequence of template records. The reason of a failure completes a sentence
/// about the text: "is empty", "contains ...".
result<> check_template_text(std::string_view text);

/// The distinct, non-empty configurations of the template records in `text`, in order of first
/// appearance. Records are read as the library reads them: an overlong one ends the reading.
std::vector<std::string> configuration_names(std::string_view text);

/// The names of the attributes in `text`, one for each template record that is not empty, in their
/// order.
std::vector<std::string> attribute_names(std::string_view text);

}  // namespace dp_support

#endif
