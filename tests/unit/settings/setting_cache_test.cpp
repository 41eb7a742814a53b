#include <gtest/gtest.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <iterator>
#include <map>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "settings/setting.hpp"
#include "tests/support/counting_buffer.hpp"
#include "tests/support/cpu_time.hpp"

using setting_cache = class dp::setting::cache;

namespace {

std::vector<std::uint32_t> instances(const setting_cache& cache) {
    std::vector<std::uint32_t> all;
    for (const auto& e : cache) {
        all.push_back(e.instance);
    }
    return all;
}

std::string printed(const setting_cache& cache) {
    std::ostringstream os;
    os << cache;
    return os.str();
}

void set(setting_cache& cache, std::uint32_t instance, const std::string& value) {
    auto* e = cache.find_entry(instance, true);
    e->value = value;
    e->valid = true;
}

// Reference model: the contract of the cache in its simplest form.
class plain_cache {
  public:
    setting_cache::entry* find_entry(std::uint32_t instance, bool create) {
        for (auto& e : entries) {
            if (e.instance == instance) {
                return &e;
            }
        }
        if (!create) {
            return nullptr;
        }
        entries.emplace_back().instance = instance;
        return &entries.back();
    }
    void remove_instance(std::uint32_t instance) {
        const auto found = std::find_if(entries.begin(), entries.end(), [instance](const auto& e) {
            return e.instance == instance;
        });
        if (found != entries.end()) {
            entries.erase(found);
        }
    }
    std::vector<setting_cache::entry> entries;
};

bool same(const setting_cache::entry& a, const setting_cache::entry& b) {
    return a.instance == b.instance && a.valid == b.valid && a.value == b.value;
}

// Whether both contain the same entries in the same order, by every way of reading the cache.
bool same(setting_cache& cache, const plain_cache& plain) {
    const setting_cache& unchanged = cache;
    const std::size_t size = plain.entries.size();
    if (cache.size() != size || cache.empty() != plain.entries.empty() ||
        cache.end() - cache.begin() != static_cast<std::ptrdiff_t>(size)) {
        return false;
    }
    const auto equal = [](const auto& a, const auto& b) { return same(a, b); };
    if (!std::equal(cache.begin(), cache.end(), plain.entries.begin(), equal) ||
        !std::equal(unchanged.begin(), unchanged.end(), plain.entries.begin(), equal) ||
        !std::equal(unchanged.rbegin(), unchanged.rend(), plain.entries.rbegin(), equal)) {
        return false;
    }
    for (std::size_t i = 0; i < size; ++i) {
        const auto steps = static_cast<std::ptrdiff_t>(i);
        if (&cache[i] != &unchanged[i] || &*(cache.begin() + steps) != &cache[i] ||
            &*(cache.end() - (cache.end() - cache.begin() - steps)) != &cache[i] ||
            cache.begin() + steps - cache.begin() != steps || !same(cache[i], plain.entries[i])) {
            return false;
        }
    }
    return size == 0 || (same(cache.front(), plain.entries.front()) &&
                         same(unchanged.back(), plain.entries.back()));
}

// Calls of getrandom, and how many of them could block.
int random_requests = 0;
int blocking_requests = 0;

constexpr std::uint32_t many = 100'000;
// Time limit as a multiple of the cost of as many calls of a tree: five times the cost of the cache
// under a sanitizer or in an emulator, but far below the cost of a linear search.
constexpr double generous_multiple = 50;

}  // namespace

// Replaces the function of the C library.
extern "C" ssize_t getrandom(void* buffer, size_t size, unsigned flags) {
    ++random_requests;
    if ((flags & GRND_NONBLOCK) == 0) {
        ++blocking_requests;
    }
    return syscall(SYS_getrandom, buffer, size, flags);
}

TEST(setting_cache, starts_empty) {
    setting_cache cache;
    EXPECT_EQ(cache.size(), 0U);
    EXPECT_EQ(cache.find_entry(0, false), nullptr);
    EXPECT_EQ(printed(cache), "");
    cache.remove_instance(0);
    EXPECT_EQ(cache.size(), 0U);
}

TEST(setting_cache, creates_an_entry_only_on_request) {
    setting_cache cache;
    EXPECT_EQ(cache.find_entry(5, false), nullptr);
    EXPECT_EQ(cache.size(), 0U);
    auto* e = cache.find_entry(5, true);
    ASSERT_NE(e, nullptr);
    EXPECT_FALSE(e->valid);
    EXPECT_EQ(e->value, "");
    EXPECT_EQ(e->instance, 5U);
    EXPECT_EQ(cache.find_entry(5, false), e);
    EXPECT_EQ(cache.find_entry(5, true), e);
    EXPECT_EQ(cache.size(), 1U);
}

