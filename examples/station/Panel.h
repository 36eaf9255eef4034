// SPDX-License-Identifier: MIT
#pragma once

#include "station/Simulation.h"
#include "json/Variant.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace station {

/// A file of the panel, as the program holds it.
struct PanelFile {
    const char* path; ///< under which a browser asks for it
    const char* type; ///< its media type
    std::string_view content;
};

/// The file of this path; null when there is none.
const PanelFile* panelFile(std::string_view path);

/// What a station's web panel shows and obeys, without a connection.
///
/// All texts are JSON in valid UTF-8, whatever a client has sent. Threads: one at a time.
class Panel {
public:
    static constexpr std::size_t kLogLength = 200;       ///< entries kept
    static constexpr std::size_t kLongestLogText = 2000; ///< bytes shown of an entry

    explicit Panel(Simulation& simulation) : simulation_(simulation) {}

    /// Takes an entry for the log; the oldest one makes room.
    void note(const Traffic& entry);
    /// How many entries were noted, ever.
    std::uint64_t noted() const { return noted_; }

    /// {"state": {...}}: door, light, bell, clients, address book, phones and mail boxes.
    std::string state() const;
    /// {"traffic": [...]}: the entries behind the first `seen` ones, those that are still there.
    std::string trafficSince(std::uint64_t seen) const;
    /// Obeys {"do": COMMAND}, a command as `Simulation::command` knows. Gives {"error": TEXT} when
    /// it can't, and the empty text when it could.
    std::string obey(std::string_view message);

private:
    Simulation& simulation_;
    std::deque<json::Variant> log_; // rows as they are shown
    std::uint64_t noted_ = 0;
};

/// Whether a request for the panel names this station: 127.0.0.1 or localhost, and its port. Any
/// other name leads here by a foreign page that has its name changed.
bool isOwnHost(std::string_view host, unsigned short port);
/// Whether a page of this origin may talk to the station: the panel itself, or what is no page and
/// says none.
bool isOwnOrigin(std::string_view origin, unsigned short port);

} // namespace station
