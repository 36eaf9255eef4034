// SPDX-License-Identifier: MIT
#include "json/JsonParser.h"

#include "schema/Schema.h"
#include "support/BoundValue.h"
#include "support/CommaLocale.h"
#include "support/SortedText.h"
#include "support/ValueProbe.h"

#include <boost/smart_ptr/weak_ptr.hpp>
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using json::JsonParser;
using json::Variant;
using test::sorted_text;

static_assert(std::has_virtual_destructor_v<JsonParser>);
static_assert(std::is_base_of_v<qx::IInterface, json::IJsonParserListener>);
static_assert(std::is_abstract_v<json::IJsonParserListener>);

/// Writes down what it hears, and does what a test wants done meanwhile.
struct Listener : json::IJsonParserListener {
    Listener(std::vector<std::string>& target, std::string itsName)
        : log(&target), name(std::move(itsName)) {}

    void handleParseResult(const Variant& value) override {
        shown = &value;
        if (onResult) onResult(value);
        log->push_back(name + ":" + sorted_text(value));
    }
    void handleParseError(const qx::IntrusiveString& text) override {
        if (onError) onError();
        log->push_back(name + "!" + std::string(text.c_str(), text.length()));
    }

    std::vector<std::string>* log;
    std::string name;
    const Variant* shown = nullptr;
    std::function<void(const Variant&)> onResult;
    std::function<void()> onError;
};

/// A parser with listeners "a" and "b" at hand, which aren't registered yet.
class JsonParserListeners : public testing::Test {
protected:
    std::string read(const char* text) {
        log.clear();
        parser.reset();
        parser.parse(text);
        parser.parseComplete();
        std::string line;
        for (const std::string& entry : log) {
            line += (line.empty() ? "" : " ") + entry;
        }
        return line;
    }
    boost::shared_ptr<Listener> shared(const char* name) {
        return boost::shared_ptr<Listener>(new Listener(log, name));
    }

    std::vector<std::string> log;
    Listener a{log, "a"};
    Listener b{log, "b"};
    Listener c{log, "c"};
    JsonParser parser;
};

/// What subclasses can reach.
struct OpenParser : JsonParser {
    using JsonParser::cb_boolean;
    using JsonParser::cb_double;
    using JsonParser::cb_end_array;
    using JsonParser::cb_end_map;
    using JsonParser::cb_integer;
    using JsonParser::cb_map_key;
    using JsonParser::cb_null;
    using JsonParser::cb_start_array;
    using JsonParser::cb_start_map;
    using JsonParser::cb_string;
    using JsonParser::notifyError;
    using JsonParser::notifyResult;
    using JsonParser::popValue;
    using JsonParser::pushValue;
};

const unsigned char* bytes(const char* text) {
    return reinterpret_cast<const unsigned char*>(text);
}

/// Feeds pieces that end where their memory ends, so that a sanitizer sees a read behind them.
bool feed(JsonParser& parser, std::string_view piece) {
    const std::unique_ptr<char[]> memory(new char[piece.size()]);
    piece.copy(memory.get(), piece.size());
    return parser.parse(memory.get(), static_cast<int>(piece.size()));
}

/// The whole value as text, the error text included.
std::string outcome(JsonParser& parser) { return sorted_text(parser.parseComplete()); }

std::string fault_of(const char* text) {
    JsonParser parser;
    parser.parse(text);
    return parser.lastError();
}

// --- What a text gives

struct Row {
    const char* text;
    const char* expected;
    const char* why;
};

TEST(JsonParser, GivesTheValueOfEveryKindOfText) {
    const Row rows[] = {
        {"null", "null", "a scalar at the top"},
        {"true", "true", "a scalar at the top"},
        {"false", "false", "a scalar at the top"},
        {"0", "0", "a number that ends with the text"},
        {"-12", "-12", "a sign"},
        {"9223372036854775807", "9223372036854775807", "the largest integer"},
        {"-9223372036854775807", "-9223372036854775807", "the smallest one that is read"},
        {"1.5", "1.5", "a real"},
        {"-25e-2", "-0.25", "an exponent"},
        {"1E2", "100.0", "an exponent makes it a real"},
        {"\"\"", "\"\"", "an empty string"},
        {"\"door\"", "\"door\"", "a string"},
        {"\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"", "\"\\\"\\\\/\\b\\f\\n\\r\\t\"", "short escapes"},
        {"\"\\u0041\\u00e4\\u20ac\"", "\"A\xc3\xa4\xe2\x82\xac\"", "escapes of 1, 2 and 3 bytes"},
        {"\"\\ud834\\udd1e\"", "\"\xf0\x9d\x84\x9e\"", "a pair of surrogates"},
        {"[]", "[]", "an empty list"},
        {"{}", "{}", "an empty object"},
        {" [ 1 , [ 2 ] , { \"a\" : [ ] } ] ", "[1,[2],{\"a\":[]}]", "blanks"},
        {"{\"b\":{\"c\":{}},\"a\":[[],[[]]]}", "{\"a\":[[],[[]]],\"b\":{\"c\":{}}}", "nesting"},
        {"\t\r\n[\n1\r,\t2 ]\n", "[1,2]", "every white space"},
    };
    for (const Row& row : rows) {
        JsonParser parser;
        EXPECT_TRUE(parser.parse(row.text)) << row.why;
        EXPECT_EQ(row.expected, sorted_text(parser.parseComplete())) << row.why;
        EXPECT_TRUE(parser.lastError().empty()) << row.why;
    }
}

TEST(JsonParser, GivesTheTypeThatTheTextShows) {
    const Variant list = JsonParser::parseTree("[null, true, 1, 1.0, \"1\", {}, []]");
    const json::Type types[] = {json::Type::Null, json::Type::Boolean, json::Type::Integer,
                                json::Type::Real, json::Type::String,  json::Type::Object,
                                json::Type::List};
    ASSERT_EQ(7u, list.size());
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(types[i], list[i].type()) << i;
    }
}

