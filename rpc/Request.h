// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "core/Url.h"
#include "schema/Schema.h"
#include "json/Variant.h"

#include <cstddef>
#include <cstdint>

namespace json {

/// A remote procedure call as a JSON object: `{"method":"trigger","params":["door"],"id":1000}`.
///
/// A view without fields of its own: the envelope is the value, so any value becomes a request by
/// a copy, and a request prints as the value that it is. A null or foreign value is a legal
/// request whose members read as empty.
///
/// | member   | type    | meaning                                       |
/// |----------|---------|-----------------------------------------------|
/// | "method" | string  | the method's name                             |
/// | "params" | array   | the arguments in order, always an array       |
/// | "id"     | integer | the reference id; absent when the id is 0     |
///
/// Threads: one at a time, like every value.
class GATECAST_EXPORT Request : public Variant {
public:
    /// Null: no method, no arguments, id 0.
    Request();
    /// Shares the value, whatever it is.
    /// @{
    Request(const Variant& value);
    Request(const Request& source) = default;
    /// @}
    /// A new envelope; see `setup`.
    Request(const qx::IntrusiveString& method, const Variant& args, std::int64_t id);

    /// Shares the value of the source.
    Request& operator=(const Request& source) = default;

    // ----- Reading ---------------------------------------------------------------------------

    /// "method" as a string, "" when it is missing. Lives until the request is changed.
    const qx::IntrusiveString& methodName() const;
    /// "id" as an integer, 0 when it is missing.
    std::int64_t referenceId() const;
    /// "params" as a list, an empty one when it is missing or isn't a list.
    const List& arguments() const;

    /// Checks "params" against the schema of the method's arguments. The code is
    /// `Schema::SchemaNotFound` for a method without a schema, which callers take as no fault.
    Schema::ValidationResult validateArgs() const;

    // ----- Changing --------------------------------------------------------------------------

    /// Fills the envelope and keeps its other members. A list is taken as the arguments; any
    /// other value, null too, becomes the only argument, so that a request always has an array.
    /// Id 0 leaves no "id" member; a negative one is written. The arguments of the call may lie
    /// inside this request.
    /// Bad input: a value that isn't an object loses its content first.
    void setup(const qx::IntrusiveString& method, const Variant& args, std::int64_t id);
    /// "params" as a list for writing. A missing one is created; what isn't a list becomes an
    /// empty one.
    List& arguments();
    /// Appends the argument and tells whether it is known to be valid: false means invalid or
    /// without a schema. The argument stays in both cases.
    bool appendArg(const Variant& arg);

    // ----- Schema URLs -----------------------------------------------------------------------
    //
    // All lie under `Schema::applicationSchemaBaseUrl()`. Method names enter as they stand,
    // without any escaping. Threads: any thread.

    /// The schema of the request envelope: base/rpc/request.json
    static const qx::Url& requestSchemaUrl();
    /// The schema of all arguments: base/rpc/methods/METHOD?args
    static qx::Url argsSchemaUrl(const qx::IntrusiveString& method);
    /// The schema of the argument at the index: base/rpc/methods/METHOD?args#INDEX
    static qx::Url argsSchemaUrl(const qx::IntrusiveString& method, std::size_t index);
};

static_assert(sizeof(Request) == sizeof(Variant), "a request is its value");

} // namespace json
