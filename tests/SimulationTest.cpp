// SPDX-License-Identifier: MIT
#include "station/Simulation.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using station::Fault;
using station::Frame;
using station::SessionId;
using station::Simulation;
using station::SimulationSettings;
using station::Traffic;
using Milliseconds = std::chrono::milliseconds;
using Lines = std::vector<std::string>;

const char* const kHearDoor = R"({"method":"subscription","params":["door",true],"id":101})";
const char* const kHearLight = R"({"method":"subscription","params":["elight",true],"id":102})";
const char* const kOpenDoor = R"({"method":"trigger","params":["door"]})";
const char* const kVersion = R"({"method":"version","params":[],"id":7})";
const std::string kVersionAnswer = R"(1 {"result":{"version_major":1,"version_minor":2},"id":7})";

/// "SESSION TEXT" of each frame that is due now.
Lines taken(Simulation& simulation) {
    Lines lines;
    while (const std::optional<Frame> frame = simulation.takeFrame()) {
        lines.push_back(std::to_string(frame->session) + " " + frame->bytes.c_str());
    }
    return lines;
}

Lines asked(Simulation& simulation, SessionId session, const char* text) {
    simulation.receive(session, text);
    return taken(simulation);
}

std::string fault_of_script(const std::string& text) {
    try {
        station::readScript(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "none";
}

SimulationSettings of_script(const char* text) {
    SimulationSettings settings;
    settings.script = station::readScript(text);
    return settings;
}

SimulationSettings of_replay(const std::string& lines) {
    SimulationSettings settings;
    std::istringstream in(lines);
    settings.replay = station::readRecording(in);
    return settings;
}

} // namespace

// ----- Time ----------------------------------------------------------------------------------

TEST(Simulation, LetsTheDoorFallShutByItsClock) {
    Simulation simulation;
    const SessionId one = simulation.connect();
    asked(simulation, one, kHearDoor);
    EXPECT_EQ(Lines({R"(1 {"result":["door_open"],"id":101})"}), asked(simulation, one, kOpenDoor));
    EXPECT_EQ(Milliseconds(3000), simulation.nextDue());
    simulation.advanceTo(Milliseconds(2999));
    EXPECT_EQ(Lines(), taken(simulation));
    simulation.advanceTo(Milliseconds(3000));
    EXPECT_EQ(Lines({R"(1 {"result":["door_closed"],"id":101})"}), taken(simulation));
    EXPECT_FALSE(simulation.nextDue());
}

TEST(Simulation, ShutsADoorThatIsOpenForAnInstantBehindItsOpening) {
    SimulationSettings settings;
    settings.doorOpen = Milliseconds(0);
    Simulation simulation(settings);
    const SessionId one = simulation.connect();
    asked(simulation, one, kHearDoor);
    EXPECT_EQ(Lines({R"(1 {"result":["door_open"],"id":101})",
                     R"(1 {"result":["door_closed"],"id":101})"}),
              asked(simulation, one, kOpenDoor));
}

TEST(Simulation, DoesNotCountFromASecondOpening) {
    Simulation simulation;
    simulation.openDoor();
    simulation.advanceTo(Milliseconds(2000));
    simulation.openDoor();
    simulation.advanceTo(Milliseconds(3000));
    EXPECT_FALSE(simulation.station().doorIsOpen());
}

TEST(Simulation, ForgetsTheTimeOfADoorThatIsShutByHand) {
    Simulation simulation;
    simulation.openDoor();
    simulation.advanceTo(Milliseconds(2000));
    simulation.closeDoor();
    simulation.openDoor();
    simulation.advanceTo(Milliseconds(4999));
    EXPECT_TRUE(simulation.station().doorIsOpen());
    simulation.advanceTo(Milliseconds(5000));
    EXPECT_FALSE(simulation.station().doorIsOpen());
}

TEST(Simulation, NeverGoesBackInTime) {
    Simulation simulation;
    simulation.advanceTo(Milliseconds(500));
    simulation.advanceTo(Milliseconds(400));
    EXPECT_EQ(Milliseconds(500), simulation.now());
}

TEST(Simulation, MovesTheStationsClockUnlessItStands) {
    SimulationSettings settings;
    settings.station.time = 1000;
    for (const bool stands : {false, true}) {
        settings.clockStands = stands;
        Simulation simulation(settings);
        simulation.advanceTo(Milliseconds(60500));
        simulation.ring("front");
        const auto& messages = *simulation.station().mailBoxes().messagesOf(1);
        EXPECT_EQ(stands ? 1000 : 1060.5, messages.back().view.time);
    }
}

// ----- The line ------------------------------------------------------------------------------

TEST(Simulation, SendsEachFrameLateByTheLatency) {
    SimulationSettings settings;
    settings.faults.latency = Milliseconds(40);
    Simulation simulation(settings);
    const SessionId one = simulation.connect();
    EXPECT_EQ(Lines(), asked(simulation, one, kVersion));
    EXPECT_EQ(Milliseconds(40), simulation.nextDue());
    simulation.advanceTo(Milliseconds(39));
    EXPECT_EQ(Lines(), taken(simulation));
    simulation.advanceTo(Milliseconds(40));
    EXPECT_EQ(Lines({kVersionAnswer}), taken(simulation));
}

TEST(Simulation, KeepsTheOrderBehindADelayedFrame) {
    Simulation simulation;
    const SessionId one = simulation.connect();
    simulation.spoilNext(Fault::Delay);
    simulation.tell("first");
    simulation.tell("second");
    EXPECT_EQ(Lines(), taken(simulation));
    simulation.advanceTo(Milliseconds(1000));
    EXPECT_EQ(Lines({"1 first", "1 second"}), taken(simulation));
    EXPECT_TRUE(simulation.isOpen(one));
}

TEST(Simulation, LetsTheNextFrameOvertakeOne) {
    Simulation simulation;
    simulation.connect();
    simulation.spoilNext(Fault::Reorder);
    simulation.tell("first");
    EXPECT_EQ(Lines(), taken(simulation));
    simulation.tell("second");
    simulation.tell("third");
    EXPECT_EQ(Lines({"1 second", "1 first", "1 third"}), taken(simulation));
}

TEST(Simulation, SendsAFrameThatNobodyOvertakesASecondLate) {
    Simulation simulation;
    simulation.connect();
    simulation.spoilNext(Fault::Reorder);
    simulation.tell("first");
    EXPECT_EQ(Milliseconds(1000), simulation.nextDue());
    simulation.advanceTo(Milliseconds(1000));
    EXPECT_EQ(Lines({"1 first"}), taken(simulation));
}

TEST(Simulation, EndsTheConnectionOfAClientForWhomTooMuchWaits) {
    SimulationSettings settings;
    settings.faults.latency = Milliseconds(1000);
    Simulation simulation(settings);
    const SessionId one = simulation.connect();
    const std::string megabyte(1024 * 1024, 'x');
    int told = 0;
    for (; told < 100 && simulation.isOpen(one); ++told) {
        simulation.tell(megabyte);
    }
    EXPECT_EQ(18, told); // 17 are above 16 MiB, and the next one is too much
    EXPECT_FALSE(simulation.nextDue());
}

// ----- Clients -------------------------------------------------------------------------------

TEST(Simulation, ClosesAConnectionBehindTheLastAnswer) {
    SimulationSettings settings;
    settings.faults.latency = Milliseconds(10);
    Simulation simulation(settings);
    const SessionId one = simulation.connect();
    simulation.receive(one, R"({"method":"quit","params":[],"id":9})");
    simulation.receive(one, kVersion); // comes too late
    EXPECT_TRUE(simulation.isOpen(one));
    simulation.advanceTo(Milliseconds(10));
    EXPECT_EQ(Lines({R"(1 {"result":null,"id":9})"}), taken(simulation));
    EXPECT_FALSE(simulation.isOpen(one));
}

TEST(Simulation, LosesAllConnectionsAndFramesAtADisconnection) {
    SimulationSettings settings;
    settings.faults.latency = Milliseconds(10);
    Simulation simulation(settings);
    const SessionId one = simulation.connect();
    simulation.receive(one, kOpenDoor);
    simulation.tell("lost");
    EXPECT_EQ("", simulation.command("disconnect"));
    EXPECT_FALSE(simulation.isOpen(one));
    EXPECT_TRUE(simulation.station().doorIsOpen());
    simulation.advanceTo(Milliseconds(10));
    EXPECT_EQ(Lines(), taken(simulation));
    EXPECT_EQ(2u, simulation.connect());
}

TEST(Simulation, ForgetsAtARebootWhatADeviceForgetsWithoutPower) {
    Simulation simulation;
    const SessionId one = simulation.connect();
    asked(simulation, one, R"({"method":"add_device","params":["hall",[2],"Hall"],"id":103})");
    asked(simulation, one, kHearLight);
    asked(simulation, one, kOpenDoor);
    simulation.switchLight(true);
    simulation.ring("yard");
    asked(simulation, one, R"({"method":"ptz_zoom","params":[4,false],"id":9})");

    simulation.reboot();
    EXPECT_FALSE(simulation.isOpen(one));
    EXPECT_EQ(0u, simulation.connect()) << "it boots";
    simulation.advanceTo(Milliseconds(500));
    const SessionId two = simulation.connect();
    EXPECT_EQ(2u, two);
    EXPECT_FALSE(simulation.station().doorIsOpen());
    EXPECT_FALSE(simulation.station().lightIsOn());
    EXPECT_FALSE(simulation.station().bellIsRinging());
    EXPECT_EQ(
        Lines({R"(2 {"result":[0,0,1],"id":5})"}),
        asked(simulation, two, R"({"method":"subscription","params":["view",false],"id":5})"));
    simulation.switchLight(true);
    EXPECT_EQ(Lines(), taken(simulation)) << "nobody has subscribed";
    EXPECT_EQ(Lines({R"(2 {"result":[["2","Bert Rowan","first floor"]],"id":103})"}),
              asked(simulation, two, R"({"method":"register_device","params":["hall"],"id":103})"));
    EXPECT_EQ(2u, simulation.station().mailBoxes().messagesOf(2)->size());
}

// ----- Commands ------------------------------------------------------------------------------

TEST(Simulation, ObeysEachCommand) {
    Simulation simulation;
    const SessionId one = simulation.connect();
    asked(simulation, one, kHearDoor);
    asked(simulation, one, kHearLight);
    asked(simulation, one, R"({"method":"add_device","params":["hall",[2],"Hall"],"id":103})");
    const std::vector<std::pair<const char*, Lines>> rows = {
        {"ring", {R"(1 {"result":["bell",true],"id":103})"}},
        {"  ring   yard \r", {R"(1 {"result":["bell",true,"yard"],"id":103})"}},
        {"open", {R"(1 {"result":["door_open"],"id":101})"}},
        {"open", {}},
        {"close", {R"(1 {"result":["door_closed"],"id":101})"}},
        {"light on", {R"(1 {"result":[true],"id":102})"}},
        {"light on", {}},
        {"light off", {R"(1 {"result":[false],"id":102})"}},
        {"light", {R"(1 {"result":[true],"id":102})"}},
        {"tell {\"result\": 1}", {R"(1 {"result": 1})"}},
        {"fault drop", {}},
        {"light off", {}},
        {"light on", {R"(1 {"result":[true],"id":102})"}},
    };
    for (const auto& [command, lines] : rows) {
        EXPECT_EQ("", simulation.command(command)) << command;
        EXPECT_EQ(lines, taken(simulation)) << command;
    }
    EXPECT_EQ("", simulation.command("move-out 2"));
    EXPECT_EQ("", simulation.station().knownPhones().at(0).addressee);
    EXPECT_EQ("", simulation.command("reboot"));
    EXPECT_TRUE(simulation.isBooting());
}

TEST(Simulation, SaysWhatIsWrongWithACommand) {
    Simulation simulation;
    const std::vector<std::pair<const char*, const char*>> rows = {
        {"", "there is no such command"},          {"explode", "there is no such command"},
        {"ring cellar", "there is no such bell"},  {"open wide", "\"open\" stands alone"},
        {"light dim", "usage: light [on|off]"},    {"move-out", "usage: move-out ID"},
        {"move-out two", "usage: move-out ID"},    {"fault", "there is no such fault"},
        {"fault flood", "there is no such fault"},
    };
    for (const auto& [command, fault] : rows) {
        EXPECT_EQ(fault, simulation.command(command)) << command;
    }
}

// ----- Script --------------------------------------------------------------------------------

TEST(Simulation, PlaysAScriptByItsClock) {
    Simulation simulation(of_script(R"([{"at": 2.5, "do": "light off"}, {"at": 1, "do": "light on"},
                                        {"at": 0, "do": "open"}])"));
    EXPECT_TRUE(simulation.station().doorIsOpen());
    simulation.advanceTo(Milliseconds(999));
    EXPECT_FALSE(simulation.station().lightIsOn());
    simulation.advanceTo(Milliseconds(1000));
    EXPECT_TRUE(simulation.station().lightIsOn());
    simulation.advanceTo(Milliseconds(2500));
    EXPECT_FALSE(simulation.station().lightIsOn());
}

TEST(Simulation, RepeatsAnEntryOfAScript) {
    Simulation simulation(of_script(R"([{"at": 1, "every": 0.5, "do": "tell tick"}])"));
    simulation.connect();
    simulation.advanceTo(Milliseconds(2499));
    EXPECT_EQ(Lines({"1 tick", "1 tick", "1 tick"}), taken(simulation));
    EXPECT_EQ(Milliseconds(2500), simulation.nextDue());
}

TEST(Simulation, SaysWhatIsWrongWithAScript) {
    const std::vector<std::pair<const char*, const char*>> rows = {
        {"[]", "none"},
        {"", "it isn't a JSON list"},
        {"[", "it isn't a JSON list"},
        {"{}", "it isn't a JSON list"},
        {"[1]", "entry 1: it isn't an object"},
        {R"([{"at": "soon", "do": "ring"}])", "entry 1: \"at\" is no time in seconds"},
        {R"([{"at": -1, "do": "ring"}])", "entry 1: \"at\" is no time in seconds"},
        {R"([{"at": 1e300, "do": "ring"}])", "entry 1: \"at\" is no time in seconds"},
        {R"([{"at": 1}])", "entry 1: \"do\" is no command"},
        {R"([{"at": 1, "do": "ring"}, {"at": 1, "do": "explode"}])",
         "entry 2: there is no such command"},
        {R"([{"at": 1, "do": "ring", "every": 0.01}])",
         "entry 1: \"every\" is no time of 0.1 seconds or more"},
    };
    for (const auto& [text, fault] : rows) {
        EXPECT_EQ(fault, fault_of_script(text)) << text;
    }
}

// ----- Record and replay ---------------------------------------------------------------------

TEST(Simulation, TellsOfEverythingOnTheConnections) {
    Simulation simulation;
    std::string lines;
    simulation.onTraffic = [&lines](const Traffic& entry) {
        lines += station::lineOf(entry) + "\n";
    };
    const SessionId one = simulation.connect();
    simulation.advanceTo(Milliseconds(20));
    asked(simulation, one, R"({"method":"endfilter","params":["x"],"id":7})");
    simulation.disconnect(one);
    simulation.connect();
    simulation.reboot();
    EXPECT_EQ(R"({"at_ms":0,"session":1,"kind":"connected"}
{"at_ms":20,"session":1,"kind":"received","text":"{\"method\":\"endfilter\",\"params\":[\"x\"],\"id\":7}"}
{"at_ms":20,"session":1,"kind":"sent","text":"{\"result\":\"x\",\"id\":7}"}
{"at_ms":20,"session":1,"kind":"disconnected"}
{"at_ms":20,"session":2,"kind":"connected"}
{"at_ms":20,"session":2,"kind":"closed"}
)",
              lines);
}

