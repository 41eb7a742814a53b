#ifndef DP_HOST_PROCESS_TEXT_OF_HPP
#define DP_HOST_PROCESS_TEXT_OF_HPP

#include <sstream>
#include <string>

namespace dp_host {

/// The concatenation of `parts`, each in the form that an output stream gives it.
template <class... Parts>
std::string text_of(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

}  // namespace dp_host

#endif
