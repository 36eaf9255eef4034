// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include "support/Phone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

using json::Variant;
using qx::GatecastConversation;
using qx::MailBoxEntry;
using test::Phone;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

static_assert(std::is_base_of_v<json::Conversation, GatecastConversation>);
static_assert(std::is_base_of_v<qx::IJsonHeaderUpdateReceiver, GatecastConversation>);
static_assert(std::is_abstract_v<GatecastConversation>);
static_assert(std::has_virtual_destructor_v<GatecastConversation>);
static_assert(!std::is_copy_constructible_v<Phone>);
static_assert(GatecastConversation::SubscribeDoor == 101);
static_assert(GatecastConversation::SubscribeLight == 102);
static_assert(GatecastConversation::SubscribeDevice == 103);
static_assert(GatecastConversation::SubscribeMailBox == 104);
static_assert(std::is_same_v<const std::int64_t, decltype(GatecastConversation::SubscribeMailBox)>);
static_assert(GatecastConversation::LivePreviewKey == 9223372036854775807);

namespace {

/// Inherits each base once more: they are one object, since both are virtual.
struct Diamond : GatecastConversation,
                 virtual json::Conversation,
                 virtual qx::IJsonHeaderUpdateReceiver {};
static_assert(std::is_convertible_v<Diamond*, json::Conversation*>);
static_assert(std::is_convertible_v<Diamond*, qx::IJsonHeaderUpdateReceiver*>);

constexpr const char* kEntry = R"({"timestamp":1.5,"appl_sequence_no":17,"appl_event_index":2})";

MailBoxEntry entry_of(const char* row) { return MailBoxEntry(json::JsonParser::parseTree(row)); }

/// Uses the library before `main` and after the last static object of this file is gone.
struct StaticUse {
    std::vector<std::string> sent;
    StaticUse() {
        Phone phone;
        phone.triggerLight();
        sent = phone.takeSent();
    }
    ~StaticUse() {
        Phone phone;
        phone.play(MailBoxEntry(), false, false);
        phone.live();
        if (phone.takeSent().back() != R"({"id":1000,"method":"live","params":[]})") std::abort();
    }
};
const StaticUse static_use;

} // namespace

// ----- The object --------------------------------------------------------------------------------

TEST(GatecastConversation, BeginsWithNothingKnown) {
    const Phone phone;
    EXPECT_EQ(0, phone.versionMajor);
    EXPECT_EQ(9, phone.versionMinor);
    EXPECT_EQ(0, phone.playbackMode);
    EXPECT_EQ(0, phone.mailBoxBatch);
    EXPECT_TRUE(phone.currentEntry == MailBoxEntry());
    EXPECT_TRUE(phone.playQueue.empty());
    EXPECT_TRUE(phone.previewKeyByRequest.empty());
    EXPECT_TRUE(phone.previewRequestByKey.empty());
    const GatecastConversation::DoorAndLightStatus& status = phone.doorAndLightStatus();
    EXPECT_FALSE(status.lightStatusKnown);
    EXPECT_FALSE(status.lightOn);
    EXPECT_FALSE(status.doorStatusKnown);
    EXPECT_TRUE(status.doorStatus.empty());
}

TEST(GatecastConversation, BeginsWithALockedPreviewCacheOf120Images) {
    const Phone phone;
    EXPECT_EQ(120u, phone.previewCache->capacity());
    EXPECT_EQ(0u, phone.previewCache->size());
    EXPECT_TRUE(phone.previewCache->isThreadSafe());
}

TEST(GatecastConversation, SendsNothingWhenItBeginsOrEnds) {
    int sent = 0;
    {
        Phone phone;
        phone.whenSent = [&](const std::string&) { ++sent; };
    }
    EXPECT_EQ(0, sent);
}

TEST(GatecastConversation, HandsARequestToTheTransportAsOneText) {
    Phone phone;
    phone.setDisplayMode(std::string(100000, 'x'));
    ASSERT_EQ(1u, phone.sent.size());
    EXPECT_LT(100000u, phone.sent[0].size());
}

TEST(GatecastConversation, CanBeUsedFromStaticObjects) {
    EXPECT_THAT(static_use.sent, ElementsAre(R"({"method":"trigger","params":["elight"]})"));
}

