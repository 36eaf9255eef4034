// SPDX-License-Identifier: MIT
// A door station for those who have none at hand: listens on 127.0.0.1 until it is told to end.

#include "core/Version.h"
#include "station/Server.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

using station::Fault;

struct Options {
    station::SimulationSettings simulation;
    station::Server::Options server;
    std::optional<long long> clock;
    std::string script;
    std::string record;
    std::string replay;
};

constexpr long long kLongestMilliseconds = 3600'000;

void addMilliseconds(CLI::App& app, const char* name, std::chrono::milliseconds& value,
                     const char* description) {
    app.add_option_function<long long>(
           name, [&value](long long count) { value = std::chrono::milliseconds(count); },
           description)
        ->default_str(std::to_string(value.count()))
        ->check(CLI::Range(0LL, kLongestMilliseconds));
}

void addFaults(CLI::App& app, station::FaultSettings& faults) {
    const char* const group = "A bad line (a rate says how often, of one frame: 0 never, 1 always)";
    const auto rate = [&](const char* name, Fault fault, const char* description) {
        app.add_option(name, faults.rate(fault), description)
            ->capture_default_str()
            ->check(CLI::Range(0.0, 1.0))
            ->group(group);
    };
    app.add_option("--seed", faults.seed, "The same number brings the same faults")
        ->capture_default_str()
        ->group(group);
    addMilliseconds(app, "--latency-ms", faults.latency,
                    "Milliseconds by which each frame is late");
    addMilliseconds(app, "--delay-ms", faults.longestDelay,
                    "Milliseconds by which a delayed frame is later, at most");
    for (const char* name : {"--latency-ms", "--delay-ms"}) {
        app.get_option(name)->group(group);
    }
    rate("--drop", Fault::Drop, "Rate of frames that never arrive");
    rate("--delay", Fault::Delay, "Rate of frames that are late, with all behind them");
    rate("--truncate", Fault::Truncate, "Rate of frames that end early");
    rate("--reorder", Fault::Reorder, "Rate of frames that the next one overtakes");
    rate("--duplicate", Fault::Duplicate, "Rate of frames that arrive twice");
    rate("--oversize", Fault::Oversize, "Rate of frames behind one of --oversize-bytes");
    rate("--deepen", Fault::Deepen, "Rate of frames behind one nested --depth levels deep");
    rate("--unknown-id", Fault::UnknownId, "Rate of frames behind an event of an id never given");
    app.add_option("--oversize-bytes", faults.oversizeBytes, "Bytes of a frame that is too large")
        ->capture_default_str()
        ->check(CLI::Range(std::size_t{1}, std::size_t{64} * 1024 * 1024))
        ->group(group);
    app.add_option("--depth", faults.depth, "Levels of a frame that is too deep")
        ->capture_default_str()
        ->check(CLI::Range(std::size_t{1}, std::size_t{16} * 1024 * 1024))
        ->group(group);
}

void addOptions(CLI::App& app, Options& options) {
    station::Settings& device = options.simulation.station;
    app.add_option("--port", options.server.port, "Port to listen on, 0 for any free one")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535));
    app.add_option("--protocol", device.versionMajor,
                   "Kind of device: 0 the first, 1 and 2 later ones")
        ->capture_default_str()
        ->check(CLI::Range(0, 2));
    addMilliseconds(app, "--door-ms", options.simulation.doorOpen,
                    "Milliseconds after which an opened door falls shut, 0 for at once");
    addMilliseconds(app, "--boot-ms", options.simulation.boot,
                    "Milliseconds after a reboot in which no client is taken");
    app.add_option(
           "--clock", options.clock,
           "Let the station's clock stand at this time, in seconds since 1970, in the place of "
           "the computer's")
        ->check(CLI::Range(0LL, 253402300799LL));
    app.add_flag("--once", options.server.once, "End when the last client has left");
    app.add_option("--script", options.script,
                   "Obey the commands of this file at their times: a JSON list of objects "
                   "{\"at\": SECONDS, \"do\": COMMAND}, with \"every\": SECONDS to repeat one");
    app.add_option("--record", options.record,
                   "Write the traffic to this file, one JSON object a line");
    app.add_option("--replay", options.replay,
                   "Let a recorded station answer: the n-th client hears what the n-th one heard, "
                   "each time behind as many requests");
    addFaults(app, options.simulation.faults);
    app.footer(
        "Commands, a line each on the standard input, as \"do\" of a script, or by the buttons "
        "of the panel:\n" +
        std::string(station::Simulation::help()));
}

[[noreturn]] void failFile(const std::string& what, const std::string& path,
                           const std::string& why) {
    throw std::runtime_error("can't " + what + " " + path + ": " + why);
}

/// The whole file. Bad input: one that can't be read throws, with the reason.
std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    if (!file || (file.peek() != std::ifstream::traits_type::eof() && !(content << file.rdbuf()))) {
        failFile("read", path, std::strerror(errno));
    }
    return content.str();
}

/// Calls `use` with the content of the file, if one is named.
template <typename Use>
void useFile(const std::string& path, Use use) {
    if (path.empty()) return;
    const std::string content = contentOf(path);
    try {
        use(content);
    } catch (const std::runtime_error& error) {
        failFile("use", path, error.what());
    }
}

void readFiles(Options& options) {
    station::SimulationSettings& simulation = options.simulation;
    useFile(options.script, [&](const std::string& text) {
        simulation.script = station::readScript(text, simulation.station);
    });
    useFile(options.replay, [&](const std::string& text) {
        std::istringstream lines(text);
        simulation.replay = station::readRecording(lines);
        if (simulation.replay.empty()) throw std::runtime_error("it is empty");
    });
}

void serve(Options& options) {
    readFiles(options);
    std::ofstream record;
    if (!options.record.empty()) {
        record.open(options.record, std::ios::trunc);
        if (!record) failFile("write", options.record, std::strerror(errno));
        options.server.record = &record;
    }
    // Commands are lines of the standard input. In the background of a terminal it can't be read,
    // which must not stop the station.
    std::signal(SIGTTIN, SIG_IGN);
    if (::fcntl(STDIN_FILENO, F_GETFD) != -1) options.server.commands = STDIN_FILENO;
    options.server.complaints = &std::cerr;

    station::Simulation simulation(options.simulation);
    station::Server server(simulation, options.server);
    const std::string address = "127.0.0.1:" + std::to_string(server.port());
    std::cout << "listening on " + address + "\npanel: http://" + address + "/\n" << std::flush;
    server.run();
    if (record.is_open() && !record.flush()) {
        failFile("write", options.record, std::strerror(errno));
    }
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("A simulated door station. It prints \"listening on 127.0.0.1:PORT\", then serves "
                 "its clients over WebSocket, or over plain TCP with each message behind its "
                 "length, until SIGINT or SIGTERM. A browser finds its panel at the same address.",
                 "gatecast-station");
    app.set_version_flag("--version", std::string("gatecast-station ") + qx::versionString());
    addOptions(app, options);
    CLI11_PARSE(app, argc, argv);

    options.simulation.clockStands = options.clock.has_value();
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    options.simulation.station.time = options.clock ? static_cast<double>(*options.clock)
                                                    : std::chrono::duration<double>(now).count();
    try {
        serve(options);
    } catch (const std::exception& error) {
        std::cerr << "error: " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
