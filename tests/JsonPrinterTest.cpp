// SPDX-License-Identifier: MIT
#include "json/JsonPrinter.h"

#include "support/CommaLocale.h"
#include "support/ValueProbe.h"
#include "json/JsonParser.h"

#include <gtest/gtest.h>
#include <locale.h>

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using json::JsonParser;
using json::JsonPrinter;
using json::Variant;

static_assert(!std::is_polymorphic_v<JsonPrinter>);
static_assert(JsonPrinter::NO_PRINT_FUNCTION == nullptr);

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string text_of(const JsonPrinter& printer) {
    const qx::IntrusiveString text = printer.string();
    return std::string(text.c_str(), text.length());
}

std::string pretty(const Variant& value) {
    JsonPrinter printer;
    printer.print(value);
    return text_of(printer);
}

std::string compact(const Variant& value) {
    JsonPrinter printer;
    printer.setIndent("");
    printer.print(value);
    return text_of(printer);
}

/// What a print function was given, call by call.
struct Calls {
    static void print(void* context, const char* text, int length) {
        auto* self = static_cast<Calls*>(context);
        self->texts.emplace_back(text, static_cast<std::size_t>(length));
        if (self->meanwhile) self->meanwhile(self->texts.back());
    }
    std::string joined() const {
        std::string all;
        for (const std::string& text : texts) {
            all += text;
        }
        return all;
    }

    std::vector<std::string> texts;
    std::function<void(const std::string&)> meanwhile;
};

/// A stream's buffer that keeps what it gets, and does what a test wants done meanwhile.
struct Sink : std::streambuf {
    std::streamsize xsputn(const char* text, std::streamsize length) override {
        all.append(text, static_cast<std::size_t>(length));
        if (meanwhile) meanwhile();
        return length;
    }
    int_type overflow(int_type c) override {
        all += traits_type::to_char_type(c);
        return c;
    }

    std::string all;
    std::function<void()> meanwhile;
};

struct OpenPrinter : JsonPrinter {
    using JsonPrinter::JsonPrinter;
    using JsonPrinter::printToStream;
    using JsonPrinter::updateAutoValues;
};

json::Object with_repeated_key() {
    return JsonParser::parseTree("{\"a\": 1, \"b\": 2, \"a\": 3}").objectValue();
}

// --- The text

TEST(JsonPrinter, PrintsEveryTypeOfValue) {
    EXPECT_EQ("null", compact(Variant()));
    EXPECT_EQ("true", compact(Variant(true)));
    EXPECT_EQ("false", compact(Variant(false)));
    EXPECT_EQ("-12", compact(Variant(-12)));
    EXPECT_EQ("1.5", compact(Variant::fromReal(1.5)));
    EXPECT_EQ("\"door\"", compact(Variant("door")));
    EXPECT_EQ("{}", compact(Variant::newObject()));
    EXPECT_EQ("[]", compact(Variant::newList()));
    EXPECT_EQ("[1,[2,{\"a\":[]}]]", compact(JsonParser::parseTree("[1,[2,{\"a\":[]}]]")));
}

TEST(JsonPrinter, PrintsIntegersToTheBounds) {
    EXPECT_EQ("9223372036854775807",
              compact(Variant::fromInteger(std::numeric_limits<std::int64_t>::max())));
    EXPECT_EQ("-9223372036854775808",
              compact(Variant::fromInteger(std::numeric_limits<std::int64_t>::min())));
}

TEST(JsonPrinter, PrintsRealsWithTwentyDigitsAndSoThatTheyStayReal) {
    EXPECT_EQ("1.0", compact(Variant::fromReal(1)));
    EXPECT_EQ("-0.0", compact(Variant::fromReal(-0.0)));
    EXPECT_EQ("0.10000000000000000555", compact(Variant::fromReal(0.1)));
    EXPECT_EQ("1e+20", compact(Variant::fromReal(1e20)));
    EXPECT_EQ("123456789012345680.0", compact(Variant::fromReal(123456789012345680.0)));
    EXPECT_EQ("4.9406564584124654418e-324", compact(Variant::fromReal(5e-324)));
    EXPECT_EQ("1.7976931348623157081e+308",
              compact(Variant::fromReal(std::numeric_limits<double>::max())));
}

TEST(JsonPrinter, EscapesWhatJsonWantsEscapedAndNothingElse) {
    EXPECT_EQ("\"\\\"\\\\/\\b\\f\\n\\r\\t\"", compact(Variant("\"\\/\b\f\n\r\t")));
    EXPECT_EQ("\"\\u0001\\u001F\x7f\"", compact(Variant("\x01\x1f\x7f")));
    EXPECT_EQ("\"a\\u0000b\"", compact(Variant("a\0b", 3)));
    EXPECT_EQ("\"\xc3\xa4\xff\"", compact(Variant("\xc3\xa4\xff"))); // bytes are taken as they are
    Variant object;
    object["\"\n"] = 1;
    EXPECT_EQ("{\"\\\"\\n\":1}", compact(object));
}

