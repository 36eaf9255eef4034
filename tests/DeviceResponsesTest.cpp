// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include "support/Phone.h"
#include "support/SchemaText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

using json::Request;
using json::Response;
using json::Schema;
using json::Variant;
using qx::GatecastConversation;
using test::CountingListener;
using test::Phone;
using test::sorted_text;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

static_assert(std::is_same_v<bool, decltype(GatecastConversation::DoorAndLightStatus::lightOn)>);
static_assert(std::is_same_v<qx::IntrusiveString,
                             decltype(GatecastConversation::DoorAndLightStatus::doorStatus)>);

namespace {

constexpr const char* kSetupMessage = "showMessage(Camera setup is not yet complete. You won't be "
                                      "able to receive calls on your phone.)";
constexpr const char* kContactsRequest =
    R"({"id":1001,"method":"list_contact_numbers","params":[]})";
constexpr const char* kAddresseesRequest = R"({"id":1001,"method":"list_addressees","params":[]})";

/// Sends the method under the id 1000 and receives what stands for its answer, as in
/// `"result":[]` or `"error":[3,"no"]`.
void answer(Phone& phone, const char* method, const std::string& members) {
    phone.call0(method);
    phone.receive("{" + members + R"(,"id":1000})");
    phone.sent.erase(phone.sent.begin());
}

/// Receives an event under the id.
void event(Phone& phone, int id, const std::string& members) {
    phone.receive("{" + members + ",\"id\":" + std::to_string(id) + "}");
}

} // namespace

// ----- The version -------------------------------------------------------------------------------

TEST(DeviceResponses, TakeTheVersionFromTheAnswerToVersion) {
    const struct {
        const char* members;
        std::int32_t versionMajor;
        std::int32_t versionMinor;
        const char* why;
    } rows[] = {
        {R"("result":{"version_major":2,"version_minor":31})", 2, 31, "as sent"},
        {R"("result":{"version_major":"3","version_minor":4.9})", 3, 4, "converted"},
        {R"("result":{"version_major":4294967297,"version_minor":2147483648})", 1, -2147483647 - 1,
         "cut to 32 bits"},
        {R"("result":{"version_major":1e300,"version_minor":-1e300})", -1, 0,
         "the nearest 64-bit bound, cut"},
        {R"("result":{"version_major":-1})", -1, 0, "a missing number is 0"},
        {R"("result":{})", 0, 0, "both missing"},
        {R"("result":[2,31])", 0, 0, "no object"},
        {R"("other":1)", 0, 0, "no result"},
        {R"("result":{"version_major":{"a":1},"version_minor":[5]})", 0, 0, "no numbers"},
        {R"("result":null,"error":[24,"busy"])", 0, 0, "an error has no numbers"},
    };
    for (const auto& row : rows) {
        Phone phone;
        phone.versionMajor = 7;
        answer(phone, "version", row.members);
        EXPECT_EQ(row.versionMajor, phone.versionMajor) << row.why;
        EXPECT_EQ(row.versionMinor, phone.versionMinor) << row.why;
        EXPECT_THAT(phone.told, IsEmpty()) << row.why;
    }
}

TEST(DeviceResponses, TakeTheVersionFromAnyAnswerWhileItIsUnknown) {
    Phone phone;
    answer(phone, "live", R"("result":{"version_major":2,"version_minor":1})");
    EXPECT_EQ(2, phone.versionMajor);
    EXPECT_EQ(1, phone.versionMinor);
}

TEST(DeviceResponses, HandleAnAnswerThatBroughtTheVersionNoFurther) {
    Phone phone;
    event(phone, 101, R"("result":{"version_major":2})");
    EXPECT_EQ(2, phone.versionMajor);
    EXPECT_FALSE(phone.doorAndLightStatus().doorStatusKnown);
}

TEST(DeviceResponses, TakeTheVersionFromNoOtherAnswerOnceItIsKnown) {
    for (const std::int32_t version : {1, -1}) {
        Phone phone;
        phone.versionMajor = version;
        answer(phone, "live", R"("result":{"version_major":2,"version_minor":1})");
        EXPECT_EQ(version, phone.versionMajor);
        EXPECT_EQ(9, phone.versionMinor) << version;
        EXPECT_EQ(2, phone.playbackMode) << version;
    }
}

