// SPDX-License-Identifier: MIT
// A station that sends whatever may hurt: the client lives, its state is what the same texts make
// of it, it sends no more than they ask for, and the next good text is handled.
#include "support/HostileStation.h"

#include "support/SchemaText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using json::Request;
using json::Response;
using json::Variant;
using qx::MailBoxEntry;
using test::CapturedConsole;
using test::HostileStation;
using test::Phone;
using test::shown;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

namespace {

const std::string kLight = R"({"id":102,"result":[true]})";

/// `text` repeated.
std::string many(std::size_t count, std::string_view text, std::string_view between = "") {
    std::string joined;
    joined.reserve(count * (text.size() + between.size()));
    for (std::size_t i = 0; i < count; ++i) {
        if (i != 0) joined += between;
        joined += text;
    }
    return joined;
}

/// The text as a JSON string.
std::string quoted(const std::string& text) {
    qx::IntrusiveString printed;
    Variant(text).print(printed, false);
    return std::string(printed.c_str(), printed.length());
}

std::string reference_id(const std::string& request) {
    return std::to_string(Request(json::JsonParser::parseTree(request)).referenceId());
}

} // namespace

// ----- Frames ------------------------------------------------------------------------------------

namespace {

/// A good update.
struct Update {
    std::string text;
    std::string picture; ///< none when it is empty

    std::string bytes() const { return picture.empty() ? text : text + '\0' + picture; }
};

/// Updates of every kind. The phone waits for a preview under the id 1004.
const std::vector<Update>& corpus() {
    static const std::vector<Update> updates = {
        {R"({"id":101,"result":["door_open"]})", ""},
        {R"({"id":102,"result":[true]})", "\xFF\xD8 light"},
        {R"({"id":103,"result":["bell",true]})", "\0\0"s},
        {R"({"id":103,"result":[["1","Hall","ground floor"]]})", ""},
        {R"({"id":103,"result":null,"error":[14,"who?"]})", ""},
        {R"({"id":103,"result":null,"error":[19,"\u00e4 \ud83d\udd14"]})", ""},
        {R"({"id":1000,"result":{"version_major":2,"version_minor":31}})", ""},
        {R"({"id":1004,"result":true})", "header\xFF\xD8 picture\0\xFF\xD9"s},
        {R"({"binary-attachment-list":["a picture"],"id":1004})", ""},
        {R"({"id":104,"result":[{"alarmimage":"12.5","rid":-1.5e3,"timestamp":1e9},{}]})", "x"},
        {R"({"result":[[],{},[{"a":[null,false,"\\\"\n"]}]]})", ""},
        {"/* c */ {\"id\" : 102 ,\n\t\"result\":[0]} // end", "\xFF"},
    };
    return updates;
}

/// A station whose phone waits for a preview, and what a listener hears from it.
struct Overheard : HostileStation {
    test::CountingListener listener;
    Overheard() {
        phone.downloadMailPreviewImage(7, 1, 2, true);
        phone.sent.clear();
        phone.registerListener(&listener);
    }
    /// What can be seen after an update: the state, what was told and sent, and the response.
    std::string outcome() const {
        std::string text = state();
        for (const std::string& entry : phone.told) {
            text += "\n" + entry;
        }
        for (const std::string& entry : phone.sent) {
            text += "\n" + test::sorted_text(entry);
        }
        if (!listener.responses.empty()) {
            text += "\n" + listener.responseText(listener.responses.size() - 1);
        }
        return text;
    }
};

} // namespace

TEST(HostileStation, CutsAnUpdateAnywhere) {
    for (const Update& update : corpus()) {
        Overheard good;
        good.frame(update.bytes());
        ASSERT_EQ(1u, good.listener.responses.size()) << update.text;
        for (std::size_t length = 0; length < update.bytes().size(); ++length) {
            Overheard cut;
            const std::string before = cut.state();
            cut.frame(update.bytes().substr(0, length));
            if (!cut.listener.responses.empty()) continue; // cut inside the picture or a comment
            EXPECT_EQ(before, cut.state()) << length << ' ' << update.text;
            cut.frame(update.bytes());
            ASSERT_EQ(good.outcome(), cut.outcome()) << length << ' ' << update.text;
        }
    }
}

TEST(HostileStation, CutsAPictureAnywhere) {
    for (const Update& update : corpus()) {
        for (std::size_t length = 0; length < update.picture.size(); ++length) {
            Overheard cut;
            cut.frame(update.text + '\0' + update.picture.substr(0, length));
            ASSERT_EQ(1u, cut.listener.responses.size()) << length << ' ' << update.text;
            const Variant attached = cut.listener.responses[0].response["binary-attachment-list"];
            ASSERT_EQ(length == 0 ? 0u : 1u, attached.size()) << length << ' ' << update.text;
            if (length != 0) {
                EXPECT_EQ(update.picture.substr(0, length), std::string(attached[0].stringValue()));
            }
            ASSERT_TRUE(cut.goesOn()) << length << ' ' << update.text;
        }
    }
}

// The pieces of a stream may end anywhere as well; an update that follows drops them.
TEST(HostileStation, BreaksOffAStreamAnywhere) {
    for (const Update& update : corpus()) {
        Overheard good;
        good.phone.receive(update.text);
        for (std::size_t length = 0; length < update.text.size(); ++length) {
            const int size = static_cast<int>(length);
            for (const bool complete : {false, true}) {
                Overheard cut;
                cut.phone.readJsonText(update.text.data(), size, complete);
                if (!cut.listener.responses.empty()) continue; // cut inside a comment
                if (complete) {
                    cut.phone.receive(update.text);
                } else {
                    cut.frame(update.text);
                }
                ASSERT_EQ(good.outcome(), cut.outcome()) << length << ' ' << update.text;
            }
        }
    }
}

TEST(HostileStation, ChangesAnyByteOfAnUpdate) {
    for (const char* const text :
         {R"({"id":102,"result":[true]})", R"({"id":103,"error":[14,"x"]})",
          R"({"id":104,"result":[{}]})", R"({"id":1e3,"result":"\u0041"})"}) {
        HostileStation station;
        const std::string good = text;
        for (std::size_t place = 0; place < good.size(); ++place) {
            for (int value = 0; value < 256; ++value) {
                std::string changed = good;
                changed[place] = static_cast<char>(value);
                station.frame(changed);
                ASSERT_GE(1u, station.phone.sent.size()) << shown(changed);
                ASSERT_GE(1u, station.phone.told.size()) << shown(changed);
                ASSERT_TRUE(station.takesAnEvent()) << shown(changed);
                station.phone.sent.clear();
                station.phone.told.clear();
            }
        }
        EXPECT_TRUE(station.goesOn()) << text;
    }
}