const char* const kRecorded = R"({"at_ms":0,"session":4,"kind":"connected"}
{"at_ms":5,"session":4,"kind":"sent","text":"hello"}
{"at_ms":100,"session":4,"kind":"received","text":"one"}
{"at_ms":130,"session":4,"kind":"sent","text":"first"}
{"at_ms":150,"session":9,"kind":"connected"}
{"at_ms":160,"session":9,"kind":"sent","text":"other"}
{"at_ms":200,"session":4,"kind":"received","text":"two"}
{"at_ms":200,"session":4,"kind":"sent","text":"second","binary":"/9j/"}
{"at_ms":210,"session":4,"kind":"sent","text":"cut","end":false}
{"at_ms":300,"session":4,"kind":"closed"}
)";

TEST(Simulation, ReplaysWhatWasSentBehindAsManyRequests) {
    Simulation simulation(of_replay(kRecorded));
    const SessionId one = simulation.connect();
    simulation.advanceTo(Milliseconds(1000));
    EXPECT_EQ(Lines({"1 hello"}), taken(simulation));
    simulation.receive(one, "anything");
    EXPECT_EQ(Milliseconds(1030), simulation.nextDue());
    simulation.advanceTo(Milliseconds(1030));
    EXPECT_EQ(Lines({"1 first"}), taken(simulation));
    simulation.receive(one, "whatever");
    const std::optional<Frame> second = simulation.takeFrame();
    ASSERT_TRUE(second);
    EXPECT_EQ(std::string("second\0\xFF\xD8\xFF", 10), second->bytes);
    simulation.advanceTo(Milliseconds(1040));
    const std::optional<Frame> cut = simulation.takeFrame();
    ASSERT_TRUE(cut);
    EXPECT_EQ("cut", cut->bytes);
    EXPECT_FALSE(simulation.isOpen(one));
}

