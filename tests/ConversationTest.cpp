// SPDX-License-Identifier: MIT
#include "rpc/Conversation.h"

#include "support/MethodSchemas.h"
#include "support/RecordingConversation.h"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <limits>
#include <locale>
#include <memory>
#include <numeric>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using json::Conversation;
using json::Request;
using json::Response;
using json::Schema;
using json::Variant;
using test::CapturedStream;
using test::CountingListener;
using test::RecordingConversation;
using test::sorted_text;
using testing::ElementsAre;

static_assert(Conversation::AUTO_ID == -1);
static_assert(Conversation::NO_ID == 0);
static_assert(Conversation::ListMethodsRefId == 1);
static_assert(std::is_same_v<const std::int64_t, decltype(Conversation::AUTO_ID)>);
static_assert(std::is_base_of_v<qx::SignalPublisher, Conversation>);
static_assert(std::is_base_of_v<json::IJsonParserListener, Conversation>);
static_assert(std::is_base_of_v<json::IResponseListener, Conversation>);
static_assert(std::is_abstract_v<Conversation>);
static_assert(std::is_abstract_v<json::IResponseListener>);
static_assert(std::has_virtual_destructor_v<json::IResponseListener>);
static_assert(!std::is_copy_constructible_v<RecordingConversation>);
static_assert(!std::is_copy_assignable_v<RecordingConversation>);
static_assert(std::is_default_constructible_v<RecordingConversation>);

namespace {

/// Notes under its name each time it is called.
class NamedListener : public json::IResponseListener {
public:
    NamedListener(std::string name, std::vector<std::string>& log) : name_(name), log_(log) {}
    bool warningRequestValidation(const Request&, Schema::ValidationResult) override {
        log_.push_back(name_ + " warned");
        return true;
    }
    bool handleResponse(const Request&, const Response&, Schema::ValidationResult) override {
        log_.push_back(name_);
        return true;
    }

private:
    std::string name_;
    std::vector<std::string>& log_;
};

/// A conversation that notes its own listener operations under the name "own".
class LoggingConversation : public RecordingConversation {
public:
    std::vector<std::string> log;
    std::vector<std::string> parseErrors;

    bool warningRequestValidation(const Request&, Schema::ValidationResult) override {
        log.push_back("own warned");
        return true;
    }
    bool handleResponse(const Request&, const Response&, Schema::ValidationResult) override {
        log.push_back("own");
        return true;
    }
    void handleParseError(const qx::IntrusiveString& message) override {
        parseErrors.push_back(message.c_str());
    }
};

std::string joined(const std::vector<std::string>& pieces) {
    return std::accumulate(pieces.begin(), pieces.end(), std::string());
}

} // namespace

namespace {

/// Works before `main`, in whatever order translation units are initialised.
struct CallingAtLoad : RecordingConversation {
    CallingAtLoad() {
        call0("m", AUTO_ID);
        receive(R"({"id":1000,"result":1})");
    }
} callingAtLoad;

} // namespace

// ----- Construction ------------------------------------------------------------------------------

TEST(Conversation, HasOneRootInterfaceAndBeginsWithItsPublisher) {
    RecordingConversation conversation;
    Conversation& base = conversation;
    const qx::IInterface* root = static_cast<json::IJsonParserListener*>(&base);
    EXPECT_EQ(root, static_cast<qx::IInterface*>(static_cast<json::IResponseListener*>(&base)));
    EXPECT_EQ(static_cast<void*>(&base),
              static_cast<void*>(static_cast<qx::SignalPublisher*>(&base)));
}

TEST(Conversation, BeginsWithEmptyTablesAndNoAttachment) {
    const RecordingConversation conversation;
    EXPECT_TRUE(conversation.pendingRequests.empty());
    EXPECT_GE(conversation.pendingRequests.bucket_count(), 11u);
    EXPECT_EQ(1.0F, conversation.pendingRequests.max_load_factor());
    EXPECT_EQ(999, conversation.lastId);
    EXPECT_EQ(nullptr, conversation.binaryAttachment());
    EXPECT_EQ(0, conversation.binaryAttachmentSize());
    EXPECT_TRUE(conversation.methodNames.empty());
    EXPECT_TRUE(conversation.sharedResponseListeners.empty());
    EXPECT_TRUE(conversation.sent.empty());
}

TEST(Conversation, IsItsOwnFirstListener) {
    RecordingConversation conversation;
    EXPECT_THAT(conversation.responseListeners,
                ElementsAre(static_cast<json::IResponseListener*>(&conversation)));
}

TEST(Conversation, PrintsCompactlyWithAutoValues) {
    const RecordingConversation conversation;
    EXPECT_FALSE(conversation.jsonPrinter.isPretty());
    EXPECT_FALSE(conversation.jsonPrinter.ignoreAutoValues());
}

TEST(Conversation, NamesTheSchemaOfMethodDescriptions) {
    const std::string base = static_cast<const char*>(Schema::applicationSchemaBaseUrl());
    EXPECT_EQ(base + "/rpc/method.json", static_cast<const char*>(Conversation::methodSchemaUrl()));
    EXPECT_EQ(&Conversation::methodSchemaUrl(), &Conversation::methodSchemaUrl());
}

TEST(Conversation, SendsNothingWhenItEnds) {
    std::vector<std::string> sent;
    {
        RecordingConversation conversation;
        conversation.whenSent = [&](const std::string& text) { sent.push_back(text); };
        conversation.subscribe("m", 1);
        sent.clear();
    }
    EXPECT_TRUE(sent.empty());
}

// ----- Sending -----------------------------------------------------------------------------------

TEST(Conversation, SendsACallAsOneCompactText) {
    RecordingConversation conversation;
    conversation.call("trigger", "door");
    ASSERT_EQ(1u, conversation.sent.size());
    EXPECT_EQ(R"({"id":1000,"method":"trigger","params":["door"]})", conversation.sentText(0));
    EXPECT_EQ(std::string::npos, conversation.sent[0].find_first_of(" \t\n"));
}

TEST(Conversation, SendsACallInPiecesWhenItIsToldTo) {
    RecordingConversation conversation(false);
    conversation.call("trigger", "door");
    EXPECT_GT(conversation.sent.size(), 1u);
    EXPECT_EQ(R"({"id":1000,"method":"trigger","params":["door"]})",
              sorted_text(joined(conversation.sent)));
    for (const std::string& piece : conversation.sent)
        EXPECT_FALSE(piece.empty());
}

TEST(Conversation, NumbersCallsFrom1000) {
    RecordingConversation conversation;
    EXPECT_EQ(1000, conversation.call("m", 1).referenceId());
    EXPECT_EQ(1001, conversation.call("m", 1, Conversation::AUTO_ID).referenceId());
    EXPECT_EQ(1002, conversation.call0("m").referenceId());
}

// A counter that moved for automatic ids only would give 1000 here.
TEST(Conversation, CountsAnIdOnEveryCallAlsoUnderAFixedId) {
    RecordingConversation conversation;
    conversation.call("m", 1, Conversation::NO_ID);
    EXPECT_EQ(1000, conversation.lastId);
    EXPECT_EQ(1001, conversation.call("m", 1).referenceId());
    conversation.call("m", 1, 101);
    EXPECT_EQ(1002, conversation.lastId);
    conversation.repeat(101);
    conversation.repeat(55);
    EXPECT_EQ(1002, conversation.lastId) << "repeating is no call";
    EXPECT_EQ(1003, conversation.call("m", 1).referenceId());
}

TEST(Conversation, SendsWithoutAnIdAndKeepsTheRequestUnderZero) {
    RecordingConversation conversation;
    conversation.call("first", 1, Conversation::NO_ID);
    conversation.call("second", 2, Conversation::NO_ID);
    EXPECT_EQ(R"({"method":"first","params":[1]})", conversation.sentText(0));
    EXPECT_EQ(R"({"method":"second","params":[2]})", conversation.sentText(1));
    ASSERT_EQ(1u, conversation.pendingRequests.size());
    EXPECT_STREQ("second", conversation.pendingRequests[0].request.methodName().c_str());
}

