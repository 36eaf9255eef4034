// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveObject.h"
#include "core/IntrusiveString.h"
#include "core/Url.h"
#include "json/Path.h"
#include "json/Variant.h"

#include <boost/intrusive_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>

namespace json {

/// One node of a schema tree, counted: what a value may be.
///
/// A schema is held through `boost::intrusive_ptr<json::Schema>`. `NullPtr` means that nothing may
/// stand at a place, `EmptyPtr` that anything may.
/// Threads: one at a time; a check writes the schema's own result.
class GATECAST_EXPORT Schema : public qx::IntrusiveObject {
public:
    /// What went wrong in a check. The numbers are printed and don't change.
    enum ValidationCode : std::int32_t {
        NoError = 0,
        SchemaNotFound = 1,
        WrongDataType = 2,
        InvalidValue = 3,
        ValueOutOfBounds = 4,
        ValueNotDivisible = 5,
        StringLengthOutOfBounds = 6,
        RequiredValueMissing = 7,
        DependentValueMissing = 8,
        UnknownStringFormat = 9,
        InvalidProperty = 10,
        ArrayIndexOutOfBounds = 11,
        SchemaNotDefinedForArrayItem = 12,
        ArrayItemsNotUnique = 13,
        MalformedDateOrTime = 14,
        RegularExpressionMismatch = 15,
        MalformedIpAddress = 16,
        MalformedUri = 17
    };

    struct ValidationResult;

    /// @name Shared schemas
    /// They can be used from static objects of an application, before and after `main`.
    /// @{
    static const boost::intrusive_ptr<Schema>& NullPtr;  ///< null
    static const Schema& Empty;                          ///< stands for "no schema"
    static const boost::intrusive_ptr<Schema>& EmptyPtr; ///< no constraints; not `Empty`
    /// @}

    /// No constraints.
    Schema();
    // The order of the virtual operations is ABI.
    virtual ~Schema();
    Schema(const Schema&) = delete;
    Schema& operator=(const Schema&) = delete;

    /// Whether the definition has no entries.
    bool empty() const;
    /// The schema document of this node.
    const Object& definition() const;

    /// Checks the value. The reference is to a field of this schema that its next check
    /// overwrites. Bad input: a null pointer counts as `Variant::Empty`.
    /// @{
    const ValidationResult& validate(const Variant& value) const;
    const ValidationResult& validate(const Variant* value) const;
    /// @}
    /// The result as the last `validate` left it.
    const ValidationResult& validationResult() const;

    /// Schema of the element at the index, null if nothing may stand there.
    /// @{
    boost::intrusive_ptr<Schema> at(std::size_t index) const;
    boost::intrusive_ptr<Schema> operator[](std::size_t index) const { return at(index); }
    /// @}
    /// Schema of the property, null if nothing may stand there.
    /// @{
    boost::intrusive_ptr<Schema> property(const qx::IntrusiveString& key) const;
    boost::intrusive_ptr<Schema>
    property(const boost::intrusive_ptr<qx::IntrusiveString>& key) const;
    /// @}
    /// The default value; the schema keeps it alive.
    const Variant& autoValue() const;

    /// The registered schema of the URL, made absolute against the context unless that is empty.
    /// Null when there is none; nothing is fetched.
    static boost::intrusive_ptr<Schema> resolve(const qx::Url& url, const qx::Url& context);
    /// `http://schemas.gatecast.example`: the system's own schema URLs are joined under it.
    static const qx::Url& applicationSchemaBaseUrl();

private:
    friend struct SchemaConstants;

    Variant definition_;
    std::unique_ptr<ValidationResult> result_; // written by a check, which is const
};

/// The outcome of a check: the first fault found. A value that can be copied freely.
///
/// `schema` and `rootSchema` don't own: they may be read only as long as the schemas live.
struct GATECAST_EXPORT Schema::ValidationResult {
    std::int32_t code = NoError;        ///< a `ValidationCode`
    const Schema* schema = nullptr;     ///< the node that found the fault, null when valid
    Variant value;                      ///< the value at fault
    Variant detail;                     ///< an extra that depends on the code
    const Schema* rootSchema = nullptr; ///< the schema whose `validate` was called
    Variant rootValue;                  ///< the value handed to it
    Path path;                          ///< where in `rootValue` the fault lies

    ValidationResult() = default;
    ValidationResult(std::int32_t faultCode) : code(faultCode) {}

    /// Whether the code is `NoError`.
    bool ok() const noexcept { return code == NoError; }
    explicit operator bool() const noexcept { return ok(); }

    /// The text of a code, empty for an unknown one. The reference lives to the end of the
    /// process.
    static const qx::IntrusiveString& message(std::int32_t code);
};

/// Writes the report of a fault in several lines.
GATECAST_EXPORT std::ostream& operator<<(std::ostream& out, const Schema::ValidationResult& result);

} // namespace json
