// SPDX-License-Identifier: MIT
#pragma once

#include "station/Station.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// What can befall a frame on its way to a client.
enum class Fault {
    Drop,      ///< it never arrives
    Delay,     ///< it comes late, and so does all that follows it
    Truncate,  ///< it ends early, anywhere
    Reorder,   ///< the next frame overtakes it; when none comes, it arrives a second late
    Duplicate, ///< it arrives twice
    Oversize,  ///< a frame of many bytes comes before it
    Deepen,    ///< a frame of deeply nested lists comes before it
    UnknownId, ///< an event comes before it, under an id that nobody has given
};
constexpr std::size_t kFaults = 8; ///< how many there are

/// "drop", "delay", "truncate", "reorder", "duplicate", "oversize", "deepen" or "unknown-id".
const char* nameOf(Fault fault);
/// The fault of this name; none when there is none.
std::optional<Fault> faultNamed(std::string_view name);

/// How bad a line is.
struct FaultSettings {
    std::uint64_t seed = 1; ///< the same number brings the same faults
    /// How often, of one frame: 0 never, 1 always; by the order of `Fault`.
    std::array<double, kFaults> rates{};
    std::chrono::milliseconds latency{0};         ///< by which every frame comes late
    std::chrono::milliseconds longestDelay{1000}; ///< of a delayed frame, beside the latency
    std::size_t oversizeBytes = 1024 * 1024;      ///< of a frame with too many bytes
    std::size_t depth = 100000;                   ///< of a frame with too many lists

    /// The rate of one fault.
    /// @{
    double& rate(Fault fault) { return rates[static_cast<std::size_t>(fault)]; }
    double rate(Fault fault) const { return rates[static_cast<std::size_t>(fault)]; }
    /// @}
};

/// A bad line between a station and its clients: takes frames and gives what is left of them.
///
/// The same seed gives the same faults to the n-th frame of a session, whatever other sessions hear
/// and whatever the rates of the other faults are. Threads: one at a time.
class Faults {
public:
    /// What becomes of a frame, in order of sending.
    struct Outcome {
        std::string bytes;                  ///< what arrives
        std::chrono::milliseconds delay{0}; ///< beside the latency; what follows waits for it
        bool overtaken = false;             ///< the next frame of the session goes first
    };

    /// A line as bad as the settings say.
    explicit Faults(FaultSettings settings = FaultSettings()) : settings_(settings) {}

    /// What arrives in the place of the frame: nothing, it, or more.
    std::vector<Outcome> befall(const Frame& frame);
    /// The next frame, of any session, suffers this beside what its rates say. Said several times,
    /// each counts for one frame.
    void spoilNext(Fault fault) { demanded_.push_back(fault); }
    /// Forgets the session, whose number isn't given again.
    void forget(SessionId session) { draws_.erase(session); }

    /// As they were given.
    const FaultSettings& settings() const { return settings_; }

private:
    std::uint64_t draw(std::uint64_t& state) const;

    FaultSettings settings_;
    std::map<SessionId, std::uint64_t> draws_; // state of the numbers that a session draws
    std::vector<Fault> demanded_;
};

} // namespace station
