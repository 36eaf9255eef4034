// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveObject.h"
#include "core/detail/SeededHash.h"

#include <boost/intrusive_ptr.hpp>

#include <cstddef>
#include <iosfwd>
#include <string>

namespace qx {

namespace detail {
template <typename T>
class GroupedTable;
} // namespace detail

/// A counted byte string. Text is UTF-8 by convention and never checked.
///
/// `boost::intrusive_ptr<qx::IntrusiveString>` is the usual way to share one; a null pointer is
/// legal wherever a key or a text is passed and means the empty text.
/// Threads: one at a time; only the count may be reached from any thread.
class GATECAST_EXPORT IntrusiveString : public IntrusiveObject {
public:
    /// The empty text.
    IntrusiveString() = default;
    /// Up to the terminating NUL. Bad input: a null pointer gives the empty text.
    IntrusiveString(const char* text) : text_(text != nullptr ? text : "") {}
    /// Exactly `length` bytes, NUL bytes included.
    IntrusiveString(const char* text, std::size_t length) : text_(text, length) {}
    /// All bytes of the text.
    IntrusiveString(const std::string& text) : text_(text) {}
    /// An independent copy with a count of its own, 0.
    IntrusiveString(const IntrusiveString& source) = default;
    ~IntrusiveString() = default;

    /// Takes the text over; the count stays.
    IntrusiveString& operator=(const IntrusiveString& source) = default;
    /// Takes the text up to its NUL. Bad input: null gives the empty text.
    IntrusiveString& operator=(const char* text) {
        text_ = text != nullptr ? text : "";
        return *this;
    }
    /// Appends the text up to its NUL. Bad input: null appends nothing.
    IntrusiveString& operator+=(const char* text) {
        text_ += text != nullptr ? text : "";
        return *this;
    }
    /// Replaces the text by `length` bytes and returns the text itself.
    std::string& assign(const char* text, std::size_t length) { return text_.assign(text, length); }
    /// Leaves the empty text.
    void clear() noexcept { text_.clear(); }

    /// Whether there is no byte.
    bool empty() const noexcept { return text_.empty(); }
    /// Size in bytes.
    std::size_t length() const noexcept { return text_.length(); }
    /// The text with a NUL behind it, valid until the string is changed or destroyed.
    const char* c_str() const noexcept { return text_.c_str(); }
    /// Hash of the text up to its first NUL, the same as `StringHash` of `c_str()`.
    std::size_t hash() const noexcept;
    /// Position of the last `c` at or before `from`, `std::string::npos` if there is none.
    std::size_t find_last_of(char c, std::size_t from = std::string::npos) const noexcept {
        return text_.find_last_of(c, from);
    }

    /// The text, as a copy or in place; the reference lives as the one of `c_str()` does.
    /// @{
    operator std::string() { return text_; }
    operator const std::string&() const { return text_; }
    /// @}

private:
    template <typename T>
    friend class detail::GroupedTable;

    detail::KeyHash key_hash_; // of a key, once a large table has asked for it
    std::string text_;
};

/// A new text: the one behind the other.
GATECAST_EXPORT IntrusiveString operator+(const IntrusiveString& left,
                                          const IntrusiveString& right);
/// Same bytes.
GATECAST_EXPORT bool operator==(const IntrusiveString& left, const IntrusiveString& right) noexcept;
/// Other bytes.
GATECAST_EXPORT bool operator!=(const IntrusiveString& left, const IntrusiveString& right) noexcept;
/// Writes all bytes of the text, NUL bytes included.
GATECAST_EXPORT std::ostream& operator<<(std::ostream& out, const IntrusiveString& text);

} // namespace qx
