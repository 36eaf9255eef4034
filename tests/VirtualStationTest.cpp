// SPDX-License-Identifier: MIT
#include "station/VirtualStation.h"

#include "support/Phone.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using station::Fault;
using station::Line;
using station::OnLine;
using station::SimulationSettings;
using station::VirtualStation;

/// A phone whose requests go to a station; what it sends isn't kept.
using Phone = OnLine<test::Phone>;

std::string door_of(const Phone& phone) { return phone.doorAndLightStatus().doorStatus; }

} // namespace

// The naive transport answers from inside `sendJsonText`; then a preview is taken for a live view.
TEST(VirtualStation, NeverAnswersFromInsideTheRequest) {
    VirtualStation station;
    Phone phone(station);
    phone.setupSubscriptions("hall");
    EXPECT_EQ(0, phone.versionMajor);
    EXPECT_TRUE(station.requests().empty());
    EXPECT_TRUE(station.deliver()); // the question for the version arrives
    EXPECT_EQ(0, phone.versionMajor);
    station.run();
    EXPECT_EQ(1, phone.versionMajor);
    EXPECT_EQ(nullptr, phone.downloadMailPreviewImage(9101, 32, 24, true));
    EXPECT_EQ(2u, station.run());
    ASSERT_EQ(1u, phone.images.size());
    EXPECT_EQ("\xFF\xD8\xFF", phone.images[0]->substr(0, 3));
}

TEST(VirtualStation, StandsStillUntilItIsToldTheTime) {
    VirtualStation station;
    Phone phone(station);
    phone.setupSubscriptions("hall");
    phone.triggerDoor();
    station.run();
    EXPECT_EQ(0u, station.run());
    EXPECT_EQ("door_open", door_of(phone));
    station.advance(2.999);
    EXPECT_EQ("door_open", door_of(phone));
    station.advance(0.001);
    EXPECT_EQ("door_closed", door_of(phone));
    EXPECT_EQ(3.0, station.now());
}

TEST(VirtualStation, DeliversInTheOrderOfTimeWhileItAdvances) {
    SimulationSettings settings;
    settings.script =
        station::readScript(R"([{"at": 1, "do": "tell {\"error\": [9, \"one\"], \"id\": 103}"},
                                              {"at": 3, "do": "tell {\"error\": [9, \"three\"], \"id\": 103}"}])");
    VirtualStation station(settings);
    Phone phone(station);
    phone.setupSubscriptions("hall");
    station.run();
    phone.told.clear();
    // The door is opened when the first message arrives, so it shuts behind the second one.
    phone.whenTold = [&](const std::string& entry) {
        if (entry == "showMessage(one)") phone.triggerDoor();
        if (entry == "showMessage(three)") {
            EXPECT_EQ("door_open", door_of(phone));
        }
    };
    station.advance(10);
    EXPECT_EQ((std::vector<std::string>{"showMessage(one)", "showMessage(three)"}), phone.told);
    EXPECT_EQ("door_closed", door_of(phone));
    const auto& last = station.traffic().back();
    EXPECT_EQ(4000, last.at.count());
}

TEST(VirtualStation, RingsTheBellOfAName) {
    SimulationSettings settings;
    settings.station.bells = {{"gate", 3}, {"cellar", 1}};
    VirtualStation station(settings);
    EXPECT_THROW(station.ring(), std::invalid_argument);
    EXPECT_THROW(station.ring("yard"), std::invalid_argument);
    EXPECT_FALSE(station.bellIsRinging());
    station.ring("gate");
    EXPECT_TRUE(station.bellIsRinging());
    EXPECT_EQ("gate", station.device().mailBoxes().messagesOf(3)->back().view.camera);
}

TEST(VirtualStation, ServesSeveralClients) {
    VirtualStation station;
    Phone hall(station);
    Phone kitchen(station);
    hall.setupSubscriptions("hall");
    kitchen.setupSubscriptions("kitchen");
    kitchen.triggerDoor();
    station.run();
    EXPECT_EQ("door_open", door_of(hall));
    EXPECT_EQ("door_open", door_of(kitchen));
}

TEST(VirtualStation, LosesWhatIsOnItsWayAtADisconnection) {
    VirtualStation station;
    Phone phone(station);
    int lost = 0;
    phone.line.whenLost = [&lost] { ++lost; };
    phone.setupSubscriptions("hall");
    phone.triggerDoor();
    station.disconnect();
    EXPECT_FALSE(phone.line.isConnected());
    EXPECT_EQ(0, lost) << "it is told by a delivery";
    phone.triggerDoor(); // on a dead line
    station.run();
    EXPECT_EQ(1, lost);
    EXPECT_TRUE(station.requests().empty());
    EXPECT_FALSE(station.doorIsOpen());
    ASSERT_TRUE(phone.line.connect());
    phone.triggerDoor();
    station.run();
    EXPECT_TRUE(station.doorIsOpen());
    EXPECT_EQ(1, lost);
}