TEST(JsonParser, SkipsComments) {
    EXPECT_EQ("[1,2,{\"a\":\"/* no */\"}]",
              sorted_text(JsonParser::parseTree("/* first */ [1, // one\n 2 /**/, /* * / ** */ "
                                                "{\"a\" /*:*/ : \"/* no */\"}] // end")));
}

TEST(JsonParser, KeepsBytesThatAreNoUtf8) {
    const Variant list = JsonParser::parseTree("[\"\xff\x80\xc3\", {\"\xfe\": 1}]");
    EXPECT_EQ("\xff\x80\xc3", text_of(list[0]));
    EXPECT_EQ(1, list[1]["\xfe"].integerValue());
}

TEST(JsonParser, KeepsANulInAStringAndEndsAKeyAtIt) {
    const Variant list = JsonParser::parseTree("[\"a\\u0000b\", {\"k\\u0000x\": 1}]");
    EXPECT_EQ(std::string("a\0b", 3), text_of(list[0]));
    const json::Object& object = list[1].objectValue();
    EXPECT_EQ(1u, object.begin()->first->length());
    EXPECT_EQ(1, object["k"].integerValue());
}

TEST(JsonParser, KeepsEveryEntryOfARepeatedKeyInOrder) {
    const Variant value = JsonParser::parseTree("{\"a\": 1, \"b\": 2, \"a\": 3, \"a\": 4}");
    const json::Object& object = value.objectValue();
    EXPECT_EQ(4u, object.size());
    const auto first = object.find("a");
    EXPECT_EQ(1, first->second.integerValue());
    EXPECT_EQ(3, object.findNext(first, 1)->second.integerValue());
    EXPECT_EQ(4, object.findNext(first, 2)->second.integerValue());
    EXPECT_EQ(1, object["a"].integerValue());
}

TEST(JsonParser, TakesAnEmptyKey) {
    EXPECT_EQ("{\"\":{\"\":0}}", sorted_text(JsonParser::parseTree("{\"\": {\"\": 0}}")));
}

TEST(JsonParser, SharesKeysWithThePool) {
    JsonParser parser;
    for (int cycle = 0; cycle < 3; ++cycle) {
        parser.reset();
        parser.parse("[{\"parserkey\": 1}, {\"x\": {\"parserkey\": \"parserkey\"}}]");
        const Variant list = parser.parseComplete();
        const auto& pooled = json::Object::key_pool().intern("parserkey");
        EXPECT_EQ(pooled.get(), list[0].objectValue().begin()->first.get()) << cycle;
        EXPECT_EQ(pooled.get(), list[1]["x"].objectValue().begin()->first.get()) << cycle;
        EXPECT_NE(pooled.get(), std::as_const(list)[1]["x"]["parserkey"].stringPtr().get());
    }
}

TEST(JsonParser, LinksElementsToTheirContainers) {
    Variant value = JsonParser::parseTree("{\"list\": [1, 2]}");
    Variant& list = value.objectValue().begin()->second;
    EXPECT_TRUE(list.hasObjectParent());
    EXPECT_STREQ("list", list.keyInParent()->c_str());
    EXPECT_FALSE(JsonParser::parseTree("1").hasParent());
}

TEST(JsonParser, LeavesAContainerClean) {
    JsonParser parser;
    parser.parse("[1, {\"a\": 2}]");
    EXPECT_FALSE(parser.parseComplete().dirty());
}

TEST(JsonParser, ReadsNestingOfAnyDepth) {
    for (const std::size_t depth : {39u, 40u, 41u, 1000u, 250000u}) {
        std::string text;
        for (std::size_t i = 0; i < depth; ++i) {
            text += i % 2 == 0 ? "[" : "{\"a\":";
        }
        text += "7";
        for (std::size_t i = depth; i-- > 0;) {
            text += i % 2 == 0 ? "]" : "}";
        }
        JsonParser parser;
        ASSERT_TRUE(parser.parse(text.data(), static_cast<int>(text.size()))) << depth;
        const Variant* value = &parser.parseComplete();
        for (std::size_t i = 0; i < depth; ++i) {
            value = i % 2 == 0 ? &(*value)[0] : &(*value)["a"];
        }
        EXPECT_EQ(7, value->integerValue()) << depth;
    }
}

TEST(JsonParser, HoldsManyContainersSideBySide) {
    std::string text = "[";
    for (int i = 0; i < 20000; ++i) {
        text += "{\"a\":[1]},";
    }
    text += "null]";
    const Variant list = JsonParser::parseTree(text);
    ASSERT_EQ(20001u, list.size());
    EXPECT_EQ("{\"a\":[1]}", sorted_text(list[0]));
    EXPECT_EQ("{\"a\":[1]}", sorted_text(list[19999]));
}

// --- Pieces

/// Texts that together have every kind of token, every escape, containers and comments.
const Row kPieces[] = {
    {"{\"door\": [true, false, null], \"n\": [0, -1, 12, 1.5, -25e-2, 1E+2]}",
     "{\"door\":[true,false,null],\"n\":[0,-1,12,1.5,-0.25,100.0]}", "numbers and literals"},
    {"[\"a\\\"\\\\\\/\\b\\f\\n\\r\\t\", \"\\u0041\\u00e4\\ud834\\udd1e\", \"\xc3\xa9\xff\"]",
     "[\"a\\\"\\\\/\\b\\f\\n\\r\\t\",\"A\xc3\xa4\xf0\x9d\x84\x9e\",\"\xc3\xa9\xff\"]", "escapes"},
    {" /* c */ [1, // one\n 2 /**/ , {\"a\" : {\"b\\u0063\" : []}, \"\" : {}} ] // end",
     "[1,2,{\"\":{},\"a\":{\"bc\":[]}}]", "comments and containers"},
    {"{\"k\": 1, \"k\": [[[]]], \"long key of more than a dozen\": \"v\"}",
     "{\"k\":1,\"k\":1,\"long key of more than a dozen\":\"v\"}", "repeated and long keys"},
    {"-12.75", "-12.75", "a number at the top"},
    {"\"x\\ny\"", "\"x\\ny\"", "a string at the top"},
    {"true ", "true", "a literal at the top"},
};