TEST(HostileStation, SpeaksNonsenseBetweenItsUpdates) {
    Overheard station;
    for (int round = 0; round < 3; ++round) {
        for (const Update& update : corpus()) {
            const std::size_t heard = station.listener.responses.size();
            station.frame(update.bytes());
            ASSERT_EQ(heard + 1, station.listener.responses.size()) << update.text;
            for (const std::string& nonsense :
                 {""s, "{"s, "}"s, "[1,"s, "\xFF\xFE"s, "nul"s, "{\"id\":}"s, "\"\\ud800"s, "1 2"s,
                  "\0"s, "{\0}"s, "-"s, "1e999999"s, "99999999999999999999"s, "/*"s, "\""s}) {
                station.frame(nonsense);
            }
            const auto& heardAll = station.listener.responses;
            for (std::size_t i = heard + 1; i < heardAll.size(); ++i) {
                EXPECT_EQ("{}", station.listener.responseText(i)) << "a number is an answer";
            }
        }
    }
    EXPECT_TRUE(station.goesOn());
}

TEST(HostileStation, MergesTwoUpdatesIntoOne) {
    const std::string event = R"({"id":101,"result":["closed"]})";
    const struct {
        std::string bytes;
        bool handled;
        std::vector<std::string> attachments;
        const char* why;
    } rows[] = {
        {event + kLight, false, {}, "two texts are no text"},
        {event + "\n" + kLight, false, {}, "nor with white space between them"},
        {event + "," + kLight, false, {}, "nor with a comma"},
        {event + '\0' + kLight, true, {kLight}, "the second is the binary part of the first"},
        {event + '\0' + "\xFF\xD8" + kLight + '\0', true, {"\xFF\xD8" + kLight + '\0'}, "whole"},
        {event + event.substr(0, 5), false, {}, "one and a half"},
        {event + "  \n", true, {}, "white space is nothing"},
    };
    for (const auto& row : rows) {
        Overheard station;
        station.frame(row.bytes);
        const auto& responses = station.listener.responses;
        ASSERT_EQ(row.handled ? 1u : 0u, responses.size()) << row.why;
        EXPECT_EQ(row.handled, station.phone.doorAndLightStatus().doorStatusKnown) << row.why;
        EXPECT_FALSE(station.phone.doorAndLightStatus().lightStatusKnown) << row.why;
        std::vector<std::string> attached;
        if (row.handled) {
            const Variant list = responses[0].response["binary-attachment-list"];
            for (std::size_t i = 0; i < list.size(); ++i) {
                attached.push_back(list[i].stringValue());
            }
        }
        EXPECT_EQ(row.attachments, attached) << row.why;
        EXPECT_TRUE(station.goesOn()) << row.why;
    }
}

TEST(HostileStation, SendsFramesWithoutAnything) {
    HostileStation station;
    const std::string before = station.state();
    for (int round = 0; round < 100; ++round) {
        for (const std::string& bytes : {""s, "\0"s, "\0\0"s, "\0\0\0\xFF\xD8"s, " "s, " \0x"s}) {
            station.frame(bytes);
        }
        station.phone.receiveJsonHeaderUpdate(nullptr, 0);
        station.phone.receiveJsonHeaderUpdate(nullptr, 17);
    }
    EXPECT_EQ(before, station.state());
    EXPECT_TRUE(station.goesOn());
}

TEST(HostileStation, PutsTheZeroByteAnywhere) {
    const struct {
        std::string bytes;
        const char* light;
        std::vector<std::string> told;
        const char* why;
    } rows[] = {
        {"\0"s + kLight, "unknown", {}, "first: the text is empty"},
        {"\0\0"s + kLight, "unknown", {}, "twice and first"},
        {kLight + "\0"s, "on", {}, "last: no picture"},
        {kLight + "\0\0"s, "on", {}, "twice and last"},
        {kLight, "on", {}, "absent"},
        {kLight.substr(0, 9) + "\0"s + kLight.substr(9), "unknown", {}, "inside"},
        {R"({"id":1004})"s + "\0\0\xFF\xD8"s, "unknown", {"mailPreviewReady(7, \xFF\xD8)"}, "two"},
        {R"({"id":1004})"s + "\0\xFF\0\xD8"s,
         "unknown",
         {"mailPreviewReady(7, \xFF\0\xD8)"s},
         "one inside the picture"},
        {R"({"id":1004})"s + "\0"s, "unknown", {}, "a picture without bytes"},
    };
    for (const auto& row : rows) {
        Overheard station;
        station.frame(row.bytes);
        const auto& status = station.phone.doorAndLightStatus();
        EXPECT_STREQ(row.light, status.lightStatusKnown ? "on" : "unknown") << row.why;
        EXPECT_EQ(row.told, station.phone.told) << row.why;
        EXPECT_THAT(station.phone.sent, IsEmpty()) << row.why;
        EXPECT_TRUE(station.goesOn()) << row.why;
    }
}

TEST(HostileStation, SendsAPictureThatIsNone) {
    for (const std::string& bytes :
         {"no picture at all"s, "\0"s, std::string(100000, '\0'), "\xFE\xFE"s, "{\"id\":101}"s}) {
        Overheard station;
        station.frame(R"({"id":1004,"result":true})", bytes);
        ASSERT_EQ(1u, station.phone.images.size()) << shown(bytes);
        EXPECT_EQ(bytes, *station.phone.images[0]);
        EXPECT_EQ(bytes, *station.phone.downloadMailPreviewImage(7, 1, 2, true));
        EXPECT_THAT(station.phone.sent, IsEmpty());
        EXPECT_TRUE(station.goesOn()) << shown(bytes);
    }
}

TEST(HostileStation, SendsFramesOf64MiB) {
    constexpr std::size_t size = std::size_t{1} << 26;
    std::string bytes(size, '\xFF');

    Overheard station;
    station.frame(R"({"id":1004})", bytes);
    ASSERT_EQ(1u, station.phone.images.size()) << "a picture";
    EXPECT_EQ(size, station.phone.images[0]->size());
    station.phone.images.clear();
    station.phone.told.clear();
    station.listener.responses.clear();
    station.phone.clearPreviewCache();

    const std::string before = station.state();
    station.frame(bytes);
    std::fill(bytes.begin(), bytes.end(), '\0');
    station.frame(bytes);
    std::fill(bytes.begin(), bytes.end(), ' ');
    station.frame(bytes);
    bytes[0] = '"';
    station.frame(bytes);
    EXPECT_EQ(before, station.state()) << "no text";
    EXPECT_EQ(0u, station.listener.responses.size());
    EXPECT_TRUE(station.goesOn());
}

// ----- Reference ids -----------------------------------------------------------------------------

