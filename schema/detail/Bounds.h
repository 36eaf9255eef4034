// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "schema/Schema.h"

#include <cstdint>
#include <limits>

namespace json {

/// What a definition says of the size of a value, read in one walk over its entries. A keyword that
/// is missing stands at what bounds nothing.
struct Schema::Bounds {
    std::int64_t minimum = std::numeric_limits<std::int64_t>::min();
    std::int64_t maximum = std::numeric_limits<std::int64_t>::max();
    std::int64_t divisibleBy = 0;
    std::uint64_t minItems = 0;
    std::uint64_t maxItems = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t minLength = 0;
    std::uint64_t maxLength = std::numeric_limits<std::uint64_t>::max();
    bool exclusiveMinimum = false;
    bool exclusiveMaximum = false;
    bool uniqueItems = false;
    bool hasFormat = false;    ///< "format" isn't the empty text
    bool boundsNumber = false; ///< one of the five keywords of numbers is there
};

} // namespace json
