// SPDX-License-Identifier: MIT
#include "schema/Schema.h"

#include "support/SchemaText.h"
#include "support/SortedText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

using json::Schema;
using json::Type;
using json::Variant;
using test::CapturedConsole;
using test::import_text;
using test::resolved;
using test::schema_of;
using test::SchemaPtr;
using test::sorted_text;
using test::text_of;
using test::value_of;

static_assert(std::has_virtual_destructor_v<Schema>);
static_assert(std::is_base_of_v<qx::IntrusiveObject, Schema>);
static_assert(std::is_copy_constructible_v<Schema>);
static_assert(Schema::UnknownFormat == 0 && Schema::EncryptedFormat == 16);

namespace {

/// What subclasses of a schema see, for tests.
struct SchemaProbe : Schema {
    using Schema::Schema;
    using Schema::operator=;

    using Schema::containsProp;
    using Schema::create_child;
    using Schema::parse_format;
    using Schema::parse_types;
    using Schema::prop;
    using Schema::string_from_type;
    using Schema::string_from_types;
    using Schema::type_from_string;
};

std::string types_of(const Schema& schema) {
    return SchemaProbe::string_from_types(schema.types());
}

constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
constexpr auto kMostUnsigned = std::numeric_limits<std::uint64_t>::max();

} // namespace

// ----- The empty document ------------------------------------------------------------------------

TEST(SchemaLoading, AnEmptyDocumentConstrainsNothing) {
    const Schema schema;
    EXPECT_TRUE(schema.empty());
    EXPECT_EQ(0u, schema.definition().size());
    EXPECT_EQ(Schema::AnyType, schema.types());
    EXPECT_TRUE(schema.complexTypes().empty());
    EXPECT_TRUE(schema.values().empty());
    EXPECT_EQ(Schema::UnknownFormat, schema.stringFormat());
    EXPECT_TRUE(schema.extendedSchemas().empty());
    EXPECT_TRUE(schema.url().empty());
    EXPECT_TRUE(schema.urlContext().empty());
    EXPECT_TRUE(schema.ref().empty());
    EXPECT_EQ(Schema::EmptyPtr, schema.at(0));
    EXPECT_EQ(Schema::EmptyPtr, schema.property("any"));
}

TEST(SchemaLoading, TheSharedSchemasAreDistinctAndEmpty) {
    EXPECT_EQ(nullptr, Schema::NullPtr.get());
    ASSERT_NE(nullptr, Schema::EmptyPtr.get());
    EXPECT_NE(&Schema::Empty, Schema::EmptyPtr.get());
    EXPECT_TRUE(Schema::Empty.empty());
    EXPECT_TRUE(Schema::EmptyPtr->empty());
    EXPECT_EQ(Schema::AnyType, Schema::Empty.types());
}

TEST(SchemaLoading, EveryKeywordHasItsDefault) {
    const SchemaPtr schema = schema_of("{}");
    EXPECT_EQ(kLeast, schema->minimum());
    EXPECT_EQ(kMost, schema->maximum());
    EXPECT_EQ(0, schema->divisibleBy());
    EXPECT_EQ(0u, schema->minItems());
    EXPECT_EQ(kMostUnsigned, schema->maxItems());
    EXPECT_EQ(0u, schema->minStringLength());
    EXPECT_EQ(kMostUnsigned, schema->maxStringLength());
    EXPECT_STREQ("", schema->description().c_str());
    EXPECT_STREQ("", schema->title().c_str());
    EXPECT_STREQ("", schema->format().c_str());
    EXPECT_TRUE(schema->defaultValue().isNull());
    EXPECT_FALSE(schema->isRequired());
    EXPECT_FALSE(schema->exclusiveMinimum());
    EXPECT_FALSE(schema->exclusiveMaximum());
    EXPECT_FALSE(schema->uniqueItems());
}

// ----- Keywords that are read live ---------------------------------------------------------------

TEST(SchemaLoading, EveryLiveKeywordIsReadFromTheDocument) {
    const SchemaPtr schema = schema_of(R"({"minimum":-3,"maximum":9,"divisibleBy":3,"minItems":1,
        "maxItems":4,"minLength":2,"maxLength":8,"description":"what it is","title":"its name",
        "format":"date","default":{"a":1},"required":true,"exclusiveMinimum":true,
        "exclusiveMaximum":true,"uniqueItems":true})");
    EXPECT_EQ(-3, schema->minimum());
    EXPECT_EQ(9, schema->maximum());
    EXPECT_EQ(3, schema->divisibleBy());
    EXPECT_EQ(1u, schema->minItems());
    EXPECT_EQ(4u, schema->maxItems());
    EXPECT_EQ(2u, schema->minStringLength());
    EXPECT_EQ(8u, schema->maxStringLength());
    EXPECT_STREQ("what it is", schema->description().c_str());
    EXPECT_STREQ("its name", schema->title().c_str());
    EXPECT_STREQ("date", schema->format().c_str());
    EXPECT_EQ(R"({"a":1})", sorted_text(schema->defaultValue()));
    EXPECT_TRUE(schema->isRequired());
    EXPECT_TRUE(schema->exclusiveMinimum());
    EXPECT_TRUE(schema->exclusiveMaximum());
    EXPECT_TRUE(schema->uniqueItems());
}

