// SPDX-License-Identifier: MIT
#include "expect.h"
#include "json/Path.h"
#include "json/Variant.h"
#include "json/VariantIterator.h"

#include <iostream>
#include <string>

namespace {

void build_and_read() {
    json::Variant call;
    call["method"] = "trigger";
    call["params"] << "door" << true << 2.5;
    call["id"] = 1000;

    const json::Variant& read = call;
    std::string method = read["method"];             // "trigger"
    int id = read["id"];                             // 1000
    bool open = read["params"][1];                   // true
    bool missing = read["no such key"].isNull();     // true, and nothing was added
    std::int64_t number = json::Variant("12 doors"); // 12
    EXPECT(method == "trigger" && id == 1000 && open && missing && number == 12);
    EXPECT(call.size() == 3);
}

void read_through_const() {
    json::Variant v = 5;
    EXPECT(std::as_const(v)[2].isNull()); // reading: still the number 5
    EXPECT(v.isInteger());
    v[2] = "x"; // writing: now the list [null,null,"x"]
    EXPECT(v.isList() && v.size() == 3);
}

void share() {
    json::Variant a;
    a["list"] << 1 << 2;
    json::Variant b = a; // five words are copied; both share one object
    b["list"] << 3;      // b takes a list of its own and writes
    EXPECT(a["list"].size() == 2 && b["list"].size() == 3);
}

void compare() {
    EXPECT(json::Variant(5) == json::Variant("5"));    // the Integer on the left decides
    EXPECT(!(json::Variant("5") == json::Variant(5))); // the String on the left decides
    json::Variant ones, twos;
    ones << 1 << 1;
    twos << 2 << 2;
    EXPECT(ones == twos); // lists of equal length are equal
}

void repeat_keys() {
    json::Object object;
    object.setValue("door", "open");
    object.setValue("light", false);
    for (const auto& [key, value] : object) {
        std::cout << *key << " is " << value << '\n';
    }
    EXPECT(object.size() == 2 && object.contains("door"));
    EXPECT(object.rename("door", "gate") && object["gate"] == "open");
}

void walk_by_path() {
    json::Variant tree;
    tree["a"]["b"] << 1 << 2 << 3;
    const json::Variant& found = std::as_const(tree).select(json::Path("a.b[1]"));
    EXPECT(found == 2);
    json::Variant& place = tree.select(json::Path("a.c"));
    if (&place != &json::Variant::Empty) place = "new";
    EXPECT(tree["a"]["c"] == "new");
}

void walk_children() {
    json::Variant tree;
    tree["door"] = "open";
    int seen = 0;
    for (json::VariantIterator it(tree); !it.atEnd(); ++it) {
        std::cout << it.key() << ' ' << *it << '\n';
    }
    for (json::VariantIterator it(tree); !it.atEnd(); ++it) {
        ++seen;
    }
    EXPECT(seen == 1);
}

} // namespace

int main() {
    build_and_read();
    read_through_const();
    share();
    compare();
    repeat_keys();
    walk_by_path();
    walk_children();
}
