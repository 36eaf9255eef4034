// SPDX-License-Identifier: MIT
#include "rpc/JsonServer.h"

#include "support/CommaLocale.h"

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

/// The sizes at which the two bytes of the size change, and what they become.
struct PartSize {
    std::size_t payload;
    std::string bytes;
};
const PartSize kPartSizes[] = {{255, std::string("\x00\xFF", 2)},
                               {256, std::string("\x01\x00", 2)},
                               {65535, std::string("\xFF\xFF", 2)},
                               {65536, std::string("\x00\x00", 2)},
                               {65537, std::string("\x00\x01", 2)}};

/// The stream of one part, from what the format says of its bytes.
std::string stream_of(const PartSize& size, const std::string& text,
                      const std::string& attachment) {
    return "HTTP/1.0 200 OK--QUIBREX_Fast_Serverpush\xFF\xEC" + size.bytes + text + '\0' +
           attachment;
}

// One would expect a part of 65,536 bytes or more to be refused.
TEST(JsonServer, CutsTheSizeOfAPartTo16Bits) {
    for (const PartSize& row : kPartSizes) {
        const std::string before = "{\n\t\"result\": \"";
        const std::string behind = "\"\n}\n";
        const std::string filling(row.payload - 1 - before.size() - behind.size(), 'x');
        FixedServer server(Response(Variant(filling), 0));
        const std::string text = before + filling + behind;
        EXPECT_TRUE(stream_of(row, text, "") == serve(server, "{}")) << row.payload;
    }
}

TEST(JsonServer, CutsTheSizeOfAPartWithAnAttachmentTo16Bits) {
    const std::string attachment("\0\x01--\xFF", 5);
    for (const PartSize& row : kPartSizes) {
        const std::string before = "{\n\t\"binary-attachment-list\": [\n\t\t\"\\u0000\\u0001--\xFF"
                                   "\"\n\t],\n\t\"result\": \"";
        const std::string behind = "\"\n}\n";
        const std::size_t rest = before.size() + behind.size() + 1 + attachment.size();
        const std::string filling(row.payload - rest, 'x');
        Response response(Variant(filling), 0);
        response["binary-attachment-list"] << attachment;
        FixedServer server(response);
        const std::string text = before + filling + behind;
        EXPECT_TRUE(stream_of(row, text, attachment) == serve(server, "{}")) << row.payload;
    }
}

TEST(JsonServer, CountsAnAttachmentInTheSizeOfItsPart) {
    const std::string text(10, 't');
    for (const PartSize& row : kPartSizes) {
        const std::string attachment(row.payload - text.size() - 1, '\0');
        EchoServer server;
        std::ostringstream out;
        server.out = &out;
        server.print_app12_block(text.c_str(), text.size(), attachment.data(), attachment.size());
        const std::string block = "\xFF\xEC" + row.bytes + text + '\0' + attachment;
        EXPECT_TRUE(block == out.str()) << row.payload;
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

TEST(JsonServer, TakesAnAttachmentOfAnyTypeAsAString) {
    const struct {
        Variant attachment;
        std::string printed;
        std::string raw;
    } rows[] = {{5, "5", "5"}, {Variant(), "null", ""}, {"", "\"\"", ""}, {true, "true", "true"}};
    for (const auto& row : rows) {
        Response response(true, 3);
        response["binary-attachment-list"] << row.attachment;
        FixedServer server(response);
        const std::string text = "{\n\t\"binary-attachment-list\": [\n\t\t" + row.printed +
                                 "\n\t],\n\t\"id\": 3,\n\t\"result\": true\n}\n";
        EXPECT_EQ(kStatus + part(text, row.raw), serve(server, "{}")) << row.printed;
    }
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

TEST(JsonServer, ReadsTheInputBehindTheFaultyPieceAsANewText) {
    const ErrorStream errors;
    EchoServer server;
    std::string input = "{\"method\":oops}";
    input.resize(256, ' '); // the piece in which the fault lies
    const std::string stream = serve(server, input + "{\"method\":\"x\",\"id\":7}");
    EXPECT_EQ(1u, server.faults.size());
    const std::string answer =
        part("{\n\t\"id\": 7,\n\t\"result\": {\n\t\t\"hello\": {\n\t\t\t\"id\": 7,\n"
             "\t\t\t\"method\": \"x\"\n\t\t}\n\t}\n}\n");
    ASSERT_LT(answer.size(), stream.size());
    EXPECT_EQ(answer, stream.substr(stream.size() - answer.size()));
}

TEST(JsonServer, ReportsAFaultForEachPieceUntilItIsForwarded) {
    struct SilentServer : json::JsonServer {
        void handleParseError(const qx::IntrusiveString&) override { ++faults; }
        int faults = 0;
    };
    SilentServer server;
    EXPECT_EQ(kStatus, serve(server, "oops" + std::string(600, ' '))); // pieces of 256 bytes
    EXPECT_EQ(4, server.faults);                                       // three of them, and the end
}

TEST(JsonServer, TakesASecondTextAsTrailingData) {
    const ErrorStream errors;
    EchoServer server;
    serve(server, "{\"method\":\"x\"} {\"method\":\"y\"}");
    ASSERT_FALSE(server.faults.empty());
    EXPECT_EQ(0u, server.faults[0].find("parse error: trailing garbage"));
}

// One would expect each connection to begin with a new text.
TEST(JsonServer, ASecondConnectionGoesOnWithTheParserAsItIs) {
    const ErrorStream errors;
    EchoServer server;
    const std::string answer = serve(server, "{\"method\":\"x\",\"id\":1}");
    EXPECT_EQ(answer, serve(server, "")); // the text before is still complete
    EXPECT_TRUE(server.faults.empty());
    serve(server, "{\"method\":\"y\",\"id\":2}");
    ASSERT_EQ(2u, server.faults.size());
    EXPECT_EQ(0u, server.faults[0].find("parse error: trailing garbage"));
    EXPECT_EQ("", server.faults[1]);
    EXPECT_EQ(answer, serve(server, "{\"method\":\"x\",\"id\":1}")); // the fault was the end of it
}

TEST(JsonServer, WritesTheSameBytesInEveryLocale) {
    const CommaLocale comma;
    ASSERT_TRUE(CommaLocale::active());
    FixedServer server(Response(Variant(1234567.5), 12345));
    EXPECT_EQ(kStatus + part("{\n\t\"id\": 12345,\n\t\"result\": 1234567.5\n}\n"),
              serve(server, "{\"params\":[2.5]}"));
    EchoServer echo;
    EXPECT_NE(std::string::npos, serve(echo, "{\"params\":[2.5]}").find("2.5\n"));
}

TEST(JsonServer, LooksAtNoFaultOfTheStreamThatItWrites) {
    std::istringstream in("{\"method\":\"x\"}");
    std::ostream nowhere(nullptr);
    EchoServer server;
    server.connect(&in, &nowhere);
    EXPECT_TRUE(nowhere.bad());
    EXPECT_TRUE(in.eof());
    EXPECT_TRUE(server.faults.empty());
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
