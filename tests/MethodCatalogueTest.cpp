// SPDX-License-Identifier: MIT
#include "rpc/Conversation.h"

#include "support/RecordingConversation.h"
#include "support/SchemaText.h"
#include "support/SortedText.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using json::Conversation;
using json::Request;
using json::Response;
using json::Schema;
using json::Variant;
using test::CapturedConsole;
using test::import_text;
using test::resolved;
using test::SchemaPtr;
using test::sorted_text;
using test::text_of;
using test::value_of;

namespace {

// The registry belongs to the process: every test has methods of its own.

struct CatalogueConversation : test::Recording<Conversation> {
    using Conversation::importMethodSchema;
    using Conversation::methodNames;
    using Conversation::printArgHelp;

    std::string names() const {
        std::string text;
        for (const qx::IntrusiveString& name : methodNames) {
            text += std::string(name.c_str()) + ";";
        }
        return text;
    }
    std::string help(const char* method) const {
        std::ostringstream out;
        printMethodHelp(out, method);
        return out.str();
    }
};

/// Takes one record over; what that says is dropped.
bool import_method(CatalogueConversation& conversation, const std::string& record) {
    const CapturedConsole console;
    return conversation.importMethodSchema(value_of(record));
}

std::string definition_of(const qx::Url& url) {
    const SchemaPtr schema = Schema::resolve(url, qx::Url());
    return schema ? sorted_text(Variant(schema->definition())) : "none";
}

const std::string kBase = "http://schemas.gatecast.example/rpc/methods/";
const std::string kLine = "----------------------------------------\n";

int judge(const char* method, const char* arguments) {
    return Request(method, value_of(arguments), 1).validateArgs().code;
}

} // namespace

// ----- The two documents -------------------------------------------------------------------------

TEST(MethodCatalogue, TheSchemaOfARecordLiesUnderTheBase) {
    EXPECT_EQ("http://schemas.gatecast.example/rpc/method.json",
              text_of(Conversation::methodSchemaUrl()));
    EXPECT_EQ(&Conversation::methodSchemaUrl(), &Conversation::methodSchemaUrl());
}

TEST(MethodCatalogue, ARecordBecomesASchemaOfItsResult) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.result","description":"what it does",
        "result":["boolean","null"],"params":[]})"));
    EXPECT_EQ("cat.result;", conversation.names());
    EXPECT_EQ(R"({"description":"what it does","id":")" + kBase +
                  R"(cat.result?result","title":"cat.result return value",)" +
                  R"("type":["boolean","null"]})",
              definition_of(Response::resultSchemaUrl("cat.result")));
    EXPECT_TRUE(Response(Variant(true), 1).validateResult("cat.result").ok());
    EXPECT_EQ(Schema::WrongDataType, Response(Variant("x"), 1).validateResult("cat.result").code);
}

TEST(MethodCatalogue, ARecordBecomesASchemaOfItsArguments) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.args","description":"d",
        "result":"null","params":[
            {"type":"real","min":1,"max":5,"description":"first","default":2},
            {"type":"string","list":["a","b"],"unit":"m"}]})"));
    EXPECT_EQ(R"({"description":"d","id":")" + kBase + R"(cat.args?args","items":[)" +
                  R"({"default":2,"description":"first","id":"#0","maximum":5,"minimum":1,)" +
                  R"("title":"cat.args argument #0","type":"number"},)" +
                  R"({"enum":["a","b"],"id":"#1","title":"cat.args argument #1",)" +
                  R"("type":"string","unit":"m"}],"title":"cat.args arguments","type":"array"})",
              definition_of(Request::argsSchemaUrl("cat.args")));
    EXPECT_EQ(Schema::NoError, judge("cat.args", R"([2.5,"a"])"));
    EXPECT_EQ(Schema::NoError, judge("cat.args", "[1]")) << "fewer arguments pass";
    EXPECT_EQ(Schema::NoError, judge("cat.args", "[]"));
    EXPECT_EQ(Schema::ValueOutOfBounds, judge("cat.args", "[0]"));
    EXPECT_EQ(Schema::ValueOutOfBounds, judge("cat.args", "[6]"));
    EXPECT_EQ(Schema::WrongDataType, judge("cat.args", "[null]"));
    EXPECT_EQ(Schema::InvalidValue, judge("cat.args", R"([1,"c"])"));
    EXPECT_EQ(Schema::SchemaNotDefinedForArrayItem, judge("cat.args", R"([1,"a",3])"));
}

