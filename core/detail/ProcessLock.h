// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/IntrusiveObject.h"

namespace qx::detail {

/// Holds a lock of something that the whole process shares; a process that has only ever had one
/// thread doesn't pay for it.
template <typename Lockable>
class ProcessLock {
public:
    explicit ProcessLock(Lockable& lockable) : locked_(is_single_threaded() ? nullptr : &lockable) {
        if (locked_ != nullptr) locked_->lock();
    }
    ProcessLock(const ProcessLock&) = delete;
    ProcessLock& operator=(const ProcessLock&) = delete;
    ~ProcessLock() {
        if (locked_ != nullptr) locked_->unlock();
    }

private:
    Lockable* const locked_; // decided once: the process may get a second thread meanwhile
};

} // namespace qx::detail
