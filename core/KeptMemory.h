// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"

#include <cstddef>

namespace qx {

/// How many bytes of small objects (texts, lists, objects, their entries, and whatever else derives
/// from `qx::IntrusiveObject`) a thread keeps, once it has destroyed them, for the next ones that
/// it makes: a parse or a call then asks the heap for little. What is beyond goes back to the heap
/// at once, and all of it when the thread ends.
///
/// 2 MiB unless it is said here; 0 keeps nothing, which is what a memory checker wants: in kept
/// memory it doesn't see a use after the end. A library that is built with the sanitizer for
/// addresses, threads or uninitialized memory keeps nothing by itself.
/// Threads: any thread; each goes by it from the next object on that it destroys. What it has kept
/// by then stays until it is used or released.
GATECAST_EXPORT void keepMemory(std::size_t bytes) noexcept;

/// How much the calling thread keeps now, in bytes.
/// Threads: any thread.
GATECAST_EXPORT std::size_t keptMemory() noexcept;

/// Gives what the calling thread keeps back to the heap, such as after a large document.
/// Threads: any thread.
GATECAST_EXPORT void releaseKeptMemory() noexcept;

} // namespace qx
