// SPDX-License-Identifier: MIT
#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using json::JsonParser;

/// As "offset line:column", "none" without a fault.
std::string text_of(const json::TextPlace& place) {
    if (place.line == 0) return "none";
    return std::to_string(place.offset) + ' ' + std::to_string(place.line) + ':' +
           std::to_string(place.column);
}

bool feed(JsonParser& parser, std::string_view piece) {
    return parser.parse(piece.data(), static_cast<int>(piece.size()));
}

/// Of the fault in the text, which is read in the pieces that the places cut it into.
std::string place_of(std::string_view text, const std::vector<std::size_t>& cuts = {},
                     const JsonParser::Limits& limits = {}) {
    JsonParser parser;
    parser.setLimits(limits);
    std::size_t begin = 0;
    for (const std::size_t cut : cuts) {
        feed(parser, text.substr(begin, cut - begin));
        begin = cut;
    }
    feed(parser, text.substr(begin));
    parser.parseComplete();
    return text_of(parser.errorPlace());
}

struct Row {
    std::string_view text;
    const char* place;
};

std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.text; }

const Row kRows[] = {
    // a byte that begins no token
    {"[1, oops]", "4 1:5"},
    {"?", "0 1:1"},
    {"{\"a\": 1,\n \"b\": oops}", "15 2:7"},
    {"[1,\n2,\n  #]", "9 3:3"},
    {"/x", "1 1:2"},
    // a byte that doesn't go on with its token
    {"[nul]", "4 1:5"},
    {"[trve]", "3 1:4"},
    {"[-]", "2 1:3"},
    {"[1.]", "3 1:4"},
    {"[12.5e+]", "7 1:8"},
    {"[\"a\\x\"]", "4 1:5"},
    {"[\"\\u12g4\"]", "6 1:7"},
    {"[\"a\tb\"]", "3 1:4"},
    {"[\"a\n\"]", "3 1:4"},
    // a token that may not stand there: its first byte
    {"[1,]", "3 1:4"},
    {"]", "0 1:1"},
    {"{\"a\" \"b\"}", "5 1:6"},
    {"{\"a\" \"b\\\"\\\\\"}", "5 1:6"},
    {"{\"a\":1 \"\\\\\"}", "7 1:8"},
    {"{\"a\": 1\n \"b\": 2}", "9 2:2"},
    {"{\"a\": \"x\" \"long text\": 2}", "10 1:11"},
    {"{\"a\": \"x\\\"\" \"\\\"\" 1}", "12 1:13"},
    {"{\"a\":1 2}", "7 1:8"},
    {"{\"a\":12]", "7 1:8"},
    {"{\"a\":\"x\"]", "8 1:9"},
    {"{\"a\":\"x\" 5}", "9 1:10"},
    {"{\"a\":\"\"5}", "7 1:8"},
    {"{\"a\":\"\" \"\"}", "8 1:9"},
    {"{\"a\":1 \"\"5}", "7 1:8"},
    {"{\"a\":true false}", "10 1:11"},
    {"{\"a\":truefalse}", "9 1:10"},
    {"{\"a\":-1.5e3-25}", "11 1:12"},
    {"{\"a\":01}", "6 1:7"},
    {"{\"a\":[] {}}", "8 1:9"},
    {"{\"a\":1 /* \" */ \"b\":2}", "15 1:16"},
    {"{\"a\":1 // \"\n \"b\":2}", "13 2:2"},
    {"{\"a\":1 :2}", "7 1:8"},
    {"{\"a\":1,\"b\":{\"c\":2 \"d\"}}", "18 1:19"},
    {"{\n1:2}", "2 2:1"},
    {"{true:2}", "1 1:2"},
    {"[1 -25.5e-3]", "3 1:4"},
    {"[1-2]", "2 1:3"},
    {"[01]", "2 1:3"},
    {"[1.5-2]", "4 1:5"},
    {"[1e5-2e-7]", "4 1:5"},
    {"[true false]", "6 1:7"},
    {"[truefalse]", "5 1:6"},
    {"[null true]", "6 1:7"},
    {"[true5]", "5 1:6"},
    {"[5true]", "2 1:3"},
    {"[1}", "2 1:3"},
    {"[1] x", "4 1:5"},
    {"[1]\n\n \"second\"", "6 3:2"},
    {"[1]2", "3 1:4"},
    {"1 234", "2 1:3"},
    {"[1]nul", "3 1:4"},
    {"[1] // comment\n\"\\x\"", "15 2:1"},
    {"[1]/* */ /x", "10 1:11"},
    {"[1 /* \" */ \"a\"]", "11 1:12"},
    {"[1 // \" \n\"a\"]", "9 2:1"},
    {"[1, ,\"a\"]", "4 1:5"},
    // a number that is too large
    {"[7, 99999999999999999999]", "4 1:5"},
    {"[7,\n-1e999, 1]", "4 2:1"},
    {"[99999999999999999999 ", "1 1:2"},
    {"99999999999999999999", "0 1:1"},
    // a text that ends too early
    {"", "0 1:1"},
    {" \n ", "3 2:2"},
    {"[1", "2 1:3"},
    {"[1,\n{\"a\":", "9 2:6"},
    {"[tru", "4 1:5"},
    {"[\"a\nb", "3 1:4"},
    {"-", "1 1:2"},
    {"[12e", "4 1:5"},
    {"[1 /* comment", "13 1:14"},
    // none
    {"[1, 2]", "none"},
    {"{\"a\": [1.5e-3, true, \"x\"]}\n", "none"},
    {"12", "none"},
};

