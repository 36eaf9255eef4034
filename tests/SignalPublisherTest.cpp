// SPDX-License-Identifier: MIT
#include "core/SignalPublisher.h"

#include <gtest/gtest.h>

#include <locale>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

static_assert(std::has_virtual_destructor_v<qx::SignalPublisher>);

/// A subclass that holds the lock around its own work.
class Publisher : public qx::SignalPublisher {
public:
    using qx::SignalPublisher::mutex;

    bool connectUnderLock(const void* subscriber) {
        const qx::MutexLocker locker(mutex(), true);
        return connect("playbackMode", subscriber);
    }
};

/// Groups digits by ones, so that every number of two digits shows it.
class Grouping : public std::numpunct<char> {
protected:
    std::string do_grouping() const override { return "\1"; }
    char do_thousands_sep() const override { return '.'; }
};

TEST(SignalPublisher, NothingIsConnectedAtFirst) {
    const qx::SignalPublisher publisher;
    EXPECT_FALSE(publisher.isConnected("playbackMode"));
    EXPECT_FALSE(publisher.isConnected(""));
}

TEST(SignalPublisher, ASignalIsConnectedFromItsFirstSubscriberToItsLast) {
    qx::SignalPublisher publisher;
    const int one = 1;
    const int two = 2;
    EXPECT_TRUE(publisher.connect("playbackMode", &one));
    EXPECT_TRUE(publisher.connect("playbackMode", &two));
    EXPECT_TRUE(publisher.isConnected("playbackMode"));
    EXPECT_TRUE(publisher.disconnect("playbackMode", &one));
    EXPECT_TRUE(publisher.isConnected("playbackMode"));
    EXPECT_TRUE(publisher.disconnect("playbackMode", &two));
    EXPECT_FALSE(publisher.isConnected("playbackMode"));
}

TEST(SignalPublisher, SignalsAreToldApartByTheirWholeName) {
    qx::SignalPublisher publisher;
    const int subscriber = 0;
    publisher.connect("playbackMode", &subscriber);
    EXPECT_FALSE(publisher.isConnected("playback"));
    EXPECT_FALSE(publisher.isConnected("playbackMode2"));
    EXPECT_FALSE(publisher.isConnected("playbackmode"));
}

TEST(SignalPublisher, ASubscriberIsConnectedOnce) {
    qx::SignalPublisher publisher;
    const int subscriber = 0;
    EXPECT_TRUE(publisher.connect("door", &subscriber));
    EXPECT_FALSE(publisher.connect("door", &subscriber));
    EXPECT_TRUE(publisher.disconnect("door", &subscriber));
    EXPECT_FALSE(publisher.disconnect("door", &subscriber));
    EXPECT_FALSE(publisher.isConnected("door"));
}

TEST(SignalPublisher, NullIsNoSubscriber) {
    qx::SignalPublisher publisher;
    EXPECT_FALSE(publisher.connect("door", nullptr));
    EXPECT_FALSE(publisher.isConnected("door"));
    EXPECT_FALSE(publisher.disconnect("door", nullptr));
}

TEST(SignalPublisher, DisconnectingAStrangerChangesNothing) {
    qx::SignalPublisher publisher;
    const int subscriber = 0;
    const int stranger = 0;
    publisher.connect("door", &subscriber);
    EXPECT_FALSE(publisher.disconnect("door", &stranger));
    EXPECT_FALSE(publisher.disconnect("light", &subscriber));
    EXPECT_TRUE(publisher.isConnected("door"));
}

TEST(SignalPublisher, DeclaringSignalsDeclaresNone) {
    qx::SignalPublisher publisher;
    publisher.declareSignals();
    EXPECT_FALSE(publisher.isConnected("playbackMode"));
}

TEST(SignalPublisher, DebugInfoCountsTheSubscribersOfEachSignal) {
    qx::SignalPublisher publisher;
    const int one = 1;
    const int two = 2;
    publisher.connect("light", &one);
    publisher.connect("door", &one);
    publisher.connect("door", &two);
    std::ostringstream out;
    publisher.printDebugInfo(out);
    EXPECT_EQ("door: 2 subscribers\nlight: 1 subscriber\n", out.str());
}

TEST(SignalPublisher, DebugInfoIsLimitedToTheSignalsNamed) {
    qx::SignalPublisher publisher;
    const int one = 1;
    publisher.connect("light", &one);
    publisher.connect("door", &one);
    std::ostringstream out;
    publisher.printDebugInfo(out, std::vector<std::string>{"door", "bell"});
    EXPECT_EQ("door: 1 subscriber\n", out.str());
}

TEST(SignalPublisher, DebugInfoIsLimitedToTheSignalOfAConnection) {
    qx::SignalPublisher publisher;
    const int one = 1;
    const int two = 2;
    publisher.connect("light", &one);
    publisher.connect("door", &one);
    publisher.connect("door", &two);
    const qx::ConnectionImpl standing("door", &two);
    const qx::ConnectionImpl missing("light", &two);
    std::ostringstream out;
    publisher.printDebugInfo(out, "> ", {}, &standing);
    publisher.printDebugInfo(out, "> ", {}, &missing);
    publisher.printDebugInfo(out, "> ", {"light"}, &standing);
    publisher.printDebugInfo(out, "+ ", {"light"}, nullptr);
    EXPECT_EQ("> door: 2 subscribers\n+ light: 1 subscriber\n", out.str());
}

TEST(SignalPublisher, DebugInfoIsTheSameInEveryLocale) {
    qx::SignalPublisher publisher;
    const char subscribers[12] = {};
    for (const char& subscriber : subscribers) {
        publisher.connect("door", &subscriber);
    }
    std::ostringstream out;
    out.imbue(std::locale(std::locale::classic(), new Grouping));
    publisher.printDebugInfo(out);
    EXPECT_EQ("door: 12 subscribers\n", out.str());
}

TEST(SignalPublisher, ConnectsWhileASubclassHoldsTheLock) {
    Publisher publisher;
    const int subscriber = 0;
    EXPECT_TRUE(publisher.connectUnderLock(&subscriber));
    EXPECT_TRUE(publisher.isConnected("playbackMode"));
}

TEST(SignalPublisher, TheLockIsReachedThroughAConstPublisherToo) {
    const Publisher publisher;
    const qx::MutexLocker locker(publisher.mutex(), true);
    bool taken = true;
    std::thread([&] { taken = publisher.mutex().try_lock(); }).join();
    EXPECT_FALSE(taken);
}

TEST(SignalPublisher, ThreadsConnectAndDisconnectAtOnce) {
    qx::SignalPublisher publisher;
    const int staying = 0;
    publisher.connect("door", &staying);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&publisher] {
            const int subscriber = 0;
            for (int round = 0; round < 1000; ++round) {
                EXPECT_TRUE(publisher.connect("door", &subscriber));
                EXPECT_TRUE(publisher.isConnected("door"));
                EXPECT_TRUE(publisher.disconnect("door", &subscriber));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::ostringstream out;
    publisher.printDebugInfo(out);
    EXPECT_EQ("door: 1 subscriber\n", out.str());
}

} // namespace
