// SPDX-License-Identifier: MIT
#include "support/FailingMemory.h"

#include "core/KeptMemory.h"

#include <cstdlib>

namespace test {

std::size_t allocations_left = kUnlimited;
std::ptrdiff_t allocations_held = 0;
std::size_t bytes_held = 0;

namespace {

// Each block is to be asked for here, and not taken from those that an earlier test gave back.
[[maybe_unused]] const bool keeps_nothing = (qx::keepMemory(0), true);

/// Stands in front of each block.
struct alignas(std::max_align_t) Header {
    std::size_t size;
};

void* allocate(std::size_t size) {
    if (allocations_left == 0) throw std::bad_alloc();
    if (allocations_left != kUnlimited) --allocations_left;
    auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
    if (header == nullptr) throw std::bad_alloc();
    header->size = size;
    ++allocations_held;
    bytes_held += size;
    return header + 1;
}

void release(void* memory) noexcept {
    if (memory == nullptr) return;
    Header* header = static_cast<Header*>(memory) - 1;
    --allocations_held;
    bytes_held -= header->size;
    std::free(header);
}

} // namespace

} // namespace test

void* operator new(std::size_t size) { return test::allocate(size); }
void* operator new[](std::size_t size) { return test::allocate(size); }
void operator delete(void* memory) noexcept { test::release(memory); }
void operator delete[](void* memory) noexcept { test::release(memory); }
void operator delete(void* memory, std::size_t) noexcept { test::release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { test::release(memory); }