TEST(GatecastConversation, PoolsTheNamesOfItsMethods) {
    const GatecastConversation::Methods& names = GatecastConversation::methods();
    const struct {
        const char* text;
        const boost::intrusive_ptr<qx::IntrusiveString>& name;
    } rows[] = {
        {"version", names.version},
        {"register_device", names.registerDevice},
        {"subscription", names.subscription},
        {"add_device", names.addDevice},
        {"ptz_click", names.ptzClick},
        {"ptz_pan", names.ptzPan},
        {"ptz_zoom", names.ptzZoom},
        {"bell_ack", names.bellAck},
        {"trigger", names.trigger},
        {"display_mode", names.displayMode},
        {"live", names.live},
        {"pause", names.pause},
        {"endfilter", names.endFilter},
        {"play", names.play},
        {"mailboxdata", names.mailBoxData},
        {"message_delete", names.messageDelete},
        {"message_seen", names.messageSeen},
        {"preview_message", names.previewMessage},
        {"preview_live", names.previewLive},
        {"list_contact_numbers", names.listContactNumbers},
        {"list_addressees", names.listAddressees},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(json::Object::key_pool().intern(row.text), row.name) << row.text;
    }
}

TEST(GatecastConversation, PoolsTheKeysOfTheDevicesResults) {
    const GatecastConversation::Keys& keys = GatecastConversation::keys();
    const struct {
        const char* text;
        const boost::intrusive_ptr<qx::IntrusiveString>& key;
    } rows[] = {
        {"version_major", keys.versionMajor},
        {"version_minor", keys.versionMinor},
        {"contact_number", keys.contactNumber},
        {"name", keys.name},
        {"bell", keys.bell},
        {"door_open", keys.doorOpen},
        {"door_closed", keys.doorClosed},
        {"bolt_open", keys.boltOpen},
        {"bolt_closed", keys.boltClosed},
        {"mode", keys.mode},
        {"size", keys.size},
        {"fps", keys.fps},
        {"error", keys.error},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(json::Object::key_pool().intern(row.text), row.key) << row.text;
    }
}

TEST(GatecastConversation, LetsGoOfItsImagesWhenItEnds) {
    const auto image = boost::make_shared<std::string>("picture");
    {
        Phone phone;
        phone.previewCache->put(7, image);
        EXPECT_EQ(2, image.use_count());
    }
    EXPECT_EQ(1, image.use_count());
}

// ----- The table of methods ----------------------------------------------------------------------

