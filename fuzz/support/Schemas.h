// SPDX-License-Identifier: MIT
#pragma once

#include "fuzz/support/Choices.h"
#include "fuzz/support/Trees.h"
#include "schema/Schema.h"
#include "json/Variant.h"

#include <cstddef>

namespace fuzz {

/// Registered schemas are kept for the whole process: an input begins with none, so that it does
/// the same alone as behind a million others.
class EmptyRegistry : public json::Schema {
public:
    static void make() {
        SchemaMap& schemas = global_schemas();
        for (auto entry = schemas.begin(); entry != schemas.end();) {
            entry = schemas.erase(entry);
        }
    }
};

/// The URLs under which schemas are registered and looked up.
inline constexpr const char* const kUrls[] = {
    "http://x/a", "http://x/b", "#0",           "#1",
    "/d",         "b",          "http://x/a#0", "http://json-schema.org/draft-03/schema#"};

/// A schema document of at most `depth` levels: its keywords are mostly of the right shape.
inline json::Variant make_document(Choices& choices, std::size_t depth, std::size_t& nodes) {
    static constexpr const char* const types[] = {
        "null", "boolean", "integer", "number", "string", "object", "array", "any", "what"};
    static constexpr const char* const formats[] = {
        "regex", "date-time", "date", "time",  "utc-millisec", "ip-address", "ipv6",   "color",
        "style", "phone",     "uri",  "email", "host-name",    "utc-sec",    "base64", "encrypted"};
    static constexpr const char* const numbers[] = {"minimum",   "maximum",         "divisibleBy",
                                                    "minItems",  "maxItems",        "minLength",
                                                    "maxLength", "exclusiveMinimum"};
    static constexpr const char* const flags[] = {"required", "optional", "uniqueItems",
                                                  "exclusiveMinimum", "exclusiveMaximum"};
    static constexpr const char* const texts[] = {"id",     "$ref",        "$schema", "extends",
                                                  "format", "description", "title"};

    json::Variant document = json::Variant::newObject();
    if (nodes == 0) return document;
    --nodes;
    const auto child = [&]() -> json::Variant {
        if (depth == 0) return json::Variant::newObject();
        return make_document(choices, depth - 1, nodes);
    };
    const auto schema_or_any = [&]() -> json::Variant {
        return choices.chance(85) ? child() : make_value(choices, 2);
    };
    for (std::size_t count = choices.below(7); count > 0; --count) {
        switch (choices.below(16)) {
        case 0:
            document["type"] = choices.pick(types);
            break;
        case 1:
            for (std::size_t i = choices.below(4); i > 0; --i) {
                document["type"] << (choices.flag() ? json::Variant(choices.pick(types)) : child());
            }
            break;
        case 2:
        case 3:
            document["properties"][choices.pick(kKeys)] = schema_or_any();
            break;
        case 4:
            document["items"] = schema_or_any();
            break;
        case 5: {
            json::Variant items = json::Variant::newList();
            for (std::size_t i = choices.below(4); i > 0; --i) {
                items << schema_or_any();
            }
            document["items"] = items;
            break;
        }
        case 6:
            document[choices.flag() ? "additionalProperties" : "additionalItems"] =
                choices.flag() ? json::Variant(choices.flag()) : schema_or_any();
            break;
        case 7:
            document[choices.pick(flags)] = choices.flag();
            break;
        case 8:
        case 9:
            document[choices.pick(numbers)] =
                choices.chance(70) ? json::Variant(choices.below(12)) : make_value(choices, 1);
            break;
        case 10:
            document["enum"] << make_value(choices, 2);
            break;
        case 11:
            document["default"] = make_value(choices, 3);
            break;
        case 12: {
            json::Variant& dependencies = document["dependencies"];
            const char* key = choices.pick(kKeys);
            if (choices.flag()) {
                dependencies[key] = choices.pick(kKeys);
            } else if (choices.flag()) {
                dependencies[key] << choices.pick(kKeys) << choices.pick(kKeys);
            } else {
                dependencies[key] = schema_or_any();
            }
            break;
        }
        case 13:
            document["disallow"] = choices.flag() ? json::Variant(choices.pick(types)) : child();
            break;
        case 14: {
            const char* keyword = choices.pick(texts);
            const bool isFormat = document["format"].isNull() && choices.flag();
            document[keyword] = isFormat ? choices.pick(formats) : choices.pick(kUrls);
            break;
        }
        default:
            document["extends"] << (choices.flag() ? json::Variant(choices.pick(kUrls)) : child());
            break;
        }
    }
    return document;
}

inline json::Variant make_document(Choices& choices, std::size_t depth = 4) {
    std::size_t nodes = 24;
    return make_document(choices, depth, nodes);
}

} // namespace fuzz
