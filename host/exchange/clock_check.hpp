#ifndef DP_HOST_EXCHANGE_CLOCK_CHECK_HPP
#define DP_HOST_EXCHANGE_CLOCK_CHECK_HPP

#include <cstdint>
#include <string>

namespace dp_host {

/// Reports when the system's clock was set. The times of files that were written before do not say
/// how old they are.
class clock_check {
  public:
    clock_check();

    /// Whether the clock was set since the last call, by more than a second.
    bool was_set();

    /// Whether it was set since a service last called this for the file `path`; then stores what
    /// the next service needs for its call, or logs why it cannot. False when there is no such
    /// file.
    [[nodiscard]] bool was_set_since_last_service(const std::string& path) const;

  private:
    std::int64_t offset_;
};

}  // namespace dp_host

#endif
