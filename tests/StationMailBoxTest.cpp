// SPDX-License-Identifier: MIT
#include "station/Station.h"

#include "shared/Jpeg.h"
#include "support/OneClient.h"
#include "support/PictureWords.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using station::Frame;
using station::SessionId;
using station::Settings;
using test::Lines;
using test::OneClient;

const char* const kRead = R"({"method": "mailboxdata", "params": [1], "id": 104})";
const char* const kRing = R"({"method": "ring", "params": []})";
const char* const kPause = R"({"method": "pause", "params": [], "id": 8})";
const char* const kPlay = R"({"method": "play", "params": [], "id": 9})";
const char* const kPlay101 = R"({"method": "play", "params": ["1.77245e+09@101E0"], "id": 9})";

std::string erase(int sequence) {
    return R"({"method": "message_delete", "params": [)" + std::to_string(sequence) + R"(, 0]})";
}

json::Variant parsed(const std::string& text) { return json::JsonParser::parseTree(text); }

/// All rows of the batches that a request for a mail box brings.
std::vector<json::Variant> rows_of(const std::vector<Frame>& frames) {
    std::vector<json::Variant> rows;
    for (const Frame& frame : frames) {
        const json::Response response(test::text_of(frame));
        for (const json::Variant& row : response.resultList()) {
            rows.push_back(row);
        }
    }
    return rows;
}

struct MailBoxClient : OneClient {
    using OneClient::OneClient;

    std::vector<json::Variant> rows() { return rows_of(station.receive(client, kRead)); }
    std::vector<long long> numbers() {
        std::vector<long long> numbers;
        for (const json::Variant& row : rows()) {
            numbers.push_back(row["appl_sequence_no"].integerValue());
        }
        return numbers;
    }
    /// What the answer says of the message that plays, 0 for none.
    long long playing(const std::string& request) {
        return json::Response(test::text_of(answer(request))).result()["message"].integerValue();
    }
    bool pauses() {
        return json::Response(test::text_of(answer(kPause))).result()["paused"].booleanValue();
    }
    /// The picture of a request, which is its only answer.
    shared::JpegContent picture(const std::string& method, const std::string& params) {
        const Frame frame =
            answer(R"({"id": 5, "method": ")" + method + R"(", "params": )" + params + "}");
        EXPECT_EQ(R"(1/5 {"blocks_follow":1})", test::line_of(frame));
        const shared::JpegContent content = shared::readJpeg(test::attachment_of(frame));
        EXPECT_TRUE(content.picture) << content.fault;
        return content;
    }
};

Settings keeping(std::size_t messages) {
    Settings settings;
    settings.messages = messages;
    return settings;
}

} // namespace

// ----- Reading a mail box --------------------------------------------------------------------

TEST(StationMailBox, ComesInBatchesUnderOneId) {
    OneClient one;
    const std::vector<Frame> frames = one.station.receive(one.client, kRead);
    ASSERT_EQ(2u, frames.size());
    const json::Response first(test::text_of(frames[0]));
    EXPECT_EQ(104, first.referenceId().integerValue());
    EXPECT_EQ(3u, first.resultList().size());
    EXPECT_EQ(1u, json::Response(test::text_of(frames[1])).resultList().size());
}

TEST(StationMailBox, ListsEverythingThatIsKnownOfAMessage) {
    OneClient one;
    const Frame frame = one.answer(R"({"method": "mailboxdata", "params": [2], "id": 104})");
    const json::Variant row = json::Response(test::text_of(frame)).firstResult();
    EXPECT_TRUE(
        parsed(R"({"alarmimage":"201.jpg","appl_camera_id":"yard","appl_event_index":0,)"
               R"("appl_sequence_no":201,"endfilter":"message 201","events":["bell"],)"
               R"("length_ds":31,"mailbox_id":2,"message_seen":false,"name_mailbox":"Yard",)"
               R"("name_sender":"unknown","rid":9201,"sender_user_id":301,)"
               R"("timestamp":1772539200.0})") == row)
        << row;
}

