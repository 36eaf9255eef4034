// SPDX-License-Identifier: MIT
#include "json/VariantIterator.h"

#include "support/SortedText.h"
#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using json::JsonParser;
using json::Variant;
using json::VariantIterator;
using test::sorted_text;

static_assert(std::has_virtual_destructor_v<VariantIterator>);
static_assert(std::is_abstract_v<VariantIterator::Impl>);
static_assert(std::is_base_of_v<VariantIterator::Impl, json::VarListIterator>);
static_assert(std::is_base_of_v<VariantIterator::Impl, json::VarObjectIterator>);
static_assert(std::is_base_of_v<VariantIterator::Impl, json::VarSingleIterator>);

/// Children from here to the end, each with its key and its index.
std::string rest_of(VariantIterator it) {
    std::string text;
    for (; !it.atEnd(); ++it) {
        text += std::string(it.key().c_str()) + "#" + std::to_string(it.index()) + "=" +
                sorted_text(*it) + " ";
    }
    return text;
}

/// An object and the keys in its own order.
struct Keyed {
    explicit Keyed(const char* text) : value(JsonParser::parseTree(text)) {
        for (const auto& entry : value.objectValue()) {
            keys.emplace_back(entry.first->c_str());
        }
    }
    Variant value;
    std::vector<std::string> keys;
};

TEST(VariantIterator, WalksTheElementsOfAList) {
    const Variant list = JsonParser::parseTree("[1,[2],\"x\"]");
    const VariantIterator it(list);
    EXPECT_EQ("#0=1 #1=[2] #2=\"x\" ", rest_of(it));
    EXPECT_TRUE(it.isList());
    EXPECT_FALSE(it.isObject());
    EXPECT_EQ(&list, &it.owner());
    EXPECT_EQ(&list[0], &it.value());
    EXPECT_EQ(&list[0], &*it);
    EXPECT_EQ(1, it->integerValue());
}

TEST(VariantIterator, WalksTheEntriesOfAnObjectWithEachRepeatedKey) {
    const Variant object = JsonParser::parseTree("{\"a\":1,\"a\":{}}");
    const VariantIterator it(object);
    EXPECT_EQ("a#-1=1 a#-1={} ", rest_of(it));
    EXPECT_TRUE(it.isObject());
    EXPECT_FALSE(it.isList());
}

TEST(VariantIterator, WalksAnyOtherValueOnce) {
    for (const char* text : {"null", "true", "5", "1.5", "\"text\""}) {
        const Variant value = JsonParser::parseTree(text);
        EXPECT_EQ("#-1=" + std::string(text) + " ", rest_of(VariantIterator(value))) << text;
    }
}

TEST(VariantIterator, StandsOnAScalarUntilItIsStepped) {
    const Variant value(5);
    VariantIterator it(value);
    EXPECT_FALSE(it.empty());
    EXPECT_TRUE(it.atBegin());
    EXPECT_FALSE(it.atEnd());
    ++it;
    EXPECT_TRUE(it.atEnd());
    EXPECT_FALSE(it.atBegin());
    EXPECT_EQ(5, it->integerValue()); // whatever the position
    it += 0;
    EXPECT_TRUE(it.atEnd());
    --it;
    EXPECT_TRUE(it.atBegin());
    ++it;
    EXPECT_TRUE(it.reset().atBegin());
}

TEST(VariantIterator, IsEmptyOnAnEmptyContainer) {
    for (const char* text : {"[]", "{}"}) {
        const Variant value = JsonParser::parseTree(text);
        EXPECT_TRUE(VariantIterator(value).empty()) << text;
    }
    const Variant list = JsonParser::parseTree("[1]");
    EXPECT_FALSE(VariantIterator(list).empty());
}

TEST(VariantIterator, HasNeitherKeyNorIndexWhereThereIsNone) {
    const Variant list = JsonParser::parseTree("[1]");
    const Variant object = JsonParser::parseTree("{\"a\":1}");
    const Variant scalar(1);
    EXPECT_TRUE(VariantIterator(list).key().empty());
    EXPECT_EQ(-1, VariantIterator(object).index());
    EXPECT_TRUE(VariantIterator(scalar).key().empty());
    EXPECT_EQ(-1, VariantIterator(scalar).index());
}