TEST(Simulation, GivesEachClientItsSessionOfAReplayAndTheRestTheLast) {
    Simulation simulation(of_replay(kRecorded));
    for (int i = 0; i < 3; ++i) {
        simulation.connect();
    }
    simulation.advanceTo(Milliseconds(10));
    EXPECT_EQ(Lines({"1 hello", "2 other", "3 other"}), taken(simulation));
}

TEST(Simulation, SaysNothingOfItsOwnInAReplay) {
    Simulation simulation(of_replay(kRecorded));
    const SessionId one = simulation.connect();
    simulation.advanceTo(Milliseconds(10));
    taken(simulation);
    simulation.tell("own");
    simulation.ring("front");
    EXPECT_EQ(Lines(), taken(simulation));
    EXPECT_TRUE(simulation.isOpen(one));
}

// ----- Clients that mean no good -------------------------------------------------------------

// Random bytes, commands and departures on a line with every fault, from a seed.
TEST(Simulation, SurvivesAnyClientsOnAnyLine) {
    const std::vector<std::string> texts = {
        kHearDoor,
        kHearLight,
        kOpenDoor,
        kVersion,
        "",
        "[[[[",
        R"({"method":"quit","id":1})",
        R"({"method":"add_device","params":["hall",[2],"Hall"],"id":103})",
        R"({"method":"preview_live","params":[8,8],"id":-9223372036854775808})",
        R"({"method":"play","params":["1e9@101E0"],"id":5})",
        R"({"method":"mailboxdata","params":[1],"id":9223372036854775807})"};
    const std::vector<const char*> commands = {"ring",       "ring yard", "open",
                                               "light",      "reboot",    "disconnect",
                                               "move-out 2", "tell x",    "fault drop"};
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        SimulationSettings settings;
        settings.faults.seed = seed;
        settings.faults.rates.fill(0.1);
        settings.faults.latency = Milliseconds(seed % 3 * 10);
        settings.faults.oversizeBytes = 1000;
        settings.faults.depth = 1000;
        settings.boot = Milliseconds(5);
        Simulation simulation(settings);
        std::minstd_rand random(seed);
        std::array<SessionId, 4> clients{};
        std::size_t heard = 0;
        for (int step = 0; step < 1000; ++step) {
            const unsigned long choice = random() % 16;
            const SessionId client = clients[random() % clients.size()];
            if (choice < 2) {
                clients[random() % clients.size()] = simulation.connect(); // 0 while it boots
            } else if (choice == 2 && random() % 8 == 0) {
                simulation.disconnect(client);
            } else if (choice == 3) {
                EXPECT_EQ("", simulation.command(commands[random() % commands.size()]));
            } else if (choice < 8) {
                simulation.advanceTo(simulation.now() + Milliseconds(random() % 50));
            } else {
                std::string text = texts[random() % texts.size()];
                if (choice == 8) text.resize(random() % (text.size() + 1));
                if (choice == 9 && !text.empty()) {
                    text[random() % text.size()] = static_cast<char>(random() % 256);
                }
                simulation.receive(client, text);
            }
            while (simulation.takeFrame()) {
                ++heard;
            }
        }
        EXPECT_GT(heard, 100u);
    }
}