TEST(Conversation, SendsOtherNegativeIdsAsTheyStand) {
    RecordingConversation conversation;
    conversation.call("m", 1, -7);
    EXPECT_EQ(R"({"id":-7,"method":"m","params":[1]})", conversation.sentText(0));
    EXPECT_TRUE(conversation.isPending(-7));
}

TEST(Conversation, ReplacesThePendingRequestOfAFixedId) {
    RecordingConversation conversation;
    conversation.call("first", 1, 101, true);
    conversation.call("second", 2, 101, false);
    ASSERT_EQ(1u, conversation.pendingRequests.size());
    const RecordingConversation::PendingRequest& pending = conversation.pendingRequests[101];
    EXPECT_EQ(R"({"id":101,"method":"second","params":[2]})", sorted_text(pending.request));
    EXPECT_FALSE(pending.keepAfterResponse);
    conversation.call("third", 3, 101, true);
    EXPECT_TRUE(conversation.pendingRequests[101].keepAfterResponse);
}

TEST(Conversation, GivesTheStoredRequest) {
    RecordingConversation conversation;
    const Request& called = conversation.call("m", 1);
    EXPECT_EQ(&conversation.pendingRequests[1000].request, &called);
    const Request& repeated = conversation.repeat(1000);
    EXPECT_EQ(&called, &repeated);
    for (int i = 0; i < 1000; ++i)
        conversation.call("m", i);
    EXPECT_EQ(R"({"id":1000,"method":"m","params":[1]})", sorted_text(called));
}

TEST(Conversation, TakesParametersAsAListOrAsTheOnlyOne) {
    RecordingConversation conversation;
    Variant list = Variant::newList();
    list << 1 << "b";
    conversation.call("m", list, 5);
    conversation.call("m", Variant::EmptyList, 5);
    conversation.call("m", Variant(), 5);
    conversation.call("m", 2.5, 5);
    EXPECT_EQ(R"({"id":5,"method":"m","params":[1,"b"]})", conversation.sentText(0));
    EXPECT_EQ(R"({"id":5,"method":"m","params":[]})", conversation.sentText(1));
    EXPECT_EQ(R"({"id":5,"method":"m","params":[null]})", conversation.sentText(2));
    EXPECT_EQ(R"({"id":5,"method":"m","params":[2.5]})", conversation.sentText(3));
}

TEST(Conversation, LeavesTheParametersOfTheCallerAlone) {
    RecordingConversation conversation;
    Variant params = Variant::newList();
    params << 1;
    conversation.call("m", params, 5);
    conversation.pendingRequests[5].request.appendArg(2);
    EXPECT_EQ("[1]", sorted_text(params));
    params << 3;
    conversation.repeat(5);
    EXPECT_EQ(R"({"id":5,"method":"m","params":[1,2]})", conversation.sentText(1));
}

TEST(Conversation, CallsWithoutParametersUnderAnIdOfAnyType) {
    RecordingConversation conversation;
    conversation.call0("m");
    conversation.call0("m", Conversation::NO_ID);
    conversation.call0("m", 101, true);
    conversation.call0("m", "102");
    conversation.call0("m", Conversation::AUTO_ID);
    EXPECT_EQ(R"({"id":1000,"method":"m","params":[]})", conversation.sentText(0));
    EXPECT_EQ(R"({"method":"m","params":[]})", conversation.sentText(1));
    EXPECT_EQ(R"({"id":101,"method":"m","params":[]})", conversation.sentText(2));
    EXPECT_EQ(R"({"id":102,"method":"m","params":[]})", conversation.sentText(3));
    EXPECT_EQ(R"({"id":1004,"method":"m","params":[]})", conversation.sentText(4));
    EXPECT_FALSE(conversation.pendingRequests[1000].keepAfterResponse);
    EXPECT_TRUE(conversation.pendingRequests[101].keepAfterResponse);
    EXPECT_FALSE(conversation.pendingRequests[102].keepAfterResponse);
    EXPECT_EQ("[]", sorted_text(Variant::EmptyList));
}

TEST(Conversation, CallsWithTwoAndThreeParametersInOrder) {
    RecordingConversation conversation;
    conversation.call2("m", 1, true, Conversation::NO_ID);
    conversation.call2("m", "a", Variant());
    conversation.call3("m", "a", 2, 3.5, 7, true);
    conversation.call3("m", Variant::EmptyList, 2, false);
    EXPECT_EQ(R"({"method":"m","params":[1,true]})", conversation.sentText(0));
    EXPECT_EQ(R"({"id":1001,"method":"m","params":["a",null]})", conversation.sentText(1));
    EXPECT_EQ(R"({"id":7,"method":"m","params":["a",2,3.5]})", conversation.sentText(2));
    EXPECT_EQ(R"({"id":1003,"method":"m","params":[[],2,false]})", conversation.sentText(3));
    EXPECT_FALSE(conversation.pendingRequests[1001].keepAfterResponse);
    EXPECT_TRUE(conversation.pendingRequests[7].keepAfterResponse);
    conversation.call2("m", 1, 2, 8, true);
    EXPECT_TRUE(conversation.pendingRequests[8].keepAfterResponse);
}

TEST(Conversation, SubscribesByCallsThatAreKept) {
    RecordingConversation conversation;
    conversation.subscribe("m", "p");
    conversation.subscribe("m", "p", 101);
    conversation.subscribe0("m");
    conversation.subscribe0("m", 102);
    conversation.subscribe2("m", "door", true);
    conversation.subscribe2("m", "door", true, 103);
    EXPECT_EQ(R"({"id":1000,"method":"m","params":["p"]})", conversation.sentText(0));
    EXPECT_EQ(R"({"id":101,"method":"m","params":["p"]})", conversation.sentText(1));
    EXPECT_EQ(R"({"id":1002,"method":"m","params":[]})", conversation.sentText(2));
    EXPECT_EQ(R"({"id":102,"method":"m","params":[]})", conversation.sentText(3));
    EXPECT_EQ(R"({"id":1004,"method":"m","params":["door",true]})", conversation.sentText(4));
    EXPECT_EQ(R"({"id":103,"method":"m","params":["door",true]})", conversation.sentText(5));
    for (const long long id : {1000, 101, 1002, 102, 1004, 103}) {
        EXPECT_TRUE(conversation.pendingRequests[id].keepAfterResponse) << id;
    }
}

TEST(Conversation, CompilesAsAnApplicationWritesIt) {
    RecordingConversation conversation;
    const std::string method = "m";
    const qx::IntrusiveString counted("m");
    const Variant value = "m";
    const int id = 5;
    conversation.call("m", "x");
    conversation.call("m", 5);
    conversation.call(method, method);
    conversation.call(counted, 2.5, id);
    conversation.call(value, value, Conversation::NO_ID, true);
    conversation.call0("m");
    conversation.subscribe("m", "p");
    conversation.call2("m", 1, true, Conversation::NO_ID);
    conversation.call3("m", "a", std::string("b"), nullptr);
    const Request& request = conversation.call("last", Conversation::AUTO_ID);
    EXPECT_EQ(R"({"id":1009,"method":"last","params":[-1]})", sorted_text(request));
    EXPECT_EQ(10u, conversation.sent.size());
}

TEST(Conversation, ServesAStaticObjectOfAnApplication) {
    EXPECT_EQ(R"({"id":1000,"method":"m","params":[]})", callingAtLoad.sentText(0));
    EXPECT_TRUE(callingAtLoad.pendingRequests.empty());
}

TEST(Conversation, WarnsOfNoRequestWithoutASchema) {
    LoggingConversation conversation;
    conversation.call("unknown", 1);
    EXPECT_TRUE(conversation.log.empty());
}

TEST(Conversation, WarnsEveryListenerOfARequestThatFailsValidationAndSendsItAllTheSame) {
    test::register_method("conversation.warn");
    RecordingConversation conversation;
    CountingListener listener;
    listener.answer = false;
    conversation.registerListener(&listener);
    const CapturedStream err(std::cerr);
    conversation.call("conversation.warn", 5, 101);
    EXPECT_EQ("warning: json validation failed\n" + conversation.sent.at(0) + "\n", err.text());
    ASSERT_EQ(1u, listener.warnings.size());
    EXPECT_EQ(R"({"id":101,"method":"conversation.warn","params":[5]})",
              sorted_text(listener.warnings[0].request));
    EXPECT_EQ(Schema::WrongDataType, listener.warnings[0].result.code);
    EXPECT_EQ(R"({"id":101,"method":"conversation.warn","params":[5]})", conversation.sentText(0));

    conversation.repeat(101);
    EXPECT_EQ(2u, conversation.sent.size());
    EXPECT_EQ(1u, listener.warnings.size()) << "what is repeated isn't validated again";
}