TEST(JsonPrinter, IsPrettyWithOneTabPerLevelWhenItIsNew) {
    EXPECT_TRUE(JsonPrinter().isPretty());
    EXPECT_EQ("{\n"
              "\t\"a\": [\n"
              "\t\t1,\n"
              "\t\t{\n"
              "\t\t\t\"b\": null\n"
              "\t\t}\n"
              "\t],\n"
              "\t\"c\": \"\"\n"
              "}\n",
              pretty(JsonParser::parseTree("{\"c\":\"\",\"a\":[1,{\"b\":null}]}")));
    EXPECT_EQ("[\n\n]\n", pretty(Variant::newList()));
    EXPECT_EQ("{\n\n}\n", pretty(Variant::newObject()));
    EXPECT_EQ("1\n", pretty(Variant(1)));
}

TEST(JsonPrinter, SortsKeysInPrettyTextOnly) {
    const Variant object = JsonParser::parseTree("{\"b\":1,\"a\":2,\"\xc3\xa4\":3,\"ab\":4}");
    EXPECT_EQ("{\n\t\"\xc3\xa4\": 3,\n\t\"a\": 2,\n\t\"ab\": 4,\n\t\"b\": 1\n}\n", pretty(object));
    std::string own;
    for (const auto& entry : object.objectValue()) {
        own += (own.empty() ? "{\"" : ",\"") + std::string(entry.first->c_str()) +
               "\":" + std::to_string(entry.second.integerValue());
    }
    EXPECT_EQ(own + "}", compact(object));
}

// One would expect each entry's own value, as in compact text.
TEST(JsonPrinter, PrettyTextShowsTheFirstValueOfARepeatedKeyEachTime) {
    const Variant object = with_repeated_key();
    EXPECT_EQ("{\n\t\"a\": 1,\n\t\"a\": 1,\n\t\"b\": 2\n}\n", pretty(object));
    const std::string text = compact(object);
    EXPECT_NE(std::string::npos, text.find("\"a\":1,\"a\":3")) << text;
}

TEST(JsonPrinter, IndentsByAnyWhiteSpace) {
    JsonPrinter printer;
    for (const char* indent : {" ", "  ", "\t\t", "\n", "\v\f\r"}) {
        printer.reset();
        printer.setIndent(indent);
        EXPECT_TRUE(printer.isPretty());
        printer.print(JsonParser::parseTree("[1]"));
        EXPECT_EQ("[\n" + std::string(indent) + "1\n]\n", text_of(printer));
    }
}

TEST(JsonPrinter, StaysAsItWasForAnIndentThatIsNoWhiteSpace) {
    JsonPrinter printer;
    printer.setIndent("  ");
    for (const char* indent : {"x", " -", "\xc2\xa0", "\b"}) {
        printer.setIndent(indent);
        EXPECT_TRUE(printer.isPretty());
        printer.reset();
        printer.print(JsonParser::parseTree("[[1]]"));
        EXPECT_EQ("[\n  [\n    1\n  ]\n]\n", text_of(printer));
    }
    printer.setIndent("");
    printer.setIndent("x");
    EXPECT_FALSE(printer.isPretty());
    printer.reset();
    printer.print(JsonParser::parseTree("[1]"));
    EXPECT_EQ("[1]", text_of(printer));
}

TEST(JsonPrinter, KeepsTheTextOfItsIndent) {
    JsonPrinter printer;
    {
        const std::string indent(100, ' ');
        printer.setIndent(indent);
    }
    printer.print(JsonParser::parseTree("[1]"));
    EXPECT_EQ("[\n" + std::string(100, ' ') + "1\n]\n", text_of(printer));
}

// One might expect null, or an error. What stands behind a key that lost its value takes its place.
TEST(JsonPrinter, ANumberThatJsonHasNoTextForPrintsNothing) {
    EXPECT_EQ("", compact(Variant::fromReal(kNan)));
    EXPECT_EQ("", compact(Variant::fromReal(kInfinity)));
    EXPECT_EQ("", compact(Variant::fromReal(-kInfinity)));
    Variant list;
    list << kNan << 1 << kInfinity;
    EXPECT_EQ("[1]", compact(list));
    Variant object;
    object["a"] = kNan;
    EXPECT_EQ("{\"a\"}", compact(object));
    object["b"] = "t";
    object["c"] = 4;
    EXPECT_EQ("{\n\t\"a\": \"b\",\n\t\"t\": \"c\"\n}\n", pretty(object));
}

