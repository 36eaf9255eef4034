// SPDX-License-Identifier: MIT
#include "rpc/Response.h"

#include "rpc/detail/Attachments.h"
#include "support/MethodSchemas.h"
#include "support/SortedText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

using json::Response;
using json::Variant;
using test::sorted_text;
using test::text_of;

// The envelope is the value: no fields, no table, and any value converts.
static_assert(sizeof(Response) == sizeof(Variant));
static_assert(!std::is_polymorphic_v<Response>);
static_assert(std::is_base_of_v<Variant, Response>);
static_assert(std::is_convertible_v<const Variant&, Response>);
static_assert(std::is_copy_assignable_v<Response>);
static_assert(std::is_same_v<const qx::Url&, decltype(Response::responseSchemaUrl())>);
static_assert(std::is_same_v<qx::Url, decltype(Response::resultSchemaUrl("m"))>);

namespace {

Variant parsed(const char* text) { return json::JsonParser::parseTree(text); }

Response response(const char* text) { return Response(parsed(text)); }

} // namespace

TEST(Response, SharesTheObjectThatItIsMadeFrom) {
    const Variant value = parsed(R"({"result":5,"id":7})");
    const Response taken(value);
    EXPECT_EQ(&value.objectValue(), &static_cast<const Variant&>(taken).objectValue());
    EXPECT_EQ(5, taken.result().integerValue());
}

TEST(Response, BecomesAnEmptyObjectWhenItIsMadeFromAnotherValue) {
    for (const char* text : {"null", "5", "\"text\"", "[1,2]", "true"}) {
        const Response converted = response(text);
        EXPECT_EQ("{}", sorted_text(converted)) << text;
        EXPECT_TRUE(converted.result().isNull()) << text;
        EXPECT_FALSE(converted.isError()) << text;
    }
}

TEST(Response, LeavesTheValueThatItIsMadeFromAlone) {
    const Variant list = parsed("[1]");
    const Response converted(list);
    EXPECT_EQ("[1]", sorted_text(list));
}

TEST(Response, IsBuiltAsASuccess) {
    EXPECT_EQ(R"({"id":5,"result":["a",1]})", sorted_text(Response(parsed(R"(["a",1])"), 5)));
    EXPECT_EQ(R"({"id":5,"result":null})", sorted_text(Response(Variant(), 5)));
    EXPECT_EQ(R"({"id":5,"result":"text"})", sorted_text(Response("text", 5)));
}

TEST(Response, IsBuiltAsAnError) {
    const Response error(24, "busy", 5);
    EXPECT_EQ(R"({"error":[24,"busy"],"id":5,"result":null})", sorted_text(error));
    EXPECT_TRUE(error.result().isNull());
    EXPECT_TRUE(error.isError());
    EXPECT_EQ(24, error.errorCode());
    EXPECT_STREQ("busy", error.errorMessage().c_str());
}

TEST(Response, OwnsItsErrorMessage) {
    qx::IntrusiveString message("busy");
    const Response error(24, message, 5);
    message = "idle";
    EXPECT_STREQ("busy", error.errorMessage().c_str());
}

TEST(Response, CarriesErrorCodesOf64Bits) {
    constexpr std::int64_t code = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(code, Response(code, "", 1).errorCode());
}

// A request writes a negative id; a response leaves out everything below 1.
TEST(Response, LeavesOutIdsBelowOne) {
    const struct {
        std::int64_t id;
        bool written;
    } rows[] = {{1, true}, {0, false}, {-1, false}, {-1000, false}, {1000, true}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.written, Response(true, row.id).contains("id")) << row.id;
        EXPECT_EQ(row.written, Response(1, "", row.id).contains("id")) << row.id;
        EXPECT_EQ(row.written ? row.id : 0, Response(true, row.id).referenceId().integerValue());
    }
}

TEST(Response, GivesItsReferenceIdUnconverted) {
    EXPECT_TRUE(response(R"({"id":"abc"})").referenceId().isString());
    EXPECT_TRUE(response(R"({"id":[1]})").referenceId().isList());
    EXPECT_EQ(7, response(R"({"id":7})").referenceId().integerValue());
    EXPECT_TRUE(response("{}").referenceId().isNull());
}

