// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <new>

namespace test {

constexpr std::size_t kUnlimited = static_cast<std::size_t>(-1);

/// How often `new` still works before it throws. FailingMemory.cpp replaces it, for the whole
/// program; one thread only.
extern std::size_t allocations_left;
/// Blocks that were allocated and not freed.
extern std::ptrdiff_t allocations_held;
/// What was asked for with them.
extern std::size_t bytes_held;

/// While it lives, `new` works so many times and then throws.
struct AllocationLimit {
    explicit AllocationLimit(std::size_t count) { allocations_left = count; }
    ~AllocationLimit() { allocations_left = kUnlimited; }
    AllocationLimit(const AllocationLimit&) = delete;
    AllocationLimit& operator=(const AllocationLimit&) = delete;
};

/// Runs `call` with every number of allocations until it gets through; returns how often it failed.
template <typename Call>
int fail_at_every_allocation(Call call) {
    for (std::size_t count = 0;; ++count) {
        try {
            const AllocationLimit limit(count);
            call();
            return static_cast<int>(count);
        } catch (const std::bad_alloc&) {
        }
    }
}

} // namespace test
