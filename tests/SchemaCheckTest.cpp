// SPDX-License-Identifier: MIT
#include "schema/Schema.h"

#include "support/SchemaText.h"
#include "support/SortedText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>

using json::Schema;
using json::Variant;
using test::import_text;
using test::resolved;
using test::schema_of;
using test::SchemaPtr;
using test::sorted_text;
using test::text_of;
using test::value_of;

namespace {

using Result = Schema::ValidationResult;

/// What subclasses of a schema see, for tests.
struct SchemaProbe : Schema {
    using Schema::Schema;

    using Schema::validate;
    using Schema::validateArray;
    using Schema::validateBounds;
    using Schema::validateFormat;
    using Schema::validateString;
    using Schema::validateType;
    using Schema::validateValue;
};

/// A result in one line: "ok", or code, detail, path and value of the fault.
std::string told(const Result& result) {
    if (result.ok()) return "ok";
    return std::to_string(result.code) + " " + sorted_text(result.detail) + " at '" +
           text_of(result.path) + "' = " + sorted_text(result.value);
}

std::string check(const std::string& document, const Variant& value) {
    return told(schema_of(document)->validate(value));
}

std::string check(const std::string& document, const char* value) {
    return check(document, value_of(value));
}

struct Row {
    const char* document;
    const char* value;
    const char* result;
};

template <std::size_t Count>
void expect_rows(const Row (&rows)[Count]) {
    for (const Row& row : rows) {
        EXPECT_EQ(row.result, check(row.document, row.value))
            << row.document << " on " << row.value;
    }
}

} // namespace

// ----- The record --------------------------------------------------------------------------------

TEST(SchemaCheck, APassLeavesTheRecordCleanButForItsRoot) {
    const SchemaPtr schema = schema_of(R"({"type":"object","properties":{"a":{"type":"null"}}})");
    const Variant value = value_of(R"({"a":null})");
    const Result& result = schema->validate(value);
    EXPECT_EQ(&result, &schema->validationResult());
    EXPECT_TRUE(result.ok());
    EXPECT_EQ(nullptr, result.schema);
    EXPECT_TRUE(result.value.isNull());
    EXPECT_TRUE(result.detail.isNull());
    EXPECT_EQ(schema.get(), result.rootSchema);
    EXPECT_EQ(&value.objectValue(), &result.rootValue.objectValue()) << "shared, not copied";
    EXPECT_EQ(0u, result.path.size());
}

TEST(SchemaCheck, AFaultNamesTheNodeThatFoundIt) {
    const SchemaPtr schema = schema_of(R"({"properties":{"a":{"items":[{},{"type":"string"}]}}})");
    const Variant value = value_of(R"({"a":[1,2]})");
    const Result& result = schema->validate(value);
    EXPECT_EQ(Schema::WrongDataType, result.code);
    EXPECT_EQ(schema->property("a")->at(1).get(), result.schema);
    EXPECT_EQ(2, result.value.integerValue());
    EXPECT_STREQ("integer, expected string", result.detail.charsValue());
    EXPECT_EQ(schema.get(), result.rootSchema);
    EXPECT_EQ(&value.objectValue(), &result.rootValue.objectValue());
    EXPECT_EQ("a[1]", text_of(result.path));
    EXPECT_TRUE(schema->property("a")->validationResult().ok()) << "a child's own is untouched";
    EXPECT_EQ(nullptr, schema->property("a")->validationResult().rootSchema);
}

TEST(SchemaCheck, TheNextCheckOverwritesTheRecord) {
    const SchemaPtr schema = schema_of(R"({"items":{"type":"string"}})");
    const Result& first = schema->validate(value_of("[1]"));
    EXPECT_EQ("[0]", text_of(first.path));
    const Result& second = schema->validate(value_of("[]"));
    EXPECT_EQ(&first, &second);
    EXPECT_TRUE(second.ok());
    EXPECT_EQ(0u, second.path.size());
    EXPECT_EQ("[]", sorted_text(second.rootValue));
}

TEST(SchemaCheck, ANullPointerIsCheckedAsNull) {
    const SchemaPtr schema = schema_of(R"({"type":"null"})");
    EXPECT_TRUE(schema->validate(static_cast<const Variant*>(nullptr)).ok());
    const Variant text("a");
    EXPECT_FALSE(schema->validate(&text).ok());
    EXPECT_TRUE(Schema::Empty.validate(static_cast<const Variant*>(nullptr)).ok());
}

TEST(SchemaCheck, AValueMayLieInTheLastResult) {
    const SchemaPtr schema = schema_of(R"({"items":{"items":{"type":"string"}}})");
    const Result& result = schema->validate(value_of("[[1]]"));
    ASSERT_EQ("[0][0]", text_of(result.path));
    schema->validate(value_of("[[1]]"));
    EXPECT_EQ("ok", told(schema->validate(result.rootValue[0])));
    EXPECT_EQ("[1]", sorted_text(result.rootValue));
    schema->validate(value_of("[[1]]"));
    EXPECT_EQ("ok", told(schema->validate(result.value)));
    EXPECT_EQ("1", sorted_text(result.rootValue));
    schema->validate(value_of("[[1]]"));
    EXPECT_EQ("2 \"integer, expected string\" at '[0][0]' = 1",
              told(schema->validate(result.rootValue)));
}

// A record that kept the binding would make the schema hold itself: it would never be freed.
TEST(SchemaCheck, TheValuesOfAResultAreBoundToNoSchema) {
    const SchemaPtr schema = schema_of(R"({"type":"string"})");
    {
        const Variant value(5);
        value.attachSchema(schema);
        EXPECT_FALSE(value.validate());
    }
    EXPECT_EQ(1u, schema->use_count());
    EXPECT_EQ(&Schema::Empty, &schema->validationResult().rootValue.schema());
    EXPECT_EQ(&Schema::Empty, &schema->validationResult().value.schema());
}

