// SPDX-License-Identifier: MIT
#include "schema/Schema.h"

#include "support/SchemaText.h"
#include "support/SortedText.h"
#include "support/ValueProbe.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

using json::Schema;
using json::Variant;
using test::CapturedConsole;
using test::import_text;
using test::resolved;
using test::schema_of;
using test::SchemaPtr;
using test::sorted_text;
using test::value_of;

namespace {

/// A value of the text, bound to a schema of the document.
Variant bound(const std::string& value, const std::string& document) {
    Variant result = value_of(value);
    result.attachSchema(schema_of(document));
    return result;
}

const Variant& constant(const Variant& value) { return value; }

} // namespace

// ----- Attaching ---------------------------------------------------------------------------------

TEST(SchemaBinding, AnUnboundValueHasTheEmptySchemaAndIsValid) {
    for (const char* text : {"null", "5", "\"a\"", "[1]", "{\"a\":1}"}) {
        const Variant value = value_of(text);
        EXPECT_EQ(&Schema::Empty, &value.schema());
        EXPECT_TRUE(value.validate());
    }
}

TEST(SchemaBinding, ABoundValueIsStickyAndJudgedByItsSchema) {
    const SchemaPtr schema = schema_of(R"({"type":"integer"})");
    Variant value(5);
    value.attachSchema(schema);
    EXPECT_EQ(schema.get(), &value.schema());
    EXPECT_TRUE(is_sticky(value));
    EXPECT_TRUE(value.validate());
    value = "five";
    EXPECT_EQ(schema.get(), &value.schema()) << "an assignment keeps the binding";
    EXPECT_FALSE(value.validate());
    EXPECT_EQ(Schema::WrongDataType, schema->validationResult().code);
}

TEST(SchemaBinding, AttachingNullMakesAValueStickyAndUnbindsIt) {
    const Variant value(5);
    value.attachSchema(nullptr);
    EXPECT_TRUE(is_sticky(value));
    EXPECT_EQ(&Schema::Empty, &value.schema());
    value.attachSchema(schema_of(R"({"type":"null"})"));
    EXPECT_FALSE(value.validate());
    value.attachSchema(nullptr);
    EXPECT_TRUE(value.validate());
}

TEST(SchemaBinding, AUrlAttachesTheRegisteredSchema) {
    ASSERT_TRUE(import_text(R"({"id":"http://binding.test/dir/int","type":"integer"})"));
    const Variant value(5);
    EXPECT_TRUE(value.attachSchema("int", "http://binding.test/dir/base"));
    EXPECT_EQ(resolved("http://binding.test/dir/int").get(), &value.schema());
}

TEST(SchemaBinding, AnUnknownUrlChangesNothing) {
    const Variant value(5);
    EXPECT_FALSE(value.attachSchema("http://binding.test/unknown", qx::Url()));
    EXPECT_FALSE(is_sticky(value));
    const SchemaPtr schema(new Schema);
    value.attachSchema(schema);
    EXPECT_FALSE(value.attachSchema("http://binding.test/unknown", qx::Url()));
    EXPECT_EQ(schema.get(), &value.schema());
}

TEST(SchemaBinding, ASchemaSpreadsDownTheTree) {
    const Variant value = bound(R"({"a":[1,{"b":2}],"c":3})", R"({"properties":{"a":{"items":
        [{"title":"first"},{"properties":{"b":{"title":"deep"}}}]}}})");
    EXPECT_STREQ("first", value["a"][0].schema().title().c_str());
    EXPECT_STREQ("deep", value["a"][1]["b"].schema().title().c_str());
    EXPECT_EQ(Schema::EmptyPtr.get(), &value["c"].schema());
    EXPECT_TRUE(is_sticky(value["a"][1]["b"]));
    EXPECT_EQ(&value, owner_of(value.objectValue()));
    EXPECT_EQ(&value["a"], owner_of(value["a"].listValue()));
    EXPECT_EQ(&value.objectValue().schema(), &value.schema());
}

TEST(SchemaBinding, APlaceWhereNothingMayStandUnbindsWhatStandsThere) {
    const Variant value = bound(R"([1,{"a":2}])", R"({"items":[{}],"additionalItems":false})");
    EXPECT_NE(&Schema::Empty, &value[0].schema());
    EXPECT_EQ(&Schema::Empty, &value[1].schema());
    EXPECT_TRUE(is_sticky(value[1]));
}

TEST(SchemaBinding, AReferenceBindsTheNodeThatHoldsIt) {
    ASSERT_TRUE(import_text(
        R"({"id":"http://binding.test/node","properties":{"n":{"$ref":"#node"}},
            "items":{"id":"#node","type":"integer"}})"));
    const Variant value = value_of(R"({"n":"x"})");
    value.attachSchema("http://binding.test/node", qx::Url());
    EXPECT_EQ("#node", test::text_of(value["n"].schema().ref()));
    EXPECT_FALSE(value["n"].validate());
}

