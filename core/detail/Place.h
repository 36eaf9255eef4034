// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include <new>
#include <utility>

namespace qx::detail {

/// Room for a shared constant. References can be bound to `content` before any code runs; an object
/// with an init_priority builds it, before the static objects of an application, also when the
/// library is linked statically. It is never destroyed.
template <typename T>
union Place {
    constexpr Place() : nothing() {}
    ~Place() {}

    template <typename... Args>
    void build(Args&&... args) {
        ::new (const_cast<void*>(static_cast<const void*>(&content)))
            T(std::forward<Args>(args)...);
    }

    char nothing;
    T content;
};

} // namespace qx::detail
