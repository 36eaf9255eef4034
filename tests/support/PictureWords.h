// SPDX-License-Identifier: MIT
#pragma once

#include "shared/Picture.h"

#include <string>

namespace test {

/// Whether the words stand in the picture, in bright letters on a dark ground.
inline bool shows(const shared::Picture& picture, int x, int y, int scale,
                  const std::string& words) {
    using shared::Picture;
    const int columns = Picture::kLetterWidth * static_cast<int>(words.size());
    Picture wanted(columns, Picture::kLetterHeight);
    wanted.write(0, 0, 1, words, shared::Color{255, 255, 255});
    for (int row = 0; row < Picture::kLetterHeight; ++row) {
        for (int column = 0; column < columns; ++column) {
            const shared::Color found =
                picture.at(x + column * scale + scale / 2, y + row * scale + scale / 2);
            if ((found.green >= 128) != (wanted.at(column, row).green >= 128)) return false;
        }
    }
    return true;
}

} // namespace test
