// SPDX-License-Identifier: MIT
// A station that means no good against the console: it lives, and nothing of the peer reaches the
// terminal raw.
#include "console/Console.h"

#include "shared/PlainText.h"
#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using console::Console;

/// A console whose peer is the test; files are forgotten.
struct Prey {
    explicit Prey(const Console::Settings& wanted = Console::Settings())
        : console([this](const std::string& text) { sent.push_back(text); }, out, errors,
                  settings(wanted)) {
        console.connected();
    }
    static Console::Settings settings(Console::Settings settings) {
        settings.save = [](const std::string&, const std::string&) { return std::string(); };
        return settings;
    }
    /// Everything that a terminal would have shown since the last time.
    std::string shown() {
        std::string text = out.str() + errors.str();
        out.str(std::string());
        errors.str(std::string());
        return text;
    }

    std::deque<std::string> sent;
    std::ostringstream out;
    std::ostringstream errors;
    Console console;
};

bool is_plain(const std::string& text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7f;
    });
}

const char* const kValues[] = {
    "null",
    "true",
    "-1",
    "1e300",
    "\"\\u001b[2J\\u0007\\u0000\"",
    "\"\x1b]0;title\x07\"",
    "[]",
    "{}",
    "[[[[[[1]]]]]]",
    "[\"door_open\"]",
    "[\"\\u001b[31m\",true]",
    "[\"\\u0008\\u007f\",\"\\r\"]",
    "[1,\"\\u001bc\",3]",
    "[{\"rid\":1,\"\\u001b\":\"\\u001b\",\"appl_sequence_no\":5}]",
    "[{\"rid\":\"\\u001b\",\"timestamp\":\"\\u001b[A\",\"contact\":[\"\\u001b\"]}]",
    "[{\"method\":\"\\u001b[1m\",\"params\":[{\"type\":\"\\u001b\"}],\"description\":\"\\u001b\"}]",
    "[{\"method\":\"a\",\"params\":{\"$ref\":\"#\"}},{\"method\":7},[],null]",
    "{\"\\u001b\":{\"\\u001b\":[\"\\u001b\"]}}",
    "[\"bell\",true]",
    "9223372036854775807"};
const char* const kIds[] = {"0",     "1",       "-1",    "101",  "102",  "103",
                            "104",   "1000",    "1001",  "1002", "1003", "1.5",
                            "1e300", "\"101\"", "[101]", "{}",   "null"};
const char* const kLines[] = {
    "door",         "light",           "mailbox",        "play 5",  "queue 5",   "seen 5",
    "delete 5",     "preview 5 a.jpg", "snapshot b.jpg", "methods", "methods a", "status",
    "call a [1,2]", "call \x1b[31m",   "register 1",     "live",    "play",      "pause"};

template <typename Choices>
const char* pick(const Choices& choices, std::mt19937& random) {
    return choices[random() % std::size(choices)];
}

std::string frame(std::mt19937& random) {
    std::string text = "{\"result\":" + std::string(pick(kValues, random));
    if (random() % 4 == 0) text += ",\"error\":" + std::string(pick(kValues, random));
    if (random() % 8 != 0) text += ",\"id\":" + std::string(pick(kIds, random));
    text += "}";
    if (random() % 5 == 0)
        text += std::string(1, '\0') + (random() % 2 == 0 ? "\xff\xd8 no" : "\x1b[2J");
    if (random() % 6 == 0) text.resize(random() % (text.size() + 1));
    if (!text.empty() && random() % 6 == 0)
        text[random() % text.size()] = static_cast<char>(random());
    return text;
}

TEST(HostileConsole, LivesAndShowsNoControlCharacterOfThePeer) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        Prey prey;
        for (int step = 0; step < 300; ++step) {
            if (random() % 3 == 0) prey.console.enter(pick(kLines, random));
            const std::string bytes = frame(random);
            prey.console.receive(bytes);
            const std::string shown = prey.shown();
            ASSERT_TRUE(is_plain(shown))
                << testing::PrintToString(shown) << " behind " << testing::PrintToString(bytes);
        }
        prey.console.receive("{\"result\":[\"door_open\"],\"id\":101}");
        prey.console.receive("{\"result\":[\"door_closed\"],\"id\":101}");
        EXPECT_NE(std::string::npos, prey.shown().find("door_closed"));
        EXPECT_FALSE(prey.console.finished());
    }
}

TEST(HostileConsole, SpeaksJsonWhateverThePeerSays) {
    for (unsigned seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        Console::Settings wanted;
        wanted.json = true;
        wanted.traffic = true;
        Prey prey(wanted);
        for (int step = 0; step < 200; ++step) {
            if (random() % 3 == 0) prey.console.enter(pick(kLines, random));
            if (random() % 9 == 0) prey.console.deadlinePassed();
            prey.console.receive(frame(random));
            std::istringstream lines(prey.shown());
            for (std::string line; std::getline(lines, line);) {
                ASSERT_EQ(line, shared::escapedText(line));
                const json::Variant object = json::JsonParser::parseTree(line);
                ASSERT_TRUE(object.isObject() && object["type"].isString()) << line;
            }
        }
    }
}

TEST(HostileConsole, ShowsTrafficWithoutAControlCharacter) {
    for (unsigned seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        Console::Settings wanted;
        wanted.traffic = true;
        wanted.reconnects = true;
        Prey prey(wanted);
        for (int step = 0; step < 200; ++step) {
            if (random() % 3 == 0) prey.console.enter(pick(kLines, random));
            if (random() % 9 == 0) prey.console.interrupt();
            if (random() % 19 == 0) {
                prey.console.connectionLost("\x1b[2J");
                prey.console.connected();
            }
            prey.console.receive(frame(random));
            ASSERT_TRUE(is_plain(prey.shown()));
            for (const char* line : {"call ", "methods a", "play ", "", "watch "}) {
                for (const std::string& choice : prey.console.completions(line)) {
                    ASSERT_TRUE(is_plain(choice) && choice.find_first_of(" \t\n") == choice.npos);
                }
            }
        }
        EXPECT_FALSE(prey.console.finished());
    }
}

TEST(HostileConsole, LivesWhenTheConnectionGoesAtAnyMoment) {
    std::mt19937 random(7);
    for (int round = 0; round < 100; ++round) {
        Prey prey;
        for (unsigned step = 0; step < random() % 8; ++step) {
            prey.console.enter(pick(kLines, random));
            prey.console.receive(frame(random));
        }
        prey.console.connectionLost("the peer said \x1b[2J");
        EXPECT_TRUE(is_plain(prey.shown()));
    }
}

} // namespace
