// SPDX-License-Identifier: MIT
#pragma once

#include "rpc/JsonServer.h"

#include <cstdint>
#include <string>

namespace push_server {

/// The codes of the errors that the server answers, beside 1 for a text that isn't JSON.
enum ErrorCode : std::int64_t {
    UnknownMethod = 3,
    WrongParameters = 4,
};

/// A server for one connection, by three methods that show what a push stream carries:
///
/// | method    | parameters        | parts                                                       |
/// |-----------|-------------------|-------------------------------------------------------------|
/// | "echo"    | any               | one, with the parameters                                    |
/// | "count"   | `[n]`, 0 to 1000  | n of them, with the numbers from 1                          |
/// | "picture" | `[width, height]` | one, with a picture as its attachment; 1 to 200 pixels each |
///
/// Whatever else arrives is answered by an error. Make a new object for each connection.
/// Threads: one at a time.
class PushServer : public json::JsonServer {
public:
    void handleRequest(const json::Request& request) override;
    void handleParseError(const qx::IntrusiveString& text) override;
    using json::JsonServer::handleParseError;

private:
    void count(const json::Request& request);
    void picture(const json::Request& request);
    void refuse(const json::Request& request, ErrorCode code, const std::string& reason);
};

/// A picture in the portable pixmap format: a text line with the size, then three bytes for each
/// pixel. Red grows to the right, green downwards.
std::string drawn_picture(int width, int height);

} // namespace push_server
