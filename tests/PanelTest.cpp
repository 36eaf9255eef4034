// SPDX-License-Identifier: MIT
#include "station/Panel.h"

#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using station::Panel;
using station::Simulation;
using station::Traffic;

Traffic sent(const std::string& bytes) {
    return {std::chrono::milliseconds(1500), 2, Traffic::Sent, bytes};
}

json::Variant parsed(const std::string& text) { return json::JsonParser::parseTree(text); }

} // namespace

TEST(Panel, ShowsTheDoorTheLightAndTheBell) {
    Simulation simulation;
    const Panel panel(simulation);
    json::Variant state = parsed(panel.state())["state"];
    EXPECT_TRUE(state["door_open"] == false);
    EXPECT_TRUE(state["light_on"] == false);
    EXPECT_TRUE(state["ringing"] == false);
    EXPECT_TRUE(state["booting"] == false);
    EXPECT_STREQ(R"(["front","yard"])", state["bells"].charsValue());
    simulation.openDoor();
    simulation.switchLight(true);
    simulation.ring("front");
    state = parsed(panel.state())["state"];
    EXPECT_TRUE(state["door_open"] == true);
    EXPECT_TRUE(state["light_on"] == true);
    EXPECT_TRUE(state["ringing"] == true);
}

TEST(Panel, ShowsPhonesAndMessages) {
    station::SimulationSettings settings;
    settings.clockStands = true;
    Simulation simulation(settings);
    const Panel panel(simulation);
    const auto one = simulation.connect();
    simulation.receive(one, R"({"method":"add_device","params":["hall-1",[2],"Hall"],"id":103})");
    simulation.ring("yard");
    json::Variant state = parsed(panel.state())["state"];
    EXPECT_EQ(1, state["clients"].integerValue());
    EXPECT_TRUE(state["phones"] ==
                parsed(R"([{"token":"hall-1","name":"Hall","addressee":"Bert Rowan",
                            "registered":true}])"));
    EXPECT_EQ(6u, state["messages"].size());
    EXPECT_TRUE(state["messages"][5] ==
                parsed(R"({"mail_box":2,"number":202,"time":"2026-03-04 09:30:00","camera":"yard",
                           "sender":"unknown","seconds":10.0,"seen":false})"));
    simulation.reboot();
    state = parsed(panel.state())["state"];
    EXPECT_TRUE(state["booting"] == true);
    EXPECT_TRUE(state["phones"][0]["registered"] == false);
}

TEST(Panel, ShowsEachEntryOfTheTrafficOnce) {
    Simulation simulation;
    Panel panel(simulation);
    panel.note({std::chrono::milliseconds(0), 2, Traffic::Connected, ""});
    panel.note(sent(std::string("{}") + '\0' + "image"));
    EXPECT_TRUE(parsed(panel.trafficSince(0)) == parsed(R"({"traffic":[
                    {"at_ms":0,"session":2,"kind":"connected","text":"","binary":0},
                    {"at_ms":1500,"session":2,"kind":"sent","text":"{}","binary":5}]})"));
    EXPECT_EQ(1u, parsed(panel.trafficSince(1))["traffic"].size());
    EXPECT_EQ(0u, parsed(panel.trafficSince(2))["traffic"].size());
}

TEST(Panel, KeepsAShortLogOfShortTexts) {
    Simulation simulation;
    Panel panel(simulation);
    for (int i = 0; i < 300; ++i) {
        panel.note(sent(std::to_string(i) + std::string(100000, 'x')));
    }
    const json::Variant traffic = parsed(panel.trafficSince(0))["traffic"];
    EXPECT_EQ(300u, panel.noted());
    ASSERT_EQ(200u, traffic.size());
    const std::string text = traffic[0]["text"];
    EXPECT_EQ("100xxx", text.substr(0, 6));
    EXPECT_EQ("xxx... (100003 bytes)", text.substr(text.size() - 21));
    EXPECT_EQ(2000u + 18, text.size());
}

// A browser closes a connection on which a text isn't UTF-8.
TEST(Panel, SaysOnlyUtf8WhateverAClientSends) {
    Simulation simulation;
    Panel panel(simulation);
    const auto one = simulation.connect();
    const std::string request =
        "{\"method\":\"add_device\",\"params\":[\"\xFF\",[2],\"\xC3\"],\"id\":103}";
    simulation.receive(one, request);
    panel.note({std::chrono::milliseconds(0), one, Traffic::Received, request});
    for (const std::string& text : {panel.state(), panel.trafficSince(0)}) {
        EXPECT_EQ(station::asUtf8(text), text);
        EXPECT_NE(std::string::npos, text.find("\xEF\xBF\xBD"));
    }
}

TEST(Panel, ObeysACommand) {
    Simulation simulation;
    Panel panel(simulation);
    EXPECT_EQ("", panel.obey(R"({"do":"light on"})"));
    EXPECT_TRUE(simulation.station().lightIsOn());
}

TEST(Panel, SaysWhatItCanNotObey) {
    Simulation simulation;
    Panel panel(simulation);
    const std::vector<std::pair<std::string, const char*>> rows = {
        {R"({"do":"explode"})", R"({"error":"there is no such command"})"},
        {R"({"do":5})", R"({"error":"this is no command"})"},
        {"[]", R"({"error":"this is no command"})"},
        {"", R"({"error":"this is no command"})"},
        {"{\"do\":", R"({"error":"this is no command"})"},
        {std::string(60000, '['), R"({"error":"this is no command"})"},
    };
    for (const auto& [message, answer] : rows) {
        EXPECT_EQ(answer, panel.obey(message));
    }
}

TEST(Panel, HoldsItsFiles) {
    for (const char* path : {"/", "/panel/panel.js", "/panel/panel.css"}) {
        const station::PanelFile* const file = station::panelFile(path);
        ASSERT_NE(nullptr, file) << path;
        EXPECT_NE(std::string_view::npos, file->content.find("SPDX-License-Identifier: MIT"));
    }
    EXPECT_STREQ("text/html; charset=utf-8", station::panelFile("/")->type);
    EXPECT_EQ(nullptr, station::panelFile("/panel/"));
    EXPECT_EQ(nullptr, station::panelFile("/../main.cpp"));
}

TEST(Panel, IsForPagesOfItsOwnAddressOnly) {
    for (const char* host : {"127.0.0.1:8099", "localhost:8099"}) {
        EXPECT_TRUE(station::isOwnHost(host, 8099));
    }
    for (const char* host : {"", "127.0.0.1", "127.0.0.1:80", "evil.example:8099", "localhost",
                             "localhost:8099.evil.example", "a.localhost:8099"}) {
        EXPECT_FALSE(station::isOwnHost(host, 8099)) << host;
    }
    EXPECT_TRUE(station::isOwnHost("127.0.0.1", 80));
    for (const char* origin : {"", "http://127.0.0.1:8099", "http://localhost:8099"}) {
        EXPECT_TRUE(station::isOwnOrigin(origin, 8099)) << origin;
    }
    for (const char* origin : {"null", "http://evil.example", "https://127.0.0.1:8099",
                               "http://127.0.0.1:9000", "127.0.0.1:8099"}) {
        EXPECT_FALSE(station::isOwnOrigin(origin, 8099)) << origin;
    }
}
