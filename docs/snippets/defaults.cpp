// SPDX-License-Identifier: MIT
#include "expect.h"
#include "schema/Schema.h"
#include "json/JsonParser.h"

#include <iostream>

namespace {

using SchemaPtr = boost::intrusive_ptr<json::Schema>;

void bind() {
    json::Variant settings = json::JsonParser::parseTree(R"({"volume": 5})");
    settings.attachSchema(SchemaPtr(new json::Schema(
        R"({"properties": {"volume": {"type": "integer", "maximum": 11},
                           "name": {"default": "door"}}})")));
    EXPECT(settings.validate());
    settings["volume"] = 12; // the place keeps its schema
    EXPECT(!settings.validate());
}

void read_defaults() {
    json::Variant settings = json::Variant::newObject();
    settings.attachSchema(SchemaPtr(new json::Schema(
        R"({"properties": {"name": {"default": "door"}, "tries": {"type": "integer",
                                                                  "minimum": 1}}})")));
    const json::Variant& read = settings;
    EXPECT(read["name"] == "door" && read["name"].autoValue());
    EXPECT(read["tries"] == 1);
    EXPECT(read.size() == 0);               // nothing was added
    settings["name"].stringValue() += " 2"; // adds a copy of the default, then changes it
    EXPECT(read["name"] == "door 2" && !read["name"].autoValue());
}

void carry() {
    const json::Variant message = json::JsonParser::parseTree(
        R"({"_schema": {"properties": {"seen": {"type": "boolean"}}}, "seen": "no"})");
    message.createPrivateSchema("_schema");
    EXPECT(!message.validate());
}

} // namespace

int main() {
    bind();
    read_defaults();
    carry();
}
