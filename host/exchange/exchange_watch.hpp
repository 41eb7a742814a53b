#ifndef DP_HOST_EXCHANGE_EXCHANGE_WATCH_HPP
#define DP_HOST_EXCHANGE_EXCHANGE_WATCH_HPP

#include <set>
#include <string>

#include "support/file_descriptor.hpp"
#include "support/result.hpp"

namespace dp_host {

/// Watches a folder for new files, complete or not.
class exchange_watch {
  public:
    /// Begins to watch `folder`. Nothing that appears later is missed.
    dp_support::result<> begin(const std::string& folder);

    /// Readable when there are events. Not owned; valid until the next `begin`.
    [[nodiscard]] int descriptor() const { return notify_.get(); }

    /// Reads the events. False when the folder was removed or moved: prepare it and call `begin`
    /// again.
    bool read_events();

    /// Whether the events so far reported that the file `name` of the folder was completely written
    /// or moved there, since it was created and since `forget`.
    [[nodiscard]] bool is_complete(const std::string& name) const {
        return complete_.contains(name);
    }
    void forget(const std::string& name) { complete_.erase(name); }

  private:
    dp_support::file_descriptor notify_;
    std::set<std::string> complete_;
};

}  // namespace dp_host

#endif