TEST(VariantIterator, MayLeaveAListAtBothEndsAndComeBack) {
    const Variant list = JsonParser::parseTree("[1,2]");
    VariantIterator it(list);
    it -= 3;
    EXPECT_TRUE(it.atBegin());
    EXPECT_FALSE(it.atEnd());
    EXPECT_EQ(-3, it.index());
    it += 4;
    EXPECT_EQ(2, it->integerValue());
    it += 5;
    EXPECT_TRUE(it.atEnd());
    EXPECT_FALSE(it.atBegin());
    it -= std::numeric_limits<int>::min();
    EXPECT_TRUE(it.atEnd());
    EXPECT_EQ(1, it.reset()->integerValue());
}

TEST(VariantIterator, StepsBackInAnObject) {
    const Keyed object("{\"a\":1,\"b\":2,\"c\":3,\"d\":4}");
    for (int from = 0; from <= 4; ++from) {
        for (int back = 1; back <= 6; ++back) {
            VariantIterator it(object.value);
            it += from;
            it -= back;
            const std::size_t expected = from > back ? static_cast<std::size_t>(from - back) : 0;
            EXPECT_EQ(object.keys[expected], it.key().c_str()) << from << " - " << back;
        }
    }
}

TEST(VariantIterator, StopsBehindTheLastEntryOfAnObject) {
    const Variant object = JsonParser::parseTree("{\"a\":1}");
    VariantIterator it(object);
    it += 5;
    EXPECT_TRUE(it.atEnd());
    --it;
    EXPECT_STREQ("a", it.key().c_str());
    const Variant empty = Variant::newObject();
    VariantIterator none(empty);
    ++none;
    --none;
    EXPECT_TRUE(none.empty());
}

TEST(VariantIterator, StepsInEveryNotation) {
    const Variant list = JsonParser::parseTree("[10,11,12,13]");
    VariantIterator it(list);
    EXPECT_EQ(10, (it++)->integerValue());
    EXPECT_EQ(11, it->integerValue());
    EXPECT_EQ(12, (++it)->integerValue());
    EXPECT_EQ(12, (it--)->integerValue());
    EXPECT_EQ(10, (--it)->integerValue());
    EXPECT_EQ(13, (it + 3)->integerValue());
    EXPECT_EQ(10, it->integerValue()); // it doesn't move
    it += 2;
    EXPECT_EQ(11, (it - 1)->integerValue());
    EXPECT_EQ(12, it->integerValue());
}

TEST(VariantIterator, ACopyHasAPositionOfItsOwn) {
    const Variant list = JsonParser::parseTree("[1,2,3]");
    const Variant object = JsonParser::parseTree("{\"a\":1}");
    VariantIterator it(list);
    ++it;
    VariantIterator copy(it);
    ++copy;
    EXPECT_EQ(2, it->integerValue());
    EXPECT_EQ(3, copy->integerValue());
    VariantIterator assigned(object);
    assigned = it;
    ++it;
    EXPECT_EQ(2, assigned->integerValue());
    EXPECT_EQ(&list, &assigned.owner());
    assigned = static_cast<const VariantIterator&>(assigned);
    EXPECT_EQ(2, assigned->integerValue());
}

