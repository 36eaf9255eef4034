// SPDX-License-Identifier: MIT
#include "console/Console.h"

#include "shared/Jpeg.h"
#include "station/Station.h"
#include "support/ConsoleAtStation.h"
#include "support/PictureWords.h"
#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <deque>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using console::Console;
using station::Settings;
using test::AloneConsole;
using test::ConsoleAtStation;

Console::Settings script() {
    Console::Settings settings;
    settings.script = true;
    return settings;
}

Settings of_version(int versionMajor) {
    Settings settings;
    settings.versionMajor = versionMajor;
    return settings;
}

/// The id of the request that waits to be carried to the station.
std::string id_of(const std::string& request) {
    const json::Variant parsed = json::JsonParser::parseTree(request);
    return parsed["id"].charsValue();
}

std::string content_of(const std::string& name) {
    std::ifstream file(GATECAST_EXAMPLES_DIR "/" + name);
    EXPECT_TRUE(file) << name;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

TEST(Console, TurnsTheDemoScriptIntoTheDemoTranscript) {
    ConsoleAtStation at(Settings(), script());
    at.doorFallsShut = true;
    std::istringstream lines(content_of("demo.script"));
    for (std::string line; std::getline(lines, line);) {
        at.console.enter(line);
        at.talk();
    }
    EXPECT_EQ(content_of("demo.expected"), at.printed());
    EXPECT_EQ("", at.errors.str());
    EXPECT_TRUE(at.console.finished());
    EXPECT_EQ(0, at.console.exitStatus());
    const std::map<std::string, std::string> titles = {
        {"live.jpg", "live view, 2026-03-04 09:30:00"},
        {"message-101.jpg", "message 101, 2026-03-02 10:15:04"},
        {"message-202.jpg", "message 202, 2026-03-04 09:30:00"}};
    ASSERT_EQ(titles.size(), at.files.size());
    for (const auto& [name, bytes] : at.files) {
        const shared::JpegContent content = shared::readJpeg(bytes);
        ASSERT_TRUE(content.picture) << name << ": " << content.fault;
        EXPECT_EQ(320, content.picture->width()) << name;
        EXPECT_EQ(240, content.picture->height()) << name;
        EXPECT_EQ(titles.at(name), content.comment);
    }
}

// ----- Greeting and registration -------------------------------------------------------------

TEST(Console, ShowsTheAddressListToAnUnknownPhone) {
    ConsoleAtStation at;
    EXPECT_EQ("connected\n"
              "protocol: 1.2\n"
              "device error 14: this phone isn't known\n"
              "light: off\n"
              "door: door_closed\n"
              "view: 0 to the right, 0 up, zoom 1\n"
              "addressee 1: Anna Quill (ground floor)\n"
              "addressee 2: Bert Rowan (first floor)\n"
              "addressee 3: Workshop (yard)\n",
              at.printed());
    EXPECT_FALSE(at.console.waiting());
}

TEST(Console, ShowsTheOnlyAddressee) {
    Settings settings;
    settings.addressBook.resize(1);
    ConsoleAtStation at(settings);
    EXPECT_NE(std::string::npos, at.printed().find("addressee 1: Anna Quill (ground floor)\n"));
}

TEST(Console, ShowsContactNumbersOfADeviceOfTheFirstKind) {
    ConsoleAtStation at(of_version(0));
    EXPECT_NE(std::string::npos, at.printed().find("contact 555-0101: Anna Quill\n"
                                                   "contact 555-0102: Bert Rowan\n"
                                                   "contact 555-0103: Workshop\n"));
    EXPECT_EQ("registered with Bert Rowan (first floor)\n",
              at.obey("register 555-0102 Kitchen phone"));
}

TEST(Console, ShowsTheOnlyContactNumber) {
    Settings settings = of_version(0);
    settings.addressBook.resize(1);
    ConsoleAtStation at(settings);
    EXPECT_NE(std::string::npos, at.printed().find("contact 555-0101: Anna Quill\n"));
}

TEST(Console, SaysThatAnEmptyAddressBookKeepsThePhoneFromItsCalls) {
    Settings settings;
    settings.addressBook.clear();
    ConsoleAtStation at(settings);
    EXPECT_NE(std::string::npos,
              at.printed().find("message: Camera setup is not yet complete. You won't be able to "
                                "receive calls on your phone.\n"));
}

TEST(Console, RegistersThePhone) {
    ConsoleAtStation at;
    EXPECT_EQ("registered with Workshop (yard)\n", at.obey("register 3 Bench phone"));
    EXPECT_EQ("message: there is no addressee \"9\"\n", at.obey("register 9 Bench phone"));
}

// ----- Commands and events -------------------------------------------------------------------

TEST(Console, PrintsWhatEachCommandBringsAbout) {
    const std::vector<std::pair<const char*, const char*>> rows = {
        {"door", "door: door_open\n"},
        {"light", "light: on\n"},
        {"light", "light: off\n"},
        {"ring", ""},
        {"register 2 Kitchen", "registered with Bert Rowan (first floor)\n"},
        {"ring", "bell: ringing\n"},
        {"ack", "bell: silent\n"},
        {"ack no", "bell: silent\n"},
        {"pan 3 -1", "view: 3 to the right, -1 up, zoom 1\n"},
        {"pan +1 0", "view: 4 to the right, -1 up, zoom 1\n"},
        {"center", "view: 0 to the right, 0 up, zoom 1\n"},
        {"click 600 500 zoom", "view: 2 to the right, 0 up, zoom 2\n"},
        {"click 500 500", "view: 2 to the right, 0 up, zoom 2\n"},
        {"zoom 4", "view: 2 to the right, 0 up, zoom 4\n"},
        {"zoom -1", "view: 2 to the right, 0 up, zoom 3\n"},
        {"zoom +2", "view: 2 to the right, 0 up, zoom 5\n"},
        {"mode wide", ""},
        {"live", "live: fps 25, mode wide, size [640,480]\n"},
        {"pause", "pause: paused true\n"},
        {"play", "play: mode wide\n"},
        {"play 1 2.5", "play: end 2.5, mode wide, start 1.0\n"},
        {"mailbox 3", "mail box, batch 1: 0 messages\n"},
        {"mailbox 9", "mail box, batch 1: 0 messages\n"
                      "device error 23: there is no such mail box\n"},
        {"mailbox 2", "mail box, batch 1: 1 message\n"
                      "message 201: 2026-03-03 12:00:00, unknown, 3.1 s, new\n"},
        {"seen 201", "message_delete: true\n"},
        {"mailbox 2", "mail box, batch 1: 1 message\n"
                      "message 201: 2026-03-03 12:00:00, unknown, 3.1 s, seen\n"},
        {"seen 201 no", "message_delete: true\n"},
        {"preview 201 pictures/a b.jpg", "saved: pictures/a b.jpg\n"},
        {"snapshot live.jpg", "saved: live.jpg\n"},
        {"live", "live: fps 25, mode wide, size [640,480]\n"},
        {"queue 201", "play: endfilter message 201, message 201, mode wide\n"},
        {"queue 201", "queued: \"pause\" goes on to it\n"},
        {"play 201", "play: endfilter message 201, message 201, mode wide\n"},
        {"pause", "pause: paused true\nplay: endfilter message 201, message 201, mode wide\n"},
        {"pause", "pause: paused true\n"},
        {"delete 201", "message_delete: true\n"},
        {"call display_mode [\"split\"]", "display_mode: split\n"},
        {"call quit", "quit: nothing\n"},
    };
    ConsoleAtStation at;
    for (const auto& [line, expected] : rows) {
        EXPECT_EQ(expected, at.obey(line)) << line;
    }
    EXPECT_EQ("", at.errors.str());
}

TEST(Console, SavesThePictureOfTheMessageThatWasAskedFor) {
    ConsoleAtStation at;
    at.obey("mailbox");
    at.obey("preview 103 a.jpg");
    const shared::JpegContent content = shared::readJpeg(at.files["a.jpg"]);
    ASSERT_TRUE(content.picture) << content.fault;
    EXPECT_TRUE(test::shows(*content.picture, 4, 3, 2, "MESSAGE 103 (FRONT)"));
}

TEST(Console, TakesAPictureThatItHasFromItsCache) {
    ConsoleAtStation at;
    at.obey("mailbox");
    at.obey("preview 101 first.jpg");
    at.station.disconnect(at.session);
    EXPECT_EQ("saved: second.jpg\n", at.obey("preview 101 second.jpg"));
    EXPECT_EQ(at.files["first.jpg"], at.files["second.jpg"]);
    EXPECT_FALSE(at.console.waiting());
}

TEST(Console, TakesASnapshotAfreshEachTime) {
    ConsoleAtStation at;
    at.obey("snapshot first.jpg");
    at.obey("light");
    at.obey("snapshot second.jpg");
    ASSERT_EQ(2u, at.files.size());
    EXPECT_NE(at.files["first.jpg"], at.files["second.jpg"]);
}

TEST(Console, PlaysTheQueueInItsOrder) {
    ConsoleAtStation at;
    at.obey("mailbox");
    EXPECT_EQ("queued: \"pause\" goes on to it\n", at.obey("play 104"))
        << "the device isn't ready while nothing is shown";
    EXPECT_EQ("queued: \"pause\" goes on to it\n", at.obey("queue 102"));
    EXPECT_EQ("pause: paused false\n"
              "play: endfilter message 104, message 104, mode standard\n",
              at.obey("pause"));
    EXPECT_EQ("pause: paused true\n"
              "play: endfilter message 102, message 102, mode standard\n",
              at.obey("pause"));
    EXPECT_EQ("pause: paused true\n", at.obey("pause"));
}

TEST(Console, HearsOfAMessageThatWasDeletedWhileItPlayed) {
    ConsoleAtStation at;
    at.obey("mailbox");
    at.obey("live");
    at.obey("play 101");
    EXPECT_EQ("message_delete: true\n", at.obey("delete 101"));
    EXPECT_EQ("pause: paused false\n", at.obey("pause"));
}

TEST(Console, KnowsTheMessagesOfTheLastListOnly) {
    ConsoleAtStation at;
    at.obey("mailbox 1");
    at.obey("mailbox 2");
    at.obey("play 101");
    EXPECT_EQ("error: there is no message \"101\" in the list; \"mailbox\" reads it\n",
              at.failed());
}

TEST(Console, PrintsEventsThatOthersCause) {
    ConsoleAtStation at;
    at.printed();
    const station::SessionId other = at.station.connect();
    at.deliver(at.station.receive(other, R"({"method": "trigger", "params": ["elight"]})"));
    EXPECT_EQ("light: on\n", at.printed());
}

TEST(Console, TellsItsStatus) {
    ConsoleAtStation at;
    EXPECT_EQ("protocol   1.2\n"
              "registered no\n"
              "door       door_closed\n"
              "light      off\n"
              "bell       silent\n"
              "showing    nothing\n",
              at.obey("status"));
    at.obey("register 1 Hall");
    at.obey("door");
    at.obey("light");
    at.obey("ring");
    at.obey("live");
    at.obey("pause");
    EXPECT_EQ("protocol   1.2\n"
              "registered with Anna Quill (ground floor)\n"
              "door       door_open\n"
              "light      on\n"
              "bell       ringing\n"
              "showing    live view (paused)\n",
              at.obey("status"));
}

TEST(Console, SaysWhatItDoesNotKnowYet) {
    AloneConsole alone;
    alone.console.enter("status");
    EXPECT_EQ("protocol   0.9\n"
              "registered no\n"
              "door       ?\n"
              "light      ?\n"
              "bell       silent\n"
              "showing    nothing\n",
              alone.printed());
}

TEST(Console, ListsTheMethodsThatTheDeviceToldOf) {
    ConsoleAtStation at;
    const std::string all = at.obey("methods");
    EXPECT_NE(std::string::npos, all.find("ptz_zoom(integer, boolean): Zooms in or out.\n"));
    EXPECT_NE(std::string::npos, all.find("live(): Shows the live view.\n"));
}

TEST(Console, DescribesAMethod) {
    ConsoleAtStation at;
    EXPECT_EQ("----------------------------------------\n"
              "trigger (string)\n"
              "    Opens the door, or turns the light on or off.\n"
              "\n"
              "    @param  door or light [\"door\",\"elight\"]\n",
              at.obey("methods trigger"));
    EXPECT_EQ("the device has told of no such method\n", at.obey("methods open_sesame"));
}

TEST(Console, TakesTheBeginningOfAMethodsName) {
    ConsoleAtStation at;
    EXPECT_EQ(at.obey("methods trigger"), at.obey("methods trig"));
    EXPECT_EQ("ptz begins several methods: ptz_click, ptz_pan, ptz_zoom\n", at.obey("methods ptz"));
    EXPECT_EQ("ptz_zoom: [0,0,2]\nview: 0 to the right, 0 up, zoom 2\n",
              at.obey("call ptz_z [1, true]"));
    EXPECT_EQ("ptz begins several methods: ptz_click, ptz_pan, ptz_zoom\n",
              at.obey("call ptz [1, true]"));
    EXPECT_EQ(0, at.console.exitStatus());
}

TEST(Console, KeepsStandardOutputForItself) {
    testing::internal::CaptureStdout();
    {
        ConsoleAtStation at;
        std::cout << "still open\n";
    }
    EXPECT_EQ("still open\n", testing::internal::GetCapturedStdout());
}

TEST(Console, ListsItsCommandsAsTheGuideDoes) {
    ConsoleAtStation at;
    const std::string help = at.obey("help");
    EXPECT_NE(std::string::npos, content_of("../docs/examples.md").find("\n" + help)) << help;
    for (const char* command :
         {"door",    "light", "ring",   "ack",     "click",    "pan",    "center",
          "zoom",    "mode",  "live",   "play",    "queue",    "pause",  "register",
          "mailbox", "seen",  "delete", "preview", "snapshot", "status", "methods",
          "call",    "wait",  "help",   "quit"}) {
        EXPECT_NE(std::string::npos, help.find("    " + std::string(command) + " ")) << command;
    }
}

// ----- One line after another ----------------------------------------------------------------

TEST(Console, BeginsALineWhenTheLastOneIsAnswered) {
    ConsoleAtStation at(Settings(), script());
    at.printed();
    at.console.enter("door");
    at.console.enter("light");
    EXPECT_EQ("> door\n", at.printed());
    EXPECT_TRUE(at.console.waiting());
    at.talk();
    EXPECT_EQ("door: door_open\n> light\nlight: on\n", at.printed());
    EXPECT_FALSE(at.console.waiting());
}

TEST(Console, WaitsForALineFromTheDevice) {
    ConsoleAtStation at(Settings(), script());
    at.obey("door");
    at.console.enter("wait door_closed");
    at.console.enter("light");
    at.talk();
    EXPECT_EQ("> wait door_closed\n", at.printed());
    at.deliver(at.station.closeDoor());
    at.talk();
    EXPECT_EQ("door: door_closed\n> light\nlight: on\n", at.printed());
}

TEST(Console, SkipsBlankLinesAndRemarks) {
    ConsoleAtStation at(Settings(), script());
    EXPECT_EQ("", at.obey(""));
    EXPECT_EQ("", at.obey("   "));
    EXPECT_EQ("", at.obey("# door"));
    EXPECT_FALSE(at.station.doorIsOpen());
}

TEST(Console, QuitsAtTheEndOfItsInput) {
    ConsoleAtStation at;
    at.console.enter("door");
    at.console.endOfInput();
    EXPECT_FALSE(at.console.finished()) << "the door isn't answered yet";
    at.talk();
    EXPECT_TRUE(at.console.finished());
    EXPECT_FALSE(at.station.isOpen(at.session)) << "the station was told";
    EXPECT_EQ(0, at.console.exitStatus());
}

TEST(Console, ObeysNothingBehindQuit) {
    ConsoleAtStation at;
    at.console.enter("quit");
    at.console.enter("door");
    at.talk();
    EXPECT_TRUE(at.console.finished());
    EXPECT_FALSE(at.station.doorIsOpen());
    EXPECT_EQ(0, at.console.exitStatus());
}

// ----- Failures ------------------------------------------------------------------------------

TEST(Console, EndsAScriptAtAWrongCommand) {
    ConsoleAtStation at(Settings(), script());
    at.console.enter("dor");
    at.console.enter("door");
    at.talk();
    EXPECT_EQ("error: there is no command \"dor\"; \"help\" lists them\n", at.errors.str());
    EXPECT_TRUE(at.console.finished());
    EXPECT_EQ(1, at.console.exitStatus());
    EXPECT_FALSE(at.station.doorIsOpen());
}

TEST(Console, LetsAPersonGoOnAfterAWrongCommand) {
    ConsoleAtStation at;
    at.obey("dor");
    EXPECT_EQ("door: door_open\n", at.obey("door"));
    at.obey("quit");
    EXPECT_EQ(1, at.console.exitStatus());
}

TEST(Console, SaysHowACommandIsUsed) {
    const std::vector<std::pair<const char*, const char*>> rows = {
        {"door now", "error: usage: door\n"},
        {"ack maybe", "error: usage: ack [no]\n"},
        {"pan 3", "error: usage: pan X Y\n"},
        {"pan 3 up", "error: usage: pan X Y\n"},
        {"pan 3 99999999999", "error: usage: pan X Y\n"},
        {"pan 3 1x", "error: usage: pan X Y\n"},
        {"click 1 2 3", "error: usage: click X Y [zoom]\n"},
        {"click a 2", "error: usage: click X Y [zoom]\n"},
        {"zoom +-3", "error: usage: zoom N\n"},
        {"zoom", "error: usage: zoom N\n"},
        {"play 1 end", "error: usage: play [N | START END]\n"},
        {"queue", "error: usage: queue N\n"},
        {"seen 5 yes", "error: usage: seen N [no]\n"},
        {"delete", "error: usage: delete N\n"},
        {"preview 5", "error: usage: preview [N] -o FILE\n"},
        {"snapshot", "error: usage: snapshot FILE\n"},
        {"mailbox first", "error: usage: mailbox [ID]\n"},
        {"register 5", "error: usage: register ID NAME\n"},
        {"call", "error: usage: call METHOD [LIST]\n"},
        {"call live {}", "error: usage: call METHOD [LIST]\n"},
        {"call live [1", "error: usage: call METHOD [LIST]\n"},
        {"call live [1] 2", "error: usage: call METHOD [LIST]\n"},
    };
    ConsoleAtStation at;
    for (const auto& [line, expected] : rows) {
        at.errors.str(std::string());
        EXPECT_EQ("", at.obey(line)) << line;
        EXPECT_EQ(expected, at.errors.str()) << line;
    }
    EXPECT_EQ(1, at.console.exitStatus());
}

TEST(Console, SaysThatAMessageIsNotInTheList) {
    ConsoleAtStation at;
    at.obey("mailbox");
    for (const char* command : {"play 5", "queue 5", "seen 5", "delete 5", "preview 5 a.jpg"}) {
        EXPECT_EQ("", at.obey(command));
        EXPECT_EQ("error: there is no message \"5\" in the list; \"mailbox\" reads it\n",
                  at.failed())
            << command;
    }
    for (const char* number : {"-1", "five", "4294967397", "101x", "1e2"}) {
        at.obey(std::string("seen ") + number);
        EXPECT_EQ("error: there is no message \"" + std::string(number) +
                      "\" in the list; \"mailbox\" reads it\n",
                  at.failed());
    }
    EXPECT_EQ(1, at.console.exitStatus());
    EXPECT_TRUE(at.files.empty());
}

TEST(Console, SaysWhyAPictureCannotBeSaved) {
    ConsoleAtStation at;
    at.saveFault = "No space left on device";
    EXPECT_EQ("", at.obey("snapshot \x1B[2J.jpg"));
    EXPECT_EQ("error: can't write ?[2J.jpg: No space left on device\n", at.failed());
    EXPECT_EQ(1, at.console.exitStatus());
    at.saveFault.clear();
    EXPECT_EQ("saved: a.jpg\n", at.obey("snapshot a.jpg"));
}

TEST(Console, SaysThatNoPictureCame) {
    ConsoleAtStation at;
    at.obey("mailbox");
    const station::SessionId other = at.station.connect();
    at.station.receive(other, R"({"method": "message_delete", "params": [101, 0]})");
    EXPECT_EQ("device error 23: there is no such message\n", at.obey("preview 101 a.jpg"));
    EXPECT_EQ("error: preview 101 a.jpg: no picture came\n", at.failed());
    EXPECT_TRUE(at.files.empty());
    EXPECT_FALSE(at.console.waiting());
}

TEST(Console, SaysThatAPictureIsStillOwedByTheDevice) {
    ConsoleAtStation at;
    at.console.enter("snapshot a.jpg");
    const std::string request = at.sent.front();
    at.sent.clear();
    at.console.deadlinePassed();
    EXPECT_EQ("error: snapshot a.jpg: the device didn't answer in time\n", at.failed());
    at.obey("snapshot b.jpg");
    EXPECT_EQ("error: snapshot b.jpg: no picture came\n", at.failed());
    at.printed();
    at.deliver({{at.session, R"({"result": 1, "id": )" + id_of(request) + "}" +
                                 std::string("\0\xFF\xD8late", 7)}});
    EXPECT_EQ("a picture of 6 bytes came unasked\n", at.printed());
    EXPECT_TRUE(at.files.empty());
    EXPECT_EQ("saved: c.jpg\n", at.obey("snapshot c.jpg"));
}

TEST(Console, RefusesAPictureThatIsNone) {
    for (const std::string& bytes : {std::string("GIF89a"), std::string("\xFF"),
                                     std::string("\xFF\xD9"), std::string("a\xFFz")}) {
        ConsoleAtStation at;
        at.console.enter("snapshot a.jpg");
        at.deliver({{at.session, R"({"result": 1, "id": )" + id_of(at.sent.front()) + "}" +
                                     std::string(1, '\0') + bytes}});
        EXPECT_EQ("error: snapshot a.jpg: what came is no JPEG picture\n", at.failed());
        EXPECT_TRUE(at.files.empty());
    }
}

TEST(Console, RefusesWhatNeedsADeviceBeforeItIsConnected) {
    AloneConsole alone;
    for (const char* command : {"door", "mailbox", "snapshot a.jpg", "wait"}) {
        alone.console.enter(command);
        EXPECT_EQ("error: " + std::string(command) + ": there is no connection\n", alone.failed());
    }
    alone.console.enter("help");
    EXPECT_EQ("", alone.failed());
    alone.console.enter("quit");
    EXPECT_TRUE(alone.sent.empty());
    EXPECT_TRUE(alone.console.finished());
}

TEST(Console, RefusesLinesAfterTheConnectionIsLost) {
    ConsoleAtStation at;
    at.console.connectionLost("end of file");
    at.failed();
    at.obey("snapshot a.jpg");
    EXPECT_EQ("error: snapshot a.jpg: there is no connection\n", at.failed());
    EXPECT_TRUE(at.sent.empty());
}

TEST(Console, ShowsErrorsOfTheDeviceAndGoesOn) {
    ConsoleAtStation at(Settings(), script());
    EXPECT_EQ("> call ptz_pan [99, 0, true]\n"
              "warning: ptz_pan isn't called as the device has described it: value out of bounds "
              "at [0]\n"
              "device error 4: ptz_pan: parameter 1 is above 10\n",
              at.obey("call ptz_pan [99, 0, true]"));
    EXPECT_FALSE(at.console.finished());
    EXPECT_EQ(0, at.console.exitStatus());
}

TEST(Console, EndsAScriptWhenTheDeviceDoesNotAnswer) {
    AloneConsole alone(script());
    alone.console.connected();
    EXPECT_TRUE(alone.console.waiting());
    alone.console.enter("door");
    alone.console.deadlinePassed();
    EXPECT_EQ("error: the greeting: the device didn't answer in time\n", alone.errors.str());
    EXPECT_EQ("connected\n", alone.printed());
    EXPECT_TRUE(alone.console.finished());
    EXPECT_EQ(Console::TimeOut, alone.console.exitStatus());
}

TEST(Console, LetsAPersonGoOnWhenTheDeviceDoesNotAnswer) {
    ConsoleAtStation at;
    at.obey("wait for ever");
    EXPECT_TRUE(at.console.waiting());
    at.console.deadlinePassed();
    EXPECT_EQ("error: wait for ever: the device didn't answer in time\n", at.errors.str());
    EXPECT_EQ("door: door_open\n", at.obey("door"));
}

TEST(Console, SaysThatTheConnectionIsLost) {
    ConsoleAtStation at;
    at.console.connectionLost("end of file");
    at.console.connectionLost("end of file");
    EXPECT_EQ("error: the connection is lost: end of file\n", at.errors.str());
    EXPECT_TRUE(at.console.finished());
    EXPECT_EQ(Console::NoConnection, at.console.exitStatus());
}

TEST(Console, MissesNoConnectionAfterQuit) {
    ConsoleAtStation at;
    at.obey("quit");
    at.console.connectionLost("the station has closed it");
    EXPECT_EQ("", at.errors.str());
    EXPECT_EQ(0, at.console.exitStatus());
}

// ----- Hostile devices -----------------------------------------------------------------------

TEST(Console, KeepsTextsOfTheDeviceFromSteeringTheTerminal) {
    AloneConsole alone;
    alone.receive(R"({"result": ["\u001b[2J\u0007\u007f\u009b\n\u00e9"], "id": 101})");
    EXPECT_EQ("door: ?[2J????\xC3\xA9\n", alone.printed());
}

TEST(Console, KeepsTheLibraryFromPrintingWhatADeviceSaysOfItsMethods) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    AloneConsole alone;
    alone.console.connected();
    const char* const catalogue =
        R"({"result": [{"method": "\u001b[2J", "description": "\u009b", "params": [5]}], "id": 1})";
    alone.receive(catalogue);
    alone.receive(catalogue); // is warned of, since the schemas are there already
    std::cerr << "still open\n";
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ("still open\n", testing::internal::GetCapturedStderr());
}

TEST(Console, KeepsMessagesOfTheDeviceFromSteeringTheTerminal) {
    AloneConsole alone;
    alone.receive(R"({"result": [{"appl_sequence_no": 7, "name_sender": "\u001b[2J\n",)"
                  R"( "timestamp": 1e300, "length_ds": "\u0007"}], "id": 104})");
    EXPECT_EQ("mail box, batch 1: 1 message\n"
              "message 7: no time, ?[2J?, 0 s, new\n",
              alone.printed());
}

TEST(Console, KnowsOnlySoManyMessagesOfAListThatIsTooLong) {
    ConsoleAtStation at;
    std::string rows;
    for (int number = 1; number <= 10'001; ++number) {
        rows +=
            (number == 1 ? "" : ",") + ("{\"appl_sequence_no\": " + std::to_string(number)) + "}";
    }
    at.receive(R"({"result": [)" + rows + R"(], "id": 104})");
    at.obey("play 10000");
    EXPECT_EQ("", at.failed());
    at.obey("play 10001");
    EXPECT_EQ("error: there is no message \"10001\" in the list; \"mailbox\" reads it\n",
              at.failed());
}

TEST(Console, DoesNotTakeARecordIdBelowZeroForTheLiveView) {
    ConsoleAtStation at;
    at.receive(R"({"result": [{"appl_sequence_no": 7, "rid": -1}], "id": 104})");
    at.printed();
    EXPECT_EQ("device error 23: there is no such message\n", at.obey("preview 7 a.jpg"));
    EXPECT_TRUE(at.files.empty());
}

TEST(Console, ReadsHostileFramesWithoutHarm) {
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    const std::vector<std::string> frames = {
        "",
        "{",
        "]",
        "null",
        "5",
        std::string("\0", 1),
        std::string("\0abc", 4),
        R"({"result": 5, "id": 101})",
        R"({"result": {}, "id": 103})",
        R"({"result": [], "id": 103})",
        R"({"result": [["a"]], "id": 103})",
        R"({"result": [5], "id": 103})",
        R"({"result": "x", "id": 104})",
        R"({"result": [5, null, []], "id": 104})",
        R"({"error": 5, "id": 103})",
        R"({"error": [], "id": "x"})",
        R"({"error": {"a": 1}})",
        R"({"id": [1]})",
        R"({"result": null, "id": 1})",
        R"({"result": [5, {"params": 5}], "id": 1})",
        R"({"result": )" + deep + R"(, "id": 101})",
        R"({"result": )" + deep + R"(, "id": 9})",
        R"({"binary-attachment-list": 5, "result": 1, "id": 7})",
    };
    ConsoleAtStation at;
    for (const std::string& frame : frames) {
        at.receive(frame);
        at.obey("methods");
        at.obey("status");
        EXPECT_FALSE(at.console.finished()) << frame.substr(0, 80);
        EXPECT_EQ("door: door_open\n", at.obey("door")) << frame.substr(0, 80);
    }
}
