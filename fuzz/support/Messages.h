// SPDX-License-Identifier: MIT
#pragma once

#include "fuzz/support/Choices.h"
#include "fuzz/support/Schemas.h"
#include "fuzz/support/Trees.h"
#include "json/Variant.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

inline constexpr const char* const kMethodNames[] = {"version",
                                                     "register_device",
                                                     "trigger",
                                                     "live",
                                                     "pause",
                                                     "play",
                                                     "preview_message",
                                                     "preview_live",
                                                     "list_methods",
                                                     "list_addressees",
                                                     "mailboxdata",
                                                     "message_delete",
                                                     "list_contact_numbers",
                                                     "quit",
                                                     "",
                                                     "a#b",
                                                     "../x",
                                                     "?",
                                                     "subscription"};

/// One entry of the answer to "list_methods", right for the most part.
inline json::Variant make_method(Choices& choices) {
    static constexpr const char* const types[] = {"integer", "real", "string", "boolean", "any"};
    json::Variant entry = json::Variant::newObject();
    if (choices.chance(95)) entry["method"] = choices.pick(kMethodNames);
    entry["description"] = "what it does";
    entry["result"] = choices.chance(80) ? json::Variant("any") : make_document(choices, 1);
    json::Variant params = json::Variant::newList();
    for (std::size_t count = choices.below(4); count > 0; --count) {
        json::Variant parameter =
            choices.chance(80) ? json::Variant::newObject() : make_document(choices, 2);
        if (choices.chance(80)) parameter["type"] = choices.pick(types);
        if (choices.chance(30)) parameter["min"] = choices.integer();
        if (choices.chance(30)) parameter["max"] = choices.integer();
        if (choices.chance(30)) parameter["list"] << "one" << 2;
        params << parameter;
    }
    entry["params"] = choices.chance(90) ? params : make_value(choices, 2);
    return entry;
}

/// What a device may answer, of the right shape for the most part.
inline json::Variant make_result(Choices& choices) {
    json::Variant result = json::Variant::newList();
    switch (choices.below(9)) {
    case 0:
        return result << "door_open";
    case 1:
        return result << choices.flag();
    case 2:
        result = json::Variant::newObject();
        result["version_major"] = choices.integer();
        result["version_minor"] = choices.integer();
        return result;
    case 3:
        return result << "bell" << choices.flag();
    case 4:
        for (std::size_t rows = choices.below(4); rows > 0; --rows) {
            json::Variant row = json::Variant::newList();
            for (std::size_t texts = choices.below(5); texts > 0; --texts) {
                row << make_value(choices, 1);
            }
            result << row;
        }
        return result;
    case 5:
        for (std::size_t rows = choices.below(4); rows > 0; --rows) {
            json::Variant row = json::Variant::newObject();
            row["contact_number"] = make_value(choices, 1);
            row["name"] = make_value(choices, 1);
            row["rid"] = choices.integer();
            row["timestamp"] = choices.real();
            row["alarmimage"] = choices.flag() ? json::Variant("17.jpg") : make_value(choices, 1);
            row["appl_camera_id"] = choices.bytes(3);
            result << row;
        }
        return result;
    case 6:
        for (std::size_t methods = choices.below(4); methods > 0; --methods) {
            result << make_method(choices);
        }
        return result;
    case 7:
        result = json::Variant::newObject();
        result["blocks_follow"] = choices.integer();
        return result;
    default:
        return make_value(choices, 3);
    }
}

/// The text of a response to the id, or of something that looks like one.
inline std::string make_response(Choices& choices, std::int64_t id) {
    json::Variant response = json::Variant::newObject();
    if (choices.chance(90)) response["result"] = make_result(choices);
    if (choices.chance(20)) {
        static constexpr int codes[] = {3, 14, 18, 19, 20, 21, 24, 0, -1, 77};
        json::Variant error = json::Variant::newList();
        error << choices.pick(codes) << "what went wrong";
        response["error"] = choices.chance(80) ? error : make_value(choices, 2);
    }
    if (choices.chance(95)) response["id"] = id;
    if (choices.chance(5)) response["id"] = make_value(choices, 1);
    if (choices.chance(3)) response["binary-attachment-list"] = make_value(choices, 2);
    return printed(response);
}

/// The text with some bytes of it changed, left out or doubled.
inline std::string mangled(Choices& choices, std::string text) {
    for (std::size_t changes = choices.below(4); changes > 0 && !text.empty(); --changes) {
        const std::size_t place = (choices.below(256) * 256 + choices.below(256)) % text.size();
        switch (choices.below(4)) {
        case 0:
            text[place] = static_cast<char>(choices.byte());
            break;
        case 1:
            text.resize(place);
            break;
        case 2:
            text.erase(place, 1 + choices.below(8));
            break;
        default:
            text.insert(place, text.substr(place, 1 + choices.below(8)));
            break;
        }
    }
    return text;
}

} // namespace fuzz
