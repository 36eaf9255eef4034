// SPDX-License-Identifier: MIT
#include "schema/Schema.h"

#include "core/detail/Place.h"
#include "schema/detail/Keywords.h"
#include "json/JsonParser.h"

#include <limits>
#include <utility>

namespace json {

// ----- Shared schemas ----------------------------------------------------------------------------

namespace {

qx::detail::Place<const Schema> empty_place;
qx::detail::Place<const boost::intrusive_ptr<Schema>> empty_pointer_place;
const boost::intrusive_ptr<Schema> null_pointer;

struct Builder {
    Builder() {
        empty_place.build();
        empty_pointer_place.build(new Schema);
    }
};

// Behind the constants of values.
[[gnu::init_priority(102)]] Builder builder;

} // namespace

const boost::intrusive_ptr<Schema>& Schema::NullPtr = null_pointer;
const Schema& Schema::Empty = empty_place.content;
const boost::intrusive_ptr<Schema>& Schema::EmptyPtr = empty_pointer_place.content;

// ----- Loading -----------------------------------------------------------------------------------

/// The children that were created but not loaded yet, level by level: a peer shapes the depth of a
/// document, so nothing may recurse over it. A child is loaded and registered with all that lies
/// below it before the next one.
class Schema::Loading {
public:
    void add(const boost::intrusive_ptr<Schema>& child, bool shouldImport) {
        levels_.back().children.push_back({child, shouldImport});
    }

    void run(Schema& root) {
        enter(root);
        while (!levels_.empty()) {
            Level& level = levels_.back();
            if (level.next < level.children.size()) {
                enter(*level.children[level.next++].schema);
            } else {
                levels_.pop_back();
                if (!levels_.empty()) finishChild(levels_.back());
            }
        }
    }

    struct Child {
        boost::intrusive_ptr<Schema> schema;
        bool shouldImport;
    };

    static void registerChild(const Child& child) {
        if (child.shouldImport && !child.schema->id_.empty()) Schema::import(child.schema);
    }

private:
    struct Level {
        std::vector<Child> children;
        std::size_t next = 0;
    };

    void enter(Schema& schema) {
        levels_.emplace_back();
        schema.loadKeywords(*this);
    }

    static void finishChild(const Level& level) { registerChild(level.children[level.next - 1]); }