TEST(setting_cache, keeps_the_creation_order) {
    setting_cache cache;
    const std::vector<std::uint32_t> order{9, 2, 0xFFFFFFFF, 0, 7, 0xFFFFFFFE, 1};
    for (const auto instance : order) {
        cache.find_entry(instance, true);
    }
    EXPECT_EQ(instances(cache), order);
}

TEST(setting_cache, keeps_the_order_of_the_other_entries_on_removal) {
    setting_cache cache;
    for (std::uint32_t i = 0; i < 5; ++i) {
        cache.find_entry(i, true);
    }
    cache.remove_instance(2);
    EXPECT_EQ(instances(cache), (std::vector<std::uint32_t>{0, 1, 3, 4}));
    cache.remove_instance(2);
    EXPECT_EQ(cache.size(), 4U);
    cache.find_entry(2, true);
    EXPECT_EQ(instances(cache), (std::vector<std::uint32_t>{0, 1, 3, 4, 2}));
}

TEST(setting_cache, creates_a_removed_entry_again_without_its_value) {
    for (const std::uint32_t others : {0U, 100U}) {
        setting_cache cache;
        for (std::uint32_t i = 1; i <= others; ++i) {
            cache.find_entry(i, true);
        }
        set(cache, 0, "old");
        cache.remove_instance(0);
        auto* e = cache.find_entry(0, true);
        EXPECT_FALSE(e->valid);
        EXPECT_EQ(e->value, "");
    }
}

TEST(setting_cache, behaves_like_a_plain_vector_in_any_order_of_calls) {
    // Small ranges let a cache grow and shrink across the limit between small and large caches.
    std::mt19937 random(7);
    for (const std::uint32_t range : {2U, 6U, 9U, 12U, 40U, 300U}) {
        setting_cache cache;
        plain_cache plain;
        for (int i = 0; i < 4'000; ++i) {
            const auto instance = static_cast<std::uint32_t>(random() % range) * 0x01000193U;
            // Alternate between growing and shrinking.
            const bool grow = random() % 4 != 0 ? i / 200 % 2 == 0 : random() % 2 == 0;
            if (grow) {
                const auto value = std::to_string(i);
                auto* e = cache.find_entry(instance, true);
                auto* other = plain.find_entry(instance, true);
                ASSERT_EQ(e->value, other->value);
                ASSERT_EQ(e->valid, other->valid);
                e->value = other->value = value;
                e->valid = other->valid = i % 3 != 0;
            } else {
                cache.remove_instance(instance);
                plain.remove_instance(instance);
                ASSERT_EQ(cache.find_entry(instance, false), nullptr);
            }
            ASSERT_TRUE(same(cache, plain)) << "range " << range << ", call " << i;
        }
    }
}

TEST(setting_cache, is_a_random_access_range_of_entries) {
    using iterator = setting_cache::iterator;
    using const_iterator = setting_cache::const_iterator;
    static_assert(std::random_access_iterator<iterator>);
    static_assert(std::random_access_iterator<const_iterator>);
    static_assert(std::is_convertible_v<iterator, const_iterator>);
    static_assert(!std::is_convertible_v<const_iterator, iterator>);
    static_assert(std::is_same_v<setting_cache::value_type, dp::setting::cache::entry>);
    static_assert(
        std::is_same_v<std::iter_reference_t<const_iterator>, const setting_cache::entry&>);
    setting_cache cache;
    for (std::uint32_t i = 0; i < 40; ++i) {
        cache.find_entry(i, true);
    }
    for (std::uint32_t i = 5; i < 20; ++i) {
        cache.remove_instance(i);
    }
    EXPECT_EQ(cache.begin()[5].instance, 20U);
    EXPECT_EQ((cache.cbegin() + 4)->instance, 4U);
    EXPECT_EQ(std::next(cache.begin(), 5),
              std::find_if(cache.begin(), cache.end(), [](auto& e) { return e.instance == 20; }));
    EXPECT_LT(cache.begin(), cache.cend());
    EXPECT_GE(cache.cend(), cache.end());
    EXPECT_EQ(cache.rbegin()->instance, 39U);
    EXPECT_EQ(cache.front().instance, 0U);
    EXPECT_EQ(cache.back().instance, 39U);
}

TEST(setting_cache, allows_values_to_be_changed_during_iteration) {
    setting_cache cache;
    for (std::uint32_t i = 0; i < 20; ++i) {
        set(cache, i, "old");
    }
    cache.remove_instance(3);
    for (auto& e : cache) {
        e.value = "new";
        e.valid = e.instance % 2 == 0;
    }
    cache[3].value = "fourth";
    cache.back().value = "last";
    EXPECT_EQ(cache.find_entry(0, false)->value, "new");
    EXPECT_FALSE(cache.find_entry(1, false)->valid);
    EXPECT_EQ(cache.find_entry(4, false)->value, "fourth");
    EXPECT_EQ(cache.find_entry(19, false)->value, "last");
}

