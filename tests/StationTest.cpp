// SPDX-License-Identifier: MIT
#include "station/Station.h"

#include "support/OneClient.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using station::Frame;
using station::SessionId;
using station::Settings;
using test::line_of;
using test::Lines;
using test::lines_of;
using test::OneClient;
using test::text_of;

Settings of_version(int versionMajor) {
    Settings settings;
    settings.versionMajor = versionMajor;
    return settings;
}

const char* const kAddPhone =
    R"({"method": "add_device", "params": ["phone", [2], "Kitchen"], "id": 103})";
const char* const kRegister = R"({"method": "register_device", "params": ["phone"], "id": 103})";

} // namespace

// ----- Requests and answers ------------------------------------------------------------------

TEST(Station, AnswersUnderTheIdOfTheRequest) {
    OneClient one;
    EXPECT_EQ(Lines({"1/7 wide"}),
              one.send(R"({"method": "display_mode", "params": ["wide"], "id": 7})"));
}

TEST(Station, ObeysARequestWithoutAnIdAndDoesNotAnswerIt) {
    OneClient one;
    EXPECT_EQ(Lines(), one.send(R"({"method": "trigger", "params": ["elight"]})"));
    EXPECT_TRUE(one.station.lightIsOn());
}

TEST(Station, AnswersPauseWithoutAnId) {
    OneClient one;
    EXPECT_EQ(Lines({R"(1/- {"paused":false})"}), one.send(R"({"method": "pause", "params": []})"));
    one.send(R"({"method": "live", "params": []})");
    EXPECT_EQ(Lines({R"(1/- {"paused":true})"}), one.send(R"({"method": "pause", "params": []})"));
}

TEST(Station, EndsTheTextOfAFrameWithAZeroByte) {
    OneClient one;
    const Frame frame = one.answer(R"({"method": "endfilter", "params": ["x"], "id": 5})");
    EXPECT_EQ(frame.bytes.size() - 1, frame.bytes.find('\0'));
}

TEST(Station, TellsItsVersion) {
    OneClient one;
    const json::Response response(
        text_of(one.answer(R"({"method": "version", "params": [], "id": 5})")));
    EXPECT_EQ(1, response.result()["version_major"].integerValue());
    EXPECT_EQ(2, response.result()["version_minor"].integerValue());
}

TEST(Station, KnowsEveryMethodThatADeviceClientSends) {
    const std::vector<const char*> ofAllKinds = {
        R"("list_methods", "params": [])",
        R"("version", "params": [])",
        R"("register_device", "params": ["phone"])",
        R"("subscription", "params": ["elight", true])",
        R"("subscription", "params": ["door", true])",
        R"("ptz_click", "params": [10, 20, true])",
        R"("ptz_pan", "params": [1, 2, true])",
        R"("ptz_zoom", "params": [2, true])",
        R"("bell_ack", "params": [true])",
        R"("trigger", "params": ["door"])",
        R"("trigger", "params": ["elight"])",
        R"("display_mode", "params": ["wide"])",
        R"("live", "params": [])",
        R"("pause", "params": [])",
        R"("endfilter", "params": [""])",
        R"("play", "params": [])",
        R"("play", "params": [1.5, 0.0, 2.5, true])",
        R"("play", "params": ["1.77245e+09@101E0"])",
        R"("mailboxdata", "params": [1])",
        R"("message_delete", "params": [101, 0, true])",
        R"("message_delete", "params": [101, 0])",
        R"("preview_message", "params": [9102, 160, 120])",
        R"("preview_live", "params": [160, 120])",
        R"("quit", "params": [])",
    };
    const std::vector<std::pair<int, const char*>> ofOneKind = {
        {0, R"("list_contact_numbers", "params": [])"},
        {0, R"("add_device", "params": ["phone", "555-0102", "Kitchen"])"},
        {1, R"("list_addressees", "params": [])"},
        {1, R"("add_device", "params": ["phone", [2], "Kitchen"])"},
        {2, R"("list_addressees", "params": [])"},
        {2, R"("add_device", "params": ["phone", [2], "Kitchen"])"},
    };
    for (const int versionMajor : {0, 1, 2}) {
        OneClient one(of_version(versionMajor));
        for (const char* method : ofAllKinds) {
            for (const std::string& line :
                 one.send(std::string("{\"id\": 9, \"method\": ") + method + "}")) {
                EXPECT_EQ(std::string::npos, line.find("error 3")) << method << line;
                EXPECT_EQ(std::string::npos, line.find("error 4")) << method << line;
            }
        }
    }
    for (const auto& [versionMajor, method] : ofOneKind) {
        OneClient one(of_version(versionMajor));
        const Lines lines = one.send(std::string("{\"id\": 9, \"method\": ") + method + "}");
        ASSERT_EQ(1u, lines.size()) << method;
        EXPECT_EQ(std::string::npos, lines[0].find("error")) << method << lines[0];
    }
}

