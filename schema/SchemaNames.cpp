// SPDX-License-Identifier: MIT
#include "schema/detail/SchemaNames.h"

#include <cstddef>
#include <iterator>

namespace json {

namespace {

using namespace std::string_view_literals;

// The position of a name is its bit, which is its json::Type.
constexpr std::string_view kTypeNames[] = {"null"sv,   "boolean"sv, "integer"sv, "number"sv,
                                           "string"sv, "object"sv,  "array"sv};
static_assert(std::size(kTypeNames) == static_cast<std::size_t>(Type::List) + 1);

// The position of a word is its number less 1.
constexpr std::string_view kFormats[] = {
    "regex"sv,     "date-time"sv,  "date"sv,   "time"sv,     "utc-millisec"sv, "ip-address"sv,
    "ipv6"sv,      "color"sv,      "style"sv,  "phone"sv,    "uri"sv,          "email"sv,
    "host-name"sv, "utc-second"sv, "base64"sv, "encrypted"sv};
static_assert(std::size(kFormats) == Schema::EncryptedFormat);

std::string_view view(const qx::IntrusiveString& text) { return {text.c_str(), text.length()}; }

} // namespace

Schema::TypeSet detail::type_from_string(std::string_view name) {
    if (name == "any"sv) return Schema::AnyType;
    Schema::TypeSet types;
    for (std::size_t bit = 0; bit < std::size(kTypeNames); ++bit) {
        if (kTypeNames[bit] == name) types.set(bit);
    }
    return types;
}

std::string detail::string_from_types(const Schema::TypeSet& types) {
    if (types == Schema::AnyType) return "any";
    if (types.none()) return "void";
    std::string names;
    for (std::size_t bit = 0; bit < std::size(kTypeNames); ++bit) {
        if (!types[bit]) continue;
        if (!names.empty()) names += ',';
        names += kTypeNames[bit];
    }
    return names;
}

Schema::StringFormat detail::parse_format(std::string_view word) {
    for (std::size_t i = 0; i < std::size(kFormats); ++i) {
        if (kFormats[i] == word) return static_cast<Schema::StringFormat>(i + 1);
    }
    return Schema::UnknownFormat;
}

Schema::TypeSet Schema::type_from_string(const qx::IntrusiveString& name) {
    return detail::type_from_string(view(name));
}

Schema::StringFormat Schema::parse_format(const qx::IntrusiveString& name) {
    return detail::parse_format(view(name));
}

std::string Schema::string_from_type(Type type) {
    return string_from_types(TypeSet().set(static_cast<std::size_t>(type)));
}

std::string Schema::string_from_types(const TypeSet& types) {
    return detail::string_from_types(types);
}

} // namespace json
