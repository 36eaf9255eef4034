// SPDX-License-Identifier: MIT
// What the JSON text classes do when memory runs out.
#include "support/FailingMemory.h"
#include "support/SortedText.h"
#include "support/ValueProbe.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"
#include "json/TreeIterator.h"
#include "json/VariantIterator.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>
#include <utility>

namespace {

using json::JsonParser;
using json::JsonPrinter;
using json::Variant;
using test::AllocationLimit;
using test::allocations_held;
using test::allocations_left;
using test::fail_at_every_allocation;
using test::kUnlimited;
using test::sorted_text;

constexpr char kText[] =
    "{\"memory key\":[1,2.5,\"a text that needs room of its own\",{\"k\":null}],"
    "\"other memory key\":{\"k\":[[[true]]]}}";

TEST(JsonMemory, AParserGoesOnBehindAnyAllocationThatFails) {
    JsonParser parser;
    const int failures = fail_at_every_allocation([&] {
        parser.reset();
        parser.parse(kText);
        parser.parseComplete();
    });
    EXPECT_LT(10, failures);
    EXPECT_EQ(kText, sorted_text(parser.parseComplete()));
}

TEST(JsonMemory, AParserIsUsableAfterEachAllocationThatFails) {
    for (std::size_t count = 0; count < 60; ++count) {
        JsonParser parser;
        try {
            const AllocationLimit limit(count);
            parser.parse(kText);
        } catch (const std::bad_alloc&) {
        }
        parser.reset();
        EXPECT_TRUE(parser.parse("[1,{\"a\":2}]")) << count;
        EXPECT_EQ("[1,{\"a\":2}]", sorted_text(parser.parseComplete())) << count;
    }
}

// The tokenizer itself looks at no answer of its allocator: unwatched, it writes to a null pointer.
TEST(JsonMemory, ATextWhoseReadingRanOutOfMemoryIsRefusedUntilTheNextOne) {
    JsonParser parser;
    int refused = 0;
    for (std::size_t count = 0;; ++count) {
        parser.reset();
        try {
            const AllocationLimit limit(count);
            parser.parse("[\"a text that is cut in two, and lon");
            parser.parse("ger than the first room of the token\",[[[[[[[[[[1]]]]]]]]]]]");
            break;
        } catch (const std::bad_alloc&) {
        }
        EXPECT_FALSE(parser.parse("]"));
        EXPECT_EQ(0u, std::string(parser.lastError()).find("out of memory\n"));
        EXPECT_TRUE(parser.parseComplete().isString());
        ++refused;
    }
    EXPECT_LT(10, refused);
    EXPECT_EQ(2u, parser.parseComplete().size());
}

TEST(JsonMemory, APieceThatFindsNoRoomToWaitInLeavesTheParserAsItWas) {
    JsonParser parser;
    EXPECT_TRUE(parser.parse("[\"a"));
    const std::string piece(10000, 'b');
    {
        const AllocationLimit limit(0);
        EXPECT_THROW(parser.parse(piece.data(), static_cast<int>(piece.size())), std::bad_alloc);
    }
    EXPECT_TRUE(parser.parse(piece.data(), static_cast<int>(piece.size())));
    EXPECT_TRUE(parser.parse("c\"]"));
    EXPECT_EQ("a" + piece + "c", std::string(parser.parseComplete()[0].stringValue()));
}

TEST(JsonMemory, AnErrorTextThatFindsNoRoomLetsTheExceptionPass) {
    JsonParser parser;
    const int failures = fail_at_every_allocation([&] {
        parser.reset();
        parser.parse("[1,oops]");
    });
    EXPECT_LT(1, failures);
    EXPECT_EQ(0u, std::string(parser.lastError().c_str()).find("lexical error"));
}

TEST(JsonMemory, APrinterGoesOnBehindAnyAllocationThatFails) {
    struct Sink {
        static void print(void* context, const char* text, int length) {
            static_cast<std::string*>(context)->assign(text, static_cast<std::size_t>(length));
        }
    };
    const Variant value = JsonParser::parseTree(kText);
    std::string text;
    text.reserve(1000);
    JsonPrinter printer(&Sink::print, &text, true);
    printer.print(value);
    const std::string expected = text;
    const int failures = fail_at_every_allocation([&] { printer.print(value); });
    EXPECT_LT(0, failures);
    EXPECT_EQ(expected, text); // nothing of the texts that failed stands in front
}

// The generator itself looks at no answer of its allocator either.
TEST(JsonMemory, ATextThatRanOutOfMemoryIsGoneAndTheNextOneIsWhole) {
    Variant value;
    for (int i = 0; i < 1000; ++i) {
        value << "some text to make the buffer grow";
    }
    JsonPrinter reference;
    reference.print(value);
    for (const char* indent : {"\t", ""}) {
        JsonPrinter printer;
        printer.setIndent(indent);
        reference.setIndent(indent);
        reference.reset();
        reference.print(value);
        const int failures = fail_at_every_allocation([&] {
            JsonPrinter fresh(printer);
            try {
                fresh.print(value);
            } catch (const std::bad_alloc&) {
                std::size_t length = 1;
                EXPECT_STREQ("", fresh.stringBuffer(&length));
                EXPECT_EQ(0u, length);
                fresh.printVariant(value); // prints nothing until a text begins
                EXPECT_STREQ("", fresh.stringBuffer());
                allocations_left = kUnlimited;
                fresh.print(value);
                EXPECT_STREQ(reference.stringBuffer(), fresh.stringBuffer());
                throw;
            }
        });
        EXPECT_LT(4, failures);
    }
}

TEST(JsonMemory, APrinterThatFindsNoRoomToBeginKeepsNothingOfTheAttempt) {
    Variant value;
    for (int i = 0; i < 1000; ++i) {
        value << "some text to make the buffer grow";
    }
    JsonPrinter printer;
    try {
        const AllocationLimit limit(0);
        printer.print(value);
        FAIL() << "the buffer never grew";
    } catch (const std::bad_alloc&) {
    }
    const std::ptrdiff_t before = allocations_held;
    // The generator asks for two blocks before it prints anything.
    for (const std::size_t count : {std::size_t{0}, std::size_t{1}}) {
        bool failed = false;
        try {
            const AllocationLimit limit(count);
            printer.print(value);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        EXPECT_TRUE(failed) << count;
        EXPECT_EQ(before, allocations_held) << count;
    }
}

TEST(JsonMemory, KeepsNothingOfWhatIsReadAndPrinted) {
    const auto read_and_print = [] {
        JsonParser parser;
        parser.parse(kText);
        JsonParser copy(parser);
        JsonPrinter printer;
        printer.print(copy.parseComplete());
        JsonPrinter(printer).print(Variant(1));
    };
    read_and_print(); // keys are interned once
    const std::ptrdiff_t before = allocations_held;
    read_and_print();
    EXPECT_EQ(before, allocations_held);
}

// A walk over the tree would come back; this one stays on the root, and adds levels.
TEST(JsonMemory, IgnoringAutoValuesUsesUpAllMemoryForAContainerThatIsNotEmpty) {
    for (const char* text : {"[1]", "{\"a\":1}", "[[]]"}) {
        const Variant value = JsonParser::parseTree(text);
        JsonPrinter printer;
        printer.setIgnoreAutoValues(true);
        const AllocationLimit limit(2000);
        EXPECT_THROW(printer.print(value), std::bad_alloc) << text;
    }
}

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

TEST(JsonMemory, KeepsAutoMarksAtTheEndOfAListOnly) {
    const std::pair<const char*, const char*> rows[] = {
        {"00011", "[0,1,2]"}, {"10000", "[0,1,2,3,4]"}, {"10101", "[0,1,2,3]"}, {"111", "[]"}};
    for (const auto& row : rows) {
        const Variant list = marked_list(row.first);
        JsonPrinter printer;
        printer.setIndent("");
        printer.setIgnoreAutoValues(true);
        try {
            const AllocationLimit limit(2000);
            printer.print(list);
        } catch (const std::bad_alloc&) {
        }
        printer.reset();
        printer.printVariant(list);
        const boost::intrusive_ptr<qx::IntrusiveString> text(printer.newString());
        EXPECT_STREQ(row.second, text->c_str()) << row.first;
    }
}

TEST(JsonMemory, ClearsTheAutoMarkOfAContainerThatIsDirty) {
    for (const bool dirty : {true, false}) {
        Variant list = JsonParser::parseTree("[1]");
        list.setDirty(dirty);
        set_auto_value(list, true);
        JsonPrinter printer;
        printer.setIgnoreAutoValues(true);
        try {
            const AllocationLimit limit(2000);
            printer.print(list);
        } catch (const std::bad_alloc&) {
        }
        EXPECT_EQ(!dirty, list.autoValue());
    }
}

TEST(JsonMemory, AStepOfATreeIteratorOnlyAddsLevels) {
    const Variant value = JsonParser::parseTree("[1,2]");
    json::TreeIterator it(value);
    std::size_t steps = 0;
    EXPECT_THROW(
        {
            const AllocationLimit limit(2000);
            for (; !it.empty(); ++it) {
                ++steps;
            }
        },
        std::bad_alloc);
    EXPECT_LT(100u, steps);
    EXPECT_EQ(&value, &*it);
}

TEST(JsonMemory, TheEndOfAVariantIteratorDropsNoMemory) {
    const Variant value = JsonParser::parseTree("[1,2]");
    const std::ptrdiff_t before = allocations_held;
    {
        const json::VariantIterator end = json::VariantIterator::end(value);
        EXPECT_LT(before, allocations_held);
    }
    EXPECT_EQ(before, allocations_held);
}

} // namespace
