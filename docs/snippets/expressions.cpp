// SPDX-License-Identifier: MIT
#include "expect.h"
#include "schema/FaultCollector.h"
#include "schema/ValidationReport.h"
#include "json/Build.h"
#include "json/JsonParser.h"
#include "json/Literals.h"
#include "json/Variant.h"

#include <cstdint>
#include <iostream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace {

using json::Variant;

void make() {
    enum Direction { Left, Right };
    const std::string text("text");
    const std::string_view view("text and more", 4);

    Variant null;                                  // null; also Variant(nullptr)
    Variant flag = true;                           // Boolean
    Variant number = 5;                            // Integer: any integer type, and int8_t
    Variant wide = std::uint64_t{5};               // Integer; above 2^63 cut to 64 bits
    Variant plain = Right;                         // Integer: a plain enumeration
    Variant real = 2.5f;                           // Real: float, double, long double
    Variant literal = "text";                      // String: const char*, char*, arrays
    Variant string = text;                         // String: std::string, all its bytes
    Variant slice = view;                          // String: std::string_view
    Variant counted = qx::IntrusiveString("text"); // String
    Variant unicode = L"text";                     // String in UTF-8
    Variant bytes("text and more", 4);             // String: that many bytes
    Variant object = json::object({{"a", 1}});     // Object, with json/Build.h
    Variant list = json::list({1, "x"});           // List, with json/Build.h
    Variant copy = list;                           // shares the list until one is written to
    number = 2.5;                                  // each of these is assigned, too,
    literal = std::string("other");                // whatever the value was before
    list << 2 << "y" << nullptr;                   // and appended: [1,"x",2,"y",null]

    EXPECT(null.isNull() && flag.isBoolean() && number.isReal() && wide == 5 && plain == 1);
    EXPECT(real == 2.5 && literal == "other" && string == "text" && slice == "text");
    EXPECT(counted == "text" && unicode == "text" && bytes == "text" && object["a"] == 1);
    EXPECT(list.size() == 5 && copy.size() == 2);
    EXPECT(Left == 0);
}

void reach() {
    using namespace json::literals;

    Variant v = R"({"key": [0, 1, 2, {"name": "front"}]})"_json;
    v["key"][3]["name"] = "back"; // writes; creates what is missing
    const Variant& read = v;
    std::string name = read["key"][3]["name"];  // "back"
    bool none = read["no"][7]["such"].isNull(); // true, and nothing was added
    std::string key("key");
    bool same = read[key] == read[std::string_view("key")] && v.contains(key);

    EXPECT(name == "back" && none && same && v.size() == 1);
}

void loop() {
    Variant v = json::object({{"doors", json::list({1, 2, 3})}, {"name", "house"}});
    for (Variant& element : v["doors"].listValue()) {
        element = element.integerValue() * 10; // may change the elements
    }
    for (auto& [key, value] : v.objectValue()) {
        if (*key == "name") value = "home"; // may change the values, not the keys
    }
    const Variant& read = v;
    for (const Variant& element : read["doors"].listValue()) {
        std::cout << element << '\n';
    }
    for (const auto& [key, value] : read.objectValue()) {
        std::cout << *key << ": " << value << '\n';
    }
    EXPECT(read["doors"][2] == 30 && read["name"] == "home");
}

void read() {
    const Variant v = 65;
    const int integer = v; // and every other arithmetic type, but no character
    const bool truth = v;  // not zero, not empty
    const double real = v;
    const std::string initial = v; // "65": a String's text, else the JSON text
    const char* chars = v;         // lives until the value is changed
    std::string text;
    text = std::string(v); // assigning needs the type: `text = v` is ambiguous
    const std::int64_t sum = v.integerValue() + 1; // there is no arithmetic on values
    EXPECT(integer == 65 && truth && real == 65.0 && initial == "65" && text == "65");
    EXPECT(std::string(chars) == "65" && sum == 66);
}

void compare() {
    const Variant v = "text";
    EXPECT(v == "text" && "text" == v); // const char*, and wchar_t*
    EXPECT(v == std::string("text"));   // all six operators, on both sides
    EXPECT(v < std::string_view("texu"));
    const Variant five = 5;
    EXPECT(five == 5 && 5u == five && five < 5.5); // every number
    EXPECT(five == true && five != nullptr);       // a Boolean asks for the truth
    EXPECT(!(five == "5") && !(five != "5"));      // a text compares with Strings only
}

void print() {
    const Variant v = json::object({{"a", 1}});
    std::cout << v << '\n';   // {"a":1}
    v.write(std::cout, true); // indented by tabs
    std::ostringstream out;
    out << v;
    EXPECT(out.str() == "{\"a\":1}");
}

void keep_by_value() {
    const Variant one = json::object({{"a", 1}, {"b", 2}});
    const Variant other = json::object({{"b", 2}, {"a", 1}});
    std::set<std::string> seen;
    for (const Variant* value : {&one, &other}) {
        qx::IntrusiveString name;
        value->print(name, true); // the text with sorted keys
        seen.insert(name.c_str());
    }
    EXPECT(seen.size() == 1);
}

void build() {
    const Variant call = json::object({
        {"method", "trigger"},
        {"params", json::list({"door", true, json::object({{"seconds", 2.5}})})},
        {"id", 1000},
    });
    EXPECT(call["params"][2]["seconds"] == 2.5);
}

void take_literals() {
    using namespace json::literals;
    const Variant door = R"({"name": "front", "open": false})"_json;
    try {
        const Variant bad = "[1, oops]"_json;
    } catch (const std::invalid_argument& error) {
        std::cout << error.what() << '\n'; // JSON literal, line 1, column 5: lexical error: ...
    }
    EXPECT(door["open"] == false);
}

void find_the_fault() {
    json::JsonParser parser;
    EXPECT(!parser.parse("{\"door\": 1,\n") || !parser.parse(" \"open\": oops}"));
    const json::TextPlace& place = parser.errorPlace();
    EXPECT(place.line == 2 && place.column == 10); // of the o; columns count bytes
    EXPECT(place.offset == 21);                    // bytes in front of it, over both pieces
    parser.reset();
    EXPECT(parser.errorPlace().line == 0); // no fault
}

void report_faults() {
    const json::Schema doors(R"({"items": {"properties": {"open": {"type": "boolean"}}}})");
    const Variant value = json::JsonParser::parseTree(R"([{"open": 1}, {"open": "x"}])");
    const Variant errors = json::validation_errors(doors.check(value));
    EXPECT(errors.size() == 1); // a check stops at the first fault
    EXPECT(errors[0]["instancePath"] == "/0/open");
    EXPECT(errors[0]["schemaPath"] == "#/items/properties/open/type");
    EXPECT(errors[0]["keyword"] == "type");
    EXPECT(errors[0]["params"]["type"] == "boolean");
    EXPECT(errors[0]["message"] == "must be boolean");
}

void collect_faults() {
    const json::Schema doors(R"({"items": {"properties": {"open": {"type": "boolean"}}}})");
    const Variant value = json::JsonParser::parseTree(R"([{"open": 1}, {"open": "x"}])");
    const Variant errors = json::collect_validation_errors(doors, value);
    for (const Variant& error : errors.listValue()) {
        std::cerr << error["instancePath"] << ' ' << error["message"] << '\n';
    }
    EXPECT(errors.size() == 2);
    EXPECT(errors[1]["instancePath"] == "/1/open");
}

} // namespace

int main() {
    make();
    reach();
    loop();
    read();
    compare();
    print();
    keep_by_value();
    build();
    take_literals();
    find_the_fault();
    report_faults();
    collect_faults();
}
