// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/Export.h"

#include <atomic>
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

/// The same in half the bits, and never 0.
GATECAST_EXPORT std::uint32_t key_hash(std::string_view text) noexcept;

/// Keeps the `key_hash` of the text that it was first asked for: where a text stands in a table
/// must not change, even if somebody changes the text. A copy begins without. Threads: any thread.
class KeyHash {
public:
    KeyHash() noexcept = default;
    KeyHash(const KeyHash&) noexcept {}
    KeyHash& operator=(const KeyHash&) noexcept { return *this; }
    ~KeyHash() = default;

    std::uint32_t of(const char* text) const noexcept {
        std::uint32_t hash = hash_.load(std::memory_order_relaxed);
        if (hash == 0) {
            hash = key_hash(text);
            hash_.store(hash, std::memory_order_relaxed);
        }
        return hash;
    }

private:
    mutable std::atomic<std::uint32_t> hash_{0};
};

} // namespace qx::detail
