// SPDX-License-Identifier: MIT
// The console as programs use it: one command, objects, statuses, and connections that come back.
#include "console/Console.h"

#include "shared/PlainText.h"
#include "support/ConsoleAtStation.h"
#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using console::Console;
using test::AloneConsole;
using test::ConsoleAtStation;
using Words = Console::Words;

Console::Settings once() {
    Console::Settings settings;
    settings.once = true;
    return settings;
}

Console::Settings in_json(Console::Settings settings = Console::Settings()) {
    settings.json = true;
    return settings;
}

Console::Settings reconnecting(Console::Settings settings = Console::Settings()) {
    settings.reconnects = true;
    return settings;
}

/// What a program leaves behind that was called with these words.
struct Outcome {
    std::string out;
    std::string errors;
    int status;
};
bool operator==(const Outcome& a, const Outcome& b) {
    return a.out == b.out && a.errors == b.errors && a.status == b.status;
}
std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << outcome.out << "--- " << outcome.errors << "--- status " << outcome.status;
}

Outcome outcome_of(const Words& words, const Console::Settings& settings = once()) {
    ConsoleAtStation at(station::Settings(), settings);
    at.console.obey(words);
    at.console.endOfInput();
    at.talk();
    EXPECT_TRUE(at.console.finished()) << words[0];
    return {at.printed(), at.failed(), at.console.exitStatus()};
}

/// A connection that is lost, and one to the same station that forgets who was connected.
void reboot(ConsoleAtStation& at) {
    at.station.disconnect(at.session);
    at.sent.clear();
    at.console.connectionLost("end of file");
    at.session = at.station.connect();
    at.console.connected();
    at.talk();
}

void by_another(ConsoleAtStation& at, const std::string& request) {
    const station::SessionId other = at.station.connect();
    at.deliver(at.station.receive(other, request));
    at.talk();
}

const char* const kOpenDoor = R"({"method": "trigger", "params": ["door"]})";
const char* const kTurnLight = R"({"method": "trigger", "params": ["elight"]})";

} // namespace

// ----- One command -----------------------------------------------------------------------------

TEST(ConsoleCommand, TellsItsOutcomeAndNothingElse) {
    const std::vector<std::pair<Words, Outcome>> rows = {
        {{"door"}, {"door: door_open\n", "", Console::Good}},
        {{"pan", "3", "-1"}, {"view: 3 to the right, -1 up, zoom 1\n", "", Console::Good}},
        {{"ring"}, {"", "", Console::Good}},
        {{"register", "2", "Kitchen"},
         {"registered with Bert Rowan (first floor)\n", "", Console::Good}},
        {{"call", "display_mode", "[\"split\"]"}, {"display_mode: split\n", "", Console::Good}},
        {{"preview", "-o", "a b.jpg"}, {"saved: a b.jpg\n", "", Console::Good}},
        {{"preview", "101", "-o", "a.jpg"}, {"saved: a.jpg\n", "", Console::Good}},
        {{"seen", "101"}, {"message_delete: true\n", "", Console::Good}},
        {{"delete", "101"}, {"message_delete: true\n", "", Console::Good}},
        {{"preview", "7", "-o", "a.jpg"},
         {"", "error: there is no message \"7\" in the list; mail box 1 was read\n",
          Console::UsageFault}},
        {{"pan", "3"}, {"", "error: usage: pan X Y\n", Console::UsageFault}},
        {{"preview", "-o"}, {"", "error: usage: preview [N] -o FILE\n", Console::UsageFault}},
        {{"methods", "open_sesame"},
         {"", "error: the device has told of no such method\n", Console::UsageFault}},
        {{"methods", "ptz"},
         {"", "error: ptz begins several methods: ptz_click, ptz_pan, ptz_zoom\n",
          Console::UsageFault}},
        {{"call", "open_sesame"},
         {"", "error: device error 3: unknown method \"open_sesame\"\n", Console::DeviceFault}},
        {{"register", "9", "Kitchen"},
         {"", "error: device error 22: there is no addressee \"9\"\n", Console::DeviceFault}},
        {{"mailbox", "9"},
         {"", "error: device error 23: there is no such mail box\n", Console::DeviceFault}},
    };
    for (const auto& [words, expected] : rows) {
        EXPECT_EQ(expected, outcome_of(words)) << words[0];
    }
}

