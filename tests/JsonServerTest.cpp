// SPDX-License-Identifier: MIT
#include "rpc/JsonServer.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using json::Request;
using json::Response;
using json::Variant;

static_assert(std::is_abstract_v<json::JsonServer>, "a server says what becomes of a fault");

const std::string kStatus = "HTTP/1.0 200 OK";
const std::string kBoundary = "--QUIBREX_Fast_Serverpush";

/// Forwards faults, as concrete servers do, and shows what subclasses see.
class EchoServer : public json::JsonServer {
public:
    std::vector<std::string> faults;

    void handleParseError(const qx::IntrusiveString& text) override {
        faults.emplace_back(text.c_str());
        json::JsonServer::handleParseError(faults.back());
    }
    using json::JsonServer::handleParseError;
    using json::JsonServer::out;
    using json::JsonServer::parser;
    using json::JsonServer::print_app12_block;
};

/// Answers every request with the response that it was given.
class FixedServer : public EchoServer {
public:
    explicit FixedServer(Response response) : response_(std::move(response)) {}
    void handleRequest(const Request&) override { sendResponse(response_); }

private:
    Response response_;
};

/// Keeps what goes to the error stream while it lives.
class ErrorStream {
public:
    ErrorStream() : before_(std::cerr.rdbuf(text_.rdbuf())) {}
    ~ErrorStream() { std::cerr.rdbuf(before_); }
    std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
    std::streambuf* before_;
};

std::string serve(json::JsonServer& server, const std::string& input) {
    std::istringstream in(input);
    std::ostringstream out;
    server.connect(&in, &out);
    return out.str();
}

std::string block_header(std::size_t payload) {
    return std::string("\xFF\xEC") + static_cast<char>((payload >> 8) & 0xFF) +
           static_cast<char>(payload & 0xFF);
}

std::string part(const std::string& text, const std::string& attachment = std::string()) {
    return kBoundary + block_header(text.size() + 1 + attachment.size()) + text + '\0' + attachment;
}

Response with_attachments(const std::vector<std::string>& attachments) {
    Response response(true, 3);
    response["binary-attachment-list"] = Variant::newList();
    for (const std::string& attachment : attachments) {
        response["binary-attachment-list"] << attachment;
    }
    return response;
}

/// The error response to a text that ended too early.
const char* const kEmptyFault =
    "{\n\t\"error\": [\n\t\t1,\n\t\t\"syntax error: \"\n\t],\n\t\"result\": null\n}\n";

TEST(JsonServer, AnswersEmptyInputWithTheStatusAndAFault) {
    const ErrorStream errors;
    EchoServer server;
    EXPECT_EQ(kStatus + part(kEmptyFault), serve(server, ""));
    EXPECT_EQ(std::vector<std::string>{""}, server.faults);
    EXPECT_EQ("\n\n", errors.text());
}

TEST(JsonServer, GreetsWithTheWholeRequestByDefault) {
    EchoServer server;
    const std::string text =
        "{\n\t\"id\": 5,\n\t\"result\": {\n\t\t\"hello\": {\n\t\t\t\"id\": 5,\n"
        "\t\t\t\"method\": \"x\",\n\t\t\t\"params\": [\n\n\t\t\t]\n"
        "\t\t}\n\t}\n}\n";
    EXPECT_EQ(kStatus + part(text), serve(server, "{\"method\":\"x\",\"params\":[],\"id\":5}"));
}

TEST(JsonServer, AnswersARequestWithoutAnIdWithoutOne) {
    EchoServer server;
    const std::string stream = serve(server, "{\"method\":\"x\"}");
    EXPECT_EQ(std::string::npos, stream.find("\"id\""));
    EXPECT_NE(std::string::npos, stream.find("\"hello\""));
}

TEST(JsonServer, AnswersOnlyWhenTheInputHasEnded) {
    struct Gate : std::stringbuf {
        explicit Gate(const std::string& text, std::ostringstream& answers)
            : std::stringbuf(text, std::ios::in), seen(answers) {}
        int underflow() override {
            atEnd = seen.str();
            return std::stringbuf::underflow();
        }
        std::ostringstream& seen;
        std::string atEnd;
    };
    std::ostringstream out;
    Gate gate("{\"method\":\"x\"}", out);
    std::istream in(&gate);
    EchoServer server;
    server.connect(&in, &out);
    EXPECT_EQ(kStatus, gate.atEnd);
    EXPECT_LT(kStatus.size(), out.str().size());
}

TEST(JsonServer, ReadsARequestLongerThanOnePieceOfItsInput) {
    const std::string method(1000, 'm');
    EchoServer server;
    const std::string stream = serve(server, "{\"method\":\"" + method + "\"}");
    EXPECT_NE(std::string::npos, stream.find(method));
    EXPECT_TRUE(server.faults.empty());
}

TEST(JsonServer, WritesTheStatusAndTheBoundaryWithNothingBehindThem) {
    FixedServer server(Response(true, 1));
    const std::string text = "{\n\t\"id\": 1,\n\t\"result\": true\n}\n";
    const std::string stream = serve(server, "{}");
    EXPECT_EQ(kStatus + kBoundary, stream.substr(0, 40));
    EXPECT_EQ("\xFF\xEC", stream.substr(40, 2));
    EXPECT_EQ(44 + text.size() + 1, stream.size());
}