// ----- Step 1: the empty schema ------------------------------------------------------------------

TEST(SchemaCheck, TheEmptySchemaTakesAnything) {
    for (const char* value : {"null", "false", "5", "0.5", "\"\"", "[]", "{\"a\":[null]}"}) {
        EXPECT_EQ("ok", check("{}", value)) << value;
        EXPECT_TRUE(Schema::Empty.validate(value_of(value)).ok()) << value;
        EXPECT_EQ(nullptr, Schema::Empty.validationResult().schema);
    }
}

// ----- Step 2: "$ref" ----------------------------------------------------------------------------

TEST(SchemaCheck, AReferenceIsJudgedByTheReferredSchemaAlone) {
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/string","type":"string"})"));
    const SchemaPtr schema = schema_of(
        R"({"$ref":"http://check.test/string","type":"integer","required":true,"minimum":9})");
    EXPECT_EQ("ok", told(schema->validate(Variant("a"))));
    EXPECT_EQ("2 \"integer, expected string\" at '' = 10", told(schema->validate(Variant(10))));
    EXPECT_EQ(resolved("http://check.test/string").get(), schema->validationResult().schema);
    EXPECT_EQ(schema.get(), schema->validationResult().rootSchema);
}

TEST(SchemaCheck, AReferenceThatLeadsNowhereIsReportedAsItStands) {
    const SchemaPtr schema(
        new Schema(value_of(R"({"$ref":"#nowhere"})"), "http://check.test/context"));
    EXPECT_EQ("1 \"#nowhere\" at '' = 5", told(schema->validate(Variant(5))));
    EXPECT_EQ(schema.get(), schema->validationResult().schema);
}

TEST(SchemaCheck, AReferenceIsTakenAgainstTheContext) {
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/list","items":{"$ref":"#entry"},
        "properties":{"x":{"id":"#entry","type":"integer"}}})"));
    const SchemaPtr schema = resolved("http://check.test/list");
    EXPECT_EQ("ok", told(schema->validate(value_of("[1,2]"))));
    EXPECT_EQ("2 \"string, expected integer\" at '[1]' = \"a\"",
              told(schema->validate(value_of(R"([1,"a"])"))));
}

TEST(SchemaCheck, ASchemaThatIsImportedLaterTakesEffectAtTheNextCheck) {
    const SchemaPtr schema = schema_of(R"({"$ref":"http://check.test/later"})");
    EXPECT_EQ(Schema::SchemaNotFound, schema->validate(Variant(5)).code);
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/later"})"));
    EXPECT_TRUE(schema->validate(Variant(5)).ok());
}

// ----- Step 3: "extends" -------------------------------------------------------------------------

TEST(SchemaCheck, ExtendedSchemasApplyInFullAndComeFirst) {
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/least3","minimum":3})"));
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/most5","maximum":5})"));
    const SchemaPtr schema = schema_of(
        R"({"extends":["http://check.test/least3","http://check.test/most5"],"type":"integer"})");
    EXPECT_EQ("ok", told(schema->validate(Variant(4))));
    EXPECT_EQ("4 3 at '' = 2", told(schema->validate(Variant(2))));
    EXPECT_EQ(resolved("http://check.test/least3").get(), schema->validationResult().schema);
    EXPECT_EQ("4 5 at '' = 6", told(schema->validate(Variant(6))));
    EXPECT_EQ("4 3 at '' = \"a\"", told(schema->validate(Variant("a")))) << "before the type";
    EXPECT_EQ("2 \"string, expected integer\" at '' = \"4\"", told(schema->validate(Variant("4"))));
}