TEST(SchemaBinding, AnElementOfAListWithoutAnOwnerIsBoundToTheSharedEmptySchema) {
    Variant list = Variant::newList();
    list << 5;
    EXPECT_EQ(Schema::EmptyPtr.get(), &constant(list)[0].schema());
    EXPECT_NE(&Schema::Empty, &constant(list)[0].schema());
    EXPECT_TRUE(is_sticky(constant(list)[0]));
}

TEST(SchemaBinding, NewElementsTakeTheSchemaOfTheirPlace) {
    Variant value = bound("{}", R"({"properties":{"n":{"type":"integer"},
        "l":{"items":{"type":"string"}}}})");
    value["n"] = "no number";
    value["l"][1] = 5;
    EXPECT_FALSE(constant(value)["n"].validate());
    EXPECT_FALSE(constant(value)["l"][1].validate());
    value["l"] << "text";
    EXPECT_TRUE(constant(value)["l"][2].validate());
}

TEST(SchemaBinding, ABoundPlaceKeepsItsSchemaAgainstTheOneOfWhatIsAssigned) {
    Variant value = bound(R"({"a":1})", R"({"properties":{"a":{"title":"place"}}})");
    const Variant other(2);
    other.attachSchema(schema_of(R"({"title":"other"})"));
    value["a"] = other;
    EXPECT_STREQ("place", constant(value)["a"].schema().title().c_str());
}

TEST(SchemaBinding, ACopyCarriesTheSchemaButIsNotSticky) {
    const Variant value = bound(R"({"a":1})", R"({"title":"t"})");
    const Variant copy(value);
    EXPECT_EQ(&value.schema(), &copy.schema());
    EXPECT_FALSE(is_sticky(copy));
}

TEST(SchemaBinding, BindingAnewReachesTheWholeTree) {
    const Variant value = bound(R"({"a":[1]})", R"({"title":"old"})");
    value.attachSchema(
        schema_of(R"({"properties":{"a":{"title":"new","items":{"title":"item"}}}})"));
    EXPECT_STREQ("new", value["a"].schema().title().c_str());
    EXPECT_STREQ("item", value["a"][0].schema().title().c_str());
}

// ----- Defaults of missing elements --------------------------------------------------------------

TEST(SchemaBinding, AMissingElementReadsAsTheSchemasOwnMarkedDefault) {
    const Variant value = bound("{\"l\":[]}", R"({"properties":{"a":{"default":5},
        "b":{"type":"integer","minimum":7},"e":{"enum":["x","y"]},
        "l":{"items":{"type":"integer","minimum":1}}}})");
    EXPECT_EQ(5, value["a"].integerValue());
    EXPECT_TRUE(value["a"].autoValue());
    EXPECT_EQ(&value.schema().property("a")->defaultValue(), &value["a"])
        << "the document's own value, marked";
    EXPECT_EQ(7, value["b"].integerValue());
    EXPECT_TRUE(value["b"].autoValue());
    EXPECT_STREQ("x", value["e"].charsValue());
    EXPECT_TRUE(value["e"].autoValue());
    EXPECT_EQ(1, value["l"][3].integerValue());
    EXPECT_TRUE(value["l"][3].autoValue());
    EXPECT_EQ(0u, value["l"].size()) << "nothing was added";
    EXPECT_EQ(1u, value.size());
}

TEST(SchemaBinding, WithoutASchemaForItAMissingElementIsEmpty) {
    const Variant value =
        bound(R"({"l":[]})", R"({"properties":{"l":{"items":[]}},"additionalProperties":false})");
    EXPECT_TRUE(value["x"].isNull());
    EXPECT_FALSE(value["x"].autoValue());
    EXPECT_EQ(&Variant::EmptyAutoValue, &value["l"][0]);
}

