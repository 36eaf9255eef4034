// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "json/Variant.h"

#include <cstddef>
#include <cstdint>

namespace json {

/// Walks the direct children of one value: the elements of a list, the entries of an object, or
/// the value itself, once, for anything else.
/// \code
/// for (json::VariantIterator it(value); !it.atEnd(); ++it) {
///     std::cout << it.key() << ' ' << *it << '\n';
/// }
/// \endcode
/// An iterator points into the value that it walks: it ends with the value, and with any change of
/// its container. On an object a step back costs a walk from the start.
/// Threads: one at a time.
class GATECAST_EXPORT VariantIterator {
public:
    /// A position among the children of one kind of value.
    class GATECAST_EXPORT Impl {
    public:
        Impl() = default;
        /// The same place; for `clone`.
        Impl(const Impl&) = default;
        Impl& operator=(const Impl&) = delete;

        // The order of the virtual operations is ABI.
        virtual ~Impl();
        /// A position of its own; the caller owns it.
        virtual Impl* clone() const = 0;
        /// Whether it stands on the first child.
        virtual bool atBegin() const = 0;
        /// Whether it stands behind the last child.
        virtual bool atEnd() const = 0;
        /// Back to the first child.
        virtual void reset() = 0;
        /// The key of an object's entry, the empty text elsewhere.
        virtual const qx::IntrusiveString& key() const;
        /// The index of a list's element, -1 elsewhere.
        virtual int index() const;
        /// The child itself.
        virtual const Variant& value() const = 0;
        /// Whether the other is the same position, of the same kind.
        virtual bool equals(const Impl* other) const = 0;
        /// Whether an order between the two means something.
        virtual bool comparable(const Impl* other) const;
        /// Bad input: 0 for a position of another kind.
        virtual int compare(const Impl* other) const = 0;
        /// Moves by `count` children, back when it is negative.
        virtual void increment(int count) = 0;
    };

    /// Starts at the first child. The value must outlive the iterator.
    VariantIterator(const Variant& value);
    /// The same value and place.
    /// @{
    VariantIterator(const VariantIterator& source);
    VariantIterator& operator=(const VariantIterator& source);
    /// @}
    // The order of the virtual operations is ABI.
    virtual ~VariantIterator();

    /// The first child, as from the constructor.
    static VariantIterator begin(const Variant& value) { return VariantIterator(value); }
    /// The one position over `Variant::True`, whatever the value is.
    /// Warning: this is no end position of the value. It is unequal to every position in a list or
    /// an object, so a loop that waits for it never ends. Ask `atEnd` instead.
    static VariantIterator end(const Variant& value);

    /// The value that is walked.
    const Variant& owner() const { return *owner_; }
    /// The present child. Bad input: behind the last child the result is undefined.
    /// @{
    const Variant& value() const { return impl_->value(); }
    const Variant& operator*() const { return value(); }
    const Variant* operator->() const { return &value(); }
    /// @}
    /// Of the value that is walked.
    /// @{
    bool isList() const { return owner_->isList(); }
    bool isObject() const { return owner_->isObject(); }
    /// @}
    /// Whether it stands on the first child.
    bool atBegin() const { return impl_->atBegin(); }
    /// Whether it stands behind the last child: what a loop asks.
    bool atEnd() const { return impl_->atEnd(); }
    /// Key of the present entry, the empty text outside of objects.
    /// Bad input: behind the last entry the result is undefined.
    const qx::IntrusiveString& key() const { return impl_->key(); }
    /// Index of the present element, -1 outside of lists.
    int index() const { return impl_->index(); }
    /// Whether there is no child.
    bool empty() const { return atBegin() && atEnd(); }

    /// Goes back to the first child.
    VariantIterator& reset();