TEST(DeviceResponses, TakeTheVersionBeforeAnyId) {
    for (const int id : {101, 102, 103, 104}) {
        Phone phone;
        phone.versionMajor = 7;
        phone.call0("version", id);
        event(phone, id, R"("result":["open"])");
        EXPECT_EQ(0, phone.versionMajor) << id;
        EXPECT_FALSE(phone.doorAndLightStatus().doorStatusKnown) << id;
        EXPECT_FALSE(phone.doorAndLightStatus().lightStatusKnown) << id;
        EXPECT_THAT(phone.told, IsEmpty()) << id;
    }
}

TEST(DeviceResponses, TakeTheVersionFromAnErrorThatBringsIt) {
    for (const int code : {5, 14, 24}) {
        Phone phone;
        event(phone, 103,
              R"("result":{"version_major":2},"error":[)" + std::to_string(code) + R"(,"x"])");
        EXPECT_EQ(2, phone.versionMajor) << code;
        EXPECT_THAT(phone.told, IsEmpty()) << code;
        EXPECT_THAT(phone.sent, IsEmpty()) << code;
    }
}

TEST(DeviceResponses, SeeTheVersionInAnObjectOnly) {
    Phone phone;
    event(phone, 101, R"("result":["version_major"])");
    EXPECT_EQ(0, phone.versionMajor);
    EXPECT_EQ("version_major", std::string(phone.doorAndLightStatus().doorStatus));
}

// ----- Error 24 ----------------------------------------------------------------------------------

TEST(DeviceResponses, IgnoreError24UnderEveryId) {
    Phone phone;
    phone.playbackMode = 18;
    phone.mailBoxBatch = 3;
    for (const int id : {0, 101, 102, 103, 104}) {
        event(phone, id, R"("result":["open"],"error":[24,"busy"])");
    }
    for (const char* method :
         {"list_contact_numbers", "list_addressees", "live", "play", "pause"}) {
        Phone other;
        other.playbackMode = 18;
        answer(other, method, R"("result":null,"error":[24,"busy"])");
        EXPECT_EQ(18, other.playbackMode) << method;
        EXPECT_THAT(other.told, IsEmpty()) << method;
        EXPECT_THAT(other.sent, IsEmpty()) << method;
    }
    EXPECT_FALSE(phone.doorAndLightStatus().doorStatusKnown);
    EXPECT_FALSE(phone.doorAndLightStatus().lightStatusKnown);
    EXPECT_EQ(3, phone.mailBoxBatch);
    EXPECT_THAT(phone.told, IsEmpty());
    EXPECT_THAT(phone.sent, IsEmpty());
}

TEST(DeviceResponses, LeaveTheStatusAsItWasAtError24) {
    Phone phone;
    event(phone, 101, R"("result":["open"])");
    event(phone, 101, R"("result":null,"error":[24,"busy"])");
    EXPECT_EQ("open", std::string(phone.doorAndLightStatus().doorStatus));
}

TEST(DeviceResponses, TakeACode24WithoutAnErrorForAResult) {
    Phone phone;
    event(phone, 101, R"("result":["open"],"error":null)");
    EXPECT_TRUE(phone.doorAndLightStatus().doorStatusKnown);
}

// ----- Door and light ----------------------------------------------------------------------------

TEST(DeviceResponses, TakeTheDoorsStatusFromTheFirstResultAsAText) {
    const struct {
        const char* members;
        const char* status;
    } rows[] = {
        {R"("result":["door_open"])", "door_open"},
        {R"("result":["door_closed","more"])", "door_closed"},
        {R"("result":[""])", ""},
        {R"("result":[true])", "true"},
        {R"("result":[12])", "12"},
        {R"("result":[null])", ""},
        {R"("result":[["a",1]])", R"(["a",1])"},
        {R"("result":[{"a":1}])", R"({"a":1})"},
        {R"("result":[])", ""},
        {R"("result":"door_open")", ""},
        {R"("result":{"door_open":true})", ""},
        {R"("result":null,"error":[5,"no"])", ""},
        {R"("other":1)", ""},
    };
    for (const auto& row : rows) {
        Phone phone;
        event(phone, 101, R"("result":["before"])");
        event(phone, 101, row.members);
        EXPECT_TRUE(phone.doorAndLightStatus().doorStatusKnown) << row.members;
        EXPECT_EQ(row.status, std::string(phone.doorAndLightStatus().doorStatus)) << row.members;
        EXPECT_FALSE(phone.doorAndLightStatus().lightStatusKnown) << row.members;
    }
}

