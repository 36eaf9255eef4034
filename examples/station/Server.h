// SPDX-License-Identifier: MIT
#pragma once

#include "station/Simulation.h"

#include <iosfwd>
#include <memory>

namespace station {

/// Carries a simulation's clients on 127.0.0.1, over WebSocket or a plain connection, and its web
/// panel, all on one port.
///
/// The first byte tells them apart: 0 begins the length of a text, anything else a request of HTTP.
/// A client on a plain connection hears nothing until it has said something.
/// Over WebSocket texts come in and binary messages go out; on a plain connection each text and
/// each header update follows its length in four bytes, the highest first. A client that sends a
/// binary message, a text above 64 KiB, or that doesn't take what it is sent until 4 MiB wait for
/// it, is disconnected; so is one that begins nothing for 30 seconds. There may be 256 connections.
/// A page of a foreign origin can neither be a client nor reach the panel.
/// Threads: all runs on the thread that calls `run`.
class Server {
public:
    struct Options {
        unsigned short port = 0; ///< 0 for any free one
        bool once = false;       ///< end when the last client has left
        int commands = -1;       ///< a descriptor from which lines for `Simulation::command` come
        std::ostream* record = nullptr;     ///< gets a line for all that happens on the connections
        std::ostream* complaints = nullptr; ///< gets a line for each command that is wrong
    };

    /// Listens from now on; clients wait until `run`.
    /// @param simulation  must outlive the server, which hears of its traffic; its time goes on
    ///     by the computer's clock during `run`.
    /// Bad input: a port that isn't free throws `std::exception`.
    Server(Simulation& simulation, const Options& options);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    unsigned short port() const;
    /// Serves until SIGINT, SIGTERM, or the end that `once` asks for, then says goodbye to every
    /// client.
    void run();

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace station
