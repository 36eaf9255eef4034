// SPDX-License-Identifier: MIT
#include "core/Url.h"
#include "expect.h"
#include "schema/FaultCollector.h"
#include "schema/Schema.h"
#include "schema/ValidationReport.h"
#include "json/JsonParser.h"
#include "json/Variant.h"

#include <iostream>
#include <sstream>
#include <string>

namespace {

/// A fault in one line, for a log.
std::string line_of(const json::Schema::ValidationResult& result) {
    if (result.ok()) return "ok";
    std::ostringstream line;
    line << result.path << ": " << json::Schema::ValidationResult::message(result.code);
    if (!result.detail.isNull()) line << " (" << result.detail.charsValue() << ")";
    return line.str();
}

void lines() {
    const json::Schema settings(R"({
        "properties": {
            "name": {"type": "string", "maxLength": 20},
            "rooms": {"items": {"enum": ["hall", "yard"]}},
            "volume": {"type": "integer", "maximum": 11}
        },
        "additionalProperties": false
    })");
    const auto told = [&settings](const char* text) {
        return line_of(settings.check(json::JsonParser::parseTree(text)));
    };
    EXPECT(told(R"({"name": "front door", "volume": 11})") == "ok");
    EXPECT(told(R"({"volume": 12})") == "volume: value out of bounds (11)");
    EXPECT(told(R"({"volume": "12"})") == "volume: wrong data type (string, expected integer)");
    EXPECT(told(R"({"rooms": ["hall", "attic"]})") == "rooms[1]: invalid value");
    EXPECT(told(R"({"colour": "red"})") == ": invalid property (colour)");
}

void as_json() {
    const json::Schema settings(R"({
        "properties": {
            "name": {"type": "string", "maxLength": 20},
            "rooms": {"items": {"enum": ["hall", "yard"]}},
            "volume": {"type": "integer", "maximum": 11}
        }
    })");
    const json::Variant value =
        json::JsonParser::parseTree(R"({"rooms": ["hall", "attic"], "volume": 12})");

    const json::Variant first = json::validation_errors(settings.check(value));
    EXPECT(first.size() == 1); // a list of one object

    const json::Variant all = json::collect_validation_errors(settings, value);
    for (const json::Variant& fault : all.listValue()) {
        std::cout << fault["instancePath"].charsValue() << " " << fault["message"].charsValue()
                  << '\n';
    }
    EXPECT(all.size() == 2);
    const bool roomsFirst = all[0]["instancePath"] == "/rooms/1";
    const json::Variant& volume = roomsFirst ? all[1] : all[0];
    EXPECT(volume["instancePath"] == "/volume");
    EXPECT(volume["schemaPath"] == "#/properties/volume/maximum");
    EXPECT(volume["keyword"] == "maximum" && volume["params"]["limit"] == 11);
    EXPECT(volume["message"] == "must be <= 11");
}

void base64() {
    const json::Schema picture(R"({"type": "string", "format": "base64"})");
    const json::Schema::ValidationResult result = picture.check("not base64!");
    const bool passed = result.ok() && result.schema == nullptr;
    EXPECT(result.ok() && !passed);
    EXPECT(picture.check("bm90").schema == nullptr);
}

void absent() {
    const json::Schema call(R"({"properties": {"id": {"type": "integer", "required": true}}})");
    EXPECT(call.check(json::JsonParser::parseTree("{}")).ok()); // an absent key is never looked at
    const json::Variant present = json::JsonParser::parseTree(R"({"id": null})");
    EXPECT(!call.check(present).ok());
    EXPECT(present.contains("id")); // so ask for the key yourself
}

} // namespace

int main() {
    lines();
    as_json();
    base64();
    absent();
}
