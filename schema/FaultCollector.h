// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "schema/Schema.h"
#include "json/Variant.h"

#include <cstddef>

namespace json {

/// How far `collect_validation_errors` goes.
/// Threads: one at a time.
struct CollectionLimits {
    std::size_t faults = 100;   ///< listed at most; a list of that length may lack some
    std::size_t checks = 10000; ///< of single values, each with all that lies below it
    std::size_t depth = 64;     ///< levels below the whole whose values are checked on their own
};

/// All faults that a value has by a schema, for tools that show people what to mend: a List of
/// objects like that of `validation_errors`, in the order of the value, empty for one that
/// satisfies the schema.
///
/// A check ends at the first fault; this one goes on with the children, each by itself with the
/// schema of its place, and with the schemas that "extends" names. A value has at most one fault of
/// its own by each of them, apart from properties that may not stand there, of which each is
/// listed. Nothing is looked at below a value of a wrong type, and a fault that only shows from
/// above, as in the schemas that "type" or "dependencies" list, stands as its check tells it.
///
/// It only asks `Schema::check`: what a check says doesn't change. Neither schema nor value is
/// changed; both may come from a peer. Cost: at most `depth` times that of a check of the whole.
/// Threads: like `Schema::check`.
GATECAST_EXPORT Variant collect_validation_errors(const Schema& schema, const Variant& value,
                                                  const CollectionLimits& limits = {});

} // namespace json