TEST(SchemaLoading, NumbersAreReadAsIntegersWhateverTheyAre) {
    const struct {
        const char* keyword;
        std::int64_t read;
    } rows[] = {{"2.5", 2},  {"-2.5", -2}, {"\"7\"", 7}, {"\"x\"", 0},    {"true", 1},
                {"null", 0}, {"[5]", 0},   {"{}", 0},    {"1e30", kMost}, {"-1e30", kLeast}};
    for (const auto& row : rows) {
        const std::string document = std::string(R"({"minimum":)") + row.keyword +
                                     R"(,"maximum":)" + row.keyword + R"(,"divisibleBy":)" +
                                     row.keyword + R"(,"minLength":)" + row.keyword + "}";
        const SchemaPtr schema = schema_of(document);
        EXPECT_EQ(row.read, schema->minimum()) << row.keyword;
        EXPECT_EQ(row.read, schema->maximum()) << row.keyword;
        EXPECT_EQ(row.read, schema->divisibleBy()) << row.keyword;
        EXPECT_EQ(static_cast<std::uint64_t>(row.read), schema->minStringLength()) << row.keyword;
    }
}

TEST(SchemaLoading, ANegativeCountIsAVeryLargeOne) {
    const SchemaPtr schema =
        schema_of(R"({"minItems":-1,"maxItems":-2,"minLength":-1,"maxLength":-2})");
    EXPECT_EQ(kMostUnsigned, schema->minItems());
    EXPECT_EQ(kMostUnsigned - 1, schema->maxItems());
    EXPECT_EQ(kMostUnsigned, schema->minStringLength());
    EXPECT_EQ(kMostUnsigned - 1, schema->maxStringLength());
}

TEST(SchemaLoading, RequiredDecidesIfItIsABooleanElseOptionalNegated) {
    const struct {
        const char* document;
        bool required;
    } rows[] = {{R"({"required":true})", true},
                {R"({"required":false})", false},
                {R"({"optional":false})", true},
                {R"({"optional":true})", false},
                {R"({"required":true,"optional":true})", true},
                {R"({"required":false,"optional":false})", false},
                {R"({"required":1,"optional":false})", true},
                {R"({"required":1})", false},
                {R"({"required":"yes","optional":true})", false},
                {R"({"optional":0})", false},
                {R"({"optional":null})", false}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.required, schema_of(row.document)->isRequired()) << row.document;
    }
}

TEST(SchemaLoading, FlagsTakeTheBooleanOfWhateverStandsThere) {
    const struct {
        const char* value;
        bool read;
    } rows[] = {{"1", true},   {"0", false},      {"\"\"", false}, {"\"false\"", true},
                {"[]", false}, {"[false]", true}, {"null", false}, {"0.5", true}};
    for (const auto& row : rows) {
        const SchemaPtr schema = schema_of(std::string(R"({"exclusiveMinimum":)") + row.value +
                                           R"(,"exclusiveMaximum":)" + row.value +
                                           R"(,"uniqueItems":)" + row.value + "}");
        EXPECT_EQ(row.read, schema->exclusiveMinimum()) << row.value;
        EXPECT_EQ(row.read, schema->exclusiveMaximum()) << row.value;
        EXPECT_EQ(row.read, schema->uniqueItems()) << row.value;
    }
}

TEST(SchemaLoading, TextsAreTheTextOfWhateverStandsThere) {
    const SchemaPtr schema = schema_of(R"({"title":5,"description":[1,2],"format":null})");
    EXPECT_STREQ("5", schema->title().c_str());
    EXPECT_STREQ("[1,2]", schema->description().c_str());
    EXPECT_STREQ("", schema->format().c_str());
}

TEST(SchemaLoading, ADocumentThatChangesChangesTheLiveKeywordsOnly) {
    Variant document = value_of(R"({"minimum":1,"type":"integer","format":"date"})");
    const SchemaPtr schema(new Schema(document, qx::Url()));
    const boost::intrusive_ptr<json::Object> object = std::as_const(document).objectPtr();
    object->setValue("minimum", Variant(5));
    object->setValue("title", Variant("new"));
    object->setValue("type", Variant("string"));
    object->setValue("format", Variant("time"));
    EXPECT_EQ(5, schema->minimum());
    EXPECT_STREQ("new", schema->title().c_str());
    EXPECT_STREQ("time", schema->format().c_str());
    EXPECT_EQ("integer", types_of(*schema));
    EXPECT_EQ(Schema::DateFormat, schema->stringFormat());
}