TEST(Conversation, WarnsOfNoRequestThatPassesValidation) {
    test::register_method("conversation.pass");
    LoggingConversation conversation;
    conversation.call2("conversation.pass", "a", 1);
    conversation.call0("conversation.pass");
    EXPECT_TRUE(conversation.log.empty());
    EXPECT_EQ(2u, conversation.sent.size());
}

TEST(Conversation, RepeatsTheStoredRequestAsItStands) {
    RecordingConversation conversation;
    conversation.call("m", 1, 101, true);
    conversation.pendingRequests[101].request.appendArg("more");
    conversation.repeat(101);
    conversation.repeat(101);
    ASSERT_EQ(3u, conversation.sent.size());
    EXPECT_EQ(R"({"id":101,"method":"m","params":[1,"more"]})", conversation.sentText(1));
    EXPECT_EQ(conversation.sent[1], conversation.sent[2]);
    EXPECT_TRUE(conversation.pendingRequests[101].keepAfterResponse);
}

TEST(Conversation, RepeatsTheLatestRequestWithoutAnId) {
    RecordingConversation conversation;
    conversation.call("m", 1, Conversation::NO_ID);
    conversation.repeat(Conversation::NO_ID);
    EXPECT_EQ(R"({"method":"m","params":[1]})", conversation.sentText(1));
}

TEST(Conversation, LeavesABlankEntryWhenItIsToRepeatAnUnknownId) {
    RecordingConversation conversation;
    const Request& blank = conversation.repeat(55);
    EXPECT_TRUE(blank.empty());
    EXPECT_TRUE(conversation.sent.empty());
    ASSERT_TRUE(conversation.isPending(55));
    EXPECT_TRUE(conversation.pendingRequests[55].request.isNull());
    EXPECT_FALSE(conversation.pendingRequests[55].keepAfterResponse);
    conversation.repeat(55);
    EXPECT_TRUE(conversation.sent.empty());
    EXPECT_EQ(1u, conversation.pendingRequests.size());
}

TEST(Conversation, OpensByListingTheMethodsAndKeepsTheRequest) {
    RecordingConversation conversation;
    conversation.open();
    EXPECT_EQ(R"({"id":1,"method":"list_methods","params":[]})", conversation.sentText(0));
    EXPECT_TRUE(conversation.pendingRequests[1].keepAfterResponse);
    conversation.receive(R"({"id":1,"result":[]})");
    EXPECT_TRUE(conversation.isPending(1));
}

TEST(Conversation, SendsTheSameRequestWhenItIsOpenedAgain) {
    RecordingConversation conversation;
    conversation.open();
    conversation.open();
    ASSERT_EQ(2u, conversation.sent.size());
    EXPECT_EQ(conversation.sent[0], conversation.sent[1]);
    EXPECT_EQ(1u, conversation.pendingRequests.size());
    EXPECT_EQ(1000, conversation.lastId) << "the second one is a repeat";
}

TEST(Conversation, OpensAfreshOverABlankEntry) {
    RecordingConversation conversation;
    conversation.repeat(Conversation::ListMethodsRefId);
    conversation.open();
    EXPECT_EQ(R"({"id":1,"method":"list_methods","params":[]})", conversation.sentText(0));
}

TEST(Conversation, TheQuitRequestIsGoneAfterItsResponse) {
    RecordingConversation conversation;
    conversation.close();
    EXPECT_TRUE(conversation.isPending(0));
    conversation.receive(R"({"result":null})");
    EXPECT_FALSE(conversation.isPending(0));
}

TEST(Conversation, ClosesByQuittingAndChangesNothingElse) {
    RecordingConversation conversation;
    conversation.subscribe("m", 1, 101);
    conversation.close();
    EXPECT_EQ(R"({"method":"quit","params":[]})", conversation.sentText(1));
    EXPECT_TRUE(conversation.isPending(101));
    EXPECT_TRUE(conversation.isPending(0));
    EXPECT_EQ(1u, conversation.responseListeners.size());
    conversation.call("m", 2);
    EXPECT_EQ(3u, conversation.sent.size());
}

TEST(Conversation, HandsATextOfNegativeSizeToTheTransportUpToItsNul) {
    RecordingConversation conversation;
    void* const context = static_cast<Conversation*>(&conversation);
    RecordingConversation::printJsonText(context, "text", -1);
    RecordingConversation::printJsonText(context, "text", 2);
    RecordingConversation::printJsonText(context, "a\0b", 3);
    EXPECT_THAT(conversation.sent, ElementsAre("text", "te", std::string("a\0b", 3)));
}

TEST(Conversation, SendsNoEmptyText) {
    RecordingConversation conversation;
    void* const context = static_cast<Conversation*>(&conversation);
    RecordingConversation::printJsonText(context, "text", 0);
    RecordingConversation::printJsonText(context, "", -1);
    RecordingConversation::printJsonText(context, nullptr, 0);
    EXPECT_TRUE(conversation.sent.empty());
}

TEST(Conversation, SendsTheSameTextWhateverTheLocaleIs) {
    class Grouping : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
    RecordingConversation conversation;
    conversation.call("m", 1234567.5);
    const std::string text = conversation.sentText(0);
    const std::string url = static_cast<const char*>(Request::argsSchemaUrl("m", 12345));
    std::locale::global(before);
    EXPECT_EQ(R"({"id":1000,"method":"m","params":[1234567.5]})", text);
    EXPECT_THAT(url, testing::EndsWith("#12345"));
}

// ----- Receiving ---------------------------------------------------------------------------------

class ConversationReceiving : public testing::Test {
protected:
    ConversationReceiving() { conversation.registerListener(&listener); }

    RecordingConversation conversation;
    CountingListener listener;
};

TEST_F(ConversationReceiving, MatchesAResponseToItsRequest) {
    conversation.call("first", 1);
    conversation.call("second", 2);
    conversation.receive(R"({"id":1001,"result":"b"})");
    conversation.receive(R"({"id":1000,"result":"a"})");
    ASSERT_EQ(2u, listener.responses.size());
    EXPECT_EQ(R"({"id":1001,"method":"second","params":[2]})",
              sorted_text(listener.responses[0].request));
    EXPECT_EQ(R"({"id":1001,"result":"b"})", listener.responseText(0));
    EXPECT_EQ("first", listener.methodOf(1));
}

TEST_F(ConversationReceiving, ForgetsAPlainCallAfterItsResponse) {
    conversation.call("m", 1);
    EXPECT_TRUE(conversation.isPending(1000));
    conversation.receive(R"({"id":1000,"result":1})");
    EXPECT_TRUE(conversation.pendingRequests.empty());
}

TEST_F(ConversationReceiving, DeliversASecondResponseWithABlankRequestAndUnchecked) {
    conversation.call("m", 1);
    conversation.receive(R"({"id":1000,"result":1})");
    conversation.receive(R"({"id":1000,"result":2})");
    ASSERT_EQ(2u, listener.responses.size());
    EXPECT_EQ("m", listener.methodOf(0));
    EXPECT_TRUE(listener.responses[1].request.isNull());
    EXPECT_EQ(2, listener.responses[1].response.result().integerValue());
    EXPECT_EQ(Schema::NoError, listener.responses[1].result.code);
}

TEST_F(ConversationReceiving, KeepsASubscriptionForAnyNumberOfResponses) {
    conversation.subscribe2("subscription", "door", true, 101);
    for (int i = 0; i < 5; ++i) {
        conversation.receive(R"({"id":101,"result":["open"]})");
        EXPECT_TRUE(conversation.isPending(101));
    }
    ASSERT_EQ(5u, listener.responses.size());
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ("subscription", listener.methodOf(i));
        // The stored method is looked up each time, and has no schema.
        EXPECT_EQ(Schema::SchemaNotFound, listener.responses[i].result.code);
    }
}