TEST(DeviceResponses, TakeTheLightFromTheFirstResultAsABool) {
    const struct {
        const char* members;
        bool on;
    } rows[] = {
        {R"("result":[true])", true},    {R"("result":[false])", false},
        {R"("result":[1])", true},       {R"("result":[0.0])", false},
        {R"("result":["false"])", true}, {R"("result":[""])", false},
        {R"("result":[[]])", false},     {R"("result":[{"a":1}])", true},
        {R"("result":[null])", false},   {R"("result":[])", false},
        {R"("result":true)", false},     {R"("result":null,"error":[5,"no"])", false},
    };
    for (const auto& row : rows) {
        for (const bool before : {false, true}) {
            Phone phone;
            event(phone, 102, before ? R"("result":[true])" : R"("result":[false])");
            event(phone, 102, row.members);
            EXPECT_TRUE(phone.doorAndLightStatus().lightStatusKnown) << row.members;
            EXPECT_EQ(row.on, phone.doorAndLightStatus().lightOn) << row.members;
            EXPECT_FALSE(phone.doorAndLightStatus().doorStatusKnown) << row.members;
        }
    }
}

TEST(DeviceResponses, KeepTheStatusInItsOrder) {
    const GatecastConversation::DoorAndLightStatus status{true, false, false, "open"};
    EXPECT_TRUE(status.lightStatusKnown);
    EXPECT_FALSE(status.lightOn);
    EXPECT_FALSE(status.doorStatusKnown);
    EXPECT_EQ("open", std::string(status.doorStatus));
    const GatecastConversation::DoorAndLightStatus other{false, true, true, ""};
    EXPECT_TRUE(other.lightOn);
    EXPECT_TRUE(other.doorStatusKnown);
}

TEST(DeviceResponses, ShowTheStatusThroughOneReference) {
    Phone phone;
    const GatecastConversation::DoorAndLightStatus& status = phone.doorAndLightStatus();
    event(phone, 101, R"("result":["open"])");
    event(phone, 102, R"("result":[true])");
    EXPECT_EQ("open", std::string(status.doorStatus));
    EXPECT_TRUE(status.lightOn);
    EXPECT_THAT(phone.told, IsEmpty());
}

TEST(DeviceResponses, UnderstandTheDoorBeforeAnyVersion) {
    Phone phone;
    phone.setupSubscriptions("token");
    event(phone, 101, R"("result":["open"])");
    EXPECT_EQ(0, phone.versionMajor);
    EXPECT_TRUE(phone.doorAndLightStatus().doorStatusKnown);
}

// An id that arrives as a text or a real is converted, as the conversation does.
TEST(DeviceResponses, ReadTheIdAsAnInteger) {
    for (const char* id : {"101", "\"101\"", "101.9"}) {
        Phone phone;
        phone.receive(std::string(R"({"result":["open"],"id":)") + id + "}");
        EXPECT_TRUE(phone.doorAndLightStatus().doorStatusKnown) << id;
    }
}

TEST(DeviceResponses, LetTheIdDecideBeforeTheMethod) {
    for (const int id : {101, 102, 103}) {
        for (const char* method :
             {"live", "play", "pause", "preview_live", "list_addressees", "list_contact_numbers"}) {
            Phone phone;
            phone.playbackMode = 18;
            phone.call0(method, id);
            event(phone, id, R"("result":["bell"],"binary-attachment-list":["picture"])");
            EXPECT_EQ(id == 101, phone.doorAndLightStatus().doorStatusKnown) << method << id;
            EXPECT_EQ(id == 102, phone.doorAndLightStatus().lightStatusKnown) << method << id;
            EXPECT_EQ(18, phone.playbackMode) << method << id;
            EXPECT_THAT(phone.told, IsEmpty()) << method << id;
        }
    }
}

