// SPDX-License-Identifier: MIT
#include "core/Url.h"
#include "schema/Schema.h"
#include "support/ValueProbe.h"
#include "json/Path.h"
#include "json/Variant.h"

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

using Result = json::Schema::ValidationResult;

static_assert(std::is_same_v<decltype(Result::code), std::int32_t>);
static_assert(std::is_same_v<decltype(Result::schema), const json::Schema*>);
static_assert(std::is_same_v<decltype(Result::value), json::Variant>);
static_assert(std::is_same_v<decltype(Result::detail), json::Variant>);
static_assert(std::is_same_v<decltype(Result::rootSchema), const json::Schema*>);
static_assert(std::is_same_v<decltype(Result::rootValue), json::Variant>);
static_assert(std::is_same_v<decltype(Result::path), json::Path>);
static_assert(std::is_enum_v<json::Schema::ValidationCode>);
static_assert(std::is_convertible_v<json::Schema::ValidationCode, int>, "an unscoped enumeration");
static_assert(std::is_same_v<decltype(std::declval<const json::Schema&>().validate(
                                 std::declval<const json::Variant&>())),
                             const Result&>);

namespace {

using json::Schema;
using json::Variant;

std::string printed(const Result& result) {
    std::ostringstream out;
    out << result;
    return out.str();
}

struct Code {
    int value;
    const char* message;
};

const Code codes[] = {
    {Schema::NoError, "no error"},
    {Schema::SchemaNotFound, "schema not found"},
    {Schema::WrongDataType, "wrong data type"},
    {Schema::InvalidValue, "invalid value"},
    {Schema::ValueOutOfBounds, "value out of bounds"},
    {Schema::ValueNotDivisible, "value not divisible"},
    {Schema::StringLengthOutOfBounds, "string length out of bounds"},
    {Schema::RequiredValueMissing, "required valus is missing"},
    {Schema::DependentValueMissing, "dependent value is missing"},
    {Schema::UnknownStringFormat, "unknown string format"},
    {Schema::InvalidProperty, "invalid property"},
    {Schema::ArrayIndexOutOfBounds, "array index out of bounds"},
    {Schema::SchemaNotDefinedForArrayItem, "schema not defined for array item"},
    {Schema::ArrayItemsNotUnique, "array items must be unique"},
    {Schema::MalformedDateOrTime, "malformed date or time"},
    {Schema::RegularExpressionMismatch, "regular expression mismatch"},
    {Schema::MalformedIpAddress, "malformed IP address"},
    {Schema::MalformedUri, ""},
};

// --- Codes and messages

TEST(ValidationResult, NumbersItsCodesInOrder) {
    int expected = 0;
    for (const Code& code : codes) {
        EXPECT_EQ(expected++, code.value) << code.message;
    }
    EXPECT_EQ(18, expected);
}

TEST(ValidationResult, EveryCodeHasItsText) {
    for (const Code& code : codes) {
        EXPECT_STREQ(code.message, Result::message(code.value).c_str()) << code.value;
    }
}

TEST(ValidationResult, HasAnEmptyMessageForAnUnknownCode) {
    for (int code :
         {-1, 17, 18, 1000, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        const qx::IntrusiveString& first = Result::message(code);
        EXPECT_STREQ("", first.c_str()) << code;
        EXPECT_EQ(&first, &Result::message(code)) << "remembered";
    }
}

TEST(ValidationResult, KeepsItsMessages) {
    const qx::IntrusiveString& message = Result::message(7);
    for (int code = 100; code < 1100; ++code) {
        static_cast<void>(Result::message(code));
    }
    EXPECT_EQ(&message, &Result::message(7));
    EXPECT_STREQ("required valus is missing", message.c_str());
}

// --- The record

TEST(ValidationResult, IsCleanByDefault) {
    const Result result;
    EXPECT_EQ(0, result.code);
    EXPECT_TRUE(result.ok());
    EXPECT_EQ(nullptr, result.schema);
    EXPECT_EQ(nullptr, result.rootSchema);
    EXPECT_TRUE(result.value.isNull());
    EXPECT_TRUE(result.detail.isNull());
    EXPECT_TRUE(result.rootValue.isNull());
    EXPECT_EQ(0u, result.path.size());
}

TEST(ValidationResult, IsBuiltFromACodeAlone) {
    const Result result(Schema::SchemaNotFound);
    EXPECT_EQ(1, result.code);
    EXPECT_FALSE(result.ok());
    EXPECT_EQ(nullptr, result.schema);
    EXPECT_EQ(nullptr, result.rootSchema);
    EXPECT_TRUE(result.value.isNull());
    EXPECT_TRUE(result.detail.isNull());
    EXPECT_TRUE(result.rootValue.isNull());
    EXPECT_EQ(0u, result.path.size());
    EXPECT_EQ(-5, Result(-5).code);
    EXPECT_TRUE(Result(Schema::NoError).ok());
}

TEST(ValidationResult, IsOkExactlyWithCodeZero) {
    Result result;
    for (int code : {-1, 1, 17, 99}) {
        result.code = code;
        EXPECT_FALSE(result.ok()) << code;
    }
    result.code = 0;
    result.schema = &Schema::Empty;
    result.detail = "detail";
    EXPECT_TRUE(result.ok());
}

TEST(ValidationResult, CopiesAllItsFields) {
    Result source(Schema::InvalidValue);
    source.schema = &Schema::Empty;
    source.value = "value";
    source.detail = 5;
    source.rootSchema = Schema::EmptyPtr.get();
    source.rootValue = "root";
    source.path = json::Path("a[1]");
    Result assigned;
    assigned = source;
    const Result copied(source);
    const Result* const copies[] = {&assigned, &copied};
    for (const Result* copy : copies) {
        EXPECT_EQ(3, copy->code);
        EXPECT_EQ(&Schema::Empty, copy->schema);
        EXPECT_STREQ("value", copy->value.charsValue());
        EXPECT_EQ(&std::as_const(source.value).stringValue(), &copy->value.stringValue())
            << "shared";
        EXPECT_EQ(5, copy->detail.integerValue());
        EXPECT_EQ(Schema::EmptyPtr.get(), copy->rootSchema);
        EXPECT_STREQ("root", copy->rootValue.charsValue());
        ASSERT_EQ(2u, copy->path.size());
        EXPECT_STREQ("1", copy->path[1]);
    }
    Result& same = assigned;
    assigned = same;
    EXPECT_EQ(3, assigned.code);
    EXPECT_STREQ("value", assigned.value.charsValue());
    EXPECT_EQ(2u, assigned.path.size());
}

// --- The printed form

TEST(ValidationResult, PrintsACodeAlone) {
    EXPECT_EQ("Schema Validation Error (1): schema not found\nat: \n",
              printed(Result(Schema::SchemaNotFound)));
    EXPECT_EQ("Schema Validation Error (0): no error\nat: \n", printed(Result()));
}

TEST(ValidationResult, PrintsEveryPart) {
    Result result(Schema::WrongDataType);
    result.detail = "text";
    result.path = json::Path("a.b[3]");
    result.value = 5;
    result.schema = &Schema::Empty;
    EXPECT_EQ("Schema Validation Error (2): wrong data type(\"text\")\n"
              "at: a.b[3] = 5\n"
              "\n"
              "violates schema: \n"
              "{\n\n}\n\n",
              printed(result));
}

TEST(ValidationResult, PrintsWithoutASchema) {
    Result result(Schema::ValueOutOfBounds);
    result.detail = 10;
    result.value = 11;
    result.path = json::Path("zoom");
    EXPECT_EQ("Schema Validation Error (4): value out of bounds(10)\n"
              "at: zoom = 11\n"
              "\n",
              printed(result));
}

TEST(ValidationResult, PrintsWithoutAValue) {
    Result result(Schema::RequiredValueMissing);
    result.schema = &Schema::Empty;
    EXPECT_EQ("Schema Validation Error (7): required valus is missing\n"
              "at: \n"
              "violates schema: \n"
              "{\n\n}\n\n",
              printed(result));
}

TEST(ValidationResult, PrintsNoMessageForTheLastCode) {
    EXPECT_EQ("Schema Validation Error (17): \nat: \n", printed(Result(Schema::MalformedUri)));
    EXPECT_EQ("Schema Validation Error (-3): \nat: \n", printed(Result(-3)));
}

// A value that reads as false is left out, an index 0 and a faulty 0 among them: a repair that
// asked for null would print them.
TEST(ValidationResult, AFalseDetailAndAFalseValueAreLeftOut) {
    for (const Variant& nothing : {Variant(), Variant(0), Variant(false), Variant::fromReal(0.0),
                                   Variant("", 0), Variant::newList(), Variant::newObject()}) {
        Result result(Schema::SchemaNotDefinedForArrayItem);
        result.detail = nothing;
        result.value = nothing;
        EXPECT_EQ("Schema Validation Error (12): schema not defined for array item\nat: \n",
                  printed(result))
            << json_of(nothing);
    }
}

TEST(ValidationResult, PrintsCompactJson) {
    Result result(Schema::ArrayItemsNotUnique);
    json::List list;
    list << Variant(1) << Variant("b", -1);
    result.detail = list;
    result.value = list;
    EXPECT_EQ("Schema Validation Error (13): array items must be unique([1,\"b\"])\n"
              "at:  = [1,\"b\"]\n"
              "\n",
              printed(result));
}

// --- The small form of a schema

TEST(Schema, HasThreeSharedForms) {
    EXPECT_EQ(nullptr, Schema::NullPtr.get());
    ASSERT_NE(nullptr, Schema::EmptyPtr.get());
    EXPECT_NE(&Schema::Empty, Schema::EmptyPtr.get());
    EXPECT_TRUE(Schema::Empty.empty());
    EXPECT_TRUE(Schema::EmptyPtr->empty());
    EXPECT_EQ(0u, Schema::Empty.definition().size());
}

TEST(Schema, AllowsAnythingInAnEmptyOne) {
    EXPECT_EQ(Schema::EmptyPtr.get(), Schema::Empty.at(0).get());
    EXPECT_EQ(Schema::EmptyPtr.get(), Schema::Empty.at(7).get());
    EXPECT_EQ(Schema::EmptyPtr.get(), Schema::EmptyPtr->at(0).get());
    const auto key = json::Object::key_pool().intern("key");
    EXPECT_EQ(Schema::EmptyPtr.get(), Schema::Empty.property(key).get());
    EXPECT_EQ(&Variant::EmptyAutoValue, &Schema::EmptyPtr->autoValue());
}

TEST(Schema, ValidatesAnythingAgainstAnEmptyOne) {
    for (const Variant& value : {Variant(), Variant(5), Variant("text", -1), Variant::newList()}) {
        const Result& result = Schema::Empty.validate(value);
        EXPECT_TRUE(result.ok());
        EXPECT_EQ(0, result.code);
        EXPECT_EQ(nullptr, result.schema);
        EXPECT_TRUE(result.value.isNull());
        EXPECT_TRUE(result.detail.isNull());
        EXPECT_EQ(&Schema::Empty, result.rootSchema);
        EXPECT_EQ(json_of(value), json_of(result.rootValue));
        EXPECT_EQ(0u, result.path.size());
        EXPECT_EQ(&result, &Schema::Empty.validationResult());
    }
}

TEST(Schema, ValidatesANullPointerAsTheEmptyValue) {
    const Variant value(5);
    EXPECT_EQ("5", json_of(Schema::EmptyPtr->validate(&value).rootValue));
    const Result& result = Schema::EmptyPtr->validate(static_cast<const Variant*>(nullptr));
    EXPECT_TRUE(result.ok());
    EXPECT_TRUE(result.rootValue.isNull());
    EXPECT_EQ(Schema::EmptyPtr.get(), result.rootSchema);
}

TEST(Schema, OverwritesItsOneResult) {
    const boost::intrusive_ptr<Schema> first(new Schema);
    const boost::intrusive_ptr<Schema> second(new Schema);
    const Result& result = first->validate(Variant(1));
    const Result& other = second->validate(Variant(2));
    EXPECT_NE(&result, &other);
    EXPECT_EQ(&result, &first->validate(Variant(3)));
    EXPECT_EQ(3, result.rootValue.integerValue());
    EXPECT_EQ(2, other.rootValue.integerValue());
}

TEST(Schema, ResolvesNothingInAnEmptyRegistry) {
    EXPECT_EQ(nullptr, Schema::resolve(qx::Url("http://nowhere.example/schema"), qx::Url()).get());
    EXPECT_EQ(nullptr, Schema::resolve(qx::Url("#"), qx::Url("http://nowhere.example/")).get());
    EXPECT_EQ(nullptr, Schema::resolve(qx::Url(), qx::Url()).get());
}

TEST(Schema, HasTheBaseUrlOfTheSystemsSchemas) {
    EXPECT_STREQ("http://schemas.gatecast.example",
                 static_cast<const char*>(Schema::applicationSchemaBaseUrl()));
}

TEST(Schema, IsNotKeptAliveByItsOwnResult) {
    const Variant value(5);
    const boost::intrusive_ptr<Schema> schema(new Schema);
    value.attachSchema(schema);
    EXPECT_EQ(2u, schema->use_count());
    EXPECT_TRUE(value.validate());
    value.attachSchema(Schema::NullPtr);
    EXPECT_EQ(1u, schema->use_count());
}

} // namespace