TEST_F(ConversationReceiving, DeliversAResponseThatFailsValidationWithTheFailingResult) {
    test::register_method("conversation.result");
    conversation.subscribe2("conversation.result", "a", 1, 101);
    conversation.receive(R"({"id":101,"result":true})");
    conversation.receive(R"({"id":101,"result":5})");
    conversation.receive(R"({"id":101,"result":false})");
    ASSERT_EQ(3u, listener.responses.size());
    EXPECT_EQ(Schema::NoError, listener.responses[0].result.code);
    EXPECT_EQ(Schema::WrongDataType, listener.responses[1].result.code);
    EXPECT_EQ(5, listener.responses[1].result.value.integerValue());
    EXPECT_EQ(5, listener.responses[1].response.result().integerValue());
    EXPECT_EQ(Schema::NoError, listener.responses[2].result.code);
    EXPECT_TRUE(conversation.isPending(101));
}

TEST_F(ConversationReceiving, DeliversAnUnknownIdAsValidWithABlankEntryThatGoesAgain) {
    bool blankWhileToldOfIt = false;
    listener.whenHandled = [&](const Request&, const Response&) {
        blankWhileToldOfIt =
            conversation.isPending(77) && conversation.pendingRequests[77].request.empty();
    };
    conversation.receive(R"({"id":77,"result":1})");
    ASSERT_EQ(1u, listener.responses.size());
    EXPECT_TRUE(listener.responses[0].request.empty());
    EXPECT_EQ(Schema::NoError, listener.responses[0].result.code);
    EXPECT_TRUE(listener.responses[0].result.ok());
    EXPECT_TRUE(blankWhileToldOfIt);
    EXPECT_TRUE(conversation.pendingRequests.empty());
}

TEST_F(ConversationReceiving, ChecksAResponseWithoutAnIdAlsoWhenNothingIsStored) {
    conversation.receive(R"({"result":1})");
    ASSERT_EQ(1u, listener.responses.size());
    EXPECT_TRUE(listener.responses[0].request.empty());
    EXPECT_EQ(Schema::SchemaNotFound, listener.responses[0].result.code);
    EXPECT_TRUE(conversation.pendingRequests.empty());
}

TEST_F(ConversationReceiving, MatchesAResponseWithoutAnIdToTheLatestRequestWithoutOne) {
    conversation.call("pause", 1, Conversation::NO_ID);
    conversation.call("trigger", "door", Conversation::NO_ID);
    conversation.receive(R"({"result":true})");
    conversation.receive(R"({"result":true,"id":0})");
    ASSERT_EQ(2u, listener.responses.size());
    EXPECT_EQ("trigger", listener.methodOf(0));
    EXPECT_EQ("", listener.methodOf(1));
}

TEST_F(ConversationReceiving, ReadsTheIdOfAResponseAsAnInteger) {
    const struct {
        const char* text;
        const char* method;
    } rows[] = {
        {R"({"id":"101"})", "kept"}, {R"({"id":101.9})", "kept"},   {R"({"id":true})", "one"},
        {R"({"id":null})", "zero"},  {R"({"id":[101]})", "zero"},   {R"({"id":{}})", "zero"},
        {R"({"id":"no"})", "zero"},  {R"({"id":"101 x"})", "kept"}, {R"({"id":-5})", ""},
    };
    conversation.call("zero", 1, 0, true);
    conversation.call("one", 1, 1, true);
    conversation.call("kept", 1, 101, true);
    for (const auto& row : rows) {
        conversation.receive(row.text);
        EXPECT_EQ(row.method, listener.methodOf(listener.responses.size() - 1)) << row.text;
    }
    EXPECT_EQ(3u, conversation.pendingRequests.size());
}

TEST_F(ConversationReceiving, DeliversAnErrorLikeAnyResponse) {
    conversation.call("m", 1);
    conversation.receive(R"({"id":1000,"result":null,"error":[24,"busy"]})");
    ASSERT_EQ(1u, listener.responses.size());
    EXPECT_TRUE(listener.responses[0].response.isError());
    EXPECT_EQ(24, listener.responses[0].response.errorCode());
    EXPECT_FALSE(conversation.isPending(1000));
}

TEST_F(ConversationReceiving, DeliversATextThatIsNoObjectAsAnEmptyResponse) {
    for (const char* text : {"[{\"id\":5}]", "5", "\"text\"", "null", "true"}) {
        conversation.receive(text);
        EXPECT_EQ("{}", listener.responseText(listener.responses.size() - 1)) << text;
    }
    EXPECT_EQ(5u, listener.responses.size());
}

TEST_F(ConversationReceiving, DeliversTheAnswerToListMethodsLikeAnyOther) {
    const test::CapturedConsole quiet;
    conversation.open();
    conversation.receive(R"({"id":1,"result":[{"method":"conversation.listed"}]})");
    EXPECT_EQ("list_methods", listener.methodOf(0));
    EXPECT_TRUE(conversation.isPending(1));
}

TEST_F(ConversationReceiving, DeliversATextOnlyWhenItIsComplete) {
    const std::string text = R"({"id":5,"result":1})";
    conversation.readJsonText(text.data(), static_cast<int>(text.size()), false);
    EXPECT_TRUE(listener.responses.empty());
    conversation.readJsonText("", 0, true);
    EXPECT_EQ(1u, listener.responses.size());
}

TEST_F(ConversationReceiving, ReadsATextSplitAtAnyByte) {
    const std::string text = R"({"id":5,"result":["a\u00fc\n",-12.5e1,true,null,{"b":[]}]})";
    for (std::size_t split = 0; split <= text.size(); ++split) {
        listener.responses.clear();
        conversation.readJsonText(text.data(), static_cast<int>(split), false);
        conversation.readJsonText(text.data() + split, static_cast<int>(text.size() - split), true);
        ASSERT_EQ(1u, listener.responses.size()) << split;
        EXPECT_EQ("{\"id\":5,\"result\":[\"a\xC3\xBC\\n\",-125.0,true,null,{\"b\":[]}]}",
                  listener.responseText(0))
            << split;
    }
}

TEST_F(ConversationReceiving, ReadsATextOfNegativeSizeUpToItsNul) {
    conversation.readJsonText("{\"id\":5}\0{\"id\":6}", -1, true);
    EXPECT_EQ(R"({"id":5})", listener.responseText(0));
    EXPECT_EQ(1u, listener.responses.size());
}

TEST_F(ConversationReceiving, ReadsAnyNumberOfTexts) {
    for (int i = 1; i <= 3; ++i) {
        conversation.receive(R"({"id":5,"result":1})");
        EXPECT_EQ(static_cast<std::size_t>(i), listener.responses.size());
    }
}

TEST_F(ConversationReceiving, DropsATextThatDoesNotParseAndReadsTheNext) {
    for (const char* bad : {"{\"id\":5]", "", "{\"id\":5", "]", "{} {}", "\"open"}) {
        listener.responses.clear();
        conversation.receive(bad);
        EXPECT_TRUE(listener.responses.empty()) << bad;
        conversation.receive(R"({"id":6})");
        ASSERT_EQ(1u, listener.responses.size()) << bad;
        EXPECT_EQ(R"({"id":6})", listener.responseText(0)) << bad;
    }
}

TEST_F(ConversationReceiving, DropsAllPiecesOfATextThatDoesNotParse) {
    conversation.readJsonText("{\"id\"]", -1, false);
    conversation.readJsonText("{\"id\":5}", -1, false);
    conversation.readJsonText("{\"id\":6}", -1, true);
    EXPECT_TRUE(listener.responses.empty());
    conversation.receive(R"({"id":7})");
    EXPECT_EQ(R"({"id":7})", listener.responseText(0));
}

TEST_F(ConversationReceiving, GoesOnWithAResetParserAsASubclassLeavesIt) {
    conversation.readJsonText("{\"id\":5,", -1, false);
    conversation.jsonParser.reset();
    conversation.receive(R"({"id":6})");
    EXPECT_EQ(R"({"id":6})", listener.responseText(0));
}