TEST(SchemaCheck, AnExtensionThatLeadsNowhereFailsBeforeTheTypeIsLookedAt) {
    EXPECT_EQ("1 \"#gone\" at '' = 5", check(R"({"extends":"#gone","type":"string"})", "5"));
    EXPECT_EQ("1 \"{\\\"type\\\":\\\"string\\\"}\" at '' = 5",
              check(R"({"extends":{"type":"string"}})", "5"));
}

TEST(SchemaCheck, AClosedSchemaRefusesThePropertiesThatItExtends) {
    ASSERT_TRUE(
        import_text(R"({"id":"http://check.test/base","properties":{"a":{"type":"integer"}}})"));
    const char* closed = R"({"extends":"http://check.test/base","properties":{"b":{}},
        "additionalProperties":false})";
    EXPECT_EQ("ok", check(closed, R"({"b":1})"));
    EXPECT_EQ("10 \"a\" at '' = {\"a\":1}", check(closed, R"({"a":1})"));
}

// ----- Step 4: "required" ------------------------------------------------------------------------

TEST(SchemaCheck, ANullUnderARequiredSchemaIsMissing) {
    expect_rows(
        {{R"({"type":"string"})", "null", "2 \"null, expected string\" at '' = null"},
         {R"({"type":"string","required":true})", "null", "7 null at '' = null"},
         {R"({"type":"string","optional":false})", "null", "7 null at '' = null"},
         {R"({"type":"null","required":true})", "null", "7 null at '' = null"},
         {R"({"properties":{"a":{"required":true}}})", R"({"a":null})", "7 null at 'a' = null"},
         {R"({"items":{"required":true}})", "[1,null]", "7 null at '[1]' = null"},
         {R"({"required":true})", "\"\"", "ok"}});
}

// A loop over the schema's own properties would be the evident way; then this failed.
TEST(SchemaCheck, ARequiredPropertyThatIsAbsentIsNoFault) {
    EXPECT_EQ("ok", check(R"({"properties":{"a":{"required":true}}})", "{}"));
    EXPECT_EQ("ok", check(R"({"properties":{"a":{"required":true}}})", R"({"b":1})"));
}

// ----- Step 5: "type" ----------------------------------------------------------------------------

TEST(SchemaCheck, EveryKindMeetsItsType) {
    const char* values[] = {"null", "true", "5", "5.0", "\"a\"", "{\"a\":1}", "[1]"};
    const char* types[] = {"null", "boolean", "integer", "number", "string", "object", "array"};
    for (std::size_t value = 0; value < 7; ++value) {
        for (std::size_t type = 0; type < 7; ++type) {
            const std::string document = std::string(R"({"type":")") + types[type] + "\"}";
            // An integer is a number, but a real without a fraction is no integer.
            const bool passes = value == type || (value == 2 && type == 3);
            EXPECT_EQ(passes ? "ok"
                             : std::string("2 \"") + types[value] + ", expected " + types[type] +
                                   "\" at '' = " + sorted_text(values[value]),
                      check(document, values[value]));
        }
    }
}

TEST(SchemaCheck, AWrongTypeIsToldByNames) {
    expect_rows({{R"({"type":"integer"})", "\"a\"", "2 \"string, expected integer\" at '' = \"a\""},
                 {R"({"type":["integer","null"]})", "\"a\"",
                  "2 \"string, expected null,integer\" at '' = \"a\""},
                 {R"({"type":[]})", "5", "2 \"integer, expected void\" at '' = 5"},
                 {R"({"type":"unknown"})", "null", "2 \"null, expected void\" at '' = null"},
                 {R"({"type":["string",{"type":"null"}]})", "5",
                  "2 \"integer, expected string, or complex type\" at '' = 5"},
                 {R"({"type":[{"type":"null"}]})", "5",
                  "2 \"integer, expected void, or complex type\" at '' = 5"}});
}

TEST(SchemaCheck, TheFirstAlternativeThatPassesEndsTheTypeCheck) {
    const char* document = R"({"type":["null",{"type":"integer","minimum":3},
        {"type":"integer","maximum":0}],"divisibleBy":2})";
    expect_rows({{document, "null", "ok"},
                 {document, "4", "ok"},
                 {document, "-2", "ok"},
                 {document, "2", "2 \"integer, expected null, or complex type\" at '' = 2"},
                 {document, "5", "5 2 at '' = 5"}});
}

// Cleaning up after a failed alternative would be the evident way; the path is left as it is.
TEST(SchemaCheck, ASchemaThatExtendsOthersTriesEachOfItsAlternatives) {
    ASSERT_TRUE(
        import_text(R"([{"id":"http://check.test/first"},{"id":"http://check.test/second"}])"));
    expect_rows({{R"({"extends":["http://check.test/first","http://check.test/second"],
                     "type":[{"type":"string"},{"type":"null"}]})",
                  "\"a\"", "ok"}});
}

TEST(SchemaCheck, AFailedAlternativeLeavesItsPathBehind) {
    const SchemaPtr passing = schema_of(
        R"({"type":[{"properties":{"a":{"items":{"type":"string"}}}},{"type":"object"}]})");
    const Result& passed = passing->validate(value_of(R"({"a":[1]})"));
    EXPECT_TRUE(passed.ok());
    EXPECT_EQ(nullptr, passed.schema);
    EXPECT_TRUE(passed.value.isNull());
    EXPECT_TRUE(passed.detail.isNull());
    EXPECT_EQ("a[0]", text_of(passed.path));

    const SchemaPtr failing = schema_of(
        R"({"type":[{"properties":{"a":{"items":{"type":"string"}}}},{"type":"array"}]})");
    EXPECT_EQ("2 \"object, expected void, or complex type\" at 'a[0]' = {\"a\":[1]}",
              told(failing->validate(value_of(R"({"a":[1]})"))));
    EXPECT_EQ(failing.get(), failing->validationResult().schema);
}

TEST(SchemaCheck, AFaultBehindAFailedAlternativeStandsBehindItsSteps) {
    const SchemaPtr schema = schema_of(R"({"properties":{"o":{"type":[
        {"properties":{"a":{"type":"string"}}},{"properties":{"a":{"type":"integer"}}}],
        "properties":{"a":{"maximum":0}}}}})");
    EXPECT_EQ("4 0 at 'o.a.a' = 1", told(schema->validate(value_of(R"({"o":{"a":1}})"))));
}

// ----- Step 6: "enum" ----------------------------------------------------------------------------

TEST(SchemaCheck, AValueMustBeOneOfTheEnum) {
    expect_rows(
        {{R"({"enum":[1,"a"]})", "1", "ok"},
         {R"({"enum":[1,"a"]})", "\"a\"", "ok"},
         {R"({"enum":[1,"a"]})", "2", "3 null at '' = 2"},
         {R"({"enum":[]})", "2", "ok"},
         {R"({"enum":5})", "2", "ok"},
         {R"({"enum":[1],"type":"string"})", "1", "2 \"integer, expected string\" at '' = 1"},
         {R"({"enum":[5]})", "\"5\"", "ok"},
         {R"({"enum":["5"]})", "5", "3 null at '' = 5"},
         {R"({"enum":[[1,2]]})", "[3,4]", "ok"}});
}

// ----- Step 7: arrays ----------------------------------------------------------------------------

TEST(SchemaCheck, AnArrayHasAsManyItemsAsItsBoundsSay) {
    expect_rows({{R"({"minItems":1})", "[]", "11 null at '' = []"},
                 {R"({"minItems":1})", "[1]", "ok"},
                 {R"({"maxItems":1})", "[1]", "ok"},
                 {R"({"maxItems":1})", "[1,2]", "11 null at '' = [1,2]"},
                 {R"({"minItems":-1})", "[1]", "11 null at '' = [1]"},
                 {R"({"maxItems":-1})", "[1]", "ok"},
                 {R"({"minItems":1})", "\"\"", "ok"}});
}