TEST(DeviceResponses, LetTheAddressBooksDecideBeforeTheMailBox) {
    for (const char* method : {"list_addressees", "list_contact_numbers"}) {
        Phone phone;
        phone.call0(method, 104);
        event(phone, 104, R"("result":[])");
        EXPECT_THAT(phone.told, ElementsAre(kSetupMessage)) << method;
        EXPECT_EQ(0, phone.mailBoxBatch) << method;
        phone.call0(method, 104);
        event(phone, 104, R"("result":[],"error":[21,"no"])");
        EXPECT_EQ(0, phone.mailBoxBatch) << method;
    }
}

// ----- Registration ------------------------------------------------------------------------------

TEST(DeviceResponses, FetchTheAddressesForAPhoneThatIsUnknown) {
    const struct {
        int code;
        std::int32_t version;
        const char* request;
    } rows[] = {
        {14, 0, kContactsRequest},   {18, 0, kContactsRequest},    {14, 1, kAddresseesRequest},
        {18, 2, kAddresseesRequest}, {14, -1, kAddresseesRequest},
    };
    for (const auto& row : rows) {
        Phone phone;
        phone.versionMajor = row.version;
        phone.triggerDoor(); // uses up a number
        phone.takeSent();
        event(phone, 103, R"("result":null,"error":[)" + std::to_string(row.code) + R"(,"who?"])");
        EXPECT_THAT(phone.takeSent(), ElementsAre(row.request)) << row.code << ' ' << row.version;
        EXPECT_THAT(phone.told, IsEmpty()) << row.code << ' ' << row.version;
    }
}

TEST(DeviceResponses, ShowTheOtherErrorsOfTheRegistration) {
    const struct {
        const char* error;
        std::vector<std::string> told;
    } rows[] = {
        {R"([19,"setup"])", {kSetupMessage}},
        {R"(["19","setup"])", {kSetupMessage}},
        {R"([20,"nothing"])", {}},
        {R"([5,"no access"])", {"showMessage(no access)"}},
        {R"([21,"unknown"])", {"showMessage(unknown)"}},
        {R"([3,"unknown"])", {"showMessage(unknown)"}},
        {R"([0,"zero"])", {"showMessage(zero)"}},
        {R"([5])", {"showMessage()"}},
        {R"([5,42])", {"showMessage(42)"}},
        {R"([])", {"showMessage()"}},
        {R"("broken")", {"showMessage()"}},
        {R"(false)", {"showMessage()"}},
        {R"({"code":19})", {"showMessage()"}},
    };
    for (const auto& row : rows) {
        Phone phone;
        event(phone, 103, std::string(R"("result":[["a","b","c"]],"error":)") + row.error);
        EXPECT_THAT(phone.told, ElementsAreArray(row.told)) << row.error;
        EXPECT_THAT(phone.sent, IsEmpty()) << row.error;
    }
}

