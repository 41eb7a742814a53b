#ifndef DP_SERVICE_API_CHOICE_LIST_HPP
#define DP_SERVICE_API_CHOICE_LIST_HPP

#include <string>
#include <vector>

/// The choices of an enumeration as its `chc` field lists them: joined by ",", with a backslash in
/// front of every comma and backslash inside a choice.
namespace choice_list {
std::vector<std::string> split(const std::string& chc);
std::string join(const std::vector<std::string>& choices);
}  // namespace choice_list

#endif
