// SPDX-License-Identifier: MIT
// Arguments that lie inside what is changed, or hold it: the result is as if the argument had been
// copied before.
#include "json/Variant.h"

#include "support/BoundValue.h"
#include "support/ValueProbe.h"
#include "json/JsonParser.h"

#include <functional>
#include <string>
#include <utility>

namespace {

using json::Variant;
using ListPtr = boost::intrusive_ptr<json::List>;
using ObjectPtr = boost::intrusive_ptr<json::Object>;

Variant parsed(const char* text) { return json::JsonParser::parseTree(text); }

struct Row {
    const char* before;
    const char* what;
    std::function<void(Variant&)> change;
    const char* expected;
};

/// Runs each row on a value that nobody shares, on one that a copy shares, on a sticky one, on one
/// with a schema and on an element of a list, and looks for what the change leaves.
template <std::size_t Count>
void expect_rows(const Row (&rows)[Count]) {
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.what) + " on " + row.before);
        Variant alone = parsed(row.before);
        row.change(alone);
        EXPECT_EQ(row.expected, json_of(alone)) << "unshared";

        Variant shared = parsed(row.before);
        const Variant copy(shared);
        const std::string copied = json_of(copy);
        row.change(shared);
        EXPECT_EQ(row.expected, json_of(shared)) << "shared";

        Variant sticky = parsed(row.before);
        set_sticky(sticky, true);
        row.change(sticky);
        EXPECT_EQ(row.expected, json_of(sticky)) << "sticky";

        Variant bound = parsed(row.before);
        bound.attachSchema(any_schema());
        row.change(bound);
        EXPECT_EQ(row.expected, json_of(bound)) << "bound";

        json::List list;
        list << parsed(row.before);
        row.change(list[0]);
        EXPECT_EQ(row.expected, json_of(std::as_const(list)[0])) << "element";
    }
}

TEST(VariantAliasing, AssignsAPartToTheWhole) {
    const Row rows[] = {
        {"[5]", "v = v[0]", [](Variant& v) { v = v[0]; }, "5"},
        {"[\"text\"]", "v = v[0]", [](Variant& v) { v = v[0]; }, "\"text\""},
        {"[[1,2],3]", "v = v[0]", [](Variant& v) { v = v[0]; }, "[1,2]"},
        {"[[[1]]]", "v = v[0][0]", [](Variant& v) { v = v[0][0]; }, "[1]"},
        {"{\"a\":{\"b\":[7]}}", "v = v[a][b]", [](Variant& v) { v = v["a"]["b"]; }, "[7]"},
        {"{\"a\":\"text\"}", "v = v[a]", [](Variant& v) { v = v["a"]; }, "\"text\""},
        {"[[1]]", "v = const v[0]", [](Variant& v) { v = std::as_const(v)[0]; }, "[1]"},
        {"[[1]]", "v = v[0] by pointer", [](Variant& v) { v = std::as_const(v)[0].listPtr(); },
         "[1]"},
        {"[[1]]", "v = v[0] by list", [](Variant& v) { v = std::as_const(v)[0].listValue(); },
         "[1]"},
        {"[\"text\"]", "v = chars of v[0]",
         [](Variant& v) { v = std::as_const(v)[0].charsValue(); }, "\"text\""},
        {"[\"text\"]", "v = string of v[0]",
         [](Variant& v) { v = std::as_const(v)[0].stringValue(); }, "\"text\""},
    };
    expect_rows(rows);
}

