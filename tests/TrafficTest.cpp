// SPDX-License-Identifier: MIT
#include "station/Traffic.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using station::Recording;
using station::Traffic;

Recording read(const std::string& text) {
    std::istringstream in(text);
    return station::readRecording(in);
}

std::string fault_of(const std::string& text) {
    try {
        read(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "none";
}

Traffic entry(Traffic::Kind kind, const std::string& bytes = {}) {
    return {std::chrono::milliseconds(1250), 3, kind, bytes};
}

} // namespace

TEST(Traffic, IsALineOfJson) {
    const std::string zero(1, '\0');
    const std::vector<std::pair<Traffic, std::string>> rows = {
        {entry(Traffic::Connected), R"({"at_ms":1250,"session":3,"kind":"connected"})"},
        {entry(Traffic::Received, "{\"id\": 1}\n"),
         R"({"at_ms":1250,"session":3,"kind":"received","text":"{\"id\": 1}\n"})"},
        {entry(Traffic::Received, "\xFF"),
         R"({"at_ms":1250,"session":3,"kind":"received","text_base64":"/w=="})"},
        {entry(Traffic::Received, "a" + zero),
         R"({"at_ms":1250,"session":3,"kind":"received","text_base64":"YQA="})"},
        {entry(Traffic::Sent, "[1]" + zero),
         R"({"at_ms":1250,"session":3,"kind":"sent","text":"[1]"})"},
        {entry(Traffic::Sent, "[1]" + zero + "\xFF\xD8\xFF"),
         R"({"at_ms":1250,"session":3,"kind":"sent","text":"[1]","binary":"/9j/"})"},
        {entry(Traffic::Sent, "[1"),
         R"({"at_ms":1250,"session":3,"kind":"sent","text":"[1","end":false})"},
        {entry(Traffic::Closed), R"({"at_ms":1250,"session":3,"kind":"closed"})"},
        {entry(Traffic::Disconnected), R"({"at_ms":1250,"session":3,"kind":"disconnected"})"},
    };
    for (const auto& [traffic, line] : rows) {
        EXPECT_EQ(line, station::lineOf(traffic));
        const Recording back = read(line + "\n");
        ASSERT_EQ(1u, back.size()) << line;
        EXPECT_EQ(1250, back[0].at.count());
        EXPECT_EQ(3u, back[0].session);
        EXPECT_EQ(traffic.kind, back[0].kind);
        EXPECT_EQ(traffic.bytes, back[0].bytes);
    }
}

TEST(Traffic, KeepsEveryByteThroughARecording) {
    std::string all;
    for (int i = 0; i < 256; ++i) {
        all += static_cast<char>(i);
    }
    for (std::size_t length = 0; length <= all.size(); ++length) {
        const std::string bytes = all.substr(256 - length);
        for (const Traffic::Kind kind : {Traffic::Received, Traffic::Sent}) {
            EXPECT_EQ(bytes, read(station::lineOf(entry(kind, bytes))).at(0).bytes) << length;
        }
    }
}

TEST(Traffic, SaysWhichLineOfARecordingIsWrongAndWhy) {
    const std::string good = R"({"at_ms":5,"session":1,"kind":"connected"})";
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"\n \r\n" + good + "\n", "none"},
        {"nonsense", "line 1: isn't a JSON object"},
        {"[]", "line 1: isn't a JSON object"},
        {good + "\n{}", "line 2: \"at_ms\" is no time"},
        {R"({"at_ms":-1,"session":1,"kind":"sent"})", "line 1: \"at_ms\" is no time"},
        {R"({"at_ms":1000000000001,"session":1})", "line 1: \"at_ms\" is no time"},
        {R"({"at_ms":1,"session":0})", "line 1: \"session\" isn't a number from 1 on"},
        {R"({"at_ms":1,"session":1,"kind":"sold"})", "line 1: \"kind\" is unknown"},
        {R"({"at_ms":1,"session":1,"kind":"sent"})", "line 1: there is no \"text\""},
        {R"({"at_ms":1,"session":1,"kind":"received","text_base64":"x"})",
         "line 1: \"text_base64\" isn't base64"},
        {R"({"at_ms":1,"session":1,"kind":"sent","text":"","binary":"a=b="})",
         "line 1: \"binary\" isn't base64"},
        {good + "\n" + R"({"at_ms":4,"session":1,"kind":"disconnected"})",
         "line 2: its time is before that of the line above"},
    };
    for (const auto& [text, fault] : rows) {
        EXPECT_EQ(fault, fault_of(text)) << text;
    }
}

TEST(Traffic, MakesAnyBytesUtf8) {
    const std::string bad = "\xEF\xBF\xBD";
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", ""},
        {"plain \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x9A\xAA",
         "plain \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x9A\xAA"},
        {"\x80", bad},                               // a continuation byte alone
        {"\xC3", bad},                               // a character that is cut off
        {"\xC0\xAF", bad + bad},                     // a form that is too long
        {"\xE0\x80\xAF", bad + bad + bad},           // another one
        {"\xED\xA0\x80", bad + bad + bad},           // a surrogate
        {"\xF4\x90\x80\x80", bad + bad + bad + bad}, // above the last character
        {"a\xFF\x62", "a" + bad + "b"},
    };
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(text, station::asUtf8(bytes));
    }
}
