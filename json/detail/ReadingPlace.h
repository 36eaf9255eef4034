// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/Export.h"
#include "json/TextPlace.h"
#include "json/detail/PendingToken.h"

#include <cstddef>
#include <string_view>

namespace json::detail {

/// Where the reading of a text in pieces stands, as offset, line and column, and where the token
/// began that the last piece left open.
///
/// Only a fault asks for a place, so that pieces cost a search for line ends and, when they end
/// inside a token, a look back to its begin.
class GATECAST_EXPORT ReadingPlace {
public:
    /// A piece was gathered: it lies inside the open token as a whole.
    void pass(std::string_view piece, const PendingToken& pending) noexcept;
    /// A piece was read without a fault; `pending` has followed it.
    void follow(std::string_view piece, const PendingToken& pending) noexcept;

    /// Of the byte behind all that was followed.
    const TextPlace& here() const noexcept { return here_; }
    /// Of a byte of the piece that wasn't followed yet, `size()` for the byte behind it.
    TextPlace ofByte(std::string_view piece, std::size_t index) const noexcept;
    /// Of the first byte of the token that ends in front of that byte of the piece, or that was
    /// open before it.
    TextPlace ofTokenBefore(std::string_view piece, std::size_t end) const noexcept;
    /// Of the first byte of the token that begins at that byte of the piece or, if it is a string,
    /// two bytes before it: so the tokenizer tells of tokens behind the value of a key. `comment`
    /// bytes of the piece belong to a comment that was open; `heard` tells whether the piece had
    /// a token that stood well.
    TextPlace ofTokenBehindValue(std::string_view piece, std::size_t told, std::size_t comment,
                                 bool heard) const noexcept;
    /// Of the first byte behind that one of the piece that is neither blank nor in a comment.
    TextPlace ofTokenFrom(std::string_view piece, std::size_t begin) const noexcept;
    /// Of the open token, `here` without one.
    const TextPlace& ofOpenToken() const noexcept {
        return open_ == Open::Nothing ? here_ : begin_;
    }
    bool tokenIsOpen() const noexcept { return open_ != Open::Nothing; }

private:
    enum class Open : unsigned char { Nothing, String, Number, Word };
    enum class Number : unsigned char {
        None,
        Minus,
        Zero,
        Integer,
        Point,
        Fraction,
        Exponent,
        ExponentSign,
        ExponentDigits
    };

    static constexpr std::size_t kBefore = static_cast<std::size_t>(-1); // in an earlier piece

    std::size_t endOfOpen(std::string_view piece) const noexcept;
    static void advance(TextPlace& place, std::string_view bytes) noexcept;
    static Number after(Number number, char c) noexcept;
    std::size_t beginOfString(std::string_view bytes) const noexcept;
    std::size_t beginOfNumber(std::string_view bytes, Number& number) const noexcept;
    std::size_t beginOfWord(std::string_view bytes, std::size_t& missing) const noexcept;

    TextPlace here_{0, 1, 1};
    TextPlace begin_; // of the open token
    Open open_ = Open::Nothing;
    Number number_ = Number::None; // how far the open number has come
    bool escape_ = false;          // the open string ends with the begin of an escape
    std::size_t missing_ = 0;      // letters of the open word
};

} // namespace json::detail
