// SPDX-License-Identifier: MIT
#pragma once

#include "schema/Schema.h"
#include "support/BoundValue.h"
#include "support/ValueModel.h"
#include "support/ValueProbe.h"
#include "json/Variant.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace model {

using json::Variant;
using SchemaPtr = boost::intrusive_ptr<json::Schema>;

inline constexpr std::size_t rootCount = 5;
inline constexpr std::size_t mostElements = 6;
inline constexpr std::size_t mostNodes = 60; // below one value, shared parts counted each time
inline constexpr const char* const keys[] = {"a", "b", "c", "d"};
inline constexpr const char* const texts[] = {"", "7", "-1", "text"};

/// A place that exists in both tellings.
struct Node {
    Variant* real = nullptr;
    Value* told = nullptr;
    Container* holder = nullptr;
};

/// Two tellings of the same values, changed in step by operations that are drawn.
class Pair {
public:
    /// Gives a number from 0 up to its argument, which isn't 0, the argument left out.
    using Draw = std::function<std::size_t(std::size_t)>;

    explicit Pair(Draw draw)
        : draw_(std::move(draw)), schemas_{any_schema(), any_schema()},
          model_(json::Schema::EmptyPtr.get()) {
        for (std::size_t index = 0; index < rootCount; ++index) {
            real_.push_back(std::make_unique<Variant>());
            told_.push_back(std::make_unique<Value>());
        }
    }

    /// One random operation on both; its name is kept for the failure message.
    void step() {
        Node node = walk();
        model_.begin();
        switch (number(26)) {
        case 0:
            return assignScalar(node);
        case 1:
        case 2:
            return assignNode(node);
        case 3:
            return assignPointer(node);
        case 4:
            return copyToRoot();
        case 5:
        case 6:
            return append(node, true);
        case 7:
            return append(node, false);
        case 8:
            return writeElement(node);
        case 9:
        case 10:
            return writeEntry(node);
        case 11:
            return setEntry(node);
        case 12:
            return removeElement(node);
        case 13:
            return eraseElement(node);
        case 14:
            return resize(node);
        case 15:
            return swapLists(node);
        case 16:
            return assignContainer(node);
        case 17:
            return eraseEntry(node);
        case 18:
            return renameEntry(node);
        case 19:
            return addEntries(node);
        case 20:
            return changeMarks(node);
        case 21:
            return attachSchema(node);
        case 22:
            return convert(node);
        case 23:
            return deepCopy(node);
        case 24:
            return readText(node);
        default:
            return editText(node);
        }
    }

    const std::string& operation() const { return operation_; }

    /// Holds one telling against the other; empty when they agree.
    std::string difference() {
        containers_.clear();
        realContainers_.clear();
        strings_.clear();
        places_.clear();
        for (std::size_t index = 0; index < rootCount; ++index) {
            const std::string found = compare(*real_[index], *told_[index]);
            if (!found.empty()) return "root " + std::to_string(index) + found;
        }
        for (const auto& [told, real] : containers_) {
            const std::string found = compareContainer(*told, real);
            if (!found.empty()) return found;
        }
        return "";
    }

private:
    std::size_t number(std::size_t below) { return draw_(below); }
    bool chance(int percent) { return number(100) < static_cast<std::size_t>(percent); }
    std::string key() { return keys[number(4)]; }

    // --- Places

    Node root(std::size_t index) { return {real_[index].get(), told_[index].get(), nullptr}; }

    static Node child(const Node& node, std::size_t index) {
        Container* holder = node.told->payload.get();
        if (node.told->type == Type::List) {
            const Variant& element = std::as_const(*node.real).listValue()[index];
            return {const_cast<Variant*>(&element), holder->elements[index].get(), holder};
        }
        auto entry = holder->entries.begin();
        std::advance(entry, index);
        const json::Object& object = std::as_const(*node.real).objectValue();
        return {const_cast<Variant*>(&object.find(entry->first.c_str())->second),
                entry->second.get(), holder};
    }

    /// Some place, reached by plain references that no value knows of.
    Node pick() {
        Node node = root(number(rootCount));
        while (node.told->composite() && node.told->payload->size() > 0 && chance(60)) {
            node = child(node, number(node.told->payload->size()));
        }
        return node;
    }

