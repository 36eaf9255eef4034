// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "json/Variant.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>

namespace json {

/// Writes values as JSON text: into memory, to a stream, or through a print function.
///
/// A printer is pretty exactly when its indent isn't empty: then containers are broken into lines
/// and the keys of objects sorted by their text; otherwise keys come in the object's own order.
/// A new printer indents by one tab per level. Nothing is reported: what JSON has no place for
/// (a NaN, an infinity, a value where a key is due) prints nothing. Containers nested more than
/// 127 levels deep print as null.
/// \code
/// json::JsonPrinter printer;
/// printer.setIndent("");
/// printer.print(value);
/// const qx::IntrusiveString text = printer.string();
/// \endcode
/// A copy has the same form, indent and flag, and an empty buffer.
/// Threads: one at a time.
class GATECAST_EXPORT JsonPrinter {
public:
    using PrintFunction = void (*)(void* context, const char* text, int length);
    static constexpr PrintFunction NO_PRINT_FUNCTION = nullptr;

    /// Keeps the text in memory.
    JsonPrinter();
    /// Streams the text to `out`, which must live until the printer is gone or set to another
    /// stream. A null stream swallows the text.
    explicit JsonPrinter(std::ostream* out);
    /// Hands the text to the function with the context: with `buffered` each whole text of `print`
    /// in one call, otherwise in pieces as they arise. Without a print function, as in memory.
    JsonPrinter(PrintFunction function, void* context, bool buffered);
    JsonPrinter(const JsonPrinter& source);
    JsonPrinter& operator=(const JsonPrinter& source);
    ~JsonPrinter();

    /// Prints one whole value as a text. In memory and to a stream texts stand one behind the
    /// other until `reset`. The print function may print through this printer again: that text
    /// goes out by itself.
    void print(const Variant& value);

    /// Print inside a running text, as `print` does for a value of its own.
    /// @{
    void printVariant(const Variant& value);
    void printObject(const Object& object);
    void printList(const List& list);
    /// A string, or a key inside an open object.
    void printString(const qx::IntrusiveString& text);
    /// A close without an open container of its kind does nothing.
    void openList();
    void closeList();
    void openObject();
    void closeObject();
    /// @}

    /// Indents by `text` per level; the empty text makes the output compact.
    /// Bad input: a text that isn't white space leaves the printer as it was.
    void setIndent(const std::string& text);
    bool isPretty() const noexcept { return !indent.empty(); }
    /// Whether values with the auto mark are left out. Warning: `print` then returns only for a
    /// scalar and an empty container; for any other value it ends in `std::bad_alloc`.
    bool ignoreAutoValues() const noexcept { return ignoresAutoValues; }
    void setIgnoreAutoValues(bool ignore) noexcept { ignoresAutoValues = ignore; }

    /// Clears the buffer and begins a new text.
    void reset();
    /// The same, then makes `out` the stream. For stream printers only.
    void reset(std::ostream* out);

    /// The buffer, ended by a NUL, and its length in bytes unless the pointer is null. Valid until
    /// the next operation on the printer. Empty in every form but the one in memory, and in the
    /// buffered form between calls.
    const char* stringBuffer(std::size_t* length = nullptr);
    /// A copy of the buffer.
    /// @{
    qx::IntrusiveString string();
    void string(qx::IntrusiveString& out);
    /// With count 0: hand it to a `boost::intrusive_ptr` at once.
    qx::IntrusiveString* newString();
    /// @}

protected:
    /// Writes a piece of text to the stream of the printer that `context` is.
    static void printToStream(void* context, const char* text, std::size_t length);
    /// Prepares the auto marks below the value before it is printed.
    void updateAutoValues(const Variant& root);

private:
    struct Generator;
    enum class Delivery { Memory, Stream, WholeTexts, Pieces };

    bool open(bool object);
    void close(bool object);
    void printEntry(const qx::IntrusiveString& key, const Variant& value);
    void printReal(double value);
    void deliver();
    bool skips(const Variant& value) const { return ignoresAutoValues && value.autoValue(); }

    std::unique_ptr<Generator> gen;
    Delivery delivery;
    PrintFunction printFunction;
    void* printContext;
    std::string indent; // the generator points at its text
    bool ignoresAutoValues = false;
};

} // namespace json
