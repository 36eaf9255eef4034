// SPDX-License-Identifier: MIT
// Internal: may change at any time. Installed because core/IntrusiveObject.h needs it.
#pragma once

#include "core/Export.h"

#include <cstddef>
#include <new>

namespace qx::detail {

/// Memory for one small object, one of those that this thread gave back if there is any; see
/// `qx::keepMemory`. What is larger comes from the heap. Throws `std::bad_alloc`.
GATECAST_EXPORT void* take_block(std::size_t size);
/// Gives it back, on whatever thread; `size` is what was asked for.
GATECAST_EXPORT void give_block(void* block, std::size_t size) noexcept;

/// To inherit: `new` and `delete` of the class take and give such blocks. A tree is thousands of
/// small objects of few sizes that come and go together: so they cost a few instructions each.
class SmallObject {
public:
    static void* operator new(std::size_t size) { return take_block(size); }
    static void operator delete(void* block, std::size_t size) noexcept { give_block(block, size); }

    // What a class with a `new` of its own would hide.
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void*, void*) noexcept {}
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
        try {
            return take_block(size);
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }
    static void operator delete(void* block, const std::nothrow_t&) noexcept {
        ::operator delete(block);
    }
    static void* operator new(std::size_t size, std::align_val_t alignment) {
        return ::operator new(size, alignment);
    }
    static void operator delete(void* block, std::align_val_t alignment) noexcept {
        ::operator delete(block, alignment);
    }

protected:
    ~SmallObject() = default;
};

} // namespace qx::detail
