// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace shared {

/// Texts of somebody else's that can't steer the terminal. They may hold anything, also what isn't
/// UTF-8. As control characters count 00-1F, 7F and 80-9F, in UTF-8 or as single bytes, and what
/// turns the direction of writing.

/// The text as one line: each control character is a question mark.
std::string plainText(const std::string& text);
/// The text as one line with nothing lost: each byte of a control character, and each that belongs
/// to no character, is written as `\x1b`.
std::string escapedText(const std::string& text);
/// A JSON text as one line of JSON: each control character is written as `\u001B`, each byte that
/// belongs to no character is U+FFFD. Bad input: a text that isn't JSON is made harmless, too.
std::string plainJson(const std::string& json);

} // namespace shared