TEST(JsonParser, GivesTheSameTreeHoweverTheTextIsCutInTwo) {
    for (const Row& row : kPieces) {
        const std::string_view text(row.text);
        for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            JsonParser parser;
            EXPECT_TRUE(feed(parser, text.substr(0, cut))) << row.why << " at " << cut;
            EXPECT_TRUE(feed(parser, text.substr(cut))) << row.why << " at " << cut;
            EXPECT_EQ(row.expected, outcome(parser)) << row.why << " at " << cut;
        }
    }
}

TEST(JsonParser, GivesTheSameTreeByteByByte) {
    for (const Row& row : kPieces) {
        JsonParser parser;
        for (const char* byte = row.text; *byte != '\0'; ++byte) {
            EXPECT_TRUE(feed(parser, std::string_view(byte, 1))) << row.why;
        }
        EXPECT_EQ(row.expected, outcome(parser)) << row.why;
    }
}

TEST(JsonParser, FindsAFaultHoweverTheTextIsCutInTwo) {
    for (const char* text : {"[1, oops]", "{\"a\" 1}", "[\"\\q\"]", "[1] [2]", "nulL", "[1}"}) {
        const std::string_view whole(text);
        for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
            JsonParser parser;
            const bool first = feed(parser, whole.substr(0, cut));
            const bool second = feed(parser, whole.substr(cut));
            EXPECT_FALSE(first && second) << text << " at " << cut;
        }
    }
}

TEST(JsonParser, TakesTheTextUpToItsNulForANegativeLength) {
    JsonParser parser;
    EXPECT_TRUE(parser.parse("[1]\0 garbage", -1));
    EXPECT_EQ("[1]", outcome(parser));
}

TEST(JsonParser, TakesExactlyTheGivenBytes) {
    JsonParser parser;
    EXPECT_TRUE(parser.parse("[1] garbage", 3));
    EXPECT_TRUE(parser.parse("garbage", 0));
    EXPECT_EQ("[1]", outcome(parser));
}

TEST(JsonParser, TakesANullPointerAsNoBytes) {
    JsonParser parser;
    EXPECT_TRUE(parser.parse(static_cast<const char*>(nullptr)));
    EXPECT_TRUE(parser.parse(static_cast<const char*>(nullptr), 5));
    EXPECT_TRUE(parser.parse("1"));
    EXPECT_EQ("1", outcome(parser));
}

// The naive way to end a key by a NUL writes into the caller's bytes. A literal lies in memory that
// can't be written.
TEST(JsonParser, NeverWritesIntoTheBytesThatItReads) {
    static const char text[] = "{\"key\":{\"inner\":[{\"deep\":1}]}}";
    JsonParser parser;
    EXPECT_TRUE(parser.parse(text));
    EXPECT_EQ("{\"key\":{\"inner\":[{\"deep\":1}]}}", outcome(parser));
}

// --- Streams

TEST(JsonParser, ReadsAStreamToItsEnd) {
    std::istringstream in("{\"a\": [1, 2]} ");
    JsonParser parser;
    EXPECT_TRUE(parser.parse(&in, -1));
    EXPECT_TRUE(in.eof());
    EXPECT_EQ("{\"a\":[1,2]}", outcome(parser));
}

TEST(JsonParser, ReadsAStreamOfExactlyOneAndMoreChunks) {
    for (const std::size_t size : {1u, 159u, 160u, 161u, 319u, 320u, 321u, 5000u}) {
        const std::string content(size, 'x');
        std::istringstream in("\"" + content + "\"");
        JsonParser parser;
        EXPECT_TRUE(parser.parse(&in)) << size;
        EXPECT_EQ(content, text_of(parser.parseComplete())) << size;
    }
}

TEST(JsonParser, ReadsNoMoreOfAStreamThanItIsTold) {
    for (const int length : {3, 159, 160, 161, 500}) {
        const std::string text = "[1]" + std::string(static_cast<std::size_t>(length) - 3, ' ');
        std::istringstream in(text + "rest");
        JsonParser parser;
        EXPECT_TRUE(parser.parse(&in, length)) << length;
        EXPECT_EQ("[1]", outcome(parser)) << length;
        std::string rest;
        in >> rest;
        EXPECT_EQ("rest", rest) << length;
    }
}

TEST(JsonParser, ReadsAStreamThatIsShorterThanTold) {
    std::istringstream in("[1]");
    JsonParser parser;
    EXPECT_TRUE(parser.parse(&in, 1000));
    EXPECT_EQ("[1]", outcome(parser));
}

TEST(JsonParser, ReadsNothingOfAStreamForTheLengthZero) {
    std::istringstream in("x");
    JsonParser parser;
    EXPECT_TRUE(parser.parse(&in, 0));
    EXPECT_EQ('x', in.get());
}

TEST(JsonParser, ReadsNothingOfAStreamAtItsEndOrOfNone) {
    std::istringstream in("x");
    std::string word;
    in >> word;
    ASSERT_TRUE(in.eof());
    JsonParser parser;
    EXPECT_TRUE(parser.parse(&in));
    EXPECT_TRUE(parser.parse(static_cast<std::istream*>(nullptr)));
}

TEST(JsonParser, StopsReadingAStreamAtAFault) {
    std::istringstream in("[x" + std::string(1000, ' '));
    JsonParser parser;
    EXPECT_FALSE(parser.parse(&in));
    EXPECT_EQ(160, in.tellg());
}

// A stream that failed before its end never sets the end flag: a loop that looks at that flag alone
// would not come back.
TEST(JsonParser, ComesBackFromAStreamThatFailedBeforeItsEnd) {
    for (const std::ios::iostate state : {std::ios::failbit, std::ios::badbit}) {
        std::istringstream in("[1]");
        in.setstate(state);
        JsonParser parser;
        EXPECT_TRUE(parser.parse(&in));
        EXPECT_TRUE(parser.parse(&in, 5));
        EXPECT_FALSE(in.eof());
        EXPECT_TRUE(parser.parse("2"));
        EXPECT_EQ("2", outcome(parser));
    }
}

