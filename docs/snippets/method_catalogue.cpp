// SPDX-License-Identifier: MIT
#include "expect.h"
#include "rpc/Conversation.h"

#include <iostream>
#include <sstream>
#include <string>

namespace {

class Client : public json::Conversation {
public:
    void sendJsonText(const char*, int) override {} // a transport goes here
};

void import_answer(Client& client) {
    client.open(); // sends "list_methods"
    const std::string answer = R"({"id": 1, "result": [
        {"method": "set_volume", "description": "Sets the volume.", "result": "boolean",
         "params": [{"type": "integer", "min": 0, "max": 11, "description": "how loud"}]}]})";
    client.readJsonText(answer.data(), static_cast<int>(answer.size()), true);
}

void judge() {
    json::Request request("set_volume", 12, 7);
    EXPECT(request.validateArgs().code == json::Schema::ValueOutOfBounds);
    EXPECT(json::Request("set_volume", 5, 7).validateArgs().ok());
    const json::Response response(json::Variant(true), 7);
    EXPECT(response.validateResult("set_volume").ok());
}

void help(const Client& client) {
    std::ostringstream text;
    client.printMethodHelp(text, "set_volume");
    EXPECT(text.str().find("set_volume (integer)\n\tSets the volume.") != std::string::npos);
}

/// Keeps the library's texts off a stream while it lives.
class Muted {
public:
    explicit Muted(std::ostream& stream) : stream_(stream), old_(stream.rdbuf(text_.rdbuf())) {}
    ~Muted() { stream_.rdbuf(old_); }

private:
    std::ostringstream text_;
    std::ostream& stream_;
    std::streambuf* old_;
};

void quiet(Client& client) {
    const Muted out(std::cout);
    const Muted err(std::cerr);
    import_answer(client); // the second import of the same methods
}

} // namespace

int main() {
    Client client;
    import_answer(client);
    judge();
    help(client);
    quiet(client);
}
