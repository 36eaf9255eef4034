// SPDX-License-Identifier: MIT
#include "station/Simulation.h"

#include "json/JsonParser.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace station {

namespace {

using Milliseconds = Simulation::Milliseconds;

constexpr std::size_t kMostBytesWaiting = 16 * 1024 * 1024; // for one client that is slow to hear
constexpr Milliseconds kLongestHold{1000};                  // of a frame that is to be overtaken
constexpr double kLongestTime = 1e9;                        // seconds in a script
constexpr double kShortestRound = 0.1;

Milliseconds milliseconds_of(double seconds) {
    return Milliseconds(static_cast<long long>(std::llround(seconds * 1000)));
}

[[noreturn]] void refuse_entry(std::size_t number, const char* why) {
    throw std::runtime_error("entry " + std::to_string(number) + ": " + why);
}

bool is_seconds(const json::Variant& value, double least) {
    if (!value.isInteger() && !value.isReal()) return false;
    return value.realValue() >= least && value.realValue() <= kLongestTime;
}

/// A header update of a text alone.
std::string update_of(std::string_view text) {
    std::string bytes(text);
    bytes += '\0';
    return bytes;
}

} // namespace

std::vector<TimedCommand> readScript(std::string_view text, const Settings& settings) {
    json::JsonParser parser;
    const bool good = parser.parse(text.data(), static_cast<int>(text.size()));
    const json::Variant script = parser.parseComplete();
    if (!good || !script.isList()) throw std::runtime_error("it isn't a JSON list");
    SimulationSettings trial; // obeys each command once, to find a wrong one before it is needed
    trial.station = settings;
    Simulation tried(trial);
    std::vector<TimedCommand> commands;
    for (const json::Variant& entry : script.listValue()) {
        const std::size_t number = commands.size() + 1;
        if (!entry.isObject()) refuse_entry(number, "it isn't an object");
        if (!is_seconds(entry["at"], 0)) refuse_entry(number, "\"at\" is no time in seconds");
        if (!entry["do"].isString()) refuse_entry(number, "\"do\" is no command");
        TimedCommand command;
        command.at = milliseconds_of(entry["at"].realValue());
        command.command = entry["do"].charsValue();
        if (entry.contains("every")) {
            if (!is_seconds(entry["every"], kShortestRound)) {
                refuse_entry(number, "\"every\" is no time of 0.1 seconds or more");
            }
            command.every = milliseconds_of(entry["every"].realValue());
        }
        const std::string fault = tried.command(command.command);
        if (!fault.empty()) refuse_entry(number, fault.c_str());
        commands.push_back(std::move(command));
    }
    return commands;
}

Simulation::Simulation(SimulationSettings settings)
    : settings_(std::move(settings)), station_(settings_.station), faults_(settings_.faults) {
    for (const TimedCommand& command : settings_.script) {
        script_.emplace(command.at, command);
    }
    std::map<SessionId, std::size_t> places;
    for (const Traffic& entry : settings_.replay) {
        const auto [place, isNew] = places.emplace(entry.session, replay_.size());
        if (isNew) replay_.emplace_back();
        replay_[place->second].push_back(entry);
    }
    happen();
}

// ----- Clients -------------------------------------------------------------------------------

SessionId Simulation::connect() {
    if (isBooting()) return 0;
    const SessionId id = station_.connect();
    Session& session = sessions_[id];
    note(id, Traffic::Connected);
    if (replay_.empty()) return id;
    session.replayed = std::min(replayed_, replay_.size() - 1);
    ++replayed_;
    session.spokenAt = replay_[session.replayed].front().at;
    replayTo(id, session);
    return id;
}

void Simulation::disconnect(SessionId session) {
    if (isOpen(session)) drop(session, Traffic::Disconnected);
}

void Simulation::receive(SessionId id, std::string_view text) {
    const auto session = sessions_.find(id);
    if (session == sessions_.end() || session->second.closing) return;
    note(id, Traffic::Received, text);
    if (!replay_.empty()) {
        ++session->second.requests;
        replayTo(id, session->second);
        return;
    }
    const bool wasOpen = station_.doorIsOpen();
    addFrames(station_.receive(id, text));
    watchDoor(wasOpen);
    if (!station_.isOpen(id)) closeIfDone(id);
}

