// SPDX-License-Identifier: MIT
#pragma once

#include "shared/Picture.h"

#include <optional>
#include <string>
#include <string_view>

namespace shared {

/// The picture as a whole JPEG file, colours in full so that small letters stay readable.
/// @param comment  goes into the file, cut to 60,000 bytes.
/// Bad input: when memory runs out the text is empty.
std::string jpegOf(const Picture& picture, std::string_view comment);

/// What a JPEG file holds.
struct JpegContent {
    std::optional<Picture> picture; ///< missing when the bytes are no whole picture
    std::string comment;            ///< the first one, empty when there is none
    std::string fault;              ///< why there is no picture, for a person
};

/// Reads a JPEG file to its end.
/// Bad input: bytes that are no JPEG file, one that is cut off or damaged, and one with a side
/// above `Picture::kLongestSide` give a fault.
JpegContent readJpeg(std::string_view bytes);

} // namespace shared
