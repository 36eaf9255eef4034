// SPDX-License-Identifier: MIT
#include "json/detail/PendingToken.h"

namespace json::detail {

namespace {

constexpr std::size_t kKeptCapacity = 4096;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_hex_digit(char c) {
    return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Neither the end of a string, nor an escape, nor one of the bytes that are faults in a string.
bool is_plain(char c) { return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\'; }

bool is_escaped(char c) {
    return std::string_view("\"\\/bfnrtu").find(c) != std::string_view::npos;
}

} // namespace

// The bytes were accepted, so that what would be a fault needs no state of its own.
PendingToken::State PendingToken::after(State state, char c) noexcept {
    switch (state) {
    case State::Slash:
        if (c == '*') return State::BlockComment;
        return c == '/' ? State::LineComment : State::Between;
    case State::LineComment:
        return c == '\n' ? State::Between : State::LineComment;
    case State::BlockComment:
        return c == '*' ? State::BlockCommentStar : State::BlockComment;
    case State::BlockCommentStar:
        if (c == '/') return State::Between;
        return c == '*' ? State::BlockCommentStar : State::BlockComment;
    case State::String:
        if (c == '\\') return State::Escape;
        return c == '"' ? State::Between : State::String;
    case State::Escape:
        return c == 'u' ? State::Hex4 : State::String;
    case State::Hex4:
        return State::Hex3;
    case State::Hex3:
        return State::Hex2;
    case State::Hex2:
        return State::Hex1;
    case State::Hex1:
        return State::String;
    case State::Minus:
        if (is_digit(c)) return c == '0' ? State::Zero : State::Integer;
        break;
    case State::Integer:
        if (is_digit(c)) return State::Integer;
        [[fallthrough]];
    case State::Zero:
        if (c == '.') return State::Point;
        if (c == 'e' || c == 'E') return State::Exponent;
        break;
    case State::Fraction:
        if (c == 'e' || c == 'E') return State::Exponent;
        [[fallthrough]];
    case State::Point:
        if (is_digit(c)) return State::Fraction;
        break;
    case State::Exponent:
        if (c == '+' || c == '-') return State::ExponentSign;
        [[fallthrough]];
    case State::ExponentSign:
    case State::ExponentDigits:
        if (is_digit(c)) return State::ExponentDigits;
        break;
    case State::Between:
        break;
    }
    if (c == '"') return State::String;
    if (c == '/') return State::Slash;
    if (c == '-') return State::Minus;
    if (is_digit(c)) return c == '0' ? State::Zero : State::Integer;
    return State::Between;
}

/// Whether the byte neither ends the token nor is a fault in it.
bool PendingToken::continues(State before, char c, State after) noexcept {
    switch (before) {
    case State::String:
        return c == '\\'; // what is plain was passed by
    case State::Escape:
        return is_escaped(c);
    case State::Hex4:
    case State::Hex3:
    case State::Hex2:
    case State::Hex1:
        return is_hex_digit(c);
    case State::LineComment:
    case State::BlockComment:
    case State::BlockCommentStar:
        return after != State::Between;
    case State::Integer:
    case State::Fraction:
    case State::ExponentDigits:
        return is_digit(c);
    default:
        return false;
    }
}

std::size_t PendingToken::restOfComment(State state, std::string_view piece) noexcept {
    std::size_t taken = 0;
    while (taken < piece.size() && state >= State::Slash && state <= State::BlockCommentStar) {
        if (state == State::Slash && piece[taken] != '*' && piece[taken] != '/') break;
        state = after(state, piece[taken++]);
    }
    return taken;
}

bool PendingToken::gather(std::string_view piece) {
    if (state_ == State::Between) return false;
    State state = state_;
    for (const char c : piece) {
        if (state == State::String && is_plain(c)) continue; // most bytes of most long tokens
        const State next = after(state, c);
        if (!continues(state, c, next)) return false;
        state = next;
    }
    gathered_.append(piece);
    state_ = state;
    return true;
}

void PendingToken::handedOn() noexcept {
    if (gathered_.capacity() > kKeptCapacity) {
        std::string().swap(gathered_); // a parser lives long, and one long string may be its last
    } else {
        gathered_.clear();
    }
}

} // namespace json::detail
