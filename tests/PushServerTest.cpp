// SPDX-License-Identifier: MIT
#include "push_server/PushServer.h"

#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using json::JsonParser;
using json::Variant;

// ----- A reader of push streams, which shares nothing with the server
// -----------------------------

struct Part {
    std::string text;
    std::string attachment;
};

/// The parts of a push stream. It looks for the boundary and the marker behind it, since the size
/// is that of the part only up to 65,535 bytes; it tells a boundary inside an attachment from the
/// next part. `fault` says what is wrong with the stream.
class StreamReader {
public:
    explicit StreamReader(const std::string& stream) : stream_(stream) {
        if (stream_.compare(0, kStatus.size(), kStatus) != 0) {
            fault = "no status";
            return;
        }
        for (std::size_t at = kStatus.size(); at < stream_.size() && fault.empty();) {
            at = readPart(at);
        }
    }

    std::vector<Part> parts;
    std::string fault;

private:
    std::size_t readPart(std::size_t at) {
        const std::size_t begin = at + kMark.size() + 2;
        if (stream_.compare(at, kMark.size(), kMark) != 0 || begin > stream_.size()) {
            fault = "no part at byte " + std::to_string(at);
            return at;
        }
        const std::size_t size = 256u * byte(begin - 2) + byte(begin - 1);
        std::size_t end = begin;
        do {
            end = std::min(stream_.find(kMark, end + 1), stream_.size());
        } while (end < stream_.size() && (end - begin) % 65536 != size);
        const std::string payload = stream_.substr(begin, end - begin);
        const std::size_t zero = payload.find('\0');
        if (payload.size() % 65536 != size || zero == std::string::npos) {
            fault = "a part that is cut off at byte " + std::to_string(at);
            return at;
        }
        parts.push_back({payload.substr(0, zero), payload.substr(zero + 1)});
        return end;
    }
    unsigned byte(std::size_t at) const { return static_cast<unsigned char>(stream_[at]); }

    const std::string kStatus = "HTTP/1.0 200 OK";
    const std::string kMark = "--QUIBREX_Fast_Serverpush\xFF\xEC";
    std::string stream_;
};

// ----- The program
// ---------------------------------------------------------------------------------

struct Outcome {
    int status = -1; ///< of the program; -1 when it ended otherwise
    std::string out;
    std::string errors;
};

/// A pipe whose ends close themselves.
struct Pipe {
    Pipe() { EXPECT_EQ(0, ::pipe2(ends.data(), O_CLOEXEC)); }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void closeEnd(std::size_t end) {
        if (ends[end] >= 0) ::close(ends[end]);
        ends[end] = -1;
    }
    std::string content() const {
        std::string text;
        std::array<char, 4096> bytes{};
        for (;;) {
            const ssize_t count = ::read(ends[0], bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return text;
            text.append(bytes.data(), static_cast<std::size_t>(count));
        }
    }
    std::array<int, 2> ends{-1, -1};
};

/// Runs the program with the input, which is written in pieces. Its output goes to a pipe, or to a
/// file of that name.
Outcome run_program(const std::string& input, std::size_t pieceBytes,
                    const char* outFile = nullptr) {
    Pipe in;
    Pipe out;
    Pipe errors;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, in.ends[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, out.ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errors.ends[1], STDERR_FILENO);
    if (outFile != nullptr) {
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outFile, O_WRONLY, 0);
    }
    std::string program = GATECAST_PUSH_SERVER;
    std::array<char*, 2> arguments{program.data(), nullptr};
    pid_t child = 0;
    const int failure =
        ::posix_spawn(&child, program.c_str(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(0, failure) << program;
    if (failure != 0) return Outcome();
    in.closeEnd(0);
    out.closeEnd(1);
    errors.closeEnd(1);
    // It answers nothing before its input has ended, so all of that can be written first.
    for (std::size_t at = 0; at < input.size(); at += pieceBytes) {
        const std::string piece = input.substr(at, pieceBytes);
        EXPECT_EQ(static_cast<ssize_t>(piece.size()),
                  ::write(in.ends[1], piece.data(), piece.size()));
    }
    in.closeEnd(1);
    Outcome outcome;
    outcome.out = out.content();
    outcome.errors = errors.content();
    int status = 0;
    EXPECT_EQ(child, ::waitpid(child, &status, 0));
    if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
    return outcome;
}

/// What a server of its own answers, in this process.
std::vector<Part> parts_of(const std::string& request) {
    std::istringstream in(request);
    std::ostringstream out;
    push_server::PushServer server;
    std::streambuf* const kept = std::cerr.rdbuf(nullptr); // each fault is told there
    server.connect(&in, &out);
    std::cerr.rdbuf(kept);
    const StreamReader reader(out.str());
    EXPECT_EQ("", reader.fault) << request;
    return reader.parts;
}

} // namespace

TEST(PushServer, WritesAStreamThatAnotherReaderTakesApart) {
    const Outcome outcome = run_program("{\"method\":\"picture\",\"params\":[2,1],\"id\":9}", 7);
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.errors);
    const StreamReader reader(outcome.out);
    EXPECT_EQ("", reader.fault);
    ASSERT_EQ(1u, reader.parts.size());
    EXPECT_EQ("{\n\t\"binary-attachment-list\": [\n"
              "\t\t\"P6\\n2 1\\n255\\n\\u0000\\u0000\x80\x7F\\u0000\x80\"\n\t],\n"
              "\t\"id\": 9,\n\t\"result\": \"image/x-portable-pixmap\"\n}\n",
              reader.parts[0].text);
    EXPECT_EQ(std::string("P6\n2 1\n255\n\0\0\x80\x7F\0\x80", 17), reader.parts[0].attachment);
}

