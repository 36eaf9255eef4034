// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/Interface.h"
#include "json/TextPlace.h"
#include "json/Variant.h"

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace json {

/// Hears of what a parser has read. From inside both operations the parser may be reset and fed
/// with another text: everyone still hears of his own one.
/// Threads: one at a time; called on the thread that feeds.
class GATECAST_EXPORT IJsonParserListener : public virtual qx::IInterface {
public:
    // The order of the virtual operations is ABI.
    ~IJsonParserListener() override;
    /// The finished value, at `parseComplete`. It stays as it is until the next text is begun.
    /// Take a copy to change it: a copy is shallow and cheap.
    virtual void handleParseResult(const Variant& value) = 0;
    /// The error text, at a failing `parse` or `parseComplete`; empty for a text that ended too
    /// early.
    virtual void handleParseError(const qx::IntrusiveString& text) = 0;
};

/// Builds one value from one JSON text that may arrive in any number of pieces.
///
/// A cycle is `reset`, `parse` any number of times, `parseComplete`; a new parser is ready for its
/// first one. Listeners hear at `parseComplete` and at faults, on the calling thread. A second
/// text in one cycle is a fault. Comments in the text are skipped, strings are taken as bytes with
/// no UTF-8 check, a repeated key keeps all its entries, and integers beyond 64 bits are faults.
/// \code
/// json::JsonParser parser;
/// parser.parse("{\"door\":");
/// parser.parse("true}");
/// const json::Variant& value = parser.parseComplete();
/// \endcode
/// The same text gives the same value in every locale, however it is cut into pieces. Keys end at
/// their first NUL. The depth of nesting is limited by memory only.
///
/// A copy shares the tokenizer with its source, and so the text that is being read; values, error
/// text and listeners are its own. Use one of the two at a time and reset it first.
/// Threads: one at a time. Keys are interned in the pool that all objects share.
class GATECAST_EXPORT JsonParser {
public:
    /// What one text may ask for at most; 0 sets no limit. See `setLimits`.
    struct Limits {
        std::size_t bytes = 0;   ///< of the text, comments and blanks included
        std::size_t depth = 0;   ///< containers that are open at the same time
        std::size_t newKeys = 0; ///< keys that the pool doesn't hold yet: they stay there for good
    };

    JsonParser();
    /// Shares the tokenizer with the source; see above.
    /// @{
    JsonParser(const JsonParser& source);
    JsonParser& operator=(const JsonParser& source);
    /// @}
    virtual ~JsonParser();

    /// Feeds bytes; a negative length means up to the NUL. False on a fault, and then for every
    /// further piece until `reset`; listeners hear of each. The bytes are neither kept nor written
    /// to. Bad input: a null pointer counts as the empty text.
    bool parse(const char* text, int length = -1);
    /// Feeds at most `length` bytes from the stream, or all up to its end for a negative length,
    /// in pieces of 160 bytes. A stream that can't go on counts as ended, and so does a null
    /// pointer: ask the stream for its own failures.
    bool parse(std::istream* in, int length = -1);
    /// Ends the text and notifies. The reference is to the value, which lives until the next text
    /// is begun, or after a fault to the error text as a String: that of `lastError`, empty for a
    /// text that ended too early.
    const Variant& parseComplete();
    /// Begins a new cycle: what was read before is dropped, listeners stay.
    void reset();
    /// The text of the last fault of this cycle, empty if there is none: the message, then the last
    /// piece of the input, byte for byte, with the message at the place of the fault. It lives
    /// until the next fault or text.
    const qx::IntrusiveString& lastError() const;
    /// Where the fault of this cycle lies, line 0 if there is none: at the first byte of the token
    /// that may not stand there or is beyond a limit, at the byte that doesn't go on with its
    /// token, or behind the last byte of a text that ended too early. It stays the same for all
    /// further pieces, however the text was cut into them. The error text of some faults marks the
    /// end of the token instead.
    /// \code
    /// if (!parser.parse(text)) editor.jumpTo(parser.errorPlace().line);
    /// \endcode
    const TextPlace& errorPlace() const noexcept { return errorPlace_; }

    /// Sets limits for texts of a peer that isn't trusted; a new parser has none. A text beyond one
    /// is a fault like any other, and its message names the limit. They count for a text that is
    /// under way from its next piece on.
    void setLimits(const Limits& limits) noexcept { limits_ = limits; }
    /// The limits that were set last.
    const Limits& limits() const noexcept { return limits_; }
    /// How many places for open containers and keys the parser has made: at least as many
    /// as its deepest text needed. They stay until it is gone.
    std::size_t slotCount() const noexcept;

    /// A listener is held at most once in each form; plain ones are called first, in order of
    /// registration. What a raw pointer points to must live until the parser is gone.
    /// @{
    void registerListener(IJsonParserListener* listener);
    void registerListener(boost::shared_ptr<IJsonParserListener> listener);
    /// @}
    /// Moves the listeners behind the given one up by one place; the list never gets shorter.
    /// Warning: a listener in the last place, so an only one too, goes on being called, and the one
    /// that a plain list ends with is called twice after a move. Let a listener that has had enough
    /// ignore its calls.
    /// @{
    void unregisterListener(IJsonParserListener* listener);
    void unregisterListener(boost::shared_ptr<IJsonParserListener> listener);
    /// @}

    /// One whole cycle; the string is read in pieces, like a stream. Bad input: gives a String with
    /// the error text, empty when the text ended too early; it can't be told from a JSON text that
    /// was a string.
    /// @{
    static Variant parseTree(const char* text, int length = -1);
    static Variant parseTree(std::istream* in, int length = -1);
    static Variant parseTree(const std::string& text);
    /// @}

protected:
    /// Hands a finished value to the stack; false when there is no place for it.
    bool pushValue(const Variant& value);
    /// Closes the container on top.
    bool popValue();
    /// Tells every listener, plain ones first.
    /// @{
    void notifyResult(const Variant& value);
    void notifyError(const qx::IntrusiveString& text);
    /// @}

    /// What the tokenizer calls; the first argument is the parser.
    /// @{
    static int cb_null(void* parser);
    static int cb_boolean(void* parser, int value);
    static int cb_integer(void* parser, long long value);
    static int cb_double(void* parser, double value);
    static int cb_string(void* parser, const unsigned char* text, std::size_t length);
    static int cb_map_key(void* parser, const unsigned char* text, std::size_t length);
    static int cb_start_map(void* parser);
    static int cb_end_map(void* parser);
    static int cb_start_array(void* parser);
    static int cb_end_array(void* parser);
    /// @}

private:
    struct Tokenizer;
    struct Stack;

    Variant& claim();
    bool takeValue(Variant& value);
    bool feed(const char* text, std::size_t length);
    bool fail(const std::string& message, std::string_view piece, std::size_t offset,
              const TextPlace& place);

    std::shared_ptr<Tokenizer> tokenizer_; // shared with copies
    std::shared_ptr<Stack> stack_;         // shared only while its value is shown to listeners
    std::shared_ptr<Stack> shown_; // of the last value, when a listener has begun another text
    Object::KeyPool* keyPool_;
    Variant error_;
    TextPlace errorPlace_;
    Limits limits_;
    std::vector<IJsonParserListener*> listeners_;
    std::vector<boost::shared_ptr<IJsonParserListener>> sharedListeners_;
};

} // namespace json
