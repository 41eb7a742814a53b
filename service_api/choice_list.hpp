#ifndef DP_SERVICE_API_CHOICE_LIST_HPP
#define DP_SERVICE_API_CHOICE_LIST_HPP

#include <string>
#include <vector>

/// The choices of an enumeration, as a template's `chc` field lists them: separated by ",", with a
/// backslash before every comma and backslash of a choice.
namespace dp_service::choice_list {

/// The choices in `chc`; none when it is empty.
std::vector<std::string> split(const std::string& chc);

/// The `chc` field for `choices`.
std::string join(const std::vector<std::string>& choices);

}  // namespace dp_service::choice_list

#endif
