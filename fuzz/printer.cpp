// SPDX-License-Identifier: MIT
// A value of any content, printed in every form: each form gives the same text, and the text reads
// as the same value where JSON has a text for it.

#include "fuzz/support/Require.h"
#include "fuzz/support/Trees.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

namespace {

void append(void* context, const char* text, int length) {
    static_cast<std::string*>(context)->append(text, static_cast<std::size_t>(length));
}

std::string in_memory(const json::Variant& value, const std::string& indent) {
    json::JsonPrinter printer;
    printer.setIndent(indent);
    printer.print(value);
    std::size_t length = 0;
    const char* text = printer.stringBuffer(&length);
    return std::string(text, length);
}

std::string in_pieces(const json::Variant& value, const std::string& indent, bool buffered) {
    std::string text;
    json::JsonPrinter printer(append, &text, buffered);
    printer.setIndent(indent);
    printer.print(value);
    return text;
}

std::string to_stream(const json::Variant& value, const std::string& indent) {
    std::ostringstream out;
    json::JsonPrinter printer(&out);
    printer.setIndent(indent);
    printer.print(value);
    return out.str();
}

void check(const json::Variant& value, const std::string& indent) {
    const std::string text = in_memory(value, indent);
    fuzz::require(in_pieces(value, indent, false) == text, "pieces make up the same text");
    fuzz::require(in_pieces(value, indent, true) == text, "a text handed over is the same");
    fuzz::require(to_stream(value, indent) == text, "a stream gets the same text");
    const fuzz::Shape shape = fuzz::shape_of(value);
    if (shape.withoutText || shape.lowestInteger || shape.depth > 127) return;
    const json::Variant read = json::JsonParser::parseTree(text);
    fuzz::require(fuzz::same(read, value), "a printed value reads as itself",
                  text + "\n" + fuzz::printed(read));
}

/// Any row of calls leaves a printer that still prints.
void misuse(fuzz::Choices& choices, const json::Variant& value) {
    json::JsonPrinter printer;
    for (std::size_t calls = choices.below(64); calls > 0; --calls) {
        switch (choices.below(10)) {
        case 0:
            printer.openList();
            break;
        case 1:
            printer.closeList();
            break;
        case 2:
            printer.openObject();
            break;
        case 3:
            printer.closeObject();
            break;
        case 4:
            printer.printString(choices.bytes(8));
            break;
        case 5:
            printer.printVariant(value);
            break;
        case 6:
            printer.printList(value.listValue());
            break;
        case 7:
            printer.printObject(value.objectValue());
            break;
        case 8:
            printer.setIndent(choices.bytes(4));
            break;
        default:
            if (choices.chance(20)) printer.reset();
            if (choices.chance(20)) printer = json::JsonPrinter(printer);
            static_cast<void>(printer.string());
            break;
        }
    }
    printer.setIndent("");
    printer.reset();
    printer.print(json::Variant(true));
    fuzz::require(fuzz::bytes_of(printer.string()) == "true", "a reset printer is a new one");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static constexpr const char* const indents[] = {"", "\t", " ", "  \n"};
    fuzz::Choices choices(data, size);
    json::Variant value = fuzz::make_value(choices);
    for (std::size_t levels = choices.chance(10) ? choices.below(140) : 0; levels > 0; --levels) {
        json::Variant outer;
        if (choices.flag()) {
            outer << value;
        } else {
            outer[choices.pick(fuzz::kKeys)] = value;
        }
        value = outer;
    }
    check(value, "");
    check(value, choices.pick(indents));
    misuse(choices, value);
    return 0;
}
