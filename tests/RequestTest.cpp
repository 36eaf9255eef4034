// SPDX-License-Identifier: MIT
#include "rpc/Request.h"

#include "support/MethodSchemas.h"
#include "support/SortedText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>

using json::Request;
using json::Variant;
using test::sorted_text;
using test::text_of;

// The envelope is the value: no fields, no table, and any value converts.
static_assert(sizeof(Request) == sizeof(Variant));
static_assert(!std::is_polymorphic_v<Request>);
static_assert(std::is_base_of_v<Variant, Request>);
static_assert(std::is_convertible_v<const Variant&, Request>);
static_assert(std::is_copy_assignable_v<Request>);
static_assert(std::is_same_v<const qx::Url&, decltype(Request::requestSchemaUrl())>);
static_assert(std::is_same_v<qx::Url, decltype(Request::argsSchemaUrl("m"))>);
static_assert(std::is_same_v<std::int64_t, decltype(std::declval<const Request&>().referenceId())>);

namespace {

Variant parsed(const char* text) { return json::JsonParser::parseTree(text); }

} // namespace

TEST(Request, IsNullByDefault) {
    const Request request;
    EXPECT_TRUE(request.isNull());
    EXPECT_TRUE(request.empty());
}

TEST(Request, ReadsEmptyMembersFromWhatIsNoEnvelope) {
    for (const char* text : {"null", "5", "\"method\"", "[1]", "{}"}) {
        const Request request(parsed(text));
        EXPECT_STREQ("", request.methodName().c_str()) << text;
        EXPECT_EQ(0, request.referenceId()) << text;
        EXPECT_EQ(0u, request.arguments().size()) << text;
        EXPECT_EQ(sorted_text(text), sorted_text(request)) << text << " was changed by reading";
    }
}

TEST(Request, SharesTheValueThatItIsMadeFrom) {
    const Variant value = parsed(R"({"method":"m","params":[1],"id":7})");
    const Request request(value);
    EXPECT_EQ(&value.objectValue(), &static_cast<const Variant&>(request).objectValue());
    EXPECT_STREQ("m", request.methodName().c_str());
    EXPECT_EQ(7, request.referenceId());
    EXPECT_EQ("[1]", sorted_text(Variant(request.arguments())));
}

TEST(Request, KeepsTheValueOfOtherTypesThatItIsMadeFrom) {
    EXPECT_EQ(5, Request(Variant(5)).integerValue());
    EXPECT_TRUE(Request(Variant(5)).isInteger());
}

TEST(Request, CopiesShareUntilOneIsChanged) {
    Request first("m", "a", 1);
    const Request second(first);
    first.setup("n", "b", 2);
    EXPECT_EQ(R"({"id":1,"method":"m","params":["a"]})", sorted_text(second));
    EXPECT_EQ(R"({"id":2,"method":"n","params":["b"]})", sorted_text(first));
}

TEST(Request, IsAssignedFromRequestsAndValues) {
    Request request;
    request = Request("m", 1, 2);
    EXPECT_EQ(R"({"id":2,"method":"m","params":[1]})", sorted_text(request));
    request = parsed(R"({"method":"n"})");
    EXPECT_STREQ("n", request.methodName().c_str());
}

TEST(Request, ComparesAndPrintsAsTheValueThatItIs) {
    const Request request("m", 1, 7);
    EXPECT_TRUE(request == Request("m", 1, 7));
    EXPECT_TRUE(request != Request("m", 1, 8));
    EXPECT_TRUE(request["id"] == 7);
    EXPECT_TRUE(request["method"] == "m");
    EXPECT_TRUE(request.methodName() == "m");
    EXPECT_TRUE(request);
    std::ostringstream out;
    out << Request(Variant("text"));
    EXPECT_EQ("\"text\"", out.str());
}

TEST(Request, IsBuiltWithMethodArgumentsAndId) {
    EXPECT_EQ(R"({"id":1000,"method":"trigger","params":["door"]})",
              sorted_text(Request("trigger", "door", 1000)));
}

