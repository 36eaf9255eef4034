// SPDX-License-Identifier: MIT
#pragma once

#include "schema/Schema.h"
#include "support/ValueProbe.h"
#include "json/Variant.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <initializer_list>
#include <string>
#include <utility>

/// A new schema without constraints, other than the shared one.
inline boost::intrusive_ptr<json::Schema> any_schema() {
    return boost::intrusive_ptr<json::Schema>(new json::Schema);
}

/// A clean value with a schema: the list that it holds marks it, since it is the list's owner.
struct BoundList {
    BoundList() {
        value = boost::intrusive_ptr<json::List>(new json::List);
        value.attachSchema(any_schema());
        clear_marks(value);
    }
    BoundList(std::initializer_list<json::Variant> elements) : BoundList() {
        for (const json::Variant& element : elements) {
            list() << element;
        }
        clear_marks(value);
    }
    json::List& list() { return value.listValue(); }
    const json::List& list() const { return value.listValue(); }

    json::Variant value;
};

/// The same for an object.
struct BoundObject {
    BoundObject() {
        value = boost::intrusive_ptr<json::Object>(new json::Object);
        value.attachSchema(any_schema());
        clear_marks(value);
    }
    BoundObject(std::initializer_list<std::pair<const char*, json::Variant>> entries)
        : BoundObject() {
        for (const auto& entry : entries) {
            object().setValue(entry.first, entry.second);
        }
        clear_marks(value);
    }
    json::Object& object() { return value.objectValue(); }
    const json::Object& object() const { return value.objectValue(); }

    json::Variant value;
};

/// Which elements have a property, one digit each: "010" when the second alone has it.
template <class Property>
std::string which(const json::List& list, Property property) {
    std::string digits;
    for (const json::Variant& element : list) {
        digits += property(element) ? '1' : '0';
    }
    return digits;
}

/// Which elements a binding reached since `forget_bindings`: it makes them sticky.
inline std::string bound_elements(const json::List& list) {
    return which(list, [](const json::Variant& element) { return is_sticky(element); });
}

inline void forget_bindings(const json::List& list) {
    for (const json::Variant& element : list) {
        set_sticky(element, false);
    }
}

/// Which elements have this very list as their parent: it finds them at their place.
inline std::string linked_elements(const json::List& list) {
    int place = -1;
    return which(list, [&place](const json::Variant& element) {
        ++place;
        return element.hasListParent() && element.indexInParent() == place;
    });
}
