// SPDX-License-Identifier: MIT
#include "core/detail/Place.h"
#include "json/Variant.h"

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

qx::detail::Place<VariantConstants> place;

struct Builder {
    Builder() { place.build(); }
};

[[gnu::init_priority(101)]] Builder builder;

} // namespace

const Variant& Variant::Empty = place.content.empty;
const Variant& Variant::Null = place.content.null;
const Variant& Variant::EmptyAutoValue = place.content.emptyAutoValue;
const Variant& Variant::True = place.content.isTrue;
const Variant& Variant::False = place.content.isFalse;
const Variant& Variant::EmptyString = place.content.emptyString;
const Variant& Variant::EmptyList = place.content.emptyList;
const Variant& Variant::EmptyObject = place.content.emptyObject;

/// The marked twin of a constant, any other value itself: constants never change, not even a mark.
const Variant& Variant::markedTwin(const Variant& constant) {
    const VariantConstants& constants = place.content;
    if (&constant == &constants.isFalse) return constants.autoFalse;
    if (&constant == &constants.emptyString) return constants.autoEmptyString;
    if (&constant == &constants.emptyList) return constants.autoEmptyList;
    if (&constant == &constants.emptyObject) return constants.autoEmptyObject;
    return constant;
}

} // namespace json