TEST(GatecastConversation, SendsEachCommandWithItsParametersAndItsId) {
    const struct {
        const char* command;
        std::function<void(Phone&)> give;
        std::vector<std::string> sent;
    } rows[] = {
        {"setupSubscriptions",
         [](Phone& phone) { phone.setupSubscriptions("token"); },
         {R"({"id":1000,"method":"version","params":[]})",
          R"({"id":103,"method":"register_device","params":["token"]})",
          R"({"id":102,"method":"subscription","params":["elight",true]})",
          R"({"id":101,"method":"subscription","params":["door",true]})"}},
        {"setupSubscriptions without a token",
         [](Phone& phone) { phone.setupSubscriptions(""); },
         {R"({"id":1000,"method":"version","params":[]})",
          R"({"id":103,"method":"register_device","params":[""]})",
          R"({"id":102,"method":"subscription","params":["elight",true]})",
          R"({"id":101,"method":"subscription","params":["door",true]})"}},
        {"addDevice, version unknown",
         [](Phone& phone) { phone.addDevice("a", "b", "12"); },
         {R"({"id":103,"method":"add_device","params":["a","12","b"]})"}},
        {"addDevice, version known",
         [](Phone& phone) {
             phone.versionMajor = 1;
             phone.addDevice("a", "b", "12");
         },
         {R"({"id":103,"method":"add_device","params":["a",[12],"b"]})"}},
        {"ptzClick",
         [](Phone& phone) { phone.ptzClick(3, -4, true); },
         {R"({"method":"ptz_click","params":[3,-4,true]})"}},
        {"ptzPan",
         [](Phone& phone) { phone.ptzPan(INT_MAX, INT_MIN, false); },
         {R"({"method":"ptz_pan","params":[2147483647,-2147483648,false]})"}},
        {"ptzZoom",
         [](Phone& phone) { phone.ptzZoom(-1, true); },
         {R"({"method":"ptz_zoom","params":[-1,true]})"}},
        {"acknowledgeBell",
         [](Phone& phone) { phone.acknowledgeBell(false); },
         {R"({"method":"bell_ack","params":[false]})"}},
        {"triggerDoor",
         [](Phone& phone) { phone.triggerDoor(); },
         {R"({"method":"trigger","params":["door"]})"}},
        {"triggerLight",
         [](Phone& phone) { phone.triggerLight(); },
         {R"({"method":"trigger","params":["elight"]})"}},
        {"setDisplayMode",
         [](Phone& phone) { phone.setDisplayMode("full"); },
         {R"({"method":"display_mode","params":["full"]})"}},
        {"live",
         [](Phone& phone) { phone.live(); },
         {R"({"id":1000,"method":"live","params":[]})"}},
        {"pause", [](Phone& phone) { phone.pause(); }, {R"({"method":"pause","params":[]})"}},
        {"play",
         [](Phone& phone) { phone.play(); },
         {R"({"method":"endfilter","params":[""]})", R"({"id":1001,"method":"play","params":[]})"}},
        {"play a stretch",
         [](Phone& phone) { phone.play(1.5, 20.25, true); },
         {R"({"method":"endfilter","params":[""]})",
          R"({"id":1001,"method":"play","params":[1.5,0.0,20.25,true]})"}},
        {"readMailBox",
         [](Phone& phone) { phone.readMailBox("3"); },
         {R"({"id":104,"method":"mailboxdata","params":[3]})"}},
        {"play a message",
         [](Phone& phone) {
             phone.playbackMode = 2;
             phone.play(entry_of(kEntry), false, false);
         },
         {R"({"method":"endfilter","params":[""]})",
          R"({"id":1001,"method":"play","params":["1.5@17E2"]})"}},
        {"deleteMessage",
         [](Phone& phone) { phone.deleteMessage(entry_of(kEntry)); },
         {R"({"id":1000,"method":"message_delete","params":[17,2]})"}},
        {"markMessageSeen",
         [](Phone& phone) { phone.markMessageSeen(entry_of(kEntry), true); },
         {R"({"id":1000,"method":"message_delete","params":[17,2,true]})"}},
        {"downloadMailPreviewImage",
         [](Phone& phone) { phone.downloadMailPreviewImage(7, 320, 240, true); },
         {R"({"id":1000,"method":"preview_message","params":[7,320,240]})"}},
        {"downloadLivePreviewImage",
         [](Phone& phone) { phone.downloadLivePreviewImage(320, 240, true); },
         {R"({"id":1000,"method":"preview_live","params":[320,240]})"}},
        {"open",
         [](Phone& phone) { phone.open(); },
         {R"({"id":1,"method":"list_methods","params":[]})"}},
        {"close", [](Phone& phone) { phone.close(); }, {R"({"method":"quit","params":[]})"}},
    };
    for (const auto& row : rows) {
        Phone phone;
        row.give(phone);
        EXPECT_THAT(phone.takeSent(), ElementsAreArray(row.sent)) << row.command;
    }
}

TEST(GatecastConversation, KeepsSubscriptionsAndNothingElseAfterTheirResponse) {
    const struct {
        const char* command;
        std::function<void(Phone&)> give;
        std::int64_t id;
        bool kept;
    } rows[] = {
        {"version", [](Phone& phone) { phone.setupSubscriptions("t"); }, 1000, false},
        {"register_device", [](Phone& phone) { phone.setupSubscriptions("t"); }, 103, true},
        {"subscription of the light", [](Phone& phone) { phone.setupSubscriptions("t"); }, 102,
         true},
        {"subscription of the door", [](Phone& phone) { phone.setupSubscriptions("t"); }, 101,
         true},
        {"add_device", [](Phone& phone) { phone.addDevice("a", "b", "c"); }, 103, false},
        {"trigger", [](Phone& phone) { phone.triggerDoor(); }, 0, false},
        {"live", [](Phone& phone) { phone.live(); }, 1000, false},
        {"pause", [](Phone& phone) { phone.pause(); }, 0, false},
        {"play", [](Phone& phone) { phone.play(); }, 1001, false},
        {"play a stretch", [](Phone& phone) { phone.play(1, 2, true); }, 1001, false},
        {"mailboxdata", [](Phone& phone) { phone.readMailBox("1"); }, 104, false},
        {"message_delete", [](Phone& phone) { phone.deleteMessage(MailBoxEntry()); }, 1000, false},
        {"preview_message", [](Phone& phone) { phone.downloadMailPreviewImage(1, 2, 3, true); },
         1000, false},
        {"preview_live", [](Phone& phone) { phone.downloadLivePreviewImage(2, 3, true); }, 1000,
         false},
    };
    for (const auto& row : rows) {
        Phone phone;
        row.give(phone);
        const auto entry = phone.pendingRequests.find(row.id);
        ASSERT_TRUE(entry != phone.pendingRequests.end()) << row.command;
        EXPECT_EQ(row.kept, entry->second.keepAfterResponse) << row.command;
    }
}

