// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"

#include <iosfwd>
#include <string>
#include <string_view>

namespace qx {

/// A URL or a relative reference, kept as the text that it was built from.
///
/// Any text is accepted; `absolute` and `relative` say whether it follows RFC 3986. Nothing is
/// escaped or normalised. Copies are independent.
/// Threads: one at a time.
class GATECAST_EXPORT Url {
public:
    /// The empty URL.
    Url();
    /// Bad input: a null pointer gives the empty URL.
    Url(const char* text);
    /// All bytes of the text.
    Url(const std::string& text);
    /// An independent copy.
    /// @{
    Url(const Url& source);
    Url& operator=(const Url& source);
    /// @}
    virtual ~Url();

    /// Whether the text is empty.
    bool empty() const { return text_.empty(); }
    /// Whether the text has a scheme and follows the grammar.
    bool absolute() const;
    /// Whether the text has no scheme and follows the grammar, as the empty one does.
    bool relative() const;
    /// The text, valid while the URL lives.
    operator const char*() const { return text_.c_str(); }

    /// A textual join with exactly one slash at the seam; slashes that belong to the scheme or the
    /// authority stay. A path that begins with "?" is put behind as it stands, one that begins with
    /// "#" replaces the fragment, an empty one changes nothing. Works on any text; no dot segment
    /// is folded, and a path with a scheme is joined like any other.
    /// @{
    Url operator/(const char* path) const;
    Url operator/(const std::string& path) const;
    /// @}
    /// This reference made absolute against `base` by the rules of RFC 3986. A reference that is
    /// only a fragment keeps the base's path and query as they stand; an empty one gives the base
    /// without its fragment; an empty base leaves the reference as it is. Works on any text.
    /// @{
    Url operator%(const char* base) const;
    Url operator%(const std::string& base) const;
    /// @}

private:
    Url joined(std::string_view path) const;

    std::string text_;
};

/// Whether the texts are the same.
/// @{
GATECAST_EXPORT bool operator==(const Url& left, const Url& right);
GATECAST_EXPORT bool operator==(const Url& left, const char* right);
GATECAST_EXPORT bool operator==(const char* left, const Url& right);
GATECAST_EXPORT bool operator!=(const Url& left, const Url& right);
GATECAST_EXPORT bool operator!=(const Url& left, const char* right);
GATECAST_EXPORT bool operator!=(const char* left, const Url& right);
/// @}
/// Writes the text.
GATECAST_EXPORT std::ostream& operator<<(std::ostream& out, const Url& url);

} // namespace qx
