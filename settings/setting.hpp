#ifndef DP_SETTINGS_SETTING_HPP
#define DP_SETTINGS_SETTING_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "common/export.hpp"

namespace dp {

class configuration;
class plugin;
class setting_element;
class transaction_command;

/// A named setting of a configuration, with the cached values of its instances. The host owns
/// settings; configurations and commands refer to them. `configuration` and `element` must be set
/// before any member function is called.
class DP_API setting {
  public:
    /// The cached values of a setting: entries in creation order, at most one for each instance
    /// number, with a vector's interface for reading. The data member of the same name hides the
    /// class, so write `class dp::setting::cache`; `dp::setting::cache::entry` needs no `class`.
    ///
    /// A small cache is searched linearly. A large cache has a hash index: finding or adding an
    /// entry takes constant time on average, removing an entry logarithmic time. Iterating over all
    /// entries takes linear time, `operator[]` at most logarithmic time.
    ///
    /// A pointer, reference or iterator is valid until an entry is added or removed. Reading never
    /// moves an entry.
    class DP_API cache {
      public:
        /// `valid` and `value` may be changed in place; `instance` must not be.
        struct entry {
            bool valid = false;          ///< the value is known
            std::string value;           ///< as the owner of the setting stores it
            std::uint32_t instance = 0;  ///< `no_instance` in a single-valued setting
        };

        /// Random-access iterator. `Cache` and `Entry` are const in a `const_iterator`.
        template <class Cache, class Entry>
        class basic_iterator;

        /// The types of a container.
        /// @{
        using value_type = entry;
        using size_type = std::size_t;
        using difference_type = std::ptrdiff_t;
        using reference = entry&;
        using const_reference = const entry&;
        using pointer = entry*;
        using const_pointer = const entry*;
        using iterator = basic_iterator<class cache, entry>;
        using const_iterator = basic_iterator<const class cache, const entry>;
        using reverse_iterator = std::reverse_iterator<iterator>;
        using const_reverse_iterator = std::reverse_iterator<const_iterator>;
        /// @}

        /// An empty cache.
        cache();
        ~cache();
        /// Copies the entries in creation order.
        /// @{
        cache(const cache& other);
        cache& operator=(const cache& other);
        /// @}
        /// Leaves `other` empty.
        /// @{
        cache(cache&& other) noexcept;
        cache& operator=(cache&& other) noexcept;
        /// @}

        /// Returns the entry of `instance`. If there is none and `create` is set, appends an entry
        /// (not valid, empty value) and returns it; if `create` is not set, returns null.
        entry* find_entry(std::uint32_t instance, bool create);

        /// Removes the entry of `instance`, if any. The other entries keep their order.
        void remove_instance(std::uint32_t instance);

        /// Number of entries, valid or not.
        [[nodiscard]] size_type size() const { return entries_.size() - removed_; }
        /// Whether there are no entries.
        [[nodiscard]] bool empty() const { return size() == 0; }

        /// The entry at `place`, counted from 0 in creation order; `place` is below `size()`.
        /// @{
        [[nodiscard]] reference operator[](size_type place) { return entries_[position_of(place)]; }
        [[nodiscard]] const_reference operator[](size_type place) const {
            return entries_[position_of(place)];
        }
        /// @}

        /// The first and the last entry created; the cache must not be empty.
        /// @{
        [[nodiscard]] reference front() { return entries_[position_of(0)]; }
        [[nodiscard]] const_reference front() const { return entries_[position_of(0)]; }
        [[nodiscard]] reference back() { return entries_.back(); }
        [[nodiscard]] const_reference back() const { return entries_.back(); }
        /// @}

        /// Iteration over the entries in creation order, or in the opposite one.
        /// @{
        [[nodiscard]] iterator begin();
        [[nodiscard]] iterator end();
        [[nodiscard]] const_iterator begin() const;
        [[nodiscard]] const_iterator end() const;
        [[nodiscard]] const_iterator cbegin() const;
        [[nodiscard]] const_iterator cend() const;
        [[nodiscard]] reverse_iterator rbegin();
        [[nodiscard]] reverse_iterator rend();
        [[nodiscard]] const_reverse_iterator rbegin() const;
        [[nodiscard]] const_reverse_iterator rend() const;
        /// @}

      private:
        struct index;

        [[nodiscard]] DP_LOCAL entry* find_linearly(std::uint32_t instance);
        DP_LOCAL void compact();