TEST(DeviceResponses, TellOfTheRowOfARegistration) {
    const struct {
        std::int32_t version;
        const char* result;
        std::vector<std::string> told;
    } rows[] = {
        {0, R"([["a","b","c"]])", {"deviceRegistered(a, b, c)"}},
        {2, R"([["a","b","c","d"],["x"]])", {"deviceRegistered(a, b, c)"}},
        {-1, R"([["a","b","c"]])", {"deviceRegistered(a, b, c)"}},
        {0, R"([[1,null]])", {"deviceRegistered(1, , )"}},
        {0, R"([])", {"deviceRegistered(, , )"}},
        {0, R"(["a","b","c"])", {"deviceRegistered(, , )"}},
        {0, R"([{"contact_number":"1","name":"n"}])", {"deviceRegistered(, , )"}},
        {-1, R"([{"contact_number":"1","name":"n"}])", {"contactRegistered(1, n)"}},
        {-1, R"([{"contact_number":17}])", {"contactRegistered(17, )"}},
        {-1, R"(["a"])", {"contactRegistered(, )"}},
        {-1, R"([])", {"contactRegistered(, )"}},
        {0, R"([["bell","b","c"]])", {"deviceRegistered(bell, b, c)"}},
        {0, R"(["BELL","b","c"])", {"deviceRegistered(, , )"}},
        {-1, R"([["bell"],{"name":"n"}])", {"deviceRegistered(bell, , )"}},
        {0, R"(true)", {}},
        {-1, R"({"contact_number":"1","name":"n"})", {}},
        {0, R"("bell")", {}},
        {0, R"(null)", {}},
    };
    for (const auto& row : rows) {
        Phone phone;
        phone.versionMajor = row.version;
        event(phone, 103, std::string("\"result\":") + row.result);
        EXPECT_THAT(phone.told, ElementsAreArray(row.told)) << row.version << ' ' << row.result;
        EXPECT_THAT(phone.sent, IsEmpty()) << row.version << ' ' << row.result;
    }
}

// Telling the application here as well would ring twice: it hears of the ring as a listener.
TEST(DeviceResponses, ARingUnderTheRegistrationIsWithoutEffect) {
    for (const std::int32_t version : {0, 2, -1}) {
        Phone phone;
        CountingListener listener;
        phone.registerListener(&listener);
        phone.versionMajor = version;
        event(phone, 103, R"("result":["bell",true])");
        event(phone, 103, R"("result":["bell",false])");
        EXPECT_THAT(phone.told, IsEmpty()) << version;
        EXPECT_THAT(phone.sent, IsEmpty()) << version;
        EXPECT_EQ(R"({"id":103,"result":["bell",true]})", listener.responseText(0)) << version;
    }
}

// ----- The address books -------------------------------------------------------------------------

TEST(DeviceResponses, FallOverToTheOtherAddressBookOfALaterDevice) {
    const struct {
        int code;
        std::int32_t before;
        std::int32_t after;
    } rows[] = {{21, 0, 1}, {3, 0, 1}, {21, 2, 2}, {3, -1, -1}};
    for (const auto& row : rows) {
        Phone phone;
        phone.versionMajor = row.before;
        answer(phone, "list_contact_numbers",
               R"("result":null,"error":[)" + std::to_string(row.code) + R"(,"unknown"])");
        EXPECT_EQ(row.after, phone.versionMajor) << row.code;
        EXPECT_THAT(phone.takeSent(), ElementsAre(kAddresseesRequest)) << row.code;
        EXPECT_THAT(phone.told, IsEmpty()) << row.code;
    }
}

TEST(DeviceResponses, KnowTheLaterDeviceBeforeTheRequestLeaves) {
    Phone phone;
    std::vector<std::int32_t> seen;
    phone.call0("list_contact_numbers");
    phone.whenSent = [&](const std::string&) { seen.push_back(phone.versionMajor); };
    phone.receive(R"({"result":null,"error":[3,"unknown"],"id":1000})");
    EXPECT_THAT(seen, ElementsAre(1));
}

TEST(DeviceResponses, ShowTheErrorOfAnAddressBook) {
    const struct {
        const char* method;
        const char* error;
        const char* told;
    } rows[] = {
        {"list_contact_numbers", R"([5,"no"])", "showMessage(no)"},
        {"list_contact_numbers", R"([19,"setup"])", "showMessage(setup)"},
        {"list_contact_numbers", R"([14,"who?"])", "showMessage(who?)"},
        {"list_contact_numbers", R"("broken")", "showMessage()"},
        {"list_addressees", R"([5,"no"])", "showMessage(no)"},
        {"list_addressees", R"([21,"unknown"])", "showMessage(unknown)"},
        {"list_addressees", R"([3,"unknown"])", "showMessage(unknown)"},
        {"list_addressees", R"([19,"setup"])", "showMessage(setup)"},
        {"list_addressees", R"([20,"nothing"])", "showMessage(nothing)"},
    };
    for (const auto& row : rows) {
        Phone phone;
        answer(phone, row.method, std::string(R"("result":[["a","b","c"]],"error":)") + row.error);
        EXPECT_THAT(phone.told, ElementsAre(row.told)) << row.method << ' ' << row.error;
        EXPECT_THAT(phone.sent, IsEmpty()) << row.method << ' ' << row.error;
        EXPECT_EQ(0, phone.versionMajor) << row.method << ' ' << row.error;
    }
}

