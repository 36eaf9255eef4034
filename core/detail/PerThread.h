// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/detail/NeverDestroyed.h"

#include <atomic>
#include <utility>

namespace qx::detail {

/// One object of a kind for each thread, made by `make` at the thread's first use of it. That of
/// the first thread to ask is never destroyed, so that static objects may use it to the last; the
/// others go with their threads. Each kind has a `make` of a type of its own.
template <typename T, typename Make>
T& per_thread(Make make) {
    static std::atomic<bool> taken{false};
    static thread_local const bool first = !taken.exchange(true);
    if (first) {
        static NeverDestroyed<T> object(make());
        return *object;
    }
    static thread_local T* own = nullptr; // stays readable while the thread ends
    struct Ending {
        ~Ending() { delete std::exchange(own, nullptr); }
    };
    if (own == nullptr) {
        own = new T(make());
        static thread_local const Ending ending;
        static_cast<void>(ending);
    }
    return *own;
}

} // namespace qx::detail
