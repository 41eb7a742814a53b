#ifndef DP_HOST_EXCHANGE_EXCHANGE_WATCH_HPP
#define DP_HOST_EXCHANGE_EXCHANGE_WATCH_HPP

#include <sys/types.h>

#include <set>
#include <string>

#include "support/file_descriptor.hpp"
#include "support/result.hpp"

namespace dp_host {

/// Watches a folder for new files, complete or not.
class exchange_watch {
  public:
    /// Begins to watch `folder`. Nothing that appears later is missed. When the user has no inotify
    /// instance or watch left, `begin_polling`.
    dp_support::result<> begin(const std::string& folder);

    /// The same without inotify: the descriptor is readable every 250 ms, whether there are new
    /// files or not.
    dp_support::result<> begin_polling(const std::string& folder);

    [[nodiscard]] bool is_polling() const { return is_polling_; }

    /// Readable when there are events. Not owned; valid until the next `begin`.
    [[nodiscard]] int descriptor() const { return notify_.get(); }

    /// Reads the events. False when the folder was removed or moved: prepare it and call `begin`
    /// again.
    bool read_events();

    /// Whether the events so far reported that the file `name` of the folder was completely written
    /// or moved there, since it was created and since `forget`. While polling, whether it was last
    /// written a second ago or earlier.
    [[nodiscard]] bool is_complete(const std::string& name) const;
    void forget(const std::string& name) { complete_.erase(name); }

  private:
    bool read_notifications();
    [[nodiscard]] bool is_same_folder() const;

    dp_support::file_descriptor notify_;
    std::set<std::string> complete_;  // reported by inotify
    bool is_polling_ = false;
    std::string folder_;  // while polling
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace dp_host

#endif