TEST(Conversation, TellsASubclassOfTextsThatDoNotParse) {
    LoggingConversation conversation;
    conversation.receive("{]");
    ASSERT_EQ(2u, conversation.parseErrors.size()) << "at the fault and at the end of the text";
    EXPECT_THAT(conversation.parseErrors[0], testing::HasSubstr("<<<<<<<<"));
    EXPECT_EQ(conversation.parseErrors[0], conversation.parseErrors[1]);
    conversation.receive("[1,");
    ASSERT_EQ(3u, conversation.parseErrors.size());
    EXPECT_EQ("", conversation.parseErrors[2]) << "a text that ends too early has no message";
    EXPECT_TRUE(conversation.log.empty());
}

// ----- Attachments -------------------------------------------------------------------------------

TEST_F(ConversationReceiving, AddsTheAttachmentToTheResponse) {
    const char bytes[] = {'\x00', '\xFF', '"'};
    conversation.setBinaryAttachment(bytes, 3);
    EXPECT_EQ(bytes, conversation.binaryAttachment());
    EXPECT_EQ(3, conversation.binaryAttachmentSize());
    conversation.receive(R"({"id":5,"result":1})");
    const Variant& list = listener.responses.at(0).response["binary-attachment-list"];
    ASSERT_EQ(1u, list.size());
    EXPECT_EQ(std::string(bytes, 3), static_cast<std::string>(list[0]));
}

TEST_F(ConversationReceiving, AddsTheAttachmentBehindThoseOfThePeer) {
    conversation.setBinaryAttachment("own", 3);
    conversation.receive(R"({"binary-attachment-list":["peer"]})");
    conversation.receive(R"({"binary-attachment-list":5})");
    EXPECT_EQ(R"({"binary-attachment-list":["peer","own"]})", listener.responseText(0));
    EXPECT_EQ(R"({"binary-attachment-list":["own"]})", listener.responseText(1));
}

// A repair that cleared it after the first response would take it from a second one.
TEST_F(ConversationReceiving, KeepsTheAttachmentUntilItIsSetToNull) {
    conversation.setBinaryAttachment("a", 1);
    conversation.receive("{}");
    conversation.receive("{}");
    conversation.setBinaryAttachment(nullptr, 0);
    conversation.receive("{}");
    EXPECT_EQ(R"({"binary-attachment-list":["a"]})", listener.responseText(0));
    EXPECT_EQ(R"({"binary-attachment-list":["a"]})", listener.responseText(1));
    EXPECT_EQ("{}", listener.responseText(2));
    EXPECT_EQ(nullptr, conversation.binaryAttachment());
}

TEST_F(ConversationReceiving, ReadsTheAttachmentWhenTheResponseArrives) {
    char bytes[] = {'a', 'b'};
    conversation.setBinaryAttachment(bytes, 2);
    bytes[0] = 'c'; // it isn't copied before
    conversation.receive("{}");
    bytes[0] = 'd'; // but the response holds a copy
    EXPECT_EQ(R"({"binary-attachment-list":["cb"]})", listener.responseText(0));
}

TEST_F(ConversationReceiving, AddsAnEmptyBlockForAnEmptyOrNegativeSize) {
    for (const int size : {0, -1, std::numeric_limits<int>::min()}) {
        conversation.setBinaryAttachment("text", size);
        EXPECT_EQ(size, conversation.binaryAttachmentSize());
        conversation.receive("{}");
        EXPECT_EQ(R"({"binary-attachment-list":[""]})",
                  listener.responseText(listener.responses.size() - 1));
    }
}

TEST_F(ConversationReceiving, AddsNoAttachmentWithoutData) {
    conversation.setBinaryAttachment(nullptr, 5);
    conversation.receive("{}");
    EXPECT_EQ("{}", listener.responseText(0));
}

// ----- Listeners ---------------------------------------------------------------------------------

class ConversationListeners : public testing::Test {
protected:
    std::vector<std::string> notified() {
        conversation.log.clear();
        conversation.receive("{}");
        return conversation.log;
    }
    boost::shared_ptr<NamedListener> shared(const char* name) {
        return boost::make_shared<NamedListener>(name, conversation.log);
    }

    LoggingConversation conversation;
    NamedListener a{"a", conversation.log};
    NamedListener b{"b", conversation.log};
    NamedListener c{"c", conversation.log};
};

TEST_F(ConversationListeners, AreCalledInOrderOwnFirstThenRawThenShared) {
    conversation.registerListener(shared("s"));
    conversation.registerListener(&b);
    conversation.registerListener(&a);
    conversation.registerListener(shared("t"));
    EXPECT_THAT(notified(), ElementsAre("own", "b", "a", "s", "t"));
    conversation.log.clear();
    conversation.notifyValidationWarning(Request(), Schema::ValidationResult());
    EXPECT_THAT(conversation.log,
                ElementsAre("own warned", "b warned", "a warned", "s warned", "t warned"));
}

TEST_F(ConversationListeners, AreHeldOncePerForm) {
    const boost::shared_ptr<NamedListener> s = shared("s");
    conversation.registerListener(&conversation);
    conversation.registerListener(&a);
    conversation.registerListener(&a);
    conversation.registerListener(s);
    conversation.registerListener(s);
    EXPECT_THAT(notified(), ElementsAre("own", "a", "s"));
    conversation.registerListener(s.get());
    EXPECT_THAT(notified(), ElementsAre("own", "a", "s", "s"));
}

// `erase` behind `remove` would take the last place away, and each of these would differ.
TEST_F(ConversationListeners, RemovingOneNeverShortensTheList) {
    conversation.registerListener(&a);
    conversation.registerListener(&b);
    conversation.registerListener(&c);
    conversation.unregisterListener(&c);
    EXPECT_THAT(notified(), ElementsAre("own", "a", "b", "c")) << "the last place has no effect";
    conversation.unregisterListener(&a);
    EXPECT_THAT(notified(), ElementsAre("own", "b", "c", "c"));
    conversation.unregisterListener(&b);
    EXPECT_THAT(notified(), ElementsAre("own", "c", "c", "c"));
    conversation.unregisterListener(&b);
    EXPECT_THAT(notified(), ElementsAre("own", "c", "c", "c")) << "not in the list";
    conversation.unregisterListener(&c);
    EXPECT_THAT(notified(), ElementsAre("own", "c", "c", "c"));
}

TEST_F(ConversationListeners, RemovingTheOnlyOneHasNoEffect) {
    conversation.unregisterListener(&conversation);
    EXPECT_THAT(notified(), ElementsAre("own"));
}

TEST_F(ConversationListeners, RemovingTheObjectItselfMovesTheOthersToTheFront) {
    conversation.registerListener(&a);
    conversation.unregisterListener(&conversation);
    EXPECT_THAT(notified(), ElementsAre("a", "a"));
}

TEST_F(ConversationListeners, RemovingASharedOneLeavesAnEmptyPlaceThatIsSkipped) {
    const boost::shared_ptr<NamedListener> s = shared("s");
    const boost::shared_ptr<NamedListener> t = shared("t");
    const boost::shared_ptr<NamedListener> u = shared("u");
    for (const auto& listener : {s, t, u})
        conversation.registerListener(listener);
    conversation.unregisterListener(u);
    EXPECT_THAT(notified(), ElementsAre("own", "s", "t", "u")) << "the last place has no effect";
    conversation.unregisterListener(s);
    EXPECT_EQ(3u, conversation.sharedResponseListeners.size());
    EXPECT_EQ(nullptr, conversation.sharedResponseListeners[2]);
    EXPECT_THAT(notified(), ElementsAre("own", "t", "u"));
    conversation.log.clear();
    conversation.notifyValidationWarning(Request(), Schema::ValidationResult());
    EXPECT_THAT(conversation.log, ElementsAre("own warned", "t warned", "u warned"));
    EXPECT_EQ(1, s.use_count()) << "the argument and the list let it go";
}

TEST_F(ConversationListeners, OfTheSharedListLiveAsLongAsItHoldsThem) {
    auto given = boost::make_shared<CountingListener>();
    CountingListener* const listener = given.get();
    conversation.registerListener(given);
    given.reset();
    conversation.receive("{}");
    EXPECT_EQ(1u, listener->responses.size());
}