        // A place counts entries. A position is an offset in `entries_`, where tombstones count
        // too; the two differ only while there are tombstones. Both fit in 32 bits, like instance
        // numbers.
        [[nodiscard]] size_type position_of(size_type place) const {
            return removed_ == 0 ? place : find_position(static_cast<std::uint32_t>(place));
        }
        [[nodiscard]] size_type place_of(size_type position) const {
            return removed_ == 0 ? position : find_place(static_cast<std::uint32_t>(position));
        }
        [[nodiscard]] size_type position_after(size_type position) const {
            return removed_ == 0 ? position + 1
                                 : skip_forward(static_cast<std::uint32_t>(position) + 1);
        }
        [[nodiscard]] size_type position_before(size_type position) const {
            return removed_ == 0 ? position - 1
                                 : skip_backward(static_cast<std::uint32_t>(position) - 1);
        }
        [[nodiscard]] std::uint32_t find_position(std::uint32_t place) const;
        [[nodiscard]] std::uint32_t find_place(std::uint32_t position) const;
        [[nodiscard]] std::uint32_t skip_forward(std::uint32_t position) const;
        [[nodiscard]] std::uint32_t skip_backward(std::uint32_t position) const;

        // In creation order. The last element is never a tombstone.
        std::vector<entry> entries_;
        // Null in a small cache, which has no tombstones.
        std::unique_ptr<index> index_;
        // Number of tombstones: removed entries, dropped by the next compaction.
        std::uint32_t removed_ = 0;
    };

    /// An empty setting. The host sets its data before use.
    setting() = default;

    /// None of the pointers is owned.
    setting(class configuration* owning_configuration, std::string setting_name,
            plugin* owning_plugin, setting_element* description);

    /// Removes the entry of `instance` and records a change, even if there was no entry.
    void remove_instance(std::uint32_t instance);

    /// Stores a value and records a change, unless that value is already known. `value` may refer
    /// to another entry of this cache.
    void set_instance_value(const std::string& value, std::uint32_t instance);

    /// Copies the value of `instance` to `out` and returns true. Returns false and leaves `out`
    /// unchanged when the value is not known.
    bool get_instance_value(std::string* out, std::uint32_t instance);

    /// Marks the value of `instance` as not known and records a change, if it was known. The entry
    /// keeps its place and its text.
    void invalidate_instance(std::uint32_t instance);

    /// Whether the setting is the key of its setting record.
    [[nodiscard]] bool is_record_key() const;

    /// Whether the setting is the refresh setting of its setting record.
    [[nodiscard]] bool is_record_refresh() const;

    /// Stores the default value in `instance` of every member of the setting record, unless the
    /// member already has a known value or does not allow that instance.
    void create_records(std::uint32_t instance);

    /// Removes `instance` from every member of the setting record.
    void remove_records(std::uint32_t instance);

    /// Writes the setting's full name, its cached values and a newline, and flushes.
    std::ostream& display_cache(std::ostream& os) const;

    /// Checks a command on this setting before a plug-in sees it. A command that fails is complete
    /// and, if its status was 0, gets the element's code for a bad value or 226 for a delete that
    /// is not permitted. A delete of a record key always passes and invalidates that instance in
    /// the whole setting record.
    void validate(transaction_command* command);

    class configuration* configuration = nullptr;  ///< that it belongs to
    std::string name;                              ///< unique in its configuration
    plugin* owner = nullptr;             ///< the settings owner that serves this setting, or null
    class cache cache;                   ///< the known values of its instances
    setting_element* element = nullptr;  ///< its description
};

template <class Cache, class Entry>
class setting::cache::basic_iterator {
  public:
    /// The types of an iterator.
    /// @{
    using iterator_category = std::random_access_iterator_tag;
    using value_type = entry;
    using difference_type = std::ptrdiff_t;
    using pointer = Entry*;
    using reference = Entry&;
    /// @}

    /// Refers to no cache.
    basic_iterator() = default;
    /// An `iterator` converts to a `const_iterator`.
    template <class OtherCache, class OtherEntry,
              class = std::enable_if_t<std::is_convertible_v<OtherEntry*, Entry*>>>
    // NOLINTNEXTLINE(google-explicit-constructor): containers' iterators convert implicitly.
    basic_iterator(const basic_iterator<OtherCache, OtherEntry>& other)
        : cache_(other.cache_), position_(other.position_) {}

    /// As in any random-access iterator.
    /// @{
    reference operator*() const { return cache_->entries_[position_]; }
    pointer operator->() const { return &cache_->entries_[position_]; }
    reference operator[](difference_type steps) const { return *(*this + steps); }

