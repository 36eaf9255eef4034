// SPDX-License-Identifier: MIT
#include "schema/ValidationReport.h"

#include "schema/detail/FaultWords.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace json {

namespace {

using Result = Schema::ValidationResult;

/// What a fault says beside its places.
struct Words {
    std::string keyword;
    Variant params;
    std::string message;
};

std::string count_of(std::uint64_t count, const char* what) {
    return std::to_string(count) + ' ' + what;
}

const char* name_of(Type type) {
    static const char* const names[] = {"null",   "boolean", "integer", "number",
                                        "string", "object",  "array"};
    return names[static_cast<std::size_t>(type)];
}

Variant params_of(const char* key, const Variant& value) {
    Variant params = Variant::newObject();
    params[key] = value;
    return params;
}

Words wrong_type(const Schema& schema, const Result& fault) {
    const Type type = fault.value.type();
    const bool allowed =
        schema.types()[static_cast<std::size_t>(type)] ||
        (type == Type::Integer && schema.types()[static_cast<std::size_t>(Type::Real)]);
    if (allowed) {
        // The value may stand there, an item of its mayn't.
        const char* name = name_of(fault.detail.type());
        return {"disallow", params_of("type", name),
                std::string("must NOT have items of type ") + name};
    }
    const Variant& named = schema.definition()["type"];
    std::string names = named.isString() ? std::string(named) : std::string();
    for (const Variant& name : named.listValue()) {
        if (!name.isString()) continue;
        if (!names.empty()) names += ',';
        names += name.charsValue();
    }
    std::string message = "must be " + names;
    if (!schema.complexTypes().empty()) {
        message = names.empty() ? "must match a schema of its type"
                                : message + " or match a schema of its type";
    }
    return {"type", params_of("type", named), message};
}

Words bounds(const Schema& schema, const Result& fault) {
    const std::int64_t number = fault.value.integerValue();
    const std::int64_t least = schema.minimum();
    const bool tooSmall = schema.exclusiveMinimum() ? number <= least : number < least;
    const bool exclusive = tooSmall ? schema.exclusiveMinimum() : schema.exclusiveMaximum();
    const std::string comparison = std::string(tooSmall ? ">" : "<") + (exclusive ? "" : "=");
    Variant params = params_of("comparison", comparison);
    params["limit"] = fault.detail;
    return {tooSmall ? "minimum" : "maximum", params,
            "must be " + comparison + ' ' + std::string(fault.detail)};
}

Words length(std::uint64_t size, std::uint64_t least, std::uint64_t most, const char* tooFew,
             const char* tooMany, const char* what) {
    if (size < least) {
        return {tooFew, params_of("limit", least),
                "must NOT have fewer than " + count_of(least, what)};
    }
    return {tooMany, params_of("limit", most), "must NOT have more than " + count_of(most, what)};
}

Words missing(const Schema& schema, const Result& fault) {
    const char* keyword = schema.definition()["required"].isBoolean() ? "required" : "optional";
    if (fault.path.size() == 0) return {keyword, Variant::newObject(), "must have a value"};
    const std::string name = fault.path[fault.path.size() - 1];
    return {keyword, params_of("missingProperty", name),
            "must have required property '" + name + "'"};
}

Words dependency(const Schema& schema, const Result& fault) {
    const Object& object = fault.value.objectValue();
    for (const auto& [key, names] : schema.definition()["dependencies"].objectValue()) {
        if (!object.contains(*key) || !names.listValue().contains(fault.detail)) continue;
        std::string all;
        for (const Variant& name : names.listValue()) {
            all += (all.empty() ? "" : ", ") + std::string(name);
        }
        Variant params = params_of("property", *key);
        params["missingProperty"] = fault.detail;
        params["depsCount"] = names.size();
        params["deps"] = all;
        return {"dependencies", params,
                std::string("must have propert") + (names.size() == 1 ? "y " : "ies ") + all +
                    " when property " + key->c_str() + " is present"};
    }
    return {"dependencies", params_of("missingProperty", fault.detail),
            "must have property " + std::string(fault.detail)};
}

Words item_too_many(const Schema& schema) {
    const std::size_t limit = schema.definition()["items"].listValue().size();
    return {schema.definition().contains("additionalItems") ? "additionalItems" : "items",
            params_of("limit", limit), "must NOT have more than " + count_of(limit, "items")};
}

Words twins(const Result& fault) {
    const List& list = fault.value.listValue();
    for (std::size_t i = 0; i < list.size(); ++i) {
        for (std::size_t j = i + 1; j < list.size(); ++j) {
            if (!(list[i] == list[j])) continue;
            Variant params = params_of("i", j);
            params["j"] = i;
            return {"uniqueItems", params,
                    "must NOT have duplicate items (items ## " + std::to_string(i) + " and " +
                        std::to_string(j) + " are identical)"};
        }
    }
    return {"uniqueItems", Variant::newObject(), "must NOT have duplicate items"};
}

Words reference(const Schema& schema, const Result& fault) {
    return {schema.ref().empty() ? "extends" : "$ref", params_of("ref", fault.detail),
            "can't resolve reference " + std::string(fault.detail)};
}

Words words_of(const Schema& schema, const Result& fault) {
    switch (fault.code) {
    case Schema::SchemaNotFound:
        return reference(schema, fault);
    case Schema::WrongDataType:
        return wrong_type(schema, fault);
    case Schema::InvalidValue:
        return {"enum", params_of("allowedValues", schema.values()),
                "must be equal to one of the allowed values"};
    case Schema::ValueOutOfBounds:
        return bounds(schema, fault);
    case Schema::ValueNotDivisible:
        return {"divisibleBy", params_of("divisibleBy", fault.detail),
                "must be multiple of " + std::string(fault.detail)};
    case Schema::StringLengthOutOfBounds:
        return length(fault.value.stringValue().length(), schema.minStringLength(),
                      schema.maxStringLength(), "minLength", "maxLength", "bytes");
    case Schema::RequiredValueMissing:
        return missing(schema, fault);
    case Schema::DependentValueMissing:
        return dependency(schema, fault);
    case Schema::InvalidProperty:
        return {"additionalProperties", params_of("additionalProperty", fault.detail),
                "must NOT have additional properties"};
    case Schema::ArrayIndexOutOfBounds:
        return length(fault.value.listValue().size(), schema.minItems(), schema.maxItems(),
                      "minItems", "maxItems", "items");
    case Schema::SchemaNotDefinedForArrayItem:
        return item_too_many(schema);
    case Schema::ArrayItemsNotUnique:
        return twins(fault);
    case Schema::UnknownStringFormat:
    case Schema::MalformedDateOrTime:
    case Schema::MalformedIpAddress:
    case Schema::MalformedUri:
        return {"format", params_of("format", schema.format()),
                "must match format \"" + std::string(schema.format()) + '"'};
    default:
        return {"", Variant::newObject(), Result::message(fault.code)};
    }
}

/// The JSON pointer to that very object in the document, as far as it lies there.
bool find_pointer(const Object& document, const Object& wanted, std::string& pointer) {
    struct Node {
        const Object* object;
        const List* list;
        std::size_t parent;
        std::string segment;
    };
    std::vector<Node> nodes{{&document, nullptr, 0, ""}};
    const auto add = [&](const Variant& value, std::size_t parent, auto segment) {
        if (value.isObject()) {
            nodes.push_back({&value.objectValue(), nullptr, parent, segment()});
        } else if (value.isList()) {
            nodes.push_back({nullptr, &value.listValue(), parent, segment()});
        }
    };
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i].object == &wanted) {
            std::vector<std::size_t> way;
            for (std::size_t node = i; node != 0; node = nodes[node].parent) {
                way.push_back(node);
            }
            std::for_each(way.rbegin(), way.rend(),
                          [&](std::size_t node) { pointer += nodes[node].segment; });
            return true;
        }
        if (const Object* object = nodes[i].object) {
            for (const auto& [key, value] : *object) {
                add(value, i, [&name = *key] { return detail::FaultWords::segment(name.c_str()); });
            }
        } else {
            std::size_t index = 0;
            for (const Variant& value : *nodes[i].list) {
                add(value, i, [index] { return '/' + std::to_string(index); });
                ++index;
            }
        }
    }
    return false;
}

} // namespace