TEST(GatecastConversation, UsesUpANumberForACommandWithoutAnId) {
    Phone phone;
    phone.ptzClick(1, 2, true);
    phone.live();
    EXPECT_EQ(R"({"id":1001,"method":"live","params":[]})", phone.sentText(1));
}

// ----- Registration ------------------------------------------------------------------------------

TEST(GatecastConversation, SetsItselfUpUntilSomethingPlays) {
    Phone phone;
    phone.setupSubscriptions("token");
    EXPECT_EQ(1, phone.playbackMode);
    phone.triggerDoor();
    phone.ptzZoom(1, true);
    EXPECT_EQ(1, phone.playbackMode);
}

TEST(GatecastConversation, ReadsTheThirdTextAsANumberOnceTheVersionIsKnown) {
    const struct {
        std::int32_t version;
        const char* text;
        const char* second;
    } rows[] = {
        {0, "12", "\"12\""},
        {1, "12", "[12]"},
        {-1, "12", "[12]"},
        {1, " -3 rest", "[-3]"},
        {1, "x", "[0]"},
        {1, "", "[0]"},
        {1, "9999999999999999999", "[9223372036854775807]"},
    };
    for (const auto& row : rows) {
        Phone phone;
        phone.versionMajor = row.version;
        phone.addDevice("a", "b", row.text);
        EXPECT_EQ(std::string(R"({"id":103,"method":"add_device","params":["a",)") + row.second +
                      R"(,"b"]})",
                  phone.sentText(0))
            << row.version << ' ' << row.text;
    }
}

TEST(GatecastConversation, EndsTheSubscriptionOfTheRegistrationByAddDevice) {
    Phone phone;
    test::CountingListener listener;
    phone.registerListener(&listener);
    phone.setupSubscriptions("token");
    phone.addDevice("a", "b", "c");
    phone.receive(R"({"result":true,"id":103})");
    EXPECT_EQ(0u, phone.pendingRequests.count(103));
    // Later events are still handled, but no request is shown with them.
    phone.receive(R"({"result":[["x","y","z"]],"id":103})");
    EXPECT_THAT(phone.told, ElementsAre("deviceRegistered(x, y, z)"));
    EXPECT_EQ("add_device", listener.methodOf(0));
    EXPECT_EQ("", listener.methodOf(1));
}

// ----- Effects beyond the request ----------------------------------------------------------------

TEST(GatecastConversation, TurnsToTheLiveViewWithoutAMessage) {
    Phone phone;
    phone.currentEntry = entry_of(kEntry);
    phone.live();
    EXPECT_EQ(18, phone.playbackMode);
    EXPECT_TRUE(phone.currentEntry == MailBoxEntry());
}

TEST(GatecastConversation, PausesWhateverRuns) {
    const struct {
        std::int32_t before;
        std::int32_t after;
    } rows[] = {{0, 48},  {1, 49},  {2, 50},  {4, 52},  {18, 50},
                {20, 52}, {34, 50}, {52, 52}, {-1, 63}, {256, 48}};
    for (const auto& row : rows) {
        Phone phone;
        phone.playbackMode = row.before;
        phone.currentEntry = entry_of(kEntry);
        phone.pause();
        EXPECT_EQ(row.after, phone.playbackMode) << row.before;
        EXPECT_EQ(17u, phone.currentEntry.sequenceNo()) << row.before;
    }
}

