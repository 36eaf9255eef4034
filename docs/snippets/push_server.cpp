// SPDX-License-Identifier: MIT
#include "expect.h"
#include "rpc/JsonServer.h"

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

class DoorServer : public json::JsonServer {
public:
    void handleRequest(const json::Request& request) override {
        if (request.methodName() == qx::IntrusiveString("door")) {
            sendResponse(json::Response("door_open", request.referenceId()));
        } else {
            sendResponse(json::Response(3, "there is no such method", request.referenceId()));
        }
    }
    void handleParseError(const qx::IntrusiveString& text) override {
        handleParseError(std::string(text.c_str(), text.length())); // answers, and reads on
    }
    using json::JsonServer::handleParseError;
};

std::string answered(const std::string& request) {
    std::istringstream in(request);
    std::ostringstream out;
    DoorServer server; // one object for each connection
    server.connect(&in, &out);
    return out.str();
}

struct Part {
    std::string text;
    std::string attachment;
};

std::vector<Part> parts_of(const std::string& stream) {
    const std::string mark = "--QUIBREX_Fast_Serverpush\xFF\xEC";
    std::vector<Part> parts;
    std::size_t begin = stream.find(mark);
    while (begin != std::string::npos) {
        begin += mark.size() + 2; // behind the size
        const std::size_t end = stream.find(mark, begin);
        const std::string payload = stream.substr(begin, end - begin);
        const std::size_t zero = payload.find('\0');
        parts.push_back({payload.substr(0, zero), payload.substr(zero + 1)});
        begin = end;
    }
    return parts;
}

class Camera : public DoorServer {
public:
    std::vector<std::string> pictures;

    void handleRequest(const json::Request& request) override {
        for (const std::string& picture : pictures) {
            json::Response response("picture", request.referenceId());
            response["binary-attachment-list"] << picture;
            sendResponse(response);
        }
    }
};

void answers() {
    const std::string stream = answered(R"({"method": "door", "id": 5})");
    EXPECT(stream.substr(0, 40) == "HTTP/1.0 200 OK--QUIBREX_Fast_Serverpush");
    EXPECT(parts_of(stream).size() == 1);
    EXPECT(parts_of(stream)[0].text == "{\n\t\"id\": 5,\n\t\"result\": \"door_open\"\n}\n");
}

void faults() {
    const std::vector<Part> parts = parts_of(answered(R"({"method": "door")"));
    EXPECT(parts.size() == 1);
    EXPECT(json::JsonParser::parseTree(parts[0].text)["error"][0] == 1);
}

void pushes() {
    Camera camera;
    camera.pictures = {"first", std::string("\0\1", 2)};
    std::istringstream in(R"({"method": "watch", "id": 6})");
    std::ostringstream out;
    camera.connect(&in, &out);
    const std::vector<Part> parts = parts_of(out.str());
    EXPECT(parts.size() == 2);
    EXPECT(parts[0].attachment == "first");
    EXPECT(parts[1].attachment == camera.pictures[1]);
}

} // namespace

int main() {
    answers();
    faults();
    pushes();
}