    /// Some place, reached by non-const access half of the time: what is shared is cloned on it.
    Node walk() {
        if (chance(50)) return pick();
        Node node = root(number(rootCount));
        while (node.told->composite() && node.told->payload->size() > 0 && chance(60)) {
            const std::size_t index = number(node.told->payload->size());
            model_.begin();
            model_.forWriting(*node.told, node.told->type);
            if (node.told->type == Type::List) {
                static_cast<void>((*node.real)[index]);
            } else {
                auto entry = node.told->payload->entries.begin();
                std::advance(entry, index);
                static_cast<void>((*node.real)[entry->first.c_str()]);
            }
            settleOwners();
            node = child(node, index);
        }
        return node;
    }

    /// A place whose content may be put into the container without a cycle or a tree too large.
    Node source(const Container* target) {
        for (int tries = 0; tries < 10; ++tries) {
            const Node node = pick();
            if (nodes(*node.told) < mostNodes && !reaches(*node.told, target)) return node;
        }
        scratch_ = Variant(static_cast<int>(number(3)));
        clear_marks(scratch_);
        scratchTold_ = std::make_unique<Value>();
        scratchTold_->type = Type::Integer;
        scratchTold_->number = scratch_.integerValue();
        return {&scratch_, scratchTold_.get(), nullptr};
    }

    static bool reaches(const Value& value, const Container* target) {
        if (target == nullptr || !value.payload) return false;
        if (value.payload.get() == target) return true;
        for (const Element& element : value.payload->elements) {
            if (reaches(*element, target)) return true;
        }
        for (const auto& entry : value.payload->entries) {
            if (reaches(*entry.second, target)) return true;
        }
        return false;
    }

    static std::size_t nodes(const Value& value) {
        std::size_t sum = 1;
        if (!value.payload) return sum;
        for (const Element& element : value.payload->elements) {
            sum += nodes(*element);
        }
        for (const auto& entry : value.payload->entries) {
            sum += nodes(*entry.second);
        }
        return sum;
    }

    /// Whether the array of a list moved since its first element was seen.
    static bool moved(const Variant* before, const json::List& list) {
        return before != nullptr && !list.empty() && &*list.begin() != before;
    }
    static const Variant* first(const json::List& list) {
        return list.empty() ? nullptr : &*list.begin();
    }

    // --- Operations on single values

    void assignScalar(const Node& node) {
        Content content;
        switch (number(4)) {
        case 0:
            operation_ = "= bool";
            content.type = Type::Boolean;
            content.number = static_cast<std::int64_t>(number(2));
            *node.real = content.number != 0;
            break;
        case 1:
            operation_ = "= int";
            content.type = Type::Integer;
            content.number = static_cast<std::int64_t>(number(4)) - 1;
            *node.real = static_cast<int>(content.number);
            break;
        case 2: {
            operation_ = "= text";
            const char* text = texts[number(4)];
            content.type = Type::String;
            content.text = std::make_shared<std::string>(text);
            *node.real = text;
            break;
        }
        default:
            operation_ = "= null";
            (node.real->*&ValueProbe::assignNull)(false);
            break;
        }
        model_.assign(*node.told, content);
    }

    void assignNode(const Node& node) {
        const Node from = source(node.holder);
        operation_ = "= value";
        *node.real = std::as_const(*from.real);
        model_.assignValue(*node.told, *from.told);
    }

    void assignPointer(const Node& node) {
        const Node from = source(node.holder);
        operation_ = "= pointer";
        if (!from.told->composite()) return assignScalar(node);
        Content content(*from.told);
        if (from.told->type == Type::List) {
            *node.real = std::as_const(*from.real).listPtr();
        } else {
            *node.real = std::as_const(*from.real).objectPtr();
        }
        model_.assign(*node.told, content);
    }

    void copyToRoot() {
        const Node from = pick();
        const std::size_t index = number(rootCount);
        operation_ = "copy constructor";
        auto real = std::make_unique<Variant>(std::as_const(*from.real));
        auto told = model_.copy(Content(*from.told));
        real_[index] = std::move(real);
        told_[index] = std::move(told);
    }