TEST(setting_cache, moves_no_entry_when_it_is_read) {
    setting_cache cache;
    for (std::uint32_t i = 0; i < 100; ++i) {
        cache.find_entry(i, true);
    }
    for (std::uint32_t i = 0; i < 40; ++i) {
        cache.remove_instance(i * 2);
    }
    std::vector<const setting_cache::entry*> before;
    for (const std::uint32_t i : instances(cache)) {
        before.push_back(cache.find_entry(i, false));
    }
    ASSERT_EQ(before.size(), 60U);
    printed(cache);
    for (std::size_t i = 0; i < before.size(); ++i) {
        ASSERT_EQ(&cache[i], before[i]);
        ASSERT_EQ(cache.find_entry(before[i]->instance, true), before[i]);
    }
}

TEST(setting_cache, can_be_copied_and_moved) {
    for (const std::uint32_t count : {0U, 3U, 8U, 9U, 200U}) {
        setting_cache original;
        plain_cache plain;
        for (std::uint32_t i = 0; i < count; ++i) {
            set(original, i, std::to_string(i));
            auto* e = plain.find_entry(i, true);
            e->value = std::to_string(i);
            e->valid = true;
        }
        for (std::uint32_t i = 0; i < count; i += 3) {
            original.remove_instance(i);
            plain.remove_instance(i);
        }
        setting_cache copy(original);
        EXPECT_TRUE(same(copy, plain));
        set(copy, 1000, "copy only");
        EXPECT_TRUE(same(original, plain)) << "copies are independent";
        copy = original;
        EXPECT_TRUE(same(copy, plain));
        setting_cache& itself = copy;
        copy = itself;
        EXPECT_TRUE(same(copy, plain));

        setting_cache moved(std::move(copy));
        EXPECT_TRUE(same(moved, plain));
        EXPECT_TRUE(copy.empty()) << "NOLINT(bugprone-use-after-move): it is empty by contract";
        set(copy, 7, "used again");
        EXPECT_EQ(copy.size(), 1U);
        copy = std::move(moved);
        EXPECT_TRUE(same(copy, plain));
        EXPECT_TRUE(moved.empty()) << "NOLINT(bugprone-use-after-move): it is empty by contract";
        copy.remove_instance(1);
        plain.remove_instance(1);
        EXPECT_TRUE(same(copy, plain));
    }
}

TEST(setting_cache, does_not_wait_for_random_bytes) {
    setting_cache cache;
    for (std::uint32_t i = 0; i < 100; ++i) {
        cache.find_entry(i, true);
    }
    EXPECT_GT(random_requests, 0);
    EXPECT_EQ(blocking_requests, 0);
}

TEST(setting_cache, stays_ordered_and_fast_with_100_000_instances_in_any_order) {
    std::vector<std::uint32_t> upwards(many);
    std::iota(upwards.begin(), upwards.end(), 0U);
    std::vector<std::uint32_t> downwards(upwards.rbegin(), upwards.rend());
    std::vector<std::uint32_t> shuffled = upwards;
    std::mt19937 random(11);
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    std::vector<std::uint32_t> far_apart(many);
    for (std::uint32_t i = 0; i < many; ++i) {
        far_apart[i] = i << 12U | i >> 20U;
    }
    std::sort(far_apart.begin(), far_apart.end());
    far_apart.erase(std::unique(far_apart.begin(), far_apart.end()), far_apart.end());
    std::vector<std::uint32_t> top(many);
    std::iota(top.begin(), top.end(), 0xFFFFFFFFU - many + 1);

    const double bound = generous_multiple * test::cost_of_100_000_calls();
    const test::cpu_time used;
    for (const auto& order : {upwards, downwards, shuffled, far_apart, top}) {
        setting_cache cache;
        for (const auto instance : order) {
            cache.find_entry(instance, true)->value = std::to_string(instance);
        }
        ASSERT_EQ(instances(cache), order);
        // Remove every second entry, in random order.
        std::vector<std::uint32_t> removed;
        std::vector<std::uint32_t> kept;
        for (std::size_t i = 0; i < order.size(); ++i) {
            (i % 2 == 0 ? removed : kept).push_back(order[i]);
        }
        std::shuffle(removed.begin(), removed.end(), random);
        for (const auto instance : removed) {
            cache.remove_instance(instance);
        }
        ASSERT_EQ(cache.size(), kept.size());
        ASSERT_EQ(instances(cache), kept);
        for (const auto instance : removed) {
            ASSERT_EQ(cache.find_entry(instance, false), nullptr);
        }
        for (const auto instance : kept) {
            const auto* e = cache.find_entry(instance, false);
            ASSERT_NE(e, nullptr);
            ASSERT_EQ(e->value, std::to_string(instance));
        }
        // Added again, they follow the others.
        std::vector<std::uint32_t> expected = kept;
        expected.insert(expected.end(), removed.begin(), removed.end());
        for (const auto instance : removed) {
            cache.find_entry(instance, true);
        }
        ASSERT_EQ(instances(cache), expected);
        for (const auto instance : expected) {
            cache.remove_instance(instance);
        }
        ASSERT_EQ(cache.size(), 0U);
        ASSERT_EQ(instances(cache), std::vector<std::uint32_t>{});
    }
    EXPECT_LT(used.seconds(), bound);
}

