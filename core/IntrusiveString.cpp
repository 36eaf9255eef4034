// SPDX-License-Identifier: MIT
#include "core/IntrusiveString.h"

#include "core/StringPool.h"

#include <ostream>

namespace qx {

std::size_t IntrusiveString::hash() const noexcept { return hash_of_text(c_str()); }

IntrusiveString operator+(const IntrusiveString& left, const IntrusiveString& right) {
    const std::string& head = left;
    const std::string& tail = right;
    return IntrusiveString(head + tail);
}

bool operator==(const IntrusiveString& left, const IntrusiveString& right) noexcept {
    const std::string& text = left;
    const std::string& other = right;
    return text == other;
}

bool operator!=(const IntrusiveString& left, const IntrusiveString& right) noexcept {
    return !(left == right);
}

std::ostream& operator<<(std::ostream& out, const IntrusiveString& text) {
    const std::string& bytes = text;
    return out << bytes;
}

} // namespace qx
