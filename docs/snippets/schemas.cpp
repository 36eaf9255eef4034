// SPDX-License-Identifier: MIT
#include "expect.h"
#include "schema/Schema.h"
#include "json/JsonParser.h"

#include <iostream>
#include <sstream>

namespace {

void check() {
    const json::Schema volume(R"({"type": "integer", "minimum": 0, "maximum": 11})");
    EXPECT(volume.validate(5).ok());
    EXPECT(!volume.validate("loud").ok());
    const json::Schema::ValidationResult& result = volume.validate(12);
    EXPECT(result.code == json::Schema::ValueOutOfBounds);
    EXPECT(result.detail == 11);
    std::cout << result; // the code, the place, the value and the schema that it violates
}

void where() {
    const json::Schema doors(R"({"items": {"properties": {"open": {"type": "boolean"}}}})");
    const auto& result = doors.validate(json::JsonParser::parseTree(R"([{}, {"open": 1}])"));
    std::ostringstream place;
    place << result.path;
    EXPECT(place.str() == "[1].open");
    EXPECT(result.value == 1);
    EXPECT(result.detail == "integer, expected boolean");
}

void registry() {
    std::istringstream documents(R"([
        {"id": "http://example.com/door", "properties": {"open": {"type": "boolean"}}},
        {"id": "http://example.com/house", "items": {"$ref": "door"}}
    ])");
    json::Schema::import(&documents); // tells each import on std::cout
    const auto house = json::Schema::resolve("http://example.com/house", qx::Url());
    EXPECT(house->validate(json::JsonParser::parseTree(R"([{"open": true}])")).ok());
    EXPECT(!house->validate(json::JsonParser::parseTree(R"([{"open": "yes"}])")).ok());
}

void children() {
    const json::Schema pair(R"({"items": [{"type": "string"}, {"type": "integer"}]})");
    EXPECT(pair[0]->types().count() == 1);
    EXPECT(pair[2] == json::Schema::NullPtr);      // nothing may stand there
    EXPECT(pair["key"] == json::Schema::EmptyPtr); // anything may
}

} // namespace

int main() {
    check();
    where();
    registry();
    children();
}
