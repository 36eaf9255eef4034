// SPDX-License-Identifier: MIT
#include "expect.h"
#include "json/Build.h"
#include "json/JsonParser.h"
#include "json/Literals.h"
#include "json/Variant.h"

#include <functional>
#include <iostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

void read() {
    const json::Variant call = json::JsonParser::parseTree(
        R"({"method": "trigger", "params": ["door", {"for": 2.5}], "id": 7})");
    const std::string method = call["method"];
    const double seconds = call["params"][1]["for"];
    const int id = call["id"];
    EXPECT(method == "trigger" && seconds == 2.5 && id == 7);

    const int missing = call["retries"];             // 0
    const std::string text = call["id"];             // "7"
    const int wrong = call["params"];                // 0
    const bool there = call["params"];               // true: the list isn't empty
    const std::string deep = call["a"]["b"][3]["c"]; // ""
    EXPECT(missing == 0 && text == "7" && wrong == 0 && there && deep.empty());
}

void write() {
    const json::Variant call = json::object({
        {"method", "trigger"},
        {"params", json::list({"door", json::object({{"for", 2.5}})})},
        {"id", 7},
    });
    using namespace json::literals;
    const json::Variant same =
        R"({"method": "trigger", "params": ["door", {"for": 2.5}], "id": 7})"_json;
    EXPECT(call["params"][1]["for"] == 2.5 && same["params"][1]["for"] == 2.5);
    EXPECT(call.size() == 3 && same.size() == 3);
}

void refused() {
    static_assert(!std::is_constructible_v<json::Variant, char>);
    static_assert(!std::is_constructible_v<json::Variant, const int*>);
    static_assert(!std::is_convertible_v<const json::Variant&, char>);
    static_assert(!std::is_default_constructible_v<std::hash<json::Variant>>);
}

void ask() {
    const json::Variant call = json::JsonParser::parseTree(R"({"id": null, "params": []})");
    EXPECT(call.contains("id") && call["id"].isNull());      // it is there, and null
    EXPECT(!call.contains("name") && call["name"].isNull()); // it isn't there
    EXPECT(call["params"].isList() && call["params"].size() == 0);
    const int retries = call.contains("retries") ? int(call["retries"]) : 3;
    EXPECT(retries == 3);
}

void read_without_making() {
    json::Variant call;
    call["method"] = "trigger";
    if (call["params"].isNull()) {
        // Asking a non-const value has just made the key.
    }
    EXPECT(call.contains("params"));

    const json::Variant& read = call;
    EXPECT(read["id"].isNull() && !call.contains("id"));
    EXPECT(std::as_const(call)["name"].isNull() && !call.contains("name"));
}

void parse() {
    const json::Variant bad = json::JsonParser::parseTree("{\"door\": tru}");
    EXPECT(bad.isString()); // the error text
    EXPECT(json::JsonParser::parseTree("{\"door\": ").isString());
    const json::Variant good = json::JsonParser::parseTree("{\"door\": true}");
    EXPECT(good.isObject()); // ask for what you expect

    json::JsonParser parser;
    parser.parse("{\"door\":\n    tru}");
    const json::Variant& value = parser.parseComplete();
    if (parser.errorPlace().line != 0) { // a fault, and then the value is its text
        std::cerr << "line " << parser.errorPlace().line << ", column "
                  << parser.errorPlace().column << ": " << value.charsValue() << '\n';
    }
    EXPECT(parser.errorPlace().line == 2);
    EXPECT(parser.errorPlace().column >= 5);
}

void compare() {
    const json::Variant one = json::JsonParser::parseTree(R"({"list": [1, 2]})");
    const json::Variant other = json::JsonParser::parseTree(R"({"list": [3, 4]})");
    EXPECT(one == other); // lists of equal length are equal
    const auto text = [](const json::Variant& value) {
        qx::IntrusiveString out;
        value.print(out, true); // pretty: with sorted keys
        return std::string(out.c_str());
    };
    EXPECT(text(one) != text(other));
}

void keep() {
    json::Variant a;
    a["door"]["open"] = true;
    json::Variant b = a;       // shares all, copies nothing
    b["door"]["open"] = false; // b takes objects of its own
    EXPECT(std::as_const(a)["door"]["open"] == true);

    const json::Variant list = json::JsonParser::parseTree(R"([80, "443", 8080.0])");
    std::vector<int> ports;
    for (const json::Variant& port : list.listValue()) {
        ports.push_back(port);
    }
    EXPECT(ports == std::vector<int>({80, 443, 8080}));
}

void repeated_keys() {
    const json::Variant v = json::JsonParser::parseTree(R"({"to": "hall", "to": "yard"})");
    EXPECT(v["to"] == "hall" && v.size() == 2); // the first; both are kept
    for (const auto& [key, value] : v.objectValue()) {
        std::cout << *key << " = " << value << '\n';
    }
}

} // namespace

int main() {
    read();
    write();
    refused();
    ask();
    read_without_making();
    parse();
    compare();
    keep();
    repeated_keys();
}
