// SPDX-License-Identifier: MIT
#pragma once

#include "station/Faults.h"
#include "station/Station.h"
#include "station/Traffic.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace station {

/// A command that is given at a time.
struct TimedCommand {
    std::chrono::milliseconds at{0};    ///< since the station began
    std::chrono::milliseconds every{0}; ///< again after each such time; 0 for once
    std::string command;                ///< as for `Simulation::command`
};

/// Reads a JSON list of objects {"at": SECONDS, "do": COMMAND, "every": SECONDS}, the last one
/// optional and 0.1 at least. They may stand in any order; "ring" is for bells of the settings.
/// Bad input: anything else throws `std::runtime_error` with a text that says what and where.
std::vector<TimedCommand> readScript(std::string_view text, const Settings& settings = Settings());

/// How a station is simulated.
struct SimulationSettings {
    Settings station;                         ///< what the station is born with
    FaultSettings faults;                     ///< how bad its line is
    std::chrono::milliseconds doorOpen{3000}; ///< how long a door stays open, 0 for an instant
    std::chrono::milliseconds boot{500};      ///< how long nobody can connect after a reboot
    bool clockStands = false;         ///< the station's clock stays at the time it was born with
    std::vector<TimedCommand> script; ///< commands that are given by themselves
    Recording replay; ///< when it isn't empty, it speaks in the place of the station
};

/// A station in the course of time: its door falls shut, its script is played, its line is bad.
///
/// It has neither socket nor thread nor clock of its own: whoever runs it says how late it is,
/// hands it the texts of the clients, and takes the frames that are due.
///
/// With a replay the n-th client hears what was sent to the n-th session of the recording, those
/// that come later hear the last session again. What was sent behind the k-th request is sent when
/// the client has made k requests, whatever they say, after the time that it took then; commands
/// that concern the door change the simulated station, which nobody hears.
/// Threads: one at a time.
class Simulation {
public:
    /// The unit of its time.
    using Milliseconds = std::chrono::milliseconds;

    /// A station at time 0, without clients.
    explicit Simulation(SimulationSettings settings = SimulationSettings());

    // ----- Clients ---------------------------------------------------------------------------

    /// A client came; 0 when the station boots and takes none.
    SessionId connect();
    /// A client left. Bad input: an unknown session does nothing.
    void disconnect(SessionId session);
    /// False when the station has closed the connection and all frames for it are taken.
    bool isOpen(SessionId session) const { return sessions_.count(session) == 1; }
    /// A text of a client. Bad input: an unknown session does nothing.
    void receive(SessionId session, std::string_view text);
    /// The next frame that is due, none when there is none now.
    std::optional<Frame> takeFrame();

    // ----- Time ------------------------------------------------------------------------------

    /// Time since the beginning.
    Milliseconds now() const { return now_; }
    /// What is due until then happens, in order. Bad input: time doesn't go back.
    void advanceTo(Milliseconds time);
    /// When something is due next, a frame too; none when nothing is.
    std::optional<Milliseconds> nextDue() const;

    // ----- What happens at the door ------------------------------------------------------------

    /// Obeys a line: "ring [BELL]", "open", "close", "light [on|off]", "reboot", "disconnect",
    /// "move-out ID", "fault NAME", or "tell TEXT", which sends the text to all clients. Gives what
    /// is wrong with it, for a person; the empty text when it was obeyed.
    std::string command(std::string_view line);
    /// The commands, a line each, with what they do.
    static const char* help();
    /// All clients get this header update.
    void tell(const std::string& bytes);
    /// As the commands of these names.
    /// @{
    void ring(const std::string& bell);
    void openDoor();
    void closeDoor();
    void switchLight(bool on);
    /// @}
    /// All connections are lost, with the frames that wait.
    void disconnectAll();
    /// The same, and the station forgets what it does at that, `Station::reboot`.
    void reboot();
    /// Whether nobody can connect, after a reboot.
    bool isBooting() const { return now_ < bootsUntil_; }
    /// An addressee moves out of the address book.
    void moveOut(std::int64_t addressee) { station_.removeAddressee(addressee); }
    /// The next frame suffers this.
    void spoilNext(Fault fault) { faults_.spoilNext(fault); }

    /// The station itself; nothing is sent by looking at it.
    const Station& station() const { return station_; }
    /// How many clients are connected.
    std::size_t clients() const { return sessions_.size(); }

    /// Hears of everything on the connections, as it happens. It must not call the simulation.
    std::function<void(const Traffic&)> onTraffic;

private:
    struct Session {
        bool closing = false;   // gone as soon as its frames are taken
        std::size_t frames = 0; // that wait, and their bytes
        std::size_t bytes = 0;
        Milliseconds notBefore{0}; // no frame may be due before the one in front of it
        std::optional<Frame> held; // lets the next one go first
        Milliseconds heldUntil{0}; // no longer than that
        std::size_t replayed = 0;  // which session of the replay it hears
        std::size_t spoken = 0;    // what of it was said already
        std::size_t requests = 0;  // made, and not yet met in the replay
        Milliseconds spokenAt{0};  // time, in the replay, of what the next words follow
    };

    void addFrames(std::vector<Frame> frames);
    void addFrame(Frame frame, Milliseconds delay = Milliseconds(0));
    void queue(Frame frame, Milliseconds delay);
    void releaseHeld(Session& session);
    void closeIfDone(SessionId session);
    void drop(SessionId session, Traffic::Kind how = Traffic::Closed);
    void watchDoor(bool wasOpen);
    std::optional<Milliseconds> nextHappening() const;
    void happen();
    void setClock();
    void replayTo(SessionId id, Session& session);
    void note(SessionId session, Traffic::Kind kind, std::string_view bytes = {});

    const SimulationSettings settings_;
    Station station_;
    Faults faults_;
    Milliseconds now_{0};
    std::map<SessionId, Session> sessions_;
    std::map<std::pair<Milliseconds, std::uint64_t>, Frame> waiting_; // by time, then by order
    std::uint64_t frames_ = 0;
    std::optional<Milliseconds> doorShuts_;
    Milliseconds bootsUntil_{0};
    std::multimap<Milliseconds, TimedCommand> script_;
    std::vector<Recording> replay_; // a recording of each session
    std::size_t replayed_ = 0;      // how many of them have a client
};

} // namespace station