    /// Whether both stand on the same child, or behind the last one of the same list, or of any two
    /// objects. Values without children are compared by their values.
    bool operator==(const VariantIterator& other) const { return impl_->equals(other.impl_); }
    /// The opposite.
    bool operator!=(const VariantIterator& other) const { return !(*this == other); }
    /// Whether both walk the same children: those of one container, or equal values without any.
    bool comparable(const VariantIterator& other) const;
    /// The distance from the other position, in a list by index. On an object it is found by
    /// walking both forward, and it is negative when this one reaches its end no later than the
    /// other one, whichever stands first. Bad input: 0 for positions of different kinds.
    int compare(const VariantIterator& other) const { return impl_->compare(other.impl_); }
    /// All four are false for positions that can't be compared.
    /// @{
    bool operator<(const VariantIterator& other) const;
    bool operator<=(const VariantIterator& other) const;
    bool operator>(const VariantIterator& other) const;
    bool operator>=(const VariantIterator& other) const;
    /// @}

    /// On a list a position may leave the elements at both ends and come back; on an object it
    /// stops at the first entry and behind the last one.
    /// @{
    VariantIterator& operator+=(int count);
    VariantIterator& operator-=(int count);
    VariantIterator& operator++() { return *this += 1; }
    VariantIterator& operator--() { return *this -= 1; }
    VariantIterator operator++(int);
    VariantIterator operator--(int);
    VariantIterator operator+(int count) const;
    VariantIterator operator-(int count) const;
    /// @}

protected:
    /// Takes the position over.
    VariantIterator(const Variant& value, Impl* impl) : owner_(&value), impl_(impl) {}

private:
    const Variant* owner_;
    Impl* impl_;
};

/// A position in a list.
/// Threads: one at a time.
class GATECAST_EXPORT VarListIterator : public VariantIterator::Impl {
public:
    /// At the first element, or behind the last one. The list must outlive it.
    VarListIterator(const List& list, bool atBegin);
    ~VarListIterator() override;

    /// As `VariantIterator::Impl` says.
    /// @{
    Impl* clone() const override;
    bool atBegin() const override;
    bool atEnd() const override;
    void reset() override;
    int index() const override;
    const Variant& value() const override;
    bool equals(const Impl* other) const override;
    bool comparable(const Impl* other) const override;
    int compare(const Impl* other) const override;
    void increment(int count) override;
    /// @}

private:
    List::const_iterator begin_;
    std::ptrdiff_t current_; // may lie outside of the list
    std::ptrdiff_t end_;
};

/// A position in an object, in its own order.
/// Threads: one at a time.
class GATECAST_EXPORT VarObjectIterator : public VariantIterator::Impl {
public:
    /// At the first entry, or behind the last one. The object must outlive it.
    VarObjectIterator(const Object& object, bool atBegin);
    ~VarObjectIterator() override;

    /// As `VariantIterator::Impl` says.
    /// @{
    Impl* clone() const override;
    bool atBegin() const override;
    bool atEnd() const override;
    void reset() override;
    const qx::IntrusiveString& key() const override;
    const Variant& value() const override;
    bool equals(const Impl* other) const override;
    bool comparable(const Impl* other) const override;
    int compare(const Impl* other) const override;
    void increment(int count) override;
    /// @}

private:
    using Position = Object::const_iterator;

    Position next(Position position) const;
    void stepBack(std::int64_t count);

    Position begin_;
    Position current_;
    Position end_;
};

/// The one position of a value that has no children: on it, or behind it.
/// Threads: one at a time.
class GATECAST_EXPORT VarSingleIterator : public VariantIterator::Impl {
public:
    /// On the value, or behind it. The value must outlive it.
    VarSingleIterator(const Variant& value, bool first);
    ~VarSingleIterator() override;

    /// As `VariantIterator::Impl` says.
    /// @{
    Impl* clone() const override;
    bool atBegin() const override;
    bool atEnd() const override;
    void reset() override;
    const Variant& value() const override;
    bool equals(const Impl* other) const override;
    bool comparable(const Impl* other) const override;
    int compare(const Impl* other) const override;
    void increment(int count) override;
    /// @}

private:
    const Variant* value_;
    bool first_;
};

} // namespace json