    std::vector<Level> levels_;
};

void Schema::init() { Loading().run(*this); }

void Schema::loadKeywords(Loading& loading) {
    const detail::Keywords& words = detail::keywords();
    id_ = qx::Url(text(words.id).c_str());
    ref_ = qx::Url(text(words.ref).c_str());

    const Variant& type = keyword(words.type);
    types_ = type.isNull() ? AnyType : parse_types(type, &complexTypes_, &loading);

    const Object& document = definition();
    if (document.contains(words.enumeration)) values_ = document[words.enumeration].listPtr();

    const Variant& properties = keyword(words.properties);
    for (const auto& [key, value] : properties.objectValue()) {
        properties_.setValue(key, create_child(value, true, &loading));
    }

    const Variant& additionalProperties = keyword(words.additionalProperties);
    if (additionalProperties.isObject()) {
        additionalSchema_ = create_child(additionalProperties, true, &loading);
    }
    additionalAllowed_ = !additionalProperties.isBoolean() || additionalProperties.booleanValue();

    const Variant& items = keyword(words.items);
    if (items.isObject()) items_.push_back(create_child(items, true, &loading));
    for (const Variant& item : items.listValue()) {
        items_.push_back(create_child(item, true, &loading));
    }
    additionalItems_ = !items.isList();

    const Variant& additionalItems = keyword(words.additionalItems);
    if (additionalItems.isObject()) {
        items_.push_back(create_child(additionalItems, true, &loading));
        additionalItems_ = true;
    } else if (additionalItems.isBoolean()) {
        additionalItems_ = additionalItems.booleanValue();
    }

    // Intended: objects in the list are dropped.
    // Held by SchemaLoading.DisallowDropsTheObjectsOfItsList.
    disallowed_ = parse_types(keyword(words.disallow), nullptr);
    stringFormat_ = parse_format(text(words.format));

    // Intended: a schema object in the place of a URL becomes the URL of its text, which leads
    // nowhere. Held by SchemaLoading.ExtendsTakesTheTextOfWhateverStandsThereAsAUrl.
    const Variant& extends = keyword(words.extends);
    if (extends.isList()) {
        for (const Variant& url : extends.listValue()) {
            extended_.emplace_back(url.charsValue());
        }
    } else if (extends.booleanValue()) {
        extended_.emplace_back(extends.charsValue());
    }

    const Variant& dependencies = keyword(words.dependencies);
    for (const auto& [key, value] : dependencies.objectValue()) {
        if (value.isObject()) {
            schemaDependencies_.setValue(key, create_child(value, true, &loading));
        } else {
            valueDependencies_.setValue(key, value);
        }
    }
    // Intended: "requires" has no effect.
    // Held by SchemaCheck.RequiresHasNoEffect.
}

Schema::TypeSet Schema::parse_types(const Variant& value,
                                    std::vector<boost::intrusive_ptr<Schema>>* complex,
                                    Loading* loading) const {
    if (value.isString()) return type_from_string(value.stringValue());
    TypeSet types;
    for (const Variant& entry : value.listValue()) {
        if (entry.isString()) {
            types |= type_from_string(entry.stringValue());
        } else if (entry.isObject() && complex != nullptr) {
            complex->push_back(create_child(entry, true, loading));
        }
    }
    return types;
}

boost::intrusive_ptr<Schema> Schema::create_child(const Variant& value, bool shouldImport,
                                                  Loading* loading) const {
    boost::intrusive_ptr<Schema> child(new Schema(Unloaded(), value.objectPtr(), absoluteUrl()));
    if (loading != nullptr) {
        loading->add(child, shouldImport);
    } else {
        child->init();
        Loading::registerChild({child, shouldImport});
    }
    return child;
}

// ----- Construction ------------------------------------------------------------------------------

Schema::Schema(Unloaded, boost::intrusive_ptr<Object> definition, const qx::Url& context)
    : definition_(std::move(definition)), context_(context) {}

Schema::Schema() : Schema(Unloaded(), new Object, qx::Url()) { init(); }

Schema::Schema(const Variant& value, const qx::Url& context)
    : Schema(Unloaded(), value.objectPtr(), context) {
    init();
}

// A tree isn't const here: the text of no object becomes a new one, never a shared one.
Schema::Schema(std::istream* stream)
    : Schema(Unloaded(), JsonParser::parseTree(stream, -1).objectPtr(), qx::Url()) {
    init();
}

Schema::Schema(const std::string& text)
    : Schema(Unloaded(), JsonParser::parseTree(text).objectPtr(), qx::Url()) {
    init();
}

Schema::Schema(const char* text, int length)
    : Schema(Unloaded(), JsonParser::parseTree(text, length).objectPtr(), qx::Url()) {
    init();
}

Schema::Schema(const Schema& other) : Schema(Unloaded(), other.definition_, qx::Url()) {
    init_from(other);
}

Schema& Schema::operator=(const Schema& other) {
    if (this == &other) return *this;
    const Schema copy(other); // it may be a child of this schema
    definition_ = copy.definition_;
    init_from(copy);
    return *this;
}

Schema& Schema::operator=(const Variant& value) {
    definition_ = value.objectPtr();
    // Intended: nothing is cleared before.
    // Held by SchemaLoading.AssigningAValueKeepsWhatTheEarlierDocumentAppended.
    init();
    return *this;
}

void Schema::init_from(const Schema& other) {
    id_ = other.id_;
    context_ = other.context_;
    ref_ = other.ref_;
    extended_ = other.extended_;
    types_ = other.types_;
    complexTypes_ = other.complexTypes_;
    values_ = other.values_;
    properties_ = other.properties_;
    additionalAllowed_ = other.additionalAllowed_;
    additionalSchema_ = other.additionalSchema_;
    items_ = other.items_;
    additionalItems_ = other.additionalItems_;
    disallowed_ = other.disallowed_;
    valueDependencies_ = other.valueDependencies_;
    schemaDependencies_ = other.schemaDependencies_;
    stringFormat_ = other.stringFormat_;
}

Schema::~Schema() = default;

// ----- The document ------------------------------------------------------------------------------

const Variant& Schema::prop(const char* key, const Variant& defaultValue) const {
    const auto entry = definition().find(key);
    return entry != definition().end() ? entry->second : defaultValue;
}

const Variant& Schema::keyword(const Key& key) const {
    const auto entry = definition().find(key);
    return entry != definition().end() ? entry->second : definition().auto_value_for(key);
}

const qx::IntrusiveString& Schema::text(const Key& key) const { return text(keyword(key)); }

const qx::IntrusiveString& Schema::text(const Variant& value) {
    // The text of a null is empty; the constant has it at hand.
    return (value.isNull() ? Variant::EmptyString : value).stringValue();
}

// Intended: the integer -1 is the largest unsigned number.
// Held by SchemaLoading.ANegativeCountIsAVeryLargeOne.
std::uint64_t Schema::count(const Variant& value) {
    return static_cast<std::uint64_t>(value.integerValue());
}

std::int64_t Schema::number(const Key& key, std::int64_t without) const {
    const auto entry = definition().find(key);
    return entry != definition().end() ? entry->second.integerValue() : without;
}

bool Schema::empty() const { return definition().empty(); }

qx::Url Schema::absoluteUrl() const { return id_ % context_; }

const List& Schema::values() const { return values_ ? *values_ : Variant::EmptyList.listValue(); }

std::int64_t Schema::minimum() const {
    return number(detail::keywords().minimum, std::numeric_limits<std::int64_t>::min());
}

std::int64_t Schema::maximum() const {
    return number(detail::keywords().maximum, std::numeric_limits<std::int64_t>::max());
}

std::int64_t Schema::divisibleBy() const { return number(detail::keywords().divisibleBy, 0); }

// Intended: the integer -1 is the largest unsigned number.
// Held by SchemaLoading.ANegativeCountIsAVeryLargeOne.
std::uint64_t Schema::minItems() const {
    return static_cast<std::uint64_t>(number(detail::keywords().minItems, 0));
}

std::uint64_t Schema::maxItems() const {
    return static_cast<std::uint64_t>(number(detail::keywords().maxItems, -1));
}

std::uint64_t Schema::minStringLength() const {
    return static_cast<std::uint64_t>(number(detail::keywords().minLength, 0));
}

std::uint64_t Schema::maxStringLength() const {
    return static_cast<std::uint64_t>(number(detail::keywords().maxLength, -1));
}

const qx::IntrusiveString& Schema::description() const {
    return text(detail::keywords().description);
}
const qx::IntrusiveString& Schema::title() const { return text(detail::keywords().title); }
const qx::IntrusiveString& Schema::format() const { return text(detail::keywords().format); }

const Variant& Schema::defaultValue() const { return keyword(detail::keywords().defaultValue); }

bool Schema::isRequired() const {
    const Variant& required = keyword(detail::keywords().required);
    if (required.isBoolean()) return required.booleanValue();
    const Variant& optional = keyword(detail::keywords().optional);
    return optional.isBoolean() && !optional.booleanValue();
}

bool Schema::exclusiveMinimum() const {
    return keyword(detail::keywords().exclusiveMinimum).booleanValue();
}

bool Schema::exclusiveMaximum() const {
    return keyword(detail::keywords().exclusiveMaximum).booleanValue();
}

bool Schema::uniqueItems() const { return keyword(detail::keywords().uniqueItems).booleanValue(); }

} // namespace json