TEST(VariantIterator, EqualsAPositionOnTheSameChild) {
    const Variant list = JsonParser::parseTree("[1,1]");
    const Variant other = JsonParser::parseTree("[1,1]");
    const Variant object = JsonParser::parseTree("{\"a\":1,\"b\":1}");
    EXPECT_TRUE(VariantIterator(list) == VariantIterator::begin(list));
    EXPECT_TRUE(VariantIterator(list) + 1 != VariantIterator(list));
    EXPECT_TRUE(VariantIterator(list) != VariantIterator(other));
    EXPECT_TRUE(VariantIterator(object) == VariantIterator(object));
    EXPECT_TRUE(VariantIterator(object) + 1 != VariantIterator(object));
    EXPECT_TRUE(VariantIterator(list) != VariantIterator(object));
    const Variant five(5);
    const Variant alsoFive(5);
    const Variant six(6);
    EXPECT_TRUE(VariantIterator(five) == VariantIterator(alsoFive)); // scalars by their values
    EXPECT_TRUE(VariantIterator(five) != VariantIterator(six));
    EXPECT_TRUE(VariantIterator(five) != VariantIterator(five) + 1);
}

TEST(VariantIterator, OrdersPositionsInOneList) {
    const Variant list = JsonParser::parseTree("[1,2,3]");
    const VariantIterator first(list);
    const VariantIterator third = first + 2;
    EXPECT_TRUE(first.comparable(third));
    EXPECT_EQ(-2, first.compare(third));
    EXPECT_EQ(2, third.compare(first));
    EXPECT_TRUE(first < third);
    EXPECT_TRUE(first <= third);
    EXPECT_FALSE(first > third);
    EXPECT_FALSE(first >= third);
    EXPECT_TRUE(first <= first);
    EXPECT_TRUE(first >= first);
    EXPECT_FALSE(first < first);
    const VariantIterator second = first + 1;
    EXPECT_TRUE(first < second);
    EXPECT_FALSE(second <= first);
    EXPECT_TRUE(second > first);
    EXPECT_FALSE(first >= second);
}

TEST(VariantIterator, OrdersTheTwoPositionsOfAScalar) {
    const Variant value(5);
    const VariantIterator first(value);
    const VariantIterator behind = first + 1;
    EXPECT_TRUE(first < behind);
    EXPECT_EQ(-1, first.compare(behind));
    EXPECT_EQ(1, behind.compare(first));
}

TEST(VariantIterator, OrdersNothingThatCantBeCompared) {
    const Variant list = JsonParser::parseTree("[1]");
    const Variant other = JsonParser::parseTree("[1]");
    const Variant object = JsonParser::parseTree("{\"a\":1}");
    const Variant one(1);
    const Variant two(2);
    const Variant* values[] = {&list, &other, &object, &one, &two};
    for (const Variant* left : values) {
        for (const Variant* right : values) {
            if (left == right) continue;
            const VariantIterator a(*left);
            const VariantIterator b(*right);
            EXPECT_FALSE(a.comparable(b));
            EXPECT_FALSE(a < b || a <= b || a > b || a >= b);
        }
    }
    EXPECT_EQ(0, VariantIterator(list).compare(VariantIterator(object)));
    EXPECT_EQ(0, VariantIterator(object).compare(VariantIterator(one)));
    EXPECT_EQ(0, VariantIterator(one).compare(VariantIterator(list)));
}

// One would expect the sign of the distance. Both positions go forward in step, and who is at the
// end first decides.
TEST(VariantIterator, ComparesPositionsInAnObjectByWhichOneEndsFirst) {
    const Keyed object("{\"a\":1,\"b\":2,\"c\":3,\"d\":4}");
    const int expected[5][5] = {                      // 0   1   2   3   4 (the end)
                                {0, -1, -2, 1, 1},    // 0
                                {1, 0, -1, 1, 1},     // 1
                                {-2, 1, 0, -1, 1},    // 2
                                {-1, -1, -1, 0, -1},  // 3
                                {-1, -1, -1, -1, 0}}; // 4
    for (int left = 0; left <= 4; ++left) {
        for (int right = 0; right <= 4; ++right) {
            const VariantIterator a = VariantIterator(object.value) + left;
            const VariantIterator b = VariantIterator(object.value) + right;
            EXPECT_EQ(expected[left][right], a.compare(b)) << left << " with " << right;
        }
    }
}

