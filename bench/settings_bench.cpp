// A setting's instances beside a std::map, and for a few instances a std::vector, that keep the
// same values. The map does not keep the order in which instances came; ours does.

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "settings/setting_cache.hpp"
#include "support/side_by_side.hpp"

namespace {

const std::string value = "Enabled";

std::size_t use_cache(std::uint32_t count) {
    dp::setting_cache cache;
    std::size_t length = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        auto* entry = cache.find_entry(i, true);
        entry->value = value;
        entry->valid = true;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        length += cache.find_entry(i, false)->value.size();
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        cache.remove_instance(i);
    }
    return length + cache.size();
}

std::size_t use_map(std::uint32_t count) {
    std::map<std::uint32_t, std::pair<bool, std::string>> values;
    std::size_t length = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        values[i] = {true, value};
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        length += values.find(i)->second.second.size();
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        values.erase(i);
    }
    return length + values.size();
}

struct plain_entry {
    std::uint32_t instance;
    bool valid;
    std::string value;
};

std::size_t use_vector(std::uint32_t count) {
    std::vector<plain_entry> values;
    std::size_t length = 0;
    const auto find = [&](std::uint32_t instance) {
        return std::find_if(values.begin(), values.end(),
                            [=](const plain_entry& e) { return e.instance == instance; });
    };
    for (std::uint32_t i = 0; i < count; ++i) {
        if (find(i) == values.end()) {
            values.push_back({i, true, value});
        }
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        length += find(i)->value.size();
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        values.erase(find(i));
    }
    return length + values.size();
}

void compare(std::uint32_t count) {
    bench::require(use_cache(count) == use_map(count), "setting_cache and std::map");
    bench::side_by_side contest("set, find and remove " + std::to_string(count) + " instances",
                                "instance", count);
    contest.add("std::map", [=] { bench::keep(use_map(count)); });
    if (count <= 16) {
        bench::require(use_cache(count) == use_vector(count), "setting_cache and std::vector");
        contest.add("std::vector", [=] { bench::keep(use_vector(count)); });
    }
    contest.add("setting_cache", [=] { bench::keep(use_cache(count)); });
    contest.run();
}

std::size_t heap_in_use() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void print_memory(std::uint32_t count) {
    const std::size_t before = heap_in_use();
    dp::setting_cache cache;
    for (std::uint32_t i = 0; i < count; ++i) {
        cache.find_entry(i, true)->value = value;
    }
    const std::size_t ours = heap_in_use() - before;
    std::map<std::uint32_t, std::pair<bool, std::string>> values;
    for (std::uint32_t i = 0; i < count; ++i) {
        values[i] = {true, value};
    }
    const std::size_t theirs = heap_in_use() - before - ours;
    std::printf("memory for each of %u instances: setting_cache %.1f bytes, std::map %.1f bytes\n",
                count, static_cast<double>(ours) / count, static_cast<double>(theirs) / count);
}

}  // namespace

int main() {
    std::printf("room for one instance: %zu bytes; for up to eight there are 1, 2, 4 or 8\n",
                sizeof(dp::setting_cache::entry));
    print_memory(100'000);
    for (const std::uint32_t count : {1U, 4U, 8U, 16U, 1000U, 100'000U}) {
        compare(count);
    }
    return 0;
}