TEST(Station, ListsItsMethodsAsRecords) {
    const std::set<std::string> ofAllKinds = {
        "list_methods", "version", "register_device", "subscription", "trigger",
        "bell_ack",     "ring",    "ptz_click",       "ptz_pan",      "ptz_zoom",
        "display_mode", "live",    "pause",           "endfilter",    "play",
        "mailboxdata",  "quit",    "message_delete",  "add_device",   "preview_message",
        "preview_live",
    };
    const std::set<std::string> words = {"string", "integer", "real", "boolean", "array"};
    for (const auto& [versionMajor, ofThisKind] :
         {std::pair(0, "list_contact_numbers"), std::pair(1, "list_addressees")}) {
        OneClient one(of_version(versionMajor));
        const json::Response response(
            text_of(one.answer(R"({"method": "list_methods", "params": [], "id": 1})")));
        std::set<std::string> names;
        for (const json::Variant& record : response.resultList()) {
            EXPECT_TRUE(names.insert(record["method"].charsValue()).second);
            EXPECT_TRUE(record["result"].isString()) << record;
            EXPECT_LT(5u, record["description"].size()) << record;
            EXPECT_TRUE(record["params"].isList()) << record;
            for (const json::Variant& parameter : record["params"].listValue()) {
                const json::Variant& type = parameter["type"];
                EXPECT_TRUE(type.isList() || words.count(type.charsValue()) == 1) << record;
                EXPECT_LT(5u, parameter["description"].size()) << record;
            }
        }
        std::set<std::string> expected = ofAllKinds;
        expected.insert(ofThisKind);
        EXPECT_EQ(expected, names);
    }
}

TEST(Station, DescribesWhatAParameterMayBe) {
    OneClient one;
    const json::Response response(
        text_of(one.answer(R"({"method": "list_methods", "params": [], "id": 1})")));
    bool zoomSeen = false;
    bool triggerSeen = false;
    for (const json::Variant& record : response.resultList()) {
        const json::Variant& first = record["params"][0];
        if (record["method"] == "ptz_zoom") {
            zoomSeen = true;
            EXPECT_EQ(-7, first["min"].integerValue());
            EXPECT_EQ(8, first["max"].integerValue());
        }
        if (record["method"] == "trigger") {
            triggerSeen = true;
            EXPECT_STREQ(R"(["door","elight"])", first["list"].charsValue());
        }
    }
    EXPECT_TRUE(zoomSeen && triggerSeen);
}

TEST(Station, RefusesParametersThatItsCatalogueDoesNotAllow) {
    const std::vector<std::pair<const char*, const char*>> rows = {
        {R"("ptz_zoom", "params": ["2", true])", "parameter 1 isn't of the type integer"},
        {R"("ptz_zoom", "params": [2.5, true])", "parameter 1 isn't of the type integer"},
        {R"("ptz_zoom", "params": [-8, true])", "parameter 1 is below -7"},
        {R"("ptz_zoom", "params": [9, true])", "parameter 1 is above 8"},
        {R"("ptz_zoom", "params": [9223372036854775807, true])", "parameter 1 is above 8"},
        {R"("ptz_zoom", "params": [2])", "parameter 2 is missing"},
        {R"("ptz_zoom", "params": [2, true, 3])", "too many parameters: 2 at most"},
        {R"("ptz_zoom", "params": {"a": 1})", "parameter 1 is missing"},
        {R"("trigger", "params": ["window"])", R"(parameter 1 isn't one of ["door","elight"])"},
        {R"("play", "params": [true])", R"(parameter 1 isn't of the type ["string","number"])"},
        {R"("play", "params": [1, 0, "2"])", "parameter 3 isn't of the type real"},
        {R"("add_device", "params": ["phone", 2, "Kitchen"])",
         "parameter 2 isn't of the type array"},
    };
    for (const auto& [method, fault] : rows) {
        OneClient one;
        const Lines lines = one.send(std::string("{\"id\": 9, \"method\": ") + method + "}");
        ASSERT_EQ(1u, lines.size()) << method;
        EXPECT_EQ(0u, lines[0].find("1/9 error 4 ")) << lines[0];
        EXPECT_NE(std::string::npos, lines[0].find(fault)) << lines[0];
    }
}

