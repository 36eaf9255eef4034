// SPDX-License-Identifier: MIT
#include "schema/detail/Bounds.h"

#include "core/detail/NeverDestroyed.h"
#include "schema/detail/Keywords.h"

#include <array>
#include <cstddef>
#include <utility>

namespace json {

const detail::Keywords& detail::keywords() {
    static const qx::detail::NeverDestroyed<Keywords> words;
    return *words;
}

namespace {

/// A definition of more entries is asked for each keyword, which costs the same whatever its size.
constexpr std::size_t kWalkedEntries = 32;

enum class Bound : unsigned char {
    Minimum,
    Maximum,
    ExclusiveMinimum,
    ExclusiveMaximum,
    DivisibleBy,
    MinItems,
    MaxItems,
    UniqueItems,
    MinLength,
    MaxLength,
    Format,
    None
};

constexpr unsigned bit(Bound bound) { return 1U << static_cast<unsigned>(bound); }
constexpr unsigned kBoundsOfNumbers = bit(Bound::Minimum) | bit(Bound::Maximum) |
                                      bit(Bound::ExclusiveMinimum) | bit(Bound::ExclusiveMaximum) |
                                      bit(Bound::DivisibleBy);

/// Tells by identity which bound an interned key names.
class BoundKeys {
public:
    BoundKeys() {
        const detail::Keywords& words = detail::keywords();
        const std::pair<const Object::Key&, Bound> bounds[] = {
            {words.minimum, Bound::Minimum},
            {words.maximum, Bound::Maximum},
            {words.exclusiveMinimum, Bound::ExclusiveMinimum},
            {words.exclusiveMaximum, Bound::ExclusiveMaximum},
            {words.divisibleBy, Bound::DivisibleBy},
            {words.minItems, Bound::MinItems},
            {words.maxItems, Bound::MaxItems},
            {words.uniqueItems, Bound::UniqueItems},
            {words.minLength, Bound::MinLength},
            {words.maxLength, Bound::MaxLength},
            {words.format, Bound::Format}};
        for (const auto& [key, bound] : bounds) {
            std::size_t slot = place(key.get());
            while (slots_[slot].key != nullptr) {
                slot = (slot + 1) % slots_.size();
            }
            slots_[slot] = {key.get(), bound};
        }
    }

    Bound operator[](const Object::Key& key) const {
        std::size_t slot = place(key.get());
        while (slots_[slot].key != nullptr && slots_[slot].key != key.get()) {
            slot = (slot + 1) % slots_.size();
        }
        return slots_[slot].bound;
    }

private:
    struct Slot {
        const qx::IntrusiveString* key = nullptr;
        Bound bound = Bound::None;
    };

    std::size_t place(const qx::IntrusiveString* key) const {
        const auto address = reinterpret_cast<std::uintptr_t>(key);
        return (address >> 4 ^ address >> 10) % slots_.size();
    }

    std::array<Slot, 64> slots_{}; // far from full, so that a search ends soon
};

const BoundKeys& bound_keys() {
    static const qx::detail::NeverDestroyed<BoundKeys> keys;
    return *keys;
}

} // namespace

/// Whether a keyword that the definition hasn't got reads as null: a schema that the definition
/// itself is bound to may say otherwise.
bool Schema::missingKeywordsAreNull() const {
    return definition().owner() == nullptr || definition().schema().leavesPropertiesFree();
}

Schema::Bounds Schema::bounds() const {
    const Object& document = definition();
    if (document.size() > kWalkedEntries || !missingKeywordsAreNull()) return askedBounds();
    const BoundKeys& keys = bound_keys();
    Bounds bounds;
    unsigned found = 0;
    for (const auto& [key, value] : document) {
        const Bound bound = keys[key];
        if (bound == Bound::None || (found & bit(bound)) != 0) continue; // the first entry counts
        found |= bit(bound);
        switch (bound) {
        case Bound::Minimum:
            bounds.minimum = value.integerValue();
            break;
        case Bound::Maximum:
            bounds.maximum = value.integerValue();
            break;
        case Bound::ExclusiveMinimum:
            bounds.exclusiveMinimum = value.booleanValue();
            break;
        case Bound::ExclusiveMaximum:
            bounds.exclusiveMaximum = value.booleanValue();
            break;
        case Bound::DivisibleBy:
            bounds.divisibleBy = value.integerValue();
            break;
        case Bound::MinItems:
            bounds.minItems = count(value);
            break;
        case Bound::MaxItems:
            bounds.maxItems = count(value);
            break;
        case Bound::UniqueItems:
            bounds.uniqueItems = value.booleanValue();
            break;
        case Bound::MinLength:
            bounds.minLength = count(value);
            break;
        case Bound::MaxLength:
            bounds.maxLength = count(value);
            break;
        case Bound::Format:
            bounds.hasFormat = !text(value).empty();
            break;
        case Bound::None:
            break;
        }
    }
    bounds.boundsNumber = (found & kBoundsOfNumbers) != 0;
    return bounds;
}

Schema::Bounds Schema::askedBounds() const {
    Bounds bounds;
    bounds.minimum = minimum();
    bounds.maximum = maximum();
    bounds.divisibleBy = divisibleBy();
    bounds.minItems = minItems();
    bounds.maxItems = maxItems();
    bounds.minLength = minStringLength();
    bounds.maxLength = maxStringLength();
    bounds.exclusiveMinimum = exclusiveMinimum();
    bounds.exclusiveMaximum = exclusiveMaximum();
    bounds.uniqueItems = uniqueItems();
    bounds.hasFormat = !format().empty();
    bounds.boundsNumber = true;
    return bounds;
}

} // namespace json
