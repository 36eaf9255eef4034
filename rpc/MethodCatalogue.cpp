// SPDX-License-Identifier: MIT
// What a peer says of its methods: schemas to check calls by, and help for a person.
#include "core/Mutex.h"
#include "core/detail/NeverDestroyed.h"
#include "core/detail/ProcessLock.h"
#include "rpc/Conversation.h"
#include "schema/detail/SchemaNames.h"

#include <cstddef>
#include <iostream>
#include <string>
#include <utility>

namespace json {

namespace {

/// An object of its own, so that nothing done to it reaches the peer's entry.
Variant new_document(const qx::Url& id, const std::string& title, const Variant& type,
                     const Variant& description) {
    Variant document = Variant::newObject();
    document["id"] = static_cast<const char*>(id);
    document["title"] = title;
    document["type"].deepCopy(&type);
    document["description"] = description;
    return document;
}

/// Turns a parameter, as the peer describes it, into the schema of an argument.
void adapt_parameter(Object& parameter, const std::string& tag, const std::string& title) {
    parameter.setValue("id", Variant(tag));
    parameter.setValue("title", Variant(title));
    // Intended: "real" is a word of parameters only; in a result it names no kind.
    // Held by MethodCatalogue.ARealResultIsAnUnknownWordThatTakesNothing.
    if (std::as_const(parameter)["type"] == "real") parameter.setValue("type", Variant("number"));
    parameter.rename("list", "enum");
    parameter.rename("min", "minimum");
    parameter.rename("max", "maximum");
}

/// The kinds that the schema takes; "void" where nothing may stand.
std::string type_names(const boost::intrusive_ptr<Schema>& schema) {
    return detail::string_from_types(schema ? schema->types() : Schema::TypeSet());
}

void remove_key(Object& object, const char* key) {
    for (auto entry = object.find(key); entry != object.end(); entry = object.find(key)) {
        object.erase(entry);
    }
}

} // namespace

bool Conversation::importMethodSchema(const Variant& entry) {
    // Entries of several conversations are bound to the same schema, which keeps their defaults.
    static qx::detail::NeverDestroyed<qx::Mutex> mutex;
    const qx::detail::ProcessLock<qx::Mutex> lock(*mutex);
    if (const auto schema = Schema::resolve(methodSchemaUrl(), qx::Url())) {
        entry.attachSchema(schema);
        const Schema::ValidationResult result = schema->check(entry);
        if (!result.ok()) {
            // Intended: the words as those who search their logs for them know them.
            // Held by MethodCatalogue.ARecordThatItsSchemaRefusesStaysUnknown.
            std::cerr << "error validing list_method entry:\n" << result << '\n';
            return false;
        }
    }
    const qx::IntrusiveString method(entry["method"].stringValue());
    // Intended: a name that is there already is added again.
    // Held by MethodCatalogue.ASecondAnswerDoublesTheNames.
    methodNames.push_back(method);
    const std::string& name = method;

    const bool hasResult =
        Schema::import(new_document(Response::resultSchemaUrl(method), name + " return value",
                                    entry["result"], entry["description"]));

    Variant document = new_document(Request::argsSchemaUrl(method), name + " arguments", "array",
                                    entry["description"]);
    Variant& items = document["items"];
    items.deepCopy(&entry["params"]);
    // Anything but a list becomes one at the first step, and the loop ends with it.
    for (std::size_t i = 0; i < items.size(); ++i) {
        const std::string tag = "#" + std::to_string(i);
        adapt_parameter(items[i].objectValue(), tag, name + " argument " + tag);
    }
    return Schema::import(document) && hasResult;
}

void Conversation::importMethods(const List& entries) {
    for (const Variant& entry : entries) {
        importMethodSchema(entry);
    }
    for (const qx::IntrusiveString& method : methodNames) {
        printMethodHelp(std::cout, method);
    }
}

void Conversation::printMethodHelp(std::ostream& out, const qx::IntrusiveString& method) const {
    const boost::intrusive_ptr<Schema> schema =
        Schema::resolve(Request::argsSchemaUrl(method), qx::Url());
    if (!schema) return;
    const std::size_t count = schema->definition()["items"].size();
    out << std::string(40, '-') << '\n' << method << " (";
    for (std::size_t i = 0; i < count; ++i) {
        out << (i > 0 ? "," : "") << type_names((*schema)[i]);
    }
    out << ")\n\t" << schema->description() << "\n\n";
    for (std::size_t i = 0; i < count; ++i) {
        printArgHelp(out, "@param", (*schema)[i], true);
    }
}

void Conversation::printMethodHelp(std::ostream& out) const {
    for (const qx::IntrusiveString& method : methodNames) {
        printMethodHelp(out, method);
    }
}

void Conversation::printArgHelp(std::ostream& out, const qx::IntrusiveString& label,
                                boost::intrusive_ptr<Schema> schema, bool withDescription) const {
    const Schema& shown = schema ? *schema : Schema::Empty;
    out << '\t' << label << ' ';
    if (withDescription) out << '\t' << shown.description();
    out << ' ';
    if (shown.values().empty()) {
        out << '(' << type_names(schema) << ')';
    } else {
        shown.values().write(out, false);
    }
    out << '\n';
    Object rest(shown.definition());
    for (const char* key : {"id", "type", "description", "title", "enum", "list"}) {
        remove_key(rest, key);
    }
    if (rest.empty()) return;
    out << "\t\t";
    rest.write(out, false);
    out << '\n';
}

} // namespace json
