// SPDX-License-Identifier: MIT
#include "json/Build.h"

#include "support/ValueProbe.h"
#include "json/Literals.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

using json::Element;
using json::Member;
using json::Variant;

TEST(Build, MakesAnObjectOfPairs) {
    const Variant value = json::object({{"a", 1}, {"b", "text"}, {"c", true}, {"d", nullptr}});
    EXPECT_EQ("{\"a\":1,\"b\":\"text\",\"c\":true,\"d\":null}", json_of(value));
}

TEST(Build, MakesAListOfAnything) {
    const Variant value = json::list({1, "x", 2.5, false, nullptr, std::string("s")});
    EXPECT_EQ("[1,\"x\",2.5,false,null,\"s\"]", json_of(value));
}

TEST(Build, Nests) {
    const Variant call = json::object({
        {"method", "trigger"},
        {"params", json::list({"door", true, json::object({{"seconds", 2.5}})})},
        {"id", 1000},
    });
    EXPECT_EQ("{\"method\":\"trigger\",\"params\":[\"door\",true,{\"seconds\":2.5}],\"id\":1000}",
              json_of(call));
    EXPECT_TRUE(call["params"][2]["seconds"] == 2.5);
}

TEST(Build, MakesEmptyContainers) {
    EXPECT_EQ("{}", json_of(json::object()));
    EXPECT_EQ("{}", json_of(json::object({})));
    EXPECT_EQ("[]", json_of(json::list()));
    EXPECT_EQ("[]", json_of(json::list({})));
}

// A list of one list is no copy of it.
TEST(Build, KeepsAListOfOneElementAList) {
    EXPECT_EQ("[[1]]", json_of(json::list({json::list({1})})));
    EXPECT_EQ("[[]]", json_of(json::list({json::list({})})));
    EXPECT_EQ("[{}]", json_of(json::list({json::object({})})));
    const Variant value(5);
    EXPECT_EQ("[5]", json_of(json::list({value})));
    EXPECT_EQ("[[]]", json_of(json::list({{json::list()}})));
}

TEST(Build, TakesEveryTextAsAKey) {
    const std::string string("b");
    const qx::IntrusiveString counted("d");
    const char* pointer = "e";
    char array[] = "f";
    const Variant value = json::object({{"a", 1},
                                        {string, 2},
                                        {std::string_view("ccc", 1), 3},
                                        {counted, 4},
                                        {pointer, 5},
                                        {array, 6}});
    EXPECT_EQ("{\"a\":1,\"b\":2,\"c\":3,\"d\":4,\"e\":5,\"f\":6}", json_of(value));
    const char* null = nullptr;
    EXPECT_EQ("{\"\":1}", json_of(json::object({{null, 1}})));
    EXPECT_EQ("{\"a\":1}", json_of(json::object({{std::string("a\0b", 3), 1}})));
}

TEST(Build, TakesWhatAValueTakes) {
    json::List list;
    list << 1;
    json::Object object;
    object.setValue("k", 2);
    const boost::intrusive_ptr<json::List> shared(new json::List(list));
    const Variant value = json::list({list, object, shared, Variant("v"), std::string_view("w"),
                                      qx::IntrusiveString("x"), L"y", 'z' - 'a', 1u, 1.5f});
    EXPECT_EQ("[[1],{\"k\":2},[1],\"v\",\"w\",\"x\",\"y\",25,1,1.5]", json_of(value));
}

TEST(Build, KeepsTheFirstPlaceAndTheLastValueOfARepeatedKey) {
    const Variant value = json::object({{"a", 1}, {"b", 2}, {"a", 3}});
    EXPECT_EQ("{\"a\":3,\"b\":2}", json_of(value));
}

TEST(Build, GivesValuesLikeThoseOfAConstructor) {
    Variant value = json::object({{"list", json::list({1, 2})}});
    EXPECT_FALSE(value.dirty());
    EXPECT_FALSE(value.hasParent());
    EXPECT_TRUE(value["list"].hasObjectParent());
    EXPECT_TRUE(value["list"][1].hasListParent());
    EXPECT_EQ(1, value["list"][1].indexInParent());
    Variant copy = value;
    copy["list"] << 3;
    EXPECT_EQ("{\"list\":[1,2]}", json_of(value));
    EXPECT_EQ("{\"list\":[1,2,3]}", json_of(copy));
}

// Inner braces would be the first byte of a text: they don't compile.
static_assert(std::is_constructible_v<Element, int>);
static_assert(std::is_convertible_v<const char*, Element>);
static_assert(!std::is_constructible_v<Element, const char*, int>);
static_assert(!std::is_constructible_v<Element, std::initializer_list<int>>);
static_assert(!std::is_constructible_v<Element, char>);
static_assert(!std::is_constructible_v<Element, void*>);
static_assert(!std::is_constructible_v<Element, std::vector<int>>);
static_assert(std::is_constructible_v<Member, const char*, int>);
static_assert(std::is_constructible_v<Member, std::string, Variant>);
static_assert(!std::is_constructible_v<Member, int, int>);
static_assert(!std::is_constructible_v<Member, std::nullptr_t, int>);
static_assert(!std::is_constructible_v<Member, char, int>);
static_assert(!std::is_constructible_v<Member, const char*, char>);
static_assert(!std::is_constructible_v<Member, const char*, int*>);

// ----- Literals ----------------------------------------------------------------------------------

using namespace json::literals;

TEST(Literal, IsTheValueOfItsText) {
    const Variant value = R"({"name": "front", "open": [false, 1.5, null] /* as yet */})"_json;
    EXPECT_EQ("{\"name\":\"front\",\"open\":[false,1.5,null]}", json_of(value));
    EXPECT_EQ(json::Type::Integer, "12"_json.type());
    EXPECT_EQ(json::Type::String, "\"text\""_json.type());
    EXPECT_TRUE("null"_json.isNull());
}

TEST(Literal, IsAValueOfItsOwnEachTime) {
    const auto make = [] { return "[1]"_json; };
    Variant first = make();
    first << 2;
    EXPECT_EQ("[1]", json_of(make()));
}

std::string refusal_of(Variant (*make)()) {
    try {
        make();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "taken";
}

TEST(Literal, RefusesABadTextWithTheErrorTextOfTheParser) {
    EXPECT_EQ("JSON literal, line 2, column 2: lexical error: invalid char in json text.\n"
              "--------------------------------------\n"
              "[1,\n o\n"
              "<<<<<<<< lexical error: invalid char in json text.\n"
              " <<<<<<<<\n"
              "ops]\n"
              "--------------------------------------\n",
              refusal_of([] { return "[1,\n oops]"_json; }));
    EXPECT_EQ(0u, refusal_of([] { return "[1] 2"_json; }).find("JSON literal, line 1, column 5: "));
}

TEST(Literal, RefusesATextThatEndsTooEarly) {
    EXPECT_EQ("JSON literal, line 1, column 3: the text ends too early",
              refusal_of([] { return "[1"_json; }));
    EXPECT_EQ("JSON literal, line 1, column 1: the text ends too early",
              refusal_of([] { return ""_json; }));
    EXPECT_EQ("taken", refusal_of([] { return " 1"_json; }));
}

TEST(Literal, ReadsBehindANul) {
    EXPECT_NE("taken", refusal_of([] { return "[1]\0x"_json; }));
}

} // namespace
