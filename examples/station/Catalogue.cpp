// SPDX-License-Identifier: MIT
#include "station/Catalogue.h"

#include "json/JsonParser.h"

#include <sstream>

namespace station {

namespace {

const char* const kMethodsOfAllKinds = R"([
{"method": "list_methods", "description": "Lists the methods of this device.",
 "result": "array", "params": []},

{"method": "version", "description": "Tells the version of the protocol.",
 "result": "object", "params": []},

{"method": "register_device",
 "description": "Registers a known phone for the bell; its events come under the id of the request.",
 "result": "array", "params": [
    {"type": "string", "description": "token of the phone"}]},

{"method": "subscription",
 "description": "Begins or ends a subscription; its events come under the id of the request.",
 "result": "array", "params": [
    {"type": "string", "list": ["door", "elight", "view"], "description": "what to hear of"},
    {"type": "boolean", "description": "true begins, false ends"}]},

{"method": "trigger", "description": "Opens the door, or turns the light on or off.",
 "result": "boolean", "params": [
    {"type": "string", "list": ["door", "elight"], "description": "door or light"}]},

{"method": "bell_ack", "description": "Answers the bell, which falls silent on all phones.",
 "result": "boolean", "params": [
    {"type": "boolean", "description": "true accepts the call, false refuses it"}]},

{"method": "ring", "description": "Presses the bell button, as a visitor would. Simulation only.",
 "result": "boolean", "params": []},

{"method": "ptz_click", "description": "Centres the view on a point of the picture.",
 "result": "array", "params": [
    {"type": "integer", "min": 0, "max": 1000, "description": "from the left, in thousandths"},
    {"type": "integer", "min": 0, "max": 1000, "description": "from the top, in thousandths"},
    {"type": "boolean", "description": "true zooms in by one step as well"}]},

{"method": "ptz_pan", "description": "Turns the camera.",
 "result": "array", "params": [
    {"type": "integer", "min": -10, "max": 10, "description": "steps to the right"},
    {"type": "integer", "min": -10, "max": 10, "description": "steps upwards"},
    {"type": "boolean", "description": "true starts from the present view, false from the middle"}]},

{"method": "ptz_zoom", "description": "Zooms in or out.",
 "result": "array", "params": [
    {"type": "integer", "min": -7, "max": 8, "description": "steps, or the factor to set"},
    {"type": "boolean", "description": "true changes by steps, false sets the factor"}]},

{"method": "display_mode", "description": "Chooses how the picture is shown.",
 "result": "string", "params": [
    {"type": "string", "list": ["standard", "wide", "split"], "description": "the mode"}]},

{"method": "live", "description": "Shows the live view.", "result": "object", "params": []},

{"method": "pause", "description": "Pauses what is shown. Answered even without an id.",
 "result": "object", "params": []},

{"method": "endfilter", "description": "Sets the text after which the next playback ends.",
 "result": "string", "params": [
    {"type": "string", "description": "the text; empty for no end"}]},

{"method": "play",
 "description": "Goes on with a playback, or plays a span of time or one message.",
 "result": "object", "params": [
    {"type": ["string", "number"], "optional": true,
     "description": "start in seconds, or the position of a message: TIME@SEQUENCE, E, INDEX"},
    {"type": "real", "optional": true, "description": "position inside the span"},
    {"type": "real", "optional": true, "description": "end in seconds"},
    {"type": "boolean", "optional": true, "description": "true plays the span again and again"}]},

{"method": "mailboxdata",
 "description": "Lists a mail box in batches under one id; a batch of fewer than 3 rows is the last.",
 "result": "array", "params": [
    {"type": "integer", "min": 0, "description": "id of the mail box"}]},

{"method": "message_delete", "description": "Deletes a message, or marks it as seen or unseen.",
 "result": "boolean", "params": [
    {"type": "integer", "min": 0, "description": "sequence number"},
    {"type": "integer", "min": 0, "description": "event index"},
    {"type": "boolean", "optional": true, "description": "the new mark; without it, delete"}]},

{"method": "preview_message", "description": "Gives a small image of a message, as a binary part.",
 "result": "object", "params": [
    {"type": "integer", "min": 0, "description": "record id of the message"},
    {"type": "integer", "min": 1, "max": 1920, "description": "width in pixels"},
    {"type": "integer", "min": 1, "max": 1080, "description": "height in pixels"}]},

{"method": "preview_live", "description": "Gives a small image of the live view, as a binary part.",
 "result": "object", "params": [
    {"type": "integer", "min": 1, "max": 1920, "description": "width in pixels"},
    {"type": "integer", "min": 1, "max": 1080, "description": "height in pixels"}]},

{"method": "quit", "description": "Ends the connection.", "result": "null", "params": []}
])";