namespace detail {

std::string FaultWords::segment(std::string_view text) {
    std::string escaped("/");
    for (const char c : text) {
        if (c == '~') {
            escaped += "~0";
        } else if (c == '/') {
            escaped += "~1";
        } else {
            escaped += c;
        }
    }
    return escaped;
}

std::string FaultWords::pointer(const Path& path) {
    std::string pointer;
    for (std::size_t i = 0; i < path.size(); ++i) {
        pointer += segment(path[i]);
    }
    return pointer;
}

const std::string& FaultWords::placeOf(const Schema& schema) {
    const auto [place, fresh] = places_.try_emplace(&schema.definition(), "#");
    std::string& text = place->second;
    if (!fresh) return text;
    if (root_ != nullptr && find_pointer(root_->definition(), schema.definition(), text)) {
        return text;
    }
    // The node is part of the document that its URL leads to.
    const qx::Url url = schema.absoluteUrl();
    std::string pointer;
    const boost::intrusive_ptr<Schema> document = Schema::resolve(url, qx::Url());
    if (document) find_pointer(document->definition(), schema.definition(), pointer);
    std::string base = static_cast<const char*>(url);
    if (!base.empty() && base.back() == '#') base.pop_back();
    text = base + '#' + pointer;
    return text;
}

Variant FaultWords::describe(const Result& fault, const std::string& instancePath) {
    const Words words = fault.schema != nullptr
                            ? words_of(*fault.schema, fault)
                            : Words{"", Variant::newObject(), Result::message(fault.code)};
    Variant object = Variant::newObject();
    object["instancePath"] = instancePath;
    object["schemaPath"] = (fault.schema != nullptr ? placeOf(*fault.schema) : std::string("#")) +
                           (words.keyword.empty() ? "" : segment(words.keyword));
    object["keyword"] = words.keyword;
    object["params"] = words.params;
    object["message"] = words.message;
    return object;
}

} // namespace detail

Variant validation_errors(const Result& result) {
    Variant errors = Variant::newList();
    if (result.ok()) return errors;
    detail::FaultWords words(result.rootSchema);
    return errors << words.describe(result, detail::FaultWords::pointer(result.path));
}

} // namespace json