std::optional<Frame> Simulation::takeFrame() {
    const auto first = waiting_.begin();
    if (first == waiting_.end() || first->first.first > now_) return std::nullopt;
    Frame frame = std::move(first->second);
    waiting_.erase(first);
    Session& session = sessions_.at(frame.session);
    --session.frames;
    session.bytes -= frame.bytes.size();
    note(frame.session, Traffic::Sent, frame.bytes);
    if (session.closing) closeIfDone(frame.session);
    return frame;
}

// ----- Time ----------------------------------------------------------------------------------

void Simulation::advanceTo(Milliseconds time) {
    for (std::optional<Milliseconds> next; (next = nextHappening()) && *next <= time;) {
        now_ = std::max(now_, *next);
        happen();
    }
    now_ = std::max(now_, time);
    setClock();
}

std::optional<Milliseconds> Simulation::nextHappening() const {
    std::optional<Milliseconds> next = doorShuts_;
    const auto consider = [&next](Milliseconds time) {
        next = next ? std::min(*next, time) : time;
    };
    if (!script_.empty()) consider(script_.begin()->first);
    for (const auto& [id, session] : sessions_) {
        if (session.held) consider(session.heldUntil);
    }
    return next;
}

std::optional<Milliseconds> Simulation::nextDue() const {
    const std::optional<Milliseconds> happening = nextHappening();
    if (waiting_.empty()) return happening;
    const Milliseconds frame = waiting_.begin()->first.first;
    return happening ? std::min(*happening, frame) : frame;
}

/// Whatever is due now, each once.
void Simulation::happen() {
    setClock();
    if (doorShuts_ && *doorShuts_ <= now_) closeDoor();
    while (!script_.empty() && script_.begin()->first <= now_) {
        auto entry = script_.extract(script_.begin());
        const std::string line = entry.mapped().command; // was read with the script: no fault
        if (entry.mapped().every.count() > 0) {
            entry.key() += entry.mapped().every;
            script_.insert(std::move(entry));
        }
        command(line);
    }
    for (auto& [id, session] : sessions_) {
        if (session.held && session.heldUntil <= now_) releaseHeld(session);
    }
}

void Simulation::setClock() {
    if (settings_.clockStands) return;
    station_.setTime(settings_.station.time + static_cast<double>(now_.count()) / 1000);
}

// ----- What happens at the door --------------------------------------------------------------

std::string Simulation::command(std::string_view line) {
    const std::size_t begin = std::min(line.find_first_not_of(" \t\r"), line.size());
    const std::size_t end = std::min(line.find_first_of(" \t\r", begin), line.size());
    const std::size_t rest = std::min(line.find_first_not_of(" \t\r", end), line.size());
    const std::size_t last = line.find_last_not_of(" \t\r") + 1;
    const std::string word(line.substr(begin, end - begin));
    const std::string argument(line.substr(rest, std::max(last, rest) - rest));

    const auto alone = [&](auto&& act) -> std::string {
        if (!argument.empty()) return "\"" + word + "\" stands alone";
        act();
        return {};
    };
    if (word == "ring") {
        if (!argument.empty() && !station_.hasBell(argument)) return "there is no such bell";
        ring(argument);
        return {};
    }
    if (word == "open") return alone([this] { openDoor(); });
    if (word == "close") return alone([this] { closeDoor(); });
    if (word == "reboot") return alone([this] { reboot(); });
    if (word == "disconnect") return alone([this] { disconnectAll(); });
    if (word == "light") {
        if (!argument.empty() && argument != "on" && argument != "off")
            return "usage: light [on|off]";
        switchLight(argument.empty() ? !station_.lightIsOn() : argument == "on");
        return {};
    }
    if (word == "move-out") {
        char* behind = nullptr;
        const long long id = std::strtoll(argument.c_str(), &behind, 10);
        if (argument.empty() || *behind != '\0') return "usage: move-out ID";
        moveOut(id);
        return {};
    }
    if (word == "fault") {
        const std::optional<Fault> fault = faultNamed(argument);
        if (!fault) return "there is no such fault";
        spoilNext(*fault);
        return {};
    }
    if (word == "tell") {
        tell(update_of(argument));
        return {};
    }
    return "there is no such command";
}

const char* Simulation::help() {
    return "  ring [BELL]     press a bell button, the first one by default\n"
           "  open, close     open or close the door\n"
           "  light [on|off]  switch the light, or turn it on or off\n"
           "  reboot          lose all connections, and what a device forgets without power\n"
           "  disconnect      lose all connections\n"
           "  move-out ID     take an addressee out of the address book\n"
           "  fault NAME      spoil the next frame: drop, delay, truncate, reorder, duplicate,\n"
           "                  oversize, deepen or unknown-id\n"
           "  tell TEXT       send a header update of this text to all clients\n";
}

