// SPDX-License-Identifier: MIT
#include "schema/Schema.h"

#include "support/SchemaText.h"
#include "support/SortedText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

using json::Schema;
using json::Type;
using json::Variant;
using test::import_text;
using test::resolved;
using test::schema_of;
using test::SchemaPtr;
using test::sorted_text;
using test::value_of;

namespace {

/// What subclasses of a schema see, for tests.
struct SchemaProbe : Schema {
    using Schema::Schema;

    using Schema::autoIntegerValue;
    using Schema::autoListValue;
    using Schema::autoObjectValue;
    using Schema::autoPropertyValue;
    using Schema::autoStringValue;
};

/// The type and the JSON text of the default.
std::string default_of(const std::string& document) {
    const SchemaPtr schema = schema_of(document);
    const Variant value(schema->autoValue());
    return std::string(Variant::typeName(value.type())) + " " + sorted_text(value);
}

constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
constexpr auto kMost = std::numeric_limits<std::int64_t>::max();

} // namespace

// ----- The order of the steps --------------------------------------------------------------------

TEST(SchemaDefaults, ADefaultIsReturnedAsItStands) {
    const SchemaPtr schema = schema_of(R"({"default":"x","type":"integer","enum":[3]})");
    EXPECT_EQ(&schema->defaultValue(), &schema->autoValue());
    EXPECT_EQ("Integer 0", default_of(R"({"default":0,"type":"string"})"));
    EXPECT_EQ("Boolean false", default_of(R"({"default":false,"enum":[3]})"));
    EXPECT_EQ("String \"\"", default_of(R"({"default":"","enum":[3]})"));
    EXPECT_EQ("List []", default_of(R"({"default":[],"enum":[3]})"));
}

TEST(SchemaDefaults, ADefaultOfNullFallsThrough) {
    EXPECT_EQ("Integer 3", default_of(R"({"default":null,"enum":[3]})"));
    EXPECT_EQ("Boolean false", default_of(R"({"default":null,"type":"boolean"})"));
}

