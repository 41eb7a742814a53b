#ifndef DP_BATCH_DROPPED_LINE_LISTENER_HPP
#define DP_BATCH_DROPPED_LINE_LISTENER_HPP

#include <string_view>

#include "common/export.hpp"

namespace dp {

/// Receives the lines of a batch file that the reader drops.
class DP_API dropped_line_listener {
  public:
    /// Called before any later line is processed. `line` has no newline and is valid during the
    /// call.
    virtual void on_dropped_line(std::string_view line) = 0;

  protected:
    ~dropped_line_listener() = default;
};

}  // namespace dp

#endif
