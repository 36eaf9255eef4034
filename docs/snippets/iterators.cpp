// SPDX-License-Identifier: MIT
#include "json/VariantIterator.h"

#include "expect.h"
#include "json/JsonParser.h"
#include "json/Path.h"
#include "json/TreeIterator.h"

#include <iostream>
#include <string>
#include <vector>

namespace {

void children() {
    const json::Variant tree = json::JsonParser::parseTree(R"({"door": "open", "light": true})");
    for (json::VariantIterator it(tree); !it.atEnd(); ++it) {
        std::cout << it.key() << ' ' << *it << '\n';
    }
    const json::Variant list = json::JsonParser::parseTree("[10,11,12]");
    json::VariantIterator it(list);
    it += 2;
    EXPECT(it.index() == 2 && it->integerValue() == 12);
    --it;
    EXPECT(it.compare(json::VariantIterator(list)) == 1);
}

std::size_t leaves_of(const json::Variant& root) {
    std::size_t leaves = 0;
    std::vector<json::VariantIterator> levels;
    levels.emplace_back(root);
    while (!levels.empty()) {
        if (levels.back().atEnd()) {
            levels.pop_back();
            continue;
        }
        const json::Variant& child = *levels.back();
        ++levels.back();
        if (child.isComposite()) {
            levels.emplace_back(child);
        } else {
            ++leaves;
        }
    }
    return leaves;
}

void whole_tree() {
    const json::Variant tree = json::JsonParser::parseTree(R"({"a": [1, 2, []], "b": {"c": 3}})");
    EXPECT(leaves_of(tree) == 3);
    EXPECT(leaves_of(json::Variant(5)) == 1);
}

void positions() {
    const json::Variant list = json::JsonParser::parseTree("[[1, 2], 3]");
    json::TreeIterator it = list.iterator();
    it.position(1);
    EXPECT(it.depth() == 2 && it.index() == 1);
    EXPECT(it.path().size() == 1 && it.path()[0] == std::string("1"));
    EXPECT(&*it == &list); // the root, not the child
    const json::Variant& child = list.select(it.path());
    EXPECT(child == 3);
    it.position(5); // no level has it
    EXPECT(it.empty());
}

} // namespace

int main() {
    children();
    whole_tree();
    positions();
}