TEST(SchemaCheck, UniqueItemsNamesTheFirstThatHasATwin) {
    expect_rows({{R"({"uniqueItems":true})", "[1,1]", "13 1 at '' = [1,1]"},
                 {R"({"uniqueItems":true})", "[1,2,3,2,3]", "13 2 at '' = [1,2,3,2,3]"},
                 {R"({"uniqueItems":true})", "[3,1,2]", "ok"},
                 {R"({"uniqueItems":true})", "[1,1.0]", "13 1 at '' = [1,1.0]"},
                 {R"({"uniqueItems":true})", "[1,\"1\"]", "13 1 at '' = [1,\"1\"]"},
                 {R"({"uniqueItems":true})", "[\"1\",1]", "ok"},
                 {R"({"uniqueItems":true})", "[[1],[2]]", "13 [1] at '' = [[1],[2]]"},
                 {R"({"uniqueItems":false})", "[1,1]", "ok"},
                 {R"({"uniqueItems":1})", "[1,1]", "13 1 at '' = [1,1]"}});
}

// Draft 03 bans the value itself; this engine never looks at it.
TEST(SchemaCheck, DisallowBansKindsOfItemInAnArrayOnly) {
    expect_rows({{R"({"disallow":"string"})", "\"a\"", "ok"},
                 {R"({"disallow":"string"})", "[1,\"a\",\"b\"]", "2 \"a\" at '' = [1,\"a\",\"b\"]"},
                 {R"({"disallow":"string"})", "[1]", "ok"},
                 {R"({"disallow":["integer","null"]})", "[null]", "2 null at '' = [null]"},
                 {R"({"disallow":"number"})", "[1]", "ok"},
                 {R"({"disallow":"any"})", "[1]", "2 1 at '' = [1]"},
                 {R"({"disallow":"any"})", "[]", "ok"}});
}

TEST(SchemaCheck, AnArrayThatIsTooLongFailsBeforeAnyItemIsLookedAt) {
    expect_rows({{R"({"items":[{"type":"string"},{}]})", "[1,2,3]", "12 2 at '' = [1,2,3]"},
                 {R"({"items":[]})", "[1]", "12 0 at '' = [1]"},
                 {R"({"items":[{},{}]})", "[1]", "ok"},
                 {R"({"items":[{}],"additionalItems":true})", "[1,2]", "ok"}});
}

TEST(SchemaCheck, ThePartsOfTheArrayCheckComeInTheirOrder) {
    const char* document =
        R"({"maxItems":3,"uniqueItems":true,"disallow":"integer","items":[{"type":"string"}]})";
    expect_rows({{document, "[1,1,1,1]", "11 null at '' = [1,1,1,1]"},
                 {document, "[1,1]", "13 1 at '' = [1,1]"},
                 {document, "[\"a\",1]", "2 1 at '' = [\"a\",1]"},
                 {document, "[null,\"a\"]", "12 1 at '' = [null,\"a\"]"},
                 {document, "[null]", "2 \"null, expected string\" at '[0]' = null"},
                 {document, "[\"a\"]", "ok"}});
}

TEST(SchemaCheck, ItemsAreCheckedInOrderWithTheirPlaceAsPath) {
    const char* document = R"({"items":[{"type":"string"},{},{"items":{"maximum":3}}]})";
    expect_rows({{document, R"(["a",1,[1,2]])", "ok"},
                 {document, R"([1,1,[9]])", "2 \"integer, expected string\" at '[0]' = 1"},
                 {document, R"(["a",1,[1,4]])", "4 3 at '[2][1]' = 4"}});
}

TEST(SchemaCheck, AnItemBehindABrokenReferenceIsJudgedByItsOwnNode) {
    const SchemaPtr schema = schema_of(R"({"items":{"$ref":"http://check.test/broken"}})");
    EXPECT_EQ("1 \"http://check.test/broken\" at '[0]' = 5",
              told(schema->validate(value_of("[5]"))));
}

// ----- Step 8: objects ---------------------------------------------------------------------------

TEST(SchemaCheck, APropertyThatMayNotStandThereIsNamedAtTheObject) {
    const char* document = R"({"properties":{"o":{"properties":{"a":{}},
        "additionalProperties":false}}})";
    expect_rows({{document, R"({"o":{"a":1}})", "ok"},
                 {document, R"({"o":{"x":1}})", "10 \"x\" at 'o' = {\"x\":1}"},
                 {R"({"additionalProperties":false})", R"({"x":1})", "10 \"x\" at '' = {\"x\":1}"},
                 {R"({"additionalProperties":false})", "{}", "ok"},
                 {R"({"additionalProperties":{"type":"string"}})", R"({"x":1})",
                  "2 \"integer, expected string\" at 'x' = 1"}});
}

TEST(SchemaCheck, EachEntryOfARepeatedKeyIsChecked) {
    const char* document = R"({"properties":{"a":{"type":"string"}}})";
    expect_rows({{document, R"({"a":"x","a":"y"})", "ok"},
                 {document, R"({"a":"x","a":1})", "2 \"integer, expected string\" at 'a' = 1"}});
}