TEST(Conversation, CombinesTheAnswersOfAllListenersAndCallsEveryOne) {
    RecordingConversation conversation;
    CountingListener raw;
    const auto shared = boost::make_shared<CountingListener>();
    conversation.registerListener(&raw);
    conversation.registerListener(shared);
    const Response response(Variant(1), 5);
    const struct {
        bool raw, shared, all;
    } rows[] = {
        {true, true, true}, {false, true, false}, {true, false, false}, {false, false, false}};
    std::size_t calls = 0;
    for (const auto& row : rows) {
        raw.answer = row.raw;
        shared->answer = row.shared;
        EXPECT_EQ(row.all, conversation.notifyResponse(Request(), response, Schema::NoError));
        {
            const CapturedStream quiet(std::cerr);
            EXPECT_EQ(row.all,
                      conversation.notifyValidationWarning(Request(), Schema::WrongDataType));
        }
        ++calls;
        EXPECT_EQ(calls, raw.responses.size());
        EXPECT_EQ(calls, shared->responses.size());
        EXPECT_EQ(calls, raw.warnings.size());
        EXPECT_EQ(calls, shared->warnings.size());
    }
}

TEST(Conversation, HandsRequestResponseAndResultToEveryListener) {
    RecordingConversation conversation;
    CountingListener listener;
    conversation.registerListener(&listener);
    Schema::ValidationResult result(Schema::InvalidValue);
    result.detail = "why";
    conversation.notifyResponse(Request("m", 1, 5), Response(Variant(2), 5), result);
    ASSERT_EQ(1u, listener.responses.size());
    EXPECT_EQ(R"({"id":5,"method":"m","params":[1]})", sorted_text(listener.responses[0].request));
    EXPECT_EQ(R"({"id":5,"result":2})", listener.responseText(0));
    EXPECT_EQ(Schema::InvalidValue, listener.responses[0].result.code);
    EXPECT_STREQ("why", listener.responses[0].result.detail.charsValue());

    const CapturedStream quiet(std::cerr);
    conversation.notifyValidationWarning(Request("n", 1, 6), result);
    ASSERT_EQ(1u, listener.warnings.size());
    EXPECT_STREQ("n", listener.warnings[0].request.methodName().c_str());
    EXPECT_EQ(Schema::InvalidValue, listener.warnings[0].result.code);
}

TEST(Conversation, AnswersTrueAsItsOwnListener) {
    RecordingConversation conversation;
    EXPECT_TRUE(conversation.handleResponse(Request(), Response(Variant(1), 5), Schema::NoError));
    EXPECT_TRUE(conversation.handleResponse(Request("m", 1, 5), Response(1, "error", 5),
                                            Schema::WrongDataType));
    conversation.handleParseError("nothing happens");
    EXPECT_TRUE(conversation.sent.empty());
}

TEST(Conversation, WritesTheOwnWarningToTheErrorStream) {
    RecordingConversation conversation;
    const CapturedStream err(std::cerr);
    EXPECT_TRUE(conversation.warningRequestValidation(Request(Variant(5)), Schema::WrongDataType));
    EXPECT_EQ("warning: json validation failed\n5\n", err.text());
}

TEST(Conversation, WritesNoRequestIntoTheOwnWarningWhenItIsFalse) {
    RecordingConversation conversation;
    for (const Request& request : {Request(), Request(Variant(0)), Request(Variant::newObject())}) {
        const CapturedStream err(std::cerr);
        EXPECT_TRUE(conversation.warningRequestValidation(request, Schema::WrongDataType));
        EXPECT_EQ("warning: json validation failed\n", err.text());
    }
}

// The natural condition would be the opposite one, and every warning would print the result.
TEST(Conversation, TheOwnWarningShowsTheResultOnlyWhenItIsNoError) {
    RecordingConversation conversation;
    {
        const CapturedStream err(std::cerr);
        conversation.warningRequestValidation(Request(), Schema::InvalidValue);
        EXPECT_EQ("warning: json validation failed\n", err.text());
    }
    const CapturedStream err(std::cerr);
    conversation.warningRequestValidation(Request(Variant(5)), Schema::NoError);
    EXPECT_EQ("warning: json validation failed\n5\n"
              "Schema Validation Error (0): no error\nat: \n\n",
              err.text());
}

TEST(Conversation, WritesARequestAsCompactTextAndAsItStandsNow) {
    RecordingConversation conversation;
    Request request("m", 1, 0);
    for (const char* params : {"[1]", "[1,2]"}) {
        const CapturedStream err(std::cerr);
        conversation.warningRequestValidation(request, Schema::InvalidValue);
        const std::string text = err.text();
        const std::string head = "warning: json validation failed\n";
        ASSERT_EQ(head, text.substr(0, head.size()));
        EXPECT_EQ('\n', text.back());
        EXPECT_EQ(std::string(R"({"method":"m","params":)") + params + "}",
                  sorted_text(text.substr(head.size())));
        request.appendArg(2);
    }
}

// ----- Calls and texts from inside a callback ----------------------------------------------------

class ConversationReentry : public ConversationReceiving {};

TEST_F(ConversationReentry, AListenerSendsFromInsideACallback) {
    listener.whenHandled = [&](const Request& request, const Response&) {
        if (request.methodName() == "first") conversation.call("second", 2);
    };
    conversation.call("first", 1);
    conversation.receive(R"({"id":1000,"result":1})");
    ASSERT_EQ(2u, conversation.sent.size());
    EXPECT_EQ(R"({"id":1001,"method":"second","params":[2]})", conversation.sentText(1));
    EXPECT_TRUE(conversation.isPending(1001));
    EXPECT_FALSE(conversation.isPending(1000));
}

TEST_F(ConversationReentry, TheTransportAnswersFromInsideACall) {
    conversation.whenSent = [&](const std::string&) {
        conversation.receive(R"({"id":1000,"result":1})");
    };
    const Request& request = conversation.call("m", Variant("p"));
    ASSERT_EQ(1u, listener.responses.size());
    EXPECT_EQ("m", listener.methodOf(0));
    EXPECT_TRUE(conversation.pendingRequests.empty());
    // Its entry is gone; what the call gave can be read until the next operation.
    EXPECT_EQ(R"({"id":1000,"method":"m","params":["p"]})", sorted_text(request));
}

TEST_F(ConversationReentry, TheResultOfAnAnsweredCallServesAsTheArgumentOfTheNext) {
    conversation.whenSent = [&](const std::string&) {
        conversation.receive(R"({"id":1000,"result":1})");
        conversation.receive(R"({"id":1001,"result":1})");
    };
    const Request& first = conversation.call("m", "p");
    const Request& second = conversation.call(first.methodName(), first["params"]);
    EXPECT_EQ(R"({"id":1001,"method":"m","params":["p"]})", sorted_text(second));
    EXPECT_EQ(R"({"id":1001,"method":"m","params":["p"]})", conversation.sentText(1));
}

TEST_F(ConversationReentry, TheTransportAnswersARepeatFromInside) {
    conversation.call("m", 1, 101);
    conversation.whenSent = [&](const std::string&) { conversation.receive(R"({"id":101})"); };
    const Request& request = conversation.repeat(101);
    EXPECT_TRUE(conversation.pendingRequests.empty());
    EXPECT_EQ(R"({"id":101,"method":"m","params":[1]})", sorted_text(request));
}

TEST_F(ConversationReentry, TheKeepFlagIsReadAfreshAfterTheListeners) {
    for (const bool keep : {false, true}) {
        RecordingConversation other;
        CountingListener again;
        other.registerListener(&again);
        again.whenHandled = [&](const Request&, const Response&) {
            other.call("again", 2, 101, keep);
        };
        other.call("first", 1, 101, !keep);
        other.receive(R"({"id":101,"result":1})");
        EXPECT_EQ("first", again.methodOf(0));
        EXPECT_EQ(keep, other.isPending(101));
    }
}