TEST(GatecastConversation, GoesOnWithTheMessageThatPlayed) {
    Phone phone;
    phone.currentEntry = entry_of(kEntry);
    phone.play();
    EXPECT_EQ(20, phone.playbackMode);
    EXPECT_EQ(17u, phone.currentEntry.sequenceNo());
}

TEST(GatecastConversation, PlaysAStretchWithoutAMessageAndLeavesTheModeToTheAnswer) {
    Phone phone;
    phone.playbackMode = 34;
    phone.currentEntry = entry_of(kEntry);
    phone.play(0.0, 1.0, false);
    EXPECT_EQ(34, phone.playbackMode);
    EXPECT_TRUE(phone.currentEntry == MailBoxEntry());
}

TEST(GatecastConversation, ChangesNothingByCommandsWithoutState) {
    Phone phone;
    phone.playbackMode = 34;
    phone.mailBoxBatch = 5;
    phone.currentEntry = entry_of(kEntry);
    phone.playQueue.assign(2, entry_of(kEntry));
    phone.addDevice("a", "b", "c");
    phone.ptzClick(1, 2, true);
    phone.ptzPan(1, 2, true);
    phone.ptzZoom(1, true);
    phone.acknowledgeBell(true);
    phone.triggerDoor();
    phone.triggerLight();
    phone.setDisplayMode("m");
    phone.markMessageSeen(entry_of(kEntry), true);
    EXPECT_EQ(34, phone.playbackMode);
    EXPECT_EQ(5, phone.mailBoxBatch);
    EXPECT_EQ(17u, phone.currentEntry.sequenceNo());
    EXPECT_EQ(2u, phone.playQueue.size());
    EXPECT_EQ(0, phone.versionMajor);
    EXPECT_EQ(9, phone.versionMinor);
    EXPECT_THAT(phone.told, IsEmpty());
}

// The other order would overwrite what an answer from inside has set.
TEST(GatecastConversation, ChangesItsStateBeforeTheRequestLeaves) {
    const struct {
        const char* command;
        std::function<void(Phone&)> give;
        const char* answered;
        std::int32_t mode;
    } rows[] = {
        {"live", [](Phone& phone) { phone.live(); }, "live", 2},
        {"play", [](Phone& phone) { phone.play(); }, "play", 4},
        {"pause", [](Phone& phone) { phone.pause(); }, "pause", 34},
        {"setupSubscriptions", [](Phone& phone) { phone.setupSubscriptions("t"); }, "version", 1},
    };
    for (const auto& row : rows) {
        Phone phone;
        phone.playbackMode = 2;
        std::int32_t seen = -1;
        phone.whenSent = [&](const std::string& text) {
            const Variant request = json::JsonParser::parseTree(text);
            if (request["method"] != row.answered) return;
            seen = phone.playbackMode;
            Variant response;
            response["result"] = true;
            response["id"] = request["id"];
            qx::IntrusiveString answer;
            response.print(answer, false);
            phone.receive(std::string(answer.c_str(), answer.length()));
        };
        row.give(phone);
        EXPECT_EQ(row.mode, phone.playbackMode) << row.command;
        EXPECT_NE(2, seen) << row.command;
        EXPECT_NE(-1, seen) << row.command;
    }
}

TEST(GatecastConversation, BlanksTheMessageBeforeTheLiveViewIsAskedFor) {
    Phone phone;
    phone.currentEntry = entry_of(kEntry);
    std::vector<unsigned int> seen;
    phone.whenSent = [&](const std::string&) { seen.push_back(phone.currentEntry.sequenceNo()); };
    phone.live();
    EXPECT_THAT(seen, ElementsAre(0u));
}

TEST(GatecastConversation, BlanksTheMessageBeforeAStretchIsAskedFor) {
    Phone phone;
    phone.currentEntry = entry_of(kEntry);
    std::vector<unsigned int> seen;
    phone.whenSent = [&](const std::string&) { seen.push_back(phone.currentEntry.sequenceNo()); };
    phone.play(1.0, 2.0, true);
    EXPECT_THAT(seen, ElementsAre(0u, 0u));
}
