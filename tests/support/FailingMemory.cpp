// SPDX-License-Identifier: MIT
#include "support/FailingMemory.h"

#include <cstdlib>

namespace test {

std::size_t allocations_left = kUnlimited;
std::ptrdiff_t allocations_held = 0;

namespace {

void* allocate(std::size_t size) {
    if (allocations_left == 0) throw std::bad_alloc();
    if (allocations_left != kUnlimited) --allocations_left;
    void* memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    ++allocations_held;
    return memory;
}

void release(void* memory) noexcept {
    if (memory == nullptr) return;
    --allocations_held;
    std::free(memory);
}

} // namespace

} // namespace test

void* operator new(std::size_t size) { return test::allocate(size); }
void* operator new[](std::size_t size) { return test::allocate(size); }
void operator delete(void* memory) noexcept { test::release(memory); }
void operator delete[](void* memory) noexcept { test::release(memory); }
void operator delete(void* memory, std::size_t) noexcept { test::release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { test::release(memory); }
