// SPDX-License-Identifier: MIT
#include "core/detail/SeededHash.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <random>

namespace qx::detail {

namespace {

std::uint64_t draw() {
    try {
        std::random_device device;
        return (std::uint64_t{device()} << 32) | device();
    } catch (const std::exception&) {
        // Better than none: the moment, and where the process lies in memory.
        static const char place = 0;
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        return static_cast<std::uint64_t>(now) ^ reinterpret_cast<std::uintptr_t>(&place);
    }
}

std::uint64_t rotated(std::uint64_t word, int bits) noexcept {
    return (word << bits) | (word >> (64 - bits));
}

struct State {
    std::uint64_t v0, v1, v2, v3;

    void round() noexcept {
        v0 += v1;
        v1 = rotated(v1, 13) ^ v0;
        v0 = rotated(v0, 32);
        v2 += v3;
        v3 = rotated(v3, 16) ^ v2;
        v0 += v3;
        v3 = rotated(v3, 21) ^ v0;
        v2 += v1;
        v1 = rotated(v1, 17) ^ v2;
        v2 = rotated(v2, 32);
    }
    void take(std::uint64_t word) noexcept {
        v3 ^= word;
        round();
        v0 ^= word;
    }
};

} // namespace

std::uint64_t sip_hash(std::string_view text, HashSeed seed) noexcept {
    State state{seed.low ^ 0x736f6d6570736575u, seed.high ^ 0x646f72616e646f6du,
                seed.low ^ 0x6c7967656e657261u, seed.high ^ 0x7465646279746573u};
    const char* next = text.data();
    for (std::size_t left = text.size() / 8; left > 0; --left, next += 8) {
        std::uint64_t word;
        std::memcpy(&word, next, 8);
        state.take(word);
    }
    std::uint64_t last = 0;
    if (text.size() % 8 != 0) std::memcpy(&last, next, text.size() % 8);
    state.take(last | (std::uint64_t{text.size()} << 56));
    state.v2 ^= 0xff;
    for (int i = 0; i < 3; ++i) {
        state.round();
    }
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

std::size_t seeded_hash(std::string_view text) noexcept {
    static const HashSeed seed{draw(), draw()};
    return static_cast<std::size_t>(sip_hash(text, seed));
}

std::uint32_t key_hash(std::string_view text) noexcept {
    return static_cast<std::uint32_t>(seeded_hash(text)) | 1u << 31;
}

} // namespace qx::detail
