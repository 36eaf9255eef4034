// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "json/Variant.h"

#include <boost/container/small_vector.hpp>

namespace json {

/// A deep copy under way: the containers on the way down to where it is, and those beside them that
/// wait. A peer shapes the depth, so nothing may recurse over it.
class Variant::Cloning {
public:
    /// A copy that is to be filled when its turn comes: after what was added before it.
    void add(Variant& copy, const Variant& source) { waiting_.push_back({&copy, &source, false}); }
    /// Whether values are made for an object.
    bool inObject() const noexcept { return inObject_; }

    /// Fills what was added, in the order of the text, which is mostly that of the memory, and
    /// makes each value the owner of its container.
    void run();

private:
    struct Container {
        Variant* copy;
        const Variant* source;
        bool filled;
    };

    void fill(Variant& copy, const Variant& source);

    boost::container::small_vector<Container, 8> waiting_;
    bool inObject_ = false;
};

} // namespace json