TEST(SchemaLoading, ReadingAKeywordInternsNothingOnceTheWordsAreKnown) {
    const SchemaPtr schema = schema_of("{}");
    schema->minimum();
    const std::size_t before = json::Object::key_pool().size();
    schema->minimum();
    schema->maximum();
    schema->divisibleBy();
    schema->minItems();
    schema->maxItems();
    schema->minStringLength();
    schema->maxStringLength();
    schema->description();
    schema->title();
    schema->format();
    schema->defaultValue();
    schema->isRequired();
    schema->exclusiveMinimum();
    schema->exclusiveMaximum();
    schema->uniqueItems();
    EXPECT_EQ(before, json::Object::key_pool().size());
}

// ----- "id" and "$ref" ---------------------------------------------------------------------------

TEST(SchemaLoading, IdAndRefAreKeptAsTheDocumentWroteThem) {
    const SchemaPtr schema = schema_of(R"({"id":"a/b.json","$ref":"#c"})");
    EXPECT_EQ("a/b.json", text_of(schema->url()));
    EXPECT_EQ("#c", text_of(schema->ref()));
    EXPECT_EQ("", text_of(schema->urlContext()));
}

TEST(SchemaLoading, AnIdOfAnotherTypeIsItsText) {
    EXPECT_EQ("5", text_of(schema_of(R"({"id":5})")->url()));
    EXPECT_EQ("", text_of(schema_of(R"({"id":null})")->url()));
    EXPECT_EQ("[1]", text_of(schema_of(R"({"$ref":[1]})")->ref()));
}

TEST(SchemaLoading, AReferenceLeavesTheOtherKeywordsParsed) {
    const SchemaPtr schema =
        schema_of(R"({"$ref":"http://loading.test/nowhere","type":"string","minimum":3})");
    EXPECT_EQ("string", types_of(*schema));
    EXPECT_EQ(3, schema->minimum());
}

TEST(SchemaLoading, TheAbsoluteUrlIsTheIdAgainstTheContext) {
    const struct {
        const char* id;
        const char* context;
        const char* absolute;
    } rows[] = {{"#entry", "http://loading.test/base", "http://loading.test/base#entry"},
                {"other", "http://loading.test/base", "http://loading.test/other"},
                {"http://other.test/x", "http://loading.test/base", "http://other.test/x"},
                {"relative.json", "", "relative.json"},
                {"", "", ""},
                {"", "http://loading.test/base", "http://loading.test/base"},
                {"#0", "http://loading.test/m?args", "http://loading.test/m?args#0"}};
    for (const auto& row : rows) {
        const Schema schema(value_of(std::string(R"({"id":")") + row.id + "\"}"), row.context);
        EXPECT_EQ(row.absolute, text_of(schema.absoluteUrl())) << row.id << " % " << row.context;
    }
}

// ----- "type" and "disallow" ---------------------------------------------------------------------

TEST(SchemaLoading, TypeTakesATextOrAListOfTextsAndObjects) {
    const struct {
        const char* type;
        const char* types;
        std::size_t complex;
    } rows[] = {{R"("null")", "null", 0},
                {R"("boolean")", "boolean", 0},
                {R"("integer")", "integer", 0},
                {R"("number")", "number", 0},
                {R"("string")", "string", 0},
                {R"("object")", "object", 0},
                {R"("array")", "array", 0},
                {R"("any")", "any", 0},
                {R"(null)", "any", 0},
                {R"([])", "void", 0},
                {R"("unknown")", "void", 0},
                {R"("String")", "void", 0},
                {R"("")", "void", 0},
                {R"(5)", "void", 0},
                {R"(true)", "void", 0},
                {R"({"type":"string"})", "void", 0},
                {R"(["string","null"])", "null,string", 0},
                {R"(["string","unknown"])", "string", 0},
                {R"(["any","string"])", "any", 0},
                {R"(["string",{"type":"object"}])", "string", 1},
                {R"([{"type":"object"},{},"array"])", "array", 2},
                {R"([5,null,["integer"],"string"])", "string", 0}};
    for (const auto& row : rows) {
        const SchemaPtr schema = schema_of(std::string(R"({"type":)") + row.type + "}");
        EXPECT_EQ(row.types, types_of(*schema)) << row.type;
        EXPECT_EQ(row.complex, schema->complexTypes().size()) << row.type;
    }
}

TEST(SchemaLoading, ComplexTypesAreLoadedInOrder) {
    const SchemaPtr schema =
        schema_of(R"({"type":[{"type":"array"},"null",{"type":"object","title":"second"}]})");
    ASSERT_EQ(2u, schema->complexTypes().size());
    EXPECT_EQ("array", types_of(*schema->complexTypes()[0]));
    EXPECT_STREQ("second", schema->complexTypes()[1]->title().c_str());
}

TEST(SchemaLoading, TheBitOfAKindIsItsType) {
    const struct {
        const char* name;
        Type type;
        unsigned long mask;
    } rows[] = {{"null", Type::Null, 0x01},       {"boolean", Type::Boolean, 0x02},
                {"integer", Type::Integer, 0x04}, {"number", Type::Real, 0x08},
                {"string", Type::String, 0x10},   {"object", Type::Object, 0x20},
                {"array", Type::List, 0x40}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.mask, SchemaProbe::type_from_string(row.name).to_ulong()) << row.name;
        EXPECT_EQ(row.name, SchemaProbe::string_from_type(row.type));
    }
    EXPECT_EQ(0x7Fu, SchemaProbe::type_from_string("any").to_ulong());
    constexpr Schema::TypeSet any = Schema::AnyType; // known at compile time
    EXPECT_EQ(0x7Fu, any.to_ulong());
    EXPECT_EQ(0u, SchemaProbe::type_from_string("else").to_ulong());
    EXPECT_EQ(0u, SchemaProbe::type_from_string("else").to_ulong()) << "also when asked again";
    EXPECT_EQ(0u, SchemaProbe::type_from_string("").to_ulong());
}

TEST(SchemaLoading, ASetOfKindsIsWrittenByItsNames) {
    EXPECT_EQ("any", SchemaProbe::string_from_types(Schema::AnyType));
    EXPECT_EQ("void", SchemaProbe::string_from_types(Schema::TypeSet()));
    EXPECT_EQ("null,boolean,integer,number,string,object",
              SchemaProbe::string_from_types(Schema::TypeSet(0x3F)));
    EXPECT_EQ("integer,array", SchemaProbe::string_from_types(Schema::TypeSet(0x44)));
}

// A "disallow" that built its objects would register the one with an id.
TEST(SchemaLoading, DisallowDropsTheObjectsOfItsList) {
    const CapturedConsole console;
    const Schema schema(R"({"disallow":["string",{"id":"http://loading.test/disallowed"}]})");
    EXPECT_EQ("", console.out.text());
    EXPECT_EQ(nullptr, resolved("http://loading.test/disallowed"));
    const Variant strings = value_of(R"(["a"])");
    EXPECT_FALSE(schema.validate(strings).ok());
    EXPECT_TRUE(schema.validate(value_of("[{}]")).ok());
}

// ----- "enum" ------------------------------------------------------------------------------------

TEST(SchemaLoading, EnumSharesTheListOfTheDocument) {
    const Variant document = value_of(R"({"enum":[3,4]})");
    const Schema schema(document, qx::Url());
    EXPECT_EQ(&document["enum"].listValue(), &schema.values());
    EXPECT_EQ(2u, schema.values().size());
}

TEST(SchemaLoading, AnEnumOfAnotherTypeIsAnEmptyListThatChecksNothing) {
    for (const char* document : {R"({"enum":5})", R"({"enum":null})", R"({"enum":{"a":1}})"}) {
        const SchemaPtr schema = schema_of(document);
        EXPECT_TRUE(schema->values().empty()) << document;
        EXPECT_TRUE(schema->validate(Variant(7)).ok()) << document;
    }
    EXPECT_EQ(&Variant::EmptyList.listValue(), &schema_of("{}")->values());
}

// ----- "properties" and "additionalProperties" ---------------------------------------------------

TEST(SchemaLoading, PropertiesHoldASchemaPerKey) {
    const SchemaPtr schema =
        schema_of(R"({"properties":{"a":{"type":"string"},"b":{"type":"null"},"c":5}})");
    EXPECT_EQ("string", types_of(*schema->property("a")));
    EXPECT_EQ("null", types_of(*schema->property("b")));
    ASSERT_NE(nullptr, schema->property("c"));
    EXPECT_TRUE(schema->property("c")->empty());
    EXPECT_NE(Schema::EmptyPtr, schema->property("c")) << "a schema of its own";
    EXPECT_EQ(Schema::EmptyPtr, schema->property("d"));
}

TEST(SchemaLoading, PropertiesOfAnotherTypeAreIgnored) {
    for (const char* document : {R"({"properties":[{"a":{}}]})", R"({"properties":"a"})"}) {
        EXPECT_EQ(Schema::EmptyPtr, schema_of(document)->property("a")) << document;
    }
}

TEST(SchemaLoading, ARepeatedPropertyIsWhatStandsLast) {
    const CapturedConsole console;
    const Schema schema(
        R"({"id":"http://loading.test/repeated","properties":
            {"a":{"id":"#first","type":"string"},"a":{"id":"#second","type":"integer"}}})");
    EXPECT_EQ("integer", types_of(*schema.property("a")));
    EXPECT_EQ("importing schema: http://loading.test/repeated#first\n"
              "importing schema: http://loading.test/repeated#second\n",
              console.out.text())
        << "both are loaded";
}

TEST(SchemaLoading, AdditionalPropertiesTakesABooleanOrAnObject) {
    EXPECT_EQ(Schema::NullPtr, schema_of(R"({"additionalProperties":false})")->property("a"));
    EXPECT_EQ(Schema::EmptyPtr, schema_of(R"({"additionalProperties":true})")->property("a"));
    EXPECT_EQ(Schema::EmptyPtr, schema_of(R"({"additionalProperties":0})")->property("a"));
    EXPECT_EQ(Schema::EmptyPtr, schema_of(R"({"additionalProperties":null})")->property("a"));
    EXPECT_EQ("string",
              types_of(*schema_of(R"({"additionalProperties":{"type":"string"}})")->property("a")));
}

// ----- "items" and "additionalItems" -------------------------------------------------------------

namespace {

/// The types at the indices 0 to 3, "-" where nothing may stand.
std::string items_of(const Schema& schema) {
    std::string text;
    for (std::size_t i = 0; i < 4; ++i) {
        const SchemaPtr item = schema.at(i);
        text += (i > 0 ? " " : "") + (item ? types_of(*item) : "-");
    }
    return text;
}

} // namespace

TEST(SchemaLoading, ItemsAndAdditionalItemsWorkTogether) {
    const struct {
        const char* document;
        const char* items;
    } rows[] = {
        {R"({"items":{"type":"string"}})", "string string string string"},
        {R"({"items":[{"type":"string"},{"type":"null"}]})", "string null - -"},
        {R"({"items":[{"type":"string"}],"additionalItems":true})", "string string string string"},
        {R"({"items":[{"type":"string"},{"type":"null"}],"additionalItems":{"type":"array"}})",
         "string null array array"},
        {R"({"items":{"type":"string"},"additionalItems":{"type":"null"}})",
         "string null null null"},
        {R"({"items":{"type":"string"},"additionalItems":false})", "string - - -"},
        {R"({"items":[{"type":"string"}],"additionalItems":"no"})", "string - - -"},
        {R"({"items":[{"type":"string"},5,"x"]})", "string any any -"},
        {R"({"items":[]})", "- - - -"},
        {R"({"items":[],"additionalItems":{"type":"null"}})", "null null null null"},
        {R"({"items":5})", "any any any any"},
        {R"({"items":null})", "any any any any"},
        {R"({})", "any any any any"},
        {R"({"additionalItems":false})", "- - - -"},
        {R"({"additionalItems":{"type":"null"}})", "null null null null"}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.items, items_of(*schema_of(row.document))) << row.document;
    }
}

