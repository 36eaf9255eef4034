// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace soak {

/// What the process holds now.
struct Holdings {
    std::int64_t blocks = 0;       ///< got from operator new and not given back
    std::int64_t bytes = 0;        ///< of the heap, whoever took them
    std::int64_t resident = 0;     ///< bytes of memory that the system has given
    std::uint64_t allocations = 0; ///< by operator new, since the start
};

Holdings holdings();

} // namespace soak
