// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

namespace json::detail {

/// The order of texts everywhere in the value model: up to the first NUL, bytes as signed numbers.
/// The result is the difference of the first bytes that differ, so text beyond ASCII comes first.
inline int compare_texts(const char* left, const char* right) {
    while (*left != '\0' && *left == *right) {
        ++left;
        ++right;
    }
    return static_cast<int>(static_cast<signed char>(*left)) -
           static_cast<int>(static_cast<signed char>(*right));
}

} // namespace json::detail
