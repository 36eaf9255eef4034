// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

namespace shared {

constexpr int kLetterColumns = 5;
constexpr int kLetterRows = 7;

/// How a character looks: rows from the top, and in each of them the leftmost point is bit 4.
struct Letter {
    char character;
    std::array<unsigned char, kLetterRows> rows;

    bool isSet(int column, int row) const {
        const unsigned int bits = rows[static_cast<std::size_t>(row)];
        return (bits >> (kLetterColumns - 1 - column) & 1U) != 0;
    }
};

/// The letter of a character; small letters look like capital ones. Bad input: a character that
/// has none gives a box.
const Letter& letterFor(char character);

} // namespace shared