TEST(MethodCatalogue, OneArgumentIsFoundByItself) {
    CatalogueConversation conversation;
    EXPECT_TRUE(
        import_method(conversation, R"({"method":"cat.one","params":[{"type":"integer"},{}]})"));
    const SchemaPtr all = Schema::resolve(Request::argsSchemaUrl("cat.one"), qx::Url());
    const SchemaPtr first = Schema::resolve(Request::argsSchemaUrl("cat.one", 0), qx::Url());
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(all->at(0), first);
    EXPECT_EQ(all->at(1), Schema::resolve(Request::argsSchemaUrl("cat.one", 1), qx::Url()));
    EXPECT_EQ(nullptr, Schema::resolve(Request::argsSchemaUrl("cat.one", 2), qx::Url()));
    Request request("cat.one", Variant::EmptyList, 1);
    EXPECT_FALSE(request.appendArg("no integer"));
    EXPECT_TRUE(request.appendArg("anything"));
    EXPECT_FALSE(request.appendArg("one too many"));
    EXPECT_EQ(3u, request.arguments().size());
}

TEST(MethodCatalogue, ImportsAreToldInTheirOrder) {
    CatalogueConversation conversation;
    const CapturedConsole console;
    EXPECT_TRUE(
        conversation.importMethodSchema(value_of(R"({"method":"cat.told","params":[{},{}]})")));
    EXPECT_EQ("importing schema: " + kBase + "cat.told?result\n" + "importing schema: " + kBase +
                  "cat.told?args#0\n" + "importing schema: " + kBase + "cat.told?args#1\n" +
                  "importing schema: " + kBase + "cat.told?args\n",
              console.out.text());
    EXPECT_EQ("", console.err.text());
}

TEST(MethodCatalogue, TheWordsOfAParameterReplaceThoseOfASchema) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.words","params":[
        {"min":3,"minimum":1,"max":7,"maximum":9,"list":[5],"enum":[4],"id":"x","title":"y"},
        {"minimum":1,"maximum":9,"enum":[4]},{"type":["real"]}]})"));
    const SchemaPtr all = Schema::resolve(Request::argsSchemaUrl("cat.words"), qx::Url());
    EXPECT_EQ(R"({"enum":[5],"id":"#0","maximum":7,"minimum":3,"title":"cat.words argument #0"})",
              sorted_text(Variant(all->at(0)->definition())));
    EXPECT_EQ(R"({"enum":[4],"id":"#1","maximum":9,"minimum":1,"title":"cat.words argument #1"})",
              sorted_text(Variant(all->at(1)->definition())));
    EXPECT_TRUE(all->at(2)->types().none()) << "\"real\" is a word of its own only";
}

TEST(MethodCatalogue, ARealResultIsAnUnknownWordThatTakesNothing) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.real","result":"real"})"));
    EXPECT_EQ(Schema::WrongDataType, Response(Variant(1.5), 1).validateResult("cat.real").code);
}

TEST(MethodCatalogue, AnEmptyListOfParametersTakesNoArgument) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.none","params":[]})"));
    EXPECT_EQ(Schema::NoError, judge("cat.none", "[]"));
    EXPECT_EQ(Schema::SchemaNotDefinedForArrayItem, judge("cat.none", "[1]"));
}

TEST(MethodCatalogue, MissingParametersTakeAnyArguments) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.open"})"));
    EXPECT_EQ(Schema::NoError, judge("cat.open", R"([1,"a",null])"));
    EXPECT_TRUE(Response(Variant(5), 1).validateResult("cat.open").ok());
    EXPECT_EQ(kLine + "cat.open ()\n\t\n\n", conversation.help("cat.open"));
}