TEST(PushServer, PushesSeveralPartsForOneRequest) {
    const Outcome outcome = run_program("{\"method\":\"count\",\"params\":[3],\"id\":4}", 1);
    EXPECT_EQ(0, outcome.status);
    const StreamReader reader(outcome.out);
    EXPECT_EQ("", reader.fault);
    ASSERT_EQ(3u, reader.parts.size());
    EXPECT_EQ("{\n\t\"id\": 4,\n\t\"result\": 1\n}\n", reader.parts[0].text);
    EXPECT_EQ("{\n\t\"id\": 4,\n\t\"result\": 2\n}\n", reader.parts[1].text);
    EXPECT_EQ("{\n\t\"id\": 4,\n\t\"result\": 3\n}\n", reader.parts[2].text);
    for (const Part& part : reader.parts) {
        EXPECT_EQ("", part.attachment);
    }
}

TEST(PushServer, ReadsARequestOfManyPiecesUpToTheEndOfItsInput) {
    const std::string word(20000, 'w');
    const Outcome outcome =
        run_program("{\"method\":\"echo\",\"params\":[\"" + word + "\"]}", 1000);
    EXPECT_EQ(0, outcome.status);
    const StreamReader reader(outcome.out);
    EXPECT_EQ("", reader.fault);
    ASSERT_EQ(1u, reader.parts.size());
    EXPECT_EQ("{\n\t\"result\": [\n\t\t\"" + word + "\"\n\t]\n}\n", reader.parts[0].text);
}

TEST(PushServer, WritesAPartThatIsLargerThanItsSizeSays) {
    const Outcome outcome = run_program("{\"method\":\"picture\",\"params\":[200,200]}", 100);
    EXPECT_EQ(0, outcome.status);
    ASSERT_LT(65536u, outcome.out.size());
    const StreamReader reader(outcome.out);
    EXPECT_EQ("", reader.fault);
    ASSERT_EQ(1u, reader.parts.size());
    EXPECT_EQ(15u + 3 * 200 * 200, reader.parts[0].attachment.size());
    EXPECT_EQ("P6\n200 200\n255\n", reader.parts[0].attachment.substr(0, 15));
    const Variant envelope = JsonParser::parseTree(reader.parts[0].text);
    const qx::IntrusiveString& escaped = envelope["binary-attachment-list"][0].stringValue();
    EXPECT_TRUE(reader.parts[0].attachment == std::string(escaped.c_str(), escaped.length()));
}

