// SPDX-License-Identifier: MIT
// How do I test an application without a device? Its own tests, against a station in the process.
#include "Intercom.h"
#include "station/VirtualStation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

TEST(Intercom, ShowsWhoRings) {
    station::VirtualStation station;
    station::OnLine<Intercom> intercom(station);
    intercom.connected();
    station.run();
    EXPECT_EQ("ready for Anna Quill", intercom.shown);

    station.ring("front");
    station.run();
    EXPECT_EQ("visitor: front door", intercom.shown);

    intercom.acknowledgeBell(true);
    station.run();
    EXPECT_EQ("ready", intercom.shown);
    EXPECT_FALSE(station.bellIsRinging());
}

TEST(Intercom, KnowsWhenTheDoorFallsShut) {
    station::VirtualStation station;
    station::OnLine<Intercom> intercom(station);
    intercom.connected();
    intercom.triggerDoor();
    station.run();
    EXPECT_EQ("door_open", std::string(intercom.doorAndLightStatus().doorStatus));

    station.advance(3); // no second passes: only the clock of the station moves
    EXPECT_EQ("door_closed", std::string(intercom.doorAndLightStatus().doorStatus));
}

TEST(Intercom, AsksForAPlaceOnAStationThatDoesNotKnowIt) {
    station::VirtualStation station;
    station::OnLine<Intercom> intercom(station);
    intercom.connected();
    station.run();
    EXPECT_EQ((std::vector<std::string>{"version", "register_device", "subscription",
                                        "subscription", "list_addressees", "add_device"}),
              station.requests());
}

TEST(Intercom, ComesBackAfterAReboot) {
    station::VirtualStation station;
    station::OnLine<Intercom> intercom(station);
    intercom.line.whenLost = [&] { intercom.disconnected(); };
    intercom.connected();
    station.run();

    station.reboot();
    station.run();
    EXPECT_EQ("not connected", intercom.shown);
    EXPECT_FALSE(intercom.line.connect()) << "the station boots for half a second";

    station.advance(0.5);
    ASSERT_TRUE(intercom.line.connect());
    intercom.connected();
    station.run();
    station.ring("yard");
    station.run();
    EXPECT_EQ("visitor: yard", intercom.shown);
}

TEST(Intercom, SurvivesALineThatLosesEveryThirdFrame) {
    station::SimulationSettings settings;
    settings.faults.seed = 7;
    settings.faults.rate(station::Fault::Drop) = 0.33;
    settings.faults.rate(station::Fault::Truncate) = 0.33;
    station::VirtualStation station(settings);
    station::OnLine<Intercom> intercom(station);
    for (int i = 0; i < 50; ++i) {
        intercom.connected();
        station.ring("front");
        station.advance(1);
    }
    EXPECT_GT(intercom.visitors, 0);
    EXPECT_LT(intercom.visitors, 50);
}

/// A transport that the application has already: it knows no station, and the test gives it a line.
class Wire {
public:
    virtual ~Wire() = default;
    virtual void send(const char* text, int size) = 0;
};

class WiredIntercom : public Intercom {
public:
    explicit WiredIntercom(Wire& wire) : wire_(wire) {}
    void sendJsonText(const char* text, int size) override { wire_.send(text, size); }

private:
    Wire& wire_;
};

TEST(Intercom, GoesOverTheTransportOfTheApplication) {
    struct : Wire {
        station::Line* line = nullptr;
        void send(const char* text, int size) override { line->send(text, size); }
    } wire;
    station::VirtualStation station;
    WiredIntercom intercom(wire);
    station::Line line(station, intercom);
    wire.line = &line;
    intercom.triggerLight();
    EXPECT_FALSE(station.lightIsOn()) << "the request is on its way";
    station.run();
    EXPECT_TRUE(station.lightIsOn());
}
