#ifndef DP_TESTS_UNIT_LOGS_FAKE_STORE_HPP
#define DP_TESTS_UNIT_LOGS_FAKE_STORE_HPP

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

namespace test {

/// Fake data store of this program: records the calls and returns the results that a test sets.
/// Active while an object exists; otherwise opening fails.
class fake_store {
  public:
    struct opening {
        std::string name;
        int mode;
        std::size_t size;
        bool operator==(const opening&) const = default;
    };

    fake_store();
    ~fake_store();
    fake_store(const fake_store&) = delete;
    fake_store& operator=(const fake_store&) = delete;

    std::deque<int> open_results;  ///< used from the front; 1 when empty
    int write_result = 1;

    std::vector<opening> openings;
    int writes = 0;
    int releases = 0;
    std::string text;  ///< of the last write
    bool is_open = false;
};

}  // namespace test

#endif