// Marking the constant itself would be the evident way: then every list of the process would seem
// to be a default.
TEST(SchemaBinding, AConstantThatServesAsADefaultIsAnsweredByAMarkedTwin) {
    const struct {
        const char* type;
        const Variant* shared;
    } rows[] = {{"boolean", &Variant::False},
                {"string", &Variant::EmptyString},
                {"array", &Variant::EmptyList},
                {"object", &Variant::EmptyObject}};
    for (const auto& row : rows) {
        const Variant value =
            bound("{\"l\":[]}", std::string(R"({"properties":{"a":{"type":")") + row.type +
                                    R"("},"l":{"items":{"type":")" + row.type + "\"}}}}");
        for (const Variant* read : {&value["a"], &value["l"][0]}) {
            EXPECT_NE(row.shared, read) << row.type;
            EXPECT_TRUE(*read == *row.shared) << row.type;
            EXPECT_EQ(row.shared->type(), read->type());
            EXPECT_TRUE(read->autoValue()) << row.type;
            EXPECT_FALSE(row.shared->autoValue()) << row.type;
            EXPECT_STREQ(row.shared->charsValue(), read->charsValue()) << row.type;
        }
        EXPECT_EQ(row.shared, &value.schema().property("a")->autoValue()) << row.type;
    }
    const Variant null = bound("{}", R"({"properties":{"a":{"type":"null"}}})");
    EXPECT_EQ(&Variant::EmptyAutoValue, &null["a"]);
}

TEST(SchemaBinding, ACopyOfADefaultDoesNotTakeTheMark) {
    Variant value = bound("{}", R"({"properties":{"a":{"default":5}}})");
    const Variant copy(constant(value)["a"]);
    EXPECT_FALSE(copy.autoValue());
    EXPECT_FALSE(value["a"].autoValue()) << "the non-const access adds a copy";
    EXPECT_EQ(5, constant(value)["a"].integerValue());
    EXPECT_EQ(1u, value.size());
}

TEST(SchemaBinding, ALongListIsFilledWithTheDefaultsOfItsPlaces) {
    Variant value = bound("[]", R"({"items":[{"default":"a"},{"type":"boolean"}],
        "additionalItems":{"type":"integer","minimum":3}})");
    value[3] = 9;
    EXPECT_EQ(R"(["a",false,3,9])", sorted_text(value));
}

// A bound place writes into the payload that it holds; had the entry shared it with the document,
// the document would change.
TEST(SchemaBinding, WritingToAnElementThatADefaultMadeDoesNotReachTheDocument) {
    const char* document = R"({"properties":{
        "o":{"default":{"in":{"n":1}}},"l":{"default":[[1],"s"]},"s":{"default":"text"}}})";
    const SchemaPtr schema = schema_of(document);
    Variant value = Variant::newObject();
    value.attachSchema(schema);
    value["o"]["in"]["n"] = 2;
    value["o"]["new"] = true;
    value["l"][0] << 5;
    value["l"][1].stringValue() += "!";
    value["s"].stringValue() += "!";
    EXPECT_EQ(R"({"l":[[1,5],"s!"],"o":{"in":{"n":2},"new":true},"s":"text!"})",
              sorted_text(value));
    EXPECT_EQ(sorted_text(document), sorted_text(Variant(schema->definition())));
}

TEST(SchemaBinding, WritingToAnElementThatADefaultMadeDoesNotReachAConstant) {
    Variant value = bound("{\"list\":[]}", R"({"properties":{"o":{"type":"object"},
        "l":{"type":"array"},"s":{"type":"string"},"list":{"items":{"type":"object"}}}})");
    value["o"]["x"] = 1;
    value["l"] << 1;
    value["s"].stringValue() += "x";
    value["list"][0]["x"] = 1;
    EXPECT_EQ(R"({"l":[1],"list":[{"x":1}],"o":{"x":1},"s":"x"})", sorted_text(value));
    EXPECT_EQ(0u, Variant::EmptyObject.size());
    EXPECT_EQ(0u, Variant::EmptyList.size());
    EXPECT_STREQ("", Variant::EmptyString.charsValue());
    const Variant other = bound("{}", R"({"properties":{"o":{"type":"object"}}})");
    EXPECT_EQ(0u, other["o"].size()) << "the twin neither";
}

TEST(SchemaBinding, AnElementThatADefaultMadeOwnsItsContainer) {
    Variant value = bound("{}", R"({"properties":{"o":{"default":{"a":[]},
        "properties":{"a":{"items":{"default":4}}}}}})");
    value["o"]["a"][1] = 5;
    EXPECT_EQ(R"({"o":{"a":[4,5]}})", sorted_text(value));
    EXPECT_EQ(&value["o"], owner_of(constant(value)["o"].objectValue()));
}

TEST(SchemaBinding, AVeryDeepDefaultIsReadAndCopiedWithoutADeepStack) {
    std::string text;
    text.append(20000, '[');
    text.append(20000, ']');
    Variant value = bound("{}", R"({"properties":{"a":{"default":)" + text + "}}}");
    EXPECT_EQ(1u, constant(value)["a"].size());
    value["a"] << 5;
    EXPECT_EQ(2u, constant(value)["a"].size());
}

// ----- Private schemas ---------------------------------------------------------------------------