TEST(JsonServer, WritesTheSizeOfAPartInNetworkOrder) {
    for (const std::size_t payload : {255u, 256u, 65535u}) {
        const std::size_t frame = std::string("{\n\t\"result\": \"\"\n}\n").size() + 1;
        FixedServer server(Response(Variant(std::string(payload - frame, 'x')), 0));
        const std::string stream = serve(server, "{}");
        EXPECT_EQ(block_header(payload), stream.substr(40, 4)) << payload;
        EXPECT_EQ(44 + payload, stream.size()) << payload;
    }
}

TEST(JsonServer, CutsTheSizeOfAPartTo16Bits) {
    const std::size_t frame = std::string("{\n\t\"result\": \"\"\n}\n").size() + 1;
    for (const std::size_t payload : {65536u, 65537u}) {
        FixedServer server(Response(Variant(std::string(payload - frame, 'x')), 0));
        const std::string stream = serve(server, "{}");
        const char low = static_cast<char>(payload - 65536);
        EXPECT_EQ(std::string("\xFF\xEC") + '\0' + low, stream.substr(40, 4)) << payload;
        EXPECT_EQ(44 + payload, stream.size()) << payload;
    }
}

TEST(JsonServer, CountsAnAttachmentInTheSizeOfItsPart) {
    const std::string text(10, 't');
    for (const std::size_t payload : {255u, 256u, 65535u, 65536u, 65537u}) {
        const std::string attachment(payload - text.size() - 1, '\0');
        EchoServer server;
        std::ostringstream out;
        server.out = &out;
        server.print_app12_block(text.c_str(), text.size(), attachment.data(), attachment.size());
        EXPECT_EQ(block_header(payload) + text + '\0' + attachment, out.str()) << payload;
    }
}

TEST(JsonServer, WritesABlockWithoutAnAttachmentForANullOne) {
    EchoServer server;
    std::ostringstream out;
    server.out = &out;
    server.print_app12_block("text", 4, nullptr, 0);
    EXPECT_EQ(block_header(5) + "text" + '\0', out.str());
}

TEST(JsonServer, SendsOnlyTheFirstAttachmentRaw) {
    const std::string first("a\0b", 3);
    FixedServer server(with_attachments({first, "second"}));
    const std::string text = "{\n\t\"binary-attachment-list\": [\n\t\t\"a\\u0000b\",\n"
                             "\t\t\"second\"\n\t],\n\t\"id\": 3,\n\t\"result\": true\n}\n";
    EXPECT_EQ(kStatus + part(text, first), serve(server, "{}"));
}

TEST(JsonServer, SendsAnEmptyListOfAttachmentsWithoutOne) {
    FixedServer server(with_attachments({}));
    const std::string text = "{\n\t\"binary-attachment-list\": [\n\n\t],\n\t\"id\": 3,\n"
                             "\t\"result\": true\n}\n";
    EXPECT_EQ(kStatus + part(text), serve(server, "{}"));
}

TEST(JsonServer, PutsPartsBehindEachOtherWithNothingInBetween) {
    struct TwoParts : EchoServer {
        void handleRequest(const Request&) override {
            sendResponse(Response(1, 1));
            sendResponse(Response(2, 2));
        }
    };
    TwoParts server;
    EXPECT_EQ(kStatus + part("{\n\t\"id\": 1,\n\t\"result\": 1\n}\n") +
                  part("{\n\t\"id\": 2,\n\t\"result\": 2\n}\n"),
              serve(server, "{}"));
}

TEST(JsonServer, AnswersASyntaxFaultWithItsTextAndReadsOn) {
    const ErrorStream errors;
    EchoServer server;
    const std::string stream = serve(server, "{\"method\":oops}");
    ASSERT_EQ(2u, server.faults.size()); // the second: nothing followed that could be a text
    EXPECT_EQ(0u, server.faults[0].find("lexical error"));
    EXPECT_EQ("", server.faults[1]);
    EXPECT_EQ(server.faults[0] + "\n\n\n\n", errors.text());
    const Variant first =
        json::JsonParser::parseTree(stream.substr(44, stream.find('\0', 44) - 44));
    EXPECT_EQ(1, first["error"][0].integerValue());
    EXPECT_EQ("syntax error: " + server.faults[0], std::string(first["error"][1].charsValue()));
    EXPECT_FALSE(first.contains("id"));
}

TEST(JsonServer, TakesASecondTextAsTrailingData) {
    const ErrorStream errors;
    EchoServer server;
    serve(server, "{\"method\":\"x\"} {\"method\":\"y\"}");
    ASSERT_FALSE(server.faults.empty());
    EXPECT_EQ(0u, server.faults[0].find("parse error: trailing garbage"));
}

TEST(JsonServer, StopsAtAStreamThatFails) {
    const ErrorStream errors;
    std::istringstream in("{\"method\":\"x\"}");
    in.setstate(std::ios::failbit);
    std::ostringstream out;
    EchoServer server;
    server.connect(&in, &out);
    EXPECT_EQ(1u, server.faults.size());
}

TEST(JsonServer, CopiesReportToTheServerThatWasCopied) {
    const ErrorStream errors;
    EchoServer source;
    std::ostringstream sourceOut;
    source.out = &sourceOut;
    EchoServer copy(source);
    EXPECT_EQ(&sourceOut, copy.out);
    copy.parser.reset();
    copy.parser.parse("{oops");
    EXPECT_EQ(1u, source.faults.size());
    EXPECT_TRUE(copy.faults.empty());
}

} // namespace