TEST(VariantAliasing, AssignsAValueToItself) {
    const Row rows[] = {
        {"[1]", "v = v = v",
         [](Variant& v) {
             Variant& same = v;
             v = same = v;
         },
         "[1]"},
        {"{\"a\":1}", "v = own object", [](Variant& v) { v = v.objectValue(); }, "{\"a\":1}"},
        {"[1]", "v = own list", [](Variant& v) { v = v.listValue(); }, "[1]"},
        {"[1]", "v = own pointer", [](Variant& v) { v = v.listPtr(); }, "[1]"},
        {"\"text\"", "v = own chars", [](Variant& v) { v = v.charsValue(); }, "\"text\""},
        {"\"text\"", "v = own string", [](Variant& v) { v = v.stringValue(); }, "\"text\""},
        {"5", "v = own chars", [](Variant& v) { v = v.charsValue(); }, "\"5\""},
        {"[1]", "v = own chars", [](Variant& v) { v = v.charsValue(); }, "\"[1]\""},
        {"[1]", "swap with itself", [](Variant& v) { std::swap(v, v); }, "[1]"},
        {"[1]", "swap the list with itself", [](Variant& v) { v.listValue().swap(v.listValue()); },
         "[1]"},
        {"[1,2]", "list = list", [](Variant& v) { v.listValue() = v.listValue(); }, "[1,2]"},
        {"{\"a\":1}", "object = object", [](Variant& v) { v.objectValue() = v.objectValue(); },
         "{\"a\":1}"},
    };
    expect_rows(rows);
}

TEST(VariantAliasing, AssignsTheWholeToAPart) {
    const Row rows[] = {
        {"[1,2]", "v[0] = v", [](Variant& v) { v[0] = v; }, "[[1,2],2]"},
        {"{\"a\":1}", "v[a] = v", [](Variant& v) { v["a"] = v; }, "{\"a\":{\"a\":1}}"},
        {"[1]", "v << v", [](Variant& v) { v << v; }, "[1,[1]]"},
        {"[1]", "v << v << v", [](Variant& v) { v << v << v; }, "[1,[1],[1,[1]]]"},
    };
    expect_rows(rows);
}

TEST(VariantAliasing, ExchangesParts) {
    const Row rows[] = {
        {"[[1],\"b\"]", "swap", [](Variant& v) { std::swap(v[0], v[1]); }, "[\"b\",[1]]"},
        {"{\"a\":[1]}", "v[b] = v[a]", [](Variant& v) { v["a"] = v["a"]; }, "{\"a\":[1]}"},
        {"[[1],[2,3]]", "swap the lists",
         [](Variant& v) { v[0].listValue().swap(v[1].listValue()); }, "[[2,3],[1]]"},
        {"[1,2]", "v[1] = v[0]", [](Variant& v) { v[1] = v[0]; }, "[1,1]"},
    };
    expect_rows(rows);
}

TEST(VariantAliasing, ReplacesAContainerByOneThatLiesInIt) {
    const Row rows[] = {
        {"[[1,2],3]", "list = list[0]",
         [](Variant& v) {
             json::List& list = v.listValue();
             list = std::as_const(list)[0].listValue();
         },
         "[1,2]"},
        {"[[1,2],3]", "list += list[0]",
         [](Variant& v) {
             json::List& list = v.listValue();
             list += std::as_const(list)[0].listValue();
         },
         "[[1,2],3,1,2]"},
        {"[[1,2],3]", "deep copy of list[0]",
         [](Variant& v) {
             json::List& list = v.listValue();
             list.deepCopy(&std::as_const(list)[0].listValue());
         },
         "[1,2]"},
        {"{\"a\":{\"b\":1}}", "object = object[a]",
         [](Variant& v) {
             json::Object& object = v.objectValue();
             object = std::as_const(object)["a"].objectValue();
         },
         "{\"b\":1}"},
        {"{\"a\":{\"a\":1}}", "object += object[a]",
         [](Variant& v) {
             json::Object& object = v.objectValue();
             object += std::as_const(object)["a"].objectValue();
         },
         "{\"a\":1}"},
        {"{\"a\":{\"b\":1}}", "deep copy of object[a]",
         [](Variant& v) {
             json::Object& object = v.objectValue();
             object.deepCopy(&std::as_const(object)["a"].objectValue());
         },
         "{\"b\":1}"},
    };
    expect_rows(rows);
}

TEST(VariantAliasing, CopiesDeeplyWhatLiesInside) {
    const Row rows[] = {
        {"[5]", "a scalar", [](Variant& v) { v.deepCopy(&std::as_const(v)[0]); }, "5"},
        {"[\"text\"]", "a text", [](Variant& v) { v.deepCopy(&std::as_const(v)[0]); }, "\"text\""},
        {"[[1,[2]]]", "a list", [](Variant& v) { v.deepCopy(&std::as_const(v)[0]); }, "[1,[2]]"},
        {"{\"a\":{\"b\":1}}", "an object", [](Variant& v) { v.deepCopy(&std::as_const(v)["a"]); },
         "{\"b\":1}"},
        {"[1]", "itself", [](Variant& v) { v.deepCopy(&v); }, "[1]"},
    };
    expect_rows(rows);
}

