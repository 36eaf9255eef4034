// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/IntrusiveString.h"
#include "core/Url.h"
#include "schema/Schema.h"

namespace json::detail {

/// The URL of a schema of the method: base/rpc/methods/METHOD followed by `part`, which is "?args"
/// or "?result".
qx::Url method_schema_url(const qx::IntrusiveString& method, const char* part);

/// How the value fares against the registered schema of the URL; the code is
/// `Schema::SchemaNotFound` without one.
Schema::ValidationResult validate_by_url(const Variant& value, const qx::Url& url);

} // namespace json::detail
