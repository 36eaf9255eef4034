// SPDX-License-Identifier: MIT
#include "station/Traffic.h"

#include "json/JsonParser.h"
#include "json/Variant.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <istream>
#include <optional>
#include <stdexcept>

namespace station {

namespace {

constexpr std::array<const char*, 5> kKinds = {"connected", "received", "sent", "closed",
                                               "disconnected"};
constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::int64_t kLongestTime = 1000000000000; // milliseconds

std::string base64_of(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(bytes.size() - i, 3);
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            bits = bits << 8 | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= count ? kDigits[bits >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

/// None when the text isn't base64.
std::optional<std::string> from_base64(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        const bool last = i + 4 == text.size();
        const std::size_t pads = !last ? 0 : text[i + 3] != '=' ? 0 : text[i + 2] != '=' ? 1 : 2;
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const std::size_t digit = k < 4 - pads ? kDigits.find(text[i + k]) : 0;
            if (digit == std::string_view::npos) return std::nullopt;
            bits = bits << 6 | static_cast<std::uint32_t>(digit);
        }
        for (std::size_t k = 0; k < 3 - pads; ++k) {
            bytes += static_cast<char>(bits >> (16 - 8 * k) & 255);
        }
    }
    return bytes;
}

/// Bytes of the character at the beginning of the text, 0 when it isn't one.
std::size_t length_of_character(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    const std::size_t length = lead < 0x80                    ? 1
                               : lead >= 0xC2 && lead < 0xE0  ? 2
                               : lead >= 0xE0 && lead < 0xF0  ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    // Forms that are too long, surrogates, and what lies above the last character.
    if (lead == 0xE0 && byte(1) < 0xA0) return 0;
    if (lead == 0xED && byte(1) >= 0xA0) return 0;
    if (lead == 0xF0 && byte(1) < 0x90) return 0;
    if (lead == 0xF4 && byte(1) >= 0x90) return 0;
    return length;
}

/// The text can be the value of a JSON string as it stands.
bool is_plain(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) return false;
    while (!text.empty()) {
        const std::size_t length = length_of_character(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

void add_text(json::Variant& line, std::string_view text) {
    if (is_plain(text)) {
        line["text"] = text;
    } else {
        line["text_base64"] = base64_of(text);
    }
}

/// The bytes under a key that is in base64; throws a text for a person.
std::string bytes_under(const json::Variant& line, const char* key) {
    const std::optional<std::string> bytes = from_base64(line[key].charsValue());
    if (!bytes) throw std::runtime_error(std::string("\"") + key + "\" isn't base64");
    return *bytes;
}

Traffic entry_of(const json::Variant& line) {
    if (!line.isObject()) throw std::runtime_error("isn't a JSON object");
    Traffic entry;
    if (!line["at_ms"].isInteger() || line["at_ms"].integerValue() < 0 ||
        line["at_ms"].integerValue() > kLongestTime) {
        throw std::runtime_error("\"at_ms\" is no time");
    }
    entry.at = std::chrono::milliseconds(line["at_ms"].integerValue());
    if (!line["session"].isInteger() || line["session"].integerValue() < 1) {
        throw std::runtime_error("\"session\" isn't a number from 1 on");
    }
    entry.session = static_cast<SessionId>(line["session"].integerValue());
    const auto kind = std::find_if(kKinds.begin(), kKinds.end(),
                                   [&](const char* name) { return line["kind"] == name; });
    if (kind == kKinds.end()) throw std::runtime_error("\"kind\" is unknown");
    entry.kind = static_cast<Traffic::Kind>(kind - kKinds.begin());
    if (entry.kind != Traffic::Received && entry.kind != Traffic::Sent) return entry;
    if (line.contains("text_base64")) {
        entry.bytes = bytes_under(line, "text_base64");
    } else if (line["text"].isString()) {
        const qx::IntrusiveString& text = line["text"].stringValue();
        entry.bytes.assign(text.c_str(), text.length());
    } else {
        throw std::runtime_error("there is no \"text\"");
    }
    if (entry.kind == Traffic::Sent && (!line.contains("end") || line["end"].booleanValue())) {
        entry.bytes += '\0';
        if (line.contains("binary")) entry.bytes += bytes_under(line, "binary");
    }
    return entry;
}

} // namespace

std::string lineOf(const Traffic& entry) {
    json::Variant line;
    line["at_ms"] = static_cast<std::int64_t>(entry.at.count());
    line["session"] = static_cast<std::int64_t>(entry.session);
    line["kind"] = kKinds[entry.kind];
    const std::string_view bytes = entry.bytes;
    const std::size_t end = bytes.find('\0');
    if (entry.kind == Traffic::Received) {
        add_text(line, bytes);
    } else if (entry.kind == Traffic::Sent) {
        add_text(line, bytes.substr(0, end));
        if (end == std::string_view::npos) {
            line["end"] = false;
        } else if (end + 1 < bytes.size()) {
            line["binary"] = base64_of(bytes.substr(end + 1));
        }
    }
    return line.charsValue();
}

Recording readRecording(std::istream& in) {
    Recording recording;
    std::string line;
    for (std::size_t number = 1; std::getline(in, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        try {
            Traffic entry = entry_of(json::JsonParser::parseTree(line));
            if (!recording.empty() && entry.at < recording.back().at) {
                throw std::runtime_error("its time is before that of the line above");
            }
            recording.push_back(std::move(entry));
        } catch (const std::runtime_error& error) {
            throw std::runtime_error("line " + std::to_string(number) + ": " + error.what());
        }
    }
    return recording;
}

std::string asUtf8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t length = length_of_character(bytes);
        text += length == 0 ? "\xEF\xBF\xBD" : bytes.substr(0, length);
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

} // namespace station