TEST(setting_cache, stays_fast_when_one_instance_is_removed_and_added_repeatedly) {
    setting_cache cache;
    for (std::uint32_t i = 0; i < many; ++i) {
        cache.find_entry(i, true);
    }
    const double bound = generous_multiple * test::cost_of_100_000_calls();
    const test::cpu_time used;
    for (std::uint32_t i = 0; i < many; ++i) {
        cache.remove_instance(many / 2);
        cache.find_entry(many / 2, true)->value = "x";
    }
    EXPECT_LT(used.seconds(), bound);
    EXPECT_EQ(cache.size(), std::size_t{many});
    EXPECT_EQ(instances(cache).back(), many / 2);
}

TEST(setting_cache, stays_fast_as_a_sliding_window_of_instances) {
    setting_cache cache;
    const double bound = generous_multiple * test::cost_of_100_000_calls();
    const test::cpu_time used;
    for (std::uint32_t i = 0; i < many * 3; ++i) {
        cache.find_entry(i, true);
        if (i >= 1000) {
            cache.remove_instance(i - 1000);
        }
    }
    EXPECT_LT(used.seconds(), bound);
    std::vector<std::uint32_t> window(1000);
    std::iota(window.begin(), window.end(), many * 3 - 1000);
    EXPECT_EQ(instances(cache), window);
}

TEST(setting_cache, prints_a_single_value_without_an_instance) {
    setting_cache cache;
    set(cache, 0xFFFFFFFE, "UEFI");
    EXPECT_EQ(printed(cache), "UEFI");
}

TEST(setting_cache, prints_an_empty_value_as_two_quotes) {
    setting_cache cache;
    set(cache, 0xFFFFFFFE, "");
    EXPECT_EQ(printed(cache), "\"\"");
}

TEST(setting_cache, prints_each_instance_on_its_own_line) {
    setting_cache cache;
    set(cache, 2, "two");
    set(cache, 0, "");
    set(cache, 0xFFFFFFFF, "odd");
    set(cache, 0xFFFFFFFE, "single");
    EXPECT_EQ(printed(cache), "\n[2] two\n[0] \"\"\n[4294967295] oddsingle");
}

TEST(setting_cache, prints_nothing_for_invalid_entries) {
    setting_cache cache;
    set(cache, 1, "one");
    set(cache, 2, "two");
    cache.find_entry(1, false)->valid = false;
    cache.find_entry(3, true);
    EXPECT_EQ(printed(cache), "\n[2] two");
    std::ostringstream os;
    os << *cache.find_entry(1, false);
    EXPECT_EQ(os.str(), "");
}

TEST(setting_cache, prints_instances_in_decimal_for_all_stream_flags) {
    setting_cache cache;
    set(cache, 255, "x");
    std::ostringstream os;
    os << std::hex << std::showbase << std::showpos << cache;
    EXPECT_EQ(os.str(), "\n[255] x");
}

TEST(setting_cache, flushes_after_each_newline) {
    setting_cache cache;
    set(cache, 1, "one");
    set(cache, 2, "two");
    set(cache, 0xFFFFFFFE, "single");
    test::counting_buffer buffer;
    std::ostream os(&buffer);
    os << cache;
    EXPECT_EQ(buffer.flushes, 2);
}

TEST(setting_cache, prints_100_000_instances_in_creation_order) {
    setting_cache cache;
    std::string expected;
    for (std::uint32_t i = many; i > 0; --i) {
        set(cache, i, "v" + std::to_string(i));
    }
    for (std::uint32_t i = many; i > 0; --i) {
        if (i % 3 == 0) {
            cache.remove_instance(i);
        } else {
            expected += "\n[" + std::to_string(i) + "] v" + std::to_string(i);
        }
    }
    EXPECT_EQ(printed(cache), expected);
}