TEST(SchemaCheck, ADependencyNamesTheKeyThatIsMissing) {
    expect_rows({{R"({"dependencies":{"a":["b"]}})", R"({"a":1})", "8 \"b\" at '' = {\"a\":1}"},
                 {R"({"dependencies":{"a":["b","c"]}})", R"({"a":1,"b":2})",
                  "8 \"c\" at '' = {\"a\":1,\"b\":2}"},
                 {R"({"dependencies":{"a":["b"]}})", R"({"a":1,"b":2})", "ok"},
                 {R"({"dependencies":{"a":["b"]}})", R"({"b":2})", "ok"},
                 {R"({"dependencies":{"a":[5]}})", R"({"a":1,"5":2})", "ok"},
                 {R"({"dependencies":{"a":[5]}})", R"({"a":1})", "8 5 at '' = {\"a\":1}"},
                 {R"({"dependencies":{"a":5}})", R"({"a":1})", "ok"},
                 {R"({"dependencies":{"a":[]}})", R"({"a":1})", "ok"}});
}

// Draft 03 enforces the single text too; here it only serves defaults.
TEST(SchemaCheck, ADependencyThatIsASingleTextHasNoEffect) {
    EXPECT_EQ("ok", check(R"({"dependencies":{"a":"b"}})", R"({"a":1})"));
}

TEST(SchemaCheck, ASchemaDependencyChecksTheWholeObjectWithThePathAsItStands) {
    const char* document = R"({"properties":{"o":{"dependencies":{"a":
        {"properties":{"b":{"type":"string"}},"additionalProperties":true}}}}})";
    expect_rows(
        {{document, R"({"o":{"a":1,"b":"x"}})", "ok"},
         {document, R"({"o":{"b":1}})", "ok"},
         {document, R"({"o":{"a":1,"b":2}})", "2 \"integer, expected string\" at 'o.b' = 2"}});
}

TEST(SchemaCheck, APropertyIsCheckedBeforeItsDependencies) {
    const char* document = R"({"properties":{"a":{"type":"string"}},
        "dependencies":{"a":["b"]}})";
    expect_rows({{document, R"({"a":1})", "2 \"integer, expected string\" at 'a' = 1"},
                 {document, R"({"a":"x"})", "8 \"b\" at '' = {\"a\":\"x\"}"}});
}

TEST(SchemaCheck, RequiresHasNoEffect) {
    expect_rows({{R"({"requires":"b"})", R"({"a":1})", "ok"},
                 {R"({"requires":{"type":"string"}})", R"({"a":1})", "ok"},
                 {R"({"properties":{"a":{"requires":"b"}}})", R"({"a":1})", "ok"}});
}

// ----- Step 9: bounds ----------------------------------------------------------------------------

TEST(SchemaCheck, BoundsAreInclusiveUnlessTheySayOtherwise) {
    expect_rows({{R"({"minimum":3})", "3", "ok"},
                 {R"({"minimum":3})", "2", "4 3 at '' = 2"},
                 {R"({"minimum":3,"exclusiveMinimum":true})", "3", "4 3 at '' = 3"},
                 {R"({"minimum":3,"exclusiveMinimum":true})", "4", "ok"},
                 {R"({"maximum":3})", "3", "ok"},
                 {R"({"maximum":3})", "4", "4 3 at '' = 4"},
                 {R"({"maximum":3,"exclusiveMaximum":true})", "3", "4 3 at '' = 3"},
                 {R"({"maximum":3,"exclusiveMaximum":true})", "2", "ok"},
                 {R"({"minimum":2.5})", "2", "ok"},
                 {R"({"maximum":2.5})", "2.9", "ok"},
                 {R"({"minimum":5,"maximum":3})", "4", "4 5 at '' = 4"}});
}

// Testing numbers alone would be the evident way; here "x" reads as 0 and fails.
TEST(SchemaCheck, EveryKindOfValueMeetsTheBoundsByItsInteger) {
    expect_rows({{R"({"minimum":3})", "\"5\"", "ok"},
                 {R"({"minimum":3})", "\"x\"", "4 3 at '' = \"x\""},
                 {R"({"minimum":1})", "true", "ok"},
                 {R"({"minimum":1})", "false", "4 1 at '' = false"},
                 {R"({"minimum":1})", "null", "4 1 at '' = null"},
                 {R"({"minimum":1})", "[5]", "4 1 at '' = [5]"},
                 {R"({"minimum":1})", R"({"a":5})", "4 1 at '' = {\"a\":5}"},
                 {R"({"minimum":3})", "3.9", "ok"},
                 {R"({"minimum":-3,"exclusiveMinimum":true})", "-3.5", "4 -3 at '' = -3.5"}});
}

TEST(SchemaCheck, DivisibilityIsThatOfIntegers) {
    expect_rows({{R"({"divisibleBy":2})", "4", "ok"},
                 {R"({"divisibleBy":2})", "5", "5 2 at '' = 5"},
                 {R"({"divisibleBy":2})", "-5", "5 2 at '' = -5"},
                 {R"({"divisibleBy":-2})", "4", "ok"},
                 {R"({"divisibleBy":2})", "2.5", "ok"},
                 {R"({"divisibleBy":0})", "5", "ok"},
                 {R"({"divisibleBy":2})", "\"3\"", "5 2 at '' = \"3\""}});
}

