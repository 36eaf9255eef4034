// SPDX-License-Identifier: MIT
#include "json/Variant.h"

#include <new>

namespace json {

/// The eight constants, each with its text printed, so that reading them writes nothing. Behind
/// them the twins of those that a schema may answer as a default: equal, and marked as auto values.
struct VariantConstants {
    const Variant empty{Variant(), false};
    const Variant null{Variant(), false};
    const Variant emptyAutoValue{Variant(), true};
    const Variant isTrue{Variant(true), false};
    const Variant isFalse{Variant(false), false};
    const Variant emptyString{Variant(""), false};
    const Variant emptyList{Variant::newList(), false};
    const Variant emptyObject{Variant::newObject(), false};

    const Variant autoFalse{Variant(false), true};
    const Variant autoEmptyString{Variant(""), true};
    const Variant autoEmptyList{Variant::newList(), true};
    const Variant autoEmptyObject{Variant::newObject(), true};
};

namespace {

/// A place that is bound to the references below before any code runs, and never destroyed.
union Place {
    constexpr Place() : nothing() {}
    ~Place() {}
    char nothing;
    VariantConstants constants;
};

Place place;

struct Builder {
    Builder() { ::new (static_cast<void*>(&place.constants)) VariantConstants; }
};

// Before the static objects of an application, also when the library is linked statically.
[[gnu::init_priority(101)]] Builder builder;

} // namespace

const Variant& Variant::Empty = place.constants.empty;
const Variant& Variant::Null = place.constants.null;
const Variant& Variant::EmptyAutoValue = place.constants.emptyAutoValue;
const Variant& Variant::True = place.constants.isTrue;
const Variant& Variant::False = place.constants.isFalse;
const Variant& Variant::EmptyString = place.constants.emptyString;
const Variant& Variant::EmptyList = place.constants.emptyList;
const Variant& Variant::EmptyObject = place.constants.emptyObject;

/// The marked twin of a constant, any other value itself: constants never change, not even a mark.
const Variant& Variant::markedTwin(const Variant& constant) {
    const VariantConstants& constants = place.constants;
    if (&constant == &constants.isFalse) return constants.autoFalse;
    if (&constant == &constants.emptyString) return constants.autoEmptyString;
    if (&constant == &constants.emptyList) return constants.autoEmptyList;
    if (&constant == &constants.emptyObject) return constants.autoEmptyObject;
    return constant;
}

} // namespace json
