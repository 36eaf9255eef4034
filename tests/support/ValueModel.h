// SPDX-License-Identifier: MIT
#pragma once

#include "json/Variant.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// A second telling of how values share, own, link and mark: plain, slow, without a flag word and
/// without counted pointers of its own. A random test holds the library against it.
///
/// It knows Null, Boolean, Integer, String, List and Object; keys stand once. Schemas are named by
/// their address and allow everything, so an element of any of them is bound to `anySchema`.
namespace model {

using json::Type;

struct Container;
using Payload = std::shared_ptr<Container>;
using Text = std::shared_ptr<std::string>;

struct Value {
    Value() = default;
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    ~Value() { detach(); }

    Type type = Type::Null;
    std::int64_t number = 0;
    Text text;
    Payload payload;
    const void* schema = nullptr;
    bool linked = false; ///< has the container that holds it as its parent
    bool dirty = false;
    bool printDirty = false;
    bool autoValue = false;
    bool sticky = false;

    bool composite() const { return type == Type::List || type == Type::Object; }
    void detach();
};

using Element = std::unique_ptr<Value>;

struct Container {
    std::vector<Element> elements;          ///< of a list
    std::map<std::string, Element> entries; ///< of an object
    Value* owner = nullptr;

    std::size_t size() const { return elements.size() + entries.size(); }
};

inline void Value::detach() {
    if (payload && payload->owner == this) payload->owner = nullptr;
}

/// What an argument holds, taken before anything changes.
struct Content {
    Content() = default;
    explicit Content(const Value& value)
        : type(value.type), number(value.number), payload(value.payload), schema(value.schema) {
        if (type == Type::String) text = value.text;
    }
    Type type = Type::Null;
    std::int64_t number = 0;
    Text text;
    Payload payload;
    const void* schema = nullptr;
};

class Model {
public:
    explicit Model(const void* anySchema) : anySchema_(anySchema) {}

    /// Forgets what the last operation left open.
    void begin() { candidates_.clear(); }
    /// Whether the order of an object's entries, which is no contract, chose the owner.
    bool leavesOwnerOpen(Container* container) const {
        const auto found = candidates_.find(container);
        return found != candidates_.end() && found->second.size() > 1;
    }
    bool isCandidate(Container* container, Value* owner) const {
        return candidates_.at(container).count(owner) > 0;
    }

    // --- Comparison

    static std::int64_t integer(const Content& value) {
        switch (value.type) {
        case Type::Boolean:
        case Type::Integer:
            return value.number;
        case Type::String:
            return std::strtoll(value.text->c_str(), nullptr, 10);
        default:
            return 0;
        }
    }

    static std::size_t size(const Value& value) {
        return value.payload ? value.payload->size() : 0;
    }

    static bool boolean(const Content& value) {
        switch (value.type) {
        case Type::String:
            return !value.text->empty();
        case Type::List:
        case Type::Object:
            return value.payload && value.payload->size() > 0;
        default:
            return value.number != 0 && value.type != Type::Null;
        }
    }

    static bool equal(const Value& left, const Value& right) {
        if (&left == &right) return true;
        switch (left.type) {
        case Type::Null:
            if (right.type == Type::String) return right.text->empty();
            if (right.composite()) return size(right) == 0;
            return integer(Content(right)) == 0;
        case Type::Boolean:
        case Type::Integer:
            return left.number == integer(Content(right));
        case Type::String:
            return right.type == Type::String && *left.text == *right.text;
        case Type::List:
            return size(left) == (right.type == Type::List ? size(right) : 0);
        default:
            return right.type == Type::Object ? sameEntries(*left.payload, *right.payload)
                                              : size(left) == 0;
        }
    }

    static bool sameEntries(const Container& left, const Container& right) {
        if (left.size() != right.size()) return false;
        for (const auto& [key, value] : left.entries) {
            const auto other = right.entries.find(key);
            if (other == right.entries.end() || !equal(*value, *other->second)) return false;
        }
        return true;
    }

    // --- Assignment