TEST_F(ConversationReentry, EveryListenerIsShownTheRequestThatWasAnswered) {
    CountingListener later;
    conversation.registerListener(&later);
    listener.whenHandled = [&](const Request& request, const Response&) {
        conversation.call("overwritten", "other", 101, true);
        EXPECT_EQ(R"({"id":101,"method":"first","params":["p"]})", sorted_text(request));
        for (int i = 0; i < 100; ++i)
            conversation.call("growth", i);
    };
    conversation.call("first", "p", 101);
    conversation.receive(R"({"id":101,"result":1})");
    EXPECT_EQ(R"({"id":101,"method":"first","params":["p"]})",
              sorted_text(later.responses.at(0).request));
    EXPECT_STREQ("overwritten", conversation.pendingRequests[101].request.methodName().c_str());
}

TEST_F(ConversationReentry, AListenerThatFeedsMixesNeitherTextsNorEntries) {
    CountingListener later;
    conversation.registerListener(&later);
    listener.whenHandled = [&](const Request&, const Response& response) {
        if (response.result().integerValue() == 1) {
            conversation.receive(R"({"id":1000,"result":2})");
            EXPECT_FALSE(conversation.isPending(1000));
        }
    };
    conversation.call("m", "p");
    conversation.receive(R"({"id":1000,"result":1,"more":["x"]})");
    ASSERT_EQ(2u, later.responses.size());
    EXPECT_EQ(R"({"id":1000,"result":2})", later.responseText(0));
    EXPECT_EQ("m", later.methodOf(0));
    EXPECT_EQ(R"({"id":1000,"more":["x"],"result":1})", later.responseText(1));
    EXPECT_EQ("m", later.methodOf(1));
    EXPECT_TRUE(conversation.pendingRequests.empty());
}

TEST_F(ConversationReentry, AListenerBeginsATextThatIsEndedLater) {
    listener.whenHandled = [&](const Request&, const Response& response) {
        if (response.result().integerValue() == 1) {
            conversation.readJsonText(R"({"result":)", -1, false);
        }
    };
    conversation.receive(R"({"result":1})");
    conversation.readJsonText("2}", -1, true);
    ASSERT_EQ(2u, listener.responses.size());
    EXPECT_EQ(R"({"result":2})", listener.responseText(1));
}

TEST_F(ConversationReentry, ATextFedWhileAnotherFailsIsDeliveredOnce) {
    class Refeeding : public RecordingConversation {
    public:
        int errors = 0;
        void handleParseError(const qx::IntrusiveString&) override {
            if (++errors > 1) return;
            readJsonText(R"({"result":)", -1, false);
            readJsonText("2}", -1, true);
        }
    };
    for (const bool complete : {true, false}) {
        Refeeding refeeding;
        CountingListener told;
        refeeding.registerListener(&told);
        refeeding.readJsonText("{]", -1, complete);
        EXPECT_EQ(1, refeeding.errors);
        ASSERT_EQ(1u, told.responses.size());
        EXPECT_EQ(R"({"result":2})", told.responseText(0));
        refeeding.receive(R"({"result":3})");
        ASSERT_EQ(2u, told.responses.size());
        EXPECT_EQ(R"({"result":3})", told.responseText(1));
    }
}

TEST_F(ConversationReentry, ACallFromInsideTheTransportIsATextOfItsOwn) {
    conversation.whenSent = [&](const std::string& text) {
        if (text.find("outer") == std::string::npos) return;
        conversation.call("inner", 2);
        conversation.repeat(1001);
    };
    conversation.call("outer", 1);
    conversation.call("last", 3);
    ASSERT_EQ(4u, conversation.sent.size());
    EXPECT_EQ(R"({"id":1000,"method":"outer","params":[1]})", conversation.sentText(0));
    EXPECT_EQ(R"({"id":1001,"method":"inner","params":[2]})", conversation.sentText(1));
    EXPECT_EQ(R"({"id":1001,"method":"inner","params":[2]})", conversation.sentText(2));
    EXPECT_EQ(R"({"id":1002,"method":"last","params":[3]})", conversation.sentText(3));
}

TEST_F(ConversationReentry, ACallFromInsidePiecesWaitsForTheLastOfThem) {
    RecordingConversation pieces(false);
    bool called = false;
    pieces.whenSent = [&](const std::string&) {
        if (called) return;
        called = true;
        pieces.call("inner", 2);
        pieces.call("next", 3);
        EXPECT_EQ(1u, pieces.sent.size());
        EXPECT_TRUE(pieces.isPending(1001));
    };
    const Request& outer = pieces.call("outer", 1);
    EXPECT_STREQ("outer", outer.methodName().c_str());
    const std::string text = joined(pieces.sent);
    std::vector<std::string> texts;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('}', begin) + 1;
        texts.push_back(sorted_text(text.substr(begin, end - begin)));
        begin = end;
    }
    EXPECT_THAT(texts, ElementsAre(R"({"id":1000,"method":"outer","params":[1]})",
                                   R"({"id":1001,"method":"inner","params":[2]})",
                                   R"({"id":1002,"method":"next","params":[3]})"));
}

TEST_F(ConversationReentry, ACallUnderTheSameIdFromInsidePiecesLeavesTheTextUnderWayAlone) {
    RecordingConversation pieces(false);
    bool called = false;
    pieces.whenSent = [&](const std::string&) {
        if (called) return;
        called = true;
        pieces.call("inner", Variant::EmptyList, 101);
    };
    Variant params = Variant::newList();
    params << "a"
           << "b"
           << "c";
    const Request& request = pieces.call("outer", params, 101);
    const std::string text = joined(pieces.sent);
    const std::size_t end = text.find('}') + 1;
    EXPECT_EQ(R"({"id":101,"method":"outer","params":["a","b","c"]})",
              sorted_text(text.substr(0, end)));
    EXPECT_EQ(R"({"id":101,"method":"inner","params":[]})", sorted_text(text.substr(end)));
    EXPECT_STREQ("inner", request.methodName().c_str()) << "it is the entry's, as it stands now";
}

TEST_F(ConversationReentry, AListenerOfAWarningMayReplaceTheRequest) {
    test::register_method("conversation.replace");
    CountingListener later;
    conversation.registerListener(&later);
    const CapturedStream quiet(std::cerr);
    listener.whenWarned = [&](const Request&) { conversation.call("second", "q", 101); };
    conversation.call("conversation.replace", 5, 101);
    // Each request is sent once, and each listener is shown the one that it is warned of.
    ASSERT_EQ(2u, conversation.sent.size());
    EXPECT_EQ(R"({"id":101,"method":"second","params":["q"]})", conversation.sentText(0));
    EXPECT_EQ(R"({"id":101,"method":"conversation.replace","params":[5]})",
              conversation.sentText(1));
    ASSERT_EQ(1u, later.warnings.size());
    EXPECT_EQ(R"({"id":101,"method":"conversation.replace","params":[5]})",
              sorted_text(later.warnings[0].request));
}

TEST_F(ConversationReentry, AListenerRegistersAndLetsGoOfListeners) {
    CountingListener added;
    auto shared = boost::make_shared<CountingListener>();
    CountingListener* const dropped = shared.get();
    conversation.registerListener(boost::shared_ptr<json::IResponseListener>(shared));
    std::vector<std::unique_ptr<CountingListener>> many;
    dropped->whenHandled = [&](const Request&, const Response&) {
        // The list holds the last pointer to this very listener.
        conversation.sharedResponseListeners.clear();
        for (int i = 0; i < 100; ++i) {
            many.push_back(std::make_unique<CountingListener>());
            conversation.registerListener(many.back().get());
        }
    };
    listener.whenHandled = [&](const Request&, const Response&) {
        conversation.registerListener(&added);
        for (int i = 0; i < 100; ++i) {
            many.push_back(std::make_unique<CountingListener>());
            conversation.registerListener(many.back().get());
        }
    };
    shared.reset();
    conversation.receive("{}");
    EXPECT_EQ(1u, listener.responses.size());
    EXPECT_EQ(1u, added.responses.size());
}

// ----- Exceptions --------------------------------------------------------------------------------

class ConversationExceptions : public ConversationReceiving {};

TEST_F(ConversationExceptions, OfTheTransportPassAndLeaveNoText) {
    conversation.whenSent = [](const std::string&) { throw std::runtime_error("closed"); };
    EXPECT_THROW(conversation.call("lost", 1), std::runtime_error);
    EXPECT_TRUE(conversation.isPending(1000));
    conversation.whenSent = nullptr;
    conversation.call("next", 2);
    ASSERT_EQ(2u, conversation.sent.size());
    EXPECT_EQ(R"({"id":1001,"method":"next","params":[2]})", conversation.sentText(1));
    conversation.repeat(1000);
    EXPECT_EQ(R"({"id":1000,"method":"lost","params":[1]})", conversation.sentText(2));
}