TEST(Response, ReadsItsResultAsWhatIsAskedFor) {
    const Response list = response(R"({"result":["a","b"]})");
    EXPECT_EQ(2u, list.resultList().size());
    EXPECT_STREQ("a", list.firstResult().charsValue());
    EXPECT_TRUE(list.resultObject().empty());

    const Response object = response(R"({"result":{"a":1}})");
    EXPECT_EQ(1, object.resultObject()["a"].integerValue());
    EXPECT_TRUE(object.resultList().empty());
    EXPECT_TRUE(object.firstResult().isNull());
    EXPECT_EQ(R"({"result":{"a":1}})", sorted_text(object)) << "reading changed it";
}

TEST(Response, ReadsNoResultAsEmpty) {
    const Response none = response("{}");
    EXPECT_TRUE(none.result().isNull());
    EXPECT_TRUE(none.resultList().empty());
    EXPECT_TRUE(none.resultObject().empty());
    EXPECT_TRUE(none.firstResult().isNull());
    EXPECT_TRUE(response(R"({"result":[]})").firstResult().isNull());
    EXPECT_EQ("{}", sorted_text(none)) << "reading added a member";
}

TEST(Response, IsAnErrorWhenErrorIsThereAndNotNull) {
    const struct {
        const char* text;
        bool error;
    } rows[] = {
        {"{}", false},
        {R"({"result":null})", false},
        {R"({"error":null})", false},
        {R"({"error":[24,"busy"]})", true},
        {R"({"error":[]})", true},
        {R"({"error":{}})", true},
        {R"({"error":0})", true},
        {R"({"error":false})", true},
        {R"({"error":""})", true},
        {R"({"error":"busy"})", true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.error, response(row.text).isError()) << row.text;
}

TEST(Response, GivesTheConstantNullAsErrorInfoWhenThereIsNone) {
    EXPECT_EQ(&Variant::Null, &response("{}").errorInfo());
    EXPECT_TRUE(response(R"({"error":null})").errorInfo().isNull());
    EXPECT_EQ(R"([24,"busy"])", sorted_text(response(R"({"error":[24,"busy"]})").errorInfo()));
}

TEST(Response, ReadsCodeAndMessageOfAnyErrorByConversion) {
    const struct {
        const char* text;
        std::int64_t code;
        const char* message;
    } rows[] = {
        {"{}", 0, ""},
        {R"({"error":[24,"busy"]})", 24, "busy"},
        {R"({"error":["24",5]})", 24, "5"},
        {R"({"error":[24]})", 24, ""},
        {R"({"error":[]})", 0, ""},
        {R"({"error":{"0":24}})", 0, ""},
        {R"({"error":"busy"})", 0, ""},
        {R"({"error":24})", 0, ""},
        {R"({"error":[24.9,null]})", 24, ""},
    };
    for (const auto& row : rows) {
        const Response answer = response(row.text);
        EXPECT_EQ(row.code, answer.errorCode()) << row.text;
        EXPECT_STREQ(row.message, answer.errorMessage().c_str()) << row.text;
        EXPECT_EQ(sorted_text(row.text), sorted_text(answer)) << "reading changed it";
    }
}

TEST(Response, TellsHowManyBlocksFollow) {
    const struct {
        const char* text;
        int blocks;
    } rows[] = {
        {R"({"result":{"blocks_follow":3}})", 3},
        {R"({"result":{"blocks_follow":"4"}})", 4},
        {R"({"result":{"blocks_follow":4294967298}})", 2}, // cut to 32 bits
        {R"({"result":{}})", 0},
        {R"({"result":[3]})", 0},
        {R"({"blocks_follow":3})", 0},
        {"{}", 0},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.blocks, response(row.text).blocksFollow());
}

TEST(Response, ReadingBlocksFollowAddsNoMember) {
    const Response answer = response(R"({"result":{"a":1}})");
    EXPECT_EQ(0, answer.blocksFollow());
    EXPECT_EQ(R"({"result":{"a":1}})", sorted_text(answer));
}

TEST(Response, ValidateResultReportsAnEmptyOrUnknownMethodAsNotFound) {
    const Response answer = response(R"({"result":1})");
    for (const char* method : {"", "unknown"}) {
        const json::Schema::ValidationResult result = answer.validateResult(method);
        EXPECT_EQ(1, result.code) << method;
        EXPECT_EQ(json::Schema::SchemaNotFound, result.code) << method;
        EXPECT_EQ(nullptr, result.schema) << method;
    }
}

TEST(Response, ValidateResultChecksTheResultAgainstTheMethodsSchema) {
    test::register_method("response.check");
    EXPECT_EQ(json::Schema::NoError, Response(true, 1).validateResult("response.check").code);
    EXPECT_EQ(json::Schema::WrongDataType, Response("a", 1).validateResult("response.check").code);
    const Response none = response("{}");
    EXPECT_EQ(json::Schema::WrongDataType, none.validateResult("response.check").code);
    EXPECT_EQ("{}", sorted_text(none)) << "the check added a member";
}

TEST(Response, ValidateResultLooksAnEmptyNameUpNowhere) {
    test::import_text(R"({"id":")" + text_of(Response::resultSchemaUrl("")) +
                      R"(","type":"boolean"})");
    EXPECT_EQ(json::Schema::SchemaNotFound, Response("a", 1).validateResult("").code);
}