TEST(Station, RefusesAnUnknownMethodByItsName) {
    OneClient one;
    EXPECT_EQ(Lines({R"(1/5 error 3 unknown method "open_sesame")"}),
              one.send(R"({"method": "open_sesame", "params": [], "id": 5})"));
}

TEST(Station, EchoesOnlyTheBeginningOfALongName) {
    OneClient one;
    const std::string name(5000, 'a');
    EXPECT_EQ(Lines({"1/5 error 3 unknown method \"" + std::string(60, 'a') + "...\""}),
              one.send(R"({"method": ")" + name + R"(", "id": 5})"));
}

TEST(Station, AnswersTextsThatAreNoRequestsByAnErrorWithoutAnId) {
    const std::string deep(50'000, '[');
    const std::string deepObjects = [] {
        std::string text;
        for (int i = 0; i < 50'000; ++i) {
            text += R"({"a":)";
        }
        return text;
    }();
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", "1/- error 2 this isn't a request"},
        {"   ", "1/- error 2 this isn't a request"},
        {"{\"method\": \"version\"", "1/- error 2 this isn't a request"},
        {"[]", "1/- error 2 this isn't a request"},
        {"null", "1/- error 2 this isn't a request"},
        {"\"version\"", "1/- error 2 this isn't a request"},
        {"{}", "1/- error 2 this isn't a request"},
        {R"({"method": "", "id": 5})", "1/- error 2 this isn't a request"},
        {R"({"method": null, "id": 5})", "1/- error 2 this isn't a request"},
        {deep, "1/- error 2 this isn't a request"},
        {deep + std::string(50'000, ']'), "1/- error 2 this isn't a request"},
        {deepObjects, "1/- error 2 this isn't a request"},
    };
    OneClient one;
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(Lines({expected}), one.send(text)) << text.substr(0, 80);
    }
    for (const std::string& text :
         {std::string("open the door"), std::string("{\"method\": }"), std::string("\xFF\xFE\x01"),
          std::string("\0\0\0", 3), std::string("{} {}"), std::string("]")}) {
        const Lines lines = one.send(text);
        ASSERT_EQ(1u, lines.size()) << text;
        EXPECT_EQ(0u, lines[0].find("1/- error 1 syntax error: ")) << lines[0];
        EXPECT_EQ(std::string::npos, lines[0].find('\n')) << lines[0];
    }
    EXPECT_EQ(Lines({"1/7 wide"}),
              one.send(R"({"method": "display_mode", "params": ["wide"], "id": 7})"))
        << "and goes on with the next one";
}

TEST(Station, TakesAnIdThatIsNoPositiveNumberAsNone) {
    OneClient one;
    for (const char* id : {"0", "-5", "\"five\"", "null", "{}", "[7]"}) {
        EXPECT_EQ(Lines(), one.send(std::string(R"({"method": "version", "id": )") + id + "}"))
            << id;
    }
    EXPECT_EQ(Lines({"1/9223372036854775807 wide"}),
              one.send(R"({"method": "display_mode", "params": ["wide"],
                           "id": 9223372036854775807})"));
}

TEST(Station, ReadsHostileValuesWithoutHarm) {
    OneClient one;
    const std::string deep = std::string(50'000, '[') + std::string(50'000, ']');
    for (const std::string& params :
         {"[" + deep + "]", std::string(R"(["\u0000", [], "\u0000"])"),
          std::string("[\"\xC3\x28\", [{}], \"\xFF\"]"), std::string(R"(["a", [[2]], "b"])"),
          std::string(R"(["a", ["9999999999999999999"], "b"])"), std::string("5")}) {
        for (const char* method : {"add_device", "register_device", "mailboxdata", "play"}) {
            EXPECT_LE(1u, one.send(R"({"id": 5, "method": ")" + std::string(method) +
                                   R"(", "params": )" + params + "}")
                              .size())
                << method;
        }
    }
}

// ----- Sessions ------------------------------------------------------------------------------

TEST(Station, EndsASessionThatSaysQuit) {
    OneClient one;
    EXPECT_TRUE(one.station.isOpen(one.client));
    EXPECT_EQ(Lines(), one.send(R"({"method": "quit", "params": []})"));
    EXPECT_FALSE(one.station.isOpen(one.client));
    EXPECT_EQ(Lines(), one.send(R"({"method": "version", "params": [], "id": 5})"));
}