TEST(DeviceResponses, TellOfTheContactNumbers) {
    const struct {
        const char* result;
        const char* told;
    } rows[] = {
        {R"([])", kSetupMessage},
        {R"("text")", kSetupMessage},
        {R"({"contact_number":"1","name":"n"})", kSetupMessage},
        {R"(null)", kSetupMessage},
        {R"([{"contact_number":"1","name":"Hall"}])", "singleContactNumber(1, Hall)"},
        {R"([{"name":7}])", "singleContactNumber(, 7)"},
        {R"(["text"])", "singleContactNumber(, )"},
        {R"([["1","Hall"]])", "singleContactNumber(, )"},
        {R"([{"contact_number":"2","name":"Hall"},{"contact_number":"1","name":"Flat"}])",
         "contactNumbersListed(1=Flat, 2=Hall)"},
        {R"([{"contact_number":"1","name":"a"},{"contact_number":"1","name":"b"}])",
         "contactNumbersListed(1=b)"},
        {R"([{"contact_number":"1","name":"a"},7,null,{"name":"b"}])",
         "contactNumbersListed(=b, 1=a)"},
    };
    for (const auto& row : rows) {
        Phone phone;
        answer(phone, "list_contact_numbers", std::string("\"result\":") + row.result);
        EXPECT_THAT(phone.told, ElementsAre(row.told)) << row.result;
        EXPECT_THAT(phone.sent, IsEmpty()) << row.result;
    }
}

TEST(DeviceResponses, TellOfTheAddressees) {
    const struct {
        const char* result;
        const char* told;
    } rows[] = {
        {R"([])", kSetupMessage},
        {R"("text")", kSetupMessage},
        {R"(null)", kSetupMessage},
        {R"([["1","Hall","ground floor"]])", "singleAddressee(1, Hall, ground floor)"},
        {R"([["1"]])", "singleAddressee(1, , )"},
        {R"([{"a":"b"}])", "singleAddressee(, , )"},
        {R"([["2","Hall","ground"],["1","Flat","first"]])",
         "addresseesListed(1=Flat (first), 2=Hall (ground))"},
        {R"([["1","a","b"],["1","c","d"]])", "addresseesListed(1=c (d))"},
        {R"([[1,2,3],"text",[]])", "addresseesListed(= (), 1=2 (3))"},
    };
    for (const auto& row : rows) {
        Phone phone;
        answer(phone, "list_addressees", std::string("\"result\":") + row.result);
        EXPECT_THAT(phone.told, ElementsAre(row.told)) << row.result;
        EXPECT_THAT(phone.sent, IsEmpty()) << row.result;
    }
}

TEST(DeviceResponses, KeepNulBytesOfTheAddresses) {
    Phone phone;
    answer(phone, "list_addressees", R"("result":[["a\u0000b","c","d\u0000e"],["x","y","z"]])");
    EXPECT_THAT(phone.told,
                ElementsAre(std::string("addresseesListed(a\0b=c (d\0e), x=y (z))", 38)));
}

// ----- Playback ----------------------------------------------------------------------------------

TEST(DeviceResponses, SetThePlaybackModeByTheMethodThatIsAnswered) {
    const struct {
        const char* method;
        std::int32_t before;
        std::int32_t after;
    } rows[] = {
        {"live", 18, 2},
        {"live", 0, 2},
        {"play", 20, 4},
        {"play", 34, 4},
        {"pause", 50, 34},
        {"pause", 52, 36},
        {"pause", 0, 32},
        {"pause", 49, 33},
        {"pause", -1, 47},
        {"stop", 18, 18},
        {"message_delete", 20, 20},
    };
    for (const auto& row : rows) {
        Phone phone;
        phone.playbackMode = row.before;
        answer(phone, row.method, R"("result":true)");
        EXPECT_EQ(row.after, phone.playbackMode) << row.method << ' ' << row.before;
    }
}

