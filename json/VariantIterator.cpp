// SPDX-License-Identifier: MIT
#include "json/VariantIterator.h"

#include <limits>
#include <utility>

namespace json {

namespace {

constexpr int kMost = std::numeric_limits<int>::max();

/// The first position for the type of the value.
VariantIterator::Impl* new_position(const Variant& value) {
    if (value.isObject()) return new VarObjectIterator(value.objectValue(), true);
    if (value.isList()) return new VarListIterator(value.listValue(), true);
    return new VarSingleIterator(value, true);
}

} // namespace

// ----- VariantIterator ---------------------------------------------------------------------------

VariantIterator::Impl::~Impl() = default;

const qx::IntrusiveString& VariantIterator::Impl::key() const {
    return Variant::EmptyString.stringValue();
}

int VariantIterator::Impl::index() const { return -1; }

bool VariantIterator::Impl::comparable(const Impl*) const { return true; }

VariantIterator::VariantIterator(const Variant& value)
    : VariantIterator(value, new_position(value)) {}

VariantIterator::VariantIterator(const VariantIterator& source)
    : VariantIterator(*source.owner_, source.impl_->clone()) {}

VariantIterator& VariantIterator::operator=(const VariantIterator& source) {
    if (impl_ != source.impl_) {
        Impl* copy = source.impl_->clone();
        delete std::exchange(impl_, copy);
    }
    owner_ = source.owner_;
    return *this;
}

VariantIterator::~VariantIterator() { delete impl_; }

// Intended: the answer stands on a Boolean, whatever is walked.
// Held by VariantIterator.TheEndIsUnequalToEveryPositionOfAContainer.
VariantIterator VariantIterator::end(const Variant&) { return VariantIterator(Variant::True); }

VariantIterator& VariantIterator::reset() {
    impl_->reset();
    return *this;
}

bool VariantIterator::comparable(const VariantIterator& other) const {
    return impl_->comparable(other.impl_);
}

bool VariantIterator::operator<(const VariantIterator& other) const {
    return comparable(other) && compare(other) < 0;
}

bool VariantIterator::operator<=(const VariantIterator& other) const {
    return comparable(other) && compare(other) <= 0;
}

bool VariantIterator::operator>(const VariantIterator& other) const {
    return comparable(other) && compare(other) > 0;
}

bool VariantIterator::operator>=(const VariantIterator& other) const {
    return comparable(other) && compare(other) >= 0;
}

VariantIterator& VariantIterator::operator+=(int count) {
    impl_->increment(count);
    return *this;
}

VariantIterator& VariantIterator::operator-=(int count) {
    // The lowest number has no counterpart.
    impl_->increment(count < -kMost ? kMost : -count);
    return *this;
}

VariantIterator VariantIterator::operator++(int) {
    VariantIterator old(*this);
    ++*this;
    return old;
}

VariantIterator VariantIterator::operator--(int) {
    VariantIterator old(*this);
    --*this;
    return old;
}

VariantIterator VariantIterator::operator+(int count) const {
    VariantIterator moved(*this);
    return moved += count;
}

VariantIterator VariantIterator::operator-(int count) const {
    VariantIterator moved(*this);
    return moved -= count;
}

// ----- VarListIterator ---------------------------------------------------------------------------

VarListIterator::VarListIterator(const List& list, bool atBegin)
    : begin_(list.begin()), current_(0), end_(static_cast<std::ptrdiff_t>(list.size())) {
    if (!atBegin) current_ = end_;
}

VarListIterator::~VarListIterator() = default;

VariantIterator::Impl* VarListIterator::clone() const { return new VarListIterator(*this); }
bool VarListIterator::atBegin() const { return current_ <= 0; }
bool VarListIterator::atEnd() const { return current_ >= end_; }
void VarListIterator::reset() { current_ = 0; }
int VarListIterator::index() const { return static_cast<int>(current_); }
const Variant& VarListIterator::value() const { return begin_[current_]; }
void VarListIterator::increment(int count) { current_ += count; }

bool VarListIterator::equals(const Impl* other) const {
    const auto* list = dynamic_cast<const VarListIterator*>(other);
    return list != nullptr && begin_ == list->begin_ && current_ == list->current_;
}

bool VarListIterator::comparable(const Impl* other) const {
    const auto* list = dynamic_cast<const VarListIterator*>(other);
    return list != nullptr && begin_ == list->begin_;
}

int VarListIterator::compare(const Impl* other) const {
    const auto* list = dynamic_cast<const VarListIterator*>(other);
    return list != nullptr ? static_cast<int>(current_ - list->current_) : 0;
}

// ----- VarObjectIterator -------------------------------------------------------------------------

VarObjectIterator::VarObjectIterator(const Object& object, bool atBegin)
    : begin_(object.begin()), current_(atBegin ? object.begin() : object.end()),
      end_(object.end()) {}

VarObjectIterator::~VarObjectIterator() = default;

VariantIterator::Impl* VarObjectIterator::clone() const { return new VarObjectIterator(*this); }
bool VarObjectIterator::atBegin() const { return current_ == begin_; }
bool VarObjectIterator::atEnd() const { return current_ == end_; }
void VarObjectIterator::reset() { current_ = begin_; }
const qx::IntrusiveString& VarObjectIterator::key() const { return *current_->first; }
const Variant& VarObjectIterator::value() const { return current_->second; }

VarObjectIterator::Position VarObjectIterator::next(Position position) const {
    if (position != end_) ++position;
    return position;
}

void VarObjectIterator::increment(int count) {
    if (count < 0) stepBack(-static_cast<std::int64_t>(count));
    for (; count > 0 && current_ != end_; --count) {
        ++current_;
    }
}

/// Two fingers, `count` apart, go from the begin until the one in front is at the present entry.
void VarObjectIterator::stepBack(std::int64_t count) {
    Position lead = begin_;
    for (; count > 0 && lead != current_; --count) {
        ++lead;
    }
    Position trail = begin_;
    while (lead != current_) {
        ++lead;
        ++trail;
    }
    current_ = trail;
}

// Intended: the end has no entry, so that the ends of all objects are equal.
// Held by VariantIterator.TheEndsOfAllObjectsAreOnePosition.
bool VarObjectIterator::equals(const Impl* other) const {
    const auto* object = dynamic_cast<const VarObjectIterator*>(other);
    return object != nullptr && current_ == object->current_;
}

bool VarObjectIterator::comparable(const Impl* other) const {
    const auto* object = dynamic_cast<const VarObjectIterator*>(other);
    return object != nullptr && begin_ == object->begin_;
}

// Intended: a position that runs into its end first compares as less, whichever stands in front.
// Held by VariantIterator.ComparesPositionsInAnObjectByWhichOneEndsFirst.
int VarObjectIterator::compare(const Impl* other) const {
    const auto* object = dynamic_cast<const VarObjectIterator*>(other);
    if (object == nullptr || current_ == object->current_) return 0;
    Position mine = next(current_);
    Position theirs = object->next(object->current_);
    int distance = 1;
    for (; mine != object->current_ && mine != end_; ++distance) {
        if (theirs == current_ || theirs == object->end_) return distance;
        ++mine;
        ++theirs;
    }
    return -distance;
}

// ----- VarSingleIterator -------------------------------------------------------------------------

VarSingleIterator::VarSingleIterator(const Variant& value, bool first)
    : value_(&value), first_(first) {}

VarSingleIterator::~VarSingleIterator() = default;

VariantIterator::Impl* VarSingleIterator::clone() const { return new VarSingleIterator(*this); }
bool VarSingleIterator::atBegin() const { return first_; }
bool VarSingleIterator::atEnd() const { return !first_; }
void VarSingleIterator::reset() { first_ = true; }
const Variant& VarSingleIterator::value() const { return *value_; }

void VarSingleIterator::increment(int count) {
    if (count != 0) first_ = count < 0;
}

bool VarSingleIterator::equals(const Impl* other) const {
    const auto* single = dynamic_cast<const VarSingleIterator*>(other);
    return single != nullptr && *value_ == *single->value_ && first_ == single->first_;
}

bool VarSingleIterator::comparable(const Impl* other) const {
    const auto* single = dynamic_cast<const VarSingleIterator*>(other);
    return single != nullptr && *value_ == *single->value_;
}

int VarSingleIterator::compare(const Impl* other) const {
    const auto* single = dynamic_cast<const VarSingleIterator*>(other);
    return single != nullptr ? (single->first_ ? 1 : 0) - (first_ ? 1 : 0) : 0;
}

} // namespace json
