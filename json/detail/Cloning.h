// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "json/Variant.h"

#include <cstddef>
#include <vector>

namespace json {

/// A deep copy under way: the containers that were met, those above first. They are kept in a list:
/// a peer shapes the depth, so nothing may recurse over it.
class Variant::Cloning {
public:
    struct Container {
        Variant* copy;
        const Variant* source;
    };

    std::vector<Container>& containers() noexcept { return containers_; }
    const std::vector<Container>& containers() const noexcept { return containers_; }
    /// Whether values are made for an object.
    bool inObject() const noexcept { return inObject_; }

    /// Fills the copy of that container, which may add more.
    void fill(std::size_t index);

private:
    std::vector<Container> containers_;
    bool inObject_ = false;
};

} // namespace json
