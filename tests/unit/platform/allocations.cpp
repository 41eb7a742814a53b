#include "tests/unit/platform/allocations.hpp"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace test {
namespace {

constexpr auto no_limit = static_cast<std::size_t>(-1);
// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): shared with the operators below.
std::size_t largest_allowed = no_limit;
std::size_t largest_seen = 0;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

}  // namespace

allocation_watch::allocation_watch(std::size_t limit) {
    largest_allowed = limit;
    largest_seen = 0;
}

allocation_watch::~allocation_watch() {
    largest_allowed = no_limit;
}

std::size_t allocation_watch::largest() {
    return largest_seen;
}

}  // namespace test

// Also used by the shared libraries of the program.
// NOLINTBEGIN(cppcoreguidelines-no-malloc): implements operator new.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    test::largest_seen = std::max(test::largest_seen, size);
    return size <= test::largest_allowed ? std::malloc(std::max<std::size_t>(size, 1)) : nullptr;
}

void* operator new(std::size_t size) {
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc)
