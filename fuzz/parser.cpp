// SPDX-License-Identifier: MIT
// A text, read whole, in random pieces, byte by byte, as a stream and as the next one of a used
// parser: the same events, values and errors each time, and no byte of the caller's is changed.
// Limits hold in the same way.
// What was read prints to a text that reads as the same value.

#include "fuzz/support/Require.h"
#include "fuzz/support/Trees.h"
#include "json/JsonParser.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

/// The part of an error text that doesn't depend on the pieces; the rest shows the last one.
std::string message_of(const std::string& error) {
    return error.substr(0, error.find("--------------------------------------\n"));
}

struct Outcome {
    std::vector<std::string> events;
    json::Variant value;
    bool good = false;
};

class Listener : public json::IJsonParserListener {
public:
    Outcome outcome;

    void handleParseResult(const json::Variant& value) override {
        outcome.events.emplace_back("result");
        outcome.value = value;
        outcome.good = true;
    }
    void handleParseError(const qx::IntrusiveString& text) override {
        outcome.events.push_back("error " + message_of(fuzz::bytes_of(text)));
    }
};

/// Hands a piece over in a block of its own size, so that reading past it is seen.
bool feed(json::JsonParser& parser, const std::string& text, std::size_t from, std::size_t length) {
    const std::unique_ptr<char[]> piece(new char[length]);
    std::copy_n(text.data() + from, length, piece.get());
    const bool good = parser.parse(piece.get(), static_cast<int>(length));
    fuzz::require(std::equal(piece.get(), piece.get() + length, text.data() + from),
                  "the parser leaves the caller's bytes as they are");
    return good;
}

/// Reads the text in pieces, whose sizes are drawn from 1 to `largest` by the seed.
Outcome read(json::JsonParser& parser, Listener& listener, const std::string& text,
             std::size_t largest, std::uint64_t seed) {
    listener.outcome = Outcome();
    parser.reset();
    bool good = true;
    for (std::size_t at = 0; at < text.size() && good;) {
        seed = seed * 6364136223846793005U + 1442695040888963407U;
        const std::size_t length =
            std::min<std::size_t>(text.size() - at, 1 + (seed >> 33) % largest);
        good = feed(parser, text, at, length);
        at += length;
    }
    if (!good) {
        fuzz::require(!parser.parse(" ", 1), "a fault is a fault until the parser is reset");
        const Outcome outcome = listener.outcome;
        fuzz::require(outcome.events.size() == 2, "listeners hear of each fault");
        return outcome;
    }
    const json::Variant& end = parser.parseComplete();
    fuzz::require(listener.outcome.events.size() == 1, "the end of a text is told once");
    if (listener.outcome.good) {
        fuzz::require(fuzz::same(end, listener.outcome.value), "both ways give the same value");
    }
    return listener.outcome;
}

void compare(const Outcome& expected, const Outcome& outcome, const char* promise) {
    fuzz::require(expected.good == outcome.good, promise, "good or not");
    fuzz::require(fuzz::same(expected.value, outcome.value), promise,
                  fuzz::printed(expected.value) + "\n" + fuzz::printed(outcome.value));
    fuzz::require(expected.events.front() == outcome.events.front(), promise,
                  expected.events.front() + "\n" + outcome.events.front());
}

/// A text beyond a limit is a fault, whole and in pieces; one within is read as without limits.
void read_limited(json::JsonParser& parser, Listener& listener, const std::string& text,
                  const Outcome& whole, std::uint64_t seed) {
    json::JsonParser::Limits limits;
    if ((seed & 1) != 0) limits.bytes = 1 + seed / 2 % (text.size() + 2);
    if ((seed & 2) != 0) limits.depth = 1 + seed / 4 % 6;
    const bool within = (limits.bytes == 0 || text.size() <= limits.bytes) &&
                        (limits.depth == 0 || fuzz::shape_of(whole.value).depth <= limits.depth);
    parser.setLimits(limits);
    for (const std::size_t largest : {std::size_t{1} << 20U, std::size_t{1}, std::size_t{9}}) {
        const Outcome limited = read(parser, listener, text, largest, seed);
        fuzz::require(limited.good == (whole.good && within), "limits hold, and nothing else");
        if (limited.good) compare(whole, limited, "within limits as without");
    }
    parser.setLimits({});
}

void read_again(json::JsonParser& parser, Listener& listener, const json::Variant& value) {
    const fuzz::Shape shape = fuzz::shape_of(value);
    if (shape.depth > 127) return; // prints as null below
    const std::string text = fuzz::printed(value);
    const Outcome again = read(parser, listener, text, text.size(), 0);
    fuzz::require(again.good, "a printed value reads", text);
    fuzz::require(fuzz::same(again.value, value), "a printed value reads as itself", text);
    if (shape.repeatedKeys) return; // the pretty text shows the first value each time
    const std::string pretty = fuzz::printed(value, true);
    const Outcome prettyAgain = read(parser, listener, pretty, pretty.size(), 0);
    fuzz::require(prettyAgain.good && fuzz::same(prettyAgain.value, value),
                  "a prettily printed value reads as itself", pretty);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::uint64_t seed = 14695981039346656037U;
    for (const char c : text) {
        seed = (seed ^ static_cast<unsigned char>(c)) * 1099511628211U;
    }

    json::JsonParser parser;
    Listener listener;
    parser.registerListener(&listener);
    const Outcome whole =
        read(parser, listener, text, std::max<std::size_t>(text.size(), 1) << 20U, 0);
    compare(whole, read(parser, listener, text, 1, 0), "single bytes read as the whole text");
    compare(whole, read(parser, listener, text, 7, seed), "pieces read as the whole text");
    compare(whole, read(parser, listener, text, 300, seed), "large pieces read as the whole text");

    std::istringstream stream(text);
    const json::Variant streamed = json::JsonParser::parseTree(&stream);
    if (whole.good) {
        fuzz::require(fuzz::same(whole.value, streamed), "a stream reads as the whole text");
        fuzz::require(fuzz::same(whole.value, json::JsonParser::parseTree(text)),
                      "a string reads as the whole text");
    } else {
        fuzz::require(streamed.isString(), "a fault gives an error text");
    }

    const Outcome next = read(parser, listener, "{\"door\":[true,null]}", 5, seed);
    fuzz::require(next.good && fuzz::printed(next.value) == "{\"door\":[true,null]}",
                  "the next good text reads as if nothing had been");
    read_limited(parser, listener, text, whole, seed);
    if (whole.good) read_again(parser, listener, whole.value);
    return 0;
}
