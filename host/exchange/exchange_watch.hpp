#ifndef DP_HOST_EXCHANGE_EXCHANGE_WATCH_HPP
#define DP_HOST_EXCHANGE_EXCHANGE_WATCH_HPP

#include <set>
#include <string>

#include "support/file_descriptor.hpp"

namespace dp_host {

/// Notices files that appear in a folder, finished or not.
class exchange_watch {
  public:
    /// Begins to watch. Whoever looks at the folder after that misses nothing. Returns why the
    /// folder can't be watched; empty when it is.
    std::string begin(const std::string& folder);

    /// Readable when something happened.
    [[nodiscard]] int descriptor() const { return notify_.get(); }

    /// Takes note of what happened. False when the folder itself went away: then prepare it anew
    /// and `begin` again.
    bool take_events();

    /// Whether, by the events so far, the writing of the folder's file `name` ended or it was moved
    /// there, since it was made and since `forget_end`.
    [[nodiscard]] bool has_ended(const std::string& name) const { return ended_.contains(name); }
    void forget_end(const std::string& name) { ended_.erase(name); }

  private:
    dp_support::file_descriptor notify_;
    std::set<std::string> ended_;
};

}  // namespace dp_host

#endif
