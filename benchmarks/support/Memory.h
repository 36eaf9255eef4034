// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace bench {

/// What a program that links `Memory.cpp` has taken from the C library's heap, whoever asked:
/// `operator new`, `malloc`, libraries. Threads: one at a time.
struct Memory {
    std::size_t allocations; ///< ever made; a block that is moved to grow counts once more
    std::size_t liveBytes;   ///< held now, as the heap rounds them, and its own word for each
};
Memory memory();

} // namespace bench
