// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "json/Variant.h"

#include <cstddef>

/// JSON text in a source: nobody gets it who doesn't ask for the namespace.
namespace json::literals {

/// The value of a JSON text that stands in the source.
/// \code
/// using namespace json::literals;
/// const json::Variant door = R"({"name": "front", "open": false})"_json;
/// \endcode
/// The text is read at run time, each time the line is passed. Comments are skipped, as in every
/// text.
/// Bad input: throws `std::invalid_argument` with line, column and the error text of the parser; a
/// text that ends too early, an empty one too, has an error text of its own here.
GATECAST_EXPORT Variant operator""_json(const char* text, std::size_t length);

} // namespace json::literals