TEST(SchemaBinding, AValueTakesTheSchemaThatItCarriesItself) {
    const Variant value = value_of(R"({"_schema":{"properties":{"n":{"type":"integer"}}},"n":5})");
    const Schema& schema = value.createPrivateSchema("_schema");
    EXPECT_EQ(&schema, &value.schema());
    EXPECT_EQ(&value["_schema"].objectValue(), &schema.definition()) << "shared, not copied";
    EXPECT_TRUE(schema.urlContext().empty());
    EXPECT_TRUE(value.validate());
    EXPECT_STREQ("integer", value["n"].schema().definition()["type"].charsValue());
}

TEST(SchemaBinding, ThePrivateSchemaMayLieInAMemberOfItsOwn) {
    const Variant value = value_of(R"({"s":{"schema":{"title":"inner"},"title":"outer"},"n":5})");
    EXPECT_STREQ("inner", value.createPrivateSchema("s").title().c_str());
    const Variant odd = value_of(R"({"s":{"schema":5}})");
    EXPECT_TRUE(odd.createPrivateSchema("s").empty());
    EXPECT_NE(&Schema::Empty, &odd.schema());
}

TEST(SchemaBinding, ThePrivateSchemaMayBeTheUrlOfARegisteredOne) {
    ASSERT_TRUE(import_text(R"({"id":"http://binding.test/private","title":"registered"})"));
    const Variant value = value_of(R"({"s":"http://binding.test/private"})");
    EXPECT_EQ(resolved("http://binding.test/private").get(), &value.createPrivateSchema("s"));
    const Variant unknown = value_of(R"({"s":"http://binding.test/private-unknown"})");
    unknown.attachSchema(schema_of("{\"title\":\"before\"}"));
    EXPECT_EQ(&Schema::Empty, &unknown.createPrivateSchema("s"));
    EXPECT_EQ(&Schema::Empty, &unknown.schema()) << "unbound";
}

TEST(SchemaBinding, WithoutTheMemberNothingChanges) {
    for (const char* text : {"5", "[1]", "null", "\"s\"", "{}", "{\"s\":null}"}) {
        const Variant value = value_of(text);
        const SchemaPtr before(new Schema);
        value.attachSchema(before);
        EXPECT_EQ(&Schema::Empty, &value.createPrivateSchema("s")) << text;
        EXPECT_EQ(before.get(), &value.schema()) << text;
    }
}

TEST(SchemaBinding, AMemberOfAnotherTypeUnbindsTheValue) {
    for (const char* text : {"{\"s\":5}", "{\"s\":true}", "{\"s\":[{}]}", "{\"s\":0.5}"}) {
        const Variant value = value_of(text);
        value.attachSchema(SchemaPtr(new Schema("{\"title\":\"before\"}")));
        EXPECT_EQ(&Schema::Empty, &value.createPrivateSchema("s")) << text;
        EXPECT_EQ(&Schema::Empty, &value.schema()) << text;
    }
}

TEST(SchemaBinding, APrivateSchemaThatFailsItsMetaSchemaIsToldAndLeavesTheOldBinding) {
    ASSERT_TRUE(import_text(
        R"({"id":"http://binding.test/meta","properties":{"title":{"type":"string"}}})"));
    const Variant value = value_of(R"({"s":{"$schema":"http://binding.test/meta","title":5}})");
    const SchemaPtr before(new Schema);
    value.attachSchema(before);
    const CapturedConsole console;
    EXPECT_EQ(&Schema::Empty, &value.createPrivateSchema("s"));
    EXPECT_EQ(before.get(), &value.schema());
    EXPECT_EQ("error reading private schema\n"
              "Schema Validation Error (2): wrong data type(\"integer, expected string\")\n"
              "at: title = 5\n\nviolates schema: \n{\n\t\"type\": \"string\"\n}\n\n\n",
              console.err.text());
    EXPECT_EQ("", console.out.text());
}

TEST(SchemaBinding, APrivateSchemaWithAnIdRegistersItsChildrenButNotItself) {
    const CapturedConsole console;
    const Variant value =
        value_of(R"({"s":{"id":"http://binding.test/own","items":{"id":"#item"}}})");
    value.createPrivateSchema("s");
    EXPECT_EQ("importing schema: http://binding.test/own#item\n", console.out.text());
    EXPECT_EQ(nullptr, resolved("http://binding.test/own"));
}

TEST(SchemaBinding, AValueThatWasCheckedByItsPrivateSchemaGoesWithIt) {
    SchemaPtr schema;
    {
        const Variant value = value_of(R"({"s":{"additionalProperties":false},"n":5})");
        schema = const_cast<Schema*>(&value.createPrivateSchema("s"));
        EXPECT_FALSE(value.validate());
    }
    EXPECT_EQ(1u, schema->use_count());
}
