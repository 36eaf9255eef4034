// SPDX-License-Identifier: MIT
#include "core/IPAddress.h"
#include "schema/Schema.h"
#include "schema/detail/Bounds.h"

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace json {

namespace {

using Result = Schema::ValidationResult;

/// Nodes of schemas that a check may visit for each node of the value, so that references which
/// branch and branch again come to an end.
constexpr std::uint64_t kVisitsPerNode = 10000;
/// Looking through so many schemas for one that comes back counts as a visit.
constexpr std::size_t kLooksPerVisit = 64;

std::size_t bit(Type type) { return static_cast<std::size_t>(type); }

/// The nodes of a value, counted no further than to `enough`.
std::uint64_t count_nodes(const Variant& root, std::uint64_t enough) {
    std::vector<const Variant*> waiting{&root};
    std::uint64_t count = 0;
    while (!waiting.empty() && count < enough) {
        const Variant& value = *waiting.back();
        waiting.pop_back();
        ++count;
        for (const Variant& element : value.listValue()) {
            waiting.push_back(&element);
        }
        for (const auto& entry : value.objectValue()) {
            waiting.push_back(&entry.second);
        }
    }
    return count;
}

} // namespace

/// A check in progress. Each node of a schema that looks at a value has a frame; a frame that waits
/// for another one goes on at its step when that one is done. A peer shapes both schemas and
/// values, so nothing recurses.
class Schema::Check {
public:
    explicit Check(Result& result) : result_(result) {}

    bool run(const Schema& schema, const Variant& value) {
        root_ = &value;
        frames_.emplace_back(schema, nullptr, value, 0, 0);
        trail_.push_back(&schema);
        bool passed = true;
        while (!frames_.empty() && !aborted_) {
            const Verdict verdict = advance(frames_.back(), passed);
            if (verdict == Verdict::Wait) continue;
            passed = verdict == Verdict::Pass;
            trail_.resize(frames_.back().trailEnd);
            frames_.pop_back();
        }
        return passed && !aborted_;
    }

private:
    enum class Verdict { Fail, Pass, Wait };
    enum class Step { Begin, Extended, Alternative, Item, EntryValue, EntryDependency };

    struct Frame {
        Frame(const Schema& checking, boost::intrusive_ptr<Schema> holder, const Variant& checked,
              std::size_t begin, std::size_t end)
            : schema(&checking), held(std::move(holder)), value(&checked), trailBegin(begin),
              trailEnd(end) {}

        const Schema* schema;
        boost::intrusive_ptr<Schema> held; // null for a schema that its parent or caller holds
        const Variant* value;
        std::size_t trailBegin; // of the schemas that look at this value
        std::size_t trailEnd;   // what the trail is cut to when this frame is done
        Step step = Step::Begin;
        std::size_t next = 0;               // of the extensions, alternatives or items
        Object::const_iterator entry;       // of an object
        SchemaMap::const_iterator expected; // of its schema's properties, as the next of the object
    };

    static Verdict verdict(bool passed) { return passed ? Verdict::Pass : Verdict::Fail; }

    Verdict advance(Frame& frame, bool passed) {
        switch (frame.step) {
        case Step::Begin:
            return begin(frame);
        case Step::Extended:
            return passed ? checkExtended(frame) : Verdict::Fail;
        case Step::Alternative:
            return passed ? checkContent(frame) : checkAlternatives(frame);
        case Step::Item:
            if (!passed) return Verdict::Fail;
            result_.path.pop();
            return checkItems(frame);
        case Step::EntryValue:
            if (!passed) return Verdict::Fail;
            result_.path.pop();
            if (const Verdict next = checkDependencies(frame); next != Verdict::Pass) return next;
            ++frame.entry;
            return checkEntries(frame);
        case Step::EntryDependency:
            if (!passed) return Verdict::Fail;
            ++frame.entry;
            return checkEntries(frame);
        }
        return Verdict::Fail;
    }

    Verdict begin(Frame& frame) {
        if (!mayVisit(frame)) return Verdict::Fail;
        if (frame.schema->empty()) return Verdict::Pass;
        if (!frame.schema->ref_.empty()) return follow(frame);
        frame.next = 0;
        return checkExtended(frame);
    }

    /// The referred schema takes the frame over: nothing else of this node is looked at.
    Verdict follow(Frame& frame) {
        boost::intrusive_ptr<Schema> found = find(frame, frame.schema->ref_);
        if (!found) return Verdict::Fail;
        trail_.push_back(found.get());
        frame.schema = found.get();
        frame.held = std::move(found);
        return Verdict::Wait;
    }

    Verdict checkExtended(Frame& frame) {
        const Schema& schema = *frame.schema;
        if (frame.next < schema.extended_.size()) {
            const qx::Url& url = schema.extended_[frame.next++];
            boost::intrusive_ptr<Schema> found = find(frame, url);
            if (!found) return Verdict::Fail;
            const Schema& extended = *found;
            return wait(frame, Step::Extended, extended, std::move(found));
        }
        if (frame.value->isNull() && schema.isRequired()) {
            return verdict(schema.report(result_, RequiredValueMissing, *frame.value));
        }
        if (schema.allowsType(*frame.value)) return checkContent(frame);
        frame.next = 0;
        return checkAlternatives(frame);
    }

    // Intended: what a failed alternative left in the result stays there, steps of the path too.
    // Held by SchemaCheck.AFailedAlternativeLeavesItsPathBehind.
    Verdict checkAlternatives(Frame& frame) {
        const Schema& schema = *frame.schema;
        if (frame.next < schema.complexTypes_.size()) {
            const Schema& alternative = *schema.complexTypes_[frame.next++];
            return wait(frame, Step::Alternative, alternative);
        }
        return verdict(schema.reportWrongType(*frame.value, result_));
    }

    Verdict checkContent(Frame& frame) {
        const Schema& schema = *frame.schema;
        const Variant& value = *frame.value;
        if (!schema.validateValue(value, &result_)) return Verdict::Fail;
        if (value.isList()) {
            if (!schema.validateArray(value, &result_)) return Verdict::Fail;
            frame.next = 0;
            return checkItems(frame);
        }
        if (value.isObject()) {
            frame.entry = value.objectValue().begin();
            frame.expected = schema.properties_.begin();
            return checkEntries(frame);
        }
        return checkRest(frame);
    }

    Verdict checkItems(Frame& frame) {
        const Schema& schema = *frame.schema;
        const List& list = frame.value->listValue();
        while (frame.next < list.size()) {
            const std::size_t index = frame.next++;
            const Schema* item = schema.ownElement(index).get();
            if (item == nullptr) {
                return verdict(schema.report(result_, SchemaNotDefinedForArrayItem, *frame.value,
                                             static_cast<std::int64_t>(index)));
            }
            if (item->empty()) continue;
            const Variant& element = list[index];
            const bool alone = checksAlone(*item, element);
            if (alone && passesAlone(*item, element)) continue;
            result_.path << index;
            if (alone) return Verdict::Fail;
            return descend(frame, Step::Item, *item, element);
        }
        return checkRest(frame);
    }

    // Intended: only the keys that the value has are looked at, so that a required property which
    // is absent is no fault. Held by SchemaCheck.ARequiredPropertyThatIsAbsentIsNoFault.
    Verdict checkEntries(Frame& frame) {
        const Schema& schema = *frame.schema;
        const Object& object = frame.value->objectValue();
        for (; frame.entry != object.end(); ++frame.entry) {
            const auto& [key, value] = *frame.entry;
            const Schema* property = propertyOf(frame, key);
            if (property == nullptr) {
                return verdict(schema.report(result_, InvalidProperty, *frame.value, key));
            }
            const bool alone = checksAlone(*property, value);
            if (!property->empty() && !(alone && passesAlone(*property, value))) {
                result_.path << *key;
                if (alone) return Verdict::Fail;
                return descend(frame, Step::EntryValue, *property, value);
            }
            if (const Verdict next = checkDependencies(frame); next != Verdict::Pass) return next;
        }
        return checkRest(frame);
    }

    /// Rows of one kind have their entries in one order, mostly that of the schema: the property
    /// that stands behind the last one is looked at first.
    static const Schema* propertyOf(Frame& frame, const Key& key) {
        const SchemaMap& properties = frame.schema->properties_;
        if (frame.expected == properties.end() || frame.expected->first != key) {
            const SchemaMap::const_iterator found = properties.find(key);
            if (found == properties.end()) return frame.schema->ownAdditionalProperty().get();
            frame.expected = found;
        }
        return (frame.expected++)->second.get();
    }

    /// Those of the entry that the frame has come to.
    Verdict checkDependencies(Frame& frame) {
        const Schema& schema = *frame.schema;
        if (schema.valueDependencies_.empty() && schema.schemaDependencies_.empty()) {
            return Verdict::Pass;
        }
        const Object& object = frame.value->objectValue();
        const Key& key = frame.entry->first;
        // Intended: a dependency that is a single text reads as no list and has no effect.
        // Held by SchemaCheck.ADependencyThatIsASingleTextHasNoEffect.
        const auto names = schema.valueDependencies_.find(key);
        if (names != schema.valueDependencies_.end()) {
            for (const Variant& name : names->second.listValue()) {
                if (object.contains(name.stringValue())) continue;
                return verdict(schema.report(result_, DependentValueMissing, *frame.value, name));
            }
        }
        const auto dependency = schema.schemaDependencies_.find(key);
        if (dependency == schema.schemaDependencies_.end()) return Verdict::Pass;
        return wait(frame, Step::EntryDependency, *dependency->second);
    }

    Verdict checkRest(Frame& frame) {
        const Schema& schema = *frame.schema;
        const Variant& value = *frame.value;
        const Bounds bounds = schema.bounds();
        if (!schema.keepsBounds(bounds, value, result_)) return Verdict::Fail;
        return verdict(!value.isString() || schema.keepsLength(bounds, value, result_));
    }

    // ----- Plain values, which most are: no frame is needed
    // -----------------------------------------

    /// Not behind references: their visits are counted.
    bool checksAlone(const Schema& schema, const Variant& value) const {
        return reference_ == nullptr && schema.standsAlone() && !value.isList() &&
               !value.isObject();
    }

    bool passesAlone(const Schema& schema, const Variant& value) {
        if (value.isNull() && schema.isRequired()) {
            return schema.report(result_, RequiredValueMissing, value);
        }
        if (!schema.allowsType(value)) return schema.reportWrongType(value, result_);
        if (!schema.validateValue(value, &result_)) return false;
        const Bounds bounds = schema.bounds();
        return schema.keepsBounds(bounds, value, result_) &&
               (!value.isString() || schema.keepsLength(bounds, value, result_));
    }

    // ----- Frames --------------------------------------------------------------------------------

    /// Another schema looks at the same value.
    Verdict wait(Frame& frame, Step step, const Schema& schema,
                 boost::intrusive_ptr<Schema> held = nullptr) {
        frame.step = step;
        const Variant& value = *frame.value;
        const std::size_t begin = frame.trailBegin;
        frames_.emplace_back(schema, std::move(held), value, begin, trail_.size()); // moves them
        trail_.push_back(&schema);
        return Verdict::Wait;
    }

    /// A schema looks at what lies in the value.
    Verdict descend(Frame& frame, Step step, const Schema& schema, const Variant& value) {
        frame.step = step;
        const std::size_t begin = trail_.size();
        frames_.emplace_back(schema, nullptr, value, begin, begin); // moves the frames
        trail_.push_back(&schema);
        return Verdict::Wait;
    }

    /// The schema of the URL. Null, and a fault is left, where there is none, and where it looks
    /// at this very value already: it would come back for ever.
    boost::intrusive_ptr<Schema> find(const Frame& frame, const qx::Url& url) {
        reference_ = &url;
        boost::intrusive_ptr<Schema> found = resolve(url, frame.schema->context_);
        if (found && looksAlready(frame, *found)) found.reset();
        if (!found) reportReference(frame);
        return found;
    }

    bool looksAlready(const Frame& frame, const Schema& schema) {
        const auto begin = trail_.begin() + static_cast<std::ptrdiff_t>(frame.trailBegin);
        visits_ += static_cast<std::size_t>(trail_.end() - begin) / kLooksPerVisit;
        return std::find(begin, trail_.end(), &schema) != trail_.end();
    }

    void reportReference(const Frame& frame) {
        frame.schema->report(result_, SchemaNotFound, *frame.value,
                             static_cast<const char*>(*reference_));
    }

    /// False, and the whole check ends, where references go on and on.
    bool mayVisit(const Frame& frame) {
        ++visits_;
        // Without references the document bounds the visits.
        if (reference_ == nullptr) return true;
        if (visits_ <= allowed_ || raiseAllowance()) return true;
        reportReference(frame);
        aborted_ = true;
        return false;
    }

    /// The value is measured when the visits for what is known of it are used up.
    bool raiseAllowance() {
        const std::uint64_t wanted = visits_ / kVisitsPerNode + 1;
        allowed_ = (count_nodes(*root_, 2 * wanted) + 1) * kVisitsPerNode;
        return visits_ <= allowed_;
    }

    Result& result_;
    const Variant* root_ = nullptr;
    boost::container::small_vector<Frame, 8> frames_;
    /// The schemas that the frames look by, and those that led there: the path to the present one.
    boost::container::small_vector<const Schema*, 16> trail_;
    const qx::Url* reference_ = nullptr; // the last one that was followed; its schema lives on
    std::uint64_t visits_ = 0;
    std::uint64_t allowed_ = kVisitsPerNode;
    bool aborted_ = false;
};

// ----- The whole check ---------------------------------------------------------------------------

const Schema::ValidationResult& Schema::validate(const Variant& value) const {
    check(value, result_);
    return result_;
}

Schema::ValidationResult Schema::check(const Variant& value) const {
    ValidationResult result;
    check(value, result);
    return result;
}

void Schema::check(const Variant& value, ValidationResult& result) const {
    // It may lie in the last result, and a schema that its own result holds would never be freed.
    const Variant checked = value.withoutSchema();
    result.rootSchema = this;
    result.rootValue = checked;
    while (result.path.size() > 0) {
        result.path.pop();
    }
    result.code = NoError;
    result.schema = this;
    result.value = checked;
    result.detail = nullptr;
    // Intended: a text that isn't base64 fails without a code, and so the result tests as passed
    // with the schema still set.
    // Held by SchemaCheck.ATextThatIsNotBase64EndsTheCheckButTestsAsPassed.
    if (validate(checked, &result)) {
        result.code = NoError;
        result.schema = nullptr;
        result.value = nullptr;
        result.detail = nullptr;
    }
}

const Schema::ValidationResult& Schema::validate(const Variant* value) const {
    return validate(value != nullptr ? *value : Variant::Empty);
}

bool Schema::validate(const Variant& value, ValidationResult* result) const {
    return Check(*result).run(*this, value);
}

// ----- Its parts ---------------------------------------------------------------------------------

/// Leaves a fault of this node in the result; false.
bool Schema::report(ValidationResult& result, ValidationCode code, const Variant& value,
                    const Variant& detail) const {
    result.code = code;
    result.schema = this;
    result.value = value.withoutSchema();
    result.detail = detail.withoutSchema();
    return false;
}

/// Whether "type" names the kind itself; complex types aren't asked. An integer is a number.
bool Schema::allowsType(const Variant& value) const {
    return types_[bit(value.type())] || (value.isInteger() && types_[bit(Type::Real)]);
}

bool Schema::reportWrongType(const Variant& value, ValidationResult& result) const {
    const std::string text = string_from_type(value.type()) + ", expected " +
                             string_from_types(types_) +
                             (complexTypes_.empty() ? "" : ", or complex type");
    return report(result, WrongDataType, value, text);
}

bool Schema::validateType(const Variant& value, ValidationResult* result) const {
    if (allowsType(value)) return true;
    for (const boost::intrusive_ptr<Schema>& alternative : complexTypes_) {
        if (alternative->validate(value, result)) return true;
    }
    return reportWrongType(value, *result);
}

bool Schema::validateValue(const Variant& value, ValidationResult* result) const {
    if (values().empty() || values().contains(value)) return true;
    return report(*result, InvalidValue, value);
}

bool Schema::validateArray(const Variant& value, ValidationResult* result) const {
    const List& list = value.listValue();
    const Bounds known = bounds();
    if (list.size() < known.minItems || list.size() > known.maxItems) {
        return report(*result, ArrayIndexOutOfBounds, value);
    }
    if (known.uniqueItems) {
        for (std::size_t i = 0; i < list.size(); ++i) {
            for (std::size_t j = i + 1; j < list.size(); ++j) {
                // Intended: the item that comes first decides by its type, so that [1,"1"] has a
                // twin and ["1",1] has none.
                // Held by SchemaCheck.UniqueItemsNamesTheFirstThatHasATwin.
                if (list[i] == list[j]) {
                    return report(*result, ArrayItemsNotUnique, value, list[i]);
                }
            }
        }
    }
    // Intended: "disallow" bans kinds of item, never the value itself.
    // Held by SchemaCheck.DisallowBansKindsOfItemInAnArrayOnly.
    if (disallowed_.any()) {
        for (const Variant& item : list) {
            if (disallowed_[bit(item.type())]) {
                return report(*result, WrongDataType, value, item);
            }
        }
    }
    if (!additionalItems_ && list.size() > items_.size()) {
        return report(*result, SchemaNotDefinedForArrayItem, value,
                      static_cast<std::int64_t>(list.size() - 1));
    }
    return true;
}

bool Schema::validateBounds(const Variant& value, ValidationResult* result) const {
    return keepsBounds(bounds(), value, *result);
}

// Intended: a value of any kind meets the bounds, by the integer that it reads as.
// Held by SchemaCheck.EveryKindOfValueMeetsTheBoundsByItsInteger.
bool Schema::keepsBounds(const Bounds& bounds, const Variant& value,
                         ValidationResult& result) const {
    if (!bounds.boundsNumber) return true;
    const std::int64_t number = value.integerValue();
    const std::int64_t least = bounds.minimum;
    if (bounds.exclusiveMinimum ? number <= least : number < least) {
        return report(result, ValueOutOfBounds, value, least);
    }
    const std::int64_t most = bounds.maximum;
    if (bounds.exclusiveMaximum ? number >= most : number > most) {
        return report(result, ValueOutOfBounds, value, most);
    }
    const std::int64_t divisor = bounds.divisibleBy;
    // By -1 everything can be divided, but the smallest number overflows.
    // Intended: the integer is divided, so that 2.5 is divisible by 2.
    // Held by SchemaCheck.DivisibilityIsThatOfIntegers.
    if (divisor != 0 && divisor != -1 && number % divisor != 0) {
        return report(result, ValueNotDivisible, value, divisor);
    }
    return true;
}

bool Schema::validateString(const Variant& value, ValidationResult* result) const {
    return keepsLength(bounds(), value, *result);
}

bool Schema::keepsLength(const Bounds& bounds, const Variant& value,
                         ValidationResult& result) const {
    // Intended: bytes are counted, not characters.
    // Held by SchemaCheck.AStringHasAsManyBytesAsItsBoundsSay.
    const std::uint64_t length = value.stringValue().length();
    if (length < bounds.minLength || length > bounds.maxLength) {
        return report(result, StringLengthOutOfBounds, value);
    }
    return !bounds.hasFormat || validateFormat(stringFormat_, value, &result);
}

namespace {

bool is_base64_character(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/' || c == '=';
}

} // namespace

bool Schema::validateFormat(StringFormat format, const Variant& value,
                            ValidationResult* result) const {
    const std::string& text = value.stringValue();
    const auto fault = [&](ValidationCode code) {
        return report(*result, code, value, static_cast<std::int64_t>(format));
    };
    switch (format) {
    case RegexFormat:
    case DateTimeFormat:
    case DateFormat:
    case TimeFormat:
    case UtcMillisecFormat:
    case UtcSecondFormat:
    case EncryptedFormat:
        return true;
    case IpAddressFormat:
        return qx::IPAddress(text).isIPv4() || fault(MalformedIpAddress);
    case Ipv6Format:
        return qx::IPAddress(text).isIPv6() || fault(MalformedIpAddress);
    case UriFormat: {
        const qx::Url url(text);
        return url.absolute() || url.relative() || fault(MalformedUri);
    }
    case Base64Format:
        // Intended: a fault isn't reported. See `validate`.
        // Held by SchemaCheck.ATextThatIsNotBase64EndsTheCheckButTestsAsPassed.
        return std::all_of(text.begin(), text.end(), is_base64_character);
    case ColorFormat:
    case StyleFormat:
    case PhoneFormat:
    case EmailFormat:
    case HostNameFormat:
    case UnknownFormat:
        break;
    }
    // Intended: the formats that are known by name but have no test are refused.
    // Held by SchemaCheck.EveryFormatIsTestedAsItsRowSays.
    return fault(UnknownStringFormat);
}

} // namespace json