// A list where a key is due is refused; closing it all the same would close what lies around it.
TEST(JsonPrinter, AContainerThatIsRefusedClosesNothing) {
    Variant object;
    object["a"] = kNan;
    object["b"] << 1;
    object["c"]["d"] = 2;
    object["e"] = 3;
    EXPECT_EQ("{\n\t\"a\": \"b\",\n\t\"c\": {\n\t\t\"d\": 2\n\t},\n\t\"e\": 3\n}\n",
              pretty(object));
}

TEST(JsonPrinter, PrintsContainersBelowTheDeepestLevelAsNull) {
    for (const std::size_t depth : {126u, 127u, 128u, 129u, 1000u}) {
        std::string text(depth, '[');
        text += "7" + std::string(depth, ']');
        const Variant value = JsonParser::parseTree(text);
        const std::string expected =
            depth <= 127 ? text : std::string(127, '[') + "null" + std::string(127, ']');
        EXPECT_EQ(expected, compact(value)) << depth;
    }
    std::string open;
    std::string close;
    for (int i = 0; i < 127; ++i) {
        open += "{\"a\":";
        close += "}";
    }
    const Variant deep = JsonParser::parseTree(open + "{\"a\":{}}" + close);
    EXPECT_EQ(open + "null" + close, compact(deep));
    EXPECT_TRUE(JsonParser::parseTree(pretty(deep)).isObject());
}

TEST(JsonPrinter, GoesOnBehindAContainerThatLiesTooDeep) {
    std::string open(127, '[');
    std::string close(127, ']');
    const Variant value = JsonParser::parseTree(open + "[1],2,{\"a\":3},4" + close);
    EXPECT_EQ(open + "null,2,null,4" + close, compact(value));
}

TEST(JsonPrinter, LeavesNumbersAloneInALocaleWithADecimalComma) {
    const CommaLocale comma;
    ASSERT_TRUE(CommaLocale::active());
    const Variant list = JsonParser::parseTree("[1.5,1234567,1234567.5]");
    EXPECT_EQ("[1.5,1234567,1234567.5]", compact(list));
    std::ostringstream out;
    JsonPrinter printer(&out);
    printer.setIndent("");
    printer.print(list);
    EXPECT_EQ("[1.5,1234567,1234567.5]", out.str());
    EXPECT_TRUE(CommaLocale::active());
}

TEST(JsonPrinter, LeavesPrintFunctionsInTheLocaleOfTheApplication) {
    const CommaLocale comma;
    Calls calls;
    std::string seen;
    calls.meanwhile = [&](const std::string&) { seen += CommaLocale::active() ? "," : "."; };
    JsonPrinter printer(&Calls::print, &calls, false);
    printer.setIndent("");
    printer.print(JsonParser::parseTree("[1.5,2]"));
    EXPECT_EQ("[1.5,2]", calls.joined());
    EXPECT_EQ(std::string(calls.texts.size(), ','), seen);
    EXPECT_TRUE(CommaLocale::active());
}

TEST(JsonPrinter, LeavesPrintFunctionsInALocaleThatWasSetSinceTheLastReal) {
    const CommaLocale comma;
    const locale_t own = ::newlocale(LC_ALL_MASK, "C", nullptr);
    ASSERT_NE(locale_t(), own);
    Calls calls;
    std::string seen;
    calls.meanwhile = [&](const std::string&) { seen += CommaLocale::active() ? ',' : '.'; };
    JsonPrinter printer(&Calls::print, &calls, false); // piece by piece
    printer.setIndent("");
    printer.print(Variant(1.5));
    EXPECT_EQ(std::string(seen.size(), ','), seen);
    seen.clear();
    ::uselocale(own);
    printer.print(Variant("a"));
    ::uselocale(LC_GLOBAL_LOCALE);
    ::freelocale(own);
    EXPECT_EQ("1.5\"a\"", calls.joined());
    EXPECT_EQ(std::string(seen.size(), '.'), seen);
    EXPECT_FALSE(seen.empty());
}

// --- The four forms

TEST(JsonPrinter, KeepsTheTextInMemory) {
    JsonPrinter printer;
    printer.setIndent("");
    printer.print(Variant("a"));
    EXPECT_EQ("\"a\"", text_of(printer));
    EXPECT_EQ("\"a\"", text_of(printer)); // reading clears nothing
}

