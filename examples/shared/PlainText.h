// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace shared {

/// A text of somebody else's as one line that can't steer the terminal: each control character is
/// a question mark. It may hold anything, also what isn't UTF-8.
std::string plainText(const std::string& text);

} // namespace shared