TEST(StationMailBox, EndsFullBatchesByAnEmptyOne) {
    OneClient one;
    one.send(erase(104));
    const std::vector<Frame> frames = one.station.receive(one.client, kRead);
    ASSERT_EQ(2u, frames.size());
    EXPECT_EQ("1/104 []", test::line_of(frames[1]));
}

TEST(StationMailBox, IsRefusedWhenThereIsNone) {
    OneClient one;
    EXPECT_EQ(Lines({"1/104 error 23 there is no such mail box"}),
              one.send(R"({"method": "mailboxdata", "params": [99], "id": 104})"));
}

// ----- Recording -----------------------------------------------------------------------------

TEST(StationMailBox, GetsAMessageByEachPressOfTheBell) {
    MailBoxClient one;
    one.station.setTime(1772700000.5);
    one.station.ring();
    one.send(kRing);
    EXPECT_EQ((std::vector<long long>{101, 102, 103, 104, 202, 203}), one.numbers());
    const json::Variant row = one.rows()[4];
    EXPECT_TRUE(parsed(R"({"alarmimage":"202.jpg","appl_camera_id":"front","appl_event_index":0,)"
                       R"("appl_sequence_no":202,"endfilter":"message 202","events":["bell"],)"
                       R"("length_ds":100,"mailbox_id":1,"message_seen":false,)"
                       R"("name_mailbox":"Front door","name_sender":"unknown","rid":9202,)"
                       R"("sender_user_id":302,"timestamp":1772700000.5})") == row)
        << row;
}

TEST(StationMailBox, StampsMessagesWithTheClockThatItStartedWithUntilItIsToldTheTime) {
    Settings settings;
    settings.time = 1000;
    MailBoxClient one(settings);
    one.station.ring();
    one.station.setTime(2000);
    one.station.ring();
    EXPECT_EQ(1000, one.rows()[4]["timestamp"].realValue());
    EXPECT_EQ(2000, one.rows()[5]["timestamp"].realValue());
}

TEST(StationMailBox, SendsABatchAfterAnother) {
    MailBoxClient one;
    for (int i = 0; i < 4; ++i) {
        one.station.ring();
    }
    std::vector<std::size_t> sizes;
    for (const Frame& frame : one.station.receive(one.client, kRead)) {
        sizes.push_back(json::Response(test::text_of(frame)).resultList().size());
    }
    EXPECT_EQ((std::vector<std::size_t>{3, 3, 2}), sizes);
    EXPECT_EQ((std::vector<long long>{101, 102, 103, 104, 202, 203, 204, 205}), one.numbers());
}

TEST(StationMailBox, LosesItsOldestMessageWhenItIsFull) {
    MailBoxClient one(keeping(5));
    for (int i = 0; i < 3; ++i) {
        one.station.ring();
    }
    EXPECT_EQ((std::vector<long long>{103, 104, 202, 203, 204}), one.numbers());
}

TEST(StationMailBox, KeepsNothingWhenItMayNot) {
    MailBoxClient one(keeping(0));
    one.station.ring();
    EXPECT_EQ(std::vector<long long>(), one.numbers());
}

TEST(StationMailBox, NeverUsesANumberAgain) {
    MailBoxClient one;
    one.station.ring();
    one.send(erase(202));
    one.station.ring();
    EXPECT_EQ((std::vector<long long>{101, 102, 103, 104, 203}), one.numbers());
}

// ----- Deleting and marking ------------------------------------------------------------------

TEST(StationMailBox, DeletesAMessage) {
    OneClient one;
    const char* const request = R"({"method": "message_delete", "params": [201, 0], "id": 5})";
    EXPECT_EQ(Lines({"1/5 true"}), one.send(request));
    EXPECT_EQ(Lines({"1/5 error 23 there is no such message"}), one.send(request));
    EXPECT_EQ(Lines({"1/104 []"}),
              one.send(R"({"method": "mailboxdata", "params": [2], "id": 104})"));
}