    basic_iterator& operator++() {
        position_ = cache_->position_after(position_);
        return *this;
    }
    basic_iterator operator++(int) {
        basic_iterator before = *this;
        ++*this;
        return before;
    }
    basic_iterator& operator--() {
        position_ = cache_->position_before(position_);
        return *this;
    }
    basic_iterator operator--(int) {
        basic_iterator before = *this;
        --*this;
        return before;
    }
    basic_iterator& operator+=(difference_type steps) {
        const auto place = static_cast<difference_type>(cache_->place_of(position_)) + steps;
        position_ = cache_->position_of(static_cast<size_type>(place));
        return *this;
    }
    basic_iterator& operator-=(difference_type steps) { return *this += -steps; }

    friend basic_iterator operator+(basic_iterator it, difference_type steps) {
        return it += steps;
    }
    friend basic_iterator operator+(difference_type steps, basic_iterator it) {
        return it += steps;
    }
    friend basic_iterator operator-(basic_iterator it, difference_type steps) {
        return it -= steps;
    }
    template <class OtherCache, class OtherEntry>
    difference_type operator-(const basic_iterator<OtherCache, OtherEntry>& other) const {
        return static_cast<difference_type>(cache_->place_of(position_)) -
               static_cast<difference_type>(cache_->place_of(other.position_));
    }
    /// @}

    /// Only iterators of the same cache can be compared.
    /// @{
    template <class OtherCache, class OtherEntry>
    bool operator==(const basic_iterator<OtherCache, OtherEntry>& other) const {
        return position_ == other.position_;
    }
    template <class OtherCache, class OtherEntry>
    bool operator!=(const basic_iterator<OtherCache, OtherEntry>& other) const {
        return position_ != other.position_;
    }
    template <class OtherCache, class OtherEntry>
    bool operator<(const basic_iterator<OtherCache, OtherEntry>& other) const {
        return position_ < other.position_;
    }
    template <class OtherCache, class OtherEntry>
    bool operator>(const basic_iterator<OtherCache, OtherEntry>& other) const {
        return position_ > other.position_;
    }
    template <class OtherCache, class OtherEntry>
    bool operator<=(const basic_iterator<OtherCache, OtherEntry>& other) const {
        return position_ <= other.position_;
    }
    template <class OtherCache, class OtherEntry>
    bool operator>=(const basic_iterator<OtherCache, OtherEntry>& other) const {
        return position_ >= other.position_;
    }
    /// @}

  private:
    template <class OtherCache, class OtherEntry>
    friend class basic_iterator;
    friend class setting::cache;

    basic_iterator(Cache* container, size_type position) : cache_(container), position_(position) {}

    Cache* cache_ = nullptr;
    size_type position_ = 0;
};

// Doxygen would list these twice.
/// @cond
inline setting::cache::iterator setting::cache::begin() {
    return {this, position_of(0)};
}
inline setting::cache::iterator setting::cache::end() {
    return {this, entries_.size()};
}
inline setting::cache::const_iterator setting::cache::begin() const {
    return {this, position_of(0)};
}
inline setting::cache::const_iterator setting::cache::end() const {
    return {this, entries_.size()};
}
inline setting::cache::const_iterator setting::cache::cbegin() const {
    return begin();
}
inline setting::cache::const_iterator setting::cache::cend() const {
    return end();
}
inline setting::cache::reverse_iterator setting::cache::rbegin() {
    return reverse_iterator(end());
}
inline setting::cache::reverse_iterator setting::cache::rend() {
    return reverse_iterator(begin());
}
inline setting::cache::const_reverse_iterator setting::cache::rbegin() const {
    return const_reverse_iterator(end());
}
inline setting::cache::const_reverse_iterator setting::cache::rend() const {
    return const_reverse_iterator(begin());
}
/// @endcond

/// Writes nothing for an entry that is not valid. Otherwise writes a newline (and flushes), "[",
/// the instance and "] ", all of which a single-valued setting lacks, and then the value, or `""`
/// when it is empty.
DP_API std::ostream& operator<<(std::ostream& os, const setting::cache::entry& e);

/// Writes every entry in creation order.
DP_API std::ostream& operator<<(std::ostream& os, const class setting::cache& c);

/// Writes the configuration's name, "." and the setting's name.
DP_API std::ostream& operator<<(std::ostream& os, const setting& s);

}  // namespace dp

#endif