// ----- "format" ----------------------------------------------------------------------------------

TEST(SchemaLoading, EveryFormatHasItsNumber) {
    const char* words[] = {
        "regex", "date-time", "date", "time",  "utc-millisec", "ip-address", "ipv6",   "color",
        "style", "phone",     "uri",  "email", "host-name",    "utc-second", "base64", "encrypted"};
    int number = 1;
    for (const char* word : words) {
        EXPECT_EQ(number, SchemaProbe::parse_format(word)) << word;
        EXPECT_EQ(number, schema_of(std::string(R"({"format":")") + word + "\"}")->stringFormat());
        ++number;
    }
    for (const char* word : {"", "Date", "hostname", "else", "else"}) {
        EXPECT_EQ(Schema::UnknownFormat, SchemaProbe::parse_format(word)) << word;
    }
    EXPECT_EQ(Schema::UnknownFormat, schema_of(R"({"format":3})")->stringFormat());
}

// ----- "extends" ---------------------------------------------------------------------------------

TEST(SchemaLoading, ExtendsTakesTheTextOfWhateverStandsThereAsAUrl) {
    const auto extended = [](const char* value) {
        const SchemaPtr schema = schema_of(std::string(R"({"extends":)") + value + "}");
        std::string texts;
        for (const qx::Url& url : schema->extendedSchemas()) {
            texts += text_of(url) + ";";
        }
        return texts;
    };
    EXPECT_EQ("#a;", extended(R"("#a")"));
    EXPECT_EQ("#a;http://x.test/b;#a;", extended(R"(["#a","http://x.test/b","#a"])"));
    EXPECT_EQ("5;;{\"type\":\"string\"};", extended(R"([5,null,{"type":"string"}])"));
    EXPECT_EQ("{\"type\":\"string\"};", extended(R"({"type":"string"})"));
    EXPECT_EQ("7;", extended("7"));
    EXPECT_EQ("", extended("0"));
    EXPECT_EQ("", extended("null"));
    EXPECT_EQ("", extended("\"\""));
    EXPECT_EQ("", extended("[]"));
}

// ----- "dependencies" and "requires" -------------------------------------------------------------

TEST(SchemaLoading, DependenciesThatAreObjectsAreSchemasAndRegistered) {
    const CapturedConsole console;
    const Schema schema(R"({"id":"http://loading.test/dependencies","dependencies":
        {"a":{"id":"#a","properties":{"b":{"type":"string"}}},"c":["d"],"e":5}})");
    EXPECT_EQ("importing schema: http://loading.test/dependencies#a\n", console.out.text());
    EXPECT_FALSE(schema.validate(value_of(R"({"a":1,"b":2})")).ok());
    EXPECT_FALSE(schema.validate(value_of(R"({"c":1})")).ok());
    EXPECT_TRUE(schema.validate(value_of(R"({"e":1})")).ok());
}

TEST(SchemaLoading, RequiresIsNeitherRegisteredNorChecked) {
    const CapturedConsole console;
    const Schema schema(R"({"requires":{"id":"http://loading.test/requires","type":"null"}})");
    EXPECT_EQ("", console.out.text());
    EXPECT_EQ(nullptr, resolved("http://loading.test/requires"));
}

TEST(SchemaLoading, UnknownWordsStayVisibleInTheDefinitionAlone) {
    const SchemaPtr schema = schema_of(R"({"pattern":"^a","links":[],"x":1})");
    EXPECT_TRUE(schema->definition().contains("pattern"));
    EXPECT_TRUE(schema->validate(Variant("b")).ok());
    EXPECT_FALSE(schema->empty());
}

// ----- Children and their order ------------------------------------------------------------------

// The children must be registered before the parent is complete, each after what lies below it and
// before the next one.
TEST(SchemaLoading, ChildrenWithAnIdAreRegisteredInTheOrderOfTheKeywords) {
    const CapturedConsole console;
    const Schema schema(R"({"id":"http://loading.test/order",
        "dependencies":{"k":{"id":"#dependency"}},
        "additionalItems":{"id":"#tail"},
        "items":[{"id":"#first","items":{"id":"#grandchild"}},{"id":"#second"}],
        "additionalProperties":{"id":"#other"},
        "properties":{"p":{"id":"#property","type":[{"id":"#alternative"}]}},
        "type":["object","array",{"id":"#complex","properties":{"q":{"id":"#deep"}}}]})");
    EXPECT_EQ("importing schema: http://loading.test/order#deep\n"
              "importing schema: http://loading.test/order#complex\n"
              "importing schema: http://loading.test/order#alternative\n"
              "importing schema: http://loading.test/order#property\n"
              "importing schema: http://loading.test/order#other\n"
              "importing schema: http://loading.test/order#grandchild\n"
              "importing schema: http://loading.test/order#first\n"
              "importing schema: http://loading.test/order#second\n"
              "importing schema: http://loading.test/order#tail\n"
              "importing schema: http://loading.test/order#dependency\n",
              console.out.text());
    EXPECT_EQ("", console.err.text());
    EXPECT_EQ(nullptr, resolved("http://loading.test/order")) << "the root registers by import";
}

TEST(SchemaLoading, AChildTakesTheAbsoluteUrlOfItsParentAsContext) {
    const CapturedConsole console;
    const Schema schema(R"({"id":"http://loading.test/dir/root","properties":
        {"a":{"properties":{"b":{"id":"leaf"}}},"c":{"id":"sub/","items":{"id":"leaf"}}}})");
    EXPECT_EQ("http://loading.test/dir/root", text_of(schema.property("a")->urlContext()));
    EXPECT_EQ("http://loading.test/dir/root",
              text_of(schema.property("a")->property("b")->urlContext()));
    EXPECT_NE(nullptr, resolved("http://loading.test/dir/leaf"));
    EXPECT_NE(nullptr, resolved("http://loading.test/dir/sub/leaf"));
    EXPECT_EQ(resolved("http://loading.test/dir/leaf"), schema.property("a")->property("b"));
}

TEST(SchemaLoading, AChildThatRefersToItsDocumentIsLoadedBeforeTheDocumentIsThere) {
    EXPECT_TRUE(import_text(
        R"({"id":"http://loading.test/tree","items":{"$ref":"http://loading.test/tree"}})"));
    const SchemaPtr tree = resolved("http://loading.test/tree");
    EXPECT_TRUE(tree->validate(value_of("[[],[[]]]")).ok());
}

TEST(SchemaLoading, ACreatedChildIsLoadedAndRegisteredAtOnce) {
    const CapturedConsole console;
    const SchemaProbe parent(R"({"id":"http://loading.test/create"})");
    const Variant document = value_of(R"({"id":"#made","items":{"id":"#below"}})");
    const SchemaPtr child = parent.create_child(document, true);
    EXPECT_EQ("importing schema: http://loading.test/create#below\n"
              "importing schema: http://loading.test/create#made\n",
              console.out.text());
    EXPECT_EQ(child, resolved("http://loading.test/create#made"));
    EXPECT_EQ(&document.objectValue(), &child->definition());
    parent.create_child(value_of(R"({"id":"#silent"})"), false);
    EXPECT_EQ(nullptr, resolved("http://loading.test/create#silent"));
}

TEST(SchemaLoading, ParsedTypesTellTheirComplexOnesOnlyWhenAsked) {
    const SchemaProbe parent("{}");
    const Variant types = value_of(R"(["string",{"type":"null"}])");
    std::vector<SchemaPtr> complex;
    EXPECT_EQ(0x10u, parent.parse_types(types, &complex).to_ulong());
    ASSERT_EQ(1u, complex.size());
    EXPECT_EQ("null", types_of(*complex[0]));
    EXPECT_EQ(0x10u, parent.parse_types(types, nullptr).to_ulong());
}

// A document of this depth must neither exhaust the stack when it is loaded, nor when it is checked
// against, nor when it goes.
TEST(SchemaLoading, AVeryDeepDocumentNeedsNoDeepStack) {
    constexpr int depth = 30000;
    std::string text;
    for (int i = 0; i < depth; ++i) {
        text += R"({"items":)";
    }
    text += "{}";
    text.append(depth, '}');
    Variant value = Variant::newList();
    for (int i = 0; i < depth; ++i) {
        Variant outer = Variant::newList();
        outer << value;
        value = outer;
    }
    const SchemaPtr schema = schema_of(text);
    EXPECT_TRUE(schema->validate(value).ok());
    SchemaPtr level = schema;
    int levels = 0;
    while (!level->empty()) {
        level = level->at(0);
        ++levels;
    }
    EXPECT_EQ(depth, levels);
}

// ----- Constructors and assignment ---------------------------------------------------------------

TEST(SchemaLoading, ASchemaSharesTheObjectOfItsValue) {
    const Variant document = value_of(R"({"type":"string"})");
    const Schema schema(document, "http://loading.test/context");
    EXPECT_EQ(&document.objectValue(), &schema.definition());
    EXPECT_EQ("http://loading.test/context", text_of(schema.urlContext()));
}

TEST(SchemaLoading, AValueThatIsNoObjectGivesTheSharedEmptyObject) {
    for (const Variant& value : {Variant(5), Variant("x"), Variant(), Variant::newList()}) {
        const Schema schema(value, qx::Url());
        EXPECT_EQ(&Variant::EmptyObject.objectValue(), &schema.definition());
        EXPECT_TRUE(schema.empty());
    }
}

TEST(SchemaLoading, ATextThatIsNoObjectGivesANewEmptyObject) {
    const std::string list = "[1]";
    std::istringstream broken("{\"type\":");
    const Schema schemas[] = {Schema("5"), Schema(list), Schema("{\"type\":"), Schema(&broken),
                              Schema("")};
    for (const Schema& schema : schemas) {
        EXPECT_TRUE(schema.empty());
        EXPECT_NE(&Variant::EmptyObject.objectValue(), &schema.definition());
        EXPECT_TRUE(schema.validate(Variant(5)).ok()) << "accepts everything";
    }
}

TEST(SchemaLoading, TextsAreTakenFromBytesStringsAndStreams) {
    const std::string text = R"({"type":"integer"})";
    std::istringstream stream(text);
    EXPECT_EQ("integer", types_of(Schema(text.c_str())));
    EXPECT_EQ("integer",
              types_of(Schema((text + "garbage").c_str(), static_cast<int>(text.size()))));
    EXPECT_EQ("integer", types_of(Schema(text)));
    EXPECT_EQ("integer", types_of(Schema(&stream)));
}

TEST(SchemaLoading, ACopyChecksTheDependenciesToo) {
    const SchemaPtr source =
        schema_of(R"({"dependencies":{"names":["more"],"schema":{"maximum":-1}}})");
    const Schema copy(*source);
    EXPECT_TRUE(copy.validate(value_of(R"({"other":1})")).ok());
    EXPECT_EQ(Schema::DependentValueMissing, copy.validate(value_of(R"({"names":1})")).code);
    EXPECT_EQ(Schema::ValueOutOfBounds, copy.validate(value_of(R"({"schema":1})")).code);
}

TEST(SchemaLoading, ACopySharesDefinitionAndChildren) {
    const CapturedConsole console;
    const Schema source(
        value_of(R"({"id":"x","$ref":"","extends":"#e","type":["array",{"type":"object"}],
            "enum":[1],"properties":{"a":{}},"additionalProperties":{"type":"null"},
            "items":[{}],"disallow":"string","dependencies":{"k":["l"],"m":{"title":"t"}},
            "format":"date"})"),
        "http://loading.test/copy");
    source.validate(Variant("fault"));
    const std::size_t texts = console.out.text().size();
    const Schema copy(source);
    Schema assigned;
    assigned = source;
    for (const Schema* schema : {&copy, static_cast<const Schema*>(&assigned)}) {
        EXPECT_EQ(&source.definition(), &schema->definition());
        EXPECT_EQ("x", text_of(schema->url()));
        EXPECT_EQ("http://loading.test/copy", text_of(schema->urlContext()));
        EXPECT_EQ("#e", text_of(schema->extendedSchemas().at(0)));
        EXPECT_EQ("array", types_of(*schema));
        EXPECT_EQ(source.complexTypes(), schema->complexTypes());
        EXPECT_EQ(&source.values(), &schema->values());
        EXPECT_EQ(source.property("a"), schema->property("a"));
        EXPECT_EQ(source.property("else"), schema->property("else"));
        EXPECT_EQ(source.at(0), schema->at(0));
        EXPECT_EQ(Schema::NullPtr, schema->at(1));
        EXPECT_EQ(Schema::DateFormat, schema->stringFormat());
        EXPECT_TRUE(schema->validationResult().ok()) << "the last result isn't copied";
    }
    EXPECT_EQ(texts, console.out.text().size()) << "nothing is registered again";
}

TEST(SchemaLoading, AssigningASchemaToItselfOrFromItsChildIsSafe) {
    const SchemaPtr schema = schema_of(R"({"items":{"items":{"type":"string"}}})");
    Schema& alias = *schema;
    *schema = alias;
    EXPECT_EQ("string", types_of(*schema->at(0)->at(0)));
    *schema = *schema->at(0);
    EXPECT_EQ("string", types_of(*schema->at(0)));
}

// Clearing first would be the evident way; then the first document's children would be gone.
TEST(SchemaLoading, AssigningAValueKeepsWhatTheEarlierDocumentAppended) {
    const SchemaPtr schema = schema_of(R"({"id":"old","title":"old","extends":"#old",
        "type":["string",{"title":"old"}],"enum":[1],"properties":{"a":{"title":"old"}},
        "additionalProperties":{"title":"old"},"items":[{"title":"old"}],
        "dependencies":{"a":["x"]},"format":"date"})");
    *schema = value_of(R"({"extends":"#new","type":["null",{"title":"new"}],
        "properties":{"b":{"title":"new"}},"items":[{"title":"new"}]})");
    EXPECT_EQ("", text_of(schema->url()));
    EXPECT_STREQ("", schema->title().c_str());
    EXPECT_EQ("null", types_of(*schema));
    EXPECT_EQ(Schema::UnknownFormat, schema->stringFormat());
    ASSERT_EQ(2u, schema->extendedSchemas().size());
    EXPECT_EQ("#old", text_of(schema->extendedSchemas()[0]));
    EXPECT_EQ("#new", text_of(schema->extendedSchemas()[1]));
    EXPECT_EQ(2u, schema->complexTypes().size());
    EXPECT_EQ(1u, schema->values().size());
    EXPECT_STREQ("old", schema->property("a")->title().c_str());
    EXPECT_STREQ("new", schema->property("b")->title().c_str());
    EXPECT_STREQ("old", schema->property("else")->title().c_str());
    EXPECT_STREQ("old", schema->at(0)->title().c_str());
    EXPECT_STREQ("new", schema->at(1)->title().c_str());
}

TEST(SchemaLoading, AssigningAPartOfItsOwnDocumentIsSafe) {
    const SchemaPtr schema = schema_of(R"({"part":{"type":"string"},"type":"null"})");
    *schema = schema->definition()["part"];
    EXPECT_EQ("string", types_of(*schema));
}

// ----- What a definition answers for a missing key -----------------------------------------------

TEST(SchemaLoading, APropertyOfTheDocumentIsReadByItsName) {
    const SchemaProbe schema(R"({"a":5})");
    EXPECT_EQ(5, schema.prop("a").integerValue());
    EXPECT_TRUE(schema.prop("b").isNull());
    EXPECT_EQ(5, schema.prop("a", Variant(7)).integerValue());
    EXPECT_EQ(7, schema.prop("b", Variant(7)).integerValue());
    EXPECT_TRUE(schema.containsProp("a"));
    EXPECT_FALSE(schema.containsProp("b"));
}

TEST(SchemaLoading, ADocumentThatIsBoundTakesItsMissingKeywordsFromItsSchema) {
    Variant document = value_of(R"({"type":"integer"})");
    document.attachSchema(schema_of(R"({"properties":{"title":{"default":"untitled"},
        "minimum":{"default":3},"default":{"type":"integer","minimum":4}}})"));
    const Schema schema(document, qx::Url());
    EXPECT_STREQ("untitled", schema.title().c_str());
    EXPECT_EQ(4, schema.autoValue().integerValue());
    EXPECT_EQ(kLeast, schema.minimum()) << "the numbers have a default of their own";
}
