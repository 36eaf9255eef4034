// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "json/Object.h"

#include <boost/intrusive_ptr.hpp>

namespace json::detail {

/// The words of a document, interned once.
struct Keywords {
    using Key = boost::intrusive_ptr<qx::IntrusiveString>;

    const Key id = key("id");
    const Key ref = key("$ref");
    const Key type = key("type");
    const Key enumeration = key("enum");
    const Key properties = key("properties");
    const Key additionalProperties = key("additionalProperties");
    const Key items = key("items");
    const Key additionalItems = key("additionalItems");
    const Key disallow = key("disallow");
    const Key format = key("format");
    const Key extends = key("extends");
    const Key dependencies = key("dependencies");
    const Key minimum = key("minimum");
    const Key maximum = key("maximum");
    const Key exclusiveMinimum = key("exclusiveMinimum");
    const Key exclusiveMaximum = key("exclusiveMaximum");
    const Key divisibleBy = key("divisibleBy");
    const Key minItems = key("minItems");
    const Key maxItems = key("maxItems");
    const Key uniqueItems = key("uniqueItems");
    const Key minLength = key("minLength");
    const Key maxLength = key("maxLength");
    const Key description = key("description");
    const Key title = key("title");
    const Key defaultValue = key("default");
    const Key required = key("required");
    const Key optional = key("optional");

private:
    static Key key(const char* text) { return Object::key_pool().intern(text); }
};

/// Built on first use and never destroyed.
const Keywords& keywords();

} // namespace json::detail
