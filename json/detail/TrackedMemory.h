// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/detail/SmallBlocks.h"

#include <cstddef>
#include <cstring>
#include <new>

namespace json::detail {

/// The memory of one handle of a C library that never looks at what its allocator answers: a
/// request that can't be met throws `std::bad_alloc` through the library's frames. What the library
/// then no longer knows of is freed with all the rest.
class TrackedMemory {
public:
    TrackedMemory() = default;
    TrackedMemory(const TrackedMemory&) = delete;
    TrackedMemory& operator=(const TrackedMemory&) = delete;
    ~TrackedMemory() { freeAll(); }

    void freeAll() noexcept {
        while (first_ != nullptr) {
            free(first_ + 1);
        }
    }

    /// The library's allocation functions; the context is the memory.
    /// @{
    static void* allocate(void* context, std::size_t size) {
        return static_cast<TrackedMemory*>(context)->allocate(size);
    }
    /// Doubles the room at least: the tokenizer asks for a few bytes more with each level of depth.
    static void* reallocate(void* context, void* block, std::size_t size) {
        auto* self = static_cast<TrackedMemory*>(context);
        if (block == nullptr) return self->allocate(size);
        const std::size_t room = header_of(block)->room;
        if (size <= room) return block;
        void* moved = self->allocate(size / 2 < room ? 2 * room : size);
        std::memcpy(moved, block, room);
        self->free(block);
        return moved;
    }
    static void free(void* context, void* block) {
        static_cast<TrackedMemory*>(context)->free(block);
    }
    /// @}

private:
    struct alignas(std::max_align_t) Header {
        Header* previous;
        Header* next;
        std::size_t room; // in bytes
    };

    static Header* header_of(void* block) noexcept { return static_cast<Header*>(block) - 1; }

    void* allocate(std::size_t size) {
        if (size > static_cast<std::size_t>(-1) - 2 * sizeof(Header)) throw std::bad_alloc();
        size = (size + sizeof(void*) - 1) / sizeof(void*) * sizeof(void*); // what a thread keeps
        auto* header = static_cast<Header*>(qx::detail::take_block(sizeof(Header) + size));
        header->previous = nullptr;
        header->next = first_;
        header->room = size;
        if (first_ != nullptr) first_->previous = header;
        first_ = header;
        return header + 1;
    }

    void free(void* block) noexcept {
        if (block == nullptr) return;
        Header* header = header_of(block);
        (header->previous != nullptr ? header->previous->next : first_) = header->next;
        if (header->next != nullptr) header->next->previous = header->previous;
        qx::detail::give_block(header, sizeof(Header) + header->room);
    }

    Header* first_ = nullptr;
};

} // namespace json::detail
