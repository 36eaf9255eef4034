// SPDX-License-Identifier: MIT
// A text in pieces: what a token that is cut costs, and that nobody can tell the cuts.
#include "json/detail/PendingToken.h"
#include "support/SortedText.h"
#include "json/JsonParser.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>
#include <yajl/yajl_parse.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using json::JsonParser;
using json::detail::PendingToken;

/// The token that is open behind `text`.
PendingToken behind(std::string_view text) {
    PendingToken token;
    token.follow(text);
    return token;
}

TEST(PendingToken, GathersNothingWhereNoTokenIsOpen) {
    for (const char* text :
         {"", "[", "{\"a\":", "[1,", "[\"a\"", "[true", "/* a */", "// a\n", "[1.5e3 ", "[/*a*/1,",
          "[\"\\\"\"", "[-", "[0", "[1.", "[1e", "[1e+", "/"}) {
        for (const char* piece : {"1", "a", "5", "*"}) {
            EXPECT_FALSE(behind(text).gather(piece)) << text << " " << piece;
        }
    }
}

TEST(PendingToken, GathersWhatOnlyContinuesAString) {
    for (const char* piece : {"", "a", "/", "1", "\\n", "\\u00e9", "\\\\", "\\\"", "\x7f",
                              "\xc3\xa9", "a\\", "\\u1", "// a", "{[]}"}) {
        PendingToken token = behind("[\"begun");
        EXPECT_TRUE(token.gather(piece)) << piece;
        EXPECT_EQ(piece, token.gathered());
    }
    for (const char* piece : {"\"", "a\"", "\n", "\x1f", "\\x", "\\ug", "\\u12x", "a\\\\\""}) {
        PendingToken token = behind("[\"begun");
        EXPECT_FALSE(token.gather(piece)) << piece;
        EXPECT_EQ("", token.gathered());
    }
}

TEST(PendingToken, GoesOnInsideAnEscape) {
    PendingToken token = behind("[\"\\");
    EXPECT_FALSE(token.gather("x"));
    EXPECT_TRUE(token.gather("u"));
    EXPECT_FALSE(token.gather("\""));
    EXPECT_TRUE(token.gather("00"));
    EXPECT_FALSE(token.gather("a\""));
    EXPECT_TRUE(token.gather("e9"));
    EXPECT_FALSE(token.gather("\""));
    EXPECT_TRUE(token.gather("u"));
    EXPECT_EQ("u00e9u", token.gathered());
}

TEST(PendingToken, GathersTheDigitsOfANumber) {
    for (const char* text : {"[1", "[-1", "[10", "[0.5", "[-0.25", "[1.5", "[1e5", "[1E+5",
                             "[1.5e-5", "[1e+0", "[1e-0"}) {
        EXPECT_TRUE(behind(text).gather("0123456789")) << text;
        for (const char* piece : {"-", "+", ".", "e", "1.", "1,", "]", " ", "1e"}) {
            EXPECT_FALSE(behind(text).gather(piece)) << text << piece;
        }
    }
}

TEST(PendingToken, GathersTheInsideOfAComment) {
    for (const char* piece : {"a", "\"", "/", "\n", "**", "* /", "*"}) {
        EXPECT_TRUE(behind("[/* a").gather(piece)) << piece;
    }
    EXPECT_FALSE(behind("[/* a").gather("a*/"));
    EXPECT_FALSE(behind("[/* a *").gather("/"));
    EXPECT_FALSE(behind("[/* a *").gather("*/"));
    EXPECT_TRUE(behind("[/* a *").gather("a/"));
    EXPECT_TRUE(behind("[// a").gather("b*/\""));
    EXPECT_FALSE(behind("[// a").gather("b\n"));
}

TEST(PendingToken, ForgetsWhatWasHandedOnAndStaysInTheToken) {
    PendingToken token = behind("[\"");
    EXPECT_TRUE(token.gather(std::string(100000, 'a')));
    token.handedOn();
    EXPECT_EQ("", token.gathered());
    EXPECT_TRUE(token.gather("b"));
    token.clear();
    EXPECT_EQ("", token.gathered());
    EXPECT_FALSE(token.gather("b"));
}

// ----- Nobody can tell ---------------------------------------------------------------------------

/// What the bare tokenizer does with a text in pieces.
struct Bare {
    std::string events;
    std::size_t piecesTaken = 0;
    std::string message; // of the piece that failed
    std::size_t offset = 0;
    bool complete = false;