void Simulation::tell(const std::string& bytes) {
    std::vector<Frame> frames;
    for (const auto& [id, session] : sessions_) {
        if (!session.closing) frames.push_back({id, bytes});
    }
    addFrames(std::move(frames));
}

void Simulation::ring(const std::string& bell) {
    addFrames(bell.empty() ? station_.ring() : station_.ring(bell));
}

void Simulation::openDoor() {
    const bool wasOpen = station_.doorIsOpen();
    addFrames(station_.openDoor());
    watchDoor(wasOpen);
}

void Simulation::closeDoor() {
    doorShuts_.reset();
    addFrames(station_.closeDoor());
}

void Simulation::switchLight(bool on) { addFrames(station_.switchLight(on)); }

void Simulation::disconnectAll() {
    while (!sessions_.empty()) {
        drop(sessions_.begin()->first);
    }
}

void Simulation::reboot() {
    disconnectAll();
    station_.reboot();
    doorShuts_.reset();
    bootsUntil_ = now_ + settings_.boot;
}

void Simulation::watchDoor(bool wasOpen) {
    if (wasOpen || !station_.doorIsOpen()) return;
    if (settings_.doorOpen.count() == 0) {
        closeDoor();
    } else {
        doorShuts_ = now_ + settings_.doorOpen;
    }
}

// ----- Frames on their way -------------------------------------------------------------------

void Simulation::addFrames(std::vector<Frame> frames) {
    if (!replay_.empty()) return; // the recording speaks alone
    for (Frame& frame : frames) {
        addFrame(std::move(frame));
    }
}

void Simulation::addFrame(Frame frame, Milliseconds delay) {
    const SessionId id = frame.session;
    for (Faults::Outcome& outcome : faults_.befall(frame)) {
        const auto found = sessions_.find(id);
        if (found == sessions_.end()) return; // gone already, or too much waits for it
        Session& session = found->second;
        if (session.bytes > kMostBytesWaiting) {
            drop(id);
            return;
        }
        if (outcome.overtaken && !session.held) {
            session.held = Frame{id, std::move(outcome.bytes)};
            session.bytes += session.held->bytes.size();
            session.heldUntil = now_ + kLongestHold;
            continue;
        }
        queue({id, std::move(outcome.bytes)}, delay + outcome.delay);
        if (session.held) releaseHeld(session);
    }
}

void Simulation::queue(Frame frame, Milliseconds delay) {
    Session& session = sessions_.at(frame.session);
    session.notBefore = std::max(session.notBefore, now_ + settings_.faults.latency + delay);
    ++session.frames;
    session.bytes += frame.bytes.size();
    waiting_.emplace(std::make_pair(session.notBefore, ++frames_), std::move(frame));
}

void Simulation::releaseHeld(Session& session) {
    Frame frame = std::move(*session.held);
    session.held.reset();
    session.bytes -= frame.bytes.size();
    queue(std::move(frame), Milliseconds(0));
}

/// The station has closed the connection: what waits is sent before.
void Simulation::closeIfDone(SessionId id) {
    Session& session = sessions_.at(id);
    session.closing = true;
    if (session.held) releaseHeld(session);
    if (session.frames == 0) drop(id);
}

void Simulation::drop(SessionId id, Traffic::Kind how) {
    for (auto frame = waiting_.begin(); frame != waiting_.end();) {
        frame = frame->second.session == id ? waiting_.erase(frame) : std::next(frame);
    }
    sessions_.erase(id);
    station_.disconnect(id);
    faults_.forget(id);
    note(id, how);
}

/// What the recording has said until the next request that the client hasn't made yet.
void Simulation::replayTo(SessionId id, Session& session) {
    const Recording& recording = replay_[session.replayed];
    for (; session.spoken < recording.size(); ++session.spoken) {
        const Traffic& entry = recording[session.spoken];
        if (entry.kind == Traffic::Received) {
            if (session.requests == 0) return;
            --session.requests;
            session.spokenAt = entry.at;
        } else if (entry.kind == Traffic::Sent) {
            addFrame({id, entry.bytes}, entry.at - session.spokenAt);
            if (!isOpen(id)) return;
        } else if (entry.kind == Traffic::Closed) {
            closeIfDone(id);
            return;
        }
    }
}

void Simulation::note(SessionId session, Traffic::Kind kind, std::string_view bytes) {
    if (onTraffic) onTraffic({now_, session, kind, std::string(bytes)});
}

} // namespace station