    void changeMarks(const Node& node) {
        operation_ = "marks";
        const bool on = chance(50);
        switch (number(4)) {
        case 0:
            node.real->setDirty(on);
            model_.setDirty(*node.told, on);
            break;
        case 1:
            set_sticky(*node.real, on);
            node.told->sticky = on;
            break;
        case 2:
            set_auto_value(*node.real, on);
            node.told->autoValue = on;
            break;
        default:
            clear_marks(*node.real);
            node.told->dirty = false;
            node.told->printDirty = false;
            break;
        }
    }

    void attachSchema(const Node& node) {
        operation_ = "attachSchema";
        const SchemaPtr schemas[] = {SchemaPtr(), json::Schema::EmptyPtr, schemas_[0], schemas_[1]};
        const SchemaPtr& schema = schemas[number(4)];
        node.real->attachSchema(schema);
        model_.attachSchema(*node.told, schema.get());
    }

    void convert(const Node& node) {
        Content content(*node.told);
        switch (number(9)) {
        case 0:
            operation_ = "convertToInteger";
            content.number = Model::integer(content);
            node.real->convertToInteger();
            return convertScalar(node, Type::Integer, content.number);
        case 1:
            operation_ = "convertToBoolean";
            node.real->convertToBoolean();
            return convertScalar(node, Type::Boolean, Model::boolean(content) ? 1 : 0);
        case 2: {
            operation_ = "convertToString";
            const std::string text = printed(node);
            content = Content();
            node.real->convertToString();
            model_.convertToString(*node.told, text);
            // Whether printing used the mark up doesn't show in a String.
            node.told->printDirty = is_print_dirty(*node.real);
            return;
        }
        case 3:
            operation_ = "convertToList";
            content = Content();
            node.real->convertToList();
            return model_.convertToContainer(*node.told, Type::List);
        case 4:
            operation_ = "convertToObject";
            content = Content();
            node.real->convertToObject();
            return model_.convertToContainer(*node.told, Type::Object);
        case 5:
            operation_ = "convertToEmptyList";
            content = Content();
            node.real->convertToEmptyList();
            return model_.convertToEmptyContainer(*node.told, Type::List);
        case 6:
            operation_ = "convertToEmptyObject";
            content = Content();
            node.real->convertToEmptyObject();
            return model_.convertToEmptyContainer(*node.told, Type::Object);
        case 7:
            operation_ = "convertToEmptyString";
            content = Content();
            node.real->convertToEmptyString();
            return model_.convertToEmptyString(*node.told);
        default:
            operation_ = "convertTo Null";
            node.real->convertTo(Type::Null);
            return model_.assign(*node.told, Content());
        }
    }

    void convertScalar(const Node& node, Type type, std::int64_t value) {
        if (node.told->type == type) return;
        Content content;
        content.type = type;
        content.number = value;
        model_.assign(*node.told, content);
    }

    void deepCopy(const Node& node) {
        if (chance(50)) {
            operation_ = "deepCopy";
            node.real->deepCopy(nullptr);
            return model_.deepCopy(*node.told, nullptr);
        }
        operation_ = "deepCopy of another";
        const Node from = source(node.holder);
        node.real->deepCopy(from.real);
        if (from.told == node.told) return model_.deepCopy(*node.told, nullptr);
        const Content content(*from.told);
        model_.deepCopy(*node.told, &content);
    }

    // --- Texts

    /// What a value's text is when it is printed afresh.
    static std::string printed(const Node& node) {
        if (node.told->type == Type::Null) return "";
        if (node.told->type == Type::String) return *node.told->text;
        return json_of(*node.real);
    }

    void readText(const Node& node) {
        operation_ = "read text";
        const std::string fresh = printed(node);
        Value& told = *node.told;
        if (told.type != Type::String && (told.printDirty || !told.text)) {
            told.text = std::make_shared<std::string>(fresh);
        }
        if (told.type != Type::String) told.printDirty = false;
        mismatch_ = std::as_const(*node.real).charsValue() == *told.text
                        ? ""
                        : std::string("text ") + node.real->charsValue() + ", not " + *told.text;
    }

    void editText(const Node& node) {
        readText(node);
        operation_ = "edit text";
        Value& told = *node.told;
        if (told.text.use_count() > 1 && !told.sticky) {
            told.text = std::make_shared<std::string>(*told.text);
        }
        if (told.text->size() < 8) {
            *told.text += "+";
            node.real->stringValue() += "+";
        } else {
            told.text->clear();
            node.real->stringValue().clear();
        }
    }

