// SPDX-License-Identifier: MIT
// A static object that reads, changes and prints values before main and after it.
#include "device/GatecastConversation.h"
#include "json/JsonParser.h"
#include "json/Variant.h"

#include <cstdlib>
#include <iostream>

namespace {

struct Early {
    Early() : tree(json::JsonParser::parseTree("{\"door\":[true,null]}")) {
        check(json::Variant::Empty.isNull() && json::Variant::True.booleanValue());
        check(json::Variant::EmptyList.isList() && json::Variant::EmptyObject.isObject());
        check(tree["door"][1] == json::Variant::Null);
        check(json::Schema::Empty.empty() && json::Schema::EmptyPtr && !json::Schema::NullPtr);
    }
    ~Early() {
        tree["late"] = json::Variant::True;
        check(tree["late"] == true && json::Variant::EmptyString.size() == 0);
    }
    static void check(bool holds) {
        if (!holds) std::_Exit(1);
    }

    json::Variant tree;
} early;

} // namespace

const json::Variant& early_tree() { return early.tree; }
