// SPDX-License-Identifier: MIT
#pragma once

#include "json/JsonParser.h"
#include "json/Variant.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// Compact JSON with the keys of every object in ascending order, so that a test can write out
/// what it expects: the printer's compact text follows the order of the hash table.
inline std::string sorted_text(const json::Variant& value) {
    if (value.isList()) {
        std::string text = "[";
        for (const json::Variant& element : value.listValue()) {
            text += (text.size() > 1 ? "," : "") + sorted_text(element);
        }
        return text + "]";
    }
    if (value.isObject()) {
        const json::Object& object = value.objectValue();
        std::vector<json::Object::Key> keys;
        object.sorted_keys(keys);
        std::string text = "{";
        for (const json::Object::Key& key : keys) {
            text += text.size() > 1 ? ",\"" : "\"";
            text += std::string(key->c_str()) + "\":" + sorted_text(object[key]);
        }
        return text + "}";
    }
    qx::IntrusiveString text;
    value.print(text, false);
    return std::string(text.c_str(), text.length());
}

/// The same of a JSON text; a text that doesn't parse gives its error as a JSON string.
inline std::string sorted_text(std::string_view text) {
    return sorted_text(json::JsonParser::parseTree(text.data(), static_cast<int>(text.size())));
}

inline std::string sorted_text(const std::string& text) {
    return sorted_text(std::string_view(text));
}

inline std::string sorted_text(const char* text) { return sorted_text(std::string_view(text)); }

} // namespace test
