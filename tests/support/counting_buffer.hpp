#ifndef DP_TESTS_SUPPORT_COUNTING_BUFFER_HPP
#define DP_TESTS_SUPPORT_COUNTING_BUFFER_HPP

#include <sstream>

namespace test {

/// A buffer of a string that counts how often it is flushed.
class counting_buffer final : public std::stringbuf {
  public:
    int flushes = 0;

  protected:
    int sync() override {
        ++flushes;
        return std::stringbuf::sync();
    }
};

}  // namespace test

#endif