    // --- Operations on lists

    bool hasRoom(const Node& node) const {
        return node.told->type != Type::List || node.told->payload->size() < mostElements;
    }

    void append(const Node& node, bool link) {
        if (!hasRoom(node)) return removeElement(node);
        const Node from = source(node.told->payload.get());
        if (reaches(*from.told, node.holder)) return readText(node);
        operation_ = link ? "<<" : "push_back";
        const Content content(*from.told);
        const Variant argument(std::as_const(*from.real));
        static_cast<void>(node.real->listValue());
        const Variant* before = first(std::as_const(*node.real).listValue());
        if (link) {
            *node.real << argument;
        } else {
            node.real->listValue().push_back(argument);
        }
        Container& list = model_.forWriting(*node.told, Type::List);
        model_.append(list, content, moved(before, std::as_const(*node.real).listValue()), link);
    }

    void writeElement(const Node& node) {
        const std::size_t size = node.told->type == Type::List ? node.told->payload->size() : 0;
        const std::size_t index = size < mostElements ? number(size + 1) : number(size);
        operation_ = "[index] = int";
        static_cast<void>(node.real->listValue());
        const Variant* before = first(std::as_const(*node.real).listValue());
        (*node.real)[index] = 5;
        Container& list = model_.forWriting(*node.told, Type::List);
        if (index == size) {
            model_.append(list, Content(), moved(before, std::as_const(*node.real).listValue()),
                          true);
        }
        Content content;
        content.type = Type::Integer;
        content.number = 5;
        model_.assign(*list.elements[index], content);
    }

    void removeElement(const Node& node) {
        if (node.told->type != Type::List) return assignNode(node);
        operation_ = "remove";
        const std::size_t index = number(node.told->payload->size() + 1);
        const bool exists = index < node.told->payload->size();
        node.real->listValue().remove(index);
        Container& list = model_.forWriting(*node.told, Type::List);
        if (!exists) return;
        const Content removed(*list.elements[index]); // keeps what it holds to the end
        model_.mark(list, true);
        model_.shiftOver(list, index);
        model_.bindElements(list, index);
    }

    void eraseElement(const Node& node) {
        if (node.told->type != Type::List) return assignNode(node);
        if (node.told->payload->size() == 0) return removeElement(node);
        json::List& real = node.real->listValue();
        Container& list = model_.forWriting(*node.told, Type::List);
        if (chance(30)) {
            operation_ = "pop_back";
            real.pop_back();
            list.elements.pop_back();
            return;
        }
        if (chance(30)) {
            operation_ = "erase nothing";
            const std::size_t place = number(list.size() + 1);
            const auto where = real.begin() + static_cast<std::ptrdiff_t>(place);
            real.erase(where, where);
            model_.mark(list, false);
            return model_.bindElements(list, place);
        }
        operation_ = "erase";
        const std::size_t index = number(list.size());
        real.erase(real.begin() + static_cast<std::ptrdiff_t>(index));
        model_.shiftOver(list, index);
        model_.mark(list, true);
        model_.bindElements(list, index);
    }

    void resize(const Node& node) {
        const Node from = source(node.told->payload.get());
        if (reaches(*from.told, node.holder)) return readText(node);
        operation_ = "resize";
        const Content content(*from.told);
        const Variant argument(std::as_const(*from.real));
        const std::size_t size = number(mostElements + 1);
        json::List& real = node.real->listValue();
        const Variant* before = first(real);
        real.resize(size, argument);
        Container& list = model_.forWriting(*node.told, Type::List);
        model_.resize(list, size, content, moved(before, real));
    }

    void swapLists(const Node& node) {
        const Node from = source(node.holder);
        if (node.told->type != Type::List || from.told->type != Type::List ||
            reaches(*node.told, from.holder) || reaches(*from.told, node.told->payload.get()) ||
            reaches(*node.told, from.told->payload.get()) || node.told == from.told) {
            return assignScalar(node);
        }
        operation_ = "swap";
        json::List& real = node.real->listValue();
        Container& list = model_.forWriting(*node.told, Type::List);
        json::List& realOther = from.real->listValue();
        Container& other = model_.forWriting(*from.told, Type::List);
        if (&list == &other) return;
        real.swap(realOther);
        model_.swap(list, other);
    }

