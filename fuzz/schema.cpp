// SPDX-License-Identifier: MIT
// Schema documents of any shape, registered under a few URLs that refer to each other, with values
// beside them: loading, checks, lookups and defaults come to an end, twice the same, and leave the
// value as it was. An input that begins with '{' or '[' is a JSON text: a list of documents, then
// the values that are held against each of them.

#include "schema/Schema.h"
#include "fuzz/support/Require.h"
#include "fuzz/support/Schemas.h"
#include "fuzz/support/Trees.h"
#include "json/JsonParser.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace {

using SchemaPtr = boost::intrusive_ptr<json::Schema>;

std::string text_of(const json::Schema::ValidationResult& result) {
    std::ostringstream out;
    out << result;
    return out.str();
}

void check(const json::Schema& schema, const json::Variant& value) {
    const std::string before = fuzz::printed(value);
    const std::int32_t code = schema.validate(value).code;
    const std::string report = text_of(schema.validationResult());
    fuzz::require(schema.validationResult().ok() == (code == 0), "0 is the code of a pass");
    fuzz::require(code == 0 || !json::Schema::ValidationResult::message(code).empty(),
                  "each code has a text");
    fuzz::require(fuzz::printed(value) == before, "a check leaves the value as it is");
    fuzz::require(schema.validate(value).code == code, "a second check says the same");
    fuzz::require(text_of(schema.validationResult()) == report, "a second check reports the same");
    static_cast<void>(schema.validate(schema.validationResult().value));
}

/// Reads what isn't there, at every place below: defaults come from the schema.
void read_defaults(const json::Variant& value, std::size_t depth) {
    if (depth == 0) return;
    for (const char* key : {"a", "b", "id"}) {
        read_defaults(value[key], depth - 1);
    }
    if (value.isList()) {
        read_defaults(value[0], depth - 1);
        read_defaults(value[7], depth - 1);
    }
}

void write_defaults(json::Variant value) {
    value.deepCopy();
    value["a"]["b"] = 1;
    static_cast<void>(value["b"][0]);
    value["c"] << 1;
    static_cast<void>(value.validate());
    static_cast<void>(fuzz::printed(value, true));
}

void look_below(const json::Schema& schema, std::size_t depth) {
    static_cast<void>(fuzz::shape_of(schema.autoValue()));
    static_cast<void>(schema.isRequired());
    static_cast<void>(schema.absoluteUrl());
    if (depth == 0) return;
    for (const std::size_t index : {0U, 1U, 100000U}) {
        if (const SchemaPtr below = schema.at(index)) look_below(*below, depth - 1);
    }
    for (const char* key : {"a", "b", "id", ""}) {
        if (const SchemaPtr below = schema.property(key)) look_below(*below, depth - 1);
    }
}

void use(const SchemaPtr& schema, const std::vector<json::Variant>& values) {
    look_below(*schema, 2);
    for (const json::Variant& value : values) {
        check(*schema, value);
        json::Variant bound(value);
        bound.attachSchema(schema);
        static_cast<void>(bound.validate());
        read_defaults(bound, 3);
        write_defaults(bound);
    }
    json::Variant blank;
    blank.attachSchema(schema);
    read_defaults(blank, 3);
    write_defaults(blank);
    const json::Schema copy(*schema);
    for (const json::Variant& value : values) {
        fuzz::require(copy.validate(value).code == schema->validate(value).code,
                      "a copy of a schema says the same");
    }
}

/// A document and a value say the same behind a text as before.
void check_texts(const json::Variant& document, const json::Variant& value) {
    const fuzz::Shape inner = fuzz::shape_of(document);
    const fuzz::Shape outer = fuzz::shape_of(value);
    if (inner.withoutText || inner.lowestInteger || outer.withoutText || outer.lowestInteger)
        return;
    if (inner.depth > 127 || outer.depth > 127) return;
    const json::Schema schema(document, qx::Url());
    const json::Schema again(fuzz::printed(document));
    const json::Variant copy = json::JsonParser::parseTree(fuzz::printed(value));
    fuzz::require(again.validate(copy).code == schema.validate(value).code,
                  "texts of document and value say the same",
                  fuzz::printed(document) + "\n" + fuzz::printed(value));
}

void use_all(const std::vector<json::Variant>& documents,
             const std::vector<json::Variant>& values) {
    for (const json::Variant& document : documents) {
        static_cast<void>(json::Schema::import(document));
    }
    for (const char* url : fuzz::kUrls) {
        if (const SchemaPtr schema = json::Schema::resolve(url, qx::Url())) use(schema, values);
    }
    for (const json::Variant& document : documents) {
        const SchemaPtr schema(new json::Schema(document, qx::Url("http://x/context")));
        use(schema, values);
        for (const json::Variant& value : values) {
            check_texts(document, value);
        }
        json::Variant carrier;
        carrier["schema"] = document;
        static_cast<void>(carrier.createPrivateSchema("schema"));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Silence silence;
    fuzz::EmptyRegistry::make();
    std::vector<json::Variant> documents;
    std::vector<json::Variant> values;
    if (size > 0 && (data[0] == '{' || data[0] == '[')) {
        const json::Variant text = json::JsonParser::parseTree(reinterpret_cast<const char*>(data),
                                                               static_cast<int>(size));
        for (const json::Variant& document : text["documents"].listValue()) {
            documents.push_back(document);
        }
        for (const json::Variant& value : text["values"].listValue()) {
            values.push_back(value);
        }
        if (documents.size() > 4 || values.size() > 4) return -1;
    } else {
        fuzz::Choices choices(data, size);
        for (std::size_t count = 1 + choices.below(3); count > 0; --count) {
            documents.push_back(fuzz::make_document(choices));
        }
        for (std::size_t count = 1 + choices.below(2); count > 0; --count) {
            values.push_back(fuzz::make_value(choices, 4));
        }
        values.push_back(documents.front()); // a document is a value, too
    }
    use_all(documents, values);
    documents.clear();
    values.clear();
    fuzz::EmptyRegistry::make();
    return 0;
}
