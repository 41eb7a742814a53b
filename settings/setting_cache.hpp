#ifndef DP_SETTINGS_SETTING_CACHE_HPP
#define DP_SETTINGS_SETTING_CACHE_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "common/export.hpp"

namespace dp {

/// The values of one setting's instances, in the order in which the instances were created; at most
/// one entry an instance. A few entries are searched one by one; more get an index, so that
/// finding, adding and removing stay cheap however many there are. Not copyable.
class DP_API setting_cache {
  public:
    struct DP_API entry {
        bool valid = false;  ///< the value is known
        std::string value;
        std::uint32_t instance = 0;

      private:
        friend class setting_cache;
        bool removed_ = false;  // a gap that the next clean-up closes
    };

    setting_cache();
    ~setting_cache();
    setting_cache(const setting_cache&) = delete;
    setting_cache& operator=(const setting_cache&) = delete;

    /// The entry of `instance`. When there is none: null, or, when `create` is set, a new entry at
    /// the end (not valid, empty value). The pointer is good until an entry is added or removed.
    entry* find_entry(std::uint32_t instance, bool create);

    /// Removes the entry of `instance`, if there is one; the others keep their order.
    void remove_instance(std::uint32_t instance);

    /// Number of entries, valid or not.
    [[nodiscard]] std::size_t size() const;

    /// Calls `visit` with every entry, in creation order. `visit` must not add or remove entries.
    template <class Visitor>
    void for_each(Visitor visit) const {
        for (const entry& e : entries_) {
            if (!e.removed_) {
                visit(e);
            }
        }
    }

  private:
    struct index;

    [[nodiscard]] DP_LOCAL entry* find_one_by_one(std::uint32_t instance);

    // In creation order. As long as there are few, `index_` is null and no entry is a gap.
    std::vector<entry> entries_;
    std::unique_ptr<index> index_;
};

/// Nothing when the entry is not valid. Otherwise the value, `""` when it is empty; before it,
/// unless the setting is single-valued, a line end (flushed), "[", the instance and "] ".
DP_API std::ostream& operator<<(std::ostream& os, const setting_cache::entry& e);

/// Every entry in creation order.
DP_API std::ostream& operator<<(std::ostream& os, const setting_cache& c);

}  // namespace dp

#endif
