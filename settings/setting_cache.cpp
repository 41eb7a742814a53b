#include "settings/setting_cache.hpp"

#include <algorithm>
#include <bit>
#include <ostream>
#include <utility>
#include <vector>

#include "settings/instance_number.hpp"

namespace dp {

namespace {

// Up to here a search from the front is faster than an index, and takes no memory for one.
constexpr std::uint32_t few_limit = 8;

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

}  // namespace

// Many entries in creation order. Removing one leaves a gap; when half of the entries are gaps they
// are closed all at once, so that removing costs constant time on average. `slots` is an open hash
// table of positions in `entries`, at most half full; a gap keeps its slot until the next clean-up.
struct setting_cache::many {
    std::vector<entry> entries;
    std::vector<std::uint32_t> slots;
    std::uint32_t gaps = 0;

    [[nodiscard]] std::uint32_t find(std::uint32_t instance) const {
        const auto mask = static_cast<std::uint32_t>(slots.size() - 1);
        for (std::uint32_t slot = mix(instance) & mask; slots[slot] != no_position;
             slot = (slot + 1) & mask) {
            const entry& e = entries[slots[slot]];
            if (e.instance == instance && !e.removed_) {
                return slots[slot];
            }
        }
        return no_position;
    }

    void index(std::uint32_t position) {
        const auto mask = static_cast<std::uint32_t>(slots.size() - 1);
        std::uint32_t slot = mix(entries[position].instance) & mask;
        while (slots[slot] != no_position) {
            slot = (slot + 1) & mask;
        }
        slots[slot] = position;
    }

    void rebuild_index() {
        slots.assign(std::bit_ceil(entries.size() * 2 + 2), no_position);
        for (std::uint32_t position = 0; position < entries.size(); ++position) {
            index(position);
        }
    }

    void close_gaps() {
        std::erase_if(entries, [](const entry& e) { return e.removed_; });
        gaps = 0;
        rebuild_index();
    }

    entry* add(std::uint32_t instance) {
        entry e;
        e.instance = instance;
        entries.push_back(std::move(e));
        if (entries.size() * 2 > slots.size()) {
            rebuild_index();
        } else {
            index(static_cast<std::uint32_t>(entries.size() - 1));
        }
        return &entries.back();
    }

    void remove(std::uint32_t position) {
        entry& e = entries[position];
        e.valid = false;
        e.removed_ = true;
        std::string().swap(e.value);
        if (++gaps * 2 > entries.size()) {
            close_gaps();
        }
    }
};

setting_cache::setting_cache() = default;
setting_cache::~setting_cache() = default;

setting_cache::entry* setting_cache::find_entry(std::uint32_t instance, bool create) {
    if (many_) {
        const std::uint32_t position = many_->find(instance);
        if (position != no_position) {
            return &many_->entries[position];
        }
        return create ? many_->add(instance) : nullptr;
    }
    for (std::uint32_t i = 0; i < few_count_; ++i) {
        if (few_[i].instance == instance) {
            return &few_[i];
        }
    }
    if (!create) {
        return nullptr;
    }
    if (few_count_ == few_limit) {
        many_ = std::make_unique<many>();
        many_->entries.reserve(std::size_t{few_limit} * 2);
        std::move(few_.get(), few_.get() + few_count_, std::back_inserter(many_->entries));
        many_->rebuild_index();
        few_.reset();
        few_count_ = 0;
        return many_->add(instance);
    }
    // The room for few entries doubles: it is full when their number is a power of two, or 0.
    if (few_count_ == 0 || std::has_single_bit(few_count_)) {
        auto wider = std::make_unique<entry[]>(std::max(1U, few_count_ * 2));
        std::move(few_.get(), few_.get() + few_count_, wider.get());
        few_ = std::move(wider);
    }
    entry& e = few_[few_count_++];
    e.instance = instance;
    return &e;
}

void setting_cache::remove_instance(std::uint32_t instance) {
    if (many_) {
        const std::uint32_t position = many_->find(instance);
        if (position != no_position) {
            many_->remove(position);
        }
        return;
    }
    entry* const end = few_.get() + few_count_;
    entry* const found = std::find_if(
        few_.get(), end, [instance](const entry& e) { return e.instance == instance; });
    if (found != end) {
        std::move(found + 1, end, found);
        *(end - 1) = entry{};
        --few_count_;
    }
}

std::size_t setting_cache::size() const {
    return many_ ? many_->entries.size() - many_->gaps : few_count_;
}

setting_cache::span setting_cache::range() const {
    if (many_) {
        const entry* first = many_->entries.data();
        return {first, first + many_->entries.size()};
    }
    return {few_.get(), few_.get() + few_count_};
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
