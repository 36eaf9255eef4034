// SPDX-License-Identifier: MIT
#pragma once

#include "console/Console.h"
#include "station/Station.h"

#include <deque>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// A console whose requests gather in a queue, and its files in a map.
struct AloneConsole {
    explicit AloneConsole(const console::Console::Settings& settings = console::Console::Settings())
        : console([this](const std::string& text) { sent.push_back(text); }, out, errors,
                  with_files(settings)) {}

    console::Console::Settings with_files(console::Console::Settings settings) {
        settings.save = [this](const std::string& name, const std::string& bytes) {
            if (saveFault.empty()) files[name] = bytes;
            return saveFault;
        };
        return settings;
    }
    /// What was printed since the last time.
    std::string printed() {
        std::string text = out.str();
        out.str(std::string());
        return text;
    }
    std::string failed() {
        std::string text = errors.str();
        errors.str(std::string());
        return text;
    }
    void receive(const std::string& frame) { console.receive(frame); }

    std::deque<std::string> sent;
    std::map<std::string, std::string> files;
    std::string saveFault; // what keeps files from being written
    std::ostringstream out;
    std::ostringstream errors;
    console::Console console;
};

/// A console that talks to a station in the same process, and has been greeted.
struct ConsoleAtStation : AloneConsole {
    explicit ConsoleAtStation(
        const station::Settings& ofStation = station::Settings(),
        const console::Console::Settings& settings = console::Console::Settings())
        : AloneConsole(settings), station(ofStation), session(station.connect()) {
        console.connected();
        talk();
    }

    /// Carries requests and frames until both sides are silent.
    void talk() {
        while (!sent.empty()) {
            const std::string text = std::move(sent.front());
            sent.pop_front();
            deliver(station.receive(session, text));
            if (doorFallsShut) deliver(station.closeDoor());
        }
    }
    void deliver(const std::vector<station::Frame>& frames) {
        for (const station::Frame& frame : frames) {
            if (frame.session == session) receive(frame.bytes);
        }
    }
    /// What the line makes the console print.
    std::string obey(const std::string& line) {
        out.str(std::string());
        console.enter(line);
        talk();
        return printed();
    }

    station::Station station;
    station::SessionId session;
    bool doorFallsShut = false;
};

} // namespace test
