// SPDX-License-Identifier: MIT
// A module that uses values; its host knows nothing of them.
#include "json/JsonParser.h"
#include "json/Variant.h"

extern "C" __attribute__((visibility("default"))) int count_members(const char* text) {
    static json::Variant last; // destroyed when the module goes
    last = json::JsonParser::parseTree(text);
    return last.isObject() ? static_cast<int>(last.size()) : -1;
}
