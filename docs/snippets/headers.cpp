// SPDX-License-Identifier: MIT
// The examples in the class comments of the headers.

// Its lines stand in the headers too, where one shows a value that nobody takes.
#pragma GCC diagnostic ignored "-Wunused-value"

#include "device/GatecastConversation.h"
#include "expect.h"
#include "phone.h"
#include "rpc/Conversation.h"
#include "rpc/JsonServer.h"
#include "schema/Schema.h"
#include "json/Build.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"
#include "json/Literals.h"
#include "json/Variant.h"
#include "json/VariantIterator.h"

#include <cstddef>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

void values() {
    json::Variant v;
    v["door"]["open"] = true; // {"door":{"open":true}}
    const json::Variant& c = v;
    c["window"].isNull(); // true, and nothing was added
    EXPECT(c["window"].isNull() && c.size() == 1 && c["door"]["open"] == true);
}

void builders() {
    const json::Variant call = json::object({
        {"method", "trigger"},
        {"params", json::list({"door", true, json::object({{"seconds", 2.5}})})},
        {"id", 1000},
    });
    EXPECT(call["params"][2]["seconds"] == 2.5 && call.size() == 3);

    using namespace json::literals;
    const json::Variant door = R"({"name": "front", "open": false})"_json;
    EXPECT(door["name"] == "front" && door.size() == 2);
}

void text() {
    json::JsonParser parser;
    parser.parse("{\"door\":");
    parser.parse("true}");
    const json::Variant& value = parser.parseComplete();
    EXPECT(value["door"] == true);

    json::JsonPrinter printer;
    printer.setIndent("");
    printer.print(value);
    const qx::IntrusiveString text = printer.string();
    EXPECT(text == qx::IntrusiveString("{\"door\":true}"));
}

void error_places() {
    struct {
        std::size_t line = 0;
        void jumpTo(std::size_t where) { line = where; }
    } editor;
    const char* const text = "{\n tru}";
    json::JsonParser parser;
    if (!parser.parse(text)) editor.jumpTo(parser.errorPlace().line);
    EXPECT(editor.line == 2);
}

void iterators() {
    const json::Variant value = json::object({{"door", true}});
    for (json::VariantIterator it(value); !it.atEnd(); ++it) {
        std::cout << it.key() << ' ' << *it << '\n';
    }
}

void schemas() {
    json::Schema::import(json::JsonParser::parseTree(
        R"({"id":"http://example.com/volume","type":"integer","minimum":0,"maximum":11})"));
    const auto volume = json::Schema::resolve("http://example.com/volume", qx::Url());
    volume->validate(json::Variant(12)).ok(); // false
    volume->validationResult().code;          // json::Schema::ValueOutOfBounds
    EXPECT(!volume->validationResult().ok());
    EXPECT(volume->validationResult().code == json::Schema::ValueOutOfBounds);
}

std::ostringstream socket; // stands for one
std::string told;

class Client : public json::Conversation {
    void sendJsonText(const char* text, int size) override { socket.write(text, size); }
    bool handleResponse(const json::Request& request, const json::Response& response,
                        json::Schema::ValidationResult result) override;
};

bool Client::handleResponse(const json::Request& request, const json::Response& response,
                            json::Schema::ValidationResult result) {
    told = std::string(request.methodName().c_str()) + ": " + response.result().charsValue();
    return json::Conversation::handleResponse(request, response, result);
}

void conversations() {
    Client client;
    client.call("trigger", "door");                            // its answer comes under the id 1000
    client.call2("ptz_pan", 3, -1, json::Conversation::NO_ID); // no answer is expected
    client.subscribe("subscription", "door", 101);             // answered again and again
    EXPECT(socket.str().find("\"id\":1000") != std::string::npos);
    EXPECT(client.pendingRequestCount() == 3);
    client.readJsonText("{\"result\":\"open\",\"id\":101}", -1, true);
    EXPECT(told == "subscription: open" && client.pendingRequestCount() == 3);
}

class Server : public json::JsonServer {
    void handleParseError(const qx::IntrusiveString& text) override {
        json::JsonServer::handleParseError(std::string(text.c_str(), text.length()));
    }
    void handleRequest(const json::Request& request) override {
        sendResponse(json::Response(request.arguments().size(), request.referenceId()));
    }
};

void servers() {
    std::istringstream in("{\"method\":\"count\",\"params\":[1,2],\"id\":7}");
    std::ostringstream out;
    Server().connect(&in, &out); // two streams, as std::cin and std::cout
    EXPECT(out.str().find("\"result\": 2") != std::string::npos);
}

class Phone : public QuietPhone {
public:
    std::vector<qx::MailBoxEntry> messages;

protected:
    void mailBoxData(const json::List& result, int batch) override {
        if (batch == 1) messages.clear(); // the first one of a new list
        for (const json::Variant& row : result) {
            messages.emplace_back(row);
        }
    }
};

void devices() {
    Phone phone; // the application's class: docs/device.md shows one
    phone.open();
    phone.setupSubscriptions("phone-17");
    phone.triggerDoor(); // its event comes under SubscribeDoor and sets doorAndLightStatus()
    EXPECT(phone.lastCall() == R"(trigger ["door"])");
    phone.receive(R"({"result":["door_open"],"id":101})");
    EXPECT(phone.doorAndLightStatus().doorStatus == qx::IntrusiveString("door_open"));
    phone.readMailBox("1");
    phone.receive(R"({"result":[{"rid":5}],"id":104})");
    EXPECT(phone.messages.size() == 1 && phone.messages[0].recordId() == 5);
}

} // namespace

int main() {
    values();
    builders();
    text();
    error_places();
    iterators();
    schemas();
    conversations();
    servers();
    devices();
}