TEST(JsonPrinter, KeepsTextsOneBehindTheOtherUntilReset) {
    JsonPrinter printer;
    printer.setIndent("");
    printer.print(Variant(1));
    printer.print(JsonParser::parseTree("[2]"));
    EXPECT_EQ("1[2]", text_of(printer));
    printer.reset();
    EXPECT_EQ("", text_of(printer));
    printer.print(Variant(3));
    EXPECT_EQ("3", text_of(printer));
}

TEST(JsonPrinter, GivesTheTextInEachWay) {
    JsonPrinter printer;
    printer.setIndent("");
    printer.print(Variant("a\0b", 3));
    std::size_t length = 0;
    const char* buffer = printer.stringBuffer(&length);
    EXPECT_EQ(10u, length);
    EXPECT_STREQ("\"a\\u0000b\"", buffer);
    EXPECT_EQ(buffer, printer.stringBuffer(nullptr));
    qx::IntrusiveString out("old");
    printer.string(out);
    EXPECT_STREQ("\"a\\u0000b\"", out.c_str());
    const boost::intrusive_ptr<qx::IntrusiveString> copy(printer.newString());
    EXPECT_EQ(1u, copy->use_count());
    EXPECT_STREQ("\"a\\u0000b\"", copy->c_str());
}

TEST(JsonPrinter, HasAnEmptyTextBeforeAnythingIsPrinted) {
    JsonPrinter printer;
    std::size_t length = 7;
    EXPECT_STREQ("", printer.stringBuffer(&length));
    EXPECT_EQ(0u, length);
    EXPECT_EQ("", text_of(printer));
    qx::IntrusiveString out("old");
    printer.string(out);
    EXPECT_TRUE(out.empty());
}

TEST(JsonPrinter, WritesToAStream) {
    std::ostringstream out;
    JsonPrinter printer(&out);
    EXPECT_TRUE(printer.isPretty());
    printer.print(JsonParser::parseTree("[1]"));
    EXPECT_EQ("[\n\t1\n]\n", out.str());
    printer.print(Variant(2));
    EXPECT_EQ("[\n\t1\n]\n2\n", out.str());
    std::size_t length = 7;
    EXPECT_STREQ("", printer.stringBuffer(&length)); // nothing stays
    EXPECT_EQ(0u, length);
}

TEST(JsonPrinter, WritesToTheStreamThatResetGives) {
    std::ostringstream first;
    std::ostringstream second;
    JsonPrinter printer(&first);
    printer.setIndent("");
    printer.print(Variant(1));
    printer.reset(&second);
    printer.print(Variant(2));
    EXPECT_EQ("1", first.str());
    EXPECT_EQ("2", second.str());
}

TEST(JsonPrinter, SwallowsTheTextWithoutAStream) {
    JsonPrinter printer(static_cast<std::ostream*>(nullptr));
    printer.print(JsonParser::parseTree("[1.5]"));
    EXPECT_EQ("", text_of(printer));
    std::ostringstream out;
    printer.reset(&out);
    printer.setIndent("");
    printer.print(Variant(1));
    EXPECT_EQ("1", out.str());
}

TEST(JsonPrinter, HandsEachWholeTextOverInOneCall) {
    Calls calls;
    JsonPrinter printer(&Calls::print, &calls, true);
    printer.setIndent("");
    printer.print(JsonParser::parseTree("[1,[2.5]]"));
    printer.print(Variant("x"));
    EXPECT_EQ((std::vector<std::string>{"[1,[2.5]]", "\"x\""}), calls.texts);
    EXPECT_EQ("", text_of(printer));
}

TEST(JsonPrinter, HandsNoEmptyTextOver) {
    Calls calls;
    JsonPrinter printer(&Calls::print, &calls, true);
    printer.setIndent("");
    printer.print(Variant::fromReal(kNan));
    EXPECT_TRUE(calls.texts.empty());
}

TEST(JsonPrinter, EndsTheTextThatItHandsOverByANul) {
    struct Writer {
        static void print(void* context, const char* text, int length) {
            EXPECT_EQ('\0', text[length]);
            const_cast<char*>(text)[length] = '!';
            *static_cast<const char**>(context) = text + length;
        }
    };
    const char* end = nullptr;
    JsonPrinter printer(&Writer::print, &end, true);
    printer.setIndent("");
    printer.print(Variant(12));
    ASSERT_NE(nullptr, end);
    EXPECT_EQ('\0', *end);
}

TEST(JsonPrinter, HandsOverWhatWasPrintedByHandWithTheNextValue) {
    Calls calls;
    JsonPrinter printer(&Calls::print, &calls, true);
    printer.setIndent("");
    printer.openList();
    printer.closeList();
    EXPECT_TRUE(calls.texts.empty());
    printer.print(Variant(1));
    EXPECT_EQ(std::vector<std::string>{"[]1"}, calls.texts);
}