TEST(HostileStation, AnswersUnderAnyId) {
    const struct {
        const char* id; ///< as it stands in the text
        std::vector<std::string> told;
        const char* change; ///< what becomes of the phone
        const char* why;
    } rows[] = {
        {"0", {}, "", "none"},
        {"-1", {}, "", "negative"},
        {"-9223372036854775807", {}, "", "far negative"},
        {"101.9", {}, "door", "a real is cut"},
        {"1e300", {}, "", "a real out of range"},
        {"-1e300", {}, "", "a real out of range"},
        {"9223372036854775807", {}, "", "the last one"},
        {"\"101\"", {}, "door", "a text is read"},
        {"\"101 and more\"", {}, "door", "as far as it is a number"},
        {"\"door\"", {}, "", "a text without a number"},
        {"[101]", {}, "", "a list"},
        {"{\"101\":101}", {}, "", "an object"},
        {"true", {}, "", "a Boolean"},
        {"null", {}, "", "null"},
        {"101,\"id\":102", {}, "door", "the first of two"},
        {"102,\"id\":101", {}, "light", "the first of two"},
        {"1", {}, "", "of a catalogue that nobody asked for"},
        {"101", {}, "door", "the door"},
        {"102", {}, "light", "the light"},
        {"103", {"deviceRegistered(, , )"}, "", "the registration"},
        {"104", {"mailBoxData(1, [{\"method\":\"hostile.unasked\"}])"}, "", "the mail box"},
        {"1000", {}, "version", "the answer of another method"},
        {"1001", {}, "", "a number that was used up"},
        {"1004", {}, "", "a number that comes next"},
    };
    for (const bool askedFor : {true, false}) {
        for (const auto& row : rows) {
            HostileStation station;
            if (!askedFor) station.phone.pendingRequests.clear();
            const std::size_t pending = station.phone.pendingRequests.size();
            station.answer(row.id, R"("result":[{"method":"hostile.unasked"}])");
            const bool version = row.change == "version"s && askedFor;
            const auto& status = station.phone.doorAndLightStatus();
            EXPECT_EQ(row.told, station.phone.told) << row.id << ", " << row.why;
            EXPECT_EQ(row.change == "door"s, status.doorStatusKnown) << row.id << ", " << row.why;
            EXPECT_EQ(row.change == "light"s, status.lightStatusKnown) << row.id << ", " << row.why;
            EXPECT_EQ(version ? 0 : 9, station.phone.versionMinor) << row.id << ", " << row.why;
            EXPECT_EQ(version ? pending - 1 : pending, station.phone.pendingRequests.size())
                << row.id << ", " << row.why;
            EXPECT_EQ(1, station.phone.playbackMode) << row.id << ", " << row.why;
            EXPECT_THAT(station.phone.methodNames, IsEmpty()) << row.id << ", " << row.why;
            EXPECT_THAT(station.phone.sent, IsEmpty()) << row.id << ", " << row.why;
            EXPECT_TRUE(station.goesOn()) << row.id << ", " << row.why;
        }
    }
    EXPECT_EQ(nullptr, test::resolved(test::text_of(Request::argsSchemaUrl("hostile.unasked"))));
}

TEST(HostileStation, AnswersARequestTwice) {
    HostileStation station;
    station.phone.live();
    station.answer(1004, R"("result":true)");
    EXPECT_EQ(2, station.phone.playbackMode);
    station.phone.playbackMode = 18;
    station.answer(1004, R"("result":true)");
    EXPECT_EQ(18, station.phone.playbackMode) << "nothing waits any more";
    EXPECT_TRUE(station.goesOn());
}

TEST(HostileStation, AnswersWithTheIdOfAnotherRequest) {
    HostileStation station;
    station.phone.live();                                  // 1004
    station.phone.downloadMailPreviewImage(7, 1, 2, true); // 1005
    station.frame(R"({"id":1004,"result":true})", "\xFF picture");
    EXPECT_EQ(2, station.phone.playbackMode);
    EXPECT_THAT(station.phone.told, IsEmpty()) << "the live view has no use for a picture";
    station.answer(1005, R"("result":{"version_minor":7},"error":[14,"who?"])");
    EXPECT_THAT(station.phone.told, IsEmpty());
    EXPECT_EQ(2u, station.phone.sent.size()) << "only the registration asks for addresses";
    EXPECT_TRUE(station.goesOn());
}

// ----- Shapes ------------------------------------------------------------------------------------

namespace {

/// A request of each kind, under the id that its text names, none for 0.
const std::vector<std::pair<const char*, std::function<void(Phone&)>>>& commands() {
    static const std::vector<std::pair<const char*, std::function<void(Phone&)>>> all = {
        {"version", [](Phone& phone) { phone.call0("version"); }},
        {"register_device",
         [](Phone& phone) { phone.subscribe("register_device", "t", Phone::SubscribeDevice); }},
        {"subscription of the light",
         [](Phone& phone) {
             phone.subscribe2("subscription", "elight", true, Phone::SubscribeLight);
         }},
        {"subscription of the door",
         [](Phone& phone) {
             phone.subscribe2("subscription", "door", true, Phone::SubscribeDoor);
         }},
        {"add_device", [](Phone& phone) { phone.addDevice("a", "b", "c"); }},
        {"ptz_click", [](Phone& phone) { phone.ptzClick(1, 2, true); }},
        {"trigger", [](Phone& phone) { phone.triggerDoor(); }},
        {"live", [](Phone& phone) { phone.live(); }},
        {"pause", [](Phone& phone) { phone.pause(); }},
        {"play", [](Phone& phone) { phone.play(); }},
        {"play a stretch", [](Phone& phone) { phone.play(1, 2, true); }},
        {"mailboxdata", [](Phone& phone) { phone.readMailBox("1"); }},
        {"message_delete", [](Phone& phone) { phone.deleteMessage(MailBoxEntry()); }},
        {"preview_message", [](Phone& phone) { phone.downloadMailPreviewImage(7, 1, 2, true); }},
        {"preview_live", [](Phone& phone) { phone.downloadLivePreviewImage(1, 2, true); }},
        {"list_contact_numbers", [](Phone& phone) { phone.call0("list_contact_numbers"); }},
        {"list_addressees", [](Phone& phone) { phone.call0("list_addressees"); }},
        {"list_methods", [](Phone& phone) { phone.open(); }},
        {"quit", [](Phone& phone) { phone.close(); }},
    };
    return all;
}

constexpr int kNoError = -1000;

} // namespace

