// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "schema/Schema.h"
#include "json/Variant.h"

#include <string>
#include <string_view>

namespace json::detail {

/// The kind that a schema document calls by the name, all of them for "any", none for an unknown
/// name.
Schema::TypeSet type_from_string(std::string_view name);

/// The words of a document for the kinds: "any", "void" for none, else the names joined by ",".
std::string string_from_types(const Schema::TypeSet& types);

/// `Schema::UnknownFormat` for an unknown word and for the empty text.
Schema::StringFormat parse_format(std::string_view word);

} // namespace json::detail