TEST(JsonPrinter, HandsPiecesOverAsTheyArise) {
    Calls calls;
    JsonPrinter printer(&Calls::print, &calls, false);
    printer.setIndent("");
    printer.openList();
    EXPECT_EQ("[", calls.joined());
    printer.printString("a");
    EXPECT_EQ("[\"a\"", calls.joined());
    printer.closeList();
    EXPECT_EQ("[\"a\"]", calls.joined());
    printer.print(JsonParser::parseTree("[1,{\"a\":2.5}]"));
    EXPECT_EQ("[\"a\"][1,{\"a\":2.5}]", calls.joined());
    EXPECT_LT(8u, calls.texts.size());
    EXPECT_EQ("", text_of(printer));
}

TEST(JsonPrinter, KeepsTheTextInMemoryWithoutAPrintFunction) {
    for (const bool buffered : {false, true}) {
        int unused = 0;
        JsonPrinter printer(JsonPrinter::NO_PRINT_FUNCTION, &unused, buffered);
        printer.setIndent("");
        printer.print(Variant(1));
        printer.print(Variant(2));
        EXPECT_EQ("12", text_of(printer));
    }
}

// "For stream printers only": elsewhere it replaces the context of whole texts and nothing else.
TEST(JsonPrinter, ResettingTheStreamOfAnotherFormReplacesTheContextOfWholeTextsOnly) {
    struct Context {
        static void print(void* context, const char*, int) { last() = context; }
        static void*& last() {
            static void* context = nullptr;
            return context;
        }
    };
    int mine = 0;
    std::ostringstream out;
    JsonPrinter pieces(&Context::print, &mine, false);
    pieces.reset(&out);
    pieces.print(Variant(1));
    EXPECT_EQ(&mine, Context::last());
    JsonPrinter whole(&Context::print, &mine, true);
    whole.reset(&out);
    whole.print(Variant(1));
    EXPECT_EQ(static_cast<void*>(&out), Context::last());
    JsonPrinter memory;
    memory.reset(&out);
    memory.print(Variant(1));
    EXPECT_EQ("1\n", text_of(memory));
    EXPECT_EQ("", out.str());
}

TEST(JsonPrinter, WritesPiecesToTheStreamOfTheGivenPrinter) {
    std::ostringstream out;
    OpenPrinter printer(&out);
    OpenPrinter::printToStream(&printer, "abc", 2);
    EXPECT_EQ("ab", out.str());
}

TEST(JsonPrinter, PrintsListsAndObjectsWithoutAValue) {
    JsonPrinter printer;
    printer.setIndent("");
    printer.printList(JsonParser::parseTree("[1,[]]").listValue());
    EXPECT_EQ("[1,[]]", text_of(printer));
    printer.reset();
    printer.printObject(JsonParser::parseTree("{\"a\":{}}").objectValue());
    EXPECT_EQ("{\"a\":{}}", text_of(printer));
    printer.reset();
    printer.printVariant(JsonParser::parseTree("[2]"));
    EXPECT_EQ("[2]", text_of(printer));
}

// --- By hand

TEST(JsonPrinter, LetsACallerWriteATextByHand) {
    JsonPrinter printer;
    printer.setIndent("");
    printer.openObject();
    printer.printString("list");
    printer.openList();
    printer.printVariant(1);
    printer.printList(json::List());
    printer.printString("text");
    printer.closeList();
    printer.printString("object");
    printer.printObject(json::Object());
    printer.closeObject();
    EXPECT_EQ("{\"list\":[1,[],\"text\"],\"object\":{}}", text_of(printer));
}

TEST(JsonPrinter, PrintsNothingWhereTheGeneratorRefusesIt) {
    JsonPrinter printer;
    printer.setIndent("");
    printer.openObject();
    printer.printVariant(1); // a key is due
    printer.printVariant(Variant());
    printer.printList(JsonParser::parseTree("[\"x\"]").listValue());
    printer.printObject(JsonParser::parseTree("{\"x\":1}").objectValue());
    printer.printString("k");
    printer.printVariant(2);
    printer.closeObject();
    printer.printVariant(3); // the text is complete
    printer.printString("k");
    printer.printList(JsonParser::parseTree("[4]").listValue());
    printer.openList();
    printer.closeList();
    EXPECT_EQ("{\"k\":2}", text_of(printer));
}

