// dp::setting::cache

#include <sys/random.h>
#include <sys/types.h>

#include <algorithm>
#include <bit>
#include <ostream>
#include <utility>

#include "settings/instance_number.hpp"
#include "settings/setting.hpp"

namespace dp {

namespace {

// Up to this size a linear search is faster than an index, and needs no memory for it.
constexpr std::size_t small_limit = 8;

constexpr std::uint32_t no_position = 0xFFFFFFFF;

// Bits in a word of a bitmap.
constexpr std::size_t word_bits = 32;

// 32-bit finalizer: spreads instance numbers, which are usually consecutive, over all bits.
std::uint32_t mix(std::uint32_t x) {
    x ^= x >> 16U;
    x *= 0x7feb352dU;
    x ^= x >> 15U;
    x *= 0x846ca68bU;
    x ^= x >> 16U;
    return x;
}

// Returns 0 while the system has no random bytes. Waiting for them would block a starting board.
std::uint32_t random_word() {
    std::uint32_t word = 0;
    return getrandom(&word, sizeof word, GRND_NONBLOCK) == ssize_t{sizeof word} ? word : 0;
}

// One seed for all caches: the system call costs more than building a small index.
std::uint32_t process_seed() {
    static const std::uint32_t seed = random_word();
    return seed;
}

// Set of positions: a bitmap, and a Fenwick tree of the bit counts of its words. Counts the
// members below a position, and finds the n-th position that is not a member, in logarithmic time.
class position_set {
  public:
    [[nodiscard]] bool has(std::size_t position) const {
        const std::size_t word = position / word_bits;
        return word < bits_.size() && (bits_[word] & bit_of(position)) != 0;
    }

    void insert(std::size_t position) {
        while (bits_.size() <= position / word_bits) {
            append_word();
        }
        bits_[position / word_bits] |= bit_of(position);
        add(position / word_bits, 1);
    }

    void erase(std::size_t position) {
        bits_[position / word_bits] &= ~bit_of(position);
        add(position / word_bits, no_position);  // minus one, modulo 2^32
    }

    void clear() {
        bits_.clear();
        tree_.clear();
    }

    // Number of members below `position`.
    [[nodiscard]] std::size_t count_below(std::size_t position) const {
        const std::size_t word = position / word_bits;
        if (word >= bits_.size()) {
            return sum(bits_.size());
        }
        return sum(word) +
               static_cast<std::size_t>(std::popcount(bits_[word] & (bit_of(position) - 1)));
    }

    // The position that is not a member and has `missing` positions below it that are not members.
    [[nodiscard]] std::size_t find_missing(std::size_t missing) const {
        // Descend the tree past the words that together have at most `missing` clear bits.
        std::size_t word = 0;
        for (std::size_t step = std::bit_floor(bits_.size()); step != 0; step /= 2) {
            if (word + step <= bits_.size()) {
                const std::size_t clear = step * word_bits - tree_[word + step - 1];
                if (clear <= missing) {
                    missing -= clear;
                    word += step;
                }
            }
        }
        std::size_t position = word * word_bits;
        if (word < bits_.size()) {
            // Clear the lowest bits of the complement until the wanted one is the lowest.
            std::uint32_t clear_bits = ~bits_[word];
            for (; missing != 0; --missing) {
                clear_bits &= clear_bits - 1;
            }
            return position + static_cast<std::size_t>(std::countr_zero(clear_bits));
        }
        return position + missing;
    }

    // The first position, at or after `position`, that is not a member.
    [[nodiscard]] std::size_t next_missing(std::size_t position) const {
        for (std::size_t word = position / word_bits; word < bits_.size(); ++word) {
            const std::uint32_t clear_bits = ~bits_[word] & ~(bit_of(position) - 1);
            if (clear_bits != 0) {
                return word * word_bits + static_cast<std::size_t>(std::countr_zero(clear_bits));
            }
            position = (word + 1) * word_bits;
        }
        return position;
    }

