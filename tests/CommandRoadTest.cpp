// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include "support/Phone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using test::CountingListener;
using test::Phone;
using test::sorted_text;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

namespace {

/// Notes the stations of the road, in the order in which they are passed.
class RoadPhone : public Phone {
public:
    std::vector<std::string> road;

    void sendJsonText(const char* text, int size) override {
        road.push_back("sendJsonText");
        Phone::sendJsonText(text, size);
    }
    void setBinaryAttachment(const char* data, int size) override {
        road.push_back(data != nullptr ? "attachment" : "no attachment");
        Phone::setBinaryAttachment(data, size);
    }
    void readJsonText(const char* text, int size, bool complete) override {
        road.push_back("readJsonText");
        Phone::readJsonText(text, size, complete);
    }
    void handleParseResult(const json::Variant& value) override {
        road.push_back("handleParseResult");
        Phone::handleParseResult(value);
    }
    bool notifyResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        road.push_back("notifyResponse " + std::string(request.methodName()));
        return Phone::notifyResponse(request, response, result);
    }
    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        road.push_back("handleResponse");
        return Phone::handleResponse(request, response, result);
    }
};

} // namespace

TEST(CommandRoad, LeadsFromASubscriptionToItsEventsStepByStep) {
    RoadPhone phone;
    CountingListener listener;
    listener.whenHandled = [&](const json::Request&, const json::Response&) {
        phone.road.push_back("listener");
    };
    phone.registerListener(&listener);

    // 1. The application subscribes, among other things to the door.
    phone.setupSubscriptions("token");

    // 2. The request is stored, to be kept, and the counter has moved for each of the four.
    ASSERT_EQ(1u, phone.pendingRequests.count(101));
    EXPECT_TRUE(phone.pendingRequests[101].keepAfterResponse);
    EXPECT_EQ(R"({"id":101,"method":"subscription","params":["door",true]})",
              sorted_text(phone.pendingRequests[101].request));
    EXPECT_THAT(listener.warnings, IsEmpty()) << "a method without a schema draws no warning";

    // 3. Its text has reached the transport as a whole, the last of four.
    EXPECT_THAT(phone.road,
                ElementsAre("sendJsonText", "sendJsonText", "sendJsonText", "sendJsonText"));
    EXPECT_EQ(R"({"id":101,"method":"subscription","params":["door",true]})", phone.sentText(3));

    // 4. An event arrives: text, a zero byte, a binary part. What was half read is dropped.
    phone.road.clear();
    phone.Phone::readJsonText("[1,", 3, false);
    const std::string event = R"({"result":["door_open"],"id":101})" + "\0snapshot"s;
    phone.receiveJsonHeaderUpdate(reinterpret_cast<const unsigned char*>(event.data()),
                                  static_cast<unsigned int>(event.size()));

    // 5. to 7. The whole way on this thread, the object itself before other listeners.
    EXPECT_THAT(phone.road, ElementsAre("attachment", "readJsonText", "handleParseResult",
                                        "notifyResponse subscription", "handleResponse", "listener",
                                        "no attachment"));
    ASSERT_EQ(1u, listener.responses.size());
    EXPECT_EQ("subscription", listener.methodOf(0));
    EXPECT_EQ(R"({"binary-attachment-list":["snapshot"],"id":101,"result":["door_open"]})",
              listener.responseText(0));
    EXPECT_EQ(json::Schema::SchemaNotFound, listener.responses[0].result.code);
    EXPECT_TRUE(phone.doorAndLightStatus().doorStatusKnown);
    EXPECT_EQ("door_open", std::string(phone.doorAndLightStatus().doorStatus));
    EXPECT_EQ(nullptr, phone.binaryAttachment());

    // 8. The entry stays, and the next event takes the same road.
    ASSERT_EQ(1u, phone.pendingRequests.count(101));
    phone.update(R"({"result":["door_closed"],"id":101})");
    EXPECT_EQ("subscription", listener.methodOf(1));
    EXPECT_EQ("door_closed", std::string(phone.doorAndLightStatus().doorStatus));
    EXPECT_EQ(1u, phone.pendingRequests.count(101));
}

TEST(CommandRoad, EndsAPlainCallWithItsFirstResponse) {
    Phone phone;
    CountingListener listener;
    phone.registerListener(&listener);
    phone.live();
    phone.update(R"({"result":true,"id":1000})");
    EXPECT_EQ(0u, phone.pendingRequests.count(1000));
    phone.update(R"({"result":true,"id":1000})");
    EXPECT_EQ("live", listener.methodOf(0));
    EXPECT_EQ("", listener.methodOf(1));
    EXPECT_EQ(0u, phone.pendingRequests.count(1000));
}

TEST(CommandRoad, LeadsFromAnUnknownPhoneToItsRegistration) {
    Phone phone;
    phone.setupSubscriptions("token");
    phone.takeSent();
    phone.update(R"({"result":{"version_major":1,"version_minor":3},"id":1000})");
    phone.update(R"({"result":null,"error":[14,"unknown"],"id":103})");
    EXPECT_THAT(phone.takeSent(),
                ElementsAre(R"({"id":1004,"method":"list_addressees","params":[]})"));
    phone.update(R"({"result":[["1","Hall","ground"],["2","Flat","first"]],"id":1004})");
    EXPECT_THAT(phone.told, ElementsAre("addresseesListed(1=Hall (ground), 2=Flat (first))"));

    phone.addDevice("token", "Phone", "2");
    EXPECT_THAT(phone.takeSent(),
                ElementsAre(R"({"id":103,"method":"add_device","params":["token",[2],"Phone"]})"));
    phone.update(R"({"result":[["2","Flat","first"]],"id":103})");
    EXPECT_EQ("deviceRegistered(2, Flat, first)", phone.told.back());
}