TEST(JsonPrinter, IgnoresACloseWithNothingOpenOfItsKind) {
    JsonPrinter printer;
    printer.setIndent("");
    for (int i = 0; i < 300; ++i) {
        printer.closeList();
        printer.closeObject();
    }
    printer.openList();
    printer.closeObject();
    printer.printVariant(1);
    printer.closeList();
    for (int i = 0; i < 300; ++i) {
        printer.closeList();
        printer.closeObject();
    }
    EXPECT_EQ("[1]", text_of(printer));
    printer.print(JsonParser::parseTree("[2]"));
    EXPECT_EQ("[1][2]", text_of(printer));
}

TEST(JsonPrinter, PrintsALevelThatIsOpenedTooDeepAsNullWithAllThatIsPrintedIntoIt) {
    JsonPrinter printer;
    printer.setIndent("");
    for (int i = 0; i < 127; ++i) {
        printer.openList();
    }
    printer.openObject();
    printer.printString("lost");
    printer.openList();
    printer.printVariant(1);
    printer.closeList();
    printer.printList(JsonParser::parseTree("[1]").listValue());
    printer.closeObject();
    printer.printVariant(2);
    for (int i = 0; i < 127; ++i) {
        printer.closeList();
    }
    EXPECT_EQ(std::string(127, '[') + "null,2" + std::string(127, ']'), text_of(printer));
}

TEST(JsonPrinter, SurvivesAnyNumberOfOpenLevels) {
    JsonPrinter printer;
    printer.setIndent("");
    for (int i = 0; i < 10000; ++i) {
        printer.openList();
    }
    for (int i = 0; i < 10000; ++i) {
        printer.closeList();
    }
    EXPECT_EQ(std::string(127, '[') + "null" + std::string(127, ']'), text_of(printer));
    printer.print(Variant(1));
    EXPECT_EQ(std::string(127, '[') + "null" + std::string(127, ']') + "1", text_of(printer));
}

TEST(JsonPrinter, BeginsANewTextBehindOneThatWasLeftOpen) {
    JsonPrinter printer;
    printer.setIndent("");
    printer.openList();
    printer.openObject();
    printer.print(Variant(1));
    EXPECT_EQ("[{1", text_of(printer));
    printer.openList();
    printer.reset();
    printer.closeList();
    printer.printVariant(2);
    EXPECT_EQ("2", text_of(printer));
}

// --- Copies

TEST(JsonPrinter, ACopyHasTheSameFormIndentAndFlagAndAnEmptyBuffer) {
    JsonPrinter source;
    source.setIndent("  ");
    source.setIgnoreAutoValues(true);
    source.print(Variant(1));
    JsonPrinter copy(source);
    EXPECT_TRUE(copy.ignoreAutoValues());
    EXPECT_EQ("", text_of(copy));
    copy.printVariant(JsonParser::parseTree("[2]"));
    EXPECT_EQ("[\n  2\n]\n", text_of(copy));
    EXPECT_EQ("1\n", text_of(source));

    JsonPrinter assigned;
    assigned.setIndent("");
    assigned.print(Variant(3));
    assigned = source;
    EXPECT_TRUE(assigned.ignoreAutoValues());
    EXPECT_EQ("", text_of(assigned));
    assigned.printVariant(JsonParser::parseTree("[4]"));
    EXPECT_EQ("[\n  4\n]\n", text_of(assigned));
    assigned = static_cast<const JsonPrinter&>(assigned);
    EXPECT_EQ("[\n  4\n]\n", text_of(assigned));
}

TEST(JsonPrinter, ACopyWritesToTheSameStreamUntilItIsGivenAnother) {
    std::ostringstream first;
    std::ostringstream second;
    auto source = std::make_unique<JsonPrinter>(&first);
    source->setIndent("");
    JsonPrinter copy(*source);
    JsonPrinter assigned;
    assigned = *source;
    copy.print(Variant(1));
    copy.reset(&second);
    source.reset();
    copy.print(Variant(2));
    assigned.print(Variant(3));
    EXPECT_EQ("13", first.str());
    EXPECT_EQ("2", second.str());
}

TEST(JsonPrinter, ACopyPrintsThroughTheSameFunction) {
    for (const bool buffered : {false, true}) {
        Calls calls;
        auto source = std::make_unique<JsonPrinter>(&Calls::print, &calls, buffered);
        source->setIndent("");
        JsonPrinter copy(*source);
        JsonPrinter assigned;
        assigned = *source;
        source.reset();
        copy.print(JsonParser::parseTree("[1]"));
        assigned.print(JsonParser::parseTree("[2]"));
        EXPECT_EQ("[1][2]", calls.joined());
    }
}

