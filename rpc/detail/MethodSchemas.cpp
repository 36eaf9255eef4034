// SPDX-License-Identifier: MIT
#include "rpc/detail/MethodSchemas.h"

#include "core/detail/NeverDestroyed.h"

namespace json::detail {

// Intended: the name isn't escaped, so that "/", "?" and "#" in it mean what they mean in a URL.
// Held by MethodCatalogue.NamesEnterTheUrlsAsTheyStand.
qx::Url method_schema_url(const qx::IntrusiveString& method, const char* part) {
    using Base = const qx::detail::NeverDestroyed<qx::Url>;
    static Base methods(Schema::applicationSchemaBaseUrl() / "rpc/methods");
    static Base directory(Schema::applicationSchemaBaseUrl() / "rpc/methods/");
    const char first = *method.c_str();
    // A query and a fragment are appended as they are; all else needs no look at the base's end.
    const bool appended = first == '\0' || first == '?' || first == '#';
    return (appended ? *directory : *methods) / method.c_str() / part;
}

Schema::ValidationResult validate_by_url(const Variant& value, const qx::Url& url) {
    const boost::intrusive_ptr<Schema> schema = Schema::resolve(url, qx::Url());
    if (!schema) return Schema::ValidationResult(Schema::SchemaNotFound);
    return schema->check(value);
}

} // namespace json::detail