TEST(ConsoleCommand, TakesANameWithBlanksAsOneWord) {
    ConsoleAtStation at(station::Settings(), once());
    at.console.obey({"snapshot", "two  blanks.jpg"});
    at.talk();
    EXPECT_EQ(1u, at.files.count("two  blanks.jpg"));
}

TEST(ConsoleCommand, FailsOnceWhenTheDeviceRefusesAPicture) {
    AloneConsole alone(once());
    alone.console.connected();
    alone.receive(R"({"result": {"version_major": 1, "version_minor": 2}, "id": 1006})");
    alone.console.obey({"snapshot", "a.jpg"});
    alone.receive(R"({"result": null, "error": [30, "the camera is off"], "id": 1007})");
    alone.receive(R"({"result": {"version_major": 1, "version_minor": 2}, "id": 1008})");
    EXPECT_EQ("error: device error 30: the camera is off\n", alone.failed());
    EXPECT_EQ(Console::DeviceFault, alone.console.exitStatus());
}

TEST(ConsoleCommand, LeavesTheStatusOfItsFirstFailure) {
    ConsoleAtStation at;
    at.obey("dor");
    at.obey("wait for ever");
    at.console.deadlinePassed();
    EXPECT_EQ(Console::UsageFault, at.console.exitStatus());
}

TEST(ConsoleCommand, TellsTheStatusOfTimeAndConnection) {
    AloneConsole late(once());
    late.console.connected();
    late.console.deadlinePassed();
    EXPECT_EQ(Console::TimeOut, late.console.exitStatus());
    AloneConsole lost(once());
    lost.console.connected();
    lost.console.connectionLost("end of file");
    EXPECT_EQ(Console::NoConnection, lost.console.exitStatus());
    AloneConsole none(once());
    none.console.unreachable("can't connect to nowhere");
    EXPECT_EQ("error: can't connect to nowhere\n", none.failed());
    EXPECT_EQ(Console::NoConnection, none.console.exitStatus());
}

// ----- Objects ---------------------------------------------------------------------------------

TEST(ConsoleCommand, SaysEachThingAsAnObject) {
    const std::vector<std::pair<const char*, const char*>> rows = {
        {"door", "{\"type\":\"door\",\"value\":\"door_open\"}\n"},
        {"light", "{\"type\":\"light\",\"on\":true}\n"},
        {"pan 3 -1", "{\"type\":\"view\",\"right\":3,\"up\":-1,\"zoom\":1}\n"},
        {"register 2 Kitchen",
         "{\"type\":\"registration\",\"with\":\"Bert Rowan (first floor)\"}\n"},
        {"ring", "{\"type\":\"bell\",\"ringing\":true}\n"},
        {"call display_mode [\"split\"]",
         "{\"type\":\"answer\",\"method\":\"display_mode\",\"id\":1019,\"result\":\"split\"}\n"},
        {"call open_sesame", "{\"type\":\"device_error\",\"code\":3,"
                             "\"text\":\"unknown method \\\"open_sesame\\\"\"}\n"},
        {"mailbox 2", "{\"type\":\"mail_box\",\"batch\":1,\"messages\":1}\n"
                      "{\"type\":\"mail\",\"number\":201,\"time\":\"2026-03-03 12:00:00\","
                      "\"sender\":\"unknown\",\"seconds\":3.1,\"seen\":false}\n"},
        {"status", "{\"type\":\"status\",\"major\":1,\"minor\":2,"
                   "\"registered\":\"Bert Rowan (first floor)\",\"door\":\"door_open\","
                   "\"light\":true,\"ringing\":true,\"showing\":\"nothing\"}\n"},
        {"dor", "{\"type\":\"error\",\"status\":1,"
                "\"text\":\"there is no command \\\"dor\\\"; \\\"help\\\" lists them\"}\n"},
        {"queue 7", "{\"type\":\"error\",\"status\":1,\"text\":\"there is no message \\\"7\\\" in "
                    "the list; \\\"mailbox\\\" reads it\"}\n"},
    };
    ConsoleAtStation at(station::Settings(), in_json());
    for (const auto& [line, expected] : rows) {
        const std::string printed = at.obey(line);
        EXPECT_EQ(expected, printed) << line;
    }
    EXPECT_EQ("", at.failed()) << "objects are on the standard output, all of them";
}

