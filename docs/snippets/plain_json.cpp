// SPDX-License-Identifier: MIT
#include "expect.h"
#include "json/JsonParser.h"
#include "json/Variant.h"

#include <iostream>
#include <string>
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
    if (!parser.parse("{\"door\": tru}")) {
        std::cerr << parser.lastError() << '\n';
    }
    EXPECT(!parser.lastError().empty());
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
    ask();
    read_without_making();
    parse();
    compare();
    keep();
    repeated_keys();
}