TEST_F(ConversationExceptions, BetweenPiecesPassAndDropWhatWaited) {
    RecordingConversation pieces(false);
    int calls = 0;
    pieces.whenSent = [&](const std::string&) {
        if (++calls == 1) pieces.call("waiting", 2);
        if (calls == 2) throw std::runtime_error("closed");
    };
    EXPECT_THROW(pieces.call("lost", 1), std::runtime_error);
    pieces.whenSent = nullptr;
    pieces.sent.clear();
    pieces.call("next", 3);
    EXPECT_EQ(R"({"id":1002,"method":"next","params":[3]})", sorted_text(joined(pieces.sent)));
    EXPECT_TRUE(pieces.isPending(1001)) << "it can be repeated";
}

TEST_F(ConversationExceptions, OfAListenerPassAndTheNextTextIsRead) {
    listener.whenHandled = [](const Request&, const Response&) { throw std::runtime_error("no"); };
    conversation.call("m", 1);
    EXPECT_THROW(conversation.receive(R"({"id":1000,"result":1})"), std::runtime_error);
    listener.whenHandled = nullptr;
    conversation.receive(R"({"id":1000,"result":2})");
    ASSERT_EQ(2u, listener.responses.size());
    EXPECT_EQ(R"({"id":1000,"result":2})", listener.responseText(1));
    EXPECT_EQ("m", listener.methodOf(1)) << "the first response wasn't handled to its end";
}

TEST_F(ConversationExceptions, ReleaseTheLock) {
    conversation.whenSent = [](const std::string&) { throw std::runtime_error("closed"); };
    EXPECT_THROW(conversation.call("m", 1), std::runtime_error);
    EXPECT_THROW(conversation.repeat(1000), std::runtime_error);
    EXPECT_THROW(conversation.open(), std::runtime_error);
    listener.whenHandled = [](const Request&, const Response&) { throw std::runtime_error("no"); };
    EXPECT_THROW(conversation.receive("{}"), std::runtime_error);
    conversation.whenSent = nullptr;
    // A lock left behind would keep another thread out for good.
    std::thread([&] { conversation.call("m", 2); }).join();
    EXPECT_EQ(R"({"id":1002,"method":"m","params":[2]})", conversation.sentText(3));
}

// ----- Limits ------------------------------------------------------------------------------------

TEST(ConversationLimits, AreOffAtFirst) {
    RecordingConversation conversation;
    for (int i = 0; i < 1000; ++i) {
        conversation.call("m", i);
    }
    EXPECT_EQ(1000u, conversation.pendingRequestCount());
}

TEST(ConversationLimits, ForgetTheRequestWithTheLowestIdThatIsNotKept) {
    RecordingConversation conversation;
    conversation.setLimits({{}, 2});
    conversation.subscribe("m", 1, 5);
    conversation.call("m", 1); // 1001
    conversation.call("m", 2, 10);
    conversation.call("m", 3); // 1003: 10 is forgotten
    EXPECT_TRUE(conversation.isPending(5));
    EXPECT_FALSE(conversation.isPending(10));
    EXPECT_TRUE(conversation.isPending(1001));
    EXPECT_TRUE(conversation.isPending(1003));
    EXPECT_EQ(4u, conversation.sent.size());
    conversation.call("m", 4, 7); // the newest stays, whatever its id
    EXPECT_TRUE(conversation.isPending(7));
    EXPECT_FALSE(conversation.isPending(1001));
    CountingListener listener;
    conversation.registerListener(&listener);
    conversation.receive(R"({"id":1001,"result":1})");
    ASSERT_EQ(1u, listener.responses.size());
    EXPECT_TRUE(listener.responses[0].request.isNull());
    EXPECT_EQ(3u, conversation.pendingRequestCount());
}

TEST(ConversationLimits, DropATextThatIsTooLongTooDeepOrTooNew) {
    RecordingConversation conversation;
    json::Conversation::Limits limits;
    limits.text.bytes = 60;
    limits.text.depth = 2;
    limits.text.newKeys = 1;
    conversation.setLimits(limits);
    CountingListener listener;
    conversation.registerListener(&listener);
    conversation.receive(R"({"id":1,"result":")" + std::string(60, 'a') + "\"}");
    conversation.receive(R"({"id":1,"result":[[]]})");
    conversation.receive(R"({"id":1,"result":{"limit a":1,"limit b":2}})");
    EXPECT_EQ(0u, listener.responses.size());
    conversation.receive(R"({"id":1,"result":{"limit a":1,"limit c":2}})");
    EXPECT_EQ(1u, listener.responses.size());
}

// ----- Threads -----------------------------------------------------------------------------------

// The transport and the listener below are plain vectors: only the conversation's lock keeps two
// threads from writing to them at once.
TEST(ConversationThreads, CallAndFeedAreSerial) {
    constexpr int kCallsEach = 200;
    RecordingConversation conversation;
    CountingListener listener;
    conversation.registerListener(&listener);
    const auto calls = [&] {
        for (int i = 0; i < kCallsEach; ++i)
            conversation.call("m", i);
    };
    std::thread first(calls);
    std::thread second(calls);
    for (int i = 0; i < 2 * kCallsEach; ++i) {
        conversation.receive("{\"id\":" + std::to_string(1000 + i) + ",\"result\":1}");
    }
    first.join();
    second.join();

    EXPECT_EQ(2u * kCallsEach, listener.responses.size());
    std::set<std::int64_t> ids;
    for (const std::string& text : conversation.sent) {
        ids.insert(Request(json::JsonParser::parseTree(text)).referenceId());
    }
    EXPECT_EQ(2u * kCallsEach, ids.size()) << "each call has an id of its own";
    EXPECT_EQ(999 + 2 * kCallsEach, conversation.lastId);
}

// ----- The whole way -----------------------------------------------------------------------------

TEST(ConversationRoad, OneCommandAndItsEventsGoTheirWay) {
    LoggingConversation conversation;
    CountingListener listener;
    conversation.registerListener(&listener);

    // A subscription is stored, kept and sent.
    conversation.subscribe2("subscription", "door", true, 101);
    EXPECT_EQ(1000, conversation.lastId);
    EXPECT_TRUE(conversation.pendingRequests[101].keepAfterResponse);
    EXPECT_THAT(conversation.log, ElementsAre());
    ASSERT_EQ(1u, conversation.sent.size());
    EXPECT_EQ(R"({"id":101,"method":"subscription","params":["door",true]})",
              conversation.sentText(0));

    // Each event carries its own attachment and reaches the object itself first.
    for (const char* state : {"door_open", "door_closed"}) {
        conversation.setBinaryAttachment("jpeg", 4);
        conversation.jsonParser.reset();
        conversation.receive(std::string("{\"id\":101,\"result\":[\"") + state + "\"]}");
        conversation.setBinaryAttachment(nullptr, 0);

        EXPECT_THAT(conversation.log, ElementsAre("own"));
        conversation.log.clear();
        const CountingListener::Delivery& event = listener.responses.back();
        EXPECT_EQ(R"({"id":101,"method":"subscription","params":["door",true]})",
                  sorted_text(event.request));
        EXPECT_STREQ(state, event.response.firstResult().charsValue());
        EXPECT_EQ(R"(["jpeg"])", sorted_text(event.response["binary-attachment-list"]));
        EXPECT_EQ(Schema::SchemaNotFound, event.result.code);
        EXPECT_TRUE(conversation.isPending(101));
    }

    // A plain call goes the same way, and its entry goes after its response.
    conversation.call("trigger", "door");
    EXPECT_EQ(R"({"id":1001,"method":"trigger","params":["door"]})", conversation.sentText(1));
    conversation.receive(R"({"id":1001,"result":true})");
    EXPECT_EQ("trigger", listener.methodOf(2));
    EXPECT_FALSE(conversation.isPending(1001));
    EXPECT_TRUE(conversation.isPending(101));
}