    static int note(void* context, const char* what, std::string_view text = {}) {
        auto& events = static_cast<Bare*>(context)->events;
        events.append(what).append(text).append(";");
        return 1;
    }
    static std::string_view view(const unsigned char* text, std::size_t length) {
        return {reinterpret_cast<const char*>(text), length};
    }

    explicit Bare(const std::vector<std::string>& pieces) {
        const yajl_callbacks callbacks = {
            [](void* context) { return note(context, "null"); },
            [](void* context, int value) { return note(context, value != 0 ? "true" : "false"); },
            [](void* context, long long value) {
                return note(context, "i", std::to_string(value));
            },
            [](void* context, double value) { return note(context, "r", std::to_string(value)); },
            nullptr,
            [](void* context, const unsigned char* text, std::size_t length) {
                return note(context, "s", view(text, length));
            },
            [](void* context) { return note(context, "{"); },
            [](void* context, const unsigned char* text, std::size_t length) {
                return note(context, "k", view(text, length));
            },
            [](void* context) { return note(context, "}"); },
            [](void* context) { return note(context, "["); },
            [](void* context) { return note(context, "]"); }};
        yajl_handle handle = yajl_alloc(&callbacks, nullptr, this);
        yajl_config(handle, yajl_allow_comments, 1);
        yajl_config(handle, yajl_dont_validate_strings, 1);
        for (const std::string& piece : pieces) {
            const auto* bytes = reinterpret_cast<const unsigned char*>(piece.data());
            if (yajl_parse(handle, bytes, piece.size()) != yajl_status_ok) {
                unsigned char* text = yajl_get_error(handle, 0, bytes, piece.size());
                message = reinterpret_cast<const char*>(text);
                yajl_free_error(handle, text);
                offset = std::min(yajl_get_bytes_consumed(handle), piece.size());
                break;
            }
            ++piecesTaken;
        }
        if (piecesTaken == pieces.size()) complete = yajl_complete_parse(handle) == yajl_status_ok;
        yajl_free(handle);
    }
};

/// The error text for a fault at that place of the piece.
std::string banner(const Bare& bare, const std::string& piece) {
    return bare.message + "--------------------------------------\n" +
           piece.substr(0, bare.offset) + "\n<<<<<<<< " + bare.message + " <<<<<<<<\n" +
           piece.substr(bare.offset) + "\n--------------------------------------\n";
}

std::vector<std::string> cut(std::string_view text, std::mt19937& random) {
    const std::size_t longest = 1 + random() % 12;
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const std::size_t length = std::min<std::size_t>(text.size(), random() % (longest + 1));
        pieces.emplace_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return pieces;
}

/// The whole text made of tokens that are cut easily, right or, one time in three, slightly wrong.
std::string random_text(std::mt19937& random) {
    static const char* const tokens[] = {"\"plain text\"",
                                         "\"a\\\"b\\\\c\\u00e9\\n\"",
                                         "\"\xc3\xa9 \xff\"",
                                         "12345678901234567",
                                         "-0.125",
                                         "1.5e-300",
                                         "0",
                                         "10e2",
                                         "true",
                                         "null",
                                         "/* a ** comment */ 1",
                                         "// to the end\n 2",
                                         "[]",
                                         "{}",
                                         "{\"a key\":[1,\"\\ud83d\\ude00\"]}",
                                         "\"\"",
                                         "/***/3"};
    std::string text = "[";
    const std::size_t count = 1 + random() % 5;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) text += ",";
        text += tokens[random() % std::size(tokens)];
    }
    text += random() % 3 == 0 ? "] /* behind it */" : "]";
    if (random() % 3 == 0) {
        static const char wrong[] = "\"\\/*\n0e.-x]\x01";
        text[random() % text.size()] = wrong[random() % (sizeof wrong - 1)];
    }
    return text;
}

