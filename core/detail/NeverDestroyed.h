// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include <new>
#include <type_traits>
#include <utility>

namespace qx::detail {

/// Holds a static that others may touch until the last static object of the process is gone:
/// it is built when its function is first called and its destructor never runs.
template <typename T>
class NeverDestroyed {
public:
    template <typename... Args>
    explicit NeverDestroyed(Args&&... args) {
        ::new (static_cast<void*>(&storage_)) T(std::forward<Args>(args)...);
    }
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    T& operator*() { return *std::launder(reinterpret_cast<T*>(&storage_)); }
    const T& operator*() const { return *std::launder(reinterpret_cast<const T*>(&storage_)); }
    T* operator->() { return &**this; }
    const T* operator->() const { return &**this; }

private:
    std::aligned_storage_t<sizeof(T), alignof(T)> storage_;
};

} // namespace qx::detail