struct BreakingBuffer : std::streambuf {
    int_type underflow() override {
        if (broken) throw std::runtime_error("the line is dead");
        broken = true;
        setg(text, text, text + sizeof text);
        return text[0];
    }
    char text[3] = {'[', '1', ','};
    bool broken = false;
};

TEST(JsonParser, ComesBackFromAStreamThatBreaks) {
    BreakingBuffer buffer;
    std::istream in(&buffer);
    JsonParser parser;
    EXPECT_TRUE(parser.parse(&in));
    EXPECT_TRUE(in.bad());
    EXPECT_FALSE(in.eof());
}

TEST(JsonParser, LetsTheExceptionOfAStreamPass) {
    BreakingBuffer buffer;
    std::istream in(&buffer);
    in.exceptions(std::ios::badbit);
    JsonParser parser;
    EXPECT_THROW(parser.parse(&in), std::runtime_error);
    parser.reset();
    EXPECT_TRUE(parser.parse("1"));
    EXPECT_EQ("1", outcome(parser));
}

TEST(JsonParser, ComesBackFromAFileThatIsNotThere) {
    std::ifstream in("no such folder/no such file");
    JsonParser parser;
    EXPECT_TRUE(parser.parse(&in));
    EXPECT_EQ("\"\"", outcome(parser));
}

// --- Faults

TEST(JsonParser, ShowsTheFaultInsideTheTextThatItCameWith) {
    EXPECT_EQ("lexical error: invalid char in json text.\n"
              "--------------------------------------\n"
              "[1, x\n"
              "<<<<<<<< lexical error: invalid char in json text.\n"
              " <<<<<<<<\n"
              "]\n"
              "--------------------------------------\n",
              fault_of("[1, x]"));
    EXPECT_EQ("parse error: object key and value must be separated by a colon (':')\n"
              "--------------------------------------\n"
              "{\"a\" 1\n"
              "<<<<<<<< parse error: object key and value must be separated by a colon (':')\n"
              " <<<<<<<<\n"
              "}\n"
              "--------------------------------------\n",
              fault_of("{\"a\" 1}"));
    EXPECT_EQ("parse error: integer overflow\n"
              "--------------------------------------\n"
              "[\n"
              "<<<<<<<< parse error: integer overflow\n"
              " <<<<<<<<\n"
              "9223372036854775808]\n"
              "--------------------------------------\n",
              fault_of("[9223372036854775808]"));
}

// The tokenizer refuses it, although the printer writes it as the default of a bare integer schema.
TEST(JsonParser, RefusesTheSmallestIntegerThatThePrinterWrites) {
    EXPECT_EQ(0u, fault_of("[-9223372036854775808]").find("parse error: integer overflow\n"));
    EXPECT_TRUE(JsonParser::parseTree("-9223372036854775807") == -9223372036854775807);
}