TEST(Station, SendsNothingToAClientThatLeft) {
    OneClient one;
    one.send(R"({"method": "subscription", "params": ["door", true], "id": 101})");
    one.send(kAddPhone);
    one.station.disconnect(one.client);
    EXPECT_EQ(Lines(), lines_of(one.station.ring()));
    EXPECT_EQ(Lines(), one.send(R"({"method": "trigger", "params": ["door"], "id": 5})"));
    EXPECT_FALSE(one.station.doorIsOpen());
}

// ----- Door, light and camera ----------------------------------------------------------------

TEST(Station, TellsTheStateAtOnceWhenASubscriptionBegins) {
    OneClient one;
    EXPECT_EQ(Lines({R"(1/101 ["door_closed"])"}),
              one.send(R"({"method": "subscription", "params": ["door", true], "id": 101})"));
    EXPECT_EQ(Lines({"1/102 [false]"}),
              one.send(R"({"method": "subscription", "params": ["elight", true], "id": 102})"));
    EXPECT_EQ(Lines({"1/105 [0,0,1]"}),
              one.send(R"({"method": "subscription", "params": ["view", true], "id": 105})"));
}

TEST(Station, PushesTheDoorToEverySubscriberUnderItsOwnId) {
    OneClient one;
    const SessionId other = one.station.connect();
    one.send(R"({"method": "subscription", "params": ["door", true], "id": 101})");
    one.station.receive(other, R"({"method": "subscription", "params": ["door", true], "id": 77})");
    EXPECT_EQ(Lines({"1/5 true", R"(1/101 ["door_open"])", R"(2/77 ["door_open"])"}),
              one.send(R"({"method": "trigger", "params": ["door"], "id": 5})"));
    EXPECT_EQ(Lines({R"(1/101 ["door_closed"])", R"(2/77 ["door_closed"])"}),
              lines_of(one.station.closeDoor()));
}

TEST(Station, SaysNothingWhenADoorThatIsShutFallsShut) {
    OneClient one;
    one.send(R"({"method": "subscription", "params": ["door", true], "id": 101})");
    EXPECT_EQ(Lines(), lines_of(one.station.closeDoor()));
}

TEST(Station, EndsASubscription) {
    OneClient one;
    one.send(R"({"method": "subscription", "params": ["elight", true], "id": 102})");
    EXPECT_EQ(Lines({"1/6 [false]"}),
              one.send(R"({"method": "subscription", "params": ["elight", false], "id": 6})"));
    EXPECT_EQ(Lines(), one.send(R"({"method": "trigger", "params": ["elight"]})"));
}

TEST(Station, TurnsTheLightOnAndOff) {
    OneClient one;
    one.send(R"({"method": "subscription", "params": ["elight", true], "id": 102})");
    EXPECT_EQ(Lines({"1/102 [true]"}), one.send(R"({"method": "trigger", "params": ["elight"]})"));
    EXPECT_EQ(Lines({"1/102 [false]"}), one.send(R"({"method": "trigger", "params": ["elight"]})"));
}

TEST(Station, TurnsTheCameraWithinItsBounds) {
    OneClient one;
    one.send(R"({"method": "subscription", "params": ["view", true], "id": 105})");
    const std::vector<std::pair<const char*, const char*>> rows = {
        {R"("ptz_pan", "params": [3, -1, true])", "1/105 [3,-1,1]"},
        {R"("ptz_pan", "params": [2, 2, true])", "1/105 [5,1,1]"},
        {R"("ptz_pan", "params": [2, 2, false])", "1/105 [2,2,1]"},
        {R"("ptz_zoom", "params": [4, false])", "1/105 [2,2,4]"},
        {R"("ptz_zoom", "params": [-1, true])", "1/105 [2,2,3]"},
        {R"("ptz_zoom", "params": [8, true])", "1/105 [2,2,8]"},
        {R"("ptz_zoom", "params": [-7, false])", "1/105 [2,2,1]"},
        {R"("ptz_click", "params": [500, 500, false])", "1/105 [2,2,1]"},
        {R"("ptz_click", "params": [600, 450, true])", "1/105 [4,3,2]"},
    };
    for (const auto& [request, event] : rows) {
        EXPECT_EQ(Lines({event}), one.send(std::string("{\"method\": ") + request + "}"));
    }
    for (int i = 0; i < 20; ++i) {
        one.send(R"({"method": "ptz_pan", "params": [10, -10, true]})");
    }
    EXPECT_EQ(Lines({"1/6 [100,-100,2]"}),
              one.send(R"({"method": "subscription", "params": ["view", false], "id": 6})"));
}

