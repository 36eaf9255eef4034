// SPDX-License-Identifier: MIT
#include "schema/ValidationReport.h"

#include "schema/FaultCollector.h"
#include "support/ValueProbe.h"
#include "json/Build.h"
#include "json/JsonParser.h"
#include "json/Literals.h"

#include <gtest/gtest.h>

#include <iostream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using json::collect_validation_errors;
using json::Schema;
using json::validation_errors;
using json::Variant;
using namespace json::literals;

std::string report_of(const Schema& schema, const Variant& value) {
    return json_of(validation_errors(schema.check(value)));
}

/// The faults as "instancePath schemaPath message" lines.
std::string list_of(const Variant& errors) {
    std::string lines;
    for (const Variant& error : errors.listValue()) {
        lines += std::string(error["instancePath"]) + ' ' + std::string(error["schemaPath"]) + ' ' +
                 std::string(error["message"]) + '\n';
    }
    return lines;
}

std::string collected(const Schema& schema, const Variant& value,
                      const json::CollectionLimits& limits = {}) {
    return list_of(collect_validation_errors(schema, value, limits));
}

/// Registers a document without a word on the standard output.
void import_quietly(const Variant& document) {
    std::ostringstream told;
    std::streambuf* const before = std::cout.rdbuf(told.rdbuf());
    Schema::import(document);
    std::cout.rdbuf(before);
}

TEST(ValidationReport, IsEmptyForAValueThatPasses) {
    const Schema schema(R"({"type": "integer"})");
    EXPECT_EQ("[]", report_of(schema, 5));
    EXPECT_EQ("[]", json_of(validation_errors(Schema::ValidationResult())));
}

TEST(ValidationReport, TellsAllThatAjvTells) {
    const Schema schema(R"({"items": {"properties": {"open": {"type": "boolean"}}}})");
    EXPECT_EQ("[{\"instancePath\":\"/1/open\",\"schemaPath\":\"#/items/properties/open/type\","
              "\"keyword\":\"type\",\"params\":{\"type\":\"boolean\"},"
              "\"message\":\"must be boolean\"}]",
              report_of(schema, R"([{}, {"open": 1}])"_json));
}

struct Row {
    const char* schema;
    const char* value;
    const char* keyword;
    const char* params;
    const char* message;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.schema << " and " << row.value;
}

const Row kRows[] = {
    {R"({"type":"string"})", "5", "type", R"({"type":"string"})", "must be string"},
    {R"({"type":["string","null"]})", "5", "type", R"({"type":["string","null"]})",
     "must be string,null"},
    {R"({"type":["string",{"type":"null"}]})", "5", "type",
     R"({"type":["string",{"type":"null"}]})", "must be string or match a schema of its type"},
    {R"({"type":[{"type":"null"}]})", "5", "type", R"({"type":[{"type":"null"}]})",
     "must match a schema of its type"},
    {R"({"disallow":"string"})", R"([1,"x"])", "disallow", R"({"type":"string"})",
     "must NOT have items of type string"},
    {R"({"enum":[1,"x"]})", "2", "enum", R"({"allowedValues":[1,"x"]})",
     "must be equal to one of the allowed values"},
    {R"({"minimum":3})", "2", "minimum", R"({"comparison":">=","limit":3})", "must be >= 3"},
    {R"({"minimum":3,"exclusiveMinimum":true})", "3", "minimum", R"({"comparison":">","limit":3})",
     "must be > 3"},
    {R"({"maximum":3})", "4", "maximum", R"({"comparison":"<=","limit":3})", "must be <= 3"},
    {R"({"maximum":3,"exclusiveMaximum":true})", "3", "maximum", R"({"comparison":"<","limit":3})",
     "must be < 3"},
    {R"({"minimum":0,"maximum":0})", "1", "maximum", R"({"comparison":"<=","limit":0})",
     "must be <= 0"},
    {R"({"divisibleBy":2})", "3", "divisibleBy", R"({"divisibleBy":2})", "must be multiple of 2"},
    {R"({"minLength":3})", R"("ab")", "minLength", R"({"limit":3})",
     "must NOT have fewer than 3 bytes"},
    {R"({"maxLength":1})", R"("ab")", "maxLength", R"({"limit":1})",
     "must NOT have more than 1 bytes"},
    {R"({"required":true})", "null", "required", "{}", "must have a value"},
    {R"({"properties":{"a":{"required":true}}})", R"({"a":null})", "required",
     R"({"missingProperty":"a"})", "must have required property 'a'"},
    {R"({"properties":{"a":{"optional":false}}})", R"({"a":null})", "optional",
     R"({"missingProperty":"a"})", "must have required property 'a'"},
    {R"({"dependencies":{"a":["b"]}})", R"({"a":1})", "dependencies",
     R"({"property":"a","missingProperty":"b","depsCount":1,"deps":"b"})",
     "must have property b when property a is present"},
    {R"({"dependencies":{"z":["c"],"a":["b","c"]}})", R"({"a":1,"b":2})", "dependencies",
     R"({"property":"a","missingProperty":"c","depsCount":2,"deps":"b, c"})",
     "must have properties b, c when property a is present"},
    {R"({"additionalProperties":false})", R"({"x":1})", "additionalProperties",
     R"({"additionalProperty":"x"})", "must NOT have additional properties"},
    {R"({"minItems":2})", "[1]", "minItems", R"({"limit":2})", "must NOT have fewer than 2 items"},
    {R"({"maxItems":1})", "[1,2]", "maxItems", R"({"limit":1})", "must NOT have more than 1 items"},
    {R"({"items":[{}],"additionalItems":false})", "[1,2]", "additionalItems", R"({"limit":1})",
     "must NOT have more than 1 items"},
    {R"({"items":[{},{}]})", "[1,2,3]", "items", R"({"limit":2})",
     "must NOT have more than 2 items"},
    {R"({"uniqueItems":true})", "[1,2,1]", "uniqueItems", R"({"i":2,"j":0})",
     "must NOT have duplicate items (items ## 0 and 2 are identical)"},
    {R"({"format":"ipv6"})", R"("x")", "format", R"({"format":"ipv6"})",
     "must match format \"ipv6\""},
    {R"({"format":"email"})", R"("x")", "format", R"({"format":"email"})",
     "must match format \"email\""},
    {R"({"$ref":"http://example.com/nowhere"})", "1", "$ref",
     R"({"ref":"http://example.com/nowhere"})",
     "can't resolve reference http://example.com/nowhere"},
    {R"({"extends":"http://example.com/nowhere"})", "1", "extends",
     R"({"ref":"http://example.com/nowhere"})",
     "can't resolve reference http://example.com/nowhere"},
};

