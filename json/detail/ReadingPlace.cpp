// SPDX-License-Identifier: MIT
#include "json/detail/ReadingPlace.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace json::detail {

namespace {

/// Many bytes at a time: all that a good text pays.
std::size_t count_lines(std::string_view bytes) {
    constexpr std::size_t kLanes = 32;
    constexpr std::size_t kRounds = 255; // what a lane can count
    std::size_t lines = 0;
    while (bytes.size() >= kLanes) {
        std::array<std::uint8_t, kLanes> lanes{};
        const std::size_t rounds = std::min(bytes.size() / kLanes, kRounds);
        const char* next = bytes.data();
        for (std::size_t round = 0; round < rounds; ++round, next += kLanes) {
            for (std::size_t lane = 0; lane < kLanes; ++lane) {
                lanes[lane] = static_cast<std::uint8_t>(lanes[lane] + (next[lane] == '\n' ? 1 : 0));
            }
        }
        for (const std::uint8_t lane : lanes) {
            lines += lane;
        }
        bytes.remove_prefix(rounds * kLanes);
    }
    for (const char c : bytes) {
        lines += c == '\n' ? 1 : 0;
    }
    return lines;
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_letter(char c) { return c >= 'a' && c <= 'z'; }

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/// Behind the quote that ends the string whose content begins there.
std::size_t end_of_string(std::string_view text, std::size_t i, bool escape) {
    for (; i < text.size(); ++i) {
        if (escape) {
            escape = false;
        } else if (text[i] == '"') {
            return i + 1;
        } else {
            escape = text[i] == '\\';
        }
    }
    return i;
}

/// Behind the comment that begins there.
std::size_t end_of_comment(std::string_view text, std::size_t i) {
    const bool block = text.substr(i, 2) == "/*";
    const std::size_t end = text.find(block ? "*/" : "\n", i + 2);
    return end == std::string_view::npos ? text.size() : end + (block ? 2 : 1);
}

bool may_stand_in_number(char c) {
    return is_digit(c) || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

} // namespace

void ReadingPlace::advance(TextPlace& place, std::string_view bytes) noexcept {
    place.offset += bytes.size();
    const std::size_t lines = count_lines(bytes);
    if (lines != 0) {
        place.line += lines;
        place.column = 1;
        bytes.remove_prefix(bytes.rfind('\n') + 1);
    }
    place.column += bytes.size();
}

void ReadingPlace::pass(std::string_view piece, const PendingToken& pending) noexcept {
    escape_ = pending.inEscape();
    advance(here_, piece);
}

void ReadingPlace::follow(std::string_view piece, const PendingToken& pending) noexcept {
    if (piece.empty()) return;
    Open open = Open::Nothing;
    std::size_t begin = kBefore;
    Number number = Number::None;
    std::size_t missing = 0;
    if (pending.inString()) {
        open = Open::String;
        begin = beginOfString(piece);
    } else if (pending.inNumber()) {
        open = Open::Number;
        begin = beginOfNumber(piece, number);
    } else if (pending.between() && is_letter(piece.back())) {
        begin = beginOfWord(piece, missing);
        if (missing != 0) open = Open::Word;
    }
    if (begin != kBefore) begin_ = ofByte(piece, begin);
    open_ = open;
    number_ = number;
    missing_ = missing;
    escape_ = pending.inEscape();
    advance(here_, piece);
}

TextPlace ReadingPlace::ofByte(std::string_view piece, std::size_t index) const noexcept {
    TextPlace place = here_;
    advance(place, piece.substr(0, index));
    return place;
}

TextPlace ReadingPlace::ofTokenBefore(std::string_view piece, std::size_t end) const noexcept {
    const std::string_view bytes = piece.substr(0, end);
    if (bytes.empty()) return ofOpenToken();
    const char last = bytes.back();
    std::size_t begin = bytes.size() - 1; // most tokens that don't fit are a single byte
    if (last == '"') {
        begin = beginOfString(bytes.substr(0, bytes.size() - 1));
    } else if (is_letter(last)) {
        std::size_t missing = 0;
        begin = beginOfWord(bytes, missing);
    } else if (is_digit(last)) {
        Number number = Number::None;
        begin = beginOfNumber(bytes, number);
    }
    return begin == kBefore ? ofOpenToken() : ofByte(piece, begin);
}

/// Of the open token in a piece that the tokenizer has read to behind it.
std::size_t ReadingPlace::endOfOpen(std::string_view piece) const noexcept {
    std::size_t end = 0;
    if (open_ == Open::String) return end_of_string(piece, 0, escape_);
    if (open_ == Open::Word) return std::min(missing_, piece.size());
    for (Number number = number_; end < piece.size(); ++end) {
        number = after(number, piece[end]);
        if (number == Number::None) break;
    }
    return end;
}

// Read forward: where a string begins can't be told from behind it.
TextPlace ReadingPlace::ofTokenBehindValue(std::string_view piece, std::size_t told,
                                           std::size_t comment, bool heard) const noexcept {
    if (open_ != Open::Nothing && !heard) return begin_;
    // Whether the token before was a value or its end: the first string of a piece is the fault
    // only where no token was heard.
    bool value = open_ != Open::Nothing || !heard;
    std::size_t i = open_ == Open::Nothing ? comment : endOfOpen(piece);
    while (i < piece.size()) {
        const char c = piece[i];
        if (is_blank(c)) {
            ++i;
        } else if (c == '/') {
            i = end_of_comment(piece, i);
        } else if (i == told || (value && c == '"' && i + 2 == told)) {
            return ofByte(piece, i);
        } else if (c == '"') {
            i = end_of_string(piece, i + 1, false);
            value = true;
        } else {
            value = c != ':' && c != ',' && c != '{' && c != '[';
            ++i; // numbers and words byte by byte: no quote stands in them
        }
    }
    return ofByte(piece, told);
}

TextPlace ReadingPlace::ofTokenFrom(std::string_view piece, std::size_t begin) const noexcept {
    while (begin < piece.size() && (is_blank(piece[begin]) || piece[begin] == '/')) {
        if (is_blank(piece[begin])) {
            ++begin;
        } else if (const std::string_view start = piece.substr(begin, 2);
                   start != "/*" && start != "//") {
            return ofByte(piece, begin + 1); // it begins no comment
        } else {
            begin = end_of_comment(piece, begin);
        }
    }
    return ofByte(piece, begin);
}

/// The last quote that no backslash escapes: no backslash stands in front of a string.
std::size_t ReadingPlace::beginOfString(std::string_view bytes) const noexcept {
    std::size_t quote = bytes.rfind('"');
    while (quote != std::string_view::npos) {
        std::size_t first = quote;
        while (first > 0 && bytes[first - 1] == '\\') {
            --first;
        }
        const std::size_t backslashes = quote - first + (first == 0 && escape_ ? 1 : 0);
        if (backslashes % 2 == 0) return quote;
        if (first == 0) break;
        quote = bytes.rfind('"', first - 1);
    }
    return kBefore;
}

/// `None` where the byte doesn't go on with the number.
ReadingPlace::Number ReadingPlace::after(Number number, char c) noexcept {
    const bool digit = is_digit(c);
    const bool exponent = c == 'e' || c == 'E';
    switch (number) {
    case Number::None:
    case Number::Minus:
        if (number == Number::None && c == '-') return Number::Minus;
        if (!digit) return Number::None;
        return c == '0' ? Number::Zero : Number::Integer;
    case Number::Integer:
        if (digit) return Number::Integer;
        [[fallthrough]];
    case Number::Zero:
        if (c == '.') return Number::Point;
        return exponent ? Number::Exponent : Number::None;
    case Number::Fraction:
        if (exponent) return Number::Exponent;
        [[fallthrough]];
    case Number::Point:
        return digit ? Number::Fraction : Number::None;
    case Number::Exponent:
        if (c == '-' || c == '+') return Number::ExponentSign;
        [[fallthrough]];
    case Number::ExponentSign:
    case Number::ExponentDigits:
        return digit ? Number::ExponentDigits : Number::None;
    }
    return Number::None;
}

/// Of the number that the bytes end with; `number` becomes what it has come to. Read forward, since
/// two numbers may stand side by side, as in `1-2` and `01`.
std::size_t ReadingPlace::beginOfNumber(std::string_view bytes, Number& number) const noexcept {
    std::size_t first = bytes.size();
    while (first > 0 && may_stand_in_number(bytes[first - 1])) {
        --first;
    }
    number = first == 0 ? number_ : Number::None;
    std::size_t begin = number == Number::None ? first : kBefore;
    for (std::size_t i = first; i < bytes.size(); ++i) {
        Number next = after(number, bytes[i]);
        if (number == Number::None || next == Number::None) {
            if (number != Number::None) next = after(Number::None, bytes[i]);
            begin = i;
        }
        number = next;
    }
    return begin;
}

/// Of the word that the bytes end with; `missing` becomes the count of its letters that are to
/// come. Two may stand side by side, too.
std::size_t ReadingPlace::beginOfWord(std::string_view bytes, std::size_t& missing) const noexcept {
    std::size_t first = bytes.size();
    while (first > 0 && is_letter(bytes[first - 1])) {
        --first;
    }
    missing = first == 0 ? missing_ : 0;
    std::size_t begin = kBefore;
    for (std::size_t i = first; i < bytes.size(); ++i) {
        if (missing == 0) {
            begin = i;
            missing = bytes[i] == 'f' ? 5 : 4; // "false", "true", "null"
        }
        --missing;
    }
    return begin;
}

} // namespace json::detail