const char* const kMethodsOfTheFirstKind = R"([
{"method": "list_contact_numbers", "description": "Lists the numbers that a phone can be added to.",
 "result": "array", "params": []},

{"method": "add_device", "description": "Adds a phone to a contact number and registers it.",
 "result": "array", "params": [
    {"type": "string", "description": "token of the phone"},
    {"type": "string", "description": "contact number"},
    {"type": "string", "description": "name of the phone"}]}
])";

const char* const kMethodsOfLaterKinds = R"([
{"method": "list_addressees", "description": "Lists the addressees that a phone can be added to.",
 "result": "array", "params": []},

{"method": "add_device", "description": "Adds a phone to an addressee and registers it.",
 "result": "array", "params": [
    {"type": "string", "description": "token of the phone"},
    {"type": "array", "description": "the id of the addressee, as the only item"},
    {"type": "string", "description": "name of the phone"}]}
])";

/// One word of a record's types against a value.
bool fits(const json::Variant& word, const json::Variant& value) {
    if (word == "any") return true;
    if (word == "null") return value.isNull();
    if (word == "boolean") return value.isBoolean();
    if (word == "integer") return value.isInteger();
    if (word == "real" || word == "number") return value.isInteger() || value.isReal();
    if (word == "string") return value.isString();
    if (word == "array") return value.isList();
    if (word == "object") return value.isObject();
    return false;
}

bool fits_one_of(const json::Variant& type, const json::Variant& value) {
    if (!type.isList()) return fits(type, value);
    for (const json::Variant& word : type.listValue()) {
        if (fits(word, value)) return true;
    }
    return false;
}

std::string fault_of_parameter(const json::Variant& parameter, const json::Variant& value) {
    const json::Variant& type = parameter["type"];
    if (!fits_one_of(type, value)) return "isn't of the type " + std::string(type.charsValue());
    std::ostringstream text;
    if (parameter.contains("min") && value.realValue() < parameter["min"].realValue()) {
        text << "is below " << parameter["min"];
    } else if (parameter.contains("max") && value.realValue() > parameter["max"].realValue()) {
        text << "is above " << parameter["max"];
    } else if (parameter.contains("list") && !parameter["list"].listValue().contains(value)) {
        text << "isn't one of " << parameter["list"];
    }
    return text.str();
}

} // namespace

Catalogue::Catalogue(int versionMajor)
    : records_(json::JsonParser::parseTree(std::string(kMethodsOfAllKinds))) {
    const json::Variant ofThisKind = json::JsonParser::parseTree(
        std::string(versionMajor == 0 ? kMethodsOfTheFirstKind : kMethodsOfLaterKinds));
    for (const json::Variant& record : ofThisKind.listValue()) {
        records_ << record;
    }
}

const json::Variant& Catalogue::find(const std::string& method) const {
    for (const json::Variant& record : records_.listValue()) {
        if (record["method"] == method) return record;
    }
    return json::Variant::Empty;
}

std::string Catalogue::faultOf(const json::Variant& record, const json::List& params) {
    const json::List& parameters = record["params"].listValue();
    if (params.size() > parameters.size()) {
        return "too many parameters: " + std::to_string(parameters.size()) + " at most";
    }
    std::size_t index = 0;
    for (const json::Variant& parameter : parameters) {
        const std::string place = "parameter " + std::to_string(index + 1);
        if (index >= params.size()) {
            if (parameter["optional"].booleanValue()) break;
            return place + " is missing";
        }
        const std::string fault = fault_of_parameter(parameter, params.at(index));
        if (!fault.empty()) return place + " " + fault;
        ++index;
    }
    return std::string();
}

} // namespace station
