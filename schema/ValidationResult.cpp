// SPDX-License-Identifier: MIT
#include "core/detail/NeverDestroyed.h"
#include "schema/Schema.h"

#include <map>
#include <ostream>
#include <string>

namespace json {

namespace {

using Messages = std::map<std::int32_t, qx::IntrusiveString>;

// Intended: the spelling of the text of RequiredValueMissing, and that MalformedUri has none.
// Held by ValidationResult.EveryCodeHasItsText.
Messages all_messages() {
    return {{Schema::NoError, "no error"},
            {Schema::SchemaNotFound, "schema not found"},
            {Schema::WrongDataType, "wrong data type"},
            {Schema::InvalidValue, "invalid value"},
            {Schema::ValueOutOfBounds, "value out of bounds"},
            {Schema::ValueNotDivisible, "value not divisible"},
            {Schema::StringLengthOutOfBounds, "string length out of bounds"},
            {Schema::RequiredValueMissing, "required valus is missing"},
            {Schema::DependentValueMissing, "dependent value is missing"},
            {Schema::UnknownStringFormat, "unknown string format"},
            {Schema::InvalidProperty, "invalid property"},
            {Schema::ArrayIndexOutOfBounds, "array index out of bounds"},
            {Schema::SchemaNotDefinedForArrayItem, "schema not defined for array item"},
            {Schema::ArrayItemsNotUnique, "array items must be unique"},
            {Schema::MalformedDateOrTime, "malformed date or time"},
            {Schema::RegularExpressionMismatch, "regular expression mismatch"},
            {Schema::MalformedIpAddress, "malformed IP address"}};
}

} // namespace

const qx::IntrusiveString& Schema::ValidationResult::message(std::int32_t code) {
    static qx::detail::NeverDestroyed<Messages> messages(all_messages());
    return (*messages)[code];
}

// Intended: a detail or a value that reads as false, such as the index 0, is left out.
// Held by ValidationResult.AFalseDetailAndAFalseValueAreLeftOut.
std::ostream& operator<<(std::ostream& out, const Schema::ValidationResult& result) {
    out << "Schema Validation Error (" << std::to_string(result.code)
        << "): " << Schema::ValidationResult::message(result.code);
    if (result.detail.booleanValue()) out << '(' << result.detail << ')';
    out << "\nat: " << result.path;
    if (result.value.booleanValue()) out << " = " << result.value << '\n';
    out << '\n';
    if (result.schema != nullptr) {
        out << "violates schema: \n" << result.schema->definition() << '\n';
    }
    return out;
}

} // namespace json