    void assign(Value& value, const Content& next) {
        bool same = value.type == next.type;
        switch (next.type) {
        case Type::Boolean:
        case Type::Integer:
            same = same && value.number == next.number;
            break;
        case Type::String:
            same = same && (value.text ? *value.text : std::string()) == *next.text;
            break;
        case Type::List:
            same = same && value.payload && value.payload->size() == next.payload->size();
            break;
        case Type::Object:
            same = same && value.payload && sameEntries(*value.payload, *next.payload);
            break;
        default:
            break;
        }
        value.dirty = !same;
        value.printDirty = value.printDirty || !same;
        leave(value, next.type);
        value.number = next.number;
        if (next.type == Type::String) value.text = next.text;
        if (next.payload && next.payload != value.payload) {
            value.detach();
            value.payload = next.payload;
        }
        if (value.composite() && value.payload->owner == nullptr) attachOwner(value);
    }

    void copyFrom(Value& value, const Content& source) {
        value.detach();
        assign(value, source);
        if (value.schema == nullptr) value.schema = source.schema;
        if (value.schema != nullptr && value.sticky) attachOwner(value);
    }

    void assignValue(Value& value, const Value& source) {
        if (&value == &source) return;
        const Content content(source);
        assignValue(value, content);
    }
    void assignValue(Value& value, const Content& content) {
        value.detach();
        value.text.reset();
        value.payload.reset();
        copyFrom(value, content);
    }

    Element copy(const Content& source) {
        Element result(new Value);
        copyFrom(*result, source);
        return result;
    }

    void setDirty(Value& value, bool dirty) {
        value.dirty = dirty;
        if (dirty) value.printDirty = true;
    }

    // --- Schemas and owners

    void attachSchema(Value& value, const void* schema) {
        value.sticky = true;
        if (schema == value.schema) return;
        value.schema = schema;
        attachOwner(value);
    }

    void attachOwner(Value& value) {
        if (value.schema == nullptr || !value.payload) return;
        Container& container = *value.payload;
        container.owner = &value;
        if (inObject_ == 0) candidates_[&container].clear();
        candidates_[&container].insert(&value);
        if (value.type == Type::List) {
            bindElements(container, 0);
        } else {
            bindEntries(container);
        }
    }

    void bindElements(Container& list, std::size_t from) {
        for (std::size_t index = from; index < list.elements.size(); ++index) {
            attachSchema(*list.elements[index], anySchema_);
        }
    }

    void bindEntries(Container& object) {
        if (object.owner == nullptr) return;
        ++inObject_;
        for (auto& entry : object.entries) {
            attachSchema(*entry.second, anySchema_);
        }
        --inObject_;
    }

    void mark(Container& container, bool dirty) {
        if (container.owner != nullptr) setDirty(*container.owner, dirty);
    }

    // --- Writing

    /// The container for writing: converted, unshared.
    Container& forWriting(Value& value, Type type) {
        if (value.type != type) convertToContainer(value, type);
        if (value.payload.use_count() > 1 && !value.sticky) {
            value.detach();
            value.payload = clone(*value.payload);
            attachOwner(value);
        }
        return *value.payload;
    }

    Payload clone(const Container& source) {
        const Payload result(new Container);
        for (const Element& element : source.elements) {
            result->elements.push_back(copy(Content(*element)));
        }
        for (const auto& entry : source.entries) {
            result->entries[entry.first] = copy(Content(*entry.second));
        }
        return result;
    }

    void convertToContainer(Value& value, Type type) {
        if (value.type == type) return;
        value.dirty = true;
        value.printDirty = true;
        leave(value, type);
        value.payload.reset(new Container);
        attachOwner(value);
    }

    void convertToEmptyContainer(Value& value, Type type) {
        const bool inPlace = value.type == type && (value.payload.use_count() == 1 || value.sticky);
        if (inPlace) {
            value.payload->elements.clear();
            value.payload->entries.clear();
        } else {
            leave(value, type);
            value.detach();
            value.payload.reset(new Container);
        }
        value.dirty = false;
    }

    void convertToEmptyString(Value& value) {
        const bool inPlace = value.text && (value.text.use_count() == 1 || value.sticky);
        const Text kept = inPlace ? value.text : std::make_shared<std::string>();
        leave(value, Type::String);
        kept->clear();
        value.text = kept;
        value.dirty = true;
        value.printDirty = true;
    }

    void convertToString(Value& value, const std::string& printed) {
        if (value.type == Type::String) return;
        leave(value, Type::String);
        value.text = std::make_shared<std::string>(printed);
        value.dirty = true;
    }