    void assignContainer(const Node& node) {
        const Node from = source(node.told->payload.get());
        if (!from.told->composite() || reaches(*from.told, node.holder) ||
            reaches(*node.told, from.told->payload.get())) {
            return assignScalar(node);
        }
        const Type type = from.told->type;
        const Payload kept = from.told->payload;
        if (type == Type::List) {
            operation_ = "list = list";
            const boost::intrusive_ptr<json::List> argument = std::as_const(*from.real).listPtr();
            json::List& real = node.real->listValue();
            const Variant* before = first(real);
            real = *argument;
            Container& list = model_.forWriting(*node.told, type);
            return model_.assignList(list, *kept, moved(before, real));
        }
        operation_ = "object = object";
        const boost::intrusive_ptr<json::Object> argument = std::as_const(*from.real).objectPtr();
        node.real->objectValue() = *argument;
        Container& object = model_.forWriting(*node.told, type);
        model_.assignObject(object, *kept);
    }

    // --- Operations on objects

    void writeEntry(const Node& node) {
        operation_ = "[key] = int";
        const std::string name = key();
        (*node.real)[name.c_str()] = 6;
        Container& object = model_.forWriting(*node.told, Type::Object);
        Content content;
        content.type = Type::Integer;
        content.number = 6;
        model_.assign(model_.entryForWriting(object, name), content);
    }

    void setEntry(const Node& node) {
        const Node from = source(node.told->payload.get());
        if (reaches(*from.told, node.holder)) return readText(node);
        operation_ = "setValue";
        const std::string name = key();
        const Content content(*from.told);
        const Variant argument(std::as_const(*from.real));
        node.real->objectValue().setValue(name.c_str(), argument);
        Container& object = model_.forWriting(*node.told, Type::Object);
        model_.setEntry(object, name, content);
    }

    void eraseEntry(const Node& node) {
        if (node.told->type != Type::Object) return writeEntry(node);
        operation_ = "erase entry";
        const std::string name = key();
        json::Object& real = node.real->objectValue();
        const auto entry = real.find(name.c_str());
        if (entry != real.end()) real.erase(entry);
        model_.forWriting(*node.told, Type::Object).entries.erase(name);
    }

    void renameEntry(const Node& node) {
        if (node.told->type != Type::Object) return writeEntry(node);
        operation_ = "rename";
        const std::string from = key();
        const std::string to = key();
        node.real->objectValue().rename(from.c_str(), to.c_str());
        Container& object = model_.forWriting(*node.told, Type::Object);
        model_.rename(object, from, to);
    }

    void addEntries(const Node& node) {
        const Node from = source(node.told->payload.get());
        if (from.told->type != Type::Object || from.told->payload->size() > 1 ||
            reaches(*from.told, node.holder)) {
            return writeEntry(node);
        }
        operation_ = "object += object";
        const Payload kept = from.told->payload;
        const boost::intrusive_ptr<json::Object> argument = std::as_const(*from.real).objectPtr();
        node.real->objectValue() += *argument;
        Container& object = model_.forWriting(*node.told, Type::Object);
        model_.addEntries(object, *kept);
    }

    // --- Holding one telling against the other

    /// Both agree already on the way; takes the library's choice where the order of an object's
    /// entries made it.
    void settleOwners() {
        const std::string found = difference();
        if (!found.empty() && mismatch_.empty()) mismatch_ = "on the way: " + found;
    }

    std::string compare(const Variant& real, Value& told) {
        places_[&told] = &real;
        if (real.type() != told.type) return ": type";
        if (real.dirty() != told.dirty) return ": dirty";
        if (is_print_dirty(real) != told.printDirty) return ": print dirty";
        if (real.autoValue() != told.autoValue) return ": auto value";
        if (is_sticky(real) != told.sticky) return ": sticky";
        if (real.hasParent() != told.linked) return ": parent";
        const void* schema = &real.schema() == &json::Schema::Empty ? nullptr : &real.schema();
        if (schema != told.schema) return ": schema";
        switch (told.type) {
        case Type::Boolean:
        case Type::Integer:
            return real.integerValue() == told.number ? "" : ": number";
        case Type::String:
            return compareText(real, told);
        case Type::List:
            return compareElements(real, told);
        case Type::Object:
            return compareEntries(real, told);
        default:
            return "";
        }
    }