// Taking the error for a refusal would be the evident repair; the mode would then stay at 18.
TEST(DeviceResponses, AnErrorToAPlaybackCommandChangesTheModeAllTheSame) {
    const struct {
        const char* method;
        std::int32_t after;
    } rows[] = {{"live", 2}, {"play", 4}, {"pause", 34}};
    for (const auto& row : rows) {
        Phone phone;
        phone.playbackMode = 18;
        answer(phone, row.method, R"("result":null,"error":[5,"no"])");
        EXPECT_EQ(row.after, phone.playbackMode) << row.method;
        EXPECT_THAT(phone.told, IsEmpty()) << row.method;
    }
}

TEST(DeviceResponses, MatchAnAnswerWithoutAnIdWithTheLatestCommandWithoutOne) {
    Phone phone;
    phone.playbackMode = 2;
    phone.pause();
    phone.triggerDoor();
    phone.receive(R"({"result":true})");
    EXPECT_EQ(50, phone.playbackMode) << "taken for the answer to the door";

    phone.pause();
    phone.receive(R"({"result":true})");
    EXPECT_EQ(34, phone.playbackMode);

    phone.playbackMode = 50;
    phone.receive(R"({"result":true})");
    EXPECT_EQ(50, phone.playbackMode) << "nothing waits any more";
}

// Sending a signal would call into subscribers that only asked to be listed.
TEST(DeviceResponses, NobodyIsToldOfAPlaybackModeThatChanged) {
    Phone phone;
    CountingListener subscriber;
    phone.connect("playbackMode", &subscriber);
    answer(phone, "live", R"("result":true)");
    EXPECT_EQ(2, phone.playbackMode);
    EXPECT_TRUE(phone.isConnected("playbackMode"));
    EXPECT_THAT(subscriber.responses, IsEmpty());
    EXPECT_THAT(phone.told, IsEmpty());
}

TEST(DeviceResponses, RunTheLaterStepsInTurn) {
    Phone phone;
    phone.call0("live", 104);
    event(phone, 104, R"("result":[1])");
    EXPECT_THAT(phone.told, ElementsAre("mailBoxData(1, [1])"));
    EXPECT_EQ(2, phone.playbackMode);
}

// ----- The call itself ---------------------------------------------------------------------------

TEST(DeviceResponses, AreTrueWhateverTheyAre) {
    Phone phone;
    for (const char* text : {R"({"result":{"version_major":1},"id":5})",
                             R"({"error":[24,"x"],"id":5})", R"({"result":["open"],"id":101})",
                             R"({"error":[14,"x"],"id":103})", R"({"id":104})", R"({})"}) {
        const Response response(json::JsonParser::parseTree(text));
        EXPECT_TRUE(phone.handleResponse(Request(), response, Schema::ValidationResult())) << text;
    }
}

TEST(DeviceResponses, AreThoseOfAConversationFirst) {
    const test::CapturedConsole console;
    Phone phone;
    phone.open();
    phone.receive(R"({"result":[{"method":"responses.told","params":[]}],"id":1})");
    ASSERT_EQ(1u, phone.methodNames.size());
    EXPECT_STREQ("responses.told", phone.methodNames[0].c_str());
}

TEST(DeviceResponses, AreHandledWhateverTheirValidationSays) {
    Phone phone;
    const Response response(json::JsonParser::parseTree(R"({"result":["open"],"id":101})"));
    phone.handleResponse(Request(), response, Schema::ValidationResult(Schema::WrongDataType));
    EXPECT_TRUE(phone.doorAndLightStatus().doorStatusKnown);
}

TEST(DeviceResponses, ReachTheOwnHandlingBeforeOtherListeners) {
    Phone phone;
    CountingListener listener;
    bool known = false;
    listener.whenHandled = [&](const Request&, const Response&) {
        known = phone.doorAndLightStatus().doorStatusKnown;
    };
    phone.registerListener(&listener);
    event(phone, 101, R"("result":["open"])");
    EXPECT_TRUE(known);
}

