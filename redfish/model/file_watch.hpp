#ifndef DP_REDFISH_MODEL_FILE_WATCH_HPP
#define DP_REDFISH_MODEL_FILE_WATCH_HPP

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/file_descriptor.hpp"

namespace dp_redfish {

/// Notices changes of files through the kernel (inotify), by watching their folders: the files may
/// be replaced or missing. What the kernel cannot watch has to be polled. Used by one thread.
class file_watch {
  public:
    /// The kernel's functions, which tests replace. They return -1 and set errno.
    struct kernel {
        std::function<int()> create;
        std::function<int(int instance, const char* folder, std::uint32_t events)> add;
        static kernel of_system();
    };

    /// Watches the folders of these files.
    /// @param log  takes a line for a person when there is something that cannot be watched
    file_watch(const std::vector<std::string>& files, std::function<void(const std::string&)> log,
               kernel calls = kernel::of_system());

    /// Readable when something changed; -1: nothing can be watched.
    [[nodiscard]] int descriptor() const { return instance_.get(); }

    /// Whether changes of all files are noticed. Otherwise they have to be polled, and `repair`
    /// called now and then.
    [[nodiscard]] bool is_complete() const;

    /// Takes what happened since the last call. Whether one of the files may have changed.
    bool take_changes();

    /// Watches folders that are there now and were not before.
    void repair();

  private:
    struct folder {
        std::set<std::string> names;  // of the files
        int watch = -1;
    };

    void report(const std::string& problem);

    kernel kernel_;
    std::function<void(const std::string&)> log_;
    dp_support::file_descriptor instance_;
    std::map<std::string, folder> folders_;
    bool has_reported_ = false;
};

}  // namespace dp_redfish

#endif
