// SPDX-License-Identifier: MIT
// How do I answer requests? A server over standard input and output: one process, one connection.

#include "push_server/PushServer.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    CLI::App app("Reads one JSON request up to the end of its input, and answers with a push "
                 "stream. The methods are echo, count [n] and picture [width, height]. The exit "
                 "status is 0 when the stream could be written, also when it holds an error.",
                 "gatecast-push-server");
    CLI11_PARSE(app, argc, argv);

    push_server::PushServer server; // a connection needs one of its own
    server.connect(&std::cin, &std::cout);
    // The server looks at no fault of its output and flushes nothing: its owner does.
    if (std::cout.flush()) return 0;
    std::cerr << "error: can't write the stream" << std::endl;
    return 1;
}
