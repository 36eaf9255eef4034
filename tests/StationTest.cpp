// SPDX-License-Identifier: MIT
#include "station/Station.h"

#include "station/PreviewImage.h"
#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using station::Frame;
using station::SessionId;
using station::Settings;
using station::Station;
using Lines = std::vector<std::string>;

json::Variant text_of(const Frame& frame) {
    return json::JsonParser::parseTree(frame.bytes.c_str());
}

std::string attachment_of(const Frame& frame) {
    return frame.bytes.substr(frame.bytes.find('\0') + 1);
}

/// "SESSION/ID RESULT" or "SESSION/ID error CODE TEXT", with "-" for no id.
std::string line_of(const Frame& frame) {
    const json::Response response(text_of(frame));
    const json::Variant& id = response.referenceId();
    std::string line = std::to_string(frame.session) + "/" + (id.isNull() ? "-" : id.charsValue());
    if (!response.isError()) return line + " " + response.result().charsValue();
    return line + " error " + std::to_string(response.errorCode()) + " " +
           response.errorMessage().c_str();
}

Lines lines_of(const std::vector<Frame>& frames) {
    Lines lines;
    for (const Frame& frame : frames) {
        lines.push_back(line_of(frame));
    }
    return lines;
}

Settings of_version(int versionMajor) {
    Settings settings;
    settings.versionMajor = versionMajor;
    return settings;
}

/// A station and its first client.
struct OneClient {
    explicit OneClient(const Settings& settings = Settings()) : station(settings) {}

    Lines send(const std::string& text) { return lines_of(station.receive(client, text)); }
    /// The only frame; an empty one when there are more or none.
    Frame answer(const std::string& text) {
        const std::vector<Frame> frames = station.receive(client, text);
        EXPECT_EQ(1u, frames.size()) << text;
        return frames.size() == 1 ? frames[0] : Frame{};
    }

    Station station;
    SessionId client = station.connect();
};

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
        R"("play", "params": ["1.70036e+09@101E0"])",
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

// ----- Recordings ----------------------------------------------------------------------------

TEST(Station, SendsAMailBoxInBatchesUnderOneId) {
    OneClient one;
    const std::vector<Frame> frames =
        one.station.receive(one.client, R"({"method": "mailboxdata", "params": [1], "id": 104})");
    ASSERT_EQ(2u, frames.size());
    const json::Response first(text_of(frames[0]));
    EXPECT_EQ(104, first.referenceId().integerValue());
    EXPECT_EQ(3u, first.resultList().size());
    EXPECT_EQ(1u, json::Response(text_of(frames[1])).resultList().size());
    const json::Variant& row = first.resultList()[0];
    EXPECT_EQ("Parcel service", row["name_sender"]);
    EXPECT_TRUE(row["timestamp"].isReal());
    for (const char* key :
         {"mailbox_id", "name_mailbox", "sender_user_id", "name_sender", "timestamp", "length_ds",
          "appl_camera_id", "appl_sequence_no", "appl_event_index", "rid", "alarmimage", "events",
          "message_seen", "endfilter"}) {
        EXPECT_TRUE(row.contains(key)) << key;
    }
}

TEST(Station, EndsAMailBoxOfFullBatchesByAnEmptyOne) {
    OneClient one;
    one.send(R"({"method": "message_delete", "params": [104, 0]})");
    const std::vector<Frame> frames =
        one.station.receive(one.client, R"({"method": "mailboxdata", "params": [1], "id": 104})");
    ASSERT_EQ(2u, frames.size());
    EXPECT_EQ("1/104 []", line_of(frames[1]));
}

TEST(Station, RefusesAMailBoxThatItDoesNotHave) {
    OneClient one;
    EXPECT_EQ(Lines({"1/104 error 23 there is no such mail box"}),
              one.send(R"({"method": "mailboxdata", "params": [99], "id": 104})"));
}

TEST(Station, DeletesAMessage) {
    OneClient one;
    const char* const erase = R"({"method": "message_delete", "params": [201, 0], "id": 5})";
    EXPECT_EQ(Lines({"1/5 true"}), one.send(erase));
    EXPECT_EQ(Lines({"1/5 error 23 there is no such message"}), one.send(erase));
    EXPECT_EQ(Lines({"1/104 []"}),
              one.send(R"({"method": "mailboxdata", "params": [2], "id": 104})"));
}

TEST(Station, MarksAMessageWithoutTouchingRowsThatAreOnTheirWay) {
    OneClient one;
    const char* const read = R"({"method": "mailboxdata", "params": [2], "id": 104})";
    const json::Response before(text_of(one.answer(read)));
    EXPECT_EQ(Lines({"1/5 true"}),
              one.send(R"({"method": "message_delete", "params": [201, 0, true], "id": 5})"));
    const json::Response after(text_of(one.answer(read)));
    EXPECT_FALSE(before.firstResult()["message_seen"].booleanValue());
    EXPECT_TRUE(after.firstResult()["message_seen"].booleanValue());
}

TEST(Station, PlaysAMessageByTheSequenceNumberOfItsPosition) {
    OneClient one;
    one.send(R"({"method": "endfilter", "params": ["message 101"]})");
    const json::Response response(
        text_of(one.answer(R"({"method": "play", "params": ["1.70036e+09@101E0"], "id": 5})")));
    EXPECT_EQ(101, response.result()["message"].integerValue());
    EXPECT_EQ("message 101", response.result()["endfilter"]);
    EXPECT_EQ(Lines({R"(1/5 error 23 no message at "1@7E0")"}),
              one.send(R"({"method": "play", "params": ["1@7E0"], "id": 5})"));
    EXPECT_EQ(Lines({R"(1/5 error 23 no message at "101")"}),
              one.send(R"({"method": "play", "params": ["101"], "id": 5})"));
}

TEST(Station, SendsPreviewsAsTheBinaryPartOfAFrame) {
    OneClient one;
    const Frame live = one.answer(R"({"method": "preview_live", "params": [160, 120], "id": 5})");
    EXPECT_EQ(R"(1/5 {"blocks_follow":1})", line_of(live));
    EXPECT_EQ(station::previewImage("live view"), attachment_of(live));
    const Frame message =
        one.answer(R"({"method": "preview_message", "params": [9101, 160, 120], "id": 6})");
    EXPECT_EQ(station::previewImage("message 9101"), attachment_of(message));
    EXPECT_EQ(Lines({"1/7 error 23 there is no such message"}),
              one.send(R"({"method": "preview_message", "params": [1, 160, 120], "id": 7})"));
}

TEST(PreviewImage, IsAWholeImageWithItsTitleAsAComment) {
    const std::string image = station::previewImage("title");
    EXPECT_EQ(std::string("\xFF\xD8\xFF\xFE\x00\x07title\xFF\xDB", 13), image.substr(0, 13));
    EXPECT_EQ("\x3F\xFF\xD9", image.substr(image.size() - 3));
    EXPECT_EQ(1000 + image.size() - 5, station::previewImage(std::string(70'000, 'x')).size());
}