TEST(ConsoleCommand, PrintsOneObjectALine) {
    ConsoleAtStation at(station::Settings(), in_json());
    std::string all = at.printed();
    for (const char* line : {"door", "mailbox", "methods", "methods live", "help", "status",
                             "snapshot a.jpg", "call x [1]", "check", "nonsense"}) {
        all += at.obey(line);
    }
    std::istringstream lines(all);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const json::Variant object = json::JsonParser::parseTree(line);
        EXPECT_TRUE(object.isObject()) << line;
        EXPECT_TRUE(object["type"].isString()) << line;
    }
    EXPECT_GT(count, 60);
}

TEST(ConsoleCommand, SaysADeviceErrorWithItsCode) {
    EXPECT_EQ((Outcome{"{\"type\":\"error\",\"status\":3,\"code\":23,"
                       "\"text\":\"device error 23: there is no such mail box\"}\n",
                       "", Console::DeviceFault}),
              outcome_of({"mailbox", "9"}, in_json(once())));
}

// ----- Traffic ---------------------------------------------------------------------------------

TEST(ConsoleCommand, TellsTrafficBothWaysWithControlCharactersEscaped) {
    Console::Settings settings;
    settings.traffic = true;
    AloneConsole alone(settings);
    alone.receive("{\"result\":[\"\x1b[2J\xC2\x9B\xFF\xE2\x80\xAE\x7F\"],\"id\":101}");
    EXPECT_EQ("< {\"result\":[\"\\x1b[2J\\xc2\\x9b\\xff\\xe2\\x80\\xae\\x7f\"],\"id\":101}\n",
              alone.failed());
    alone.receive(std::string("{\"result\":1,\"id\":9}\0\xFF\xD8picture", 29));
    EXPECT_EQ("< {\"result\":1,\"id\":9} + 9 bytes\n", alone.failed());
    alone.console.connected();
    EXPECT_EQ("> {\"method\":\"list_methods\",\"params\":[],\"id\":1}",
              alone.errors.str().substr(0, 46));
}

TEST(ConsoleCommand, TellsTrafficAsObjects) {
    Console::Settings settings = in_json();
    settings.traffic = true;
    AloneConsole alone(settings);
    alone.receive(std::string("{\"id\":\"\x1b\xFF\"}\0abc", 15));
    EXPECT_EQ("{\"type\":\"received\",\"text\":\"{\\\"id\\\":\\\"\\u001B\xEF\xBF\xBD\\\"}\","
              "\"attachment\":3}\n",
              alone.printed().substr(0, 79));
}

TEST(PlainText, EscapesWhatCouldSteerATerminal) {
    EXPECT_EQ("a\\x1b[m\\xc2\\x9b\\x9b\\xff\xC3\xA9\\xe2\\x80\\xae\\x0a",
              shared::escapedText("a\x1b[m\xC2\x9B\x9B\xFF\xC3\xA9\xE2\x80\xAE\n"));
    EXPECT_EQ("a?[m??\xFF\xC3\xA9??",
              shared::plainText("a\x1b[m\xC2\x9B\x9B\xFF\xC3\xA9\xE2\x80\xAE\n"));
    EXPECT_EQ("\"\\u007F\\u009B\xEF\xBF\xBD\\u202E\"",
              shared::plainJson("\"\x7F\xC2\x9B\x9B\xE2\x80\xAE\""));
    const std::string good = "\xF0\x9F\x9A\xAA \xEF\xBF\xBD \xED\x9F\xBF";
    EXPECT_EQ(good, shared::escapedText(good));
    EXPECT_EQ("\\xed\\xa0\\x80\\xc0\\xaf\\xf4\\x90\\x80\\x80",
              shared::escapedText("\xED\xA0\x80\xC0\xAF\xF4\x90\x80\x80"))
        << "halves of pairs, overlong forms, and what is beyond the last character";
}

// ----- Watch -----------------------------------------------------------------------------------