TEST(SchemaCheck, TheExtremeNumbersAreComparedAndDividedWithoutOverflow) {
    const auto least = Variant(std::numeric_limits<std::int64_t>::min());
    const auto most = Variant(std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ("ok", check(R"({"divisibleBy":-1})", least));
    EXPECT_EQ("ok", check(R"({"divisibleBy":1})", least));
    EXPECT_EQ("ok", check("{\"type\":\"integer\"}", least));
    EXPECT_EQ("ok", check("{\"type\":\"integer\"}", most));
    EXPECT_EQ("4 -9223372036854775808 at '' = -9223372036854775808",
              check(R"({"exclusiveMinimum":true})", least))
        << "against the bound that stands when there is none";
    EXPECT_EQ("4 9223372036854775807 at '' = 9223372036854775807",
              check(R"({"exclusiveMaximum":true})", most));
}

TEST(SchemaCheck, BoundsComeInTheirOrder) {
    const char* document = R"({"minimum":3,"maximum":1,"divisibleBy":7})";
    expect_rows({{document, "0", "4 3 at '' = 0"}, {document, "8", "4 1 at '' = 8"}});
}

// ----- Step 10: strings --------------------------------------------------------------------------

TEST(SchemaCheck, OfARepeatedBoundTheFirstCounts) {
    expect_rows({{R"({"minimum":3,"maximum":9,"minimum":5})", "4", "ok"},
                 {R"({"minimum":5,"maximum":9,"minimum":3})", "4", "4 5 at '' = 4"},
                 {R"({"maxLength":1,"maxLength":9})", "\"ab\"", "6 null at '' = \"ab\""}});
}

TEST(SchemaCheck, ADefinitionOfManyEntriesBoundsAsOneOfFewDoes) {
    std::string document = R"({"minimum":5,"exclusiveMaximum":true,"maximum":9,"minLength":1)";
    for (int i = 0; i < 100; ++i) {
        document += ",\"word " + std::to_string(i) + "\":1";
    }
    document += '}';
    EXPECT_EQ("4 5 at '' = 4", check(document, "4"));
    EXPECT_EQ("ok", check(document, "8"));
    EXPECT_EQ("4 9 at '' = 9", check(document, "9"));
}

TEST(SchemaCheck, AFlagThatTheDefinitionsOwnSchemaAddsCounts) {
    Variant document = value_of(R"({"minimum":4,"format":"uri"})");
    const SchemaPtr plain(new Schema(document, qx::Url()));
    EXPECT_EQ("ok", told(plain->validate(Variant(4))));
    document.attachSchema(
        schema_of(R"({"properties":{"exclusiveMinimum":{"type":"boolean","default":true}}})"));
    const SchemaPtr bound(new Schema(document, qx::Url()));
    EXPECT_EQ("4 4 at '' = 4", told(bound->validate(Variant(4))));
}

TEST(SchemaCheck, PropertiesAreFoundInWhateverOrderTheObjectHasThem) {
    std::string document = R"({"additionalProperties":false,"properties":{)";
    for (int i = 0; i < 12; ++i) {
        document += (i > 0 ? ",\"k" : "\"k") + std::to_string(i) +
                    "\":{\"maximum\":" + std::to_string(i) + "}";
    }
    document += "}}";
    expect_rows(
        {{document.c_str(), R"({"k0":0,"k1":1,"k2":2})", "ok"},
         {document.c_str(), R"({"k11":11,"k3":3,"k4":4,"k0":0})", "ok"},
         {document.c_str(), R"({"k11":11,"k11":11,"k10":10})", "ok"},
         {document.c_str(), R"({"k5":5,"k4":5})", "4 4 at 'k4' = 5"},
         {document.c_str(), R"({"k11":11,"k12":0})", "10 \"k12\" at '' = {\"k11\":11,\"k12\":0}"}});
}

TEST(SchemaCheck, AStringHasAsManyBytesAsItsBoundsSay) {
    expect_rows({{R"({"minLength":2})", "\"a\"", "6 null at '' = \"a\""},
                 {R"({"minLength":2})", "\"ab\"", "ok"},
                 {R"({"minLength":2})", "\"\u00e4\"", "ok"},
                 {R"({"maxLength":1})", "\"ab\"", "6 null at '' = \"ab\""},
                 {R"({"maxLength":-1})", "\"ab\"", "ok"},
                 {R"({"minLength":-1})", "\"ab\"", "6 null at '' = \"ab\""},
                 {R"({"minLength":2})", "5", "ok"},
                 {R"({"minLength":2,"format":"email"})", "\"a\"", "6 null at '' = \"a\""}});
}

TEST(SchemaCheck, EveryFormatIsTestedAsItsRowSays) {
    const struct {
        const char* format;
        const char* text;
        const char* result;
    } rows[] = {{"regex", "(", "ok"},
                {"date-time", "no date", "ok"},
                {"date", "no date", "ok"},
                {"time", "no time", "ok"},
                {"utc-millisec", "x", "ok"},
                {"ip-address", "10.0.0.1", "ok"},
                {"ip-address", "10.0.0", "16 6 at '' = \"10.0.0\""},
                {"ip-address", "::1", "16 6 at '' = \"::1\""},
                {"ipv6", "::1", "ok"},
                {"ipv6", "::1/128", "16 7 at '' = \"::1/128\""},
                {"ipv6", "10.0.0.1", "16 7 at '' = \"10.0.0.1\""},
                {"color", "red", "9 8 at '' = \"red\""},
                {"style", "color: red", "9 9 at '' = \"color: red\""},
                {"phone", "+49 30", "9 10 at '' = \"+49 30\""},
                {"uri", "http://a.test/b?c#d", "ok"},
                {"uri", "../b", "ok"},
                {"uri", "", "ok"},
                {"uri", "a b", "17 11 at '' = \"a b\""},
                {"email", "a@b.test", "9 12 at '' = \"a@b.test\""},
                {"host-name", "localhost", "9 13 at '' = \"localhost\""},
                {"utc-second", "x", "ok"},
                {"base64", "azAZ09+/==", "ok"},
                {"base64", "=A=", "ok"},
                {"base64", "", "ok"},
                {"encrypted", "anything", "ok"},
                {"unheard-of", "a", "9 0 at '' = \"a\""}};
    for (const auto& row : rows) {
        const std::string document = std::string(R"({"format":")") + row.format + "\"}";
        EXPECT_EQ(row.result, check(document, Variant(row.text))) << row.format << " " << row.text;
        EXPECT_EQ("ok", check(document, Variant(5))) << "no string";
    }
}

TEST(SchemaCheck, AMalformedUriPrintsWithAnEmptyMessage) {
    const SchemaPtr schema = schema_of(R"({"format":"uri"})");
    std::ostringstream out;
    out << schema->validate(Variant("a b"));
    EXPECT_EQ("Schema Validation Error (17): (11)\nat:  = \"a b\"\n\nviolates schema: \n"
              "{\n\t\"format\": \"uri\"\n}\n\n",
              out.str());
}

// Reporting a code would be the evident way; then a text that isn't base64 would not be `ok`.
TEST(SchemaCheck, ATextThatIsNotBase64EndsTheCheckButTestsAsPassed) {
    const SchemaPtr schema =
        schema_of(R"({"items":[{"format":"base64"},{"type":"null"}],"additionalItems":true})");
    const Result& result = schema->validate(value_of(R"(["a b",5])"));
    EXPECT_TRUE(result.ok());
    EXPECT_EQ(schema.get(), result.schema) << "as it stood at the start";
    EXPECT_EQ(R"(["a b",5])", sorted_text(result.value));
    EXPECT_EQ("[0]", text_of(result.path));
    EXPECT_EQ(Schema::WrongDataType, schema->validate(value_of(R"(["ab",5])")).code)
        << "without the fault the walk goes on";
}

TEST(SchemaCheck, ATextThatIsNotBase64KeepsTheCodeOfAFailedAlternative) {
    const SchemaPtr schema =
        schema_of(R"({"type":[{"type":"null"},{"type":"string"}],"format":"base64"})");
    EXPECT_EQ("2 \"string, expected null\" at '' = \"a b\"",
              told(schema->validate(Variant("a b"))));
    EXPECT_EQ(schema->complexTypes()[0].get(), schema->validationResult().schema);
}

TEST(SchemaCheck, AFormatThatIsWrittenIntoTheDocumentLaterIsUnknown) {
    const Variant document = value_of("{\"title\":\"x\"}");
    const Schema schema(document, qx::Url());
    document.objectPtr()->setValue("format", Variant("date"));
    EXPECT_EQ("9 0 at '' = \"a\"", told(schema.validate(Variant("a"))));
}

// ----- The order of the steps --------------------------------------------------------------------

TEST(SchemaCheck, TheStepsComeInTheirOrder) {
    const char* document = R"({"required":true,"type":["array","string"],"enum":["aaaa",[7]],
        "minItems":2,"items":{"type":"null"},"minimum":5,"minLength":5})";
    expect_rows({{document, "null", "7 null at '' = null"},
                 {document, "1", "2 \"integer, expected string,array\" at '' = 1"},
                 {document, "\"b\"", "3 null at '' = \"b\""},
                 {document, "[7]", "11 null at '' = [7]"},
                 {document, "\"aaaa\"", "4 5 at '' = \"aaaa\""}});
    expect_rows({{R"({"items":{"type":"null"},"minimum":5})", "[1]",
                  "2 \"integer, expected null\" at '[0]' = 1"},
                 {R"({"items":{"type":"null"},"minimum":5})", "[null]", "4 5 at '' = [null]"},
                 {R"({"properties":{"a":{"type":"null"}},"minimum":5})", R"({"a":null})",
                  "4 5 at '' = {\"a\":null}"}});
}