TEST(TextInPieces, IsReadAndRefusedJustAsByTheBareTokenizer) {
    std::mt19937 random(20240607);
    std::size_t refused = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::string text = random_text(random);
        const std::vector<std::string> pieces = cut(text, random);
        const Bare bare(pieces);
        JsonParser parser;
        std::size_t taken = 0;
        while (taken < pieces.size() &&
               parser.parse(pieces[taken].data(), static_cast<int>(pieces[taken].size()))) {
            ++taken;
        }
        ASSERT_EQ(bare.piecesTaken, taken) << text;
        if (taken < pieces.size()) {
            ++refused;
            ASSERT_EQ(banner(bare, pieces[taken]), std::string(parser.lastError())) << text;
            continue;
        }
        const json::Variant result = parser.parseComplete();
        if (bare.complete) {
            const json::Variant whole =
                JsonParser::parseTree(text.data(), static_cast<int>(text.size()));
            const boost::intrusive_ptr<qx::IntrusiveString> expected(whole.print());
            const boost::intrusive_ptr<qx::IntrusiveString> printed(result.print());
            ASSERT_STREQ(expected->c_str(), printed->c_str()) << text;
        } else {
            ASSERT_TRUE(result.isString()) << text;
        }
    }
    EXPECT_LT(2000u, refused);
    EXPECT_GT(10000u, refused);
}

TEST(TextInPieces, AFaultBehindAnOpenTokenStaysAFault) {
    JsonParser parser;
    EXPECT_TRUE(parser.parse("{\"2"));
    EXPECT_FALSE(parser.parse("\",}"));
    EXPECT_FALSE(parser.parse(" "));
    EXPECT_FALSE(parser.parse("more"));
    parser.reset();
    EXPECT_TRUE(parser.parse("[\"2"));
    EXPECT_TRUE(parser.parse("\"]"));
    EXPECT_EQ("2", parser.parseComplete()[0].stringValue());
}

TEST(TextInPieces, AnOpenTokenIsHandedOnWhenTheTextEnds) {
    JsonParser parser;
    for (const char* piece : {"1", "2", "3"}) {
        EXPECT_TRUE(parser.parse(piece));
    }
    EXPECT_TRUE(parser.parseComplete() == 123);
    parser.reset();
    EXPECT_TRUE(parser.parse("\"a"));
    EXPECT_TRUE(parser.parse("b"));
    EXPECT_TRUE(parser.parseComplete().isString()); // the text ended too early
    EXPECT_TRUE(parser.lastError().empty());
    parser.reset();
    EXPECT_TRUE(parser.parse("5"));
    EXPECT_TRUE(parser.parseComplete() == 5); // nothing of the earlier text stands in front
}

TEST(TextInPieces, ALongStringInSmallPiecesIsReadWhole) {
    const std::string text =
        "[\"" + std::string(4 << 20, 'a') + "\\n" + std::string(1000, 'b') + "\"]";
    const json::Variant value = JsonParser::parseTree(text); // reads pieces of 160 bytes
    ASSERT_EQ(1u, value.size());
    EXPECT_EQ(std::string(4 << 20, 'a') + "\n" + std::string(1000, 'b'),
              std::string(value[0].stringValue()));
}

// ----- Whose bytes they are ---------------------------------------------------------------------

TEST(JsonParser, ReadsReadOnlyMemoryUpToItsLastByte) {
    const std::string text = R"({"read only key":{"\u0061nother":[1,"text",12]}})";
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    // Behind the page lies nothing that could be read or written.
    void* room =
        ::mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, room);
    char* end = static_cast<char*>(room) + page;
    ASSERT_EQ(0, ::mprotect(end, page, PROT_NONE));
    for (std::size_t length = 0; length <= text.size(); ++length) {
        ASSERT_EQ(0, ::mprotect(room, page, PROT_READ | PROT_WRITE));
        std::copy_n(text.data(), length, end - length);
        ASSERT_EQ(0, ::mprotect(room, page, PROT_READ));
        JsonParser parser;
        EXPECT_TRUE(parser.parse(end - length, static_cast<int>(length)));
        EXPECT_TRUE(parser.parse(text.data() + length, static_cast<int>(text.size() - length)));
        EXPECT_EQ(R"({"read only key":{"another":[1,"text",12]}})",
                  test::sorted_text(parser.parseComplete()));
    }
    ::munmap(room, 2 * page);
}

// ----- Limits ------------------------------------------------------------------------------------

struct Limited : JsonParser {
    explicit Limited(std::size_t bytes, std::size_t depth, std::size_t newKeys) {
        setLimits({bytes, depth, newKeys});
    }
};

TEST(ParserLimits, AreOffInANewParser) {
    const JsonParser parser;
    EXPECT_EQ(0u, parser.limits().bytes);
    EXPECT_EQ(0u, parser.limits().depth);
    EXPECT_EQ(0u, parser.limits().newKeys);
}

