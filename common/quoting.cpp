#include "common/quoting.hpp"

namespace dp {

std::string strip_quotes(const std::string& s) {
    std::string result = s;
    if (!result.empty() && result.front() == '"') {
        result.erase(0, 1);
    }
    if (!result.empty() && result.back() == '"') {
        result.pop_back();
    }
    return result;
}

std::string add_quotes(const std::string& s) {
    return '"' + s + '"';
}

std::string add_backslash(const std::string& s) {
    std::string result;
    result.reserve(s.size());
    for (const char c : s) {
        if (c == '\\' || c == '"') {
            result += '\\';
        }
        result += c;
    }
    return result;
}

}  // namespace dp
