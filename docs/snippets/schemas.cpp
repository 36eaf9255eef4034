// SPDX-License-Identifier: MIT
#include "expect.h"
#include "schema/Schema.h"
#include "json/JsonParser.h"
#include "json/Variant.h"

#include <boost/intrusive_ptr.hpp>
#include <iostream>
#include <string>

namespace {

void register_and_check() {
    json::Schema::import(json::JsonParser::parseTree(R"({
        "id": "http://example.com/volume",
        "type": "integer", "minimum": 1, "maximum": 11
    })"));

    boost::intrusive_ptr<json::Schema> volume =
        json::Schema::resolve("http://example.com/volume", qx::Url());
    bool loud = volume->validate(json::Variant(11)).ok();   // true
    bool louder = volume->validate(json::Variant(12)).ok(); // false
    EXPECT(loud && !louder);
}

void report() {
    boost::intrusive_ptr<json::Schema> person(
        new json::Schema(R"({"type": "object", "properties": {"age": {"type": "integer"}}})"));
    json::Schema::ValidationResult result =
        person->validate(json::JsonParser::parseTree(R"({"age": "young"})"));
    EXPECT(result.code == json::Schema::WrongDataType);
    EXPECT(result.path[0] == std::string("age")); // where the fault lies
    EXPECT(result.value == "young");              // what stands there
    std::cerr << result;                          // the same for a person, with the schema
}

void defaults() {
    boost::intrusive_ptr<json::Schema> door(new json::Schema(R"({"type": "object", "properties": {
        "name": {"type": "string", "required": true, "default": "front"},
        "seconds": {"type": "integer", "required": true, "minimum": 3},
        "note": {"type": "string"}
    }})"));
    json::Variant value = door->autoValue(); // {"name":"front","seconds":3}
    EXPECT(value.size() == 2 && value["name"] == "front" && value["seconds"] == 3);
}

void bind() {
    boost::intrusive_ptr<json::Schema> door(new json::Schema(
        R"({"type": "object", "properties": {"name": {"type": "string", "default": "front"}}})"));
    json::Variant value = json::Variant::EmptyObject;
    value.attachSchema(door);
    const json::Variant& read = value;
    EXPECT(read["name"] == "front"); // a missing element reads as its default
    EXPECT(read.size() == 0);        // and is still missing
}

} // namespace

int main() {
    register_and_check();
    report();
    defaults();
    bind();
}
