// SPDX-License-Identifier: MIT
#include "shared/Picture.h"

#include "shared/Letters.h"

#include <algorithm>

namespace shared {

static_assert(kLetterColumns < Picture::kLetterWidth && kLetterRows < Picture::kLetterHeight,
              "neighbours don't touch");

Picture::Picture(int width, int height)
    : width_(std::clamp(width, 1, kLongestSide)), height_(std::clamp(height, 1, kLongestSide)),
      bytes_(indexOf(0, height_)) {}

Color Picture::at(int x, int y) const {
    if (!contains(x, y)) return Color{};
    const std::size_t i = indexOf(x, y);
    return Color{bytes_[i], bytes_[i + 1], bytes_[i + 2]};
}

void Picture::set(int x, int y, Color color) {
    if (!contains(x, y)) return;
    const std::size_t i = indexOf(x, y);
    bytes_[i] = color.red;
    bytes_[i + 1] = color.green;
    bytes_[i + 2] = color.blue;
}

void Picture::fill(int x, int y, int width, int height, Color color) {
    for (int row = std::max(y, 0); row < std::min(y + height, height_); ++row) {
        for (int column = std::max(x, 0); column < std::min(x + width, width_); ++column) {
            set(column, row, color);
        }
    }
}

void Picture::write(int x, int y, int scale, std::string_view text, Color color) {
    for (const char c : text) {
        if (x >= width_) return;
        const Letter& letter = letterFor(c);
        for (int row = 0; row < kLetterRows; ++row) {
            for (int column = 0; column < kLetterColumns; ++column) {
                if (!letter.isSet(column, row)) continue;
                fill(x + column * scale, y + row * scale, scale, scale, color);
            }
        }
        x += kLetterWidth * scale;
    }
}

} // namespace shared