TEST(HostileStation, AnswersEveryMethodWithEveryShape) {
    const std::vector<const char*> results = {
        R"("result":null)",
        R"("result":true)",
        R"("result":-1)",
        R"("result":1e300)",
        R"("result":"text")",
        R"("result":"")",
        R"("result":[])",
        R"("result":[null])",
        R"("result":[[]])",
        R"("result":[[],[]])",
        R"("result":[{}])",
        R"("result":[{},{}])",
        R"("result":[[["a"],{"b":1}],[1.5]])",
        R"("result":["bell"])",
        R"("result":["bell",{}])",
        R"("result":{})",
        R"("result":{"0":["a","b","c"]})",
        R"("result":{"contact_number":1})",
        R"("result":[{"contact_number":[{}],"name":null},{"contact_number":{}}])",
        R"("result":["a","b","c"])",
        R"("result":[1,2,3,4,5,6,7,8,9])",
        R"("other":1)",
    };
    const struct {
        const char* members;
        int code;
    } errors[] = {
        {R"("error":null)", kNoError},
        {R"("none":1)", kNoError},
        {R"("error":false)", 0},
        {R"("error":14)", 0},
        {R"("error":"14")", 0},
        {R"("error":{"0":14})", 0},
        {R"("error":[])", 0},
        {R"("error":[[14],"x"])", 0},
        {R"("error":[14])", 14},
        {R"("error":["18",{}])", 18},
        {R"("error":[19.9,[]])", 19},
        {R"("error":[20,"x"])", 20},
        {R"("error":[21,null])", 21},
        {R"("error":[3,7])", 3},
        {R"("error":[24,"x"])", 24},
        {R"("error":[1e300,"x"])", 1},
        {R"("error":[-1,"\u0000"])", -1},
        {R"("error":[null,null])", 0},
        {R"("error":[5,"a"],"error":[14,"b"])", 5},
    };
    const CapturedConsole console;
    int answered = 0;
    for (const auto& [name, give] : commands()) {
        const std::string method = name;
        for (const char* const result : results) {
            for (const auto& error : errors) {
                HostileStation station;
                station.phone.playQueue.assign(1, MailBoxEntry());
                give(station.phone);
                const std::string id = reference_id(station.phone.sent.back());
                station.phone.sent.clear();
                const std::size_t pending = station.phone.pendingRequests.size();
                station.answer(id, std::string(result) + "," + error.members);

                std::size_t sends = 0;
                if (id == "103" && (error.code == 14 || error.code == 18)) sends = 1;
                if (method == "list_contact_numbers" && (error.code == 21 || error.code == 3)) {
                    sends = 1;
                }
                if (method == "pause" && error.code != 24) sends = 2; // the queued message
                const std::string where = method + " " + result + " " + error.members;
                ASSERT_EQ(sends, station.phone.sent.size()) << where;
                ASSERT_GE(1u, station.phone.told.size()) << where;
                ASSERT_GE(pending + sends, station.phone.pendingRequests.size()) << where;
                ASSERT_TRUE(++answered % 10 == 0 ? station.goesOn() : station.takesAnEvent())
                    << where;
            }
        }
    }
    EXPECT_EQ(19 * 22 * 19, answered);
}

TEST(HostileStation, SendsRowsTooShortTooLongOrNone) {
    const struct {
        const char* result;
        const char* registered;
        const char* addressees;
    } rows[] = {
        {"[[]]", "deviceRegistered(, , )", "singleAddressee(, , )"},
        {"[[\"a\"]]", "deviceRegistered(a, , )", "singleAddressee(a, , )"},
        {"[[\"a\",\"b\",\"c\",\"d\",[]]]", "deviceRegistered(a, b, c)", "singleAddressee(a, b, c)"},
        {"[7]", "deviceRegistered(, , )", "singleAddressee(, , )"},
        {"[null,null]", "deviceRegistered(, , )", "addresseesListed(= ())"},
        {"[{\"0\":\"a\"},[]]", "deviceRegistered(, , )", "addresseesListed(= ())"},
        {"[[[\"a\"],{\"b\":1},1e300],[],\"x\"]",
         "deviceRegistered([\"a\"], {\"b\":1}, 1.0000000000000000525e+300)",
         "addresseesListed(= (), [\"a\"]={\"b\":1} (1.0000000000000000525e+300))"},
    };
    for (const auto& row : rows) {
        HostileStation station;
        station.answer(103, "\"result\":"s + row.result);
        station.phone.call0("list_addressees");
        const std::string id = reference_id(station.phone.sent.back());
        station.phone.sent.clear();
        station.answer(id, "\"result\":"s + row.result);
        EXPECT_THAT(station.phone.told, ElementsAre(row.registered, row.addressees)) << row.result;
        EXPECT_THAT(station.phone.sent, IsEmpty()) << row.result;
        EXPECT_TRUE(station.goesOn()) << row.result;
    }
}

TEST(HostileStation, ListsOneAddressAgainAndAgain) {
    HostileStation station;
    std::size_t listed = 0;
    station.phone.whenTold = [&](const std::string& entry) { listed = entry.size(); };
    station.phone.call0("list_addressees");
    station.answer(1004, "\"result\":[" + many(20000, R"(["same","n","f"])", ",") + "]");
    EXPECT_EQ("addresseesListed(same=n (f))", station.phone.told.at(0));
    EXPECT_EQ(28u, listed);
    station.phone.whenTold = nullptr;
    EXPECT_TRUE(station.goesOn());
}

TEST(HostileStation, KeepsSendingBatchesOfAMailBox) {
    HostileStation station;
    station.phone.readMailBox("1");
    station.phone.sent.clear();
    const std::size_t pending = station.phone.pendingRequests.size() - 1;
    for (int batch = 1; batch <= 1000; ++batch) {
        station.answer(104, batch % 2 == 0 ? "\"result\":[]" : "\"result\":\"end\"");
    }
    EXPECT_EQ(1000u, station.phone.told.size());
    EXPECT_EQ("mailBoxData(1000, [])", station.phone.told.back());
    EXPECT_EQ(pending, station.phone.pendingRequests.size());
    EXPECT_THAT(station.phone.sent, IsEmpty());
    EXPECT_TRUE(station.goesOn());
}

// What an application makes of the rows it is handed.
TEST(HostileStation, SendsMessagesOfAnyShape) {
    const struct {
        std::string row;
        unsigned int sequenceNo;
        const char* play; ///< the text that names the message to the device
    } rows[] = {
        {"null", 0, "0@0E0"},
        {"[]", 0, "0@0E0"},
        {"\"alarmimage\"", 0, "0@0E0"},
        {R"({"alarmimage":{"alarmimage":[]},"timestamp":{}})", 0, "0@0E0"},
        {R"({"alarmimage":")" + many(1000000, "7") + "\"}", 4294967295U, "0@4294967295E0"},
        {R"({"alarmimage":")" + many(1000000, "0") + "5.9\"}", 5, "0@5E0"},
        {R"({"alarmimage":-1,"timestamp":"1e999"})", 4294967295U, "inf@4294967295E0"},
        {R"({"timestamp":-1e300,"appl_sequence_no":1e300,"appl_event_index":-1e300})", 4294967295U,
         "-1e+300@4294967295E0"},
        {R"({"timestamp":1,"timestamp":2,"appl_sequence_no":"x"})", 0, "1@0E0"},
        {R"({"endfilter":{"a":[]},"rid":[],"appl_camera_id":{}})", 0, "0@0E0"},
    };
    for (const auto& row : rows) {
        HostileStation station;
        station.phone.playbackMode = 2;
        const MailBoxEntry entry(
            json::JsonParser::parseTree(row.row.data(), static_cast<int>(row.row.size())));
        EXPECT_EQ(row.sequenceNo, entry.sequenceNo()) << shown(row.row);
        EXPECT_TRUE(entry == MailBoxEntry(entry)) << shown(row.row);
        station.phone.play(entry, false, false);
        ASSERT_EQ(2u, station.phone.sent.size()) << shown(row.row);
        const Request play(json::JsonParser::parseTree(station.phone.sent[1]));
        EXPECT_STREQ(row.play, std::as_const(play).arguments().at(0).charsValue())
            << shown(row.row);
        station.phone.markMessageSeen(entry, true);
        station.phone.deleteMessage(entry);
        station.phone.sent.clear();
        EXPECT_TRUE(station.goesOn()) << shown(row.row);
    }
}

