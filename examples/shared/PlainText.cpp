// SPDX-License-Identifier: MIT
#include "shared/PlainText.h"

#include <cstddef>
#include <cstdio>

namespace shared {

namespace {

constexpr char32_t kNoCharacter = 0xFFFFFFFF;

/// What stands at a place of a text: a character of UTF-8, or a byte that belongs to none.
struct Place {
    std::size_t size;
    char32_t character;
};

Place place_at(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(at);
    if (first < 0x80) return {1, first};
    const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || at + size > text.size()) return {1, kNoCharacter};
    char32_t character = first & (0xFFU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(at + i) & 0xC0U) != 0x80) return {1, kNoCharacter};
        character = character << 6 | (byte(at + i) & 0x3FU);
    }
    const bool overlong = (size == 3 && character < 0x800) || (size == 4 && character < 0x10000);
    const bool none = (character >= 0xD800 && character < 0xE000) || character > 0x10FFFF;
    return overlong || none ? Place{1, kNoCharacter} : Place{size, character};
}

bool is_control(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x61C || (c >= 0x200E && c <= 0x200F) ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

/// Copies the text; `replaced` gives what stands for a control character or a stray byte.
template <typename Replaced>
std::string copy_of(const std::string& text, Replaced replaced) {
    std::string copy;
    copy.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const Place place = place_at(text, at);
        const std::string bytes = text.substr(at, place.size);
        const bool good = place.character != kNoCharacter && !is_control(place.character);
        copy += good ? bytes : replaced(place.character, bytes);
        at += place.size;
    }
    return copy;
}

std::string formatted(const char* format, unsigned int number) {
    char text[16];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

} // namespace

std::string plainText(const std::string& text) {
    return copy_of(text, [](char32_t character, const std::string& bytes) {
        const auto byte = static_cast<unsigned char>(bytes[0]);
        return character == kNoCharacter && byte >= 0xA0 ? bytes : std::string("?");
    });
}

std::string escapedText(const std::string& text) {
    return copy_of(text, [](char32_t, const std::string& bytes) {
        std::string escaped;
        for (const char byte : bytes) {
            escaped += formatted("\\x%02x", static_cast<unsigned char>(byte));
        }
        return escaped;
    });
}

std::string plainJson(const std::string& json) {
    return copy_of(json, [](char32_t character, const std::string&) {
        return character == kNoCharacter ? "\xEF\xBF\xBD" : formatted("\\u%04X", character);
    });
}

} // namespace shared