    void deepCopy(Value& value, const Content* source) {
        if (source != nullptr) copyFrom(value, *source);
        value.detach();
        if (value.text) value.text = std::make_shared<std::string>(*value.text);
        if (value.payload) {
            value.payload = clone(*value.payload);
            deepCopyBelow(*value.payload);
        }
        attachOwner(value);
    }

    void deepCopyBelow(Container& container) {
        for (Element& element : container.elements) {
            deepCopy(*element, nullptr);
        }
        for (auto& entry : container.entries) {
            deepCopy(*entry.second, nullptr);
        }
    }

    // --- Lists

    /// The array moved: every element became a copy of itself.
    void regrow(Container& list) {
        std::vector<Element> grown;
        for (const Element& element : list.elements) {
            grown.push_back(copy(Content(*element)));
        }
        list.elements.swap(grown);
    }

    void append(Container& list, const Content& value, bool moved, bool link) {
        Element element = copy(value);
        if (moved) regrow(list);
        list.elements.push_back(std::move(element));
        mark(list, true);
        bindElements(list, list.elements.size() - 1);
        list.elements.back()->linked = link;
    }

    void shiftOver(Container& list, std::size_t index) {
        for (std::size_t next = index + 1; next < list.elements.size(); ++next) {
            assignValue(*list.elements[next - 1], *list.elements[next]);
        }
        list.elements.pop_back();
    }

    void resize(Container& list, std::size_t size, const Content& filler, bool moved) {
        if (moved) regrow(list);
        while (list.elements.size() > size) {
            list.elements.pop_back();
        }
        while (list.elements.size() < size) {
            list.elements.push_back(copy(filler));
        }
        mark(list, true);
        bindElements(list, 0);
    }

    static void linkAll(Container& container) {
        for (Element& element : container.elements) {
            element->linked = true;
        }
        for (auto& entry : container.entries) {
            entry.second->linked = true;
        }
    }

    void assignList(Container& list, const Container& source, bool moved) {
        if (moved) list.elements.clear();
        while (list.elements.size() > source.elements.size()) {
            list.elements.pop_back();
        }
        for (std::size_t index = 0; index < source.elements.size(); ++index) {
            if (index < list.elements.size()) {
                assignValue(*list.elements[index], *source.elements[index]);
            } else {
                list.elements.push_back(copy(Content(*source.elements[index])));
            }
        }
        linkAll(list);
    }

    void swap(Container& list, Container& other) {
        list.elements.swap(other.elements);
        linkAll(list);
        linkAll(other);
        mark(list, true);
        bindElements(list, 0);
    }

    // --- Objects

    void setEntry(Container& object, const std::string& key, const Content& value) {
        const auto entry = object.entries.find(key);
        if (entry != object.entries.end()) {
            assignValue(*entry->second, value);
        } else {
            object.entries[key] = copy(value);
        }
        mark(object, true);
        Value& element = *object.entries[key];
        if (object.owner != nullptr) attachSchema(element, anySchema_);
        element.linked = true;
    }

    Value& entryForWriting(Container& object, const std::string& key) {
        if (object.entries.count(key) == 0) setEntry(object, key, Content());
        return *object.entries[key];
    }

    bool rename(Container& object, const std::string& from, const std::string& to) {
        const auto entry = object.entries.find(from);
        if (entry == object.entries.end()) return false;
        const Content value(*entry->second);
        object.entries.erase(entry);
        setEntry(object, to, value);
        return true;
    }

    void addEntries(Container& object, const Container& source) {
        std::vector<std::pair<std::string, Content>> all;
        for (const auto& entry : source.entries) {
            all.emplace_back(entry.first, Content(*entry.second));
        }
        for (const auto& entry : all) {
            setEntry(object, entry.first, entry.second);
        }
        bindEntries(object);
    }

    void assignObject(Container& object, const Container& source) {
        const Payload fresh = clone(source);
        object.entries.swap(fresh->entries);
        linkAll(object);
    }

private:
    /// Leaves the old type behind, unless it stays.
    void leave(Value& value, Type next) {
        if (value.type == next) return;
        value.detach();
        value.text.reset();
        value.payload.reset();
        value.type = next;
    }

    const void* anySchema_;
    int inObject_ = 0;
    std::map<Container*, std::set<Value*>> candidates_;
};

} // namespace model
