// SPDX-License-Identifier: MIT
// Stands in front of the C library's heap. Blocks are handed on as they are, so that one from
// before or beside this can be freed through it.
#include "support/Memory.h"

#include <malloc.h>

#include <cerrno>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

std::size_t allocations = 0;
std::size_t live = 0;

/// With the word in front of it that the heap keeps for itself.
std::size_t size_of(void* block) { return malloc_usable_size(block) + sizeof(std::size_t); }

void* counted(void* block) {
    if (block == nullptr) return nullptr;
    ++allocations;
    live += size_of(block);
    return block;
}

} // namespace

extern "C" {

void* malloc(std::size_t size) { return counted(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) { return counted(__libc_calloc(count, size)); }
void* realloc(void* block, std::size_t size) {
    const std::size_t before = block != nullptr ? size_of(block) : 0;
    void* const moved = __libc_realloc(block, size);
    if (moved != nullptr || size == 0) live -= before;
    return counted(moved);
}
void* memalign(std::size_t alignment, std::size_t size) {
    return counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}
void free(void* block) {
    if (block == nullptr) return;
    live -= size_of(block);
    __libc_free(block);
}

} // extern "C"

namespace bench {

Memory memory() { return {allocations, live}; }

} // namespace bench