  private:
    static std::uint32_t bit_of(std::size_t position) {
        return std::uint32_t{1} << (position % word_bits);
    }

    // Element i - 1 of the tree covers the `i & -i` words that end with word i - 1.
    void append_word() {
        bits_.push_back(0);
        const std::size_t i = bits_.size();
        const std::size_t covered = i & (~i + 1);
        tree_.push_back(static_cast<std::uint32_t>(sum(i - 1) - sum(i - covered)));
    }

    void add(std::size_t word, std::uint32_t difference) {
        for (std::size_t i = word + 1; i <= tree_.size(); i += i & (~i + 1)) {
            tree_[i - 1] += difference;
        }
    }

    [[nodiscard]] std::size_t sum(std::size_t words) const {
        std::size_t total = 0;
        for (std::size_t i = words; i != 0; i &= i - 1) {
            total += tree_[i - 1];
        }
        return total;
    }

    std::vector<std::uint32_t> bits_;
    std::vector<std::uint32_t> tree_;
};

}  // namespace

// Hash index for large caches: an open-addressing table of entry positions, at most half full.
// Removing an entry leaves a tombstone, so that no other entry moves. A compaction drops the
// tombstones when they are more than half of the entries; its cost is spread over their removals.
struct setting::cache::index {
    std::vector<std::uint32_t> slots;
    position_set tombstones;
    // Instance numbers come from files. With a random seed, the author of a file cannot choose
    // numbers that share a slot.
    const std::uint32_t seed = process_seed();

    [[nodiscard]] std::uint32_t mask() const {
        return static_cast<std::uint32_t>(slots.size() - 1);
    }

    // The slot where the search for an instance begins.
    [[nodiscard]] std::uint32_t first_slot(std::uint32_t instance) const {
        return mix(instance ^ seed) & mask();
    }

    // The slot of the instance's entry, or the free slot where the search for it ends.
    [[nodiscard]] std::uint32_t find_slot(const std::vector<entry>& entries,
                                          std::uint32_t instance) const {
        std::uint32_t slot = first_slot(instance);
        while (slots[slot] != no_position && entries[slots[slot]].instance != instance) {
            slot = (slot + 1) & mask();
        }
        return slot;
    }

    // Frees a slot and moves later ones into it, so that every search still finds its entry.
    void free_slot(const std::vector<entry>& entries, std::uint32_t slot) {
        for (std::uint32_t next = (slot + 1) & mask(); slots[next] != no_position;
             next = (next + 1) & mask()) {
            const std::uint32_t start = first_slot(entries[slots[next]].instance);
            // A slot must not move before the one at which the search for its entry begins.
            if (((next - start) & mask()) >= ((next - slot) & mask())) {
                slots[slot] = slots[next];
                slot = next;
            }
        }
        slots[slot] = no_position;
    }

    void rebuild(const std::vector<entry>& entries) {
        slots.assign(std::bit_ceil(entries.size() * 2 + 2), no_position);
        for (std::uint32_t position = 0; position < entries.size(); ++position) {
            if (!tombstones.has(position)) {
                slots[find_slot(entries, entries[position].instance)] = position;
            }
        }
    }

