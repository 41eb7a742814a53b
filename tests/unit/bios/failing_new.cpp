#include "tests/unit/bios/failing_new.hpp"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool armed = false;
thread_local int successes_left = 0;
thread_local bool lasts = false;
thread_local bool reached = false;

}  // namespace

namespace test {

failing_new::failing_new(int successes, bool lasting) {
    successes_left = successes;
    lasts = lasting;
    reached = false;
    armed = true;
}

failing_new::~failing_new() {
    armed = false;
}

bool failing_new::failed() {
    return reached;
}

spared_new::spared_new() : armed_(armed) {
    armed = false;
}

spared_new::~spared_new() {
    armed = armed_;
}

}  // namespace test

// Replaces every form of operator new and delete that the program uses.
void* operator new(std::size_t size) {
    if (armed && successes_left-- <= 0) {
        armed = lasts;
        reached = true;
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& unused) noexcept {
    return operator new(size, unused);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
