// SPDX-License-Identifier: MIT
// A person's client of a door station: one command and out, lines of a script, or a shell.

#include "console/Console.h"
#include "console/Program.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

using console::Console;

constexpr const char* kDescription =
    "A client of a door station. With a command it obeys this one and ends. Without, it reads "
    "commands, one per line: from the terminal, with history and completion, or from a script; "
    "\"help\" lists them.";

constexpr const char* kFooter =
    "Exit status:\n"
    "  0  every command was understood and answered\n"
    "  1  a command makes no sense, or a file or a value of this side is no good\n"
    "  2  there is no connection, or it was lost\n"
    "  3  the device refuses; the error line has its code and its text\n"
    "  4  the device didn't answer, or too few events came, in time\n"
    "A script ends at the first wrong command. What the device refuses is no failure of a script.";

/// Says the parameters of a command in its line of usage, which the options alone don't tell.
class UsageFormatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* app, std::string name) const override {
        for (const Console::Row& row : Console::table()) {
            if (app->get_parent() == nullptr || row.name != app->get_name()) continue;
            const std::string parameters = row.parameters.empty() ? "" : " " + row.parameters;
            return "Usage: gatecast [OPTIONS] " + row.name + parameters + "\n";
        }
        return CLI::Formatter::make_usage(app, name);
    }
};

int wrong_usage(const std::string& text) {
    std::cerr << "error: " << text << std::endl;
    return Console::UsageFault;
}

} // namespace

int main(int argc, char** argv) {
    console::Way way;
    Console::Settings settings;
    std::string script;
    unsigned short port = 0;
    long long patience = 10;
    std::string count, seconds, file; // passed on as words

    CLI::App app(kDescription, "gatecast");
    app.formatter(std::make_shared<UsageFormatter>());
    app.footer(kFooter);
    app.add_option("--host", way.host, "Where the station listens")
        ->type_name("NAME")
        ->capture_default_str()
        ->envname("GATECAST_HOST");
    app.add_option("--port", port, "The station's port, needed for all that asks a device")
        ->check(CLI::Range(1, 65535))
        ->envname("GATECAST_PORT");
    app.add_flag("--tcp", way.tcp, "Talk length-prefixed TCP, in the place of WebSocket");
    app.add_option("--phone", settings.phone, "The token by which the station knows this phone")
        ->type_name("TOKEN")
        ->capture_default_str();
    app.add_option("--mail-box", settings.mailBox,
                   "The mail box that a message number is looked up in")
        ->type_name("ID")
        ->capture_default_str();
    app.add_option("--script", script, "Read the commands from this file, and repeat them")
        ->type_name("FILE");
    app.add_option("--patience", patience,
                   "Seconds to wait for each answer, and at most 10 of them for the connection")
        ->capture_default_str()
        ->check(CLI::Range(1LL, 3600LL));
    app.add_flag("--json", settings.json, "Print one JSON object a line, also of faults");
    app.add_flag("-v,--verbose", settings.traffic,
                 "Print each text that leaves (>) and arrives (<), control characters escaped");
    app.require_subcommand(0, 1);
    app.allow_extras(); // the words of a command
    std::map<std::string, CLI::App*> commands;
    for (const Console::Row& row : Console::table()) {
        if (!row.alone) continue;
        commands[row.name] = app.add_subcommand(row.name, row.meaning)->fallthrough()->footer("");
    }
    commands["watch"]->add_option("-C", count, "End after so many events")->type_name("N");
    commands["watch"]
        ->add_option("-W", seconds, "End after so many seconds, with status 4 if -C isn't reached")
        ->type_name("S");
    commands["preview"]->add_option("-o", file, "The file to write")->type_name("FILE");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? Console::Good : Console::UsageFault;
    }

    if (!app.get_subcommands().empty()) {
        way.command = app.remaining();
        way.command.insert(way.command.begin(), app.get_subcommands().front()->get_name());
        for (const auto& [name, value] : {std::pair("-C", count), {"-W", seconds}, {"-o", file}}) {
            if (!value.empty()) way.command.insert(way.command.end(), {name, value});
        }
    } else if (!app.remaining().empty()) {
        return wrong_usage("there is no command \"" + app.remaining().front() + "\"; see --help");
    }
    settings.once = !way.command.empty();
    settings.patience = std::chrono::seconds(patience);

    if (settings.once && way.command.front() == "validate") {
        Console console([](const std::string&) {}, std::cout, std::cerr, settings);
        console.obey(way.command);
        return console.exitStatus();
    }
    if (port == 0) return wrong_usage("--port is needed, or GATECAST_PORT");
    way.port = std::to_string(port);
    way.input = STDIN_FILENO;
    if (!script.empty()) way.input = ::open(script.c_str(), O_RDONLY | O_CLOEXEC);
    if (way.input < 0) return wrong_usage("can't read " + script + ": " + std::strerror(errno));
    way.terminal = !settings.once && script.empty() && ::isatty(way.input) != 0;
    settings.script = !settings.once && !way.terminal;
    settings.reconnects = way.terminal || (settings.once && way.command.front() == "watch");
    return console::runConsole(way, settings);
}
