// SPDX-License-Identifier: MIT
#include "core/Mutex.h"
#include "core/detail/NeverDestroyed.h"
#include "core/detail/ProcessLock.h"
#include "json/detail/Cloning.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <typeinfo>
#include <utility>
#include <vector>

namespace json {

namespace {

/// The containers that lost their last pointer while another one is being destroyed, each above the
/// one that held it: a stack linked through themselves. A peer shapes the depth, so nothing may
/// recurse over it. An object stands for itself, a list for its address and 1.
thread_local std::uintptr_t* waiting_containers = nullptr;

constexpr std::uintptr_t kList = 1;

} // namespace

// ----- Marks -------------------------------------------------------------------------------------

void Variant::setDirty(bool dirty) const noexcept {
    setFlag(kDirty, dirty);
    if (dirty) setPrintDirty();
}

bool Variant::resetPrintDirty() const noexcept {
    const bool was = (flags() & kPrintDirty) != 0;
    if (was) setFlag(kPrintDirty, false); // a value that others read too isn't written without need
    return was;
}

bool Variant::copyForWrite(qx::IntrusiveObject* payload) const {
    return payload->use_count() > 1 && !isSticky();
}

// ----- Copy and release --------------------------------------------------------------------------

// Intended: a copy is dirty, whatever its source is; null alone equals what a new value is.
// Held by Variant.IsDirtyAfterCopyConstructionUnlessNull.
void Variant::copyFrom(const Variant& source) {
    detach_owner();
    switch (source.type()) {
    case Type::Null:
        assignNull(false);
        break;
    case Type::Boolean:
        assign(source.value_.boolean, false);
        break;
    case Type::Integer:
        assign(source.value_.integer, false);
        break;
    case Type::Real:
        assign(source.value_.real, false);
        break;
    case Type::String:
        assign(source.string_.get(), false);
        break;
    case Type::Object:
        assign(source.value_.object, false);
        break;
    case Type::List:
        assign(source.value_.list, false);
        break;
    }
    if (!schema_) schema_ = source.schema_;
    if (schema_ && isSticky()) attach_owner();
}

void Variant::release() {
    detach_owner();
    string_.reset();
    dropContainer();
}

/// The end of a value that holds a container.
void Variant::dropOwnContainer() noexcept {
    if (isObject()) {
        json::Object* object = value_.object;
        if (object->owner() == this) object->setOwner(nullptr);
        if (object->intrusive_release()) dispose(object);
    } else {
        json::List* list = value_.list;
        if (list->owner() == this) list->setOwner(nullptr);
        if (list->intrusive_release()) dispose(list);
    }
}

void Variant::storeContainer(const boost::intrusive_ptr<json::Object>& object) {
    if (value_.object == object.get()) return;
    object->intrusive_add_ref();
    detach_owner();
    dropContainer();
    value_.object = object.get();
}

void Variant::storeContainer(const boost::intrusive_ptr<json::List>& list) {
    if (value_.list == list.get()) return;
    list->intrusive_add_ref();
    detach_owner();
    dropContainer();
    value_.list = list.get();
}

void Variant::dropContainer() noexcept {
    if (isObject()) {
        json::Object* object = std::exchange(value_.object, nullptr);
        if (object != nullptr && object->intrusive_release()) dispose(object);
    } else if (isList()) {
        json::List* list = std::exchange(value_.list, nullptr);
        if (list != nullptr && list->intrusive_release()) dispose(list);
    }
}

void Variant::dispose(json::Object* object) noexcept { disposeOf(*object, 0); }
void Variant::dispose(json::List* list) noexcept { disposeOf(*list, kList); }

template <typename Container>
void Variant::disposeOf(Container& container, std::uintptr_t kind) noexcept {
    std::uintptr_t top = reinterpret_cast<std::uintptr_t>(&container) | kind;
    if (waiting_containers != nullptr) {
        container.nextDisposed_ = std::exchange(*waiting_containers, top);
        return;
    }
    container.nextDisposed_ = 0;
    waiting_containers = &top;
    destroyWaiting(top);
    waiting_containers = nullptr;
}

// Last things first, each entry before what it held: so the memory that is kept comes back in the
// order in which a text is read, and the next document lies in it as this one did.
void Variant::destroyWaiting(std::uintptr_t& top) noexcept {
    while (top != 0) {
        if ((top & kList) != 0) {
            destroyTop(*reinterpret_cast<json::List*>(top - kList), top);
        } else {
            destroyTop(*reinterpret_cast<json::Object*>(top), top);
        }
    }
}

/// Empties the container as far as nothing comes to lie above it, and ends it when it is empty. A
/// class of the application's finds its entries in its destructor.
template <typename Container>
void Variant::destroyTop(Container& container, std::uintptr_t& top) noexcept {
    const std::uintptr_t own = top;
    if (typeid(container) == typeid(Container)) {
        while (!container.empty()) {
            container.dropLast();
            if (top != own) return;
        }
    }
    top = container.nextDisposed_;
    container.setOwner(nullptr); // the same place: the destructor may ask for it
    delete &container;
}

bool Variant::liesDirectlyIn(const Variant& container) const {
    if (container.isList() && container.value_.list != nullptr) {
        const std::vector<Variant>& elements = container.value_.list->elements_;
        const std::less<> before;
        return !elements.empty() && !before(this, elements.data()) &&
               before(this, elements.data() + elements.size());
    }
    if (container.isObject() && container.value_.object != nullptr) {
        json::Object& object = *container.value_.object;
        if (hasObjectParent()) return parent_ == &object;
        return (flags() & kUnlinkedEntry) != 0 && object.findValue(this) != object.end();
    }
    return false;
}

/// A copy for the holder to keep. Where the holder lies in the very container that would be shared,
/// the container is cloned, so that it doesn't come to hold itself.
Variant Variant::copyToHoldIn(const Variant& holder) const {
    return holder.liesDirectlyIn(*this) ? withClonedContainer() : *this;
}

Variant Variant::withClonedContainer() const {
    Variant copy(*this);
    if (copy.isObject()) copy.objectRef();
    if (copy.isList()) copy.listRef();
    return copy;
}

// ----- Owners and parents ------------------------------------------------------------------------

void Variant::detach_owner() const {
    if (!holdsContainer()) return;
    if (isObject()) {
        if (value_.object->owner() == this) value_.object->setOwner(nullptr);
    } else {
        if (value_.list->owner() == this) value_.list->setOwner(nullptr);
    }
}

void Variant::setParent(json::List* list) noexcept {
    parent_ = list;
    setFlags((flags() & ~kPlace) | (list != nullptr ? kListParent : 0));
}

void Variant::setParent(json::Object* object) noexcept {
    parent_ = object;
    setFlags((flags() & ~kPlace) | (object != nullptr ? kObjectParent : 0));
}

boost::intrusive_ptr<json::List> Variant::listParent() {
    auto* list = hasListParent() ? static_cast<json::List*>(parent_) : nullptr;
    // A list that nothing counts isn't on the heap for us to free: a first pointer would.
    return list != nullptr && list->use_count() > 0 ? list : nullptr;
}

boost::intrusive_ptr<json::Object> Variant::objectParent() {
    auto* object = hasObjectParent() ? static_cast<json::Object*>(parent_) : nullptr;
    return object != nullptr && object->use_count() > 0 ? object : nullptr;
}

const Variant* Variant::parent() const {
    if (hasListParent()) return static_cast<const json::List*>(parent_)->owner();
    if (hasObjectParent()) return static_cast<const json::Object*>(parent_)->owner();
    return nullptr;
}

int Variant::indexInParent() const {
    if (!hasListParent()) return -1;
    return static_cast<const json::List*>(parent_)->indexOf(this, 0);
}

boost::intrusive_ptr<qx::IntrusiveString> Variant::keyInParent() {
    if (!hasObjectParent()) return nullptr;
    return static_cast<json::Object*>(parent_)->keyOf(this);
}

// ----- References to payloads --------------------------------------------------------------------

const boost::intrusive_ptr<qx::IntrusiveString>& Variant::constStringRef() const {
    if (isString()) {
        if (!string_) string_ = new qx::IntrusiveString;
        return string_;
    }
    // Values whose payload is shared, schemas above all, may be read by several threads.
    static qx::detail::NeverDestroyed<qx::Mutex> mutex;
    const qx::detail::ProcessLock<qx::Mutex> lock(*mutex);
    // Intended: a container whose elements changed without marking it keeps the text that it has.
    // Held by VariantSharing.KeepsTheFirstPrintedTextOfAContainerWithoutASchema.
    if (resetPrintDirty() || !string_) string_ = isNull() ? new qx::IntrusiveString : print(false);
    return string_;
}

// Intended: of a value that is no String it is the printed text that is handed out for writing.
// Held by Variant.EditsOnlyItsPrintedTextThroughAStringReference.
const boost::intrusive_ptr<qx::IntrusiveString>& Variant::stringRef() {
    constStringRef();
    if (copyForWrite(string_.get())) string_ = new qx::IntrusiveString(*string_);
    return string_;
}

json::Object* Variant::constObjectRef() const {
    if (value_.object == nullptr) {
        value_.object = new json::Object;
        value_.object->intrusive_add_ref();
        attach_owner();
    }
    return value_.object;
}

json::List* Variant::constListRef() const {
    if (value_.list == nullptr) {
        value_.list = new json::List;
        value_.list->intrusive_add_ref();
        attach_owner();
    }
    return value_.list;
}

json::Object* Variant::objectRef() {
    constObjectRef();
    if (copyForWrite(value_.object)) {
        storeContainer(boost::intrusive_ptr<json::Object>(new json::Object(*value_.object)));
        attach_owner();
    }
    return value_.object;
}

json::List* Variant::listRef() {
    constListRef();
    if (copyForWrite(value_.list)) {
        storeContainer(boost::intrusive_ptr<json::List>(new json::List(*value_.list)));
        attach_owner();
    }
    return value_.list;
}

// ----- Deep copy ---------------------------------------------------------------------------------

Variant& Variant::deepCopy(const Variant* source) {
    if (source != nullptr && source != this) {
        const Variant copy = source->copyToHoldIn(*this); // the source may lie in this value
        copyFrom(copy);
    }
    if (string_) string_ = new qx::IntrusiveString(*string_);
    if (!holdsContainer()) return *this;
    Cloning cloning;
    Variant root(cloning, *this);
    cloning.run();
    // Nothing fails from here on. What lies in the copy is bound already.
    if (isObject()) {
        storeContainer(boost::intrusive_ptr<json::Object>(root.value_.object));
        if (schema_) value_.object->setOwner(this);
    } else {
        storeContainer(boost::intrusive_ptr<json::List>(root.value_.list));
        if (schema_) value_.list->setOwner(this);
    }
    return *this;
}

Variant::Variant(Cloning& cloning, const Variant& source) : schema_(source.schema_) {
    const Type type = source.type();
    int flags = cloning.inObject() ? kUnlinkedEntry : 0;
    if (type != Type::Null) flags |= static_cast<int>(type) | kDirty | kPrintDirty;
    flags_ = static_cast<Flags>(flags);
    if (type == Type::String) {
        string_ =
            source.string_ ? new qx::IntrusiveString(*source.string_) : new qx::IntrusiveString;
    } else if (source.isComposite()) {
        cloning.add(*this, source);
    } else {
        value_ = source.value_;
    }
}

void Variant::Cloning::run() {
    while (!waiting_.empty()) {
        const std::size_t above = waiting_.size();
        Container& next = waiting_.back();
        if (!next.filled) {
            next.filled = true;
            fill(*next.copy, *next.source);
            // The last one waits on top: turned round, the first one's turn comes first.
            std::reverse(waiting_.begin() + static_cast<std::ptrdiff_t>(above), waiting_.end());
        }
        if (waiting_.size() == above) {
            waiting_.back().copy->attach_owner();
            waiting_.pop_back();
        }
    }
}

void Variant::Cloning::fill(Variant& copy, const Variant& source) {
    inObject_ = source.isObject();
    if (inObject_) {
        const json::Object* object = source.value_.object;
        copy.value_.object =
            object != nullptr ? new json::Object(*this, *object) : new json::Object;
        copy.value_.object->intrusive_add_ref();
    } else {
        const json::List* list = source.value_.list;
        copy.value_.list = list != nullptr ? new json::List(*this, *list) : new json::List;
        copy.value_.list->intrusive_add_ref();
    }
}

} // namespace json