class ReportOfAFault : public testing::TestWithParam<Row> {};

TEST_P(ReportOfAFault, NamesTheKeywordItsParametersAndASentence) {
    const Schema schema(GetParam().schema);
    const Variant errors =
        validation_errors(schema.check(json::JsonParser::parseTree(GetParam().value)));
    ASSERT_EQ(1u, errors.size());
    const Variant error = errors.listValue()[0];
    EXPECT_EQ(GetParam().keyword, text_of(error["keyword"]));
    EXPECT_EQ(GetParam().params, json_of(error["params"]));
    EXPECT_EQ(GetParam().message, text_of(error["message"]));
    const std::string place = text_of(error["schemaPath"]);
    const std::string end = std::string("/") + GetParam().keyword;
    EXPECT_EQ(place.size() - end.size(), place.rfind(end)) << place;
}

INSTANTIATE_TEST_SUITE_P(ValidationReport, ReportOfAFault, testing::ValuesIn(kRows));

TEST(ValidationReport, EscapesWhatAPointerTreatsSpecially) {
    const Schema schema(R"({"properties": {"a/b": {"properties": {"~": {"type": "null"}}}}})");
    const Variant error = validation_errors(schema.check(R"({"a/b": {"~": 1}})"_json))[0];
    EXPECT_EQ("/a~1b/~0", text_of(error["instancePath"]));
    EXPECT_EQ("#/properties/a~1b/properties/~0/type", text_of(error["schemaPath"]));
}

TEST(ValidationReport, PointsIntoListsOfADocument) {
    const Schema schema(R"({"items": [{}, {"type": [{"type": "null"}]}]})");
    EXPECT_EQ("/1 #/items/1/type must match a schema of its type\n",
              list_of(validation_errors(schema.check("[1, 2]"_json))));
    const Schema dependency(R"({"dependencies": {"a": {"properties": {"b": {"type": "null"}}}}})");
    EXPECT_EQ("/b #/dependencies/a/properties/b/type must be null\n",
              list_of(validation_errors(dependency.check(R"({"a": 1, "b": 2})"_json))));
}

TEST(ValidationReport, NamesTheDocumentThatAReferenceLedTo) {
    import_quietly(R"({"id": "http://example.com/report/door",
                       "properties": {"open": {"type": "boolean"}}})"_json);
    const Schema house(R"({"id": "http://example.com/report/house", "items": {"$ref": "door"}})");
    EXPECT_EQ("/0/open http://example.com/report/door#/properties/open/type must be boolean\n",
              list_of(validation_errors(house.check(R"([{"open": 5}])"_json))));
}

