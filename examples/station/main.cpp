// SPDX-License-Identifier: MIT
// A door station for those who have none at hand: listens on 127.0.0.1 until it is told to end.

#include "station/Station.h"
#include "station/WebSocketServer.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <optional>

int main(int argc, char** argv) {
    station::Settings settings;
    station::WebSocketServer::Options options;
    long long doorMilliseconds = options.doorOpen.count();

    CLI::App app("A simulated door station. It prints \"listening on 127.0.0.1:PORT\", then serves "
                 "its clients over WebSocket until SIGINT or SIGTERM.",
                 "gatecast-station");
    app.add_option("--port", options.port, "Port to listen on, 0 for any free one")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535));
    app.add_option("--protocol", settings.versionMajor,
                   "Kind of device: 0 the first, 1 and 2 later ones")
        ->capture_default_str()
        ->check(CLI::Range(0, 2));
    app.add_option("--door-ms", doorMilliseconds,
                   "Milliseconds after which an opened door falls shut, 0 for at once")
        ->capture_default_str()
        ->check(CLI::Range(0LL, 3600'000LL));
    std::optional<long long> time;
    app.add_option(
           "--clock", time,
           "Let the station's clock stand at this time, in seconds since 1970, in the place of "
           "the computer's")
        ->check(CLI::Range(0LL, 253402300799LL));
    app.add_flag("--once", options.once, "End when the last client has left");
    CLI11_PARSE(app, argc, argv);

    if (time) options.clock = [seconds = static_cast<double>(*time)] { return seconds; };
    options.doorOpen = std::chrono::milliseconds(doorMilliseconds);
    try {
        station::Station station(settings);
        station::WebSocketServer server(station, options);
        std::cout << "listening on 127.0.0.1:" << server.port() << std::endl;
        server.run();
    } catch (const std::exception& error) {
        std::cerr << "error: " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