TEST(HostileStation, SendsAMillionDigitsForAPicture) {
    const std::string digits = many(1000000, "7");
    const struct {
        std::string attachment;
        std::vector<std::string> told;
        const char* why;
    } rows[] = {
        {"\"" + digits + "\"", {"mailPreviewReady(7, " + digits + ")"}, "a text"},
        {digits, {}, "a number that is none"},
        {"0." + digits, {"mailPreviewReady(7, 0.77777777777777779011)"}, "a real"},
        {"1e" + digits, {}, "an exponent that is none"},
        {"0e" + digits, {"mailPreviewReady(7, 0.0)"}, "a zero"},
    };
    for (const auto& row : rows) {
        Overheard station;
        station.answer(1004, "\"binary-attachment-list\":[" + row.attachment + "]");
        EXPECT_TRUE(row.told == station.phone.told)
            << row.why << ' '
            << shown(station.phone.told.empty() ? "nothing" : station.phone.told[0]);
        EXPECT_THAT(station.phone.sent, IsEmpty()) << row.why;
        EXPECT_TRUE(station.goesOn()) << row.why;
    }
}

TEST(HostileStation, TellsOfAnyVersion) {
    const struct {
        const char* version;
        std::int32_t versionMajor;
        const char* book; ///< which address book is asked for
    } rows[] = {
        {"-1", -1, "list_addressees"},
        {"2147483648", -2147483647 - 1, "list_addressees"},
        {"4294967296", 0, "list_contact_numbers"},
        {"1e300", -1, "list_addressees"},
        {"-1e300", 0, "list_contact_numbers"},
        {"\"2\"", 2, "list_addressees"},
        {"\"\\u0000\"", 0, "list_contact_numbers"},
        {"0.9", 0, "list_contact_numbers"},
        {"[2]", 0, "list_contact_numbers"},
        {"{\"version_major\":2}", 0, "list_contact_numbers"},
        {"2,\"version_major\":3", 2, "list_addressees"},
    };
    for (const auto& row : rows) {
        HostileStation station;
        station.answer(1000, "\"result\":{\"version_major\":"s + row.version + "}");
        EXPECT_EQ(row.versionMajor, station.phone.versionMajor) << row.version;
        EXPECT_EQ(0, station.phone.versionMinor) << row.version;
        station.answer(103, "\"error\":[14,\"who?\"]");
        ASSERT_EQ(1u, station.phone.sent.size()) << row.version;
        const Request request(json::JsonParser::parseTree(station.phone.sent[0]));
        EXPECT_STREQ(row.book, request.methodName().c_str()) << row.version;
        station.phone.sent.clear();
        EXPECT_TRUE(station.goesOn()) << row.version;
    }
}

// ----- The catalogue of methods ------------------------------------------------------------------
//
// What a station says of its methods holds for the process, so each test has methods of its own.

namespace {

/// The answer to "list_methods" with these records, parted by commas.
void catalogue(HostileStation& station, const std::string& records) {
    station.phone.open();
    station.phone.sent.clear();
    station.answer(1, "\"result\":[" + records + "]");
}

constexpr std::size_t kDeep = 5000;

/// One parameter that holds a schema within a schema, and so on, as the value of that member.
std::string deep(const std::string& member) {
    const std::string ends = std::string(member.back() == '[' ? "]" : "") +
                             (member.find('{') != std::string::npos ? "}" : "") + "}";
    return "\"params\":[" + many(kDeep, "{" + member) + "{}" + many(kDeep, ends) + "]";
}

/// Parameters of which each refers to the next twice, so that a check by the letter doubles at
/// each.
std::string doubling(const std::string& member) {
    std::string params;
    for (int i = 1; i <= 40; ++i) {
        const std::string next = R"({"$ref":"#)" + std::to_string(i) + "\"}";
        params += "{\"" + member + "\":[" + next + "," + next + "]},";
    }
    return "\"params\":[" + params + R"({"type":"null"}])";
}

/// Gives the device's own methods back to those who call them.
struct OwnMethods {
    std::vector<const char*> names;
    ~OwnMethods() {
        for (const char* const name : names) {
            test::import_text("{\"id\":" + quoted(test::text_of(Request::argsSchemaUrl(name))) +
                              "}");
            test::import_text("{\"id\":" + quoted(test::text_of(Response::resultSchemaUrl(name))) +
                              "}");
        }
    }
};

} // namespace

TEST(HostileStation, NamesItsMethodsAnyway) {
    const CapturedConsole console;
    const std::string longName = "hostile." + many(1 << 20, "m");
    const struct {
        const char* records;
        std::size_t methods;
        const char* why;
    } rows[] = {
        {"{}", 1, "without a name"},
        {"{\"method\":null},{\"method\":7},{\"method\":[]},{\"method\":{}}", 4,
         "names of any type"},
        {"null,7,\"text\",[],[{}]", 5, "records of any type"},
        {"{\"method\":\"\"}", 1, "an empty name"},
        {"{\"method\":\"#\"},{\"method\":\"#0\"},{\"method\":\"h#h\"}", 3, "a fragment"},
        {"{\"method\":\"?\"},{\"method\":\"?args\"},{\"method\":\"h?h\"}", 3, "a query"},
        {"{\"method\":\"../\"},{\"method\":\"../../../../..\"},{\"method\":\".\"}", 3, "a way up"},
        {"{\"method\":\"/\"},{\"method\":\"//\"},{\"method\":\"http://other/\"}", 3, "a way out"},
        {"{\"method\":\"http://[::1\"},{\"method\":\"a:b@c:99999999999999999999\"}", 2, "hosts"},
        {"{\"method\":\"\\u0000\"},{\"method\":\"h\\u0000h\"}", 2, "a NUL"},
        {"{\"method\":\"%\"},{\"method\":\"%zz%00\"},{\"method\":\" \\n\\\\\\\"\"}", 3, "signs"},
        {"{\"method\":\"\xFF\xFE\"}", 1, "no text at all"},
        {"{\"method\":\"h.a\",\"method\":\"h.b\"}", 1, "two names"},
        {"", 0, "no record"},
    };
    for (const auto& row : rows) {
        HostileStation station;
        catalogue(station, row.records);
        EXPECT_EQ(row.methods, station.phone.methodNames.size()) << row.why;
        EXPECT_THAT(station.phone.told, IsEmpty()) << row.why;
        EXPECT_THAT(station.phone.sent, IsEmpty()) << row.why;
        station.phone.triggerDoor();
        EXPECT_THAT(station.phone.takeSent(),
                    ElementsAre(R"({"method":"trigger","params":["door"]})"))
            << row.why;
        EXPECT_TRUE(station.goesOn()) << row.why;
    }
    HostileStation station;
    catalogue(station, "{\"method\":\"" + longName + "\",\"params\":[{},{}]}");
    ASSERT_EQ(1u, station.phone.methodNames.size()) << "a megabyte";
    EXPECT_TRUE(station.phone.methodNames[0] == longName.c_str());
    EXPECT_TRUE(station.goesOn()) << "a megabyte";
}

