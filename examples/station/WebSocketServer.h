// SPDX-License-Identifier: MIT
#pragma once

#include "station/Station.h"

#include <chrono>
#include <functional>
#include <memory>

namespace station {

/// Carries a station's clients over WebSocket, on 127.0.0.1: text frames in, binary frames out.
///
/// A client that sends a binary frame, a text above 64 KiB, or that doesn't take what it is sent
/// until 4 MiB wait for it, is disconnected. All runs on the thread that calls `run`.
class WebSocketServer {
public:
    struct Options {
        unsigned short port = 0;                  ///< 0 for any free one
        std::chrono::milliseconds doorOpen{3000}; ///< how long a door stays open, 0 for an instant
        bool once = false;                        ///< end when the last client has left
        std::function<double()> clock; ///< seconds since 1970; without one, the computer's
    };

    /// Listens from now on; clients wait until `run`.
    /// @param station  must outlive the server.
    /// Bad input: a port that isn't free throws `std::exception`.
    WebSocketServer(Station& station, const Options& options);
    ~WebSocketServer();
    WebSocketServer(const WebSocketServer&) = delete;
    WebSocketServer& operator=(const WebSocketServer&) = delete;

    unsigned short port() const;
    /// Serves until SIGINT, SIGTERM, or the end that `once` asks for, then says goodbye to every
    /// client.
    void run();

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace station
