// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "schema/Schema.h"
#include "json/Variant.h"

#include <cstddef>

namespace json {

/// The fault of a check as JSON, in the words that ajv has for it: a List of one object, empty for
/// a result that is `ok()`.
///
/// | Member         | Holds                                                          |
/// |----------------|----------------------------------------------------------------|
/// | `instancePath` | where the value at fault lies, as a JSON pointer: "/1/open"    |
/// | `schemaPath`   | the keyword that it violates: "#/items/properties/open/type"   |
/// | `keyword`      | its name, in the spelling of the schema                        |
/// | `params`       | an object with what the keyword asks for, by keyword           |
/// | `message`      | a sentence for people; lengths are in bytes, as they are here  |
///
/// The whole value has the pointer "". The URL of a document that a reference led to stands in
/// front of the "#". `docs/schemas.md` lists keywords, parameters and messages. The print of a
/// result stays as it is. The two schemas of the result must still live. Cost: linear in the
/// documents, to find the place of the schema. Warning: after a failed alternative of "type" the
/// result's path, and so `instancePath`, may hold steps of that alternative;
/// `collect_validation_errors` tells the place itself.
GATECAST_EXPORT Variant validation_errors(const Schema::ValidationResult& result);

} // namespace json
