#ifndef DP_TOOLS_DPCTL_STATUS_FOLDER_WATCH_HPP
#define DP_TOOLS_DPCTL_STATUS_FOLDER_WATCH_HPP

#include <string>

#include "support/file_descriptor.hpp"

namespace dpctl {

/// Wakes its owner when something in the folder of a file changes: the file is written, replaced,
/// removed, or comes. Where the system does not offer this it never wakes anybody.
class folder_watch {
  public:
    explicit folder_watch(const std::string& file);

    /// Readable when something changed; below 0 when nothing will be told.
    [[nodiscard]] int handle() const { return events_.get(); }

    /// Takes what was told, and watches a folder that is new at that place. False when there is no
    /// folder to watch now.
    bool renew();

  private:
    std::string folder_;
    dp_support::file_descriptor events_;
};

}  // namespace dpctl

#endif
