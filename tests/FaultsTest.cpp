// SPDX-License-Identifier: MIT
#include "station/Faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using station::Fault;
using station::Faults;
using station::FaultSettings;
using station::Frame;

const std::string kBytes = std::string("{\"result\":[true],\"id\":8}") + '\0' + "picture";

FaultSettings always(Fault fault) {
    FaultSettings settings;
    settings.rate(fault) = 1;
    return settings;
}

/// What arrives of one frame.
std::vector<std::string> befallen(const FaultSettings& settings) {
    Faults faults(settings);
    std::vector<std::string> arrived;
    for (const Faults::Outcome& outcome : faults.befall({1, kBytes})) {
        arrived.push_back(outcome.bytes);
    }
    return arrived;
}

std::string update(const std::string& text) { return text + '\0'; }

/// One letter for each of 60 frames of a session: "-" dropped, "2" duplicated, "." untouched.
std::string fate(Faults& faults, station::SessionId session) {
    std::string letters;
    for (int i = 0; i < 60; ++i) {
        const std::size_t count = faults.befall({session, kBytes}).size();
        letters += count == 0 ? '-' : count == 2 ? '2' : '.';
    }
    return letters;
}

} // namespace

TEST(Faults, LeavesEveryFrameAloneByDefault) {
    EXPECT_EQ(std::vector<std::string>{kBytes}, befallen(FaultSettings()));
}

TEST(Faults, DropsAFrame) { EXPECT_TRUE(befallen(always(Fault::Drop)).empty()); }

TEST(Faults, DuplicatesAFrame) {
    EXPECT_EQ((std::vector<std::string>{kBytes, kBytes}), befallen(always(Fault::Duplicate)));
}

TEST(Faults, TruncatesAFrameAnywhere) {
    Faults faults(always(Fault::Truncate));
    std::size_t shortest = kBytes.size();
    std::size_t longest = 0;
    for (int i = 0; i < 1000; ++i) {
        const std::vector<Faults::Outcome> outcomes = faults.befall({1, kBytes});
        ASSERT_EQ(1u, outcomes.size());
        const std::string& bytes = outcomes[0].bytes;
        ASSERT_LT(bytes.size(), kBytes.size());
        ASSERT_EQ(kBytes.substr(0, bytes.size()), bytes);
        shortest = std::min(shortest, bytes.size());
        longest = std::max(longest, bytes.size());
    }
    EXPECT_EQ(0u, shortest);
    EXPECT_EQ(kBytes.size() - 1, longest);
}

TEST(Faults, DelaysAFrameUpToTheLongestDelay) {
    FaultSettings settings = always(Fault::Delay);
    settings.longestDelay = std::chrono::milliseconds(5);
    Faults faults(settings);
    std::vector<int> seen(7);
    for (int i = 0; i < 1000; ++i) {
        const long long delay = faults.befall({1, kBytes}).at(0).delay.count();
        ASSERT_GE(delay, 1);
        ASSERT_LE(delay, 5);
        ++seen[static_cast<std::size_t>(delay)];
    }
    EXPECT_TRUE(
        std::all_of(seen.begin() + 1, seen.begin() + 6, [](int count) { return count > 0; }));
}

TEST(Faults, LetsTheNextFrameOvertake) {
    Faults faults(always(Fault::Reorder));
    EXPECT_TRUE(faults.befall({1, kBytes}).at(0).overtaken);
}

TEST(Faults, PutsAnOversizedADeepAndAnUnknownFrameBeforeTheOwn) {
    FaultSettings settings = always(Fault::Oversize);
    settings.rate(Fault::Deepen) = 1;
    settings.oversizeBytes = 4;
    settings.depth = 3;
    EXPECT_EQ((std::vector<std::string>{update(R"({"result":"xxxx","id":0})"),
                                        update(R"({"result":[[[]]],"id":0})"), kBytes}),
              befallen(settings));

    const std::vector<std::string> unknown = befallen(always(Fault::UnknownId));
    ASSERT_EQ(2u, unknown.size());
    EXPECT_EQ(0u, unknown[0].find(R"({"result":["door_open"],"id":1)"));
    EXPECT_GE(unknown[0].size(), update(R"({"result":["door_open"],"id":1099511627776})").size());
    EXPECT_EQ(kBytes, unknown[1]);
}

TEST(Faults, AreTheSameForTheSameSeed) {
    FaultSettings settings;
    settings.rate(Fault::Drop) = 0.2;
    settings.rate(Fault::Duplicate) = 0.2;
    settings.seed = 42;
    Faults one(settings);
    Faults other(settings);
    const std::string letters = fate(one, 1);
    EXPECT_EQ("..-..--.......-2....--..2......-.-...-....2.--......2-2..2..", letters);
    EXPECT_EQ(letters, fate(other, 1));
    settings.seed = 43;
    Faults third(settings);
    EXPECT_NE(letters, fate(third, 1));
}

// The naive way draws from one sequence for all: then a second client changes what the first hears.
TEST(Faults, OfOneSessionDoNotDependOnOthers) {
    FaultSettings settings;
    settings.rate(Fault::Drop) = 0.5;
    Faults alone(settings);
    Faults shared(settings);
    std::string letters;
    for (int i = 0; i < 60; ++i) {
        shared.befall({2, kBytes});
        letters += shared.befall({1, kBytes}).empty() ? '-' : '.';
    }
    EXPECT_EQ(fate(alone, 1), letters);
}

TEST(Faults, OfOneKindDoNotDependOnOtherRates) {
    FaultSettings settings;
    settings.rate(Fault::Drop) = 0.5;
    Faults alone(settings);
    settings.rate(Fault::Delay) = 0.5;
    settings.rate(Fault::Truncate) = 0.5;
    Faults mixed(settings);
    EXPECT_EQ(fate(alone, 1), fate(mixed, 1));
}

TEST(Faults, SpoilTheNextFrameOnDemand) {
    Faults faults;
    faults.spoilNext(Fault::Drop);
    faults.spoilNext(Fault::Duplicate);
    EXPECT_EQ(0u, faults.befall({1, kBytes}).size());
    EXPECT_EQ(2u, faults.befall({1, kBytes}).size());
    EXPECT_EQ(1u, faults.befall({1, kBytes}).size());
}

TEST(Faults, AreKnownByName) {
    for (std::size_t i = 0; i < station::kFaults; ++i) {
        const auto fault = static_cast<Fault>(i);
        EXPECT_EQ(fault, station::faultNamed(station::nameOf(fault)));
    }
    EXPECT_STREQ("unknown-id", station::nameOf(Fault::UnknownId));
    EXPECT_FALSE(station::faultNamed("nonsense"));
}