TEST(ValidationReport, SaysOfAnUnknownResultWhatItsPrintSays) {
    EXPECT_EQ("[{\"instancePath\":\"\",\"schemaPath\":\"#\",\"keyword\":\"\",\"params\":{},"
              "\"message\":\"array items must be unique\"}]",
              json_of(validation_errors(Schema::ValidationResult(Schema::ArrayItemsNotUnique))));
}

TEST(ValidationReport, LeavesThePrintOfAResultAsItIs) {
    const Schema schema(R"({"maximum":3})");
    const Schema::ValidationResult result = schema.check(4);
    std::ostringstream before;
    before << result;
    validation_errors(result);
    std::ostringstream after;
    after << result;
    EXPECT_EQ("Schema Validation Error (4): value out of bounds(3)\nat:  = 4\n\nviolates schema: "
              "\n{\n\t\"maximum\": 3\n}\n\n",
              before.str());
    EXPECT_EQ(before.str(), after.str());
}

// ----- The collector -----------------------------------------------------------------------------

TEST(FaultCollector, ListsNothingForAValueThatPasses) {
    const Schema schema(R"({"items": {"type": "integer"}})");
    EXPECT_EQ("[]", json_of(collect_validation_errors(schema, "[1, 2]"_json)));
}

TEST(FaultCollector, ListsTheFaultsOfAllChildren) {
    const Schema schema(R"({"properties": {
        "name": {"type": "string"},
        "doors": {"items": {"properties": {"open": {"type": "boolean"}, "id": {"minimum": 1}}}}}})");
    const Variant value = R"({"name": 5, "doors": [{"open": 1, "id": 0}, {"open": true},
                                                   {"open": "x"}]})"_json;
    EXPECT_EQ("/name #/properties/name/type must be string\n"
              "/doors/0/open #/properties/doors/items/properties/open/type must be boolean\n"
              "/doors/0/id #/properties/doors/items/properties/id/minimum must be >= 1\n"
              "/doors/2/open #/properties/doors/items/properties/open/type must be boolean\n",
              collected(schema, value));
}

TEST(FaultCollector, ListsAFaultOfItsOwnBesideThoseOfItsChildren) {
    const Schema schema(R"({"maxItems": 1, "items": {"type": "string"}})");
    EXPECT_EQ(" #/maxItems must NOT have more than 1 items\n"
              "/0 #/items/type must be string\n"
              "/2 #/items/type must be string\n",
              collected(schema, R"([1, "x", 2])"_json));
}

TEST(FaultCollector, ListsEachPropertyThatMayNotStandThere) {
    const Schema schema(
        R"({"properties": {"a": {"type": "null"}}, "additionalProperties": false})");
    const Variant errors = collect_validation_errors(schema, R"({"x": 1, "a": 2, "y": 3})"_json);
    EXPECT_EQ(" #/additionalProperties must NOT have additional properties\n"
              " #/additionalProperties must NOT have additional properties\n"
              "/a #/properties/a/type must be null\n",
              list_of(errors));
    EXPECT_EQ("x", text_of(errors[0]["params"]["additionalProperty"]));
    EXPECT_EQ("y", text_of(errors[1]["params"]["additionalProperty"]));
}

TEST(FaultCollector, LooksAtNothingBelowAWrongType) {
    const Schema schema(R"({"type": "string", "items": {"type": "string"}})");
    EXPECT_EQ(" #/type must be string\n", collected(schema, "[1, 2]"_json));
}

TEST(FaultCollector, LooksBelowAListWithItemsOfADisallowedType) {
    const Schema schema(R"({"disallow": "null", "items": {"maximum": 1}})");
    EXPECT_EQ(" #/disallow must NOT have items of type null\n"
              "/1 #/items/maximum must be <= 1\n",
              collected(schema, "[null, 2]"_json));
}

TEST(FaultCollector, FollowsReferencesAndExtensions) {
    import_quietly(R"({"id": "http://example.com/collector/base",
                       "properties": {"id": {"type": "integer"}, "name": {"type": "string"}}})"_json);
    const Schema schema(R"({"items": {"extends": "http://example.com/collector/base",
                                      "properties": {"open": {"type": "boolean"}}}})");
    EXPECT_EQ("/0/id http://example.com/collector/base#/properties/id/type must be integer\n"
              "/0/name http://example.com/collector/base#/properties/name/type must be string\n"
              "/0/open #/items/properties/open/type must be boolean\n",
              collected(schema, R"([{"id": "x", "name": 1, "open": 2}])"_json));
    const Schema reference(R"({"items": {"$ref": "http://example.com/collector/base"}})");
    EXPECT_EQ("/0/id http://example.com/collector/base#/properties/id/type must be integer\n"
              "/1/name http://example.com/collector/base#/properties/name/type must be string\n",
              collected(reference, R"([{"id": "x"}, {"name": 1}])"_json));
}

