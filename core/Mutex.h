// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"

#include <mutex>

namespace qx {

/// A recursive lock: the thread that holds it may lock it again. It is unlocked at first.
/// Threads: any thread.
class GATECAST_EXPORT Mutex {
public:
    Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    virtual ~Mutex();

    /// The operations of the standard's lockable types; `try_lock` is false while another thread
    /// holds the lock. Each success wants one `unlock` by the same thread.
    /// @{
    void lock() { mutex_.lock(); }
    bool try_lock() { return mutex_.try_lock(); }
    void unlock() { mutex_.unlock(); }
    /// @}

private:
    std::recursive_mutex mutex_;
};

/// Holds a lock from its construction to its destruction. The mutex must outlive it.
/// Threads: one at a time.
class MutexLocker {
public:
    /// With `lock` false nothing is locked.
    MutexLocker(Mutex& mutex, bool lock) : MutexLocker(&mutex, lock) {}
    /// The same; a null mutex locks nothing.
    MutexLocker(Mutex* mutex, bool lock) : locked_(lock ? mutex : nullptr) {
        if (locked_ != nullptr) locked_->lock();
    }
    MutexLocker(const MutexLocker&) = delete;
    MutexLocker& operator=(const MutexLocker&) = delete;
    ~MutexLocker() {
        if (locked_ != nullptr) locked_->unlock();
    }

private:
    Mutex* locked_;
};

} // namespace qx
