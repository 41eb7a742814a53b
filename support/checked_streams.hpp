#ifndef DP_SUPPORT_CHECKED_STREAMS_HPP
#define DP_SUPPORT_CHECKED_STREAMS_HPP

#include <sstream>
#include <string>

namespace dp_support {

/// Streams of strings that throw std::bad_alloc when memory is exhausted. The standard ones set a
/// flag instead and continue, so that a text is cut where nobody looks at the flag.
class checked_ostringstream : public std::ostringstream {
  public:
    checked_ostringstream() { exceptions(badbit); }
};

class checked_istringstream : public std::istringstream {
  public:
    explicit checked_istringstream(const std::string& text) : std::istringstream(text) {
        exceptions(badbit);
    }
};

class checked_stringstream : public std::stringstream {
  public:
    checked_stringstream() { exceptions(badbit); }
};

}  // namespace dp_support

#endif