TEST(Request, TakesAListAsItsArgumentsAndAnyOtherValueAsTheOnlyOne) {
    const struct {
        Variant args;
        const char* params;
    } rows[] = {
        {"text", R"(["text"])"},
        {5, "[5]"},
        {2.5, "[2.5]"},
        {true, "[true]"},
        {Variant(), "[null]"},
        {parsed(R"({"a":1})"), R"([{"a":1}])"},
        {parsed("[1,[2],\"x\"]"), R"([1,[2],"x"])"},
        {Variant::EmptyList, "[]"},
        {Variant::newList(), "[]"},
    };
    for (const auto& row : rows) {
        const Request request("m", row.args, 0);
        EXPECT_EQ(row.params, sorted_text(request["params"]));
    }
}

TEST(Request, SharesAListOfArgumentsUntilOneOfThemIsChanged) {
    Variant args = parsed("[1,2]");
    Request request("m", args, 0);
    EXPECT_EQ(&static_cast<const Variant&>(args).listValue(),
              &static_cast<const Request&>(request).arguments());
    args << 3;
    EXPECT_EQ("[1,2]", sorted_text(Variant(request.arguments())));
    request.arguments() << 4;
    EXPECT_EQ("[1,2,3]", sorted_text(args));
}

TEST(Request, NeverChangesTheConstantOfTheEmptyList) {
    Request request("m", Variant::EmptyList, 0);
    request.appendArg(1);
    request.setup("m", 2, 0);
    EXPECT_EQ("[]", sorted_text(Variant::EmptyList));
}

TEST(Request, OwnsItsMethodName) {
    qx::IntrusiveString name("door");
    const Request request(name, Variant::EmptyList, 0);
    name = "light";
    EXPECT_STREQ("door", request.methodName().c_str());
}

TEST(Request, WritesEveryIdButZero) {
    EXPECT_EQ(1, Request("m", 0, 1).referenceId());
    EXPECT_EQ(R"({"id":-5,"method":"m","params":[0]})", sorted_text(Request("m", 0, -5)));
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(largest, Request("m", 0, largest).referenceId());
    const Request without("m", 0, 0);
    EXPECT_FALSE(without.contains("id"));
    EXPECT_EQ(0, without.referenceId());
}

TEST(Request, SetUpWithIdZeroRemovesAnEarlierId) {
    Request request("m", 1, 7);
    request.setup("m", 1, 0);
    EXPECT_EQ(R"({"method":"m","params":[1]})", sorted_text(request));
}

TEST(Request, SetUpWithIdZeroRemovesARepeatedId) {
    Request request(parsed(R"({"id":7,"id":8})"));
    request.setup("m", 1, 0);
    EXPECT_FALSE(request.contains("id"));
}

TEST(Request, SetUpReplacesTheEnvelopeAndKeepsOtherMembers) {
    Request request(parsed(R"({"method":"old","params":[1,2],"id":7,"token":"t"})"));
    request.setup("new", "x", 8);
    EXPECT_EQ(R"({"id":8,"method":"new","params":["x"],"token":"t"})", sorted_text(request));
    request.setup("new", 3, 8);
    EXPECT_EQ("[3]", sorted_text(request["params"]));
}

TEST(Request, SetUpMakesAnObjectOfAnyOtherValue) {
    for (const char* text : {"null", "5", "\"text\"", "[1,2]", "true"}) {
        Request request(parsed(text));
        request.setup("m", 1, 0);
        EXPECT_EQ(R"({"method":"m","params":[1]})", sorted_text(request)) << text;
    }
}

TEST(Request, SetUpMakesAnArrayOfParamsOfAnyOtherType) {
    Request request(parsed(R"({"params":{"a":1}})"));
    request.setup("m", 1, 0);
    EXPECT_EQ("[1]", sorted_text(request["params"]));
}

TEST(Request, SetUpLeavesAnotherHolderOfTheValueAlone) {
    const Variant value = parsed(R"({"method":"old","params":[1],"id":7})");
    Request request(value);
    request.setup("new", 2, 8);
    EXPECT_EQ(R"({"id":7,"method":"old","params":[1]})", sorted_text(value));
}

