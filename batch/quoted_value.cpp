#include "batch/quoted_value.hpp"

namespace dp {

std::string parse_quoted_escaped_str(std::stringstream& in) {
    std::string result;
    char c = 0;
    bool opened = false;
    while (!opened && in.get(c)) {
        if (c == '\\') {
            in.get(c);  // discarded together with the backslash
        } else {
            opened = c == '"';
        }
    }
    while (opened && in.get(c) && c != '"') {
        if (c == '\\' && !in.get(c)) {
            break;
        }
        result += c;
    }
    return result;
}

}  // namespace dp
