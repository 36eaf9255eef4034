// SPDX-License-Identifier: MIT
#include "rpc/detail/MethodSchemas.h"

#include "core/detail/NeverDestroyed.h"

namespace json::detail {

// Intended: the name isn't escaped, so that "/", "?" and "#" in it mean what they mean in a URL.
// Held by MethodCatalogue.NamesEnterTheUrlsAsTheyStand.
qx::Url method_schema_url(const qx::IntrusiveString& method, const char* part) {
    static const qx::detail::NeverDestroyed<qx::Url> methods(Schema::applicationSchemaBaseUrl() /
                                                             "rpc/methods/");
    return *methods / method.c_str() / part;
}

Schema::ValidationResult validate_by_url(const Variant& value, const qx::Url& url) {
    const boost::intrusive_ptr<Schema> schema = Schema::resolve(url, qx::Url());
    if (!schema) return Schema::ValidationResult(Schema::SchemaNotFound);
    return schema->check(value);
}

} // namespace json::detail