TEST(StationMailBox, MarksAMessageWithoutTouchingRowsThatAreOnTheirWay) {
    MailBoxClient one;
    const std::vector<json::Variant> before = one.rows();
    EXPECT_EQ(Lines({"1/5 true"}),
              one.send(R"({"method": "message_delete", "params": [102, 0, true], "id": 5})"));
    EXPECT_FALSE(before[1]["message_seen"].booleanValue());
    EXPECT_TRUE(one.rows()[1]["message_seen"].booleanValue());
    EXPECT_FALSE(one.rows()[0]["message_seen"].booleanValue());
    one.send(R"({"method": "message_delete", "params": [102, 0, false]})");
    EXPECT_FALSE(one.rows()[1]["message_seen"].booleanValue());
    EXPECT_EQ((std::vector<long long>{101, 102, 103, 104}), one.numbers()) << "none is deleted";
}

TEST(StationMailBox, RefusesToMarkOrDeleteWhatIsNotThere) {
    OneClient one;
    for (const char* params : {"[105, 0, true]", "[0, 0]", "[101, 1]", "[101, 1, true]",
                               "[9223372036854775807, 0]", "[101, 9223372036854775807]"}) {
        EXPECT_EQ(Lines({"1/5 error 23 there is no such message"}),
                  one.send(R"({"id": 5, "method": "message_delete", "params": )" +
                           std::string(params) + "}"))
            << params;
    }
}

// ----- Playing -------------------------------------------------------------------------------

TEST(StationMailBox, PlaysAMessageByTheSequenceNumberOfItsPosition) {
    OneClient one;
    one.send(R"({"method": "endfilter", "params": ["message 101"]})");
    const json::Response response(test::text_of(one.answer(kPlay101)));
    EXPECT_EQ(101, response.result()["message"].integerValue());
    EXPECT_EQ("message 101", response.result()["endfilter"]);
}

TEST(StationMailBox, RefusesToPlayWhatIsNotThere) {
    OneClient one;
    for (const std::string position : {"1@7E0", "101", "1@101", "1@101E1", "1@101E", "1@E0", "@",
                                       "", "1@99999999999999999999E0"}) {
        EXPECT_EQ(Lines({"1/5 error 23 no message at \"" + position + "\""}),
                  one.send(R"({"method": "play", "params": [")" + position + R"("], "id": 5})"));
    }
}

TEST(StationMailBox, GoesOnWithTheMessageThatWasPaused) {
    MailBoxClient one;
    EXPECT_FALSE(one.pauses()) << "nothing plays yet";
    EXPECT_EQ(101, one.playing(kPlay101));
    EXPECT_TRUE(one.pauses());
    EXPECT_EQ(101, one.playing(kPlay));
    EXPECT_EQ(0, one.playing(R"({"method": "play", "params": [1.5, 0.0, 2.5, true], "id": 9})"));
    EXPECT_EQ(0, one.playing(kPlay)) << "goes on with the span of time";
    one.playing(kPlay101);
    one.send(R"({"method": "live", "params": []})");
    EXPECT_EQ(0, one.playing(kPlay)) << "goes on from the live view";
}

TEST(StationMailBox, EndsThePlaybackOfAMessageThatSomebodyDeletes) {
    MailBoxClient one;
    const SessionId other = one.station.connect();
    one.playing(kPlay101);
    one.station.receive(other, erase(102));
    EXPECT_TRUE(one.pauses()) << "it was another message";
    one.playing(kPlay);
    one.station.receive(other, erase(101));
    EXPECT_FALSE(one.pauses());
    EXPECT_EQ(0, one.playing(kPlay));
}

