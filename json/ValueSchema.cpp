// SPDX-License-Identifier: MIT
// The one place where values reach up to the schema engine.
#include "schema/Schema.h"
#include "json/Variant.h"

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <iostream>
#include <utility>
#include <vector>

namespace json {

void intrusive_ptr_add_ref(Schema* schema) { schema->intrusive_add_ref(); }

namespace {

/// The schemas that lost their last pointer while another one is being destroyed. They wait in a
/// list linked through themselves: a peer shapes the depth, so nothing may recurse over it.
thread_local Schema** waiting_schemas = nullptr;

} // namespace

void intrusive_ptr_release(Schema* schema) {
    if (!schema->intrusive_release()) return;
    if (waiting_schemas != nullptr) {
        schema->nextDisposed_ = std::exchange(*waiting_schemas, schema);
        return;
    }
    waiting_schemas = &schema;
    while (schema != nullptr) {
        Schema* next = schema;
        schema = std::exchange(next->nextDisposed_, nullptr);
        delete next;
    }
    waiting_schemas = nullptr;
}

/// Carries schemas down a tree. Values that wait for their turn stand in a list: a peer shapes the
/// depth, so nothing may recurse over it.
class Variant::Binding {
public:
    void attach(const Variant& value, Schema* schema) {
        if (bind(value, schema) && value.holdsContainer()) waiting_.push_back(&value);
    }

    /// The value alone. False where it has that schema already.
    static bool bind(const Variant& value, Schema* schema) {
        value.setSticky(true);
        // Intended: an equal schema stops the walk, also where a container lost its owner.
        // Held by VariantSharing.AttachingTheSameSchemaAgainDoesNotRelinkTheContainer.
        if (value.schema_.get() == schema) return false;
        value.schema_ = schema;
        return true;
    }

    /// Makes the value the owner of its container and binds what lies in it.
    void link(const Variant& value) {
        if (!value.schema_ || !value.holdsContainer()) return;
        const std::size_t mark = waiting_.size();
        if (value.isList()) {
            value.value_.list->setOwner(&value);
            bindElements(*value.value_.list, 0);
        } else {
            value.value_.object->setOwner(&value);
            bindEntries(*value.value_.object, value.value_.object->begin(),
                        value.value_.object->end());
        }
        // The last one waits on top: turned round, the first child's turn comes first.
        std::reverse(waiting_.begin() + static_cast<std::ptrdiff_t>(mark), waiting_.end());
    }

    void bindElements(json::List& list, std::size_t from) {
        const Schema& schema = list.schema();
        if (schema.leavesElementsFree()) {
            Schema* const free = Schema::EmptyPtr.get();
            for (auto it = list.position(from); it != list.end(); ++it) {
                attach(*it, free);
            }
            return;
        }
        for (std::size_t i = from; i < list.elements_.size(); ++i) {
            attach(list.elements_[i], schema.at(i).get());
        }
    }

    void bindEntries(json::Object& object, json::Object::iterator first,
                     json::Object::iterator last) {
        if (object.owner() == nullptr) return;
        const Schema& schema = object.schema();
        const bool free = schema.leavesPropertiesFree();
        for (; first != last; ++first) {
            attach(first->second,
                   free ? Schema::EmptyPtr.get() : schema.property(first->first).get());
        }
    }

    /// After elements or entries were attached that no value was linked for.
    void finishInOrder() {
        std::reverse(waiting_.begin(), waiting_.end());
        finish();
    }

    void finish() {
        while (!waiting_.empty()) {
            const Variant* next = waiting_.back();
            waiting_.pop_back();
            link(*next);
        }
    }

private:
    boost::container::small_vector<const Variant*, 16> waiting_;
};

// ----- Variant -----------------------------------------------------------------------------------

const Schema& Variant::schema() const { return schema_ ? *schema_ : Schema::Empty; }

void Variant::attachSchema(boost::intrusive_ptr<Schema> schema) const {
    Binding binding;
    binding.attach(*this, schema.get());
    binding.finish();
}

bool Variant::attachSchema(const qx::Url& url, const qx::Url& context) const {
    const boost::intrusive_ptr<Schema> found = Schema::resolve(url, context);
    if (!found) return false;
    attachSchema(found);
    return true;
}

Variant Variant::withoutSchema() const {
    Variant copy(*this);
    copy.schema_.reset();
    return copy;
}

bool Variant::validate() const { return !schema_ || schema_->validate(*this).ok(); }

const Schema& Variant::createPrivateSchema(const qx::IntrusiveString& key) const {
    Variant definition = (*this)[key];
    if (definition.isNull()) return Schema::Empty;
    boost::intrusive_ptr<Schema> schema;
    if (definition.isString()) {
        schema = Schema::resolve(definition.charsValue(), qx::Url());
    } else if (definition.isObject()) {
        if (definition.contains("schema")) definition = std::as_const(definition)["schema"];
        const boost::intrusive_ptr<Schema> meta =
            Schema::resolve(Schema::metaSchemaUrl(definition), qx::Url());
        if (meta && !meta->validate(definition).ok()) {
            std::cerr << "error reading private schema\n" << meta->validationResult() << '\n';
            return Schema::Empty;
        }
        schema = new Schema(definition, qx::Url());
    }
    attachSchema(schema);
    return this->schema();
}

const Variant& Variant::markedDefault(const Schema& schema) {
    const Variant& value = markedTwin(schema.autoValue());
    if (!value.autoValue()) value.setAutoValue(true);
    return value;
}

Variant entry_from_default(const Variant& value) {
    // Bound places write into the payload that they hold: it must be neither the document's nor a
    // constant's.
    if (value.isString()) return Variant(value.stringValue());
    if (value.isObject()) return Variant(value.objectPtr()).deepCopy();
    if (value.isList()) return Variant(value.listPtr()).deepCopy();
    return Variant(value);
}

void Variant::attach_owner() const {
    if (!schema_) return;
    Binding binding;
    binding.link(*this);
    binding.finish();
}

// ----- List --------------------------------------------------------------------------------------

const Schema& List::schema() const {
    const Variant* own = owner();
    return own != nullptr ? own->schema() : Schema::Empty;
}

const Variant& List::auto_value_for(std::uint64_t index) const {
    if (owner() == nullptr) return Variant::EmptyAutoValue;
    const boost::intrusive_ptr<Schema> element = schema().at(index);
    return element ? Variant::markedDefault(*element) : Variant::EmptyAutoValue;
}

void List::update_schemas(std::size_t from) {
    if (owner() == nullptr && from + 1 == elements_.size() && !elements_[from].holdsContainer()) {
        // What is appended to a free list, as a parser does without end, is bound to no constraint.
        Variant::Binding::bind(elements_[from], Schema::EmptyPtr.get());
        return;
    }
    Variant::Binding binding;
    binding.bindElements(*this, from);
    binding.finishInOrder();
}

// ----- Object ------------------------------------------------------------------------------------

const Schema& Object::schema() const {
    const Variant* own = owner();
    return own != nullptr ? own->schema() : Schema::Empty;
}

const Variant& Object::auto_value_for(const Key& key) const {
    if (owner() == nullptr) return Variant::Empty;
    const boost::intrusive_ptr<Schema> property = schema().property(key);
    return property ? Variant::markedDefault(*property) : Variant::Empty;
}

void Object::update_schema(const iterator& entry) {
    if (owner() == nullptr) return;
    auto next = entry;
    update_schemas(entry, ++next);
}

void Object::update_schemas(iterator first, iterator last) {
    Variant::Binding binding;
    binding.bindEntries(*this, first, last);
    binding.finishInOrder();
}

} // namespace json