TEST(VariantIterator, ComparesPositionsInTwoObjectsByWhichOneEndsFirst) {
    const Keyed left("{\"a\":1,\"b\":2}");
    const Keyed right("{\"a\":1,\"b\":2}");
    const int expected[3][3] = {{-2, 1, 1}, {-1, -1, -1}, {-1, -1, 0}}; // 2 is the end
    for (int i = 0; i <= 2; ++i) {
        for (int j = 0; j <= 2; ++j) {
            const VariantIterator a = VariantIterator(left.value) + i;
            const VariantIterator b = VariantIterator(right.value) + j;
            EXPECT_EQ(expected[i][j], a.compare(b)) << i << " with " << j;
        }
    }
}

// One would expect each object to have an end of its own.
TEST(VariantIterator, TheEndsOfAllObjectsAreOnePosition) {
    const Variant object = JsonParser::parseTree("{\"a\":1}");
    const Variant other = JsonParser::parseTree("{\"b\":2,\"c\":3}");
    EXPECT_TRUE(VariantIterator(object) + 1 == VariantIterator(other) + 2);
    EXPECT_TRUE(VariantIterator(object) + 1 != VariantIterator(other) + 1);
    EXPECT_FALSE(VariantIterator(object).comparable(VariantIterator(other)));
    const Variant empty = Variant::newObject();
    const Variant alsoEmpty = Variant::newObject();
    EXPECT_TRUE(VariantIterator(empty).comparable(VariantIterator(alsoEmpty)));
    EXPECT_TRUE(VariantIterator(empty) <= VariantIterator(alsoEmpty));
}

TEST(VariantIterator, ComparesPositionsInTwoListsByTheirIndexes) {
    const Variant list = JsonParser::parseTree("[1,2,3]");
    const Variant other = JsonParser::parseTree("[4,5,6]");
    EXPECT_EQ(-2, VariantIterator(list).compare(VariantIterator(other) + 2));
    EXPECT_EQ(1, (VariantIterator(list) + 1).compare(VariantIterator(other)));
    EXPECT_EQ(0, (VariantIterator(list) + 1).compare(VariantIterator(other) + 1));
}

// One would expect the position behind the last child.
TEST(VariantIterator, TheEndIsUnequalToEveryPositionOfAContainer) {
    for (const char* text : {"[1,2]", "{\"a\":1}", "[]", "{}"}) {
        const Variant value = JsonParser::parseTree(text);
        VariantIterator it(value);
        for (int i = 0; i <= 2; ++i, ++it) {
            EXPECT_FALSE(it == VariantIterator::end(value)) << text << " at " << i;
            EXPECT_TRUE(VariantIterator::end(value) != it) << text << " at " << i;
        }
    }
}

TEST(VariantIterator, TheEndIsOnePositionOverTrueThatCanBeRead) {
    for (const char* text : {"[1,2]", "{\"a\":1}", "5", "null"}) {
        const Variant value = JsonParser::parseTree(text);
        VariantIterator end = VariantIterator::end(value);
        EXPECT_TRUE(end.atBegin()) << text;
        EXPECT_FALSE(end.atEnd()) << text;
        EXPECT_TRUE(end.owner().isBoolean() && end.owner().booleanValue()) << text;
        EXPECT_EQ("#-1=true ", rest_of(end)) << text;
        EXPECT_TRUE(end == VariantIterator::end(Variant::Empty)) << text;
        EXPECT_TRUE((++end).atEnd()) << text;
    }
}

TEST(VariantIterator, KeepsTheKindsOfPositionApart) {
    const Variant list = JsonParser::parseTree("[1,2]");
    const json::VarListIterator atEnd(list.listValue(), false);
    EXPECT_TRUE(atEnd.atEnd());
    EXPECT_EQ(2, atEnd.index());
    const Variant object = JsonParser::parseTree("{\"a\":1}");
    const json::VarObjectIterator behind(object.objectValue(), false);
    EXPECT_TRUE(behind.atEnd());
    const json::VarSingleIterator single(list, false);
    EXPECT_TRUE(single.atEnd());
    EXPECT_EQ(&list, &single.value());
}

} // namespace
