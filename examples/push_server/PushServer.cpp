// SPDX-License-Identifier: MIT
#include "push_server/PushServer.h"

namespace push_server {

namespace {

constexpr std::int64_t kMostParts = 1000;
constexpr std::int64_t kMostPixels = 200; // in a row, and in a column

bool is_integer_in(const json::Variant& value, std::int64_t least, std::int64_t most) {
    return value.isInteger() && value.integerValue() >= least && value.integerValue() <= most;
}

} // namespace

void PushServer::handleRequest(const json::Request& request) {
    const std::string method = request.methodName().c_str();
    if (method == "echo") {
        sendResponse(json::Response(request["params"], request.referenceId()));
    } else if (method == "count") {
        count(request);
    } else if (method == "picture") {
        picture(request);
    } else {
        refuse(request, UnknownMethod, "there is no method \"" + method + "\"");
    }
}

// What the parser has to say of a fault goes on to the peer, and the parser is made ready for the
// rest of the input.
void PushServer::handleParseError(const qx::IntrusiveString& text) {
    handleParseError(std::string(text.c_str(), text.length()));
}

void PushServer::count(const json::Request& request) {
    const json::List& arguments = request.arguments();
    if (arguments.size() != 1 || !is_integer_in(arguments[0], 0, kMostParts)) {
        refuse(request, WrongParameters, "count wants [n], 0 to 1000");
        return;
    }
    for (std::int64_t i = 1; i <= arguments[0].integerValue(); ++i) {
        sendResponse(json::Response(i, request.referenceId()));
    }
}

void PushServer::picture(const json::Request& request) {
    const json::List& arguments = request.arguments();
    if (arguments.size() != 2 || !is_integer_in(arguments[0], 1, kMostPixels) ||
        !is_integer_in(arguments[1], 1, kMostPixels)) {
        refuse(request, WrongParameters, "picture wants [width, height], 1 to 200 each");
        return;
    }
    json::Response response("image/x-portable-pixmap", request.referenceId());
    // The first element goes out raw behind the text. The text shows it as well, escaped.
    response["binary-attachment-list"] << drawn_picture(arguments[0], arguments[1]);
    sendResponse(response);
}

void PushServer::refuse(const json::Request& request, ErrorCode code, const std::string& reason) {
    sendResponse(json::Response(code, reason.c_str(), request.referenceId()));
}

std::string drawn_picture(int width, int height) {
    std::string bytes = "P6\n" + std::to_string(width) + ' ' + std::to_string(height) + "\n255\n";
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            bytes += static_cast<char>(255 * x / width);
            bytes += static_cast<char>(255 * y / height);
            bytes += static_cast<char>(128);
        }
    }
    return bytes;
}

} // namespace push_server
