// SPDX-License-Identifier: MIT
#pragma once

#include "console/Console.h"

#include <chrono>
#include <memory>
#include <string>

namespace console {

/// Joins a console to a station over WebSocket, and to its input.
///
/// All runs on the thread that calls `run`: frames and lines are taken as they come, lines only
/// while no command waits for the device.
class WebSocketTransport {
public:
    /// @param patience  for the connection to stand, and for each command to be answered.
    explicit WebSocketTransport(std::chrono::seconds patience);
    ~WebSocketTransport();
    WebSocketTransport(const WebSocketTransport&) = delete;
    WebSocketTransport& operator=(const WebSocketTransport&) = delete;

    /// Returns when the connection stands.
    /// Bad input: a station that can't be reached throws `std::exception`; its text says which
    /// and why.
    void connect(const std::string& host, const std::string& port);
    /// Sends a text frame, after those that still wait.
    void send(const std::string& text);
    /// Runs the console until it has finished or the connection is lost. Lines are read from the
    /// input, a descriptor, which stays open.
    void run(Console& console, int input);

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace console
