// SPDX-License-Identifier: MIT
#include "rpc/JsonServer.h"

#include "rpc/detail/Attachments.h"

#include <iostream>

namespace json {

// A part of the push stream; the sizes are in bytes, the block's in network order:
//
//   25 boundary | 2 FF EC | 2 size of what follows, low 16 bits | text | 1 zero | attachment
//
// The stream begins with the status. No line end and no header field goes out: readers find parts
// by the boundary and the marker.

namespace {

constexpr int kInputBytes = 256;
constexpr char kStatus[] = "HTTP/1.0 200 OK";
constexpr char kBoundary[] = "--QUIBREX_Fast_Serverpush";
constexpr char kApp12Marker[] = "\xFF\xEC";
static_assert(sizeof kStatus - 1 == 15 && sizeof kBoundary - 1 == 25 &&
                  sizeof kApp12Marker - 1 == 2,
              "the sizes that readers of the stream rely on");

void write(std::ostream& out, const char* bytes, std::size_t length) {
    out.write(bytes, static_cast<std::streamsize>(length));
}

} // namespace

JsonServer::JsonServer() { parser.registerListener(static_cast<IJsonParserListener*>(this)); }

// Intended: the parser's listener stays the server that was copied.
// Held by JsonServer.CopiesReportToTheServerThatWasCopied.
JsonServer::JsonServer(const JsonServer& source) = default;

JsonServer::~JsonServer() = default;

// Intended: nothing resets the parser, so that a second connection goes on with the text before.
// Held by JsonServer.ASecondConnectionGoesOnWithTheParserAsItIs.
void JsonServer::connect(std::istream* in, std::ostream* stream) {
    out = stream;
    print_http_header();
    char bytes[kInputBytes];
    while (in->good()) {
        in->read(bytes, kInputBytes);
        const auto count = static_cast<int>(in->gcount());
        if (count > 0) static_cast<void>(parser.parse(bytes, count));
    }
    static_cast<void>(parser.parseComplete());
}

void JsonServer::handleParseResult(const Variant& value) { handleRequest(Request(value)); }

void JsonServer::handleRequest(const Request& request) {
    Variant result = Variant::newObject();
    result["hello"] = request;
    sendResponse(Response(result, request.referenceId()));
}

void JsonServer::sendResponse(const Response& response) {
    printer.reset();
    printer.print(response);
    std::size_t length = 0;
    const char* text = printer.stringBuffer(&length);
    print_mime_delimiter();
    // Intended: only the first attachment goes out raw, and the text holds them all as well.
    // Held by JsonServer.SendsOnlyTheFirstAttachmentRaw.
    const List& attachments = detail::binary_attachment_list(response.objectValue());
    if (attachments.empty()) {
        print_app12_block(text, length, nullptr, 0);
    } else {
        const qx::IntrusiveString& attachment = attachments.front().stringValue();
        print_app12_block(text, length, attachment.c_str(), attachment.length());
    }
}

// Intended: it overrides nothing, so that a fault gets here only if a concrete server forwards it.
// Held by JsonServer.ReportsAFaultForEachPieceUntilItIsForwarded.
void JsonServer::handleParseError(const std::string& message) {
    std::cerr << message << "\n\n";
    parser.reset();
    sendResponse(Response(1, qx::IntrusiveString("syntax error: " + message), 0));
}

// Intended: neither a line end nor a header field follows.
// Held by JsonServer.WritesTheStatusAndTheBoundaryWithNothingBehindThem.
void JsonServer::print_http_header() { write(*out, kStatus, sizeof kStatus - 1); }

void JsonServer::print_mime_delimiter() { write(*out, kBoundary, sizeof kBoundary - 1); }

void JsonServer::print_app12_block(const char* data, std::size_t length, const char* attachment,
                                   std::size_t attachmentLength) {
    const std::size_t payload = length + attachmentLength + 1;
    // Intended: the size is cut to its low 16 bits.
    // Held by JsonServer.CutsTheSizeOfAPartTo16Bits.
    const char size[] = {static_cast<char>((payload >> 8) & 0xFF),
                         static_cast<char>(payload & 0xFF)};
    write(*out, kApp12Marker, sizeof kApp12Marker - 1);
    write(*out, size, sizeof size);
    write(*out, data, length + 1);
    if (attachment != nullptr) write(*out, attachment, attachmentLength);
}

} // namespace json