TEST(StationMailBox, EndsThePlaybackOfAMessageThatMakesRoom) {
    MailBoxClient one(keeping(4));
    one.playing(kPlay101);
    one.station.ring();
    EXPECT_FALSE(one.pauses());
}

// ----- Pictures ------------------------------------------------------------------------------

TEST(StationMailBox, SendsThePictureOfAMessageAsTheBinaryPartOfAFrame) {
    MailBoxClient one;
    one.station.setTime(1900000000);
    const shared::JpegContent content = one.picture("preview_message", "[9101, 320, 240]");
    ASSERT_TRUE(content.picture);
    EXPECT_EQ(320, content.picture->width());
    EXPECT_EQ(240, content.picture->height());
    EXPECT_TRUE(test::shows(*content.picture, 4, 3, 2, "MESSAGE 101 (FRONT)"));
    EXPECT_TRUE(test::shows(*content.picture, 4, 223, 2, "2026-03-02 10:15:04"))
        << "its own time, not that of the clock";
    EXPECT_EQ("message 101, 2026-03-02 10:15:04", content.comment);
}

TEST(StationMailBox, SendsThePictureOfTheLiveViewWithClockAndDoor) {
    MailBoxClient one;
    one.station.setTime(1772616661);
    one.send(R"({"method": "trigger", "params": ["door"]})");
    const shared::JpegContent content = one.picture("preview_live", "[320, 240]");
    ASSERT_TRUE(content.picture);
    EXPECT_TRUE(test::shows(*content.picture, 4, 3, 2, "LIVE VIEW (FRONT)"));
    EXPECT_TRUE(test::shows(*content.picture, 4, 205, 2, "DOOR OPEN, LIGHT OFF"));
    EXPECT_TRUE(test::shows(*content.picture, 4, 223, 2, "2026-03-04 09:31:01"));
}

TEST(StationMailBox, KeepsInAPictureWhatTheCameraSawAtTheBell) {
    MailBoxClient one;
    one.send(R"({"method": "trigger", "params": ["elight"]})");
    one.station.ring();
    one.send(R"({"method": "trigger", "params": ["elight"]})");
    const shared::JpegContent content = one.picture("preview_message", "[9202, 320, 240]");
    ASSERT_TRUE(content.picture);
    EXPECT_TRUE(test::shows(*content.picture, 4, 205, 2, "DOOR CLOSED, LIGHT ON"));
}

TEST(StationMailBox, HasAnotherPictureForEachMessage) {
    MailBoxClient one;
    std::set<std::string> pictures;
    for (const char* id : {"9101", "9102", "9103", "9104", "9201"}) {
        pictures.insert(
            test::attachment_of(one.answer(R"({"method": "preview_message", "params": [)" +
                                           std::string(id) + R"(, 160, 120], "id": 5})")));
    }
    EXPECT_EQ(5u, pictures.size());
}

TEST(StationMailBox, SendsPicturesOfTheSizeThatIsAskedFor) {
    MailBoxClient one;
    for (const auto& [width, height] : {std::pair(1, 1), std::pair(160, 120), std::pair(33, 700),
                                        std::pair(1920, 1), std::pair(1, 1080)}) {
        const shared::JpegContent content = one.picture(
            "preview_live", "[" + std::to_string(width) + ", " + std::to_string(height) + "]");
        ASSERT_TRUE(content.picture) << width << "x" << height;
        EXPECT_EQ(width, content.picture->width());
        EXPECT_EQ(height, content.picture->height());
    }
}

TEST(StationMailBox, HasNoPictureOfAMessageThatIsNotThere) {
    OneClient one;
    one.send(erase(101));
    for (const char* id : {"9101", "101", "0", "9000", "9223372036854775807"}) {
        EXPECT_EQ(Lines({"1/7 error 23 there is no such message"}),
                  one.send(R"({"method": "preview_message", "params": [)" + std::string(id) +
                           R"(, 160, 120], "id": 7})"));
    }
}
