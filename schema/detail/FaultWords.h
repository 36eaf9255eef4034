// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "schema/Schema.h"
#include "json/Path.h"
#include "json/Variant.h"

#include <map>
#include <string>
#include <string_view>

namespace json::detail {

/// Describes faults that were found by one schema, in the words of `validation_errors`.
class FaultWords {
public:
    /// `root` is the schema whose document has paths without a URL; null for none.
    explicit FaultWords(const Schema* root) : root_(root) {}

    /// The object that describes the fault at that place.
    Variant describe(const Schema::ValidationResult& fault, const std::string& instancePath);

    /// A segment of a JSON pointer with its slash, "/" and "~" escaped.
    static std::string segment(std::string_view text);
    static std::string pointer(const Path& path);

private:
    const std::string& placeOf(const Schema& schema);

    const Schema* root_;
    std::map<const Object*, std::string> places_; // of documents, without the keyword
};

} // namespace json::detail
