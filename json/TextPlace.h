// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace json {

/// A place in a text that may have come in pieces. Lines end with a line feed.
/// Threads: one at a time.
struct TextPlace {
    std::size_t offset = 0; ///< bytes in front of it, over all pieces
    std::size_t line = 0;   ///< from 1 on; 0 for no place
    std::size_t column = 0; ///< from 1 on, counted in bytes
};

} // namespace json
