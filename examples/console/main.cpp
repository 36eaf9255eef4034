// SPDX-License-Identifier: MIT
// A person's client of a door station: commands from the terminal or a script, events as they come.

#include "console/Console.h"
#include "console/WebSocketTransport.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

int opened(const std::string& script) {
    const int input = ::open(script.c_str(), O_RDONLY | O_CLOEXEC);
    if (input < 0) throw std::runtime_error("can't read " + script + ": " + std::strerror(errno));
    return input;
}

} // namespace

int main(int argc, char** argv) {
    std::string host = "127.0.0.1";
    unsigned short port = 0;
    std::string script;
    long long patience = 10;
    console::Console::Settings settings;

    CLI::App app("A console for a door station. It reads commands, one per line, from the terminal "
                 "or from a script; \"help\" lists them. The exit status is 0 when every command "
                 "was understood and answered.",
                 "gatecast");
    app.add_option("--host", host, "Where the station listens")->capture_default_str();
    app.add_option("--port", port, "The station's port")->required()->check(CLI::Range(1, 65535));
    app.add_option("--phone", settings.phone, "The token by which the station knows this phone")
        ->capture_default_str();
    app.add_option("--script", script, "Read the commands from this file, and repeat them");
    app.add_option("--patience", patience, "Seconds to wait for the connection and each answer")
        ->capture_default_str()
        ->check(CLI::Range(1LL, 3600LL));
    CLI11_PARSE(app, argc, argv);

    try {
        const int input = script.empty() ? STDIN_FILENO : opened(script);
        settings.script = ::isatty(input) == 0;
        console::WebSocketTransport transport{std::chrono::seconds(patience)};
        transport.connect(host, std::to_string(port));
        console::Console console([&](const std::string& text) { transport.send(text); }, std::cout,
                                 std::cerr, settings);
        transport.run(console, input);
        return console.exitStatus();
    } catch (const std::exception& error) {
        std::cerr << "error: " << error.what() << std::endl;
        return 1;
    }
}
