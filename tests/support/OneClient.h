// SPDX-License-Identifier: MIT
#pragma once

#include "station/Station.h"
#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test {

using station::Frame;
using station::SessionId;
using station::Settings;
using station::Station;
using Lines = std::vector<std::string>;

inline json::Variant text_of(const Frame& frame) {
    return json::JsonParser::parseTree(frame.bytes.c_str());
}

inline std::string attachment_of(const Frame& frame) {
    return frame.bytes.substr(frame.bytes.find('\0') + 1);
}

/// "SESSION/ID RESULT" or "SESSION/ID error CODE TEXT", with "-" for no id.
inline std::string line_of(const Frame& frame) {
    const json::Response response(text_of(frame));
    const json::Variant& id = response.referenceId();
    std::string line = std::to_string(frame.session) + "/" + (id.isNull() ? "-" : id.charsValue());
    if (!response.isError()) return line + " " + response.result().charsValue();
    return line + " error " + std::to_string(response.errorCode()) + " " +
           response.errorMessage().c_str();
}

inline Lines lines_of(const std::vector<Frame>& frames) {
    Lines lines;
    for (const Frame& frame : frames) {
        lines.push_back(line_of(frame));
    }
    return lines;
}

/// A station and its first client.
struct OneClient {
    explicit OneClient(const Settings& settings = Settings()) : station(settings) {}

    Lines send(const std::string& text) { return lines_of(station.receive(client, text)); }
    /// The only frame; an empty one when there are more or none.
    Frame answer(const std::string& text) {
        const std::vector<Frame> frames = station.receive(client, text);
        EXPECT_EQ(1u, frames.size()) << text;
        return frames.size() == 1 ? frames[0] : Frame{};
    }

    Station station;
    SessionId client = station.connect();
};

} // namespace test