TEST(HostileStation, NamesOneMethodTenThousandTimes) {
    const CapturedConsole console;
    HostileStation station;
    const std::size_t pending = station.phone.pendingRequests.size();
    catalogue(station, many(10000, R"({"method":"hostile.again","params":[{}]})", ","));
    EXPECT_EQ(10000u, station.phone.methodNames.size());
    EXPECT_EQ(pending + 1, station.phone.pendingRequests.size()) << "the catalogue's own";
    EXPECT_THAT(station.phone.sent, IsEmpty());
    EXPECT_TRUE(station.goesOn());
}

TEST(HostileStation, DescribesItsParametersAnyway) {
    const CapturedConsole console;
    const struct {
        std::string members;
        const char* why;
    } rows[] = {
        {R"("params":{"a":1,"b":{}})", "an object"},
        {R"("params":7)", "a number"},
        {R"("params":"text")", "a text"},
        {R"("params":[null,1,"x",[],[{}],true])", "a list of anything"},
        {R"("params":[{"type":7},{"type":[]},{"type":{}},{"type":[[],{},"x",null]}])", "types"},
        {R"("params":[{"list":7},{"list":[]},{"list":{}},{"enum":[{}],"list":null}])", "values"},
        {R"("params":[{"min":"x","max":[]},{"min":1e300,"max":-1e300},{"min":null}])", "bounds"},
        {R"("params":[{"minLength":-1,"maxLength":1e300,"minItems":"x","maxItems":{}}])",
         "lengths"},
        {R"("params":[{"pattern":"((((((((("},{"pattern":"(a+)+$"},{"pattern":{}}])", "patterns"},
        {R"("params":[{"divisibleBy":0},{"divisibleBy":-1},{"divisibleBy":"x"}])", "divisors"},
        {R"("params":[{"$ref":"#0"}])", "that refer to themselves"},
        {R"("params":[{"$ref":"#1"},{"$ref":"#0"}])", "that refer to each other"},
        {R"("params":[{"$ref":"#"}])", "that refer to the list"},
        {R"("params":[{"$ref":""},{"$ref":"#7"},{"$ref":7},{"$ref":"http://other/"}])", "nowhere"},
        {R"("params":[{"extends":{"$ref":"#0"}},{"extends":[{"$ref":"#1"},{"$ref":"#0"}]}])",
         "that extend themselves"},
        {R"("params":[{"type":[{"$ref":"#0"}]},{"type":{"$ref":"#1"}},{"disallow":[{"$ref":"#2"}]}])",
         "that are of their own type"},
        {R"("params":[{"items":{"$ref":"#0"}},{"items":[{"$ref":"#1"}],"additionalItems":{"$ref":"#0"}}])",
         "that hold themselves"},
        {R"("params":[{"properties":{"a":{"$ref":"#0"}},"additionalProperties":{"$ref":"#0"},)"
         R"("patternProperties":{".*":{"$ref":"#0"}},"default":{"a":{"a":{}}}}])",
         "that have themselves"},
        {R"("params":[{"dependencies":{"a":{"$ref":"#0"},"b":"c","c":["a"]}}])", "that depend"},
        {R"("params":[{"default":{"$ref":"#0"},"required":true},{"required":7}])", "defaults"},
        {R"("params":[{"id":"http://schemas.gatecast.example/rpc/methods/hostile.x?args"}])",
         "ids"},
        {R"("params":[{"id":7},{"id":{}},{"id":"#0"},{"id":"../../x"}])", "ids of any type"},
        {R"("result":{"$ref":"?result"},"params":[])", "a result of its own type"},
        {R"("result":[[[]]],"params":[])", "a result of any type"},
        {R"("description":{"a":[]},"params":[{"description":[],"title":{}}])", "texts"},
        {R"("params":[],"params":[{"$ref":"#0"}])", "two lists of them"},
        {R"("params":)" + many(kDeep, "[") + many(kDeep, "]"), "deep lists"},
        {R"("result":)" + many(kDeep, "[") + many(kDeep, "]"), "a deep result"},
        {R"("params":[{"type":)" + many(kDeep, "[") + many(kDeep, "]") + "}]", "deep types"},
        {doubling("extends"), "each two of the next"},
        {doubling("disallow"), "each none of the next"},
        {R"("params":[{"items":{"$ref":"#0"},"extends":[{"items":{"$ref":"#0"}},{"items":{"$ref":"#0"}}]}])",
         "two of themselves in each element"},
        {deep(R"("type":)"), "types of objects"},
        {deep(R"("type":[)"), "lists of types"},
        {deep(R"("disallow":[)"), "what isn't taken"},
        {deep(R"("extends":)"), "what is extended"},
        {deep(R"("items":)"), "elements"},
        {deep(R"("items":[)"), "elements one by one"},
        {deep(R"("additionalItems":)"), "further elements"},
        {deep(R"("properties":{"a":)"), "members"},
        {deep(R"("additionalProperties":)"), "further members"},
        {deep(R"("patternProperties":{"a":)"), "members by pattern"},
        {deep(R"("dependencies":{"a":)"), "conditions"},
        {deep(R"("default":)"), "a deep default"},
        {deep(R"("default":[)"), "a default of lists"},
        {deep(R"("enum":[)"), "deep values"},
        {deep(R"("id":"x","items":)"), "deep ids"},
        {deep(R"("other":)"), "deep members of no meaning"},
    };
    const std::vector<const char*> arguments = {
        "[]",
        "[1]",
        "[\"x\"]",
        "[[[[1]]]]",
        R"([{"a":{"a":{"b":1}}}])",
        "[null,true,-1.5,{},[]]",
        "[-9223372036854775807]",
    };
    for (const auto& row : rows) {
        HostileStation station;
        catalogue(station, R"({"method":"hostile.x",)" + row.members + "}");
        EXPECT_EQ(1u, station.phone.methodNames.size()) << row.why;
        EXPECT_THAT(station.phone.sent, IsEmpty()) << row.why;
        for (const char* const params : arguments) {
            station.phone.call("hostile.x", json::JsonParser::parseTree(params));
            ASSERT_EQ(1u, station.phone.sent.size()) << row.why << ' ' << params;
            const std::string id = reference_id(station.phone.sent[0]);
            station.phone.sent.clear();
            station.answer(id, "\"result\":"s + params);
        }
        Variant smallest;
        smallest << std::numeric_limits<std::int64_t>::min() << Variant(0.0) << Variant(1e300);
        station.phone.call("hostile.x", smallest, Phone::NO_ID);
        ASSERT_EQ(1u, station.phone.sent.size()) << row.why << ", the smallest number";
        station.phone.sent.clear();
        EXPECT_THAT(station.phone.told, IsEmpty()) << row.why;
        EXPECT_TRUE(station.goesOn()) << row.why;
    }
}

TEST(HostileStation, DescribesAHundredThousandParameters) {
    const CapturedConsole console;
    HostileStation station;
    catalogue(station, R"({"method":"hostile.many","params":[)" + many(100000, "{}", ",") + "]}");
    station.phone.call("hostile.many", json::JsonParser::parseTree("[1,2,3]"));
    EXPECT_EQ(1u, station.phone.sent.size());
    station.phone.sent.clear();
    EXPECT_TRUE(station.goesOn());
}

TEST(HostileStation, DescribesTheMethodsThatItIsCalledBy) {
    const CapturedConsole console;
    const OwnMethods own{{"trigger", "live", "preview_message", "list_methods"}};
    HostileStation station;
    catalogue(station, R"({"method":"trigger","params":[{"$ref":"#0"}],"result":"null"},)"
                       R"({"method":"live","params":[],"result":{"$ref":"?result"}},)"
                       R"({"method":"preview_message","params":[{"type":"null"}]},)"
                       R"({"method":"list_methods","result":"null"})");
    station.phone.triggerDoor();
    station.phone.live();
    EXPECT_EQ(2u, station.phone.sent.size());
    const std::string id = reference_id(station.phone.sent[1]);
    station.phone.sent.clear();
    station.answer(id, "\"result\":[]");
    EXPECT_EQ(2, station.phone.playbackMode);
    station.answer(1, R"("result":[{"method":"hostile.later"}])");
    EXPECT_EQ(5u, station.phone.methodNames.size());
    EXPECT_TRUE(station.goesOn());
}

// A record inside a record names any schema of the process; what the application imports after it
// holds again.
TEST(HostileStation, ReplacesASchemaUntilTheApplicationImportsItAgain) {
    const CapturedConsole console;
    const std::string url = test::text_of(Request::argsSchemaUrl("hostile.victim"));
    const std::string mine = "{\"id\":" + quoted(url) + R"(,"type":"array"})";
    const Request request("hostile.victim", Variant::EmptyList, 5);
    test::import_text(mine);
    EXPECT_EQ(json::Schema::NoError, request.validateArgs().code);
    HostileStation station;
    catalogue(station, R"({"method":"hostile.thief","params":[{"properties":{"a":{"id":)" +
                           quoted(url) + R"(,"type":"null"}}}]})");
    EXPECT_EQ(json::Schema::WrongDataType, request.validateArgs().code);
    test::import_text(mine);
    EXPECT_EQ(json::Schema::NoError, request.validateArgs().code);
    EXPECT_TRUE(station.goesOn());
}

// ----- Floods ------------------------------------------------------------------------------------

TEST(HostileStation, FloodsWithOneKindOfText) {
    constexpr int kFlood = 4000;
    const struct {
        const char* why;
        std::function<std::string(int)> text;
        std::size_t told;
        std::size_t sent;
    } rows[] = {
        {"unknown ids",
         [](int i) { return "{\"id\":" + std::to_string(1000000 + i) + ",\"result\":[1]}"; }, 0, 0},
        {"negative ids",
         [](int i) { return "{\"id\":-" + std::to_string(2 + i) + ",\"result\":[1]}"; }, 0, 0},
        {"no ids", [](int) { return "{\"result\":true}"s; }, 0, 0},
        {"numbers", [](int i) { return std::to_string(i) + " "; }, 0, 0},
        {"events of the light", [](int) { return kLight; }, 0, 0},
        {"rings", [](int) { return R"({"id":103,"result":["bell",true]})"s; }, 0, 0},
        {"errors to ignore", [](int) { return R"({"id":103,"error":[24,"busy"]})"s; }, 0, 0},
        {"errors to show", [](int) { return R"({"id":103,"error":[5,"no"]})"s; }, kFlood, 0},
        {"phones unknown", [](int) { return R"({"id":103,"error":[14,"?"]})"s; }, 0, kFlood},
        {"batches", [](int) { return R"({"id":104,"result":[{}]})"s; }, kFlood, 0},
        {"catalogues unasked",
         [](int) { return R"({"id":1,"result":[{"method":"hostile.flood"}]})"s; }, 0, 0},
        {"pictures unasked",
         [](int) { return R"({"id":5000000,"binary-attachment-list":["x"]})"s; }, 0, 0},
        {"broken texts", [](int) { return "{\"id\":101,\"result\":["s; }, 0, 0},
        {"nothing", [](int) { return ""s; }, 0, 0},
    };
    for (const auto& row : rows) {
        HostileStation station;
        const std::size_t pending = station.phone.pendingRequests.size();
        for (int i = 0; i < kFlood; ++i) {
            station.frame(row.text(i));
        }
        EXPECT_EQ(row.told, station.phone.told.size()) << row.why;
        EXPECT_EQ(row.sent, station.phone.sent.size()) << row.why;
        EXPECT_EQ(pending + row.sent, station.phone.pendingRequests.size()) << row.why;
        EXPECT_THAT(station.phone.methodNames, IsEmpty()) << row.why;
        EXPECT_EQ(0u, station.phone.previewCache->size()) << row.why;
        EXPECT_TRUE(station.goesOn()) << row.why;
    }
}

TEST(HostileStation, FloodsWithPauses) {
    HostileStation station;
    for (int i = 0; i < 200; ++i) {
        station.phone.play(MailBoxEntry(), false, false); // waits: nothing is ready
    }
    for (int i = 0; i < 2000; ++i) {
        station.phone.pause();
        station.answer(0, "\"result\":true");
        station.answer(0, "\"result\":true"); // finds no request
    }
    EXPECT_EQ(2000u + 2 * 200u, station.phone.sent.size()) << "each message is played once";
    EXPECT_THAT(station.phone.playQueue, IsEmpty());
    station.phone.sent.clear();
    EXPECT_TRUE(station.goesOn());
}

TEST(HostileStation, FloodsWithCatalogues) {
    const CapturedConsole console;
    HostileStation station;
    catalogue(station, R"({"method":"hostile.more","params":[{}]})");
    const std::size_t pending = station.phone.pendingRequests.size();
    for (int i = 1; i < 200; ++i) {
        station.answer(1, R"("result":[{"method":"hostile.more"}])");
    }
    EXPECT_EQ(200u, station.phone.methodNames.size()) << "as often as it was named";
    EXPECT_EQ(pending, station.phone.pendingRequests.size());
    EXPECT_THAT(station.phone.sent, IsEmpty());
    EXPECT_TRUE(station.goesOn());
}

TEST(HostileStation, FloodsTheCacheWithPictures) {
    HostileStation station;
    for (int i = 0; i < 2000; ++i) {
        station.phone.downloadMailPreviewImage(i, 1, 2, true);
        const std::string id = reference_id(station.phone.sent.back());
        station.frame("{\"id\":" + id + "}", "\xFF" + std::string(1000, 'p'));
        station.frame("{\"id\":" + id + "}", "\xFF again");
        station.phone.images.clear();
        station.phone.told.clear();
        station.phone.sent.clear();
    }
    EXPECT_EQ(120u, station.phone.previewCache->size());
    EXPECT_THAT(station.phone.previewKeyByRequest, IsEmpty());
    EXPECT_THAT(station.phone.previewRequestByKey, IsEmpty());
    EXPECT_TRUE(station.goesOn());
}

TEST(HostileStation, FloodsOneTextWithOneKindOfMember) {
    constexpr std::size_t kMembers = 10000;
    const struct {
        const char* why;
        std::string members;
    } rows[] = {
        {"one key again and again", many(kMembers, R"("result":[1])", ",")},
        {"ids", many(kMembers, R"("id":101)", ",")},
        {"errors", many(kMembers, R"("error":[14,"x"])", ",")},
        {"pictures", many(kMembers, R"("binary-attachment-list":["x"])", ",")},
        {"versions", R"("result":{)" + many(kMembers, R"("version_minor":1)", ",") + "}"},
    };
    for (const auto& row : rows) {
        HostileStation station;
        station.frame("{\"id\":102," + row.members + "}", "picture");
        EXPECT_TRUE(station.phone.doorAndLightStatus().lightStatusKnown) << row.why;
        EXPECT_FALSE(station.phone.doorAndLightStatus().doorStatusKnown) << row.why;
        EXPECT_THAT(station.phone.told, IsEmpty()) << row.why;
        EXPECT_THAT(station.phone.sent, IsEmpty()) << row.why;
        EXPECT_TRUE(station.goesOn()) << row.why;
    }
}

TEST(HostileStation, NestsWhatItSends) {
    constexpr std::size_t kDepth = 20000;
    const std::string lists = many(kDepth, "[") + many(kDepth, "]");
    const std::string objects = many(kDepth, "{\"a\":") + "1" + many(kDepth, "}");
    for (const std::string& nested : {lists, objects}) {
        for (const char* const member : {"result", "error", "id", "binary-attachment-list", "x"}) {
            for (const char* const id : {"101", "102", "1004"}) {
                Overheard station;
                station.frame("{\""s + member + "\":" + nested + ",\"id\":" + id + "}", "\xFF");
                EXPECT_THAT(station.phone.sent, IsEmpty()) << member << ' ' << id;
                EXPECT_GE(1u, station.phone.told.size()) << member << ' ' << id;
                station.listener.responses.clear();
                EXPECT_TRUE(station.goesOn()) << member << ' ' << id;
            }
        }
    }
}

// ----- A mixture ---------------------------------------------------------------------------------

namespace {

/// Says at random what the tests above say one by one, while its phone is used.
class RandomStation : public HostileStation {
public:
    explicit RandomStation(unsigned int seed) : random_(seed) {}

    void saySomething() {
        std::string bytes = text();
        if (pick(3) == 0) bytes += '\0';
        if (pick(4) == 0) bytes += '\0' + std::string(pick(2000), static_cast<char>(pick(256)));
        switch (pick(12)) {
        case 0:
            bytes.resize(pick(bytes.size() + 1));
            break;
        case 1:
            bytes += text();
            break;
        case 2:
            if (!bytes.empty()) bytes[pick(bytes.size())] = static_cast<char>(pick(256));
            break;
        default:
            break;
        }
        if (pick(10) == 0) {
            phone.readJsonText(bytes.data(), static_cast<int>(bytes.size()), pick(2) == 0);
        } else {
            frame(bytes);
        }
    }
    void useThePhone() {
        const auto& all = commands();
        if (pick(3) == 0) phone.play(MailBoxEntry(), pick(2) == 0, false);
        all[pick(all.size())].second(phone);
    }

private:
    std::size_t pick(std::size_t count) { return random_() % count; }
    const char* any(std::initializer_list<const char*> texts) {
        return texts.begin()[pick(texts.size())];
    }
    std::string id() {
        if (pick(3) == 0) return std::to_string(1000 + pick(200));
        return any({"0", "-1", "1", "101", "102", "103", "104", "101.5", "1e300", "\"103\"",
                    "[101]", "{}", "null", "true", "9223372036854775807", "101,\"id\":102"});
    }
    std::string value(int depth = 0) {
        if (depth < 4 && pick(2) == 0) {
            std::string joined;
            const std::size_t size = pick(4);
            const bool list = pick(3) != 0;
            for (std::size_t i = 0; i < size; ++i) {
                if (i != 0) joined += ',';
                if (!list) joined += key() + ":";
                joined += value(depth + 1);
            }
            return list ? "[" + joined + "]" : "{" + joined + "}";
        }
        return any({"null", "true", "false", "0", "-1", "14", "18", "19", "21", "3", "24", "1.5",
                    "1e300", "\"\"", "\"bell\"", "\"a\"", "\"\\u0000\"", "\"12.34\"",
                    "-9223372036854775807"});
    }
    std::string key() {
        return any({"\"version_major\"", "\"version_minor\"", "\"contact_number\"", "\"name\"",
                    "\"alarmimage\"", "\"a\"", "\"method\"", "\"params\""});
    }
    std::string text() {
        std::string members = any({"\"result\":", "\"result\":", "\"other\":"}) + value();
        if (pick(3) == 0) members += ",\"error\":" + value();
        if (pick(6) == 0) members += ",\"binary-attachment-list\":" + value();
        if (pick(12) == 0) return value();
        return "{" + members + ",\"id\":" + id() + "}";
    }

    std::mt19937 random_;
};

} // namespace

TEST(HostileStation, SaysAnythingInAnyOrder) {
    const CapturedConsole console;
    std::size_t handled = 0;
    for (unsigned int seed = 1; seed <= 20; ++seed) {
        RandomStation station(seed);
        for (int step = 0; step < 500; ++step) {
            if (step % 5 == 0) station.useThePhone();
            const std::size_t queued = station.phone.playQueue.size();
            station.phone.sent.clear();
            station.phone.told.clear();
            station.saySomething();
            const std::size_t played = queued - station.phone.playQueue.size();
            ASSERT_GE(1u, played) << "seed " << seed << ", step " << step;
            ASSERT_GE(1u + played, station.phone.sent.size()) << "seed " << seed << ", " << step;
            ASSERT_GE(1u, station.phone.told.size()) << "seed " << seed << ", step " << step;
            ASSERT_TRUE(station.takesAnEvent()) << "seed " << seed << ", step " << step;
            ++handled;
        }
        EXPECT_TRUE(station.goesOn()) << "seed " << seed;
    }
    EXPECT_EQ(10000u, handled);
}