class PlaceOfAFault : public testing::TestWithParam<Row> {};

TEST_P(PlaceOfAFault, IsThatOfTheTokenOrTheByteThatDoesNotFit) {
    EXPECT_EQ(GetParam().place, place_of(GetParam().text));
}

TEST_P(PlaceOfAFault, IsTheSameInPiecesOfAByte) {
    std::vector<std::size_t> cuts;
    for (std::size_t i = 1; i < GetParam().text.size(); ++i) {
        cuts.push_back(i);
    }
    EXPECT_EQ(GetParam().place, place_of(GetParam().text, cuts));
}

TEST_P(PlaceOfAFault, IsTheSameWhereverTheTextIsCutInThree) {
    const std::string_view text = GetParam().text;
    for (std::size_t first = 0; first <= text.size(); ++first) {
        for (std::size_t second = first; second <= text.size(); ++second) {
            ASSERT_EQ(GetParam().place, place_of(text, {first, second}))
                << "cut at " << first << " and " << second;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(ParseErrorPlace, PlaceOfAFault, testing::ValuesIn(kRows));

TEST(ParseErrorPlace, IsTheSameHoweverARandomTextIsCut) {
    const std::string_view parts[] = {"{",        "}",      "[",
                                      "]",        ":",      ",",
                                      "\"key\":", "\"\"",   "\"a\\\"\\\\\"",
                                      "1",        "-2.5e3", "0",
                                      "true",     "false",  "null",
                                      " ",        "\n",     "/* \" */",
                                      "// \"\n",  "#",      "\"\\x\"",
                                      "nul",      "1e999",  "-",
                                      "12",       "/"};
    std::mt19937 random(7);
    const auto below = [&](std::size_t bound) { return random() % bound; };
    int faults = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = below(2) == 0 ? "{\"key\":1" : "[1";
        for (std::size_t i = below(8); i > 0; --i) {
            text += parts[below(std::size(parts))];
        }
        std::vector<std::size_t> cuts{below(text.size() + 1), below(text.size() + 1)};
        std::sort(cuts.begin(), cuts.end());
        const std::string whole = place_of(text);
        faults += whole == "none" ? 0 : 1;
        ASSERT_EQ(whole, place_of(text, cuts))
            << text << "\ncut at " << cuts[0] << " and " << cuts[1];
    }
    EXPECT_GT(faults, 10000);
}

TEST(ParseErrorPlace, CountsLinesAndBytesOverManyPieces) {
    JsonParser parser;
    ASSERT_TRUE(parser.parse("["));
    for (int line = 0; line < 1000; ++line) {
        ASSERT_TRUE(parser.parse("\"some \xC3\xA4 text\",\n"));
    }
    EXPECT_FALSE(parser.parse("  \"\xC3\xA4\" oops"));
    EXPECT_EQ("16008 1001:8", text_of(parser.errorPlace()));
}

TEST(ParseErrorPlace, CountsManyLinesInOnePiece) {
    for (const std::size_t lines : {31u, 32u, 33u, 255u, 256u, 8160u, 8161u, 20000u}) {
        const std::string text = std::string(lines, '\n') + "  oops";
        const std::string place =
            std::to_string(lines + 2) + ' ' + std::to_string(lines + 1) + ":3";
        ASSERT_EQ(place, place_of(text));
        ASSERT_EQ(place, place_of(text, {lines / 2}));
    }
}

TEST(ParseErrorPlace, IsNoneWithoutAFault) {
    JsonParser parser;
    EXPECT_EQ("none", text_of(parser.errorPlace()));
    EXPECT_TRUE(parser.parse("[1,"));
    EXPECT_EQ("none", text_of(parser.errorPlace()));
    EXPECT_TRUE(parser.parse("2]"));
    parser.parseComplete();
    EXPECT_EQ("none", text_of(parser.errorPlace()));
}

TEST(ParseErrorPlace, StaysThatOfTheFirstFaultForFurtherPieces) {
    JsonParser parser;
    EXPECT_FALSE(parser.parse("[\noops"));
    EXPECT_EQ("2 2:1", text_of(parser.errorPlace()));
    EXPECT_FALSE(parser.parse("[1, 2, 3]"));
    EXPECT_EQ("2 2:1", text_of(parser.errorPlace()));
    parser.parseComplete();
    EXPECT_EQ("2 2:1", text_of(parser.errorPlace()));
}

TEST(ParseErrorPlace, IsForgottenWithTheNextText) {
    JsonParser parser;
    EXPECT_FALSE(parser.parse("[\n\n  oops"));
    EXPECT_EQ("5 3:3", text_of(parser.errorPlace()));
    parser.reset();
    EXPECT_EQ("none", text_of(parser.errorPlace()));
    EXPECT_FALSE(parser.parse(" oops"));
    EXPECT_EQ("1 1:2", text_of(parser.errorPlace()));
}

TEST(ParseErrorPlace, StandsWhenListenersHearOfTheFault) {
    struct Listener : json::IJsonParserListener {
        void handleParseResult(const json::Variant&) override {}
        void handleParseError(const qx::IntrusiveString&) override {
            heard = text_of(parser->errorPlace());
        }
        JsonParser* parser = nullptr;
        std::string heard;
    };
    JsonParser parser;
    Listener listener;
    listener.parser = &parser;
    parser.registerListener(&listener);
    EXPECT_FALSE(parser.parse("[1 2]"));
    EXPECT_EQ("3 1:4", listener.heard);
    parser.reset();
    EXPECT_TRUE(parser.parse("[\n"));
    parser.parseComplete();
    EXPECT_EQ("2 2:1", listener.heard);
}

TEST(ParseErrorPlace, IsTheFirstThatIsBeyondALimit) {
    JsonParser::Limits bytes;
    bytes.bytes = 5;
    EXPECT_EQ("5 2:3", place_of("[1\n, 2]", {}, bytes));
    EXPECT_EQ("5 2:3", place_of("[1\n, 2]", {3}, bytes));
    EXPECT_EQ("5 2:3", place_of("[1\n, 2]", {5}, bytes));
    EXPECT_EQ("none", place_of("[1,2]", {2}, bytes));
    JsonParser::Limits depth;
    depth.depth = 2;
    EXPECT_EQ("3 2:1", place_of("[[\n[]]]", {}, depth));
    EXPECT_EQ("3 2:1", place_of("[[\n[]]]", {1, 2, 3}, depth));
    JsonParser::Limits keys;
    keys.newKeys = 1;
    const std::string_view text = "{\"place of a fault 1\":1,\n \"place of a fault 2\":2}";
    EXPECT_EQ("26 2:2", place_of(text, {}, keys));
    const std::string_view other = "{\"place of a fault 3\":1,\n \"place of a fault 4\":2}";
    EXPECT_EQ("26 2:2", place_of(other, {30, 34}, keys));
}

TEST(ParseErrorPlace, GoesOnWithTheTextBehindALimit) {
    JsonParser parser;
    JsonParser::Limits limits;
    limits.bytes = 4;
    parser.setLimits(limits);
    EXPECT_FALSE(parser.parse("[1,\n2,"));
    EXPECT_EQ("4 2:1", text_of(parser.errorPlace()));
    EXPECT_FALSE(parser.parse("3]"));
    EXPECT_EQ("4 2:1", text_of(parser.errorPlace()));
    parser.reset();
    EXPECT_FALSE(parser.parse("x"));
    EXPECT_EQ("0 1:1", text_of(parser.errorPlace()));
}

TEST(ParseErrorPlace, IsKnownToACopyOfTheParser) {
    JsonParser parser;
    EXPECT_FALSE(parser.parse("[\noops"));
    const JsonParser copy(parser);
    EXPECT_EQ("2 2:1", text_of(copy.errorPlace()));
    JsonParser assigned;
    assigned = parser;
    EXPECT_EQ("2 2:1", text_of(assigned.errorPlace()));
}

TEST(ParseErrorPlace, LeavesTheErrorTextAsItIs) {
    JsonParser parser;
    EXPECT_FALSE(parser.parse("[1,\n oops]"));
    EXPECT_STREQ("lexical error: invalid char in json text.\n"
                 "--------------------------------------\n"
                 "[1,\n o\n"
                 "<<<<<<<< lexical error: invalid char in json text.\n"
                 " <<<<<<<<\n"
                 "ops]\n"
                 "--------------------------------------\n",
                 parser.lastError().c_str());
    parser.reset();
    EXPECT_TRUE(parser.parse("99999999999999999999"));
    parser.parseComplete();
    EXPECT_STREQ("", parser.lastError().c_str());
    EXPECT_EQ("0 1:1", text_of(parser.errorPlace()));
}

TEST(ParseErrorPlace, IsRightForAStream) {
    std::string text = "[";
    for (int i = 0; i < 100; ++i) {
        text += "\"item\",\n";
    }
    text += "  oops]";
    std::istringstream in(text);
    JsonParser parser;
    EXPECT_FALSE(parser.parse(&in));
    EXPECT_EQ("803 101:3", text_of(parser.errorPlace()));
}

} // namespace
