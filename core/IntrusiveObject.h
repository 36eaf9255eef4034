// SPDX-License-Identifier: MIT
#pragma once

#include "core/detail/SmallBlocks.h"

#include <atomic>
#include <cstdint>

#if defined(__has_include)
#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define GATECAST_KNOWS_SINGLE_THREADS 1
#endif
#endif

namespace qx {

namespace detail {

/// Whether the process has had one thread only, so that counting needs no atomic operations.
inline bool is_single_threaded() noexcept {
#if defined(GATECAST_KNOWS_SINGLE_THREADS)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

} // namespace detail

/// A reference count to inherit from, for `boost::intrusive_ptr`.
///
/// A new object has count 0, and nothing holds a count for its creator: hand it to a
/// `boost::intrusive_ptr` at once. Copying or assigning an object never touches the count. A small
/// one lies in memory that its thread keeps; see `qx::keepMemory`. A class with another base that
/// has a `new` of its own says by `using` which of them it takes.
/// Threads: any thread may count; the object itself has its own rules.
class IntrusiveObject : public detail::SmallObject {
public:
    IntrusiveObject() noexcept = default;
    /// A copy begins with a count of its own, 0.
    IntrusiveObject(const IntrusiveObject&) noexcept {}
    /// Leaves the count as it is.
    IntrusiveObject& operator=(const IntrusiveObject&) noexcept { return *this; }
    ~IntrusiveObject() = default;

    /// Counts one more holder.
    [[gnu::always_inline]] void intrusive_add_ref() noexcept {
        if (detail::is_single_threaded()) {
            count_.store(count_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        } else {
            count_.fetch_add(1, std::memory_order_relaxed);
        }
    }

    /// True exactly when the count reached 0; the caller then destroys the object.
    [[gnu::always_inline]] bool intrusive_release() noexcept {
        if (detail::is_single_threaded()) {
            const std::uint32_t left = count_.load(std::memory_order_relaxed) - 1;
            count_.store(left, std::memory_order_relaxed);
            return left == 0;
        }
        return count_.fetch_sub(1, std::memory_order_acq_rel) == 1;
    }

    /// How many hold the object now; on another thread's account it may be old when it is read.
    unsigned int use_count() noexcept { return count_.load(std::memory_order_acquire); }

private:
    std::atomic<std::uint32_t> count_{0};
};

/// Join `boost::intrusive_ptr` to every class that inherits `IntrusiveObject`. The last pointer
/// deletes through the type that it was declared with.
/// @{
template <typename T>
void intrusive_ptr_add_ref(T* object) noexcept {
    object->intrusive_add_ref();
}
template <typename T>
void intrusive_ptr_release(T* object) {
    if (object->intrusive_release()) delete object;
}
/// @}

} // namespace qx