TEST(Request, SetUpTakesArgumentsThatLieInsideIt) {
    Request own("m", parsed("[1,[2,3]]"), 7);
    own.setup(own.methodName(), own["params"], 8);
    EXPECT_EQ(R"({"id":8,"method":"m","params":[1,[2,3]]})", sorted_text(own));
    own.setup(own.methodName(), own["params"][1], 8);
    EXPECT_EQ(R"({"id":8,"method":"m","params":[2,3]})", sorted_text(own));
    own.setup("n", own["params"][0], 8);
    EXPECT_EQ(R"({"id":8,"method":"n","params":[2]})", sorted_text(own));
    own.setup("n", own, 9);
    EXPECT_EQ(R"({"id":9,"method":"n","params":[{"id":8,"method":"n","params":[2]}]})",
              sorted_text(own));

    Request list(parsed(R"(["door",5])"));
    list.setup(list[0].stringValue(), list[1], 0);
    EXPECT_EQ(R"({"method":"door","params":[5]})", sorted_text(list));

    Request text(Variant("door"));
    text.setup(text.stringValue(), text, 0);
    EXPECT_EQ(R"({"method":"door","params":["door"]})", sorted_text(text));
}

TEST(Request, ReadsAnIdOfAnyTypeAsAnInteger) {
    const struct {
        const char* text;
        std::int64_t id;
    } rows[] = {
        {R"({"id":12})", 12},  {R"({"id":"12"})", 12}, {R"({"id":12.9})", 12},
        {R"({"id":true})", 1}, {R"({"id":null})", 0},  {R"({"id":[12]})", 0},
        {R"({"id":-3})", -3},  {R"({"id":"abc"})", 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.id, Request(parsed(row.text)).referenceId()) << row.text;
    }
}

TEST(Request, ReadsAMethodOfAnotherTypeAsItsText) {
    EXPECT_STREQ("5", Request(parsed(R"({"method":5})")).methodName().c_str());
}

TEST(Request, CreatesMissingArgumentsOnlyForWriting) {
    Request request(parsed(R"({"method":"m"})"));
    EXPECT_TRUE(static_cast<const Request&>(request).arguments().empty());
    EXPECT_FALSE(request.contains("params"));
    request.arguments() << 1;
    EXPECT_EQ(R"({"method":"m","params":[1]})", sorted_text(request));

    Request scalar(parsed(R"({"params":5})"));
    EXPECT_TRUE(static_cast<const Request&>(scalar).arguments().empty());
    EXPECT_EQ("5", sorted_text(scalar["params"]));
    EXPECT_TRUE(scalar.arguments().empty());
    EXPECT_EQ("[]", sorted_text(scalar["params"]));
}

// The answer tells of the check, not of the appending: a repair that drops an argument without a
// schema would send a request without it.
TEST(Request, AppendArgKeepsAnArgumentWithoutASchemaAndAnswersFalse) {
    Request request("unknown", Variant::EmptyList, 1);
    EXPECT_FALSE(request.appendArg("a"));
    EXPECT_FALSE(request.appendArg(2));
    EXPECT_EQ(R"({"id":1,"method":"unknown","params":["a",2]})", sorted_text(request));
}

TEST(Request, AppendArgCreatesTheArguments) {
    Request request;
    EXPECT_FALSE(request.appendArg(Variant()));
    EXPECT_EQ(R"({"params":[null]})", sorted_text(request));
}

TEST(Request, AppendArgTakesAnArgumentThatLiesInsideIt) {
    Request request("m", parsed(R"(["a","b"])"), 0);
    request.appendArg(request["params"][0]);
    request.appendArg(request["params"]);
    EXPECT_EQ(R"(["a","b","a",["a","b","a"]])", sorted_text(request["params"]));

    Request list(parsed(R"([["a"]])"));
    list.appendArg(list[0]);
    EXPECT_EQ(R"({"params":[["a"]]})", sorted_text(list));
}

TEST(Request, AppendArgLeavesAnotherHolderOfTheArgumentsAlone) {
    const Variant args = parsed("[1]");
    Request request("m", args, 0);
    request.appendArg(2);
    EXPECT_EQ("[1]", sorted_text(args));
}