TEST(SchemaCheck, ThePartsAnswerForTheirKeywordsAlone) {
    const SchemaProbe schema(R"({"type":["string",{"type":"null"}],"enum":["a"],"minItems":1,
        "minimum":3,"minLength":2,"format":"email"})");
    Result result;
    EXPECT_TRUE(schema.validateType(Variant("x"), &result));
    EXPECT_TRUE(result.ok());
    EXPECT_TRUE(schema.validateType(Variant(), &result));
    EXPECT_FALSE(schema.validateType(Variant(5), &result));
    EXPECT_EQ("2 \"integer, expected string, or complex type\" at '' = 5", told(result));
    EXPECT_EQ(&schema, result.schema);
    EXPECT_FALSE(schema.validateValue(Variant("b"), &result));
    EXPECT_EQ(Schema::InvalidValue, result.code);
    EXPECT_TRUE(schema.validateValue(Variant("a"), &result));
    EXPECT_EQ(Schema::InvalidValue, result.code) << "a pass clears nothing";
    EXPECT_FALSE(schema.validateArray(Variant::newList(), &result));
    EXPECT_EQ(Schema::ArrayIndexOutOfBounds, result.code);
    EXPECT_FALSE(schema.validateBounds(Variant(2), &result));
    EXPECT_EQ(Schema::ValueOutOfBounds, result.code);
    EXPECT_FALSE(schema.validateString(Variant("a"), &result));
    EXPECT_EQ(Schema::StringLengthOutOfBounds, result.code);
    EXPECT_FALSE(schema.validateFormat(Schema::StyleFormat, Variant("a"), &result));
    EXPECT_EQ(9, result.detail.integerValue());
    EXPECT_FALSE(schema.validate(Variant("b"), &result));
    EXPECT_EQ(Schema::InvalidValue, result.code);
}

// ----- Schemas and values that a peer shapes -----------------------------------------------------

namespace {

Variant nested_list(int depth) {
    Variant value = Variant::newList();
    for (int i = 0; i < depth; ++i) {
        Variant outer = Variant::newList();
        outer << value;
        value = outer;
    }
    return value;
}

} // namespace

TEST(SchemaCheck, ADeepValueUnderASchemaOfItselfNeedsNoDeepStack) {
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/deep","type":[{"type":"array","items":
        {"$ref":"http://check.test/deep"}}]})"));
    EXPECT_TRUE(resolved("http://check.test/deep")->validate(nested_list(20000)).ok());
}