TEST(Station, LetsOnlySoManyClientsWatchTheLiveView) {
    Settings settings;
    settings.viewers = 1;
    OneClient one(settings);
    const SessionId other = one.station.connect();
    const char* const live = R"({"method": "live", "params": [], "id": 5})";
    const json::Response response(text_of(one.answer(live)));
    EXPECT_EQ("standard", response.result()["mode"]);
    EXPECT_EQ(25, response.result()["fps"].integerValue());
    EXPECT_EQ(Lines({"2/5 error 24 all live views are taken"}),
              lines_of(one.station.receive(other, live)));
    one.send(R"({"method": "play", "params": []})");
    EXPECT_FALSE(json::Response(text_of(one.station.receive(other, live).at(0))).isError());
}

// ----- Registration and bell -----------------------------------------------------------------

TEST(Station, DoesNotKnowAPhoneBeforeItIsAdded) {
    OneClient one;
    EXPECT_EQ(Lines({"1/103 error 14 this phone isn't known"}), one.send(kRegister));
    EXPECT_EQ(Lines({R"(1/103 [["2","Bert Rowan","first floor"]])"}), one.send(kAddPhone));
    const SessionId later = one.station.connect();
    EXPECT_EQ(Lines({R"(2/103 [["2","Bert Rowan","first floor"]])"}),
              lines_of(one.station.receive(later, kRegister)));
}

TEST(Station, RefusesASecondRegistrationOfThePhoneThatIsHere) {
    OneClient one;
    one.send(kAddPhone);
    EXPECT_EQ(Lines({"1/103 error 20 this phone is registered already"}), one.send(kRegister));
}

TEST(Station, ForgetsThePhonesOfAnAddresseeWhoIsGone) {
    OneClient one;
    one.send(kAddPhone);
    one.station.removeAddressee(2);
    EXPECT_EQ(Lines({"1/103 error 18 the addressee of this phone is gone"}), one.send(kRegister));
    EXPECT_EQ(Lines({R"(1/103 error 22 there is no addressee "2")"}), one.send(kAddPhone));
}

TEST(Station, RegistersNobodyBeforeItsAddressBookIsFilled) {
    Settings settings;
    settings.addressBook.clear();
    OneClient one(settings);
    EXPECT_EQ(Lines({"1/103 error 19 nobody is in the address book"}), one.send(kRegister));
    EXPECT_EQ(Lines({"1/5 []"}),
              one.send(R"({"method": "list_addressees", "params": [], "id": 5})"));
}

TEST(Station, ListsAddresseesAsRowsOfThreeTexts) {
    OneClient one;
    EXPECT_EQ(Lines({R"(1/5 [["1","Anna Quill","ground floor"],["2","Bert Rowan","first floor"],)"
                     R"(["3","Workshop","yard"]])"}),
              one.send(R"({"method": "list_addressees", "params": [], "id": 5})"));
}

TEST(Station, HasContactNumbersWhenItIsOfTheFirstKind) {
    OneClient one(of_version(0));
    const json::Response response(
        text_of(one.answer(R"({"method": "list_contact_numbers", "params": [], "id": 5})")));
    ASSERT_EQ(3u, response.resultList().size());
    EXPECT_EQ("555-0102", response.resultList()[1]["contact_number"]);
    EXPECT_EQ("Bert Rowan", response.resultList()[1]["name"]);
    EXPECT_EQ(Lines({R"(1/103 [["555-0102","Bert Rowan","first floor"]])"}),
              one.send(R"({"method": "add_device", "params": ["phone", "555-0102", "Kitchen"],
                           "id": 103})"));
    EXPECT_EQ(Lines({R"(1/103 error 22 there is no addressee "2")"}),
              one.send(R"({"method": "add_device", "params": ["phone", "2", "Kitchen"],
                           "id": 103})"));
}

