// SPDX-License-Identifier: MIT
#include "expect.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

void whole_text() {
    json::Variant tree = json::JsonParser::parseTree("{\"door\": [true, 2.5] /* comment */}");
    EXPECT(tree["door"][0] == true);
    std::cout << tree << '\n'; // {"door":[true,2.5]}
}

void in_pieces() {
    json::JsonParser parser;
    bool good = parser.parse("{\"do") && parser.parse("or\": tr") && parser.parse("ue}");
    const json::Variant& value = parser.parseComplete();
    EXPECT(good && value["door"] == true);
    parser.reset(); // before the next text
}

void faults() {
    json::JsonParser parser;
    EXPECT(!parser.parse("[1, oops]"));
    std::cout << parser.lastError() << '\n';
    EXPECT(!parser.lastError().empty());
}

class Listener : public json::IJsonParserListener {
public:
    void handleParseResult(const json::Variant& value) override { std::cout << value << '\n'; }
    void handleParseError(const qx::IntrusiveString& text) override { std::cerr << text << '\n'; }
};

void listen() {
    Listener listener;
    json::JsonParser parser;
    parser.registerListener(&listener);
    parser.parse("[1,2,3]");
    parser.parseComplete(); // the listener hears of the value here
}

void streams() {
    std::istringstream in("[1, 2]");
    json::Variant value;
    bool good = value.read(in);
    std::ostringstream out;
    value.write(out, true); // indented by tabs
    EXPECT(good && out.str() == "[\n\t1,\n\t2\n]\n");
}

void printer() {
    json::Variant value;
    value["b"] = 1;
    value["a"] << true;
    json::JsonPrinter printer;
    printer.setIndent("  "); // pretty: keys sorted
    printer.print(value);
    EXPECT(printer.string() == "{\n  \"a\": [\n    true\n  ],\n  \"b\": 1\n}\n");
    printer.reset();
    printer.setIndent(""); // compact: keys in the object's own order
    printer.print(value["a"]);
    EXPECT(printer.string() == "[true]");
}

} // namespace

int main() {
    whole_text();
    in_pieces();
    faults();
    listen();
    streams();
    printer();
}