TEST(JsonParser, TellsFaultsApart) {
    const Row rows[] = {
        {"[1] [", "parse error: trailing garbage\n", "a second text"},
        {"[1e999]", "parse error: numeric (floating point) overflow\n", "a real out of range"},
        {"[-9223372036854775809]", "parse error: integer overflow\n", "below 64 bits"},
        {"[\"\\x\"]",
         "lexical error: inside a string, '\\' occurs before a character which it may not.\n",
         "an unknown escape"},
        {"[\"a\nb\"]", "lexical error: invalid character inside string.\n", "a bare line break"},
        {"[-]", "lexical error: malformed number, a digit is required after the minus sign.\n",
         "a lone sign"},
        {"[1,]", "parse error: unallowed token at this point in JSON text\n", "a trailing comma"},
        {"{1:2}", "parse error: invalid object key (must be a string)\n", "a key that is a number"},
        {"[1 2]", "parse error: after array element, I expect ',' or ']'\n", "a missing comma"},
        {"tru,", "lexical error: invalid string in json text.\n", "a cut literal"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(0u, fault_of(row.text).find(row.expected)) << row.why << fault_of(row.text);
    }
}

TEST(JsonParser, ShowsTheInputByteForByteWithItsNuls) {
    JsonParser parser;
    EXPECT_FALSE(parser.parse("[1,\0\xff \0]", 8));
    const qx::IntrusiveString& text = parser.lastError();
    const std::string expected("lexical error: invalid char in json text.\n"
                               "--------------------------------------\n"
                               "[1,\0\n"
                               "<<<<<<<< lexical error: invalid char in json text.\n"
                               " <<<<<<<<\n"
                               "\xff \0]\n"
                               "--------------------------------------\n",
                               42 + 39 + 5 + 51 + 10 + 5 + 39);
    EXPECT_EQ(expected, std::string(text.c_str(), text.length()));
}

TEST(JsonParser, ShowsThePresentPieceOnly) {
    JsonParser parser;
    EXPECT_TRUE(parser.parse("[1, 2,"));
    EXPECT_FALSE(parser.parse(" 3, ?, 4]"));
    EXPECT_EQ("lexical error: invalid char in json text.\n"
              "--------------------------------------\n"
              " 3, ?\n"
              "<<<<<<<< lexical error: invalid char in json text.\n"
              " <<<<<<<<\n"
              ", 4]\n"
              "--------------------------------------\n",
              std::string(parser.lastError()));
}

TEST(JsonParser, ShowsTheChunkOfAStreamOnly) {
    const std::string blanks(158, ' ');
    EXPECT_EQ("lexical error: invalid char in json text.\n"
              "--------------------------------------\n"
              "?\n"
              "<<<<<<<< lexical error: invalid char in json text.\n"
              " <<<<<<<<\n"
              "]\n"
              "--------------------------------------\n",
              text_of(JsonParser::parseTree("[1" + blanks + "?]")));
}

TEST(JsonParser, FailsAgainForEveryFurtherPieceUntilReset) {
    JsonParser parser;
    EXPECT_FALSE(parser.parse("[x"));
    EXPECT_FALSE(parser.parse("1]"));
    EXPECT_EQ("lexical error: invalid char in json text.\n"
              "--------------------------------------\n"
              "\n"
              "<<<<<<<< lexical error: invalid char in json text.\n"
              " <<<<<<<<\n"
              "1]\n"
              "--------------------------------------\n",
              std::string(parser.lastError()));
    EXPECT_FALSE(parser.parse("", 0));
    parser.reset();
    EXPECT_TRUE(parser.lastError().empty());
    EXPECT_TRUE(parser.parse("[1]"));
    EXPECT_EQ("[1]", outcome(parser));
}

TEST(JsonParser, TakesASecondTextInOneCycleForAFault) {
    JsonParser parser;
    EXPECT_TRUE(parser.parse("[1] \n"));
    EXPECT_FALSE(parser.parse("  [2]"));
    EXPECT_EQ("parse error: trailing garbage\n"
              "--------------------------------------\n"
              "  [\n"
              "<<<<<<<< parse error: trailing garbage\n"
              " <<<<<<<<\n"
              "2]\n"
              "--------------------------------------\n",
              std::string(parser.lastError()));
}

TEST(JsonParser, GivesTheErrorTextForAFault) {
    JsonParser parser;
    EXPECT_FALSE(parser.parse("]"));
    const std::string text = parser.lastError();
    const Variant& result = parser.parseComplete();
    EXPECT_TRUE(result.isString());
    EXPECT_EQ(text, text_of(result));
    EXPECT_EQ("parse error: unallowed token at this point in JSON text\n"
              "--------------------------------------\n"
              "]\n"
              "<<<<<<<< parse error: unallowed token at this point in JSON text\n"
              " <<<<<<<<\n"
              "\n"
              "--------------------------------------\n",
              text);
}

// One might ask for a message here as `parse` does; readers tell the two cases by the empty text.
TEST(JsonParser, ATextThatEndsTooEarlyGivesAnEmptyErrorText) {
    for (const char* text : {"", " ", "[1", "{\"a\":", "\"abc", "nul", "/* open", "[1,"}) {
        JsonParser parser;
        EXPECT_TRUE(parser.parse(text)) << text;
        const Variant& result = parser.parseComplete();
        EXPECT_TRUE(result.isString()) << text;
        EXPECT_EQ("", text_of(result)) << text;
        EXPECT_TRUE(parser.lastError().empty()) << text;
    }
}

TEST(JsonParser, AFaultThatShowsAtTheEndGivesAnEmptyErrorText) {
    JsonParser parser;
    EXPECT_TRUE(parser.parse("99999999999999999999"));
    EXPECT_EQ("\"\"", outcome(parser));
}

TEST(JsonParser, LeavesTheReadingOfNumbersAloneInALocaleWithADecimalComma) {
    const CommaLocale comma;
    ASSERT_TRUE(CommaLocale::active());
    const Variant list = JsonParser::parseTree("[1.5, -25e-2, 1234567, 1234567.5]");
    EXPECT_EQ(1.5, list[0].realValue());
    EXPECT_EQ(-0.25, list[1].realValue());
    EXPECT_EQ(1234567, list[2].integerValue());
    EXPECT_EQ(1234567.5, list[3].realValue());
    EXPECT_FALSE(JsonParser().parse("[1,5.]"));
    EXPECT_EQ(2.5, JsonParser::parseTree("2.5").realValue()); // read when the text ends
    EXPECT_TRUE(CommaLocale::active());
}

// --- Cycles

TEST(JsonParser, ReadsOneTextAfterAnother) {
    JsonParser parser;
    for (const char* text : {"[1,[2]]", "{\"a\":1}", "\"s\"", "[[[3]]]", "null", "{}", "7"}) {
        parser.reset();
        EXPECT_TRUE(parser.parse(text));
        EXPECT_EQ(text, outcome(parser));
    }
}

TEST(JsonParser, DropsAHalfReadTextAtReset) {
    JsonParser parser;
    EXPECT_TRUE(parser.parse("{\"a\": [1, \"x"));
    parser.reset();
    EXPECT_TRUE(parser.parse("[2]"));
    EXPECT_EQ("[2]", outcome(parser));
    parser.reset();
    EXPECT_TRUE(parser.parse("{\"key\": "));
    parser.reset();
    EXPECT_TRUE(parser.parse("\"s\""));
    EXPECT_EQ("\"s\"", outcome(parser));
}

TEST(JsonParser, KeepsTheResultInItsPlaceUntilTheNextText) {
    JsonParser parser;
    parser.parse("[1]");
    const Variant& value = parser.parseComplete();
    EXPECT_EQ(&value, &parser.parseComplete());
    EXPECT_EQ("[1]", sorted_text(value));
    parser.reset();
    EXPECT_EQ("[1]", sorted_text(value));
}

TEST(JsonParser, LeavesEarlierResultsAlone) {
    JsonParser parser;
    std::vector<Variant> results;
    for (const char* text : {"[1,{\"a\":[2]}]", "[3,{\"a\":[4]}]", "{\"b\":{}}", "[[],[[]]]"}) {
        parser.reset();
        parser.parse(text);
        results.push_back(parser.parseComplete());
    }
    EXPECT_EQ("[1,{\"a\":[2]}]", sorted_text(results[0]));
    EXPECT_EQ("[3,{\"a\":[4]}]", sorted_text(results[1]));
    EXPECT_EQ("{\"b\":{}}", sorted_text(results[2]));
    EXPECT_EQ("[[],[[]]]", sorted_text(results[3]));
}

// Binding makes the parser's own value sticky, and a sticky container is emptied in place.
TEST(JsonParser, LeavesAResultThatWasBoundToASchemaAlone) {
    for (const char* text : {"[1]", "{\"a\":1}"}) {
        JsonParser parser;
        parser.parse(text);
        parser.parseComplete().attachSchema(any_schema());
        const Variant result = parser.parseComplete();
        parser.reset();
        parser.parse(text);
        const Variant& next = parser.parseComplete();
        EXPECT_EQ(text, sorted_text(result));
        EXPECT_NE(&json::Schema::Empty, &result.schema());
        EXPECT_EQ(text, sorted_text(next));
        EXPECT_EQ(&json::Schema::Empty, &next.schema());
    }
}

// A list that held itself would never end; a bound one isn't cloned by the write.
TEST(JsonParser, PushesAListIntoItselfAsACopy) {
    for (const bool bound : {false, true}) {
        OpenParser parser;
        parser.parse("[1]");
        const Variant& result = parser.parseComplete();
        if (bound) result.attachSchema(any_schema());
        EXPECT_TRUE(parser.pushValue(result));
        EXPECT_EQ("[1,[1]]", sorted_text(result));
    }
}

TEST(JsonParser, AKeyIsAssignedToItsPlace) {
    OpenParser parser;
    for (int round = 0; round < 2; ++round) {
        parser.reset();
        parser.parse("[]");
        parser.cb_map_key(&parser, bytes("door"), 4);
        EXPECT_EQ(round == 0, parser.parseComplete().dirty()) << "an equal text marks it clean";
    }
}

TEST(JsonParser, LeavesAResultThatIsChangedByItsReaderAlone) {
    JsonParser parser;
    parser.parse("[1]");
    Variant result = parser.parseComplete();
    result << 2;
    EXPECT_EQ("[1]", outcome(parser));
    EXPECT_EQ("[1,2]", sorted_text(result));
}

TEST(JsonParser, ParsesATreeInOneCallFromEachSource) {
    EXPECT_EQ("[1]", sorted_text(JsonParser::parseTree("[1]")));
    EXPECT_EQ("[1]", sorted_text(JsonParser::parseTree("[1]]]", 3)));
    EXPECT_EQ("[1]", sorted_text(JsonParser::parseTree(std::string("[1]"))));
    std::istringstream in("[1][2]");
    EXPECT_EQ("[1]", sorted_text(JsonParser::parseTree(&in, 3)));
    EXPECT_EQ("[2]", sorted_text(JsonParser::parseTree(&in)));
}

TEST(JsonParser, ATreeOfABadTextIsAStringWithTheErrorText) {
    const Variant fault = JsonParser::parseTree("[?");
    EXPECT_TRUE(fault.isString());
    EXPECT_EQ("lexical error: invalid char in json text.\n"
              "--------------------------------------\n"
              "[?\n"
              "<<<<<<<< lexical error: invalid char in json text.\n"
              " <<<<<<<<\n"
              "\n"
              "--------------------------------------\n",
              text_of(fault));
    const Variant cut = JsonParser::parseTree("[");
    EXPECT_TRUE(cut.isString());
    EXPECT_EQ("", text_of(cut));
    EXPECT_EQ("", text_of(JsonParser::parseTree(std::string())));
}

// --- Listeners

TEST_F(JsonParserListeners, HearOfTheResultAtTheEndAndNotBefore) {
    parser.registerListener(&a);
    parser.parse("[1]");
    EXPECT_TRUE(log.empty());
    const Variant& result = parser.parseComplete();
    EXPECT_EQ(std::vector<std::string>{"a:[1]"}, log);
    EXPECT_EQ(&result, a.shown);
}

TEST_F(JsonParserListeners, HearOfAFaultWithItsTextAndAgainAtTheEnd) {
    parser.registerListener(&a);
    EXPECT_FALSE(parser.parse("[x"));
    EXPECT_EQ(1u, log.size());
    parser.parseComplete();
    const std::string text = "a!lexical error: invalid char in json text.\n"
                             "--------------------------------------\n"
                             "[x\n"
                             "<<<<<<<< lexical error: invalid char in json text.\n"
                             " <<<<<<<<\n"
                             "\n"
                             "--------------------------------------\n";
    EXPECT_EQ((std::vector<std::string>{text, text}), log);
}

TEST_F(JsonParserListeners, HearOnceWithAnEmptyTextWhenATextEndsTooEarly) {
    parser.registerListener(&a);
    parser.parse("[1");
    parser.parseComplete();
    EXPECT_EQ(std::vector<std::string>{"a!"}, log);
}

TEST_F(JsonParserListeners, AreCalledPlainOnesFirstInOrderOfRegistration) {
    parser.registerListener(shared("s"));
    parser.registerListener(&b);
    parser.registerListener(&a);
    parser.registerListener(shared("t"));
    EXPECT_EQ("b:1 a:1 s:1 t:1", read("1"));
}

TEST_F(JsonParserListeners, StandInEachListAtMostOnce) {
    const auto s = shared("s");
    parser.registerListener(&a);
    parser.registerListener(&a);
    parser.registerListener(s);
    parser.registerListener(s);
    EXPECT_EQ("a:1 s:1", read("1"));
    parser.registerListener(s.get());
    EXPECT_EQ("a:1 s:1 s:1", read("1"));
}

TEST_F(JsonParserListeners, StayAfterReset) {
    parser.registerListener(&a);
    EXPECT_EQ("a:1", read("1"));
    EXPECT_EQ("a:2", read("2"));
}

TEST_F(JsonParserListeners, MissingFromTheListRemoveNothing) {
    parser.registerListener(&a);
    parser.registerListener(shared("s"));
    parser.unregisterListener(&b);
    parser.unregisterListener(shared("t"));
    EXPECT_EQ("a:1 s:1", read("1"));
}

// The naive repair erases what the move leaves behind; applications live with the calls.
TEST(JsonParser, RemovingAListenerNeverShortensTheList) {
    struct Case {
        const char* listed;
        char removed;
        const char* plain;
        const char* shared;
    };
    const Case cases[] = {
        {"a", 'a', "a:1", "a:1"},
        {"ab", 'b', "a:1 b:1", "a:1 b:1"},
        {"ab", 'a', "b:1 b:1", "b:1"},
        {"abc", 'b', "a:1 c:1 c:1", "a:1 c:1"},
        {"abc", 'a', "b:1 c:1 c:1", "b:1 c:1"},
        {"abc", 'c', "a:1 b:1 c:1", "a:1 b:1 c:1"},
    };
    for (const Case& row : cases) {
        std::vector<std::string> log;
        std::vector<boost::shared_ptr<Listener>> listeners;
        JsonParser plain;
        JsonParser shared;
        for (const char* name = row.listed; *name != '\0'; ++name) {
            listeners.emplace_back(new Listener(log, std::string(1, *name)));
            plain.registerListener(listeners.back().get());
            shared.registerListener(listeners.back());
        }
        const auto& removed = listeners[static_cast<std::size_t>(row.removed - 'a')];
        plain.unregisterListener(removed.get());
        shared.unregisterListener(removed);
        const auto calls = [&log](JsonParser& parser) {
            log.clear();
            parser.parse("1");
            parser.parseComplete();
            std::string line;
            for (const std::string& entry : log) {
                line += (line.empty() ? "" : " ") + entry;
            }
            return line;
        };
        EXPECT_EQ(row.plain, calls(plain)) << row.listed << " without " << row.removed;
        EXPECT_EQ(row.shared, calls(shared)) << row.listed << " without " << row.removed;
    }
}

TEST_F(JsonParserListeners, OfTheSharedFormLiveAsLongAsTheListHoldsThem) {
    auto s = shared("s");
    auto t = shared("t");
    const boost::weak_ptr<Listener> first(s);
    const boost::weak_ptr<Listener> last(t);
    parser.registerListener(s);
    parser.registerListener(t);
    parser.unregisterListener(t); // in the last place: it stays
    parser.unregisterListener(s);
    s.reset();
    t.reset();
    EXPECT_TRUE(first.expired());
    EXPECT_FALSE(last.expired());
    EXPECT_EQ("t:1", read("1"));
}

TEST_F(JsonParserListeners, AreAppendedBehindWhatARemovalLeft) {
    const auto s = shared("s");
    parser.registerListener(s);
    parser.registerListener(shared("t"));
    parser.unregisterListener(s);
    parser.registerListener(s);
    EXPECT_EQ("t:1 s:1", read("1"));
}

TEST_F(JsonParserListeners, ThatAreNullAreSkipped) {
    parser.registerListener(static_cast<json::IJsonParserListener*>(nullptr));
    parser.registerListener(boost::shared_ptr<json::IJsonParserListener>());
    parser.registerListener(&a);
    EXPECT_EQ("a:1", read("1"));
    EXPECT_EQ("a!", read("["));
}

TEST_F(JsonParserListeners, MayRegisterOthersWhileTheyAreCalled) {
    std::vector<std::unique_ptr<Listener>> more;
    a.onResult = [&](const Variant&) {
        for (int i = 0; i < 100; ++i) {
            more.push_back(std::make_unique<Listener>(log, "m"));
            parser.registerListener(more.back().get());
            parser.registerListener(shared("n"));
        }
        a.onResult = nullptr;
    };
    parser.registerListener(&a);
    read("1");
    EXPECT_EQ(201u, log.size());
}

TEST_F(JsonParserListeners, MayLeaveWhileTheyAreCalled) {
    const auto s = shared("s");
    s->onResult = [&](const Variant&) { parser.unregisterListener(s); };
    parser.registerListener(s);
    parser.registerListener(shared("t"));
    EXPECT_EQ("s:1", read("1")); // "t" has moved to the place that was just called
    EXPECT_EQ("t:1", read("1"));
}

TEST_F(JsonParserListeners, ThatReadAnotherTextDontShowItToTheOthers) {
    const Variant* inner = nullptr;
    a.onResult = [&](const Variant&) {
        a.onResult = nullptr;
        parser.reset();
        const std::string deep = std::string(100, '[') + std::string(100, ']');
        parser.parse(deep.c_str());
        parser.reset();
        parser.parse("[\"second\",[2]]");
        inner = &parser.parseComplete();
    };
    parser.registerListener(&a);
    parser.registerListener(&b);
    parser.registerListener(shared("s"));
    parser.parse("[\"first\",[1]]");
    const Variant& outer = parser.parseComplete();
    EXPECT_EQ(
        (std::vector<std::string>{"a:[\"second\",[2]]", "b:[\"second\",[2]]", "s:[\"second\",[2]]",
                                  "a:[\"first\",[1]]", "b:[\"first\",[1]]", "s:[\"first\",[1]]"}),
        log);
    EXPECT_EQ("[\"first\",[1]]", sorted_text(outer));
    EXPECT_EQ("[\"second\",[2]]", sorted_text(*inner));
}

TEST_F(JsonParserListeners, MayBeginATextThatIsFinishedLater) {
    a.onResult = [&](const Variant&) {
        a.onResult = nullptr;
        parser.reset();
        parser.parse("[\"la");
    };
    parser.registerListener(&a);
    parser.parse("[1]");
    EXPECT_EQ("[1]", sorted_text(parser.parseComplete()));
    EXPECT_TRUE(parser.parse("ter\"]"));
    EXPECT_EQ("[\"later\"]", outcome(parser));
    EXPECT_EQ((std::vector<std::string>{"a:[1]", "a:[\"later\"]"}), log);
}

TEST_F(JsonParserListeners, MayResetTheParserWhileTheyReadAnErrorText) {
    a.onError = [&] { parser.reset(); };
    parser.registerListener(&a);
    parser.registerListener(&b);
    const std::string text = "lexical error: invalid char in json text.\n"
                             "--------------------------------------\n"
                             "[x\n"
                             "<<<<<<<< lexical error: invalid char in json text.\n"
                             " <<<<<<<<\n"
                             "\n"
                             "--------------------------------------\n";
    EXPECT_FALSE(parser.parse("[x"));
    EXPECT_EQ((std::vector<std::string>{"a!" + text, "b!" + text}), log);
    EXPECT_TRUE(parser.lastError().empty());

    log.clear();
    a.onError = nullptr;
    parser.parse("[x");
    a.onError = [&] { parser.reset(); };
    parser.parseComplete();
    EXPECT_EQ((std::vector<std::string>{"a!" + text, "b!" + text, "a!" + text, "b!" + text}), log);
}

TEST_F(JsonParserListeners, MayFeedTheParserWhileTheyReadAnErrorText) {
    a.onError = [&] {
        a.onError = nullptr;
        parser.reset();
        parser.parse("[1]");
        parser.parseComplete();
    };
    parser.registerListener(&a);
    std::istringstream in("[?" + std::string(500, ' '));
    EXPECT_FALSE(parser.parse(&in));
    ASSERT_EQ(2u, log.size());
    EXPECT_EQ("a:[1]", log[0]);
    EXPECT_EQ(0u, log[1].find("a!lexical error"));
}

TEST_F(JsonParserListeners, MayThrowAndTheParserGoesOn) {
    a.onResult = [](const Variant&) { throw std::runtime_error("no"); };
    parser.registerListener(&a);
    parser.parse("[1]");
    EXPECT_THROW(parser.parseComplete(), std::runtime_error);
    a.onResult = nullptr;
    EXPECT_EQ("a:[2]", read("[2]"));
}

// --- Copies

TEST(JsonParser, ACopyReadsIntoItsOwnStack) {
    JsonParser source;
    source.parse("[1, [2,");
    JsonParser copy(source);
    EXPECT_TRUE(copy.parse(" 3], 4]")); // the tokenizer is shared, and so the place in the text
    EXPECT_EQ("[1,[2,3],4]", outcome(copy));
}

TEST(JsonParser, ACopyLivesOnWithoutItsSource) {
    auto source = std::make_unique<JsonParser>();
    source->parse("[1,");
    JsonParser copy(*source);
    source.reset();
    EXPECT_TRUE(copy.parse("2]"));
    EXPECT_EQ("[1,2]", outcome(copy));
    copy.reset();
    EXPECT_TRUE(copy.parse("3"));
    EXPECT_EQ("3", outcome(copy));
}

TEST(JsonParser, ACopyAndItsSourceReadInTurn) {
    JsonParser source;
    JsonParser copy(source);
    for (int i = 0; i < 3; ++i) {
        for (JsonParser* parser : {&source, &copy}) {
            parser->reset();
            EXPECT_TRUE(parser->parse("[[1],{\"a\":2}]"));
            EXPECT_EQ("[[1],{\"a\":2}]", outcome(*parser));
        }
    }
}

TEST(JsonParser, ACopyHasAResultAnErrorTextAndListenersOfItsOwn) {
    std::vector<std::string> log;
    Listener a(log, "a");
    JsonParser source;
    source.registerListener(&a);
    source.parse("[x");
    JsonParser copy(source);
    EXPECT_FALSE(copy.lastError().empty());
    source.reset();
    EXPECT_TRUE(source.lastError().empty());
    EXPECT_FALSE(copy.lastError().empty());
    log.clear();
    copy.reset();
    copy.parse("1");
    copy.parseComplete();
    EXPECT_EQ(std::vector<std::string>{"a:1"}, log);
}

TEST(JsonParser, AnAssignedParserIsACopy) {
    std::vector<std::string> log;
    Listener a(log, "a");
    JsonParser source;
    source.registerListener(&a);
    source.parse("[1,");
    JsonParser target;
    target.parse("{\"other\":");
    target = source;
    target = static_cast<const JsonParser&>(target);
    EXPECT_TRUE(target.parse("2]"));
    EXPECT_EQ("[1,2]", outcome(target));
    EXPECT_EQ(std::vector<std::string>{"a:[1,2]"}, log);
}

TEST(JsonParser, ACopyThatIsFedByAListenerOfItsSourceKeepsThemApart) {
    std::vector<std::string> log;
    Listener a(log, "a");
    Listener b(log, "b");
    JsonParser source;
    JsonParser copy(source);
    a.onResult = [&](const Variant&) {
        copy.reset();
        copy.parse("[\"copy\"]");
        copy.parseComplete();
    };
    source.registerListener(&a);
    copy.registerListener(&b);
    source.parse("[\"source\"]");
    EXPECT_EQ("[\"source\"]", sorted_text(source.parseComplete()));
    EXPECT_EQ((std::vector<std::string>{"b:[\"copy\"]", "a:[\"source\"]"}), log);
}

// --- What subclasses reach

TEST(JsonParser, PushesAValueWhereItBelongs) {
    OpenParser parser;
    EXPECT_FALSE(parser.popValue()); // nothing is there
    EXPECT_EQ(1, OpenParser::cb_start_array(&parser));
    EXPECT_TRUE(parser.pushValue(1)); // into the list
    EXPECT_EQ(1, OpenParser::cb_start_map(&parser));
    EXPECT_FALSE(parser.pushValue(2)); // an object without a pending key
    EXPECT_EQ(1, OpenParser::cb_map_key(&parser, bytes("key?"), 3));
    EXPECT_TRUE(parser.pushValue(3));
    EXPECT_TRUE(parser.popValue()); // the object goes into the list
    EXPECT_TRUE(parser.popValue()); // the outermost one stays
    EXPECT_TRUE(parser.popValue());
    std::vector<std::string> log;
    Listener a(log, "a");
    parser.registerListener(&a);
    parser.notifyResult("told");
    parser.notifyError("bad");
    EXPECT_EQ((std::vector<std::string>{"a:\"told\"", "a!bad"}), log);
}

TEST(JsonParser, DropsAValueThatHasNoPlace) {
    OpenParser parser;
    EXPECT_TRUE(parser.pushValue(5)); // the outermost scalar
    EXPECT_FALSE(parser.pushValue(6));
    parser.reset();
    EXPECT_TRUE(parser.pushValue("text"));
    EXPECT_FALSE(parser.pushValue(7)); // a text on top counts as a key, with no object below it
    EXPECT_TRUE(parser.pushValue(8));  // and is gone
}

TEST(JsonParser, AnswersOneToTheTokenizerWhateverBecomesOfAValue) {
    OpenParser parser;
    EXPECT_EQ(1, OpenParser::cb_end_map(&parser));
    EXPECT_EQ(1, OpenParser::cb_end_array(&parser));
    EXPECT_EQ(1, OpenParser::cb_null(&parser));
    EXPECT_EQ(1, OpenParser::cb_boolean(&parser, 1));
    EXPECT_EQ(1, OpenParser::cb_integer(&parser, 1));
    EXPECT_EQ(1, OpenParser::cb_double(&parser, 1.0));
    EXPECT_EQ(1, OpenParser::cb_string(&parser, bytes("x"), 1));
    EXPECT_EQ(1, OpenParser::cb_end_array(&parser));
}

} // namespace
