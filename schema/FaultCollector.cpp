// SPDX-License-Identifier: MIT
#include "schema/FaultCollector.h"

#include "schema/detail/FaultWords.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace json {

namespace {

using Result = Schema::ValidationResult;

/// References that lead to references, at most.
constexpr int kHops = 100;

/// The schema that the node stands for; null if that leads nowhere or comes back.
const Schema* resolved(const Schema* schema, boost::intrusive_ptr<Schema>& held) {
    for (int hop = 0; schema != nullptr && !schema->ref().empty(); ++hop) {
        if (hop == kHops) return nullptr;
        held = Schema::resolve(schema->ref(), schema->urlContext());
        schema = held.get();
    }
    return schema;
}

/// Whether the copy that a result holds is one of this value.
bool is_copy(const Variant& copy, const Variant& value) {
    if (copy.type() != value.type()) return false;
    if (value.isObject()) return &copy.objectValue() == &value.objectValue();
    return !value.isList() || &copy.listValue() == &value.listValue();
}

class Collector {
public:
    Collector(const Schema& schema, const Variant& value, const CollectionLimits& limits)
        : limits_(limits), words_(&schema) {
        waiting_.push_back({&schema, nullptr, &value, "", 0, Result(), 0});
    }

    Variant run() {
        while (!waiting_.empty() && errors_.size() < limits_.faults) {
            const Task task = std::move(waiting_.back());
            waiting_.pop_back();
            if (task.schema == nullptr) {
                finish(task);
            } else if (checks_ < limits_.checks && seen_.emplace(task.schema, task.value).second) {
                check(task);
            }
        }
        return errors_;
    }

private:
    /// A value to be checked; without a schema the end of one, whose children are done.
    struct Task {
        const Schema* schema;
        boost::intrusive_ptr<Schema> held; // null for the caller's own
        const Variant* value;
        std::string place; // as a JSON pointer
        std::size_t depth;
        Result fault;
        std::size_t faultsBefore;
    };

    void check(const Task& task) {
        ++checks_;
        const Result result = task.schema->check(*task.value);
        // A text that isn't base64 ends a check that passes: what lies behind it is still to be
        // seen.
        if (result.ok() && result.schema == nullptr) return;
        const bool own = !result.ok() && is_copy(result.value, *task.value);
        if (own) add(result, task.place);
        if (own && result.code == Schema::WrongDataType && isWrongType(result)) return;
        if (!own && !result.ok()) {
            waiting_.push_back(
                {nullptr, nullptr, task.value, task.place, task.depth, result, errors_.size()});
        }
        boost::intrusive_ptr<Schema> held;
        const Schema* schema = resolved(task.schema, held);
        if (schema == nullptr || task.depth == limits_.depth) return;
        const std::size_t first = waiting_.size();
        addExtended(task, *schema);
        addItems(task, *schema);
        addEntries(task, *schema);
        std::reverse(waiting_.begin() + static_cast<std::ptrdiff_t>(first), waiting_.end());
    }

    /// What a check told of a child that the child's own check didn't see.
    void finish(const Task& task) {
        if (errors_.size() > task.faultsBefore) return;
        add(task.fault, task.place + detail::FaultWords::pointer(task.fault.path));
    }

    /// Not one of its items.
    static bool isWrongType(const Result& result) {
        const Type type = result.value.type();
        const Schema::TypeSet types = result.schema->types();
        return !types[static_cast<std::size_t>(type)] &&
               !(type == Type::Integer && types[static_cast<std::size_t>(Type::Real)]);
    }

    void addExtended(const Task& task, const Schema& schema) {
        for (const qx::Url& url : schema.extendedSchemas()) {
            push(Schema::resolve(url, schema.urlContext()), *task.value, task.place, task.depth);
        }
    }

    void addItems(const Task& task, const Schema& schema) {
        const List& list = task.value->listValue();
        for (std::size_t i = 0; i < list.size(); ++i) {
            push(schema.at(i), list[i], task.place + '/' + std::to_string(i), task.depth);
        }
    }

    void addEntries(const Task& task, const Schema& schema) {
        for (const auto& [key, value] : task.value->objectValue()) {
            boost::intrusive_ptr<Schema> property = schema.property(key);
            if (!property) {
                addStranger(task, schema, *key);
                continue;
            }
            push(std::move(property), value, task.place + detail::FaultWords::segment(key->c_str()),
                 task.depth);
        }
    }

    /// A property that may not stand there.
    void addStranger(const Task& task, const Schema& schema, const qx::IntrusiveString& key) {
        Result fault(Schema::InvalidProperty);
        fault.schema = &schema;
        fault.value = *task.value;
        fault.detail = key;
        add(fault, task.place);
    }

    void push(boost::intrusive_ptr<Schema> schema, const Variant& value, std::string place,
              std::size_t depth) {
        if (!schema || schema->empty()) return;
        const Schema* node = schema.get();
        waiting_.push_back(
            {node, std::move(schema), &value, std::move(place), depth + 1, Result(), 0});
    }

    void add(const Result& fault, const std::string& place) {
        if (errors_.size() >= limits_.faults) return;
        const Variant error = words_.describe(fault, place);
        const std::string name = std::string(error["instancePath"]) + '\n' +
                                 std::string(error["schemaPath"]) + '\n' +
                                 std::string(error["message"]) + '\n' +
                                 std::string(error["params"]["additionalProperty"]);
        if (told_.insert(name).second) errors_ << error;
    }

    const CollectionLimits limits_;
    detail::FaultWords words_;
    std::vector<Task> waiting_;
    std::set<std::pair<const Schema*, const Variant*>> seen_;
    std::set<std::string> told_;
    std::size_t checks_ = 0;
    Variant errors_ = Variant::newList();
};

} // namespace

Variant collect_validation_errors(const Schema& schema, const Variant& value,
                                  const CollectionLimits& limits) {
    return Collector(schema, value, limits).run();
}

} // namespace json
