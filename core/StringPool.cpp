// SPDX-License-Identifier: MIT
#include "core/StringPool.h"

#include "core/detail/NeverDestroyed.h"

#include <cstdint>

namespace qx {

namespace {

constexpr int kHashedCharacters = 12;

// How the lead byte decides:
//
//   lead byte      bytes  bits taken from it
//   00 .. 7F       1      7
//   80 .. BF       0      the character "?", and the text doesn't advance
//   C0 .. DF       2      5
//   E0 .. EF       3      4
//   F0 .. F7       4      3
//   F8 .. FB       5      2
//   FC .. FD       6      1
//   FE             7      0
//   FF             8      0
//
// Each further byte adds 6 bits; the value is cut to 16.
struct Lead {
    int further;
    std::uint32_t bits;
};

Lead lead_of(unsigned char byte) noexcept {
    if (byte < 0xE0) return {1, byte & 0x1Fu};
    if (byte < 0xF0) return {2, byte & 0x0Fu};
    if (byte < 0xF8) return {3, byte & 0x07u};
    if (byte < 0xFC) return {4, byte & 0x03u};
    if (byte < 0xFE) return {5, byte & 0x01u};
    return {byte == 0xFE ? 6 : 7, 0};
}

/// Reads characters from a text that ends at its NUL, and nothing behind that.
class Decoder {
public:
    explicit Decoder(const char* text) noexcept : next_(text) {}

    /// The next character, 0 at the end of the text.
    std::uint16_t next() noexcept {
        const unsigned char byte = peek();
        // Intended: a stray byte isn't passed by; it counts again for each character that is left.
        // Held by StringHash.IsTheSameForEveryFormOfAText.
        if (byte >= 0x80 && byte < 0xC0) return '?';
        if (byte != 0) ++next_;
        if (byte < 0xC0) return byte;
        const Lead lead = lead_of(byte);
        std::uint32_t value = lead.bits;
        for (int i = 0; i < lead.further; ++i) {
            const unsigned char further = peek();
            if (further != 0) ++next_;
            value = (value << 6) | (further & 0x3Fu); // cut off by the end: bits of 0
        }
        return static_cast<std::uint16_t>(value);
    }

private:
    unsigned char peek() const noexcept { return static_cast<unsigned char>(*next_); }

    const char* next_;
};

} // namespace

std::size_t hash_of_text(const char* text) noexcept {
    Decoder decoder(text != nullptr ? text : "");
    std::uint64_t seed = 0;
    for (int i = 0; i < kHashedCharacters; ++i) {
        const std::uint64_t character = decoder.next();
        if (character == 0) break;
        seed ^= character + 0x9e3779b9u + (seed << 6) + (seed >> 2);
    }
    return seed;
}

StringPool<IntrusiveString, boost::intrusive_ptr<IntrusiveString>>& global_string_pool() {
    static detail::NeverDestroyed<
        StringPool<IntrusiveString, boost::intrusive_ptr<IntrusiveString>>>
        pool;
    return *pool;
}

} // namespace qx
