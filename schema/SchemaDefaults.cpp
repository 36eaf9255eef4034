// SPDX-License-Identifier: MIT
#include "schema/Schema.h"

#include <algorithm>
#include <string>
#include <utility>

namespace json {

namespace {

/// Defaults in defaults, past which there is none: 128 levels, each of a default and its part.
constexpr int kAutoDepth = 2 * 128;
/// Elements, entries and blanks that are made, and references that are followed, for one default
/// with all that lies in it.
constexpr std::uint64_t kAutoSize = std::uint64_t{1} << 17;

/// What the default that is being made has used up: a peer shapes schemas, so neither their
/// references nor their sizes may exhaust stack or memory.
class Making {
public:
    Making() {
        if (depth_++ == 0) left_ = kAutoSize;
    }
    ~Making() { --depth_; }
    Making(const Making&) = delete;
    Making& operator=(const Making&) = delete;

    static bool tooDeep() { return depth_ > kAutoDepth; }
    /// Takes what is left of `wanted` and returns it.
    static std::uint64_t take(std::uint64_t wanted) {
        const std::uint64_t taken = std::min(wanted, left_);
        left_ -= taken;
        return taken;
    }

private:
    static thread_local int depth_;
    static thread_local std::uint64_t left_;
};

thread_local int Making::depth_ = 0;
thread_local std::uint64_t Making::left_ = 0;

/// The default text of a format; null for the formats that have none.
const char* text_of_format(Schema::StringFormat format) {
    switch (format) {
    case Schema::DateTimeFormat:
        return "1970-01-01T00:00:00.0";
    case Schema::DateFormat:
        return "1970-01-01";
    case Schema::TimeFormat:
        return "00:00:00.0";
    case Schema::UtcMillisecFormat:
    case Schema::UtcSecondFormat:
        return "0";
    case Schema::IpAddressFormat:
        return "127.0.0.1";
    case Schema::Ipv6Format:
        return "::1/128";
    case Schema::HostNameFormat:
        // Intended: it has no point, and the check of the format wants one.
        // Held by SchemaDefaults.TheDefaultOfAHostNameFailsUnderItsOwnSchema.
        return "localhost";
    default:
        return nullptr;
    }
}

bool has(const Schema::TypeSet& types, Type type) { return types[static_cast<std::size_t>(type)]; }

} // namespace

const Variant& Schema::autoValue() const {
    const Making making;
    if (Making::tooDeep()) return Variant::EmptyAutoValue;
    const Schema* node = this;
    boost::intrusive_ptr<Schema> held;
    do {
        const Variant& given = node->defaultValue();
        if (!given.isNull()) return given;

        if (!node->ref_.empty()) {
            if (boost::intrusive_ptr<Schema> found = resolve(node->ref_, node->context_)) {
                held = std::move(found);
                node = held.get();
                continue;
            }
            // Intended: extended schemas give defaults only behind a reference that leads nowhere.
            // Held by SchemaDefaults.ExtendedSchemasGiveDefaultsOnlyBehindABrokenReference.
            for (const qx::Url& url : node->extended_) {
                const boost::intrusive_ptr<Schema> extended = resolve(url, node->context_);
                if (!extended || Making::take(1) == 0) continue;
                const Variant& value = extended->autoValue();
                if (!value.isNull()) return value;
            }
        }

        if (!node->values().empty()) return node->values().front();

        if (node->complexTypes_.empty()) return node->autoValueOfType();
        node = node->complexTypes_.front().get();
    } while (Making::take(1) == 1);
    return Variant::EmptyAutoValue;
}

const Variant& Schema::autoValueOfType() const {
    if (has(types_, Type::Null)) return Variant::EmptyAutoValue;
    if (has(types_, Type::Boolean)) return Variant::False;
    if (has(types_, Type::Integer)) return autoValue_ = autoIntegerValue();
    if (has(types_, Type::Real)) return autoValue_ = static_cast<double>(autoIntegerValue());
    if (has(types_, Type::String)) return autoStringValue();
    if (has(types_, Type::List)) return autoListValue();
    if (has(types_, Type::Object)) return autoObjectValue();
    return Variant::EmptyAutoValue;
}

// Intended: a start that is a multiple of the divisor moves up by a full step.
// Held by SchemaDefaults.AnIntegerIsTheNextMultipleAboveTheMinimum.
std::int64_t Schema::autoIntegerValue() const {
    // Sums wrap at 64 bits.
    auto value = static_cast<std::uint64_t>(minimum());
    if (exclusiveMinimum()) ++value;
    const std::int64_t divisor = divisibleBy();
    const auto start = static_cast<std::int64_t>(value);
    if (divisor == 0) return start;
    // By -1 nothing remains, and the smallest number can't be divided by it.
    const std::int64_t remainder = divisor == -1 ? 0 : start % divisor;
    return static_cast<std::int64_t>(value - static_cast<std::uint64_t>(remainder) +
                                     static_cast<std::uint64_t>(divisor));
}

const Variant& Schema::autoStringValue() const {
    const Making making; // it may be asked by itself
    const char* start = text_of_format(stringFormat_);
    const std::uint64_t length = minStringLength();
    if (length == 0 && start == nullptr) return Variant::EmptyString;
    std::string text(start != nullptr ? start : "");
    if (text.size() < length) text.append(Making::take(length - text.size()), ' ');
    return autoValue_ = text;
}

const Variant& Schema::autoListValue() const {
    const Making making; // it may be asked by itself
    const std::uint64_t size = minItems();
    if (size == 0) return Variant::EmptyList;
    const boost::intrusive_ptr<List> list(new List);
    while (list->size() < size && Making::take(1) == 1) {
        const boost::intrusive_ptr<Schema> item = at(list->size());
        *list << (item ? item->autoValue() : Variant::EmptyAutoValue);
    }
    return autoValue_ = Variant(list);
}

// Intended: a dependency that is a single text counts here, though the check ignores it.
// Held by SchemaDefaults.ADependencyThatIsASingleTextIsFollowed.
const Variant& Schema::autoObjectValue() const {
    const Making making; // it may be asked by itself
    if (properties_.empty()) return Variant::EmptyObject;
    const boost::intrusive_ptr<Object> object(new Object);
    const auto set = [&](const qx::IntrusiveString& key) {
        if (Making::take(1) == 1) object->setValue(key, autoPropertyValue(key));
    };
    for (const auto& [key, schema] : properties_) {
        if (!schema->isRequired()) continue;
        set(*key);
        const auto dependency = valueDependencies_.find(key);
        if (dependency == valueDependencies_.end()) continue;
        if (dependency->second.isString()) set(dependency->second.stringValue());
        for (const Variant& name : dependency->second.listValue()) {
            set(name.stringValue());
        }
    }
    return autoValue_ = Variant(object);
}

const Variant& Schema::autoPropertyValue(const qx::IntrusiveString& key) const {
    const boost::intrusive_ptr<Schema> schema = property(key);
    return schema ? schema->autoValue() : Variant::EmptyAutoValue;
}

} // namespace json
