// SPDX-License-Identifier: MIT
#include "core/detail/NeverDestroyed.h"
#include "core/detail/ProcessLock.h"
#include "schema/Schema.h"
#include "json/JsonParser.h"

#include <iostream>
#include <mutex>
#include <utility>

namespace json {

namespace {

/// A reference that leads to a reference, and so on: past this many they lead nowhere.
constexpr int kReferenceHops = 1000;

using RegistryLock = qx::detail::ProcessLock<std::mutex>;

std::mutex& registry_mutex() {
    static qx::detail::NeverDestroyed<std::mutex> mutex;
    return *mutex;
}

} // namespace

// ----- The registry ------------------------------------------------------------------------------

Schema::SchemaMap& Schema::global_schemas() {
    static qx::detail::NeverDestroyed<SchemaMap> schemas;
    return *schemas;
}

boost::intrusive_ptr<Schema> Schema::resolve(const qx::Url& url, const qx::Url& context) {
    return context.empty() ? registered(url) : registered(url % context);
}

boost::intrusive_ptr<Schema> Schema::registered(const qx::Url& url) {
    const SchemaMap& schemas = const_global_schemas();
    const RegistryLock lock(registry_mutex());
    const auto entry = schemas.find(url);
    return entry != schemas.end() ? entry->second : NullPtr;
}

void Schema::import(const qx::Url& url, boost::intrusive_ptr<Schema> schema) {
    SchemaMap& schemas = global_schemas();
    const bool known = [&] {
        const RegistryLock lock(registry_mutex());
        return schemas.contains(url);
    }();
    if (known) std::cerr << "warning: overwriting schema " << url << '\n';
    std::cout << "importing schema: " << url << '\n';
    const RegistryLock lock(registry_mutex());
    schemas.setValue(static_cast<const char*>(url), schema);
}

bool Schema::import(boost::intrusive_ptr<Schema> schema) {
    if (!schema) return false;
    const qx::Url url = schema->absoluteUrl();
    // Intended: children that were registered as the document was loaded stay.
    // Held by SchemaRegistry.ADocumentWithoutAnIdIsRefusedButItsChildrenStay.
    if (url.empty()) {
        std::cerr << "warning: could not import, missing 'id'\n" << schema->definition() << '\n';
        return false;
    }
    import(url, std::move(schema));
    return true;
}

namespace {

bool import_document(const Variant& document) {
    if (!document.isObject()) return false;
    const boost::intrusive_ptr<Schema> meta =
        Schema::resolve(Schema::metaSchemaUrl(document), qx::Url());
    if (meta) {
        const Schema::ValidationResult result = meta->check(document);
        if (!result.ok()) {
            std::cerr << "while importing: " << document << "\n\n" << result;
            return false;
        }
    }
    return Schema::import(new Schema(document, qx::Url()));
}

} // namespace

bool Schema::import(const Variant& value) {
    // Lists may lie in lists, as deep as the peer who wrote them likes.
    struct Level {
        boost::intrusive_ptr<List> list;
        std::size_t next;
    };
    if (!value.isList()) return import_document(value);
    std::vector<Level> levels{{value.listPtr(), 0}};
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.list->size()) {
            levels.pop_back();
            continue;
        }
        const Variant& item = std::as_const(*level.list)[level.next++];
        if (item.isList()) {
            levels.push_back({item.listPtr(), 0});
        } else if (!import_document(item)) {
            return false;
        }
    }
    return true;
}

bool Schema::import(std::istream* stream) {
    JsonParser parser;
    if (!parser.parse(stream, -1)) {
        std::cerr << parser.lastError() << "\n\n";
        return false;
    }
    return import(parser.parseComplete());
}

std::size_t Schema::registeredCount() {
    const SchemaMap& schemas = const_global_schemas();
    const RegistryLock lock(registry_mutex());
    return schemas.size();
}

const qx::Url& Schema::applicationSchemaBaseUrl() {
    static const qx::detail::NeverDestroyed<qx::Url> url("http://schemas.gatecast.example");
    return *url;
}

qx::Url Schema::metaSchemaUrl(const Variant& value) {
    static const qx::detail::NeverDestroyed<qx::Url> draft03(
        "http://json-schema.org/draft-03/schema#");
    const Variant& named = value["$schema"];
    if (named.isNull()) return *draft03;
    const qx::IntrusiveString& text = named.stringValue();
    return text.empty() ? *draft03 : qx::Url(text.c_str());
}

// ----- Places below ------------------------------------------------------------------------------

/// The node that this one stands for: itself, or where its references lead; null when that is
/// nowhere. `held` keeps the node.
const Schema* Schema::referred(boost::intrusive_ptr<Schema>& held) const {
    const Schema* node = this;
    for (int hops = 0; !node->ref_.empty(); ++hops) {
        boost::intrusive_ptr<Schema> next = resolve(node->ref_, node->context_);
        if (!next || hops == kReferenceHops) return nullptr;
        held = std::move(next);
        node = held.get();
    }
    return node;
}

boost::intrusive_ptr<Schema> Schema::at(std::size_t index) const {
    boost::intrusive_ptr<Schema> held;
    const Schema* node = referred(held);
    return node != nullptr ? node->ownElement(index) : NullPtr;
}

const boost::intrusive_ptr<Schema>& Schema::ownElement(std::size_t index) const {
    if (index < items_.size()) return items_[index];
    if (!additionalItems_) return NullPtr;
    return items_.empty() ? EmptyPtr : items_.back();
}

template <typename K>
boost::intrusive_ptr<Schema> Schema::propertyOf(const K& key) const {
    boost::intrusive_ptr<Schema> held;
    const Schema* node = referred(held);
    if (node == nullptr) return NullPtr;
    const auto entry = node->properties_.find(key);
    return entry != node->properties_.end() ? entry->second : node->ownAdditionalProperty();
}

// Intended: extended schemas aren't asked, so that one that is closed by "additionalProperties"
// refuses the properties that it extends.
// Held by SchemaCheck.AClosedSchemaRefusesThePropertiesThatItExtends.
const boost::intrusive_ptr<Schema>& Schema::ownAdditionalProperty() const {
    if (!additionalAllowed_) return NullPtr;
    return additionalSchema_ ? additionalSchema_ : EmptyPtr;
}

boost::intrusive_ptr<Schema> Schema::property(const qx::IntrusiveString& key) const {
    return propertyOf(key);
}

boost::intrusive_ptr<Schema>
Schema::property(const boost::intrusive_ptr<qx::IntrusiveString>& key) const {
    return propertyOf(key);
}

} // namespace json
