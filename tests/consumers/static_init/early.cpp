// SPDX-License-Identifier: MIT
// Static objects that read, change and print values before main and after it. No order between
// this translation unit, the other one and the library is promised, and none is needed.
#include "early.h"

#include "device/GatecastConversation.h"
#include "schema/Schema.h"

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

namespace {

void expect(bool holds, const char* what) {
    if (holds) return;
    std::cerr << "static_init: " << what << '\n';
    std::_Exit(1);
}

std::string text_of(const json::Variant& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

struct Early {
    Early() : tree(json::JsonParser::parseTree("{\"door\":[true,null]}")) {
        expect(json::Variant::Empty.isNull(), "Empty is null");
        expect(json::Variant::True.booleanValue(), "True is true");
        expect(!json::Variant::False.booleanValue(), "False is false");
        expect(text_of(json::Variant::EmptyString) == "\"\"", "EmptyString prints");
        expect(text_of(json::Variant::EmptyList) == "[]", "EmptyList prints");
        expect(text_of(json::Variant::EmptyObject) == "{}", "EmptyObject prints");
        expect(json::Variant::EmptyAutoValue.autoValue(), "EmptyAutoValue is an auto value");
        expect(json::Schema::EmptyPtr && !json::Schema::NullPtr, "the shared schemas are there");
        expect(tree["door"][1] == json::Variant::Null, "the parsed tree can be read");
        expect(text_of(tree) == "{\"door\":[true,null]}", "the parsed tree prints");

        json::Request request;
        request["method"] = "trigger";
        expect(text_of(request["method"]) == "\"trigger\"", "a request can be built");
    }

    ~Early() {
        tree["late"] = json::Variant::True;
        tree["later"] = json::JsonParser::parseTree("null");
        expect(text_of(tree["late"]) == "true", "a value prints after main");
        std::cout << "after main: " << tree.size() << " members, " << json::Variant::Null
                  << std::endl;
    }

    json::Variant tree;
};

// The stream is set up first, so that it can still be used at the end.
const std::ios_base::Init streams;
const Early early;

} // namespace

const json::Variant& early_tree() { return early.tree; }