TEST(PushServer, EndsCleanlyWithAnErrorForAnInputThatIsNoText) {
    const struct {
        const char* input;
        const char* errors;
    } rows[] = {{"", "\n\n"}, {"{\"method\":", "\n\n"}};
    for (const auto& row : rows) {
        const Outcome outcome = run_program(row.input, 3);
        EXPECT_EQ(0, outcome.status) << row.input;
        EXPECT_EQ(row.errors, outcome.errors) << row.input;
        const StreamReader reader(outcome.out);
        EXPECT_EQ("", reader.fault) << row.input;
        ASSERT_EQ(1u, reader.parts.size()) << row.input;
        EXPECT_EQ(
            "{\n\t\"error\": [\n\t\t1,\n\t\t\"syntax error: \"\n\t],\n\t\"result\": null\n}\n",
            reader.parts[0].text)
            << row.input;
    }
}

TEST(PushServer, SaysWhenItsOutputCannotBeWritten) {
    const Outcome outcome = run_program("{\"method\":\"count\",\"params\":[1]}", 10, "/dev/full");
    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ("error: can't write the stream\n", outcome.errors);
}

TEST(PushServer, RefusesWhatItDoesNotKnow) {
    const struct {
        const char* request;
        int code;
        const char* reason;
    } rows[] = {
        {"{\"method\":\"dance\"}", 3, "there is no method \"dance\""},
        {"[1]", 3, "there is no method \"\""},
        {"{\"method\":\"count\"}", 4, "count wants [n], 0 to 1000"},
        {"{\"method\":\"count\",\"params\":[1001]}", 4, "count wants [n], 0 to 1000"},
        {"{\"method\":\"count\",\"params\":[-1]}", 4, "count wants [n], 0 to 1000"},
        {"{\"method\":\"count\",\"params\":[\"3\"]}", 4, "count wants [n], 0 to 1000"},
        {"{\"method\":\"picture\",\"params\":[1]}", 4,
         "picture wants [width, height], 1 to 200 each"},
        {"{\"method\":\"picture\",\"params\":[0,1]}", 4,
         "picture wants [width, height], 1 to 200 each"},
        {"{\"method\":\"picture\",\"params\":[1,201]}", 4,
         "picture wants [width, height], 1 to 200 each"},
    };
    for (const auto& row : rows) {
        const std::vector<Part> parts = parts_of(row.request);
        ASSERT_EQ(1u, parts.size()) << row.request;
        const Variant answer = JsonParser::parseTree(parts[0].text);
        EXPECT_EQ(row.code, answer["error"][0].integerValue()) << row.request;
        EXPECT_STREQ(row.reason, answer["error"][1].charsValue()) << row.request;
    }
}

TEST(PushServer, AnswersNothingWhenItCountsToZero) {
    EXPECT_TRUE(parts_of("{\"method\":\"count\",\"params\":[0]}").empty());
}

TEST(PushServer, GoesOnBehindTheFaultyPieceOfItsInput) {
    std::string input = "{\"method\":oops}";
    input.resize(256, ' ');
    const std::vector<Part> parts = parts_of(input + "{\"method\":\"count\",\"params\":[1]}");
    ASSERT_EQ(2u, parts.size());
    const Variant fault = JsonParser::parseTree(parts[0].text);
    EXPECT_EQ(1, fault["error"][0].integerValue());
    EXPECT_EQ(0u, std::string(fault["error"][1].charsValue()).find("syntax error: lexical error"));
    EXPECT_EQ("{\n\t\"result\": 1\n}\n", parts[1].text);
}

// The reader is what the other tests trust: it must not be fooled by what an attachment holds.
TEST(PushServer, TheReaderTellsABoundaryInAnAttachmentFromAPart) {
    const std::string mark = "--QUIBREX_Fast_Serverpush\xFF\xEC";
    const std::string first = std::string("{}\0", 3) + mark + "ab";
    const std::string stream = "HTTP/1.0 200 OK" + mark + '\0' + static_cast<char>(first.size()) +
                               first + mark + std::string("\0\3{}\0", 5);
    const StreamReader reader(stream);
    EXPECT_EQ("", reader.fault);
    ASSERT_EQ(2u, reader.parts.size());
    EXPECT_EQ(mark + "ab", reader.parts[0].attachment);
    EXPECT_EQ("{}", reader.parts[1].text);
    EXPECT_NE("", StreamReader(stream.substr(0, stream.size() - 1)).fault);
    EXPECT_NE("", StreamReader("HTTP/1.0 200 OK\r\n").fault);
    EXPECT_NE("", StreamReader("HTTP/1.0 404").fault);
}