TEST(DeviceResponses, LetTheApplicationSendFromInsideAnOperation) {
    Phone phone;
    phone.whenTold = [&](const std::string&) { phone.addDevice("a", "b", "7"); };
    phone.versionMajor = 1;
    answer(phone, "list_addressees", R"("result":[["1","Hall","ground"]])");
    EXPECT_THAT(phone.takeSent(),
                ElementsAre(R"({"id":103,"method":"add_device","params":["a",[7],"b"]})"));
}

TEST(DeviceResponses, LetTheApplicationFeedFromInsideAnOperation) {
    Phone phone;
    phone.whenTold = [&](const std::string& entry) {
        if (entry == "deviceRegistered(a, b, c)") {
            phone.receive(R"({"result":[["x","y","z"]],"id":103})");
        }
    };
    event(phone, 103, R"("result":[["a","b","c"]])");
    event(phone, 101, R"("result":["open"])");
    EXPECT_THAT(phone.told, ElementsAre("deviceRegistered(a, b, c)", "deviceRegistered(x, y, z)"));
    EXPECT_TRUE(phone.doorAndLightStatus().doorStatusKnown);
}

TEST(DeviceResponses, ReadAnswersWithoutChangingThem) {
    const std::vector<std::string> results = {"null",
                                              "true",
                                              "7",
                                              "\"bell\"",
                                              "[]",
                                              "[[]]",
                                              "{}",
                                              "[{}]",
                                              "[1,[2],{\"a\":[]}]",
                                              "[\"bell\"]",
                                              "[[],[]]",
                                              "[{},{}]",
                                              "{\"version_major\":{}}",
                                              "{\"version_minor\":1}"};
    const std::vector<std::string> errors = {
        "null", "false", "[]", "[14]", "[[24],{}]", "{\"0\":24}", "[21,[\"x\"]]", "[19,null]"};
    const std::vector<std::string> methods = {"version", "list_contact_numbers", "list_addressees",
                                              "preview_live", "pause"};
    int compared = 0;
    for (const std::int32_t version : {0, -1}) {
        for (const int id : {0, 101, 102, 103, 104}) {
            for (const std::string& method : methods) {
                for (const std::string& result : results) {
                    for (const std::string& error : errors) {
                        Phone phone;
                        phone.versionMajor = version;
                        const std::string text = R"({"error":)" + error + R"(,"id":)" +
                                                 std::to_string(id) + R"(,"result":)" + result +
                                                 "}";
                        const Response response(json::JsonParser::parseTree(text));
                        const Request request(qx::IntrusiveString(method), Variant::EmptyList, id);
                        phone.handleResponse(request, response, Schema::ValidationResult());
                        ASSERT_EQ(text, sorted_text(response)) << method << ' ' << version;
                        ++compared;
                    }
                }
            }
        }
    }
    EXPECT_EQ(2 * 5 * 5 * 14 * 8, compared);
}

TEST(DeviceResponses, StandADeeplyNestedAnswer) {
    /// Writes nothing down, since the notes of a mail box would recurse.
    class QuietPhone : public Phone {
        void mailBoxData(const json::List& result, int) override { batches += result.size(); }

    public:
        std::size_t batches = 0;
    };
    constexpr int depth = 50000;
    const std::string nested = std::string(depth, '[') + std::string(depth, ']');
    for (const int id : {0, 101, 102, 103, 104}) {
        QuietPhone phone;
        phone.playbackMode = 2;
        phone.pause();
        event(phone, id, "\"result\":" + nested);
        EXPECT_EQ(id == 0 ? 34 : 50, phone.playbackMode) << id;
        EXPECT_EQ(id == 101, phone.doorAndLightStatus().doorStatusKnown) << id;
        EXPECT_EQ(id == 102, phone.doorAndLightStatus().lightOn) << id;
        EXPECT_EQ(id == 103 ? 1u : 0u, phone.told.size()) << id;
        EXPECT_EQ(id == 104 ? 1u : 0u, phone.batches) << id;
    }
}