// A check alone leaves the steps of the alternative in its path.
TEST(FaultCollector, TellsThePlaceOfAFaultBehindAlternativesThatFailed) {
    const Schema schema(
        R"({"items": {"type": ["string", {"properties": {"a": {"type": "null"}}}]}})");
    const Variant value = R"([{"a": 1}, {"a": 2}])"_json;
    EXPECT_EQ("/0/a", text_of(validation_errors(schema.check(value))[0]["instancePath"]));
    EXPECT_EQ("/0 #/items/type must be string or match a schema of its type\n"
              "/1 #/items/type must be string or match a schema of its type\n",
              collected(schema, value));
}

TEST(FaultCollector, TellsWhatOnlyShowsFromAboveAsItsCheckTellsIt) {
    const Schema schema(R"({"dependencies": {"a": {"properties": {"b": {"type": "null"}}}}})");
    EXPECT_EQ("/b #/dependencies/a/properties/b/type must be null\n",
              collected(schema, R"({"a": 1, "b": 2})"_json));
}

TEST(FaultCollector, GoesOnBehindATextThatIsNotBase64) {
    const Schema schema(R"({"items": [{"format": "base64"}, {"type": "null"}]})");
    const Variant value = R"(["?", 1])"_json;
    EXPECT_TRUE(schema.check(value).ok());
    EXPECT_EQ("/1 #/items/1/type must be null\n", collected(schema, value));
}

TEST(FaultCollector, EndsWhereSchemasComeBack) {
    import_quietly(R"({"id": "http://example.com/collector/loop",
                       "extends": "http://example.com/collector/loop",
                       "items": {"$ref": "http://example.com/collector/self"}})"_json);
    import_quietly(R"({"id": "http://example.com/collector/self",
                       "$ref": "http://example.com/collector/self"})"_json);
    const auto loop = Schema::resolve("http://example.com/collector/loop", qx::Url());
    const std::string cannot = "can't resolve reference http://example.com/collector/";
    const std::string node = "http://example.com/collector/self#/$ref ";
    EXPECT_EQ(" #/extends " + cannot + "loop\n/0 " + node + cannot + "self\n/1 " + node + cannot +
                  "self\n",
              collected(*loop, "[[1], 2]"_json));
}

TEST(FaultCollector, KeepsItsLimits) {
    const Schema schema(R"({"items": {"type": "null"}})");
    Variant value;
    for (int i = 0; i < 1000; ++i) {
        value << i;
    }
    EXPECT_EQ(100u, collect_validation_errors(schema, value).size());
    json::CollectionLimits limits;
    limits.faults = 3;
    EXPECT_EQ(3u, collect_validation_errors(schema, value, limits).size());
    limits.faults = 5000;
    limits.checks = 11;
    EXPECT_EQ(10u, collect_validation_errors(schema, value, limits).size());
    limits.checks = 5000;
    EXPECT_EQ(1000u, collect_validation_errors(schema, value, limits).size());
    limits.depth = 0;
    EXPECT_EQ("/0 #/items/type must be null\n", collected(schema, value, limits));
}

TEST(FaultCollector, TakesAValueOfAnyDepth) {
    import_quietly(R"({"id": "http://example.com/collector/tree",
                       "type": ["array"], "items": {"$ref": "tree"}})"_json);
    const auto tree = Schema::resolve("http://example.com/collector/tree", qx::Url());
    std::string text(100000, '[');
    text += "1";
    text.append(100000, ']');
    json::CollectionLimits limits;
    limits.depth = 2;
    const Variant errors =
        collect_validation_errors(*tree, json::JsonParser::parseTree(text), limits);
    ASSERT_EQ(1u, errors.size());
    EXPECT_EQ(200000u, errors.listValue()[0]["instancePath"].size());
}

TEST(FaultCollector, ChangesNeitherValueNorCheck) {
    const Schema schema(R"({"items": {"type": "string"}})");
    Variant value = "[1, 2]"_json;
    value.setDirty(false);
    const auto before = validation_errors(schema.check(value));
    collect_validation_errors(schema, value);
    EXPECT_EQ(json_of(before), json_of(validation_errors(schema.check(value))));
    EXPECT_EQ("[1,2]", json_of(value));
    EXPECT_FALSE(value.dirty());
    EXPECT_EQ(Schema::NoError, schema.validationResult().code);
}

} // namespace