TEST(MethodCatalogue, ParametersThatAreNoListNeitherCrashNorGrow) {
    CatalogueConversation conversation;
    const struct {
        const char* params;
        const char* items;
    } rows[] = {{"\"abc\"", R"([{"id":"#0","title":"cat.odd argument #0"}])"},
                {R"({"a":1,"b":2})", R"([{"id":"#0","title":"cat.odd argument #0"}])"},
                {"5", "5"},
                {"true", "true"},
                {"\"\"", "\"\""},
                {"{}", "{}"},
                {"[5,\"x\"]", R"([{"id":"#0","title":"cat.odd argument #0"},)"
                              R"({"id":"#1","title":"cat.odd argument #1"}])"}};
    for (const auto& row : rows) {
        import_method(conversation,
                      std::string(R"({"method":"cat.odd","params":)") + row.params + "}");
        const SchemaPtr schema = Schema::resolve(Request::argsSchemaUrl("cat.odd"), qx::Url());
        ASSERT_NE(nullptr, schema) << row.params;
        EXPECT_EQ(row.items, sorted_text(schema->definition()["items"])) << row.params;
        conversation.help("cat.odd");
    }
}

TEST(MethodCatalogue, TheRecordStaysAsThePeerSentIt) {
    CatalogueConversation conversation;
    const std::string record = R"({"description":"d","method":"cat.kept","params":
        [{"list":[1],"max":3,"min":1,"type":"real"}],"result":[{"type":"null"}]})";
    const Variant entry = value_of(record);
    const CapturedConsole console;
    EXPECT_TRUE(conversation.importMethodSchema(entry));
    EXPECT_EQ(sorted_text(record), sorted_text(entry));
    // Nor does a write to the record reach the schemas.
    Variant written(entry);
    written["params"][0]["min"] = 99;
    written["result"][0]["type"] = "string";
    EXPECT_EQ(Schema::NoError, judge("cat.kept", "[1]"));
    EXPECT_TRUE(Response(Variant(), 1).validateResult("cat.kept").ok());
}

// ----- Names -------------------------------------------------------------------------------------

TEST(MethodCatalogue, ANameThatArrivesTwiceStandsThereTwiceAndTheLastRecordHolds) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.twice","params":[]})"));
    const CapturedConsole console;
    EXPECT_TRUE(
        conversation.importMethodSchema(value_of(R"({"method":"cat.twice","params":[{}]})")));
    EXPECT_EQ("cat.twice;cat.twice;", conversation.names());
    EXPECT_EQ("warning: overwriting schema " + kBase + "cat.twice?result\n" +
                  "warning: overwriting schema " + kBase + "cat.twice?args\n",
              console.err.text());
    EXPECT_EQ(Schema::NoError, judge("cat.twice", "[1]"));
}

TEST(MethodCatalogue, ARecordWithoutAMethodHasAnEmptyName) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"result":"null"})"));
    EXPECT_TRUE(import_method(conversation, "5"));
    EXPECT_EQ(";;", conversation.names());
    EXPECT_NE(nullptr, Schema::resolve(Request::argsSchemaUrl(""), qx::Url()));
    EXPECT_EQ("http://schemas.gatecast.example/rpc/methods/?args",
              text_of(Request::argsSchemaUrl("")));
}

TEST(MethodCatalogue, NamesEnterTheUrlsAsTheyStand) {
    const struct {
        const char* method;
        const char* url;
    } rows[] = {{"cat/slash", "cat/slash?args"}, {"/cat", "cat?args"},
                {"cat.q?b", "cat.q?b?args"},     {"cat blank", "cat blank?args"},
                {"../cat", "../cat?args"},       {"\xC3\xA4", "\xC3\xA4?args"}};
    CatalogueConversation conversation;
    for (const auto& row : rows) {
        EXPECT_EQ(kBase + row.url, text_of(Request::argsSchemaUrl(row.method)));
        Variant record = value_of(R"({"params":[{"type":"null"}]})");
        record["method"] = row.method;
        const CapturedConsole console;
        EXPECT_TRUE(conversation.importMethodSchema(record)) << row.method;
        EXPECT_EQ(Schema::NoError, judge(row.method, "[null]")) << row.method;
        EXPECT_EQ(Schema::WrongDataType, judge(row.method, "[1]")) << row.method;
    }
    EXPECT_EQ(Schema::SchemaNotFound, judge("cat.q", "[1]")) << "\"cat.q?b\" is another method";
    EXPECT_EQ(Schema::SchemaNotFound, judge("slash", "[1]"));
}

// ----- The check of a record ---------------------------------------------------------------------