TEST(ParserLimits, ATextThatIsTooLongIsAFaultAtTheByteThatIsTooMuch) {
    Limited parser(10, 0, 0);
    EXPECT_TRUE(parser.parse("[1,2,3,4]"));
    EXPECT_TRUE(parser.parse(" "));
    EXPECT_EQ(4u, parser.parseComplete().size());
    parser.reset();
    EXPECT_TRUE(parser.parse("[1,2,"));
    EXPECT_FALSE(parser.parse("3,4,5]"));
    EXPECT_STREQ("the text is longer than the limit of 10\n"
                 "--------------------------------------\n"
                 "3,4,5\n"
                 "<<<<<<<< the text is longer than the limit of 10\n"
                 " <<<<<<<<\n"
                 "]\n"
                 "--------------------------------------\n",
                 parser.lastError().c_str());
    EXPECT_FALSE(parser.parse("]"));
    EXPECT_EQ(parser.lastError().c_str(), std::string(parser.parseComplete().charsValue()));
    parser.reset();
    EXPECT_TRUE(parser.parse("[1]"));
    EXPECT_EQ(1u, parser.parseComplete().size());
}

TEST(ParserLimits, BytesOfAnOpenTokenCountToo) {
    Limited parser(10, 0, 0);
    EXPECT_TRUE(parser.parse("\"12345"));
    EXPECT_TRUE(parser.parse("6789"));
    EXPECT_FALSE(parser.parse("0"));
}

TEST(ParserLimits, ATextThatIsTooDeepIsAFaultAtTheBracketThatIsTooMuch) {
    Limited parser(0, 2, 0);
    EXPECT_TRUE(parser.parse("[[],{},[]]"));
    EXPECT_EQ(3u, parser.parseComplete().size());
    parser.reset();
    EXPECT_FALSE(parser.parse("[{\"a\":[1]}]"));
    EXPECT_EQ(
        0u,
        std::string(parser.lastError()).find("the text is nested deeper than the limit of 2\n"));
    EXPECT_NE(std::string::npos, std::string(parser.lastError()).find("\n[{\"a\":[\n<<<<<<<<"));
    EXPECT_FALSE(parser.parse("1"));
    parser.reset();
    EXPECT_TRUE(parser.parse("[[]]"));
    EXPECT_EQ(1u, parser.parseComplete().size());
}

TEST(ParserLimits, ATextWithTooManyKeysThatAreNewIsAFault) {
    Limited parser(0, 0, 2);
    EXPECT_TRUE(parser.parse("{\"limits a\":1,\"limits b\":2,\"limits a\":3}"));
    EXPECT_EQ(3u, parser.parseComplete().size());
    parser.reset();
    // The two are known now and don't count.
    EXPECT_TRUE(parser.parse("{\"limits a\":1,\"limits b\":2,\"limits c\":3,\"limits d\":4,"));
    const std::size_t keys = json::Object::key_pool().size();
    EXPECT_FALSE(parser.parse("\"limits e\":5}"));
    EXPECT_EQ(keys, json::Object::key_pool().size());
    EXPECT_EQ(
        0u,
        std::string(parser.lastError()).find("the text has more new keys than the limit of 2\n"));
    parser.reset();
    EXPECT_TRUE(parser.parse("{\"limits e\":5}"));
    EXPECT_EQ(1u, parser.parseComplete().size());
}

TEST(ParserLimits, PlacesThatANestedTextNeededAreCounted) {
    JsonParser parser;
    EXPECT_EQ(40u, parser.slotCount());
    parser.parse(std::string(100, '[').c_str());
    EXPECT_EQ(120u, parser.slotCount()); // they are made in rows
    parser.reset();
    EXPECT_EQ(120u, parser.slotCount());
    parser.parse(std::string(120, '[').c_str());
    EXPECT_EQ(120u, parser.slotCount()); // each row is filled
}

TEST(ParserLimits, GoWithACopy) {
    const Limited source(5, 6, 7);
    const JsonParser copy(source);
    JsonParser assigned;
    assigned = source;
    for (const JsonParser* parser : {&copy, static_cast<const JsonParser*>(&assigned)}) {
        EXPECT_EQ(5u, parser->limits().bytes);
        EXPECT_EQ(6u, parser->limits().depth);
        EXPECT_EQ(7u, parser->limits().newKeys);
    }
}

} // namespace
