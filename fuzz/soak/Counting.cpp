// SPDX-License-Identifier: MIT
// Counts what passes through operator new: here, and through the dynamic linker in the library.
#include "fuzz/soak/Counting.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <new>
#include <unistd.h>

namespace {

std::atomic<std::uint64_t> taken{0};
std::atomic<std::uint64_t> given{0};

void* take(std::size_t size) {
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    taken.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void give(void* block) noexcept {
    if (block == nullptr) return;
    given.fetch_add(1, std::memory_order_relaxed);
    std::free(block);
}

std::int64_t resident_bytes() {
    long pages = 0;
    long resident = 0;
    std::FILE* file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr) return 0;
    if (std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(file);
    return std::int64_t{resident} * sysconf(_SC_PAGESIZE);
}

} // namespace

void* operator new(std::size_t size) { return take(size); }
void* operator new[](std::size_t size) { return take(size); }
void operator delete(void* block) noexcept { give(block); }
void operator delete[](void* block) noexcept { give(block); }
void operator delete(void* block, std::size_t) noexcept { give(block); }
void operator delete[](void* block, std::size_t) noexcept { give(block); }

namespace soak {

Holdings holdings() {
    Holdings now;
    now.allocations = taken.load();
    now.blocks = static_cast<std::int64_t>(now.allocations - given.load());
    now.bytes = static_cast<std::int64_t>(mallinfo2().uordblks);
    malloc_trim(0); // what the C library keeps for later isn't held by anyone
    now.resident = resident_bytes();
    return now;
}

} // namespace soak
