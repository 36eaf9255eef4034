// SPDX-License-Identifier: MIT
#pragma once

#include "station/Station.h"

#include <chrono>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace station {

/// One thing that happened on a client's connection.
struct Traffic {
    /// What happened.
    enum Kind {
        Connected,    ///< a client came
        Received,     ///< `bytes` are the text that it sent
        Sent,         ///< `bytes` are a header update that it got
        Closed,       ///< the station has closed its connection
        Disconnected, ///< it has left
    };
    std::chrono::milliseconds at{0}; ///< since the station began
    SessionId session = 0;           ///< whose connection it is
    Kind kind = Connected;           ///< what happened
    std::string bytes;               ///< as they went over the connection
};

/// What happened, in order of time.
using Recording = std::vector<Traffic>;

/// The entry as a line of a recording, a JSON object without the line's end: "at_ms", "session",
/// "kind" ("connected", "received", "sent", "closed" or "disconnected"), and the bytes of what was
/// received or sent: "text", up to a zero byte when it was sent; "end" false when that has none;
/// and "binary" in base64, what stands behind it. A text that isn't UTF-8, or that holds a zero
/// byte, stands in base64 as "text_base64".
std::string lineOf(const Traffic& entry);

/// Reads lines as `lineOf` writes them; empty ones and members of other names are skipped.
/// Bad input: a line that is something else throws `std::runtime_error`, whose text names the line;
/// so does a time that is before that of the line above.
Recording readRecording(std::istream& in);

/// The bytes as valid UTF-8: each byte that isn't part of a character becomes U+FFFD.
std::string asUtf8(std::string_view bytes);

} // namespace station