TEST(Station, AnswersTheMethodsOfAnotherKindByTheirCodes) {
    const char* const numbers = R"({"method": "list_contact_numbers", "params": [], "id": 5})";
    const char* const addressees = R"({"method": "list_addressees", "params": [], "id": 5})";
    EXPECT_EQ(Lines({"1/5 error 21 withdrawn, use list_addressees"}),
              OneClient(of_version(1)).send(numbers));
    EXPECT_EQ(Lines({R"(1/5 error 3 unknown method "list_contact_numbers")"}),
              OneClient(of_version(2)).send(numbers));
    EXPECT_EQ(Lines({R"(1/5 error 3 unknown method "list_addressees")"}),
              OneClient(of_version(0)).send(addressees));
}

TEST(Station, RingsOnRegisteredPhonesOnly) {
    OneClient one;
    one.station.connect();
    one.send(kAddPhone);
    EXPECT_EQ(Lines({R"(1/103 ["bell",true])"}), lines_of(one.station.ring()));
    EXPECT_TRUE(one.station.bellIsRinging());
}

TEST(Station, RingsWhenAClientPlaysTheVisitor) {
    OneClient one;
    one.send(kAddPhone);
    EXPECT_EQ(Lines({"1/5 true", R"(1/103 ["bell",true])"}),
              one.send(R"({"method": "ring", "params": [], "id": 5})"));
}

TEST(Station, FallsSilentOnAllPhonesWhenOneAnswers) {
    OneClient one;
    const SessionId other = one.station.connect();
    one.send(kAddPhone);
    one.station.receive(
        other, R"({"method": "add_device", "params": ["second phone", [1], "Hall"], "id": 44})");
    one.station.ring();
    EXPECT_EQ(Lines({R"(1/103 ["bell",false])", R"(2/44 ["bell",false])"}),
              one.send(R"({"method": "bell_ack", "params": [true]})"));
    EXPECT_FALSE(one.station.bellIsRinging());
}

TEST(Station, NamesABellThatIsNotItsFirst) {
    OneClient one;
    one.send(kAddPhone);
    EXPECT_EQ(Lines({R"(1/103 ["bell",true,"yard"])"}), lines_of(one.station.ring("yard")));
    EXPECT_EQ(Lines({R"(1/103 ["bell",false,"yard"])"}),
              one.send(R"({"method": "bell_ack", "params": [true]})"));
    EXPECT_EQ(Lines({R"(1/103 ["bell",true])"}), lines_of(one.station.ring("front")));
    EXPECT_EQ(Lines(), lines_of(one.station.ring("cellar")));
}

TEST(Station, HasNoBellWhenItIsBornWithoutOne) {
    Settings settings;
    settings.bells.clear();
    OneClient one(settings);
    EXPECT_EQ(Lines(), lines_of(one.station.ring()));
    EXPECT_EQ(Lines({"1/5 true"}), one.send(R"({"method": "ring", "params": [], "id": 5})"));
    EXPECT_FALSE(one.station.bellIsRinging());
}

// ----- At the door ---------------------------------------------------------------------------

TEST(Station, TellsOfDoorAndLightOnlyWhenTheyChange) {
    OneClient one;
    one.send(R"({"method": "subscription", "params": ["door", true], "id": 101})");
    one.send(R"({"method": "subscription", "params": ["elight", true], "id": 102})");
    EXPECT_EQ(Lines({R"(1/101 ["door_open"])"}), lines_of(one.station.openDoor()));
    EXPECT_EQ(Lines(), lines_of(one.station.openDoor()));
    EXPECT_EQ(Lines({R"(1/102 [true])"}), lines_of(one.station.switchLight(true)));
    EXPECT_EQ(Lines(), lines_of(one.station.switchLight(true)));
}

TEST(Station, RemembersAThousandPhonesAndNoMore) {
    OneClient one;
    const auto add = [&one](int number) {
        return one.send(R"({"method": "add_device", "params": ["phone )" + std::to_string(number) +
                        R"(", [1], "Hall"], "id": 5})");
    };
    for (int number = 1; number <= 1000; ++number) {
        add(number);
    }
    EXPECT_EQ(1000u, one.station.knownPhones().size());
    EXPECT_EQ(Lines({"1/5 error 25 the station knows 1000 phones already"}), add(1001));
    EXPECT_EQ(Lines({R"(1/5 [["1","Anna Quill","ground floor"]])"}), add(7)) << "it is known";
}

TEST(Station, DrawsItsPictureInAnySize) {
    const station::Station door;
    for (const auto& [width, height] :
         std::vector<std::pair<int, int>>{{32, 24}, {0, -5}, {100000, 1}}) {
        EXPECT_EQ("\xFF\xD8\xFF", door.livePicture(width, height).substr(0, 3));
    }
}
