// SPDX-License-Identifier: MIT
#include "schema/Schema.h"

#include "support/SchemaText.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using json::Schema;
using json::Variant;
using test::CapturedConsole;
using test::import_text;
using test::resolved;
using test::schema_of;
using test::SchemaPtr;
using test::text_of;
using test::value_of;

// The registry belongs to the process: every test has URLs of its own.

// ----- The system's URLs -------------------------------------------------------------------------

TEST(SchemaRegistry, TheBaseUrlIsAbsoluteAndHasAnEmptyPath) {
    EXPECT_EQ("http://schemas.gatecast.example", text_of(Schema::applicationSchemaBaseUrl()));
    EXPECT_TRUE(Schema::applicationSchemaBaseUrl().absolute());
    EXPECT_EQ(&Schema::applicationSchemaBaseUrl(), &Schema::applicationSchemaBaseUrl());
}

TEST(SchemaRegistry, TheMetaSchemaIsTheOneThatTheDocumentNames) {
    const char* draft03 = "http://json-schema.org/draft-03/schema#";
    EXPECT_EQ("http://x.test/meta",
              text_of(Schema::metaSchemaUrl(value_of(R"({"$schema":"http://x.test/meta"})"))));
    EXPECT_EQ(draft03, text_of(Schema::metaSchemaUrl(value_of("{}"))));
    EXPECT_EQ(draft03, text_of(Schema::metaSchemaUrl(value_of(R"({"$schema":""})"))));
    EXPECT_EQ(draft03, text_of(Schema::metaSchemaUrl(value_of(R"({"$schema":null})"))));
    EXPECT_EQ(draft03, text_of(Schema::metaSchemaUrl(Variant(5))));
    EXPECT_EQ("5", text_of(Schema::metaSchemaUrl(value_of(R"({"$schema":5})"))));
}

// ----- resolve -----------------------------------------------------------------------------------

TEST(SchemaRegistry, AnUnknownUrlGivesNull) {
    EXPECT_EQ(Schema::NullPtr, Schema::resolve("http://registry.test/unknown", qx::Url()));
    EXPECT_EQ(Schema::NullPtr, Schema::resolve("#unknown", "http://registry.test/unknown"));
    EXPECT_EQ(Schema::NullPtr, Schema::resolve(qx::Url(), qx::Url()));
}

TEST(SchemaRegistry, WithoutAContextTheTextIsTheKeyAsItStands) {
    ASSERT_TRUE(import_text(R"({"id":"registry-test-relative"})"));
    EXPECT_NE(nullptr, resolved("registry-test-relative"));
    EXPECT_EQ(nullptr, resolved("./registry-test-relative"));
}

TEST(SchemaRegistry, AReferenceIsMadeAbsoluteAgainstItsContext) {
    ASSERT_TRUE(import_text(
        R"({"id":"http://registry.test/dir/base","items":[{"id":"#0"},{"id":"other"}]})"));
    const qx::Url context("http://registry.test/dir/base");
    const SchemaPtr base = resolved("http://registry.test/dir/base");
    ASSERT_NE(nullptr, base);
    EXPECT_EQ(base->at(0), Schema::resolve("#0", context));
    EXPECT_EQ(base->at(0), resolved("http://registry.test/dir/base#0"));
    EXPECT_EQ(base->at(1), Schema::resolve("other", context));
    EXPECT_EQ(base, Schema::resolve("http://registry.test/dir/base", "http://else.test/"));
}

TEST(SchemaRegistry, LookupsCompareTheWholeTextCaseByCase) {
    ASSERT_TRUE(import_text(R"({"id":"http://registry.test/Case?a=b#c"})"));
    EXPECT_NE(nullptr, resolved("http://registry.test/Case?a=b#c"));
    for (const char* other :
         {"http://registry.test/case?a=b#c", "http://registry.test/Case?a=b",
          "http://registry.test/Case", "HTTP://registry.test/Case?a=b#c",
          "http://registry.test/Case?a=b#", "http://registry.test/./Case?a=b#c"}) {
        EXPECT_EQ(nullptr, resolved(other)) << other;
    }
}

TEST(SchemaRegistry, NoFragmentIsWalkedIntoADocument) {
    ASSERT_TRUE(
        import_text(R"({"id":"http://registry.test/walk","properties":{"a":{"type":"string"}}})"));
    EXPECT_EQ(nullptr, resolved("http://registry.test/walk#/properties/a"));
    EXPECT_EQ(nullptr, resolved("http://registry.test/walk#"));
}

TEST(SchemaRegistry, ALookupLeavesThePoolAndTheRegistryAlone) {
    resolved("http://registry.test/first-look");
    const std::size_t before = json::Object::key_pool().size();
    resolved("http://registry.test/never-imported");
    EXPECT_EQ(before, json::Object::key_pool().size());
}

// ----- import: one schema ------------------------------------------------------------------------

TEST(SchemaRegistry, AnImportUnderAUrlTellsIt) {
    const CapturedConsole console;
    const SchemaPtr schema(new Schema);
    Schema::import("http://registry.test/told", schema);
    EXPECT_EQ("importing schema: http://registry.test/told\n", console.out.text());
    EXPECT_EQ("", console.err.text());
    EXPECT_EQ(schema, resolved("http://registry.test/told"));
}

TEST(SchemaRegistry, TheLastImportUnderAUrlWinsWithAWarning) {
    const CapturedConsole console;
    const SchemaPtr first(new Schema);
    const SchemaPtr second(new Schema);
    Schema::import("http://registry.test/twice", first);
    Schema::import("http://registry.test/twice", second);
    EXPECT_EQ("importing schema: http://registry.test/twice\n"
              "importing schema: http://registry.test/twice\n",
              console.out.text());
    EXPECT_EQ("warning: overwriting schema http://registry.test/twice\n", console.err.text());
    EXPECT_EQ(second, resolved("http://registry.test/twice"));
    EXPECT_EQ(1u, first->use_count()) << "the registry let go of it";
    EXPECT_EQ(2u, second->use_count());
}

TEST(SchemaRegistry, AnOverwrittenSchemaChangesWhatRefersToIt) {
    ASSERT_TRUE(import_text(R"({"id":"http://registry.test/target","type":"string"})"));
    const SchemaPtr referring = schema_of(R"({"$ref":"http://registry.test/target"})");
    EXPECT_TRUE(referring->validate(Variant("a")).ok());
    ASSERT_TRUE(import_text(R"({"id":"http://registry.test/target","type":"integer"})"));
    EXPECT_FALSE(referring->validate(Variant("a")).ok());
    EXPECT_TRUE(referring->validate(Variant(1)).ok());
}

TEST(SchemaRegistry, ASchemaIsImportedUnderItsAbsoluteUrl) {
    const CapturedConsole console;
    const SchemaPtr schema(
        new Schema(value_of(R"({"id":"#own"})"), "http://registry.test/context"));
    EXPECT_TRUE(Schema::import(schema));
    EXPECT_EQ("importing schema: http://registry.test/context#own\n", console.out.text());
    EXPECT_EQ(schema, resolved("http://registry.test/context#own"));
}

TEST(SchemaRegistry, ASchemaWithoutAnIdIsRefusedWithItsDocument) {
    const CapturedConsole console;
    EXPECT_FALSE(Schema::import(SchemaPtr(new Schema(R"({"type":"string"})"))));
    EXPECT_EQ("", console.out.text());
    EXPECT_EQ("warning: could not import, missing 'id'\n{\n\t\"type\": \"string\"\n}\n\n",
              console.err.text());
}

TEST(SchemaRegistry, ANullPointerIsNotImported) { EXPECT_FALSE(Schema::import(SchemaPtr())); }

// ----- import: documents -------------------------------------------------------------------------

TEST(SchemaRegistry, ADocumentIsImportedChildrenFirst) {
    const CapturedConsole console;
    EXPECT_TRUE(Schema::import(
        value_of(R"({"id":"http://registry.test/parent","items":{"id":"#child"}})")));
    EXPECT_EQ("importing schema: http://registry.test/parent#child\n"
              "importing schema: http://registry.test/parent\n",
              console.out.text());
    EXPECT_EQ("", console.err.text());
}

TEST(SchemaRegistry, ADocumentWithoutAnIdIsRefusedButItsChildrenStay) {
    const CapturedConsole console;
    EXPECT_FALSE(Schema::import(value_of(R"({"items":{"id":"http://registry.test/orphan"}})")));
    EXPECT_EQ("importing schema: http://registry.test/orphan\n", console.out.text());
    EXPECT_EQ(0u,
              console.err.text().find("warning: could not import, missing 'id'\n{\n\t\"items\""));
    EXPECT_NE(nullptr, resolved("http://registry.test/orphan"));
}

TEST(SchemaRegistry, ValuesThatAreNoDocumentAreRefusedWithoutAWord) {
    const CapturedConsole console;
    for (const Variant& value :
         {Variant(), Variant(5), Variant(true), Variant(1.5), Variant("{\"id\":\"x\"}")}) {
        EXPECT_FALSE(Schema::import(value));
    }
    EXPECT_EQ("", console.out.text());
    EXPECT_EQ("", console.err.text());
}

TEST(SchemaRegistry, AListIsImportedUpToTheFirstThatFails) {
    const CapturedConsole console;
    EXPECT_TRUE(Schema::import(value_of("[]")));
    EXPECT_TRUE(Schema::import(
        value_of(R"([{"id":"http://registry.test/l1"},[],[[{"id":"http://registry.test/l2"}]]])")));
    EXPECT_FALSE(Schema::import(value_of(
        R"([{"id":"http://registry.test/l3"},[5,{"id":"http://registry.test/l4"}],
            {"id":"http://registry.test/l5"}])")));
    EXPECT_EQ("importing schema: http://registry.test/l1\n"
              "importing schema: http://registry.test/l2\n"
              "importing schema: http://registry.test/l3\n",
              console.out.text());
    EXPECT_EQ(nullptr, resolved("http://registry.test/l4"));
    EXPECT_EQ(nullptr, resolved("http://registry.test/l5"));
}

TEST(SchemaRegistry, AVeryDeepListOfDocumentsNeedsNoDeepStack) {
    Variant list = value_of("[5]");
    for (int i = 0; i < 30000; ++i) {
        Variant outer = Variant::newList();
        outer << list;
        list = outer;
    }
    EXPECT_FALSE(Schema::import(list));
}

// ----- import: the check against the meta-schema -------------------------------------------------

TEST(SchemaRegistry, ADocumentWhoseMetaSchemaIsUnknownIsTakenUnchecked) {
    EXPECT_TRUE(import_text(
        R"({"$schema":"http://registry.test/no-meta","id":"http://registry.test/unchecked"})"));
    EXPECT_NE(nullptr, resolved("http://registry.test/unchecked"));
}

TEST(SchemaRegistry, ADocumentThatItsMetaSchemaRefusesLeavesNothing) {
    ASSERT_TRUE(import_text(
        R"({"id":"http://registry.test/meta","properties":{"title":{"type":"string"}}})"));
    const CapturedConsole console;
    EXPECT_FALSE(Schema::import(value_of(R"({"$schema":"http://registry.test/meta","title":5})")));
    EXPECT_EQ("", console.out.text());
    const std::string text = console.err.text();
    const std::string document =
        value_of(R"({"$schema":"http://registry.test/meta","title":5})").charsValue();
    EXPECT_EQ("while importing: " + document +
                  "\n\nSchema Validation Error (2): wrong data type(\"integer, expected string\")\n"
                  "at: title = 5\n\nviolates schema: \n{\n\t\"type\": \"string\"\n}\n\n",
              text);
}

TEST(SchemaRegistry, AChildOfARefusedDocumentIsNotRegistered) {
    ASSERT_TRUE(
        import_text(R"({"id":"http://registry.test/strict","additionalProperties":false})"));
    EXPECT_FALSE(import_text(R"({"$schema":"http://registry.test/strict",
        "id":"http://registry.test/refused","items":{"id":"http://registry.test/refused-item"}})"));
    EXPECT_EQ(nullptr, resolved("http://registry.test/refused"));
    EXPECT_EQ(nullptr, resolved("http://registry.test/refused-item"));
}

// ----- import: streams ---------------------------------------------------------------------------

TEST(SchemaRegistry, AStreamIsReadToItsEnd) {
    const CapturedConsole console;
    std::istringstream stream(R"([{"id":"http://registry.test/s1"},
        {"id":"http://registry.test/s2"}]  )");
    EXPECT_TRUE(Schema::import(&stream));
    EXPECT_NE(nullptr, resolved("http://registry.test/s2"));
}

TEST(SchemaRegistry, AStreamThatDoesNotParseIsRefusedWithTheParsersText) {
    const CapturedConsole console;
    std::istringstream stream("{\"id\":x}");
    EXPECT_FALSE(Schema::import(&stream));
    json::JsonParser parser;
    std::istringstream same("{\"id\":x}");
    EXPECT_FALSE(parser.parse(&same, -1));
    EXPECT_EQ(std::string(parser.lastError().c_str()) + "\n\n", console.err.text());
    EXPECT_NE(std::string::npos, console.err.text().find("<<<<<<<<"));
}

TEST(SchemaRegistry, AStreamThatEndsTooEarlyIsRefusedWithoutAWord) {
    const CapturedConsole console;
    std::istringstream stream("{\"id\":\"http://registry.test/cut\"");
    EXPECT_FALSE(Schema::import(&stream));
    EXPECT_EQ("", console.err.text());
}

// ----- at and property ---------------------------------------------------------------------------

TEST(SchemaRegistry, AnIndexIsTakenFromAnyInteger) {
    const SchemaPtr schema = schema_of(R"({"items":[{"title":"0"},{"title":"1"}]})");
    EXPECT_EQ(schema->at(1), (*schema)[1]);
    EXPECT_EQ(schema->at(1), (*schema)[std::size_t{1}]);
    EXPECT_EQ(schema->at(1), (*schema)[1U]);
    EXPECT_EQ(Schema::NullPtr, (*schema)[-1]) << "widened with its sign";
    EXPECT_EQ(Schema::NullPtr, (*schema)[5]);
    EXPECT_EQ(schema_of("{}")->at(0), (*schema_of("{}"))[-1]);
}

TEST(SchemaRegistry, APropertyIsFoundByTextAndByPooledKey) {
    const SchemaPtr schema = schema_of(R"({"properties":{"key":{"title":"found"}}})");
    EXPECT_STREQ("found", schema->property("key")->title().c_str());
    EXPECT_EQ(schema->property("key"), schema->property(qx::IntrusiveString("key")));
    EXPECT_EQ(schema->property("key"), schema->property(json::Object::key_pool().intern("key")));
    EXPECT_EQ(schema->property("key"), (*schema)["key"]);
    EXPECT_EQ(schema->property("key"), (*schema)[qx::IntrusiveString("key")]);
    EXPECT_EQ(Schema::EmptyPtr, schema->property(boost::intrusive_ptr<qx::IntrusiveString>()))
        << "the empty key";
}

TEST(SchemaRegistry, ChildrenAreLookedUpThroughReferences) {
    ASSERT_TRUE(import_text(R"({"id":"http://registry.test/through","items":[{"title":"item"}],
        "properties":{"p":{"title":"property"}},"additionalProperties":false})"));
    const SchemaPtr schema = schema_of(R"({"$ref":"http://registry.test/through",
        "items":{"title":"own"},"properties":{"p":{"title":"own"}}})");
    EXPECT_STREQ("item", schema->at(0)->title().c_str());
    EXPECT_EQ(Schema::NullPtr, schema->at(1));
    EXPECT_STREQ("property", schema->property("p")->title().c_str());
    EXPECT_EQ(Schema::NullPtr, schema->property("q"));
}

TEST(SchemaRegistry, AReferenceIsTakenAgainstTheContextOfItsNode) {
    ASSERT_TRUE(import_text(R"({"id":"http://registry.test/local","items":{"$ref":"#here"},
        "properties":{"p":{"id":"#here","items":[{"title":"reached"}]}}})"));
    const SchemaPtr item = resolved("http://registry.test/local")->at(0);
    ASSERT_NE(nullptr, item->at(0));
    EXPECT_STREQ("reached", item->at(0)->title().c_str());
}

TEST(SchemaRegistry, AReferenceThatLeadsNowhereHasNoChildren) {
    const SchemaPtr schema = schema_of(R"({"$ref":"http://registry.test/nowhere",
        "items":{},"properties":{"p":{}}})");
    EXPECT_EQ(Schema::NullPtr, schema->at(0));
    EXPECT_EQ(Schema::NullPtr, schema->property("p"));
}

TEST(SchemaRegistry, ReferencesThatLeadInACircleHaveNoChildren) {
    ASSERT_TRUE(import_text(
        R"({"id":"http://registry.test/circle1","$ref":"http://registry.test/circle2"})"));
    ASSERT_TRUE(import_text(
        R"({"id":"http://registry.test/circle2","$ref":"http://registry.test/circle1"})"));
    EXPECT_EQ(Schema::NullPtr, resolved("http://registry.test/circle1")->at(0));
    EXPECT_EQ(Schema::NullPtr, resolved("http://registry.test/circle1")->property("p"));
}

// ----- Joined and merged URLs --------------------------------------------------------------------

TEST(SchemaRegistry, TheUrlOfAnArgumentIsTheSameByBothRoads) {
    const qx::Url base =
        Schema::applicationSchemaBaseUrl() / "rpc/methods/" / "open door" / "?args";
    for (const char* tag : {"#0", "#1", "#17"}) {
        EXPECT_EQ(text_of(base / tag), text_of(qx::Url(tag) % base)) << tag;
    }
}

TEST(SchemaRegistry, CountsWhatItHolds) {
    ASSERT_TRUE(import_text(R"({"id":"http://registry.test/counted"})"));
    const std::size_t count = Schema::registeredCount();
    ASSERT_TRUE(import_text(R"({"id":"http://registry.test/counted"})"));
    EXPECT_EQ(count, Schema::registeredCount());
    ASSERT_TRUE(
        import_text(R"({"id":"http://registry.test/counted2","items":[{"id":"#a"},{"id":"#b"}]})"));
    EXPECT_EQ(count + 3, Schema::registeredCount());
}
