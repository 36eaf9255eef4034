// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "rpc/Request.h"
#include "rpc/Response.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"
#include "json/Variant.h"

#include <cstddef>
#include <iosfwd>
#include <string>

namespace json {

/// The server end of the remote procedure calls: reads one request from a stream and writes
/// responses to another one, as parts of a push stream (docs/formats.md draws its bytes).
///
/// A concrete server implements `handleParseError(const qx::IntrusiveString&)`, as a rule by
/// forwarding to the `std::string` form, and overrides `handleRequest`:
/// \code
/// class Server : public json::JsonServer {
///     void handleParseError(const qx::IntrusiveString& text) override {
///         json::JsonServer::handleParseError(std::string(text.c_str(), text.length()));
///     }
///     void handleRequest(const json::Request& request) override {
///         sendResponse(json::Response(request.arguments().size(), request.referenceId()));
///     }
/// };
/// \endcode
/// \code
/// Server().connect(&in, &out); // two streams, as std::cin and std::cout
/// \endcode
/// Make a new object for each connection: neither a copy nor a second `connect` begins afresh.
/// Threads: one at a time.
class GATECAST_EXPORT JsonServer : public IJsonParserListener {
public:
    /// Reads and writes nothing yet.
    JsonServer();
    /// Copies the parser, the printer and the stream that was set.
    /// Warning: the copy's parser still reports to `source`, which must outlive it, and shares with
    /// it the text that is being read. What the copy reads is answered by `source`.
    JsonServer(const JsonServer& source);
    JsonServer& operator=(const JsonServer& source) = delete;
    ~JsonServer() override;

    /// Serves one connection: writes the status, reads to the end of the input, then answers the
    /// one request that it held. The input is read in pieces of 256 bytes, and nothing is flushed
    /// or closed. Neither stream may be null; the second one is written to as long as responses are
    /// sent.
    /// Warning: a second call goes on with the parser as it is. After a request that was read whole
    /// an empty input is answered like that request, and a further text is a fault.
    /// Bad input: text that doesn't parse is answered by an error, and what follows the piece in
    /// which the fault lies is read as a new text.
    void connect(std::istream* in, std::ostream* out);

    // The order of the virtual operations is ABI.
    /// A text is complete: takes it as a request.
    void handleParseResult(const Variant& value) override;
    /// A text doesn't parse. A concrete server implements this form; the parser calls no other. As
    /// long as the parser isn't reset, which the `std::string` form does, it reports each further
    /// piece too.
    void handleParseError(const qx::IntrusiveString& text) override = 0;
    /// The default answers with an object whose member "hello" is the whole request.
    virtual void handleRequest(const Request& request);
    /// Writes one part: the printed response, then the first of its binary attachments, if it has
    /// any. Only after `connect` has set the stream. Write errors aren't looked at.
    /// Warning: a part of 65,536 bytes or more is written whole under a size cut to 16 bits.
    virtual void sendResponse(const Response& response);
    /// Writes the text to `std::cerr`, makes the parser ready for a new text, and answers with
    /// error 1, "syntax error: " and the text.
    virtual void handleParseError(const std::string& message);

protected:
    /// Writes the status that begins the stream.
    void print_http_header();
    /// Writes the boundary that begins a part.
    void print_mime_delimiter();
    /// Writes one block: its header, `length + 1` bytes of the text, its terminator included, and
    /// the attachment unless that is null.
    void print_app12_block(const char* data, std::size_t length, const char* attachment,
                           std::size_t attachmentLength);

    /// Reads the request.
    JsonParser parser;
    JsonPrinter printer;         ///< in memory, indented by a tab
    std::ostream* out = nullptr; ///< not owned; set by `connect`
};

} // namespace json
