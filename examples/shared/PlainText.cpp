// SPDX-License-Identifier: MIT
#include "shared/PlainText.h"

namespace shared {

std::string plainText(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        // A control character in UTF-8: 00-1F, 7F, or C2 followed by 80-9F.
        if (!line.empty() && line.back() == '\xC2' && byte >= 0x80 && byte < 0xA0) {
            line.back() = '?';
        } else {
            line += byte < 0x20 || byte == 0x7F ? '?' : c;
        }
    }
    return line;
}

} // namespace shared
