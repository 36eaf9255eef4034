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
/// and the keys of objects sorted by their text; otherwise keys come in the object's own order. Of
/// a repeated key the pretty form shows the first value each time, the compact one every value.
/// A new printer indents by one tab per level. The text is the same in every locale.
///
/// Nothing is reported: what JSON has no place for (a NaN, an infinity, a value where a key is due)
/// prints nothing. Containers nested more than 127 levels deep print as null. What a print function
/// or a stream throws passes through, and the text ends there.
/// \code
/// json::JsonPrinter printer;
/// printer.setIndent("");
/// printer.print(value);
/// const qx::IntrusiveString text = printer.string();
/// \endcode
/// A copy has the same form, indent and flag, and an empty buffer.
/// Threads: one at a time.
/// What a print function or a stream prints through the printer that calls it is a text of its own,
/// and the text under way goes on as it was begun. The value that is printed must not change
/// meanwhile.
class GATECAST_EXPORT JsonPrinter {
public:
    /// Takes `length` bytes of text, with the context that it was registered with.
    using PrintFunction = void (*)(void* context, const char* text, int length);
    /// No function: the text stays in memory.
    static constexpr PrintFunction NO_PRINT_FUNCTION = nullptr;

    /// Keeps the text in memory.
    JsonPrinter();
    /// Streams the text to `out`, which must live until the printer is gone or set to another
    /// stream. A null stream swallows the text.
    explicit JsonPrinter(std::ostream* out);
    /// Hands the text to the function with the context: with `buffered` each whole text of `print`
    /// in one call, but at most 2^31 - 1 bytes of it and none when it is empty, otherwise in pieces
    /// as they arise. The text is the function's for the call. Without a print function, as in
    /// memory.
    JsonPrinter(PrintFunction function, void* context, bool buffered);
    /// The form, the indent and the flag of the source, and an empty buffer.
    /// @{
    JsonPrinter(const JsonPrinter& source);
    JsonPrinter& operator=(const JsonPrinter& source);
    /// @}
    ~JsonPrinter();

    /// Prints one whole value as a text. In memory texts stand one behind the other until `reset`.
    void print(const Variant& value);

    /// Print inside a running text. Where whole texts are handed over, what these print waits for
    /// the next `print`.
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
    /// Whether the indent isn't empty.
    bool isPretty() const noexcept;
    /// Whether values with the auto mark are left out. Warning: `print` then returns only for a
    /// scalar and an empty container; for any other value it ends in `std::bad_alloc`.
    bool ignoreAutoValues() const noexcept { return ignoreAutoValues_; }
    /// Sets whether values with the auto mark are left out; see the warning above.
    void setIgnoreAutoValues(bool ignore) noexcept { ignoreAutoValues_ = ignore; }

    /// Clears the buffer and begins a new text.
    void reset();
    /// The same, then makes `out` the stream. For stream printers only: where whole texts are
    /// handed over it replaces the context, elsewhere it changes nothing else.
    void reset(std::ostream* out);

    /// The buffer, ended by a NUL, and its length in bytes unless the pointer is null. Valid until
    /// the next operation on the printer. Empty in every form but the one in memory, and in the
    /// buffered form between calls.
    const char* stringBuffer(std::size_t* length = nullptr) const;
    /// A copy of the buffer.
    /// @{
    qx::IntrusiveString string() const;
    void string(qx::IntrusiveString& out) const;
    /// With count 0: hand it to a `boost::intrusive_ptr` at once.
    qx::IntrusiveString* newString() const;
    /// @}

protected:
    /// Writes a piece of text to the stream of the printer that `context` is.
    static void printToStream(void* context, const char* text, std::size_t length);
    /// Clears the auto marks of what must stand in the text: list elements in front of one without
    /// the mark, and the containers above a changed value. The marks change on the values.
    /// Warning: comes back only from a scalar and an empty container; see `setIgnoreAutoValues`.
    void updateAutoValues(const Variant& root);

private:
    struct Generator;
    class CallOut;

    Generator& generator();
    void write(Generator& running, const Variant& value);
    void writeReal(Generator& running, double value);
    void writeString(Generator& running, const qx::IntrusiveString& text);
    void writeList(Generator& running, const List& list);
    void writeObject(Generator& running, const Object& object);
    void writeEntry(Generator& running, const qx::IntrusiveString& key, const Variant& value);
    bool open(Generator& running, bool object);
    void openLevel(bool object);
    void closeLevel(Generator& running, bool object);
    void deliver();
    bool skips(const Variant& value) const { return ignoreAutoValues_ && value.autoValue(); }

    std::shared_ptr<Generator> generator_; // shared only while a print function or a stream runs
    PrintFunction printFunction_ = NO_PRINT_FUNCTION; // takes whole texts
    void* printContext_ = nullptr;                    // its context, or the stream
    bool ignoreAutoValues_ = false;
};

} // namespace json