TEST(SchemaCheck, ASchemaThatComesBackToItselfIsReportedAsNotFound) {
    const char* circles[] = {
        R"({"id":"http://check.test/loop0","$ref":"http://check.test/loop0"})",
        R"({"id":"http://check.test/loop1","extends":"http://check.test/loop1"})",
        R"({"id":"http://check.test/loop2","dependencies":
            {"a":{"$ref":"http://check.test/loop2"}}})"};
    int index = 0;
    for (const char* document : circles) {
        ASSERT_TRUE(import_text(document));
        const std::string url = "http://check.test/loop" + std::to_string(index++);
        const Result& result = resolved(url)->validate(value_of(R"({"a":1})"));
        EXPECT_EQ(Schema::SchemaNotFound, result.code) << document;
        EXPECT_EQ(url, result.detail.charsValue());
    }
}

TEST(SchemaCheck, ACircleOfReferencesIsReportedWithTheUrlThatCloses) {
    ASSERT_TRUE(
        import_text(R"({"id":"http://check.test/circle1","$ref":"http://check.test/circle2"})"));
    ASSERT_TRUE(
        import_text(R"({"id":"http://check.test/circle2","extends":"http://check.test/circle3"})"));
    ASSERT_TRUE(
        import_text(R"({"id":"http://check.test/circle3","$ref":"http://check.test/circle1"})"));
    const Result& result = resolved("http://check.test/circle1")->validate(Variant(5));
    EXPECT_EQ(Schema::SchemaNotFound, result.code);
    EXPECT_STREQ("http://check.test/circle1", result.detail.charsValue());
    EXPECT_EQ(resolved("http://check.test/circle3").get(), result.schema);
}

TEST(SchemaCheck, OfTheTypesOnlyTheOneThatComesBackFails) {
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/back","type":
        [{"$ref":"http://check.test/back"},{"type":"integer","maximum":9}]})"));
    const SchemaPtr schema = resolved("http://check.test/back");
    EXPECT_TRUE(schema->validate(Variant(5)).ok());
    EXPECT_EQ(Schema::WrongDataType, schema->validate(Variant("text")).code);
    ASSERT_TRUE(import_text(
        R"({"id":"http://check.test/only","type":[{"$ref":"http://check.test/only"}]})"));
    EXPECT_EQ(Schema::WrongDataType, resolved("http://check.test/only")->validate(Variant(5)).code);
}

TEST(SchemaCheck, OfTheTypesOnlyTheOneThatLeadsIntoACircleFails) {
    ASSERT_TRUE(
        import_text(R"({"id":"http://check.test/circle1","$ref":"http://check.test/circle2"})"));
    ASSERT_TRUE(
        import_text(R"({"id":"http://check.test/circle2","$ref":"http://check.test/circle1"})"));
    const SchemaPtr schema =
        schema_of(R"({"type":[{"$ref":"http://check.test/circle1"},{"type":"integer"}]})");
    EXPECT_TRUE(schema->validate(Variant(5)).ok());
    EXPECT_EQ(Schema::WrongDataType, schema->validate(Variant("text")).code);
}

TEST(SchemaCheck, ASchemaMayLookAgainAtAnotherValue) {
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/again","extends":"http://check.test/leaf",
        "items":{"$ref":"http://check.test/again"},
        "properties":{"a":{"$ref":"http://check.test/again"}}})"));
    ASSERT_TRUE(
        import_text(R"({"id":"http://check.test/leaf","type":["array","object","integer"]})"));
    const SchemaPtr schema = resolved("http://check.test/again");
    EXPECT_TRUE(schema->validate(value_of(R"([1,[2,{"a":[3]}],{"a":{"a":4}}])")).ok());
    EXPECT_EQ(Schema::WrongDataType, schema->validate(value_of(R"([1,[2,{"a":["x"]}]])")).code);
}

TEST(SchemaCheck, AReferenceMayBeFollowedAgainBesideTheFirst) {
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/twice","type":"integer"})"));
    const SchemaPtr schema =
        schema_of(R"({"extends":["http://check.test/twice","http://check.test/twice"]})");
    EXPECT_TRUE(schema->validate(Variant(5)).ok());
}

// Each alternative that fails leads to the next one: without a bound this never ends.
TEST(SchemaCheck, AlternativesThatBranchAndBranchAgainComeToAnEnd) {
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/fork","type":[
        {"$ref":"http://check.test/fork"},{"$ref":"http://check.test/fork"}]})"));
    EXPECT_EQ(Schema::WrongDataType, resolved("http://check.test/fork")->validate(Variant(5)).code);
    for (int i = 0; i < 40; ++i) {
        const std::string next = "http://check.test/chain" + std::to_string(i + 1);
        ASSERT_TRUE(import_text(R"({"id":"http://check.test/chain)" + std::to_string(i) +
                                R"(","extends":[")" + next + "\",\"" + next + "\"]}"));
    }
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/chain40","type":"integer"})"));
    EXPECT_EQ(Schema::SchemaNotFound,
              resolved("http://check.test/chain0")->validate(Variant(5)).code);
    EXPECT_TRUE(resolved("http://check.test/chain30")->validate(Variant(5)).ok());
}

TEST(SchemaCheck, ALongValueMayUseItsReferencesForEachItem) {
    ASSERT_TRUE(import_text(R"({"id":"http://check.test/small","type":"integer"})"));
    const SchemaPtr schema = schema_of(R"({"items":{"$ref":"http://check.test/small"}})");
    Variant value = Variant::newList();
    for (int i = 0; i < 30000; ++i) {
        value << i;
    }
    EXPECT_TRUE(schema->validate(value).ok());
}
