// SPDX-License-Identifier: MIT
#include "station/Faults.h"

#include <algorithm>
#include <utility>

namespace station {

namespace {

constexpr std::array<const char*, kFaults> kNames = {
    "drop", "delay", "truncate", "reorder", "duplicate", "oversize", "deepen", "unknown-id"};
constexpr std::uint64_t kUnknownIds = std::uint64_t{1} << 40; // no client counts as far

/// A header update of a text alone.
std::string frame_of(std::string text) {
    text += '\0';
    return text;
}

} // namespace

const char* nameOf(Fault fault) { return kNames[static_cast<std::size_t>(fault)]; }

std::optional<Fault> faultNamed(std::string_view name) {
    for (std::size_t i = 0; i < kFaults; ++i) {
        if (name == kNames[i]) return static_cast<Fault>(i);
    }
    return std::nullopt;
}

std::vector<Faults::Outcome> Faults::befall(const Frame& frame) {
    // Each frame draws the same count of numbers, so that no fault moves the others.
    std::uint64_t& state =
        draws_.try_emplace(frame.session, settings_.seed ^ (frame.session << 32)).first->second;
    std::array<bool, kFaults> befalls{};
    for (std::size_t i = 0; i < kFaults; ++i) {
        const double chance = static_cast<double>(draw(state) >> 11) / 9007199254740992.0; // 2^53
        befalls[i] = chance < settings_.rates[i];
    }
    const std::uint64_t lateness = draw(state);
    const std::uint64_t place = draw(state);
    const std::uint64_t id = draw(state);
    if (!demanded_.empty()) {
        befalls[static_cast<std::size_t>(demanded_.front())] = true;
        demanded_.erase(demanded_.begin());
    }
    const auto has = [&befalls](Fault fault) { return befalls[static_cast<std::size_t>(fault)]; };

    std::vector<Outcome> outcomes;
    if (has(Fault::Oversize)) {
        const std::string padding(settings_.oversizeBytes, 'x');
        outcomes.push_back({frame_of("{\"result\":\"" + padding + "\",\"id\":0}")});
    }
    if (has(Fault::Deepen)) {
        const std::string opened(settings_.depth, '[');
        const std::string closed(settings_.depth, ']');
        outcomes.push_back({frame_of("{\"result\":" + opened + closed + ",\"id\":0}")});
    }
    if (has(Fault::UnknownId)) {
        const std::string unknown = std::to_string(kUnknownIds + id % kUnknownIds);
        outcomes.push_back({frame_of("{\"result\":[\"door_open\"],\"id\":" + unknown + "}")});
    }
    if (has(Fault::Drop)) return outcomes;

    Outcome own{frame.bytes};
    if (has(Fault::Truncate)) own.bytes.resize(place % std::max<std::size_t>(own.bytes.size(), 1));
    if (has(Fault::Delay) && settings_.longestDelay.count() > 0) {
        const auto longest = static_cast<std::uint64_t>(settings_.longestDelay.count());
        own.delay = std::chrono::milliseconds(1 + lateness % longest);
    }
    own.overtaken = has(Fault::Reorder);
    if (has(Fault::Duplicate)) outcomes.push_back({own.bytes, own.delay});
    outcomes.push_back(std::move(own));
    return outcomes;
}

/// The next number of a sequence that is the same everywhere: the state goes on by a constant, and
/// its bits are mixed.
std::uint64_t Faults::draw(std::uint64_t& state) const {
    state += 0x9e3779b97f4a7c15;
    std::uint64_t bits = state;
    bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9;
    bits = (bits ^ (bits >> 27)) * 0x94d049bb133111eb;
    return bits ^ (bits >> 31);
}

} // namespace station
