// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "core/Url.h"
#include "schema/Schema.h"
#include "json/Variant.h"

#include <cstdint>

namespace json {

/// The answer to a request, or an event under the id of a subscription, as a JSON object:
/// `{"result":true,"id":1000}` or `{"result":null,"error":[24,"busy"],"id":1000}`.
///
/// A view without fields of its own: the envelope is the value, so a parsed value becomes a
/// response by a copy, and a response prints as the value that it is.
///
/// | member                   | type             | present                                   |
/// |--------------------------|------------------|-------------------------------------------|
/// | "result"                 | any              | in built responses; null in an error      |
/// | "error"                  | `[code, text]`   | in errors; null is no error               |
/// | "id"                     | integer          | when the id is 1 or more                  |
/// | "binary-attachment-list" | array of strings | when attachments exist; the raw bytes     |
///
/// Reading never fails: members that are missing or of another type give what a const read of a
/// value gives, an empty default or a conversion.
/// Threads: one at a time, like every value.
class GATECAST_EXPORT Response : public Variant {
public:
    /// Shares the value. Bad input: what isn't an object becomes an empty one.
    Response(const Variant& value);
    /// Shares the value of the source.
    Response(const Response& source) = default;
    /// A success. An id of 0 or below leaves no "id" member.
    Response(const Variant& result, std::int64_t id);
    /// An error. An id of 0 or below leaves no "id" member.
    Response(std::int64_t code, const qx::IntrusiveString& message, std::int64_t id);

    /// Shares the value of the source.
    Response& operator=(const Response& source) = default;

    // ----- Reading: references live until the response is changed ---------------------------

    /// "result".
    const Variant& result() const;
    /// "result" as a list.
    const List& resultList() const;
    /// "result" as an object.
    const Object& resultObject() const;
    /// Element 0 of "result" as a list.
    const Variant& firstResult() const;
    /// "id" as it stands: a peer may send any type.
    const Variant& referenceId() const;

    /// Whether "error" is there and isn't null. Anything else counts as an error, also a value
    /// that isn't an array.
    bool isError() const;
    /// "error", `Variant::Null` when it is absent.
    const Variant& errorInfo() const;
    /// Element 0 of "error" as an integer.
    std::int64_t errorCode() const;
    /// Element 1 of "error" as a string.
    const qx::IntrusiveString& errorMessage() const;

    /// How many binary blocks follow: "blocks_follow" of "result", cut to 32 bits, or its default
    /// when it is missing, which is 0 without a schema.
    int blocksFollow() const;

    /// Checks "result" against the schema of the method's result. The code is
    /// `Schema::SchemaNotFound` for an empty name, which is looked up nowhere, and for a method
    /// without a schema.
    Schema::ValidationResult validateResult(const qx::IntrusiveString& method) const;

    // ----- Schema URLs -----------------------------------------------------------------------
    //
    // All lie under `Schema::applicationSchemaBaseUrl()`. Method names enter as they stand,
    // without any escaping. Threads: any thread.

    /// The schema of the response envelope: base/rpc/response.json
    static const qx::Url& responseSchemaUrl();
    /// The schema of the method's result: base/rpc/methods/METHOD?result
    static qx::Url resultSchemaUrl(const qx::IntrusiveString& method);

private:
    void setReferenceId(std::int64_t id);
};

static_assert(sizeof(Response) == sizeof(Variant), "a response is its value");

} // namespace json
