// SPDX-License-Identifier: MIT
#pragma once

#include "core/IntrusiveString.h"
#include "json/Variant.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

/// What containers and subclasses see of a value, opened for tests.
struct ValueProbe : json::Variant {
    using json::Variant::Variant;
    ValueProbe() = default;
    ValueProbe(const ValueProbe&) = default;
    explicit ValueProbe(const json::Variant& value) : json::Variant(value) {}
    ValueProbe(const json::Variant& value, bool autoValue) : json::Variant(value, autoValue) {}
    explicit ValueProbe(qx::IntrusiveString* text) : json::Variant(text) {}
    explicit ValueProbe(json::Object* object) : json::Variant(object) {}
    explicit ValueProbe(json::List* list) : json::Variant(list) {}
    ValueProbe& operator=(const ValueProbe&) = default;
    using json::Variant::operator=;

    using json::Variant::assign;
    using json::Variant::assignNull;
    using json::Variant::attach_owner;
    using json::Variant::compareTo;
    using json::Variant::constListRef;
    using json::Variant::constObjectRef;
    using json::Variant::constStringRef;
    using json::Variant::copyForWrite;
    using json::Variant::copyFrom;
    using json::Variant::detach_owner;
    using json::Variant::enableCopyOnWrite;
    using json::Variant::isSticky;
    using json::Variant::listRef;
    using json::Variant::objectRef;
    using json::Variant::release;
    using json::Variant::resetPrintDirty;
    using json::Variant::setAutoValue;
    using json::Variant::setParent;
    using json::Variant::setPrintDirty;
    using json::Variant::setSticky;
    using json::Variant::setType;
    using json::Variant::shared_parser;
    using json::Variant::shared_stream_printer;
    using json::Variant::shared_string_printer;
    using json::Variant::stringRef;
};

// The same for values that a test doesn't build itself, such as the elements of a list.

inline bool is_sticky(const json::Variant& value) { return (value.*&ValueProbe::isSticky)(); }

inline void set_sticky(const json::Variant& value, bool sticky) {
    (value.*&ValueProbe::setSticky)(sticky);
}

inline void set_auto_value(const json::Variant& value, bool autoValue) {
    (value.*&ValueProbe::setAutoValue)(autoValue);
}

inline int compare(const json::Variant& left, const json::Variant& right) {
    return (left.*&ValueProbe::compareTo)(right);
}

/// Reads the mark and leaves it as it was.
inline bool is_print_dirty(const json::Variant& value) {
    const bool marked = (value.*&ValueProbe::resetPrintDirty)();
    if (marked) (value.*&ValueProbe::setPrintDirty)();
    return marked;
}

inline void clear_marks(const json::Variant& value) {
    value.setDirty(false);
    (value.*&ValueProbe::resetPrintDirty)();
}

/// The value that stands for a container, as an element of it sees it.
template <class Container>
const json::Variant* owner_of(const Container& container) {
    ValueProbe element;
    element.setParent(const_cast<Container*>(&container));
    return element.parent();
}

inline json::List& list_of(const json::Variant& value) {
    return const_cast<json::List&>(value.listValue());
}

inline json::Object& object_of(const json::Variant& value) {
    return const_cast<json::Object&>(value.objectValue());
}

/// The whole text of a value that may hold NULs.
inline std::string text_of(const json::Variant& value) {
    const qx::IntrusiveString& text = value.stringValue();
    return std::string(text.c_str(), text.length());
}

/// Compact JSON, printed afresh.
inline std::string json_of(const json::Variant& value) {
    const boost::intrusive_ptr<qx::IntrusiveString> text(value.print(false));
    return std::string(text->c_str(), text->length());
}