    std::string compareText(const Variant& real, const Value& told) {
        if (real.charsValue() != *told.text) {
            return std::string(": text ") + real.charsValue() + ", not " + *told.text;
        }
        const qx::IntrusiveString* string = &real.stringValue();
        if (strings_.emplace(told.text.get(), string).first->second != string) {
            return ": another shared string";
        }
        if (const_cast<qx::IntrusiveString*>(string)->use_count() !=
            static_cast<unsigned int>(told.text.use_count())) {
            return ": holders of a string";
        }
        return "";
    }

    std::string compareElements(const Variant& real, const Value& told) {
        json::List& list = list_of(real);
        const auto known = containers_.emplace(told.payload.get(), &real);
        if (!known.second) {
            return &list_of(*known.first->second) == &list ? "" : ": another shared list";
        }
        if (!realContainers_.insert(&list).second) return ": shares a list";
        if (list.size() != told.payload->elements.size()) return ": length";
        for (std::size_t index = 0; index < list.size(); ++index) {
            const Variant& element = std::as_const(list)[index];
            const std::string place = "[" + std::to_string(index) + "]";
            const std::string found = compare(element, *told.payload->elements[index]);
            if (!found.empty()) return place + found;
            const int expected = element.hasParent() ? static_cast<int>(index) : -1;
            if (element.indexInParent() != expected) return place + ": index in parent";
        }
        return "";
    }

    std::string compareEntries(const Variant& real, const Value& told) {
        json::Object& object = object_of(real);
        const auto known = containers_.emplace(told.payload.get(), &real);
        if (!known.second) {
            return &object_of(*known.first->second) == &object ? "" : ": another shared object";
        }
        if (!realContainers_.insert(&object).second) return ": shares an object";
        if (object.size() != told.payload->entries.size()) return ": count of entries";
        for (const auto& [name, element] : told.payload->entries) {
            const auto entry = object.find(name.c_str());
            if (entry == object.end()) return "." + name + ": missing";
            const std::string found = compare(entry->second, *element);
            if (!found.empty()) return "." + name + found;
            const auto inParent = entry->second.keyInParent();
            const bool hasKey = inParent && inParent->c_str() == name;
            if (hasKey != element->linked) return "." + name + ": key in parent";
        }
        return "";
    }

    std::string compareContainer(Container& told, const Variant* holder) {
        const bool isList = holder->isList();
        const Variant* owner = isList ? owner_of(list_of(*holder)) : owner_of(object_of(*holder));
        const unsigned int holders =
            isList ? list_of(*holder).use_count() : object_of(*holder).use_count();
        if (model_.leavesOwnerOpen(&told)) {
            const auto chosen =
                std::find_if(places_.begin(), places_.end(),
                             [owner](const auto& place) { return place.second == owner; });
            if (chosen == places_.end() || !model_.isCandidate(&told, chosen->first)) {
                return json_of(*holder) + ": owner is none of those that were bound";
            }
            told.owner = chosen->first;
        }
        const auto place = places_.find(told.owner);
        const Variant* expected = place == places_.end() ? nullptr : place->second;
        if (owner != expected) return json_of(*holder) + ": owner";
        const long expectedHolders = countHolders(&told);
        if (holders != static_cast<unsigned int>(expectedHolders)) {
            return json_of(*holder) + ": holders";
        }
        return "";
    }

    long countHolders(const Container* container) const {
        long holders = 0;
        for (const auto& place : places_) {
            if (place.first->payload.get() == container) ++holders;
        }
        return holders;
    }

public:
    /// What an operation itself found wrong.
    const std::string& mismatch() const { return mismatch_; }

private:
    Draw draw_;
    SchemaPtr schemas_[2];
    std::vector<std::unique_ptr<Variant>> real_;
    std::vector<std::unique_ptr<Value>> told_;
    Variant scratch_;
    std::unique_ptr<Value> scratchTold_;
    Model model_;
    std::string operation_;
    std::string mismatch_;

    std::map<Container*, const Variant*> containers_;
    std::set<const void*> realContainers_;
    std::map<const std::string*, const qx::IntrusiveString*> strings_;
    std::map<Value*, const Variant*> places_;
};

} // namespace model
