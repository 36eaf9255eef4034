// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace shared {

struct Color {
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;

    bool operator==(const Color& rhs) const {
        return red == rhs.red && green == rhs.green && blue == rhs.blue;
    }
};

/// Coloured points in lines from the top; point 0, 0 is the left one of the uppermost line.
///
/// What is drawn outside is dropped.
class Picture {
public:
    static constexpr int kLongestSide = 8192;
    /// Points of a letter of the smallest size, the gap to the next one included.
    static constexpr int kLetterWidth = 6;
    static constexpr int kLetterHeight = 8;

    /// A black picture. Bad input: a side below 1 becomes 1, one above the longest becomes that.
    Picture(int width, int height);

    int width() const { return width_; }
    int height() const { return height_; }
    /// Bad input: a point outside is black.
    Color at(int x, int y) const;
    /// The points of a line as red, green, blue, red and so on: three times the width.
    /// @{
    const unsigned char* line(int y) const { return &bytes_[indexOf(0, y)]; }
    unsigned char* line(int y) { return &bytes_[indexOf(0, y)]; }
    /// @}

    void set(int x, int y, Color color);
    void fill(int x, int y, int width, int height, Color color);
    /// One line of capital letters, digits and the signs - : . , / ( ). Small letters are drawn as
    /// capital ones, and whatever else as a box.
    /// @param scale  the side of one point of a letter, 1 for the smallest.
    void write(int x, int y, int scale, std::string_view text, Color color);

private:
    bool contains(int x, int y) const { return x >= 0 && y >= 0 && x < width_ && y < height_; }
    std::size_t indexOf(int x, int y) const {
        return 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
                    static_cast<std::size_t>(x));
    }

    int width_;
    int height_;
    std::vector<unsigned char> bytes_;
};

} // namespace shared