TEST(Request, ValidateArgsReportsAMethodWithoutASchemaAsNotFound) {
    const json::Schema::ValidationResult result = Request("unknown", 1, 1).validateArgs();
    EXPECT_EQ(1, result.code);
    EXPECT_EQ(json::Schema::SchemaNotFound, result.code);
    EXPECT_EQ(nullptr, result.schema);
    EXPECT_TRUE(result.value.isNull());
    EXPECT_TRUE(result.detail.isNull());
}

TEST(Request, ValidateArgsAddsNoMember) {
    Request request;
    EXPECT_EQ(json::Schema::SchemaNotFound, request.validateArgs().code);
    EXPECT_TRUE(request.isNull());
}

TEST(Request, ValidateArgsChecksTheArgumentsAgainstTheMethodsSchema) {
    test::register_method("request.check");
    const struct {
        const char* args;
        std::int32_t code;
    } rows[] = {
        {R"(["a",1])", json::Schema::NoError},
        {R"(["a"])", json::Schema::NoError},
        {"[]", json::Schema::NoError},
        {R"([1,1])", json::Schema::WrongDataType},
        {R"(["a","b"])", json::Schema::WrongDataType},
        {R"(["a",1,2])", json::Schema::SchemaNotDefinedForArrayItem},
    };
    for (const auto& row : rows) {
        const Request request("request.check", parsed(row.args), 1);
        EXPECT_EQ(row.code, request.validateArgs().code) << row.args;
    }
}

TEST(Request, ValidateArgsGivesACopyOfTheResult) {
    test::register_method("request.copy");
    const json::Schema::ValidationResult first = Request("request.copy", 1, 1).validateArgs();
    const json::Schema::ValidationResult second = Request("request.copy", "a", 1).validateArgs();
    EXPECT_EQ(json::Schema::WrongDataType, first.code);
    EXPECT_EQ(1, first.value.integerValue());
    EXPECT_TRUE(second.ok());
}

TEST(Request, AppendArgJudgesAnArgumentByThePlaceThatItTakes) {
    test::register_method("request.append");
    Request request("request.append", Variant::EmptyList, 1);
    EXPECT_TRUE(request.appendArg("a"));
    EXPECT_FALSE(request.appendArg("b")) << "an integer is due here";
    EXPECT_FALSE(request.appendArg(3)) << "nothing is known of this place";
    EXPECT_EQ(R"(["a","b",3])", sorted_text(request["params"]));
    Request other("request.append", "a", 1);
    EXPECT_TRUE(other.appendArg(2));
}

TEST(Request, NamesItsSchemasUnderTheBaseUrl) {
    const std::string base = text_of(json::Schema::applicationSchemaBaseUrl());
    EXPECT_EQ(base + "/rpc/request.json", text_of(Request::requestSchemaUrl()));
    EXPECT_EQ(base + "/rpc/methods/door?args", text_of(Request::argsSchemaUrl("door")));
    EXPECT_EQ(base + "/rpc/methods/door?args#0", text_of(Request::argsSchemaUrl("door", 0)));
    EXPECT_EQ(base + "/rpc/methods/door?args#12345",
              text_of(Request::argsSchemaUrl("door", 12345)));
    EXPECT_EQ(base + "/rpc/methods/door?args#18446744073709551615",
              text_of(Request::argsSchemaUrl("door", std::numeric_limits<std::size_t>::max())));
    EXPECT_EQ(&Request::requestSchemaUrl(), &Request::requestSchemaUrl());
}

TEST(Request, TakesMethodNamesIntoUrlsAsTheyStand) {
    const std::string methods = text_of(json::Schema::applicationSchemaBaseUrl()) + "/rpc/methods/";
    const struct {
        const char* method;
        const char* url;
    } rows[] = {
        {"", "?args"},       {"a b", "a b?args"},     {"a/b", "a/b?args"},
        {"a?b", "a?b?args"}, {"a%20b", "a%20b?args"}, {"t\xC3\xBCr", "t\xC3\xBCr?args"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(methods + row.url, text_of(Request::argsSchemaUrl(row.method)));
    }
}
