// Compares a setting's cache with a std::map and, for a few instances, with a std::vector of the
// same values. Unlike the cache, the map does not keep the order in which instances were created.

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bench/support/side_by_side.hpp"
#include "settings/setting.hpp"

namespace {

const std::string value = "Enabled";

// The operations of each contender are function calls, as they are across a library's interface.

struct map_cache {
    using entries = std::map<std::uint32_t, std::pair<bool, std::string>>;
    entries values;

    [[gnu::noinline]] void set(std::uint32_t instance) { values[instance] = {true, value}; }
    [[gnu::noinline]] const std::string& find(std::uint32_t instance) {
        return values.find(instance)->second.second;
    }
    [[gnu::noinline]] void remove(std::uint32_t instance) { values.erase(instance); }
    [[nodiscard]] std::size_t size() const { return values.size(); }
};

struct vector_cache {
    struct entry {
        std::uint32_t instance;
        bool valid;
        std::string value;
    };
    std::vector<entry> values;

    auto at(std::uint32_t instance) {
        return std::find_if(values.begin(), values.end(),
                            [=](const entry& e) { return e.instance == instance; });
    }
    [[gnu::noinline]] void set(std::uint32_t instance) {
        if (const auto found = at(instance); found != values.end()) {
            found->value = value;
            found->valid = true;
        } else {
            values.push_back({instance, true, value});
        }
    }
    [[gnu::noinline]] const std::string& find(std::uint32_t instance) {
        return at(instance)->value;
    }
    [[gnu::noinline]] void remove(std::uint32_t instance) { values.erase(at(instance)); }
    [[nodiscard]] std::size_t size() const { return values.size(); }
};

struct our_cache {
    class dp::setting::cache values;

    void set(std::uint32_t instance) {
        dp::setting::cache::entry* const entry = values.find_entry(instance, true);
        entry->value = value;
        entry->valid = true;
    }
    const std::string& find(std::uint32_t instance) {
        return values.find_entry(instance, false)->value;
    }
    void remove(std::uint32_t instance) { values.remove_instance(instance); }
    [[nodiscard]] std::size_t size() const { return values.size(); }
};

// Leaves the cache empty and keeps it, because a setting exists as long as its service.
template <class Cache>
std::size_t use(Cache& cache, std::uint32_t count) {
    std::size_t length = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        cache.set(i);
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        length += cache.find(i).size();
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        cache.remove(i);
    }
    return length + cache.size();
}

void compare(std::uint32_t count) {
    map_cache map;
    vector_cache vector;
    our_cache ours;
    bench::require(use(ours, count) == use(map, count), "setting_cache and std::map");
    bench::side_by_side contest("set, find and remove " + std::to_string(count) + " instances",
                                "instance", count);
    contest.add("std::map", [&, count] { bench::keep(use(map, count)); });
    if (count <= 16) {
        bench::require(use(ours, count) == use(vector, count), "setting_cache and std::vector");
        contest.add("std::vector", [&, count] { bench::keep(use(vector, count)); });
    }
    contest.add("setting_cache", [&, count] { bench::keep(use(ours, count)); });
    contest.run();
}

std::size_t heap_in_use() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void print_memory(std::uint32_t count) {
    const std::size_t before = heap_in_use();
    class dp::setting::cache cache;
    for (std::uint32_t i = 0; i < count; ++i) {
        cache.find_entry(i, true)->value = value;
    }
    const std::size_t ours = heap_in_use() - before;
    map_cache values;
    for (std::uint32_t i = 0; i < count; ++i) {
        values.set(i);
    }
    const std::size_t theirs = heap_in_use() - before - ours;
    std::printf("memory for each of %u instances: setting_cache %.1f bytes, std::map %.1f bytes\n",
                count, static_cast<double>(ours) / count, static_cast<double>(theirs) / count);
}

}  // namespace

int main() {
    std::printf("one instance takes %zu bytes; up to eight have a capacity of 1, 2, 4 or 8\n",
                sizeof(dp::setting::cache::entry));
    print_memory(100'000);
    for (const std::uint32_t count : {1U, 4U, 8U, 16U, 1000U, 100'000U}) {
        compare(count);
    }
    return 0;
}