// "validating" would be the evident repair; searches of logs would find nothing any more.
TEST(MethodCatalogue, ARecordThatItsSchemaRefusesStaysUnknown) {
    // The schema of records is one for the process: here it takes everything but one name.
    ASSERT_TRUE(import_text(R"({"id":"http://schemas.gatecast.example/rpc/method.json",
        "dependencies":{"cat.refuse":{"properties":{"method":{"type":"null"}}}}})"));
    CatalogueConversation conversation;
    const Variant entry = value_of(R"({"method":"cat.refused","cat.refuse":1})");
    const CapturedConsole console;
    EXPECT_FALSE(conversation.importMethodSchema(entry));
    EXPECT_EQ("error validing list_method entry:\n"
              "Schema Validation Error (2): wrong data type(\"string, expected null\")\n"
              "at: method = \"cat.refused\"\n\nviolates schema: \n{\n\t\"type\": \"null\"\n}\n\n\n",
              console.err.text());
    EXPECT_EQ("", console.out.text());
    EXPECT_EQ("", conversation.names());
    EXPECT_EQ(nullptr, Schema::resolve(Request::argsSchemaUrl("cat.refused"), qx::Url()));
    EXPECT_EQ(resolved("http://schemas.gatecast.example/rpc/method.json").get(), &entry.schema());
    EXPECT_TRUE(conversation.importMethodSchema(value_of(R"({"method":"cat.taken"})")));
    EXPECT_EQ("cat.taken;", conversation.names());
    import_text(R"({"id":"http://schemas.gatecast.example/rpc/method.json"})");
}

// ----- Help --------------------------------------------------------------------------------------

TEST(MethodCatalogue, TheHelpOfAMethodHasSixLines) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.help","description":"Helps.",
        "result":"null","params":[{"type":"integer","min":1,"description":"how much"}]})"));
    EXPECT_EQ(kLine + "cat.help (integer)\n"
                      "\tHelps.\n"
                      "\n"
                      "\t@param \thow much (integer)\n"
                      "\t\t{\"minimum\":1}\n",
              conversation.help("cat.help"));
}

TEST(MethodCatalogue, TypesOfArgumentsAreJoinedWithoutABlank) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.types","params":[{"type":"real"},
        {},{"type":["string","null"]},{"type":"unheard"},{"list":["a",1]}]})"));
    EXPECT_EQ(kLine + "cat.types (number,any,null,string,void,any)\n\t\n\n"
                      "\t@param \t (number)\n"
                      "\t@param \t (any)\n"
                      "\t@param \t (null,string)\n"
                      "\t@param \t (void)\n"
                      "\t@param \t [\"a\",1]\n",
              conversation.help("cat.types"));
}

TEST(MethodCatalogue, AnUnknownMethodHasNoHelp) {
    const CatalogueConversation conversation;
    EXPECT_EQ("", conversation.help("cat.unknown"));
}

TEST(MethodCatalogue, TheHelpOfAllMethodsComesInTheirOrder) {
    CatalogueConversation conversation;
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.all2","params":[]})"));
    EXPECT_TRUE(import_method(conversation, R"({"method":"cat.all1","params":[]})"));
    std::ostringstream out;
    conversation.printMethodHelp(out);
    EXPECT_EQ(kLine + "cat.all2 ()\n\t\n\n" + kLine + "cat.all1 ()\n\t\n\n", out.str());
}

TEST(MethodCatalogue, ASchemaOfTheApplicationsOwnIsShownAsFarAsItGoes) {
    ASSERT_TRUE(import_text(R"({"id":")" + kBase +
                            R"(cat.foreign?args","items":{"type":"string","title":"t"},
                            "additionalItems":false})"));
    const CatalogueConversation conversation;
    EXPECT_EQ(kLine + "cat.foreign (string,void)\n\t\n\n"
                      "\t@param \t (string)\n"
                      "\t@param \t (void)\n",
              conversation.help("cat.foreign"));
}

