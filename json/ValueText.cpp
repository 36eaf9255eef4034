// SPDX-License-Identifier: MIT
// The one place where values reach up to the parser and the printer.
#include "core/detail/PerThread.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"
#include "json/Literals.h"
#include "json/Variant.h"

#include <istream>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>

namespace json {

namespace {

const char* indent_for(bool pretty) { return pretty ? "\t" : ""; }

} // namespace

JsonParser& Variant::shared_parser() {
    return qx::detail::per_thread<JsonParser>([] { return JsonParser(); });
}

JsonPrinter& Variant::shared_string_printer() {
    return qx::detail::per_thread<JsonPrinter>([] { return JsonPrinter(); });
}

JsonPrinter& Variant::shared_stream_printer() {
    return qx::detail::per_thread<JsonPrinter>(
        [] { return JsonPrinter(static_cast<std::ostream*>(nullptr)); });
}

// ----- Variant -----------------------------------------------------------------------------------

qx::IntrusiveString* Variant::print(bool pretty) const {
    JsonPrinter& printer = shared_string_printer();
    printer.reset();
    printer.setIndent(indent_for(pretty));
    printer.print(*this);
    return printer.newString();
}

void Variant::print(qx::IntrusiveString& out, bool pretty) const {
    JsonPrinter& printer = shared_string_printer();
    printer.reset();
    printer.setIndent(indent_for(pretty));
    printer.print(*this);
    printer.string(out);
}

bool Variant::write(std::ostream& out, bool pretty) const {
    JsonPrinter& printer = shared_stream_printer();
    printer.reset(&out);
    printer.setIndent(indent_for(pretty));
    printer.print(*this);
    return true;
}

bool Variant::read(std::istream& in) {
    JsonParser& parser = shared_parser();
    parser.reset();
    parser.parse(&in, -1);
    const Variant& result = parser.parseComplete();
    if (&result != this) {
        release();
        copyFrom(result);
    }
    return parser.lastError().empty();
}

std::ostream& operator<<(std::ostream& out, const Variant& value) {
    value.write(out, false);
    return out;
}

// ----- List --------------------------------------------------------------------------------------

qx::IntrusiveString List::print(bool pretty) {
    JsonPrinter& printer = Variant::shared_string_printer();
    printer.reset();
    printer.setIndent(indent_for(pretty));
    printer.printList(*this);
    return printer.string();
}

bool List::write(std::ostream& out, bool pretty) const {
    JsonPrinter& printer = Variant::shared_stream_printer();
    printer.reset(&out);
    printer.setIndent(indent_for(pretty));
    printer.printList(*this);
    return true;
}

// Intended: the shared parser isn't reset here, unlike in Variant::read.
// Held by List.ReadDoesNotResetTheSharedParser.
bool List::read(std::istream& in) {
    JsonParser& parser = Variant::shared_parser();
    parser.parse(&in, -1);
    const Variant result = parser.parseComplete();
    *this = result.listValue();
    return parser.lastError().empty();
}

// ----- Object ------------------------------------------------------------------------------------

qx::IntrusiveString Object::print(bool pretty) {
    JsonPrinter& printer = Variant::shared_string_printer();
    printer.reset();
    printer.setIndent(indent_for(pretty));
    printer.printObject(*this);
    return printer.string();
}

bool Object::write(std::ostream& out, bool pretty) const {
    JsonPrinter& printer = Variant::shared_stream_printer();
    printer.reset(&out);
    printer.setIndent(indent_for(pretty));
    printer.printObject(*this);
    return true;
}

// Intended: the shared parser isn't reset here, unlike in Variant::read.
// Held by Object.ReadDoesNotResetTheSharedParser.
bool Object::read(std::istream& in) {
    JsonParser& parser = Variant::shared_parser();
    parser.parse(&in, -1);
    const Variant result = parser.parseComplete();
    *this = result.objectValue();
    return parser.lastError().empty();
}

// Intended: an object prints indented, a value compact.
// Held by Object.StreamsIndentedTextWhereAValueStreamsCompactText.
std::ostream& operator<<(std::ostream& out, const Object& object) {
    object.write(out, true);
    return out;
}

// ----- Literals ----------------------------------------------------------------------------------

Variant literals::operator""_json(const char* text, std::size_t length) {
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw std::invalid_argument("a JSON literal is longer than 2 GiB");
    }
    JsonParser parser;
    parser.parse(text, static_cast<int>(length));
    const Variant& value = parser.parseComplete();
    const TextPlace& place = parser.errorPlace();
    if (place.line == 0) return value;
    const std::string why = parser.lastError();
    throw std::invalid_argument("JSON literal, line " + std::to_string(place.line) + ", column " +
                                std::to_string(place.column) + ": " +
                                (why.empty() ? "the text ends too early" : why));
}

} // namespace json
