#ifndef DP_TOOLS_DPCTL_SYSTEM_FOLDER_WATCH_HPP
#define DP_TOOLS_DPCTL_SYSTEM_FOLDER_WATCH_HPP

#include <string>

#include "support/file_descriptor.hpp"

namespace dpctl {

/// Reports changes in the folder of a file: the file is created, written, replaced or removed.
/// Where the system does not support this, nothing is ever reported.
class folder_watch {
  public:
    explicit folder_watch(const std::string& file);

    /// Readable after a change; -1 when changes cannot be reported.
    [[nodiscard]] int descriptor() const { return events_.get(); }

    /// Discards the reported changes, and watches the folder again in case it was replaced. False
    /// when there is no such folder now.
    bool renew();

  private:
    std::string folder_;
    dp_support::file_descriptor events_;
};

}  // namespace dpctl

#endif
