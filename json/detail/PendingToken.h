// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/Export.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace json::detail {

/// What a piece of JSON text leaves open at its end: a string, a number or a comment.
///
/// The tokenizer reads an open token again from its start with every piece. Pieces that lie inside
/// of one as a whole can't make it say anything, so they are gathered here and handed on at once:
/// the cost stays linear in the bytes, however small the pieces are.
class GATECAST_EXPORT PendingToken {
public:
    // The states of a string stand together, and so do those of a number, at the end.
    enum class State : unsigned char {
        Between,
        Slash,
        LineComment,
        BlockComment,
        BlockCommentStar,
        String,
        Escape,
        Hex1, // of four digits so many are missing
        Hex2,
        Hex3,
        Hex4,
        Minus,
        Zero,
        Integer,
        Point,
        Fraction,
        Exponent,
        ExponentSign,
        ExponentDigits
    };

    /// Follows bytes that the tokenizer has accepted.
    void follow(std::string_view bytes) noexcept {
        for (const char c : bytes) {
            state_ = after(state_, c);
        }
    }
    /// Nothing is open.
    void clear() noexcept {
        state_ = State::Between;
        gathered_.clear();
    }

    State state() const noexcept { return state_; }
    bool between() const noexcept { return state_ == State::Between; }
    bool inString() const noexcept { return state_ >= State::String && state_ <= State::Hex4; }
    bool inEscape() const noexcept { return state_ == State::Escape; }
    bool inNumber() const noexcept { return state_ >= State::Minus; }

    /// How many bytes the comment takes of a piece that is open in that state; 0 for other states.
    static std::size_t restOfComment(State state, std::string_view piece) noexcept;

    /// Gathers a piece that only continues the open token; false, and nothing is done, where it
    /// does anything else.
    bool gather(std::string_view piece);

    /// The pieces that were gathered since they were last handed on.
    const std::string& gathered() const noexcept { return gathered_; }
    /// They were handed on.
    void handedOn() noexcept;

private:
    static State after(State state, char c) noexcept;
    static bool continues(State before, char c, State after) noexcept;

    State state_ = State::Between;
    std::string gathered_;
};

} // namespace json::detail
