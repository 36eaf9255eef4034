// SPDX-License-Identifier: MIT
#include "station/Panel.h"

#include "shared/UtcTime.h"
#include "json/JsonParser.h"
#include "json/Variant.h"

#include <algorithm>

namespace station {

namespace {

constexpr std::int64_t kMailBoxes[] = {1, 2, 3};

/// The JSON text of a value, whatever bytes its strings are.
std::string text_of(const json::Variant& value) { return asUtf8(std::string(value.charsValue())); }

const char* name_of(Traffic::Kind kind) {
    switch (kind) {
    case Traffic::Connected:
        return "connected";
    case Traffic::Received:
        return "received";
    case Traffic::Sent:
        return "sent";
    case Traffic::Closed:
        return "closed";
    case Traffic::Disconnected:
        return "disconnected";
    }
    return "";
}

json::Variant row_of(const Traffic& entry) {
    json::Variant row;
    row["at_ms"] = static_cast<std::int64_t>(entry.at.count());
    row["session"] = static_cast<std::int64_t>(entry.session);
    row["kind"] = name_of(entry.kind);
    const std::size_t end = std::min(entry.bytes.find('\0'), entry.bytes.size());
    std::string text = entry.bytes.substr(0, std::min(end, Panel::kLongestLogText));
    if (text.size() < end) text += "... (" + std::to_string(end) + " bytes)";
    row["text"] = text;
    row["binary"] =
        static_cast<std::int64_t>(entry.bytes.size() - std::min(end + 1, entry.bytes.size()));
    return row;
}

} // namespace

void Panel::note(const Traffic& entry) {
    log_.push_back(row_of(entry)); // what isn't shown of a long text isn't kept
    if (log_.size() > kLogLength) log_.pop_front();
    ++noted_;
}

std::string Panel::state() const {
    const Station& station = simulation_.station();
    json::Variant state;
    state["door_open"] = station.doorIsOpen();
    state["light_on"] = station.lightIsOn();
    state["ringing"] = station.bellIsRinging();
    state["booting"] = simulation_.isBooting();
    state["clients"] = static_cast<std::int64_t>(simulation_.clients());
    state["bells"] = json::Variant::newList();
    for (const Bell& bell : station.settings().bells) {
        state["bells"] << json::Variant(bell.name);
    }
    state["phones"] = json::Variant::newList();
    for (const KnownPhone& phone : station.knownPhones()) {
        json::Variant row;
        row["token"] = phone.token;
        row["name"] = phone.name;
        row["addressee"] = phone.addressee;
        row["registered"] = phone.registered;
        state["phones"] << row;
    }
    state["messages"] = json::Variant::newList();
    for (const std::int64_t mailBox : kMailBoxes) {
        for (const Message& message : *station.mailBoxes().messagesOf(mailBox)) {
            json::Variant row;
            row["mail_box"] = mailBox;
            row["number"] = message.sequence;
            row["time"] = shared::utcTime(message.view.time);
            row["camera"] = message.view.camera;
            row["sender"] = message.sender;
            row["seconds"] = static_cast<double>(message.tenthsOfSeconds) / 10;
            row["seen"] = message.seen;
            state["messages"] << row;
        }
    }
    json::Variant message;
    message["state"] = state;
    return text_of(message);
}

std::string Panel::trafficSince(std::uint64_t seen) const {
    json::Variant message;
    message["traffic"] = json::Variant::newList();
    const std::uint64_t gone = noted_ - log_.size();
    for (std::uint64_t number = std::max(seen, gone); number < noted_; ++number) {
        message["traffic"] << log_[static_cast<std::size_t>(number - gone)];
    }
    return text_of(message);
}

std::string Panel::obey(std::string_view text) {
    json::JsonParser parser;
    const bool good = parser.parse(text.data(), static_cast<int>(text.size()));
    const json::Variant message = parser.parseComplete();
    json::Variant answer;
    if (!good || !message["do"].isString()) {
        answer["error"] = "this is no command";
        return text_of(answer);
    }
    const std::string fault = simulation_.command(message["do"].charsValue());
    if (fault.empty()) return {};
    answer["error"] = fault;
    return text_of(answer);
}

bool isOwnHost(std::string_view host, unsigned short port) {
    for (const std::string name : {"127.0.0.1", "localhost"}) {
        if (host == name + ":" + std::to_string(port)) return true;
        if (port == 80 && host == name) return true;
    }
    return false;
}

bool isOwnOrigin(std::string_view origin, unsigned short port) {
    constexpr std::string_view kScheme = "http://";
    if (origin.empty()) return true;
    return origin.substr(0, kScheme.size()) == kScheme &&
           isOwnHost(origin.substr(kScheme.size()), port);
}

} // namespace station