TEST(ConsoleCommand, WatchesForSoManyEventsOfAKind) {
    ConsoleAtStation at(station::Settings(), once());
    at.console.obey({"watch", "-C", "2", "light"});
    at.console.endOfInput();
    EXPECT_FALSE(at.console.timeLimit()) << "it waits for ever";
    by_another(at, kTurnLight);
    by_another(at, kOpenDoor);
    EXPECT_FALSE(at.console.finished());
    by_another(at, kTurnLight);
    EXPECT_EQ("light: on\nlight: off\n", at.printed());
    EXPECT_TRUE(at.console.finished());
    EXPECT_EQ(Console::Good, at.console.exitStatus());
}

TEST(ConsoleCommand, WatchesEveryKindByDefault) {
    ConsoleAtStation at(station::Settings(), once());
    at.console.obey({"watch"});
    by_another(at, kTurnLight);
    by_another(at, kOpenDoor);
    EXPECT_EQ("light: on\ndoor: door_open\n", at.printed());
}

TEST(ConsoleCommand, WatchesForSoLong) {
    ConsoleAtStation at(station::Settings(), once());
    at.console.obey({"watch", "-W", "2.5", "door"});
    EXPECT_EQ(std::chrono::milliseconds(2500), at.console.timeLimit());
    at.console.endOfInput();
    at.console.deadlinePassed();
    EXPECT_TRUE(at.console.finished());
    EXPECT_EQ(Console::Good, at.console.exitStatus()) << "no number was asked for";
}

TEST(ConsoleCommand, FailsWhenTooFewEventsCameInTime) {
    ConsoleAtStation at(station::Settings(), once());
    at.console.obey({"watch", "-C", "3", "-W", "30", "light"});
    by_another(at, kTurnLight);
    at.console.deadlinePassed();
    EXPECT_EQ("watching\n"
              "error: watch -C 3 -W 30 light: 2 more should have come in time\n",
              at.failed());
    EXPECT_EQ(Console::TimeOut, at.console.exitStatus());
}

TEST(ConsoleCommand, SaysThatAPhoneThatIsNotRegisteredHearsNoBell) {
    ConsoleAtStation at(station::Settings(), once());
    at.console.obey({"watch", "bell"});
    EXPECT_EQ("note: this phone isn't registered, and hears no bell\nwatching\n", at.failed());
}

TEST(ConsoleCommand, RefusesAWatchThatMakesNoSense) {
    for (const char* line : {"watch -C", "watch -C 0", "watch -C x door", "watch -W 0",
                             "watch -W -1", "watch -W nan", "watch -W 1e99", "watch window"}) {
        ConsoleAtStation at;
        at.obey(line);
        EXPECT_EQ("error: usage: watch [-C N] [-W S] [KIND]...\n", at.failed()) << line;
    }
}

// ----- Reconnection ----------------------------------------------------------------------------

TEST(ConsoleCommand, WatchesOnAfterTheStationHasRebooted) {
    ConsoleAtStation at(station::Settings(), reconnecting(once()));
    at.console.obey({"watch", "-C", "1", "door"});
    at.console.endOfInput();
    EXPECT_EQ("watching\n", at.failed());
    at.console.connectionLost("end of file");
    at.console.connectionLost("Connection refused");
    EXPECT_EQ("the connection is lost: end of file\n", at.failed()) << "told once";
    at.station.disconnect(at.session);
    by_another(at, kOpenDoor);
    EXPECT_EQ("", at.printed());
    at.sent.clear();
    at.session = at.station.connect();
    at.console.connected();
    at.talk();
    EXPECT_EQ("connected again\n", at.failed());
    EXPECT_EQ("", at.printed()) << "what the greeting tells isn't an event";
    EXPECT_FALSE(at.console.finished());
    at.deliver(at.station.closeDoor());
    EXPECT_EQ("door: door_closed\n", at.printed());
    EXPECT_TRUE(at.console.finished());
    EXPECT_EQ(Console::Good, at.console.exitStatus());
}

TEST(ConsoleCommand, SubscribesAgainForAPerson) {
    ConsoleAtStation at(station::Settings(), reconnecting());
    at.printed();
    reboot(at);
    EXPECT_EQ("the connection is lost: end of file\n", at.failed());
    EXPECT_EQ("connected\n", at.printed().substr(0, 10));
    by_another(at, kTurnLight);
    EXPECT_EQ("light: on\n", at.printed());
}