TEST(Response, TakesTheDefaultOfASchemaForBlocksThatAreMissing) {
    const Response answer = response(R"({"result":{}})");
    answer.result().attachSchema(
        test::schema_of(R"({"properties":{"blocks_follow":{"type":"integer","default":7}}})"));
    EXPECT_EQ(7, answer.blocksFollow());
    EXPECT_EQ(R"({"result":{}})", sorted_text(answer));
}

TEST(Response, NamesItsSchemasUnderTheBaseUrl) {
    const std::string base = text_of(json::Schema::applicationSchemaBaseUrl());
    EXPECT_EQ(base + "/rpc/response.json", text_of(Response::responseSchemaUrl()));
    EXPECT_EQ(base + "/rpc/methods/door?result", text_of(Response::resultSchemaUrl("door")));
    EXPECT_EQ(base + "/rpc/methods/?result", text_of(Response::resultSchemaUrl("")));
    EXPECT_EQ(base + "/rpc/methods/a?b?result", text_of(Response::resultSchemaUrl("a?b")));
    EXPECT_EQ(&Response::responseSchemaUrl(), &Response::responseSchemaUrl());
}

TEST(ResponseAttachments, AreAnEmptyListWhenThereAreNone) {
    const Response answer = response(R"({"result":1})");
    const json::List& attachments = json::detail::binary_attachment_list(answer.objectValue());
    EXPECT_EQ(&Variant::EmptyList.listValue(), &attachments);
    EXPECT_EQ(R"({"result":1})", sorted_text(answer)) << "reading added the member";
}

TEST(ResponseAttachments, AreReadFromTheEnvelope) {
    const Response answer = response(R"({"binary-attachment-list":["a","b"]})");
    const json::List& attachments = json::detail::binary_attachment_list(answer.objectValue());
    ASSERT_EQ(2u, attachments.size());
    EXPECT_STREQ("b", attachments.at(1).charsValue());
}

TEST(ResponseAttachments, AreAppendedAsStringsOfRawBytes) {
    Response answer = response(R"({"result":1})");
    json::Object& object = answer.objectValue();
    const char bytes[] = {'\xFF', '\0', '\x80', '"', '\n'};
    const Variant& first = json::detail::add_binary_attachment(object, bytes, 5);
    EXPECT_TRUE(first.isString());
    EXPECT_EQ(std::string(bytes, 5), static_cast<std::string>(first));
    const Variant& second = json::detail::add_binary_attachment(object, "", 0);
    EXPECT_TRUE(second.isString());
    EXPECT_EQ(0u, second.size());
    const json::List& attachments = json::detail::binary_attachment_list(object);
    ASSERT_EQ(2u, attachments.size());
    EXPECT_EQ(&second, &attachments.at(1));
    EXPECT_EQ(5u, attachments.at(0).size());
}

TEST(ResponseAttachments, ReplaceAMemberThatIsNoList) {
    Response answer = response(R"({"binary-attachment-list":"a"})");
    json::detail::add_binary_attachment(answer.objectValue(), "b", 1);
    EXPECT_EQ(R"({"binary-attachment-list":["b"]})", sorted_text(answer));
}

TEST(ResponseAttachments, LeaveAnotherHolderOfTheEnvelopeAlone) {
    const Variant value = parsed(R"({"binary-attachment-list":["a"]})");
    Response answer(value);
    json::detail::add_binary_attachment(answer.objectValue(), "b", 1);
    EXPECT_EQ(R"({"binary-attachment-list":["a"]})", sorted_text(value));
    EXPECT_EQ(R"({"binary-attachment-list":["a","b"]})", sorted_text(answer));
}