TEST(JsonPrinter, ACopyBeginsItsOwnTextWhileItsSourceIsInsideOne) {
    JsonPrinter source;
    source.setIndent("");
    source.openList();
    JsonPrinter copy(source);
    copy.closeList();
    copy.printVariant(1);
    source.printVariant(2);
    source.closeList();
    EXPECT_EQ("1", text_of(copy));
    EXPECT_EQ("[2]", text_of(source));
}

// --- Print functions and streams that use the printer, or throw

TEST(JsonPrinterNesting, SendsATextThatIsPrintedFromInsideAWholeTextByItself) {
    Calls calls;
    JsonPrinter printer(&Calls::print, &calls, true);
    printer.setIndent("");
    const std::string big(10000, 'x');
    calls.meanwhile = [&](const std::string&) {
        if (calls.texts.size() < 4) printer.print(Variant(big));
    };
    printer.print(JsonParser::parseTree("[1]"));
    const std::string nested = "\"" + big + "\"";
    EXPECT_EQ((std::vector<std::string>{"[1]", nested, nested, nested}), calls.texts);
    calls.meanwhile = nullptr;
    printer.print(Variant(2));
    EXPECT_EQ("2", calls.texts.back());
}

TEST(JsonPrinterNesting, KeepsTheTextThatIsHandedOverInItsPlace) {
    struct Reader {
        static void print(void* context, const char* text, int length) {
            auto* printer = static_cast<JsonPrinter*>(context);
            std::size_t size = 0;
            EXPECT_EQ(text, printer->stringBuffer(&size));
            EXPECT_EQ(static_cast<std::size_t>(length), size);
            printer->openList();
            for (int i = 0; i < 10000; ++i) {
                printer->printVariant(i);
            }
            EXPECT_STREQ("[1]", text);
        }
    };
    std::unique_ptr<JsonPrinter> printer;
    struct Forward {
        static void print(void* context, const char* text, int length) {
            Reader::print(static_cast<std::unique_ptr<JsonPrinter>*>(context)->get(), text, length);
        }
    };
    printer = std::make_unique<JsonPrinter>(&Forward::print, &printer, true);
    printer->setIndent("");
    printer->print(JsonParser::parseTree("[1]"));
    EXPECT_EQ("", text_of(*printer)); // what was printed meanwhile is cleared with the text
}

TEST(JsonPrinterNesting, KeepsAnIndentThatIsSetFromInsideAWholeText) {
    Calls calls;
    JsonPrinter printer(&Calls::print, &calls, true);
    calls.meanwhile = [&](const std::string&) { printer.setIndent(""); };
    printer.print(JsonParser::parseTree("[1]"));
    printer.print(JsonParser::parseTree("[2]"));
    EXPECT_EQ((std::vector<std::string>{"[\n\t1\n]\n", "[2]"}), calls.texts);
}

TEST(JsonPrinterNesting, GoesOnWithTheTextThatGoesOutInPieces) {
    Calls calls;
    JsonPrinter printer(&Calls::print, &calls, false);
    printer.setIndent("");
    std::string outer;
    bool inside = false;
    calls.meanwhile = [&](const std::string& piece) {
        if (inside) return;
        outer += piece;
        inside = true;
        printer.print(JsonParser::parseTree("{\"nested\":[1.5]}"));
        printer.openList();
        printer.openList();
        printer.reset();
        printer.closeList();
        printer.openObject();
        printer.setIndent("  ");
        std::ostringstream other;
        printer.reset(&other);
        inside = false;
    };
    printer.print(JsonParser::parseTree("[[1.5,\"a\"],{\"b\":[]}]"));
    EXPECT_EQ("[[1.5,\"a\"],{\"b\":[]}]", outer);
    EXPECT_FALSE(printer.isPretty());
}

TEST(JsonPrinterNesting, GoesOnWithTheStreamOfAValueThatIsWrittenInPieces) {
    Sink sink;
    std::ostream out(&sink);
    std::ostringstream journal;
    sink.meanwhile = [&] {
        sink.meanwhile = nullptr;
        journal << Variant("note") << JsonParser::parseTree("[1.5]");
    };
    out << JsonParser::parseTree("[[1],2.5,\"x\"]");
    EXPECT_EQ("[[1],2.5,\"x\"]", sink.all);
    EXPECT_EQ("\"note\"[1.5]", journal.str());
}

TEST(JsonPrinterNesting, LetsTheExceptionOfAPrintFunctionPassAndBeginsAnew) {
    for (const bool buffered : {false, true}) {
        Calls calls;
        JsonPrinter printer(&Calls::print, &calls, buffered);
        printer.setIndent("");
        calls.meanwhile = [](const std::string&) { throw std::runtime_error("no line"); };
        for (int i = 0; i < 300; ++i) {
            EXPECT_THROW(printer.print(JsonParser::parseTree("[[1.5]]")), std::runtime_error);
            EXPECT_EQ(static_cast<std::size_t>(i) + 1, calls.texts.size());
        }
        calls.texts.clear();
        calls.meanwhile = nullptr;
        printer.print(JsonParser::parseTree("[2]"));
        EXPECT_EQ("[2]", calls.joined());
    }
}

