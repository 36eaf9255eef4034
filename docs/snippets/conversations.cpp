// SPDX-License-Identifier: MIT
#include "expect.h"
#include "rpc/Conversation.h"
#include "rpc/JsonServer.h"

#include <iostream>
#include <sstream>
#include <string>

namespace {

class Client : public json::Conversation {
public:
    std::string sent; // stands for a socket

    void sendJsonText(const char* text, int size) override {
        sent.assign(text, static_cast<std::size_t>(size));
    }

    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override {
        if (!json::Conversation::handleResponse(request, response, result)) return false;
        if (response.isError()) {
            std::cerr << request.methodName() << ": " << response.errorMessage() << '\n';
        } else {
            std::cout << request.methodName() << ": " << response.result() << '\n';
        }
        return true;
    }
};

class Log : public json::IResponseListener {
public:
    int seen = 0;

    bool warningRequestValidation(const json::Request&, json::Schema::ValidationResult) override {
        return true;
    }
    bool handleResponse(const json::Request&, const json::Response&,
                        json::Schema::ValidationResult) override {
        ++seen;
        return true;
    }
};

void call() {
    Client client;
    client.call("trigger", "door"); // {"method":"trigger","params":["door"],"id":1000}
    client.call2("ptz_pan", 3, -1, json::Conversation::NO_ID); // no answer is expected
    client.call0("version");
    client.subscribe2("subscription", "door", true, 101); // answered again and again
    EXPECT(client.sent.find("\"subscription\"") != std::string::npos);
}

void answer() {
    Client client;
    client.subscribe2("subscription", "door", true, 101);
    std::string event = "{\"result\":[\"open\"],\"id\":101}";
    client.readJsonText(event.data(), 10, false); // the first bytes that arrived
    client.readJsonText(event.data() + 10, static_cast<int>(event.size()) - 10, true);
}

void listen() {
    Client client;
    Log log;
    client.registerListener(&log);
    client.call("trigger", "door");
    client.readJsonText("{\"result\":true,\"id\":1000}", -1, true);
    EXPECT(log.seen == 1);
}

void envelopes() {
    json::Request request("trigger", "door", 7);
    EXPECT(request.methodName() == "trigger" && request.arguments().size() == 1);
    json::Response good(true, 7);
    json::Response bad(24, "no such door", 7);
    EXPECT(!good.isError() && bad.isError() && bad.errorCode() == 24);
}

void learn() {
    // clang-format off
    Client client;
    client.open(); // sends "list_methods"
    client.readJsonText(R"({"id": 1, "result": [
        {"method": "zoom", "description": "Moves the lens.", "params": [{"type": "integer", "max": 9}]}
    ]})", -1, true);
    client.printMethodHelp(std::cout, "zoom");
    // clang-format on
    std::ostringstream help;
    client.printMethodHelp(help, "zoom");
    EXPECT(help.str().find("Moves the lens.") != std::string::npos);
}

class Server : public json::JsonServer {
public:
    void handleParseError(const qx::IntrusiveString& text) override {
        json::JsonServer::handleParseError(std::string(text.c_str(), text.length()));
    }
    void handleRequest(const json::Request& request) override {
        sendResponse(json::Response(request.arguments().size(), request.referenceId()));
    }
};

void serve() {
    std::istringstream in("{\"method\": \"count\", \"params\": [1, 2], \"id\": 7}");
    std::ostringstream out;
    Server().connect(&in, &out);
    EXPECT(out.str().find("\"result\": 2") != std::string::npos);
}

} // namespace

int main() {
    call();
    answer();
    listen();
    envelopes();
    learn();
    serve();
}