TEST(MethodCatalogue, TheHelpOfAnArgumentHasALabelAndADescriptionIfWanted) {
    const CatalogueConversation conversation;
    const SchemaPtr schema = test::schema_of(R"({"type":"string","description":"d","title":"t",
        "id":"i","enum":[],"list":[1],"default":"x"})");
    std::ostringstream out;
    conversation.printArgHelp(out, "label", schema, false);
    conversation.printArgHelp(out, "label", schema, true);
    conversation.printArgHelp(out, "label", nullptr, true);
    EXPECT_EQ("\tlabel  (string)\n\t\t{\"default\":\"x\"}\n"
              "\tlabel \td (string)\n\t\t{\"default\":\"x\"}\n"
              "\tlabel \t (void)\n",
              out.str());
}

// ----- The answer to "list_methods" --------------------------------------------------------------

TEST(MethodCatalogue, TheAnswerIsTakenOverAndItsHelpPrinted) {
    CatalogueConversation conversation;
    conversation.open();
    const CapturedConsole console;
    conversation.receive(R"({"id":1,"result":[{"method":"cat.a","description":"A.",
        "result":"null","params":[]},{"method":"cat.b","params":[{"type":"null"}]}]})");
    EXPECT_EQ("cat.a;cat.b;", conversation.names());
    EXPECT_EQ("importing schema: " + kBase + "cat.a?result\nimporting schema: " + kBase +
                  "cat.a?args\nimporting schema: " + kBase + "cat.b?result\nimporting schema: " +
                  kBase + "cat.b?args#0\nimporting schema: " + kBase + "cat.b?args\n" + kLine +
                  "cat.a ()\n\tA.\n\n" + kLine + "cat.b (null)\n\t\n\n\t@param \t (null)\n",
              console.out.text());
    EXPECT_EQ("", console.err.text());
}

TEST(MethodCatalogue, FromThenOnCallsAreJudged) {
    CatalogueConversation conversation;
    conversation.open();
    const CapturedConsole console;
    conversation.receive(
        R"({"id":1,"result":[{"method":"cat.call","result":"boolean","params":
            [{"type":"integer","min":1}]}]})");
    conversation.call("cat.call", 5);
    EXPECT_EQ("", console.err.text());
    const std::string request = sorted_text(conversation.call("cat.call", 0));
    EXPECT_NE(std::string::npos, console.err.text().find("warning: json validation failed\n"));
    EXPECT_EQ(request, conversation.sentText(2)) << "warned about, and sent";
    conversation.call("cat.unknown", 0);
    EXPECT_EQ(4u, conversation.sent.size());
}

TEST(MethodCatalogue, AnErrorOrAnotherMethodIsNotTakenOver) {
    CatalogueConversation conversation;
    conversation.open();
    conversation.call("else", Variant::EmptyList, 7);
    const CapturedConsole console;
    conversation.receive(R"({"id":1,"result":[{"method":"cat.no"}],"error":[5,"broken"]})");
    conversation.receive(R"({"id":7,"result":[{"method":"cat.no"}]})");
    conversation.receive(R"({"id":8,"result":[{"method":"cat.no"}]})");
    conversation.receive(R"({"id":1,"result":5})");
    EXPECT_EQ("", conversation.names());
    EXPECT_EQ("", console.out.text());
}

TEST(MethodCatalogue, ASecondAnswerDoublesTheNames) {
    CatalogueConversation conversation;
    conversation.open();
    const CapturedConsole console;
    const std::string answer = R"({"id":1,"result":[{"method":"cat.again","params":[]}]})";
    conversation.receive(answer);
    conversation.receive(answer);
    EXPECT_EQ("cat.again;cat.again;", conversation.names());
    EXPECT_NE(std::string::npos,
              console.err.text().find("warning: overwriting schema " + kBase + "cat.again?args\n"));
    const std::string help = kLine + "cat.again ()\n\t\n\n";
    const std::string out = console.out.text();
    EXPECT_EQ(help + help, out.substr(out.size() - 2 * help.size()));
}

TEST(MethodCatalogue, ARecordThatIsNoObjectDoesNotStopTheOthers) {
    CatalogueConversation conversation;
    conversation.open();
    const CapturedConsole console;
    conversation.receive(R"({"id":1,"result":[null,[],"x",{"method":"cat.last","params":[]}]})");
    EXPECT_EQ(";;;cat.last;", conversation.names());
    EXPECT_EQ(Schema::SchemaNotDefinedForArrayItem, judge("cat.last", "[1]"));
}