// The generator counts a level even when its bracket didn't get out; a count that misses it would
// let the generator run over its bound.
TEST(JsonPrinterNesting, CountsTheLevelsWhoseBracketsDidNotGetOut) {
    Calls calls;
    calls.meanwhile = [](const std::string&) { throw std::runtime_error("no line"); };
    JsonPrinter printer(&Calls::print, &calls, false);
    printer.setIndent("");
    for (int i = 0; i < 127; ++i) {
        EXPECT_THROW(printer.openList(), std::runtime_error) << i;
        EXPECT_EQ("[", calls.texts.back()) << i;
    }
    for (int i = 0; i < 300; ++i) {
        EXPECT_THROW(printer.openList(), std::runtime_error) << i;
        EXPECT_NE("[", calls.texts.back()) << i;
    }
    calls.meanwhile = nullptr;
    calls.texts.clear();
    printer.reset();
    printer.openList();
    printer.closeList();
    EXPECT_EQ("[]", calls.joined());
}

TEST(JsonPrinterNesting, LetsTheExceptionOfAStreamPass) {
    Sink sink;
    std::ostream out(&sink);
    out.exceptions(std::ios::badbit);
    JsonPrinter printer(&out);
    sink.meanwhile = [] { throw std::runtime_error("no line"); };
    EXPECT_THROW(printer.print(JsonParser::parseTree("[1.5]")), std::runtime_error);
    sink.meanwhile = nullptr;
    out.clear();
    sink.all.clear();
    printer.setIndent("");
    printer.print(JsonParser::parseTree("[1.5]"));
    EXPECT_EQ("[1.5]", sink.all);
}

TEST(JsonPrinterNesting, RestoresTheLocaleBehindAnException) {
    const CommaLocale comma;
    Calls calls;
    calls.meanwhile = [](const std::string&) { throw std::runtime_error("no line"); };
    JsonPrinter printer(&Calls::print, &calls, false);
    EXPECT_THROW(printer.print(Variant::fromReal(1.5)), std::runtime_error);
    EXPECT_TRUE(CommaLocale::active());
}

// --- Auto values

/// A list whose elements have the auto mark where the digits say 1.
Variant marked_list(const char* digits) {
    Variant list = Variant::newList();
    for (int i = 0; digits[i] != '\0'; ++i) {
        list << i;
    }
    for (std::size_t i = 0; digits[i] != '\0'; ++i) {
        set_auto_value(std::as_const(list)[i], digits[i] == '1');
    }
    return list;
}

TEST(JsonPrinterAutoValues, PrintLikeOthersUnlessTheyAreIgnored) {
    JsonPrinter printer;
    EXPECT_FALSE(printer.ignoreAutoValues());
    printer.setIndent("");
    printer.print(marked_list("011"));
    EXPECT_EQ("[0,1,2]", text_of(printer));
    printer.reset();
    printer.print(Variant::EmptyAutoValue);
    EXPECT_EQ("null", text_of(printer));
}

TEST(JsonPrinterAutoValues, AreLeftOutWhenTheyAreIgnored) {
    JsonPrinter printer;
    printer.setIndent("");
    printer.setIgnoreAutoValues(true);
    printer.printVariant(marked_list("00011"));
    EXPECT_EQ("[0,1,2]", text_of(printer));
    for (const char* indent : {"", "\t"}) {
        Variant object = JsonParser::parseTree("{\"a\": 1, \"b\": [2]}");
        set_auto_value(std::as_const(object)["b"], true);
        printer.reset();
        printer.setIndent(indent);
        printer.printObject(object.objectValue());
        EXPECT_EQ(*indent == '\0' ? "{\"a\":1}" : "{\n\t\"a\": 1\n}\n", text_of(printer));
    }
}

TEST(JsonPrinterAutoValues, GiveAnEmptyTextAtTheTop) {
    Calls calls;
    JsonPrinter printer(&Calls::print, &calls, true);
    printer.setIgnoreAutoValues(true);
    printer.print(Variant::EmptyAutoValue);
    EXPECT_TRUE(calls.texts.empty());
    printer.print(Variant::EmptyList); // a scalar and an empty container come back
    printer.print(Variant(1));
    EXPECT_EQ("[\n\n]\n1\n", calls.joined());
}

} // namespace