TEST(VirtualStation, TakesNobodyWhileItBoots) {
    VirtualStation station;
    Phone phone(station);
    station.reboot();
    EXPECT_FALSE(phone.line.connect());
    Phone other(station);
    EXPECT_FALSE(other.line.isConnected());
    station.advance(0.499);
    EXPECT_FALSE(other.line.connect());
    station.advance(0.001);
    EXPECT_TRUE(other.line.connect());
}

TEST(VirtualStation, HearsWhatWasSentBeforeAHangUp) {
    VirtualStation station;
    Phone phone(station);
    bool lost = false;
    phone.line.whenLost = [&lost] { lost = true; };
    phone.triggerLight();
    phone.line.hangUp();
    EXPECT_TRUE(station.lightIsOn());
    EXPECT_EQ(0u, station.run());
    EXPECT_FALSE(lost);
}

TEST(VirtualStation, SpoilsTheNextFrame) {
    VirtualStation station;
    Phone phone(station);
    phone.setupSubscriptions("hall");
    station.run();
    station.spoilNext(Fault::Drop);
    phone.triggerDoor();
    station.run();
    EXPECT_TRUE(station.doorIsOpen());
    EXPECT_EQ("door_closed", door_of(phone));
    station.advance(3);
    EXPECT_EQ("door_closed", door_of(phone));
}

// An answer and a question without an end is a fault of an application that a test must not hang
// on.
TEST(VirtualStation, EndsAConversationWithoutAnEnd) {
    VirtualStation station;
    Phone phone(station);
    phone.whenTold = [&](const std::string&) { phone.readMailBox("3"); };
    phone.readMailBox("3");
    EXPECT_THROW(station.run(), std::runtime_error);
}

TEST(VirtualStation, DeliversNothingFromInsideADelivery) {
    VirtualStation station;
    Phone phone(station);
    std::size_t inside = 0;
    phone.whenTold = [&](const std::string&) {
        inside += station.run();
        station.advance(1);
    };
    phone.readMailBox("1");
    EXPECT_GT(station.run(), 2u);
    EXPECT_EQ(2u, phone.told.size());
    EXPECT_EQ(0u, inside);
    EXPECT_EQ(0.0, station.now());
}

TEST(VirtualStation, MayBeGoneBeforeItsLines) {
    auto station = std::make_unique<VirtualStation>();
    Phone phone(*station);
    station.reset();
    EXPECT_FALSE(phone.line.isConnected());
    EXPECT_FALSE(phone.line.connect());
    phone.triggerDoor();
    phone.line.hangUp();
}

TEST(VirtualStation, LetsAClientGoInTheMiddleOfADelivery) {
    VirtualStation station;
    Phone phone(station);
    auto other = std::make_unique<Phone>(station);
    other->setupSubscriptions("other");
    station.run();
    phone.line.whenLost = [&other] { other.reset(); };
    station.disconnect();
    station.run();
    EXPECT_EQ(nullptr, other);
}

TEST(VirtualStation, KeepsTheTrafficUntilItIsForgotten) {
    VirtualStation station;
    Phone phone(station);
    phone.triggerLight();
    station.run();
    EXPECT_EQ(std::vector<std::string>{"trigger"}, station.requests());
    EXPECT_EQ(2u, station.traffic().size());
    station.forgetTraffic();
    EXPECT_TRUE(station.requests().empty());
}

TEST(VirtualStation, TellsAnythingToItsClients) {
    VirtualStation station;
    Phone phone(station);
    station.tell(R"({"result": ["bolt_open"], "id": 101})");
    station.run();
    EXPECT_EQ("bolt_open", door_of(phone));
}

TEST(VirtualStation, SurvivesAnApplicationsClientOfAnyFault) {
    for (std::size_t i = 0; i < station::kFaults; ++i) {
        SimulationSettings settings;
        settings.faults.rates[i] = 0.5;
        settings.faults.oversizeBytes = 100000;
        settings.faults.depth = 5000;
        VirtualStation station(settings);
        Phone phone(station);
        for (int round = 0; round < 5; ++round) {
            phone.setupSubscriptions("hall");
            phone.readMailBox("1");
            phone.triggerDoor();
            station.advance(5);
        }
        EXPECT_FALSE(phone.told.empty()) << station::nameOf(static_cast<Fault>(i));
        EXPECT_FALSE(station.doorIsOpen());
    }
}
