// SPDX-License-Identifier: MIT
#pragma once

#include "console/Console.h"

#include <string>

namespace console {

/// What the program was called with.
struct Way {
    std::string host = "127.0.0.1";
    std::string port;
    bool tcp = false;       ///< length-prefixed TCP, in the place of WebSocket
    int input = 0;          ///< the descriptor that lines are read from; it stays open
    bool terminal = false;  ///< the input is a terminal, with a person at it
    Console::Words command; ///< the only command, or none: then lines are read
};

/// Joins a console to a station and to its input, on this thread, until it has finished. A second
/// Control-C, or one while no command waits, ends the program.
Console::ExitStatus runConsole(const Way& way, const Console::Settings& settings);

} // namespace console
