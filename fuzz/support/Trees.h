// SPDX-License-Identifier: MIT
#pragma once

#include "fuzz/support/Choices.h"
#include "json/Variant.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace fuzz {

inline std::string bytes_of(const qx::IntrusiveString& text) {
    return std::string(text.c_str(), text.length());
}

inline std::string printed(const json::Variant& value, bool pretty = false) {
    qx::IntrusiveString text;
    value.print(text, pretty);
    return bytes_of(text);
}

/// What a walk over a tree found out.
struct Shape {
    std::size_t nodes = 0;
    std::size_t depth = 0;      ///< containers inside each other
    bool repeatedKeys = false;  ///< an object has a key twice
    bool withoutText = false;   ///< a NaN or an infinity
    bool lowestInteger = false; ///< the integer that prints and doesn't read
};

inline Shape shape_of(const json::Variant& root) {
    Shape shape;
    std::vector<std::pair<const json::Variant*, std::size_t>> waiting{{&root, 0}};
    while (!waiting.empty()) {
        const auto [value, depth] = waiting.back();
        waiting.pop_back();
        ++shape.nodes;
        if (value->isReal() && !std::isfinite(value->realValue())) shape.withoutText = true;
        if (value->isInteger() && value->integerValue() == INT64_MIN) shape.lowestInteger = true;
        if (!value->isComposite()) continue;
        if (depth + 1 > shape.depth) shape.depth = depth + 1;
        if (value->isList()) {
            for (const json::Variant& element : value->listValue()) {
                waiting.emplace_back(&element, depth + 1);
            }
            continue;
        }
        std::vector<json::Object::Key> keys;
        value->objectValue().sorted_keys(keys);
        for (std::size_t i = 1; i < keys.size(); ++i) {
            if (keys[i] == keys[i - 1]) shape.repeatedKeys = true;
        }
        for (const auto& entry : value->objectValue()) {
            waiting.emplace_back(&entry.second, depth + 1);
        }
    }
    return shape;
}

/// Whether two trees are the same in every type, number, byte and entry. The comparison of values
/// says less: lists are equal by length there.
inline bool same(const json::Variant& left, const json::Variant& right) {
    std::vector<std::pair<const json::Variant*, const json::Variant*>> waiting{{&left, &right}};
    while (!waiting.empty()) {
        const auto [a, b] = waiting.back();
        waiting.pop_back();
        if (a->type() != b->type()) return false;
        switch (a->type()) {
        case json::Type::Null:
            break;
        case json::Type::Boolean:
            if (a->booleanValue() != b->booleanValue()) return false;
            break;
        case json::Type::Integer:
            if (a->integerValue() != b->integerValue()) return false;
            break;
        case json::Type::Real: {
            const double x = a->realValue();
            const double y = b->realValue();
            if (std::memcmp(&x, &y, sizeof x) != 0) return false;
            break;
        }
        case json::Type::String:
            if (a->stringValue() != b->stringValue()) return false;
            break;
        case json::Type::List: {
            const json::List& x = a->listValue();
            const json::List& y = b->listValue();
            if (x.size() != y.size()) return false;
            for (std::size_t i = 0; i < x.size(); ++i) {
                waiting.emplace_back(&x.at(i), &y.at(i));
            }
            break;
        }
        case json::Type::Object: {
            // Of a repeated key both iterations give the values in order of arrival.
            using Entries = std::vector<std::pair<json::Object::Key, const json::Variant*>>;
            const auto sorted = [](const json::Object& object) {
                Entries entries;
                for (const auto& entry : object) {
                    entries.emplace_back(entry.first, &entry.second);
                }
                std::stable_sort(entries.begin(), entries.end(),
                                 [](const auto& x, const auto& y) { return x.first < y.first; });
                return entries;
            };
            const Entries x = sorted(a->objectValue());
            const Entries y = sorted(b->objectValue());
            if (x.size() != y.size()) return false;
            for (std::size_t i = 0; i < x.size(); ++i) {
                if (x[i].first != y[i].first) return false;
                waiting.emplace_back(x[i].second, y[i].second);
            }
            break;
        }
        }
    }
    return true;
}

/// The keys of generated objects. Interned keys are kept for the whole process, so that what is
/// made freely is made of a bounded alphabet.
inline constexpr const char* const kKeys[] = {
    "a", "b", "c", "d", "", "id", "key.with.dots", "0", "result", "error", "params", "method"};

/// A value of at most `depth` levels and about `nodes` nodes.
inline json::Variant make_value(Choices& choices, std::size_t depth, std::size_t& nodes) {
    if (nodes == 0) return json::Variant();
    --nodes;
    switch (choices.below(depth > 0 ? 10 : 6)) {
    case 0:
        return json::Variant();
    case 1:
        return json::Variant(choices.flag());
    case 2:
        return json::Variant(choices.integer());
    case 3:
        return json::Variant(choices.real());
    case 4:
        return json::Variant(choices.bytes(24));
    case 5:
        return json::Variant(choices.pick(kKeys));
    case 6:
    case 7: {
        json::Variant list = json::Variant::newList();
        for (std::size_t count = choices.below(6); count > 0; --count) {
            list << make_value(choices, depth - 1, nodes);
        }
        return list;
    }
    default: {
        json::Variant object = json::Variant::newObject();
        for (std::size_t count = choices.below(6); count > 0; --count) {
            const char* key = choices.pick(kKeys);
            object[key] = make_value(choices, depth - 1, nodes);
        }
        return object;
    }
    }
}

inline json::Variant make_value(Choices& choices, std::size_t depth = 5) {
    std::size_t nodes = 60;
    return make_value(choices, depth, nodes);
}

} // namespace fuzz
