// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/Export.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qx::detail {

/// What a hash is keyed by.
struct HashSeed {
    std::uint64_t low = 0;
    std::uint64_t high = 0;
};

/// SipHash-1-3 of all of the text.
GATECAST_EXPORT std::uint64_t sip_hash(std::string_view text, HashSeed seed) noexcept;

/// The same under a seed that each process draws for itself: a peer who chooses the keys can't
/// choose where they are placed.
GATECAST_EXPORT std::size_t seeded_hash(std::string_view text) noexcept;

} // namespace qx::detail
