#include "settings/setting_cache.hpp"

#include <sys/random.h>
#include <sys/types.h>

#include <algorithm>
#include <bit>
#include <ostream>
#include <utility>

#include "settings/instance_number.hpp"

namespace dp {

namespace {

// Up to here a search from the front is faster than an index, and takes no memory for one.
constexpr std::size_t few_limit = 8;

constexpr std::uint32_t no_position = 0xFFFFFFFF;

// Spreads instance numbers, which usually count up, over all bits (a 32-bit finalizer).
std::uint32_t mix(std::uint32_t x) {
    x ^= x >> 16U;
    x *= 0x7feb352dU;
    x ^= x >> 15U;
    x *= 0x846ca68bU;
    x ^= x >> 16U;
    return x;
}

// 0 as long as the system has no random bytes: waiting for them would stop a board that starts.
std::uint32_t random_word() {
    std::uint32_t word = 0;
    return getrandom(&word, sizeof word, GRND_NONBLOCK) == ssize_t{sizeof word} ? word : 0;
}

// One for all caches: asking the system costs more than the rest of a small index.
std::uint32_t process_seed() {
    static const std::uint32_t seed = random_word();
    return seed;
}

}  // namespace

// Finds the entries of many: an open hash table of the positions of those that are no gaps, at most
// half full. Removing an entry leaves a gap; when half of the entries are gaps they are closed all
// at once, so that removing costs constant time on average.
struct setting_cache::index {
    explicit index(std::vector<entry>& all) : entries(all) { rebuild(); }

    std::vector<entry>& entries;
    std::vector<std::uint32_t> slots;
    std::uint32_t gaps = 0;
    // Instance numbers come from files: who writes one must not know which of them share a slot.
    const std::uint32_t seed = process_seed();

    [[nodiscard]] std::uint32_t mask() const {
        return static_cast<std::uint32_t>(slots.size() - 1);
    }

    // The slot at which the search for an instance begins.
    [[nodiscard]] std::uint32_t home(std::uint32_t instance) const {
        return mix(instance ^ seed) & mask();
    }

    // The slot of the instance's entry, or the free slot where the search for it ends.
    [[nodiscard]] std::uint32_t find_slot(std::uint32_t instance) const {
        std::uint32_t slot = home(instance);
        while (slots[slot] != no_position && entries[slots[slot]].instance != instance) {
            slot = (slot + 1) & mask();
        }
        return slot;
    }

    // Frees a slot and moves the entries behind it up, so that every search still finds them.
    void free_slot(std::uint32_t slot) {
        for (std::uint32_t next = (slot + 1) & mask(); slots[next] != no_position;
             next = (next + 1) & mask()) {
            const std::uint32_t start = home(entries[slots[next]].instance);
            // An entry must not move in front of the slot at which its search begins.
            if (((next - start) & mask()) >= ((next - slot) & mask())) {
                slots[slot] = slots[next];
                slot = next;
            }
        }
        slots[slot] = no_position;
    }

    void rebuild() {
        slots.assign(std::bit_ceil(entries.size() * 2 + 2), no_position);
        for (std::uint32_t position = 0; position < entries.size(); ++position) {
            if (!entries[position].removed_) {
                slots[find_slot(entries[position].instance)] = position;
            }
        }
    }

    [[nodiscard]] entry* find(std::uint32_t instance) const {
        const std::uint32_t position = slots[find_slot(instance)];
        return position == no_position ? nullptr : &entries[position];
    }

    // Lists the entry that was added last.
    void add_last() {
        if (entries.size() * 2 > slots.size()) {
            rebuild();
        } else {
            slots[find_slot(entries.back().instance)] =
                static_cast<std::uint32_t>(entries.size() - 1);
        }
    }

    void remove(std::uint32_t instance) {
        const std::uint32_t slot = find_slot(instance);
        if (slots[slot] == no_position) {
            return;
        }
        entry& e = entries[slots[slot]];
        free_slot(slot);
        e = entry{};
        e.removed_ = true;
        if (++gaps > entries.size() / 2) {
            std::erase_if(entries, [](const entry& x) { return x.removed_; });
            gaps = 0;
            rebuild();
        }
    }
};

setting_cache::setting_cache() = default;
setting_cache::~setting_cache() = default;

setting_cache::entry* setting_cache::find_one_by_one(std::uint32_t instance) {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [instance](const entry& e) { return e.instance == instance; });
    return found == entries_.end() ? nullptr : &*found;
}

setting_cache::entry* setting_cache::find_entry(std::uint32_t instance, bool create) {
    entry* const found = index_ ? index_->find(instance) : find_one_by_one(instance);
    if (found != nullptr || !create) {
        return found;
    }
    entries_.emplace_back().instance = instance;
    if (index_) {
        index_->add_last();
    } else if (entries_.size() > few_limit) {
        index_ = std::make_unique<index>(entries_);
    }
    return &entries_.back();
}

void setting_cache::remove_instance(std::uint32_t instance) {
    if (index_) {
        index_->remove(instance);
    } else if (const entry* const found = find_one_by_one(instance); found != nullptr) {
        entries_.erase(entries_.begin() + (found - entries_.data()));
    }
}

std::size_t setting_cache::size() const {
    return entries_.size() - (index_ ? index_->gaps : 0);
}

std::ostream& operator<<(std::ostream& os, const setting_cache::entry& e) {
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

std::ostream& operator<<(std::ostream& os, const setting_cache& c) {
    c.for_each([&os](const setting_cache::entry& e) { os << e; });
    return os;
}

}  // namespace dp