TEST(ConsoleCommand, RefusesCommandsWhileItReconnects) {
    ConsoleAtStation at(station::Settings(), reconnecting());
    at.console.connectionLost("end of file");
    at.failed();
    at.obey("door");
    EXPECT_EQ("error: door: there is no connection\n", at.failed());
    EXPECT_FALSE(at.console.finished());
}

TEST(ConsoleCommand, GivesUpTheCommandWhoseConnectionIsLost) {
    ConsoleAtStation at(station::Settings(), reconnecting());
    at.console.enter("snapshot a.jpg"); // on its way
    reboot(at);
    EXPECT_EQ("the connection is lost: end of file\n"
              "error: snapshot a.jpg: the connection is lost\n",
              at.failed());
    at.printed();
    EXPECT_EQ("saved: b.jpg\n", at.obey("snapshot b.jpg")) << "the first one blocks nothing";
}

TEST(ConsoleCommand, IsInterrupted) {
    ConsoleAtStation at;
    at.obey("watch bell");
    EXPECT_TRUE(at.console.waiting());
    at.console.interrupt();
    EXPECT_FALSE(at.console.waiting());
    EXPECT_EQ("door: door_open\n", at.obey("door"));
}

// ----- Check -----------------------------------------------------------------------------------

TEST(ConsoleCommand, ChecksADevice) {
    const Outcome outcome = outcome_of({"check"});
    const auto picture = outcome.out.find(" bytes of JPEG");
    ASSERT_NE(std::string::npos, picture) << outcome;
    std::string table = outcome.out;
    const auto number = table.rfind(' ', picture - 1) + 1;
    table.replace(number, picture - number, "12345"); // the size is the encoder's affair
    EXPECT_EQ(
        "version         protocol 1.2                                                  ok\n"
        "methods         22 methods, 22 taken over                                     ok\n"
        "registration    error 14: this phone isn't known                              ok\n"
        "addressees      3 entries                                                     ok\n"
        "door            door_closed                                                   ok\n"
        "light           false                                                         ok\n"
        "mail box        4 messages in 2 batches                                       ok\n"
        "picture         12345 bytes of JPEG                                           ok\n"
        "live view       {\"mode\":\"standard\",\"size\":[640,480],\"fps\":25}                 ok\n"
        "pause           {\"paused\":true}                                               ok\n"
        "unknown method  error 3: unknown method \"gatecast_check_no_such_method\"       ok\n",
        table);
    EXPECT_EQ(Console::Good, outcome.status);
}

TEST(ConsoleCommand, ChecksADeviceOfTheFirstKind) {
    station::Settings settings;
    settings.versionMajor = 0;
    ConsoleAtStation at(settings, once());
    at.console.obey({"check"});
    at.talk();
    EXPECT_NE(std::string::npos, at.out.str().find("\ncontact numbers 3 entries ")) << at.out.str();
    EXPECT_EQ(Console::Good, at.console.exitStatus());
}

TEST(ConsoleCommand, MovesAndOpensNothingWhenItChecks) {
    ConsoleAtStation at;
    at.obey("check");
    EXPECT_FALSE(at.station.doorIsOpen());
    EXPECT_FALSE(at.station.lightIsOn());
    EXPECT_FALSE(at.station.bellIsRinging());
    EXPECT_EQ("door: door_open\n", at.obey("door")) << "and events are told again";
}