TEST(VariantAliasing, CopiesDeeplyWhatHoldsIt) {
    const Row rows[] = {
        {"[1,2]", "its list", [](Variant& v) { v[0].deepCopy(&v); }, "[[1,2],2]"},
        {"{\"a\":1}", "its object", [](Variant& v) { v["a"].deepCopy(&v); }, "{\"a\":{\"a\":1}}"},
    };
    expect_rows(rows);
}

TEST(VariantAliasing, LooksUpByItsOwnText) {
    const Row rows[] = {
        {"\"name\"", "by chars", [](Variant& v) { v[v.charsValue()] = 1; }, "{\"name\":1}"},
        {"\"name\"", "by string", [](Variant& v) { v[std::as_const(v).stringValue()] = 1; },
         "{\"name\":1}"},
        {"\"name\"", "by value", [](Variant& v) { v[v] = 1; }, "{\"name\":1}"},
        {"\"name\"", "by view", [](Variant& v) { v[std::string_view(v.charsValue())] = 1; },
         "{\"name\":1}"},
        {"1", "by a number", [](Variant& v) { v[v] = 7; }, "[null,7]"},
        {"{\"a\":\"b\"}", "by an entry's text", [](Variant& v) { v[v["a"].charsValue()] = 1; },
         nullptr},
    };
    for (const Row& row : rows) {
        Variant value = parsed(row.before);
        row.change(value);
        if (row.expected != nullptr) {
            EXPECT_EQ(row.expected, json_of(value)) << row.what;
        } else {
            EXPECT_TRUE(value.contains("b")) << row.what;
        }
    }
}

TEST(VariantAliasing, RenamesByTheTextOfItsOwnKeys) {
    Variant value = parsed("{\"a\":1}");
    json::Object& object = value.objectValue();
    const char* key = object.begin()->first->c_str();
    EXPECT_TRUE(object.rename(key, key));
    EXPECT_EQ("{\"a\":1}", json_of(value));
    EXPECT_FALSE(object.rename("b", key));
}

TEST(VariantAliasing, AddsItselfAsItWasBefore) {
    Variant value(5);
    value += value;
    EXPECT_EQ("15.0", json_of(value));
    value = "3";
    value += value;
    EXPECT_EQ("6.0", json_of(value));
}

TEST(VariantAliasing, ErasesInOneHolderWhileAnotherReads) {
    Variant writer = parsed("[[1],[2],[3]]");
    const Variant reader(writer);
    const json::List& elements = reader.listValue();
    json::List& own = writer.listValue();
    own.erase(own.begin());
    own.pop_back();
    own.resize(0, Variant());
    EXPECT_EQ(3u, elements.size());
    EXPECT_EQ("[[1],[2],[3]]", json_of(reader));
    Variant object = parsed("{\"a\":[1],\"b\":[2]}");
    const Variant objectReader(object);
    object.objectValue().erase(object.objectValue().find("a"));
    object.objectValue().removeValue(parsed("[5]"));
    EXPECT_EQ(2u, objectReader.size());
    EXPECT_EQ("[1]", json_of(objectReader["a"]));
}

TEST(VariantAliasing, WritesThroughStickyHoldersOfOnePayload) {
    json::List list;
    const Variant inner = parsed("[1,2]");
    list << inner << inner;
    set_sticky(std::as_const(list)[0], true); // lost when the list grew
    list[0][0] = list[1];
    EXPECT_EQ("[[[1,2],2],[[1,2],2]]", json_of(Variant(list)));
    list[1] = list[1][0];
    EXPECT_EQ("[1,2]", json_of(std::as_const(list)[1]));
    EXPECT_EQ("[[1,2],2]", json_of(std::as_const(list)[0]));
}

} // namespace
