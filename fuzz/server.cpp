// SPDX-License-Identifier: MIT
// The push server with any input: what it writes is the status and whole parts, each a response
// that reads, with its size and its attachment.

#include "fuzz/support/Require.h"
#include "fuzz/support/Trees.h"
#include "rpc/JsonServer.h"
#include "rpc/Request.h"
#include "rpc/Response.h"
#include "json/JsonParser.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

namespace {

class Server : public json::JsonServer {
public:
    std::size_t parts = 0;

    void handleParseError(const qx::IntrusiveString& text) override {
        ++parts;
        json::JsonServer::handleParseError(fuzz::bytes_of(text));
    }
    void handleRequest(const json::Request& request) override {
        ++parts;
        if (request.methodName() != "echo") {
            json::JsonServer::handleRequest(request);
            return;
        }
        sendResponse(json::Response(json::Variant(request)));
        ++parts;
        sendResponse(json::Response(request.arguments().size(), request.referenceId()));
    }
};

/// Takes the parts of the stream off, one by one.
void check(std::string_view stream, std::size_t parts) {
    constexpr std::string_view status = "HTTP/1.0 200 OK";
    constexpr std::string_view boundary = "--QUIBREX_Fast_Serverpush\xFF\xEC";
    fuzz::require(stream.substr(0, status.size()) == status, "the status comes first");
    stream.remove_prefix(status.size());
    for (; parts > 0; --parts) {
        fuzz::require(stream.substr(0, boundary.size()) == boundary, "a part has its boundary");
        stream.remove_prefix(boundary.size());
        fuzz::require(stream.size() > 2, "a part has a size");
        const auto high = static_cast<unsigned char>(stream[0]);
        const auto low = static_cast<unsigned char>(stream[1]);
        const std::size_t size = high * std::size_t{256} + low;
        stream.remove_prefix(2);
        const std::size_t zero = stream.find('\0');
        fuzz::require(zero != std::string_view::npos, "a text ends in a zero");
        if (zero + 1 > 0xFFFF) return; // the size is cut
        fuzz::require(size <= stream.size() && zero < size, "a part is whole");
        stream.remove_prefix(size);
    }
    fuzz::require(stream.empty(), "there is nothing but parts");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Silence silence;
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    std::ostringstream out;
    Server server;
    server.connect(&in, &out);
    const std::string stream = out.str();
    if (stream.size() < 0xFFFF) check(stream, server.parts);
    return 0;
}
