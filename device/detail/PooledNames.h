// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/IntrusiveString.h"
#include "json/Object.h"

#include <boost/intrusive_ptr.hpp>

#include <initializer_list>

namespace qx::detail {

/// One field of a structure of pooled names, and its text.
template <typename Names>
struct PooledName {
    boost::intrusive_ptr<IntrusiveString> Names::*field;
    const char* text;
};

/// The structure with each text interned in the pool of keys. A field that no row names is null.
template <typename Names>
Names pooled_names(std::initializer_list<PooledName<Names>> rows) {
    Names names;
    for (const PooledName<Names>& row : rows) {
        names.*row.field = json::Object::key_pool().intern(row.text);
    }
    return names;
}

} // namespace qx::detail