    // Adds the last entry.
    void add_last(const std::vector<entry>& entries) {
        if (entries.size() * 2 > slots.size()) {
            rebuild(entries);
        } else {
            slots[find_slot(entries, entries.back().instance)] =
                static_cast<std::uint32_t>(entries.size() - 1);
        }
    }
};

setting::cache::cache() = default;
// Clang looks the name of a destructor up beside the class, where the data member hides it; inside
// the class it is found.
setting::cache::cache::~cache() = default;

setting::cache::cache(const cache& other) {
    entries_.reserve(other.size());
    entries_.assign(other.begin(), other.end());
    if (entries_.size() > small_limit) {
        index_ = std::make_unique<index>();
        index_->rebuild(entries_);
    }
}

class setting::cache& setting::cache::operator=(const cache& other) {
    return *this = cache(other);
}

setting::cache::cache(cache&& other) noexcept
    : entries_(std::move(other.entries_)),
      index_(std::move(other.index_)),
      removed_(std::exchange(other.removed_, 0)) {
    other.entries_.clear();
}

class setting::cache& setting::cache::operator=(cache&& other) noexcept {
    class cache taken(std::move(other));
    std::swap(entries_, taken.entries_);
    std::swap(index_, taken.index_);
    std::swap(removed_, taken.removed_);
    return *this;
}

setting::cache::entry* setting::cache::find_linearly(std::uint32_t instance) {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [instance](const entry& e) { return e.instance == instance; });
    return found == entries_.end() ? nullptr : &*found;
}

setting::cache::entry* setting::cache::find_entry(std::uint32_t instance, bool create) {
    if (index_) {
        const std::uint32_t position = index_->slots[index_->find_slot(entries_, instance)];
        if (position != no_position) {
            return &entries_[position];
        }
    } else if (entry* const found = find_linearly(instance); found != nullptr) {
        return found;
    }
    if (!create) {
        return nullptr;
    }
    entries_.emplace_back().instance = instance;
    if (index_) {
        index_->add_last(entries_);
    } else if (entries_.size() > small_limit) {
        index_ = std::make_unique<index>();
        index_->rebuild(entries_);
    }
    return &entries_.back();
}

void setting::cache::remove_instance(std::uint32_t instance) {
    if (!index_) {
        if (const entry* const found = find_linearly(instance); found != nullptr) {
            entries_.erase(entries_.begin() + (found - entries_.data()));
        }
        return;
    }
    const std::uint32_t slot = index_->find_slot(entries_, instance);
    const std::uint32_t position = index_->slots[slot];
    if (position == no_position) {
        return;
    }
    index_->free_slot(entries_, slot);
    entries_[position] = entry{};
    index_->tombstones.insert(position);
    ++removed_;
    while (!entries_.empty() && index_->tombstones.has(entries_.size() - 1)) {
        index_->tombstones.erase(entries_.size() - 1);
        entries_.pop_back();
        --removed_;
    }
    if (removed_ > entries_.size() / 2) {
        compact();
    }
}

void setting::cache::compact() {
    std::size_t kept = 0;
    for (std::size_t position = 0; position < entries_.size(); ++position) {
        if (!index_->tombstones.has(position)) {
            if (kept != position) {
                entries_[kept] = std::move(entries_[position]);
            }
            ++kept;
        }
    }
    entries_.resize(kept);
    removed_ = 0;
    index_->tombstones.clear();
    index_->rebuild(entries_);
}

std::uint32_t setting::cache::find_position(std::uint32_t place) const {
    return static_cast<std::uint32_t>(index_->tombstones.find_missing(place));
}

std::uint32_t setting::cache::find_place(std::uint32_t position) const {
    return static_cast<std::uint32_t>(position - index_->tombstones.count_below(position));
}

std::uint32_t setting::cache::skip_forward(std::uint32_t position) const {
    return static_cast<std::uint32_t>(index_->tombstones.next_missing(position));
}

std::uint32_t setting::cache::skip_backward(std::uint32_t position) const {
    return find_position(find_place(position + 1) - 1);
}

std::ostream& operator<<(std::ostream& os, const setting::cache::entry& e) {
    if (!e.valid) {
        return os;
    }
    if (e.instance != no_instance) {
        os << std::endl << '[' << std::to_string(e.instance) << "] ";
    }
    if (e.value.empty()) {
        return os << R"("")";
    }
    return os << e.value;
}

std::ostream& operator<<(std::ostream& os, const class setting::cache& c) {
    for (const setting::cache::entry& e : c) {
        os << e;
    }
    return os;
}

}  // namespace dp