TEST(SchemaDefaults, AReferenceGivesTheDefaultOfWhatItLeadsTo) {
    ASSERT_TRUE(
        import_text(R"({"id":"http://defaults.test/target","type":"integer","minimum":7})"));
    EXPECT_EQ("Integer 7",
              default_of(R"({"$ref":"http://defaults.test/target","enum":[3],"type":"string"})"));
    EXPECT_EQ("Integer 5", default_of(R"({"$ref":"http://defaults.test/target","default":5})"))
        << "the own default comes first";
    const SchemaPtr schema = schema_of(R"({"$ref":"http://defaults.test/target"})");
    EXPECT_EQ(&resolved("http://defaults.test/target")->autoValue(), &schema->autoValue())
        << "the value is the other schema's own";
}

TEST(SchemaDefaults, ABrokenReferenceFallsThroughToTheOwnKeywords) {
    EXPECT_EQ("Integer 3", default_of(R"({"$ref":"http://defaults.test/nowhere","enum":[3]})"));
    EXPECT_EQ("Boolean false",
              default_of(R"({"$ref":"http://defaults.test/nowhere","type":"boolean"})"));
}

// Asking "extends" for every node would be the evident way; then the first row would give 9.
TEST(SchemaDefaults, ExtendedSchemasGiveDefaultsOnlyBehindABrokenReference) {
    ASSERT_TRUE(import_text(R"({"id":"http://defaults.test/nine","default":9})"));
    ASSERT_TRUE(import_text(R"({"id":"http://defaults.test/nothing","type":"null"})"));
    EXPECT_EQ("Boolean false",
              default_of(R"({"extends":"http://defaults.test/nine","type":"boolean"})"));
    EXPECT_EQ("Integer 9", default_of(R"({"$ref":"http://defaults.test/nowhere",
        "extends":"http://defaults.test/nine","type":"boolean"})"));
    EXPECT_EQ("Integer 9", default_of(R"({"$ref":"http://defaults.test/nowhere","extends":
        ["http://defaults.test/missing","http://defaults.test/nothing",
         "http://defaults.test/nine"],"enum":[3]})"));
    EXPECT_EQ("Integer 3", default_of(R"({"$ref":"http://defaults.test/nowhere","extends":
        ["http://defaults.test/nothing"],"enum":[3]})"));
}

TEST(SchemaDefaults, AnEnumGivesItsFirstEntryUnchecked) {
    const SchemaPtr schema = schema_of(R"({"enum":[3,4],"type":"string"})");
    EXPECT_EQ(&schema->values().front(), &schema->autoValue());
    EXPECT_EQ("Integer 3", default_of(R"({"enum":[3,4],"type":[{"type":"boolean"}]})"));
    EXPECT_EQ("Boolean false", default_of(R"({"enum":[],"type":"boolean"})"));
}

TEST(SchemaDefaults, TheFirstComplexTypeComesBeforeTheBits) {
    EXPECT_EQ("String \"1970-01-01\"",
              default_of(R"({"type":[{"type":"string","format":"date"},"integer"]})"));
    EXPECT_EQ("Integer 5", default_of(R"({"type":["null",{"default":5},{"default":6}]})"));
    EXPECT_EQ("Integer 4", default_of(R"({"type":[{"type":[{"type":"integer","minimum":4}]}]})"));
    ASSERT_TRUE(import_text(R"({"id":"http://defaults.test/eight","default":8})"));
    EXPECT_EQ("Integer 8", default_of(R"({"type":[{"$ref":"http://defaults.test/eight"}]})"));
}

TEST(SchemaDefaults, TheFirstKindInItsOrderDecides) {
    const struct {
        const char* type;
        const char* value;
    } rows[] = {{R"("null")", "Null null"},
                {R"("boolean")", "Boolean false"},
                {R"("integer")", "Integer -9223372036854775808"},
                {R"("number")", "Real -9223372036854775808.0"},
                {R"("string")", "String \"\""},
                {R"("array")", "List []"},
                {R"("object")", "Object {}"},
                {R"("any")", "Null null"},
                {R"([])", "Null null"},
                {R"("unknown")", "Null null"},
                {R"(["string","null"])", "Null null"},
                {R"(["string","boolean"])", "Boolean false"},
                {R"(["string","integer"])", "Integer -9223372036854775808"},
                {R"(["number","string"])", "Real -9223372036854775808.0"},
                {R"(["object","string"])", "String \"\""},
                {R"(["object","array"])", "List []"}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.value, default_of(std::string(R"({"type":)") + row.type + "}")) << row.type;
    }
    EXPECT_EQ("Null null", default_of("{}"));
}

TEST(SchemaDefaults, TheCommonestDefaultsAreTheSharedConstants) {
    const struct {
        const char* document;
        const Variant* constant;
    } rows[] = {{"{}", &Variant::EmptyAutoValue},
                {R"({"type":"null"})", &Variant::EmptyAutoValue},
                {R"({"type":[]})", &Variant::EmptyAutoValue},
                {R"({"type":"boolean"})", &Variant::False},
                {R"({"type":"string"})", &Variant::EmptyString},
                {R"({"type":"string","format":"uri"})", &Variant::EmptyString},
                {R"({"type":"array"})", &Variant::EmptyList},
                {R"({"type":"array","items":{}})", &Variant::EmptyList},
                {R"({"type":"object"})", &Variant::EmptyObject}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.constant, &schema_of(row.document)->autoValue()) << row.document;
    }
    EXPECT_EQ(&Variant::EmptyAutoValue, &Schema::Empty.autoValue());
    EXPECT_EQ(&Variant::EmptyAutoValue, &Schema::EmptyPtr->autoValue());
}

// ----- Numbers -----------------------------------------------------------------------------------

// The start itself would be the evident answer where it is a multiple; 10 then stayed 10.
TEST(SchemaDefaults, AnIntegerIsTheNextMultipleAboveTheMinimum) {
    const struct {
        const char* keywords;
        const char* value;
    } rows[] = {{R"("minimum":10)", "10"},
                {R"("minimum":2.9)", "2"},
                {R"("minimum":3,"exclusiveMinimum":true)", "4"},
                {R"("minimum":10,"divisibleBy":5)", "15"},
                {R"("minimum":11,"divisibleBy":5)", "15"},
                {R"("minimum":9,"exclusiveMinimum":true,"divisibleBy":5)", "15"},
                {R"("minimum":-7,"divisibleBy":2)", "-4"},
                {R"("minimum":-8,"divisibleBy":2)", "-6"},
                {R"("minimum":7,"divisibleBy":-2)", "4"},
                {R"("minimum":0,"divisibleBy":3)", "3"},
                {R"("minimum":10,"divisibleBy":0)", "10"},
                {R"("minimum":10,"maximum":5)", "10"}};
    for (const auto& row : rows) {
        const std::string keywords = std::string(row.keywords) + "}";
        EXPECT_EQ(std::string("Integer ") + row.value,
                  default_of(R"({"type":"integer",)" + keywords))
            << row.keywords;
        EXPECT_EQ(Variant(std::stod(row.value)).realValue(),
                  schema_of(R"({"type":"number",)" + keywords)->autoValue().realValue());
        EXPECT_EQ(Type::Real, schema_of(R"({"type":"number",)" + keywords)->autoValue().type());
    }
}

// Each of these is an overflow in plain arithmetic, and the first two trap on common machines.
// Each of them asks the next one twice: without a bound this never ends.
TEST(SchemaDefaults, ExtendedSchemasThatBranchAndBranchAgainComeToAnEnd) {
    for (int i = 0; i < 40; ++i) {
        const std::string next = "http://defaults.test/chain" + std::to_string(i + 1);
        ASSERT_TRUE(import_text(R"({"id":"http://defaults.test/chain)" + std::to_string(i) +
                                R"(","type":"null","$ref":"http://defaults.test/nowhere",)" +
                                R"("extends":[")" + next + "\",\"" + next + "\"]}"));
    }
    EXPECT_TRUE(resolved("http://defaults.test/chain0")->autoValue().isNull());
}

TEST(SchemaDefaults, NumbersWrapAtTheirBounds) {
    const struct {
        const char* keywords;
        std::int64_t value;
    } rows[] = {{R"("divisibleBy":-1)", kMost},
                {R"("divisibleBy":1)", kLeast + 1},
                {R"("exclusiveMinimum":true)", kLeast + 1},
                {R"("minimum":9223372036854775807,"exclusiveMinimum":true)", kLeast},
                {R"("minimum":9223372036854775807,"divisibleBy":9223372036854775807)", -2},
                {R"("minimum":9223372036854775807,"divisibleBy":2)", kLeast},
                {R"("divisibleBy":-9223372036854775808)", 0}};
    for (const auto& row : rows) {
        const SchemaPtr schema =
            schema_of(std::string(R"({"type":"integer",)") + row.keywords + "}");
        EXPECT_EQ(row.value, schema->autoValue().integerValue()) << row.keywords;
    }
}

// ----- Texts -------------------------------------------------------------------------------------

TEST(SchemaDefaults, EightFormatsHaveATextAndTheOthersHaveNone) {
    const struct {
        const char* format;
        const char* text;
    } rows[] = {{"date-time", "1970-01-01T00:00:00.0"},
                {"date", "1970-01-01"},
                {"time", "00:00:00.0"},
                {"utc-millisec", "0"},
                {"ip-address", "127.0.0.1"},
                {"ipv6", "::1/128"},
                {"host-name", "localhost"},
                {"utc-second", "0"},
                {"regex", ""},
                {"color", ""},
                {"style", ""},
                {"phone", ""},
                {"uri", ""},
                {"email", ""},
                {"base64", ""},
                {"encrypted", ""},
                {"unknown", ""}};
    for (const auto& row : rows) {
        const SchemaPtr schema =
            schema_of(std::string(R"({"type":"string","format":")") + row.format + "\"}");
        EXPECT_STREQ(row.text, schema->autoValue().charsValue()) << row.format;
        const SchemaPtr longer = schema_of(
            std::string(R"({"type":"string","minLength":30,"format":")") + row.format + "\"}");
        std::string blanks(row.text);
        blanks.resize(30, ' ');
        EXPECT_EQ(blanks, longer->autoValue().charsValue()) << row.format;
    }
}

TEST(SchemaDefaults, ATextIsFilledWithBlanksToItsLeastLength) {
    EXPECT_EQ("String \"   \"", default_of(R"({"type":"string","minLength":3})"));
    EXPECT_EQ("String \"1970-01-01  \"",
              default_of(R"({"type":"string","format":"date","minLength":12})"));
    EXPECT_EQ("String \"1970-01-01\"",
              default_of(R"({"type":"string","format":"date","minLength":4,"maxLength":4})"));
}

TEST(SchemaDefaults, TheDefaultOfAHostNameFailsUnderItsOwnSchema) {
    const SchemaPtr schema = schema_of(R"({"type":"string","format":"host-name"})");
    EXPECT_STREQ("localhost", schema->autoValue().charsValue());
    EXPECT_FALSE(schema->validate(schema->autoValue()).ok());
}

// ----- Lists -------------------------------------------------------------------------------------

TEST(SchemaDefaults, AListHasItsLeastSize) {
    EXPECT_EQ("List [null,null]", default_of(R"({"type":"array","minItems":2})"));
    EXPECT_EQ("List [false,null]",
              default_of(R"({"type":"array","minItems":2,"items":[{"type":"boolean"}]})"));
    EXPECT_EQ("List [false,false]",
              default_of(R"({"type":"array","minItems":2,"items":{"type":"boolean"}})"));
    EXPECT_EQ("List [false,\"\",1]", default_of(R"({"type":"array","minItems":3,"maxItems":1,
        "items":[{"type":"boolean"},{"type":"string"}],"additionalItems":{"default":1}})"));
}

TEST(SchemaDefaults, AListIsMadeAnewEachTime) {
    const SchemaPtr schema =
        schema_of(R"({"type":"array","minItems":1,"items":{"type":"integer","minimum":1}})");
    const Variant first(schema->autoValue());
    schema->at(0)->definition();
    const_cast<json::Object&>(schema->at(0)->definition()).setValue("minimum", Variant(2));
    const Variant second(schema->autoValue());
    EXPECT_EQ("[1]", sorted_text(first));
    EXPECT_EQ("[2]", sorted_text(second)) << "also where the old one had the same size";
    EXPECT_NE(&std::as_const(first).listValue(), &std::as_const(second).listValue());
    EXPECT_EQ(&schema->autoValue(), &schema->autoValue()) << "it lies in the schema";
}

// ----- Objects -----------------------------------------------------------------------------------

TEST(SchemaDefaults, AnObjectHoldsItsRequiredProperties) {
    EXPECT_EQ(R"(Object {"a":false,"c":{"d":""}})", default_of(R"({"type":"object","properties":{
        "a":{"type":"boolean","required":true},
        "b":{"type":"boolean"},
        "c":{"type":"object","optional":false,"properties":{"d":{"type":"string","required":true}}}
        }})"));
}

TEST(SchemaDefaults, AnObjectWithOptionalPropertiesOnlyIsNewAndEmpty) {
    const SchemaPtr schema = schema_of(R"({"type":"object","properties":{"a":{}}})");
    EXPECT_TRUE(schema->autoValue().isObject());
    EXPECT_EQ(0u, schema->autoValue().size());
    EXPECT_NE(&Variant::EmptyObject, &schema->autoValue());
    EXPECT_NE(&Variant::EmptyObject.objectValue(), &schema->autoValue().objectValue());
}

// The check ignores this form; following it there, or ignoring it here, would make the two alike.
TEST(SchemaDefaults, ADependencyThatIsASingleTextIsFollowed) {
    EXPECT_EQ(R"(Object {"a":1,"b":2})", default_of(R"({"type":"object","properties":{
        "a":{"default":1,"required":true},"b":{"default":2},"c":{"default":3}},
        "dependencies":{"a":"b"}})"));
}

TEST(SchemaDefaults, DependenciesOfRequiredPropertiesAreAdded) {
    EXPECT_EQ(R"(Object {"a":1,"b":2,"c":3,"x":null})",
              default_of(R"({"type":"object","properties":{
        "a":{"default":1,"required":true},"b":{"default":2},"c":{"default":3}},
        "dependencies":{"a":["b","c","x"]}})"));
    EXPECT_EQ(R"(Object {"a":1})", default_of(R"({"type":"object","properties":{
        "a":{"default":1,"required":true},"b":{"default":2}},
        "dependencies":{"b":"a","a":{"properties":{"b":{}}}}})"))
        << "neither those of optional ones nor schemas";
}

TEST(SchemaDefaults, ADependencyThatMayNotStandThereIsAnEmptyDefault) {
    EXPECT_EQ(R"(Object {"a":1,"x":null})", default_of(R"({"type":"object","properties":{
        "a":{"default":1,"required":true}},"additionalProperties":false,
        "dependencies":{"a":"x"}})"));
}

TEST(SchemaDefaults, ThePartsAnswerForTheNodeItself) {
    const SchemaProbe schema(R"({"minimum":3,"minLength":2,"minItems":1,
        "properties":{"a":{"type":"boolean","required":true}},"additionalProperties":false})");
    EXPECT_EQ(3, schema.autoIntegerValue());
    EXPECT_STREQ("  ", schema.autoStringValue().charsValue());
    EXPECT_EQ("[null]", sorted_text(schema.autoListValue()));
    EXPECT_EQ(R"({"a":false})", sorted_text(schema.autoObjectValue()));
    EXPECT_EQ(&Variant::False, &schema.autoPropertyValue("a"));
    EXPECT_EQ(&Variant::EmptyAutoValue, &schema.autoPropertyValue("b"));
}

TEST(SchemaDefaults, ALaterDefaultTakesThePlaceOfTheLast) {
    const SchemaProbe schema(R"({"minLength":2,"minItems":1})");
    const Variant& text = schema.autoStringValue();
    EXPECT_STREQ("  ", text.charsValue());
    const Variant& list = schema.autoListValue();
    EXPECT_EQ(&text, &list);
    EXPECT_TRUE(text.isList());
}

// ----- Schemas that a peer shapes ----------------------------------------------------------------

TEST(SchemaDefaults, ReferencesThatLeadInACircleGiveTheEmptyDefault) {
    ASSERT_TRUE(import_text(
        R"({"id":"http://defaults.test/circle","$ref":"http://defaults.test/circle"})"));
    EXPECT_EQ(&Variant::EmptyAutoValue, &resolved("http://defaults.test/circle")->autoValue());
}

TEST(SchemaDefaults, AnObjectThatRequiresItselfIsCutShort) {
    ASSERT_TRUE(import_text(R"({"id":"http://defaults.test/self","type":"object","properties":
        {"a":{"$ref":"http://defaults.test/self","required":true},
         "b":{"$ref":"http://defaults.test/self","required":true}}})"));
    const Variant value(resolved("http://defaults.test/self")->autoValue());
    ASSERT_TRUE(value.isObject());
    EXPECT_TRUE(value["a"].isObject() || value["b"].isObject());
}

TEST(SchemaDefaults, APartThatIsAskedByItselfIsCutShortToo) {
    const SchemaProbe schema(R"({"minItems":-1,"minLength":-1})");
    EXPECT_EQ(131072u, schema.autoListValue().size());
    EXPECT_EQ(131072u, schema.autoStringValue().size());
}

TEST(SchemaDefaults, SizesThatNoMemoryHoldsAreCutShort) {
    const SchemaPtr text = schema_of(R"({"type":"string","minLength":9000000000000000000})");
    EXPECT_EQ(131072u, text->autoValue().size());
    const SchemaPtr list = schema_of(R"({"type":"array","minItems":-1})");
    EXPECT_EQ(131072u, list->autoValue().size());
    const SchemaPtr lists = schema_of(R"({"type":"array","minItems":1000000,
        "items":{"type":"array","minItems":1000000,"items":{"type":"string","minLength":1000000}}})");
    EXPECT_EQ(1u, lists->autoValue().size());
}
