// SPDX-License-Identifier: MIT
#include "expect.h"
#include "rpc/Conversation.h"

#include <iostream>
#include <string>

namespace {

class Client : public json::Conversation {
public:
    void sendJsonText(const char*, int) override {}
};

void limits() {
    Client client;
    json::Conversation::Limits limits;
    limits.text.bytes = 1 << 20; // of one text
    limits.text.depth = 64;      // containers open at the same time
    limits.text.newKeys = 100;   // keys that the process has never seen
    limits.pendingRequests = 1000;
    client.setLimits(limits);

    json::JsonParser parser;
    parser.setLimits(limits.text);
    EXPECT(!parser.parse(std::string(65, '[').c_str()));
    EXPECT(std::string(parser.lastError()).find("the text is nested deeper than the limit of 64") ==
           0);
}

void figures() {
    Client client;
    client.call("trigger", "door");
    std::cout << "keys " << json::Object::key_pool().size() << '\n'
              << "schemas " << json::Schema::registeredCount() << '\n'
              << "pending " << client.pendingRequestCount() << '\n';
    EXPECT(client.pendingRequestCount() == 1);
}

void check_from_any_thread() {
    json::Schema::import(json::JsonParser::parseTree(
        R"({"id":"http://example.com/volume","type":"integer","maximum":11})"));
    const auto volume = json::Schema::resolve("http://example.com/volume", qx::Url());
    const json::Schema::ValidationResult result = volume->check(json::Variant(12));
    EXPECT(!result.ok() && volume->validationResult().ok()); // the schema keeps nothing of it
}

} // namespace

int main() {
    limits();
    figures();
    check_from_any_thread();
}
