// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "json/Variant.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace json {

/// A place in a value tree: a sequence of text segments such as `a.b[3].c`.
///
/// In a text the characters `.`, `[`, `]` and NUL separate segments; they are all equal, and there
/// is no escape: a key that is empty or holds one of them is reached by `operator<<` only. Whether
/// a segment is a key or an index is decided by the container that it meets.
/// Threads: one at a time.
class GATECAST_EXPORT Path {
public:
    /// Parses the text up to its NUL. Bad input: a null pointer counts as the empty text.
    Path(const char* text = "");
    /// Parses all bytes of the text.
    Path(const std::string& text);
    /// An independent copy.
    /// @{
    Path(const Path& source);
    Path& operator=(const Path& source);
    /// @}
    // The order of the virtual operations is ABI.
    virtual ~Path();

    /// Number of segments.
    std::size_t size() const noexcept { return offsets.size() - 1; }
    /// The segment, ended by a NUL; lives until the path is changed.
    /// Bad input: `size()` gives the end of the text, a larger index is the caller's fault.
    const char* operator[](std::size_t index) const { return buffer.get() + offsets[index]; }

    /// Appends one segment as it stands: it may hold dots and brackets, but no NUL.
    /// Warning: the first segment appended to a parsed path also runs on into the last parsed one:
    /// `Path("a.b") << "c"` has the segments `a`, `bc` and `c`. Start from an empty path to build
    /// one piece by piece.
    /// @{
    Path& operator<<(const char* segment);
    Path& operator<<(const qx::IntrusiveString& segment);
    /// @}
    /// Appends the decimal text of the index, cut to 32 bits.
    Path& operator<<(std::size_t index);
    /// Removes the last segment, if there is one.
    Path& pop();

    /// Writes the path as text: segments that begin with a digit in brackets.
    void print(std::ostream& out) const;

    /// The value that the path leads to. `Variant::Empty` on a miss. A path of no segments answers
    /// the value itself, but `Variant::Empty` for a list or an object.
    /// On a list every segment is an index: a text that isn't a number counts as 0.
    /// @{
    const Variant& evaluate(const Variant& root) const;
    const Variant& evaluate(const List& root) const;
    const Variant& evaluate(const Object& root) const;
    /// @}
    /// The same for writing: unshares what it passes, adds the last missing key, grows the last
    /// list. It never turns a value into a container. Bad input: a miss answers the constant
    /// `Variant::Empty`; check the address before you assign.
    /// @{
    Variant& evaluate(Variant& root) const;
    Variant& evaluate(List& root) const;
    Variant& evaluate(Object& root) const;
    /// @}

protected:
    /// Replaces the contents. A negative length means up to the NUL.
    void parse(const char* text, int length);
    /// Grows the buffer to hold the bytes.
    void reserve(std::size_t bytes);

    /// The walks: with `create` as the writing forms above.
    /// @{
    const Variant& evaluate(Variant& root, bool create) const;
    const Variant& evaluate(List& root, bool create) const;
    const Variant& evaluate(Object& root, bool create) const;
    /// @}
    /// One step, null for a miss.
    /// @{
    Variant* eval1(char* segment, Variant& value, bool create) const;
    Variant* eval1(char* segment, List& list, bool create) const;
    Variant* eval1(char* segment, Object& object, bool create) const;
    /// @}

    std::unique_ptr<char[]> buffer;   ///< the segments, each followed by a NUL
    std::size_t capacity = 0;         ///< bytes in the buffer
    std::vector<std::size_t> offsets; ///< where each segment begins, then the end mark

private:
    void split(std::size_t length);
    Variant* walk(std::size_t first, Variant* value, bool create) const;
    char* segment(std::size_t index) const { return buffer.get() + offsets[index]; }
};

/// Writes the path as `print` does.
GATECAST_EXPORT std::ostream& operator<<(std::ostream& out, const Path& path);

} // namespace json