TEST(ConsoleCommand, TellsWhichAnswersAreWrong) {
    AloneConsole alone(once());
    alone.console.connected();
    alone.receive(R"({"result": {"version_major": "one"}, "id": 1001})");
    alone.receive(R"({"result": [], "id": 1})");
    alone.receive(R"({"result": ["\u001b[2J"], "id": 101})");
    alone.receive(R"({"error": [99, "no light"], "id": 102})");
    alone.receive(R"({"result": {"version_major": 1, "version_minor": 2}, "id": 1006})");
    alone.console.obey({"check"});
    alone.receive(R"({"result": 5, "id": 104})");
    alone.console.deadlinePassed();
    const std::string printed = alone.printed();
    for (const char* row :
         {"methods         0 methods, 0 taken over                                       differs\n",
          "registration                                                                  no "
          "answer\n",
          "door            ?[2J                                                          ok\n",
          "light           error 99: no light                                            differs\n",
          "picture                                                                       no "
          "answer\n",
          "mail box        0 messages in 1 batch                                         "
          "differs\n"}) {
        EXPECT_NE(std::string::npos, printed.find(row)) << row << printed;
    }
    EXPECT_EQ("error: check: 3 answers not as expected\n", alone.failed());
    EXPECT_EQ(Console::DeviceFault, alone.console.exitStatus());
}

TEST(ConsoleCommand, TellsThatQuestionsHaveNoAnswer) {
    ConsoleAtStation at(station::Settings(), once());
    at.console.obey({"check"});
    at.sent.clear(); // nothing arrives
    at.console.deadlinePassed();
    EXPECT_EQ("error: check: 6 questions without an answer\n", at.failed());
    EXPECT_EQ(Console::TimeOut, at.console.exitStatus());
}

// ----- Validate --------------------------------------------------------------------------------

TEST(ConsoleCommand, ValidatesWithoutADevice) {
    const std::vector<std::pair<Words, Outcome>> rows = {
        {{"validate", R"({"type":"string"})", R"("a")"}, {"valid\n", "", Console::Good}},
        {{"validate", R"({"type":"string"})", "5"},
         {"not valid: wrong data type\n", "", Console::UsageFault}},
        {{"validate", R"({"items":{"maximum":3}})", "[1,2,9]"},
         {"not valid: value out of bounds at [2]\n", "", Console::UsageFault}},
        {{"validate", R"({"type":)", "5"},
         {"", "error: the schema is no JSON: it ends too early\n", Console::UsageFault}},
        {{"validate", "{}", ""},
         {"", "error: the value is no JSON: it ends too early\n", Console::UsageFault}},
        {{"validate", "[]", "5"}, {"", "error: the schema is no object\n", Console::UsageFault}},
        {{"validate", "{}"}, {"", "error: usage: validate SCHEMA VALUE\n", Console::UsageFault}},
    };
    for (const auto& [words, expected] : rows) {
        AloneConsole alone(once());
        alone.console.obey(words);
        EXPECT_EQ(expected, (Outcome{alone.printed(), alone.failed(), alone.console.exitStatus()}))
            << words[1];
        EXPECT_TRUE(alone.sent.empty());
    }
}

TEST(ConsoleCommand, ValidatesFiles) {
    const std::string schema = testing::TempDir() + "console-schema.json";
    const std::string value = testing::TempDir() + "console-value.json";
    std::ofstream(schema) << R"({"properties":{"a":{"type":"integer"}}})";
    std::ofstream(value) << R"({"a":"x"})";
    AloneConsole alone(in_json(once()));
    alone.console.obey({"validate", schema, value});
    EXPECT_EQ("{\"type\":\"validation\",\"valid\":false,\"code\":2,\"path\":\"a\","
              "\"text\":\"wrong data type\"}\n",
              alone.printed());
    std::remove(schema.c_str());
    std::remove(value.c_str());
}

// ----- Completion ------------------------------------------------------------------------------

TEST(ConsoleCommand, CompletesCommandsMethodsAndMessages) {
    using Choices = std::vector<std::string>;
    ConsoleAtStation at;
    at.obey("mailbox");
    EXPECT_EQ((Choices{"pan", "pause", "play", "preview"}), at.console.completions("p"));
    EXPECT_EQ((Choices{"ptz_click", "ptz_pan", "ptz_zoom"}), at.console.completions("call ptz"));
    EXPECT_EQ((Choices{"live"}), at.console.completions("methods liv"));
    EXPECT_EQ((Choices{"101", "102", "103", "104"}), at.console.completions("play "));
    EXPECT_EQ((Choices{"bell"}), at.console.completions("watch -C 1 b"));
    EXPECT_EQ((Choices{}), at.console.completions("call live "));
    EXPECT_EQ((Choices{}), at.console.completions("open"));
    EXPECT_GT(at.console.completions("").size(), 20u);
}

TEST(ConsoleCommand, OffersNoNameThatCouldSteerTheTerminal) {
    AloneConsole alone;
    alone.console.connected();
    alone.receive(R"({"result": [{"method": "a\u001b[2J", "params": []}, {"method": "a b"},)"
                  R"( {"method": "a\u009b"}, {"method": "a\nquit"}, {"method": "ab"}], "id": 1})");
    EXPECT_EQ((std::vector<std::string>{"ab"}), alone.console.completions("call a"));
}
