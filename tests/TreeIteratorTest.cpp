// SPDX-License-Identifier: MIT
#include "json/TreeIterator.h"

#include "json/JsonParser.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>
#include <type_traits>

namespace {

using json::JsonParser;
using json::Path;
using json::TreeIterator;
using json::Variant;

struct OpenTreeIterator : TreeIterator {
    using TreeIterator::comparable;
    using TreeIterator::compare;
    using TreeIterator::position_at;
    using TreeIterator::push;
    using TreeIterator::TreeIterator;
};

std::string path_of(const TreeIterator& it) {
    std::string text;
    for (std::size_t i = 0; i < it.path().size(); ++i) {
        text += "/" + std::string(it.path()[i]);
    }
    return text;
}

/// Depth, path, and what is below the topmost level, in one line.
std::string state_of(const TreeIterator& it) {
    return std::to_string(it.depth()) + " " + path_of(it) + " " + it.key().c_str() + "#" +
           std::to_string(it.index());
}

TEST(TreeIterator, IsAtItsEndWithoutAValue) {
    const TreeIterator it;
    EXPECT_TRUE(it.empty());
    EXPECT_EQ(0, it.depth());
    EXPECT_EQ(&Variant::Empty, &*it);
    EXPECT_EQ(&Variant::Empty, &it.parent());
    EXPECT_EQ(&Variant::Empty, &it[0]);
    EXPECT_TRUE(it == TreeIterator::end());
    EXPECT_EQ(&TreeIterator::end(), &TreeIterator::end());
}

TEST(TreeIterator, BeginsWithOneLevel) {
    const Variant list = JsonParser::parseTree("[1,2]");
    const TreeIterator it(list);
    EXPECT_EQ("1  #-1", state_of(it));
    EXPECT_EQ(&list, &*it);
    EXPECT_EQ(2u, it->size());
    EXPECT_EQ(&list, &it[0]);
    EXPECT_EQ(&Variant::Empty, &it[1]);
    EXPECT_EQ(&Variant::Empty, &it[-1]);
    EXPECT_EQ(&Variant::Empty, &it.parent());
    EXPECT_TRUE(it != TreeIterator::end());
}

// One would expect a position over the child.
TEST(TreeIterator, StaysOnTheRootWhileItGoesDown) {
    const Variant list = JsonParser::parseTree("[[1],2]");
    TreeIterator it(list);
    ++it;
    EXPECT_EQ("2 /0 #0", state_of(it));
    EXPECT_EQ(&list, &*it);
    ++it;
    EXPECT_EQ("3 /0/0 #0", state_of(it));
    EXPECT_EQ(&list, &*it);
    EXPECT_EQ(&list, &it.parent());
    EXPECT_EQ(&list, &it[0]);
    const Variant object = JsonParser::parseTree("{\"a\":{\"b\":1}}");
    TreeIterator entries(object);
    entries += 2;
    EXPECT_EQ("3 /a/a a#-1", state_of(entries));
}

TEST(TreeIterator, IsOverAfterOneStepFromAValueWithoutChildren) {
    for (const char* text : {"5", "null", "\"x\"", "[]", "{}"}) {
        const Variant value = JsonParser::parseTree(text);
        TreeIterator it(value);
        ++it;
        EXPECT_TRUE(it.empty()) << text;
        ++it;
        EXPECT_TRUE(it.empty()) << text;
        --it;
        EXPECT_TRUE(it.empty()) << text;
    }
}

TEST(TreeIterator, GoesOnAtTheLevelsBelowWhenItHasSteppedOverTheTop) {
    const Variant list = JsonParser::parseTree("[1,2]");
    OpenTreeIterator it(list);
    json::VariantIterator last(list);
    it.push(last); // 2 levels, both at the begin
    it.push(++last);
    json::VariantIterator end(list);
    it.push(end += 2); // the topmost one at its end
    EXPECT_EQ("4 /0/1/2 #1", state_of(it));
    ++it; // drops two levels that are at their end, and steps the next one
    EXPECT_EQ("3 /0/1 #1", state_of(it));
}

TEST(TreeIterator, GoesBackToTheChildBefore) {
    const Variant list = JsonParser::parseTree("[1,2,3]");
    TreeIterator it(list);
    it.position(2);
    EXPECT_EQ("2 /2 #2", state_of(it));
    --it;
    EXPECT_EQ("2 /1 #1", state_of(it));
    it -= 1;
    EXPECT_EQ("2 /0 #0", state_of(it));
    --it; // none before: the level is gone
    EXPECT_EQ("1  #-1", state_of(it));
    --it;
    EXPECT_TRUE(it.empty());
}

TEST(TreeIterator, TakesAnEmptyKeyForALevelWithoutASegment) {
    const Variant object = JsonParser::parseTree("{\"\":1}");
    TreeIterator it(object);
    ++it;
    EXPECT_EQ("2  #-1", state_of(it));
    it.up();
    EXPECT_EQ("1  #-1", state_of(it));
}

// One would expect each level to take its own segment along.
TEST(TreeIterator, DropsASegmentAlsoWithALevelThatHasAddedNone) {
    const Variant object = JsonParser::parseTree("{\"\":1,\"a\":2}");
    OpenTreeIterator it(object);
    it.position_at("a", -1);
    json::VariantIterator unnamed(object);
    while (!unnamed.key().empty()) {
        ++unnamed;
    }
    it.push(unnamed);
    EXPECT_EQ("3 /a a#-1", state_of(it));
    it.up();
    EXPECT_EQ("2  a#-1", state_of(it));
}

TEST(TreeIterator, DropsOneLevelUpwards) {
    const Variant list = JsonParser::parseTree("[1]");
    TreeIterator it(list);
    it += 2;
    EXPECT_EQ("2 /0 #0", state_of(it.up()));
    EXPECT_EQ("1  #-1", state_of(it.up()));
    EXPECT_TRUE(it.up().empty());
    EXPECT_TRUE(it.up().empty());
}

TEST(TreeIterator, StepsInEveryNotation) {
    const Variant list = JsonParser::parseTree("[1,2,3]");
    TreeIterator it(list);
    EXPECT_EQ(1, (it++).depth());
    EXPECT_EQ(2, it.depth());
    EXPECT_EQ(2, (it--).depth());
    EXPECT_EQ(1, it.depth());
    EXPECT_EQ(4, (it + 3).depth());
    EXPECT_EQ(1, it.depth());
    it.position(2);
    EXPECT_EQ("2 /1 #1", state_of(it - 1));
    EXPECT_EQ("2 /2 #2", state_of(it));
    EXPECT_EQ("2 /0 #0", state_of(it + -2));
    it += 0;
    EXPECT_EQ("2 /2 #2", state_of(it));
    it += std::numeric_limits<int>::min(); // to the end, and no further
    EXPECT_TRUE(it.empty());
    it -= 1;
    EXPECT_TRUE(it.empty());
}

TEST(TreeIterator, FindsAChildByItsIndex) {
    const Variant list = JsonParser::parseTree("[1,2]");
    TreeIterator it(list);
    it.position(1);
    EXPECT_EQ("2 /1 #1", state_of(it));
    const Variant object = JsonParser::parseTree("{\"a\":1,\"b\":2}");
    std::string second;
    for (const auto& entry : object.objectValue()) {
        second = entry.first->c_str();
    }
    TreeIterator entries(object);
    entries.position(1);
    EXPECT_EQ("2 /" + second + " " + second + "#-1", state_of(entries));
    entries.position(7);
    EXPECT_TRUE(entries.empty());
    const Variant scalar(5);
    TreeIterator once(scalar);
    EXPECT_EQ("2  #-1", state_of(once.position(0)));
    EXPECT_TRUE(once.position(1).empty());
}

TEST(TreeIterator, FindsNoChildBeyondTheRangeOfInt) {
    const Variant list = JsonParser::parseTree("[1,2]");
    constexpr auto most = static_cast<std::size_t>(std::numeric_limits<int>::max());
    for (const std::size_t index :
         {most, most + 1, 2 * most + 2, 2 * most + 3, std::numeric_limits<std::size_t>::max()}) {
        TreeIterator it(list);
        EXPECT_TRUE(it.position(index).empty()) << index;
    }
}

TEST(TreeIterator, FindsAChildByItsKey) {
    const Variant object = JsonParser::parseTree("{\"a\":1,\"b\":2,\"c\":3}");
    OpenTreeIterator it(object);
    it.position_at("b", -1);
    EXPECT_EQ("2 /b b#-1", state_of(it));
    it.position_at("c", -1);
    EXPECT_EQ("3 /b/c c#-1", state_of(it));
    it.position_at("x", -1);
    EXPECT_TRUE(it.empty());
}

// One would expect a failed search to stay where it was.
TEST(TreeIterator, ClimbsWhereAChildIsMissingAndEmptiesItsStackInTheEnd) {
    const Variant list = JsonParser::parseTree("[1,2]");
    TreeIterator it(list);
    it += 3;
    it.position(5);
    EXPECT_TRUE(it.empty());
    EXPECT_EQ("", path_of(it));
    EXPECT_TRUE(it.position(0).empty());
}

// One would expect each segment to be looked up in what the segment before it has led to.
TEST(TreeIterator, LooksEachSegmentUpInTheRoot) {
    const Variant value = JsonParser::parseTree("{\"a\":{\"b\":[5]},\"c\":1}");
    const std::string first = value.objectValue().begin()->first->c_str();
    TreeIterator it(value);
    it += Path("c.a");
    EXPECT_EQ("3 /c/a a#-1", state_of(it));
    EXPECT_EQ(&value, &*it);
    TreeIterator missing(value);
    missing += Path("a.b"); // "b" misses in the root: it counts as the index 0
    EXPECT_EQ("3 /a/" + first + " " + first + "#-1", state_of(missing));
    const Variant list = JsonParser::parseTree("[1,2,3]");
    TreeIterator elements(list);
    elements += Path("[2][1]");
    EXPECT_EQ("3 /2/1 #1", state_of(elements));
    elements += Path("99999999999999999999");
    EXPECT_TRUE(elements.empty());
    TreeIterator negative(list);
    negative += Path("-1");
    EXPECT_TRUE(negative.empty());
}

TEST(TreeIterator, LeavesAllLevelsButTheLowestForAnAbsolutePath) {
    const Variant list = JsonParser::parseTree("[1,2,3]");
    TreeIterator it(list);
    it += 2;
    ASSERT_EQ(3, it.depth());
    it /= Path("[1]");
    EXPECT_EQ("2 /1 #1", state_of(it));
    it += 1;
    it /= it.path(); // its own path, which changes meanwhile
    EXPECT_EQ("3 /1/1 #1", state_of(it));
    it += it.path();
    EXPECT_EQ("5 /1/1/1/1 #1", state_of(it));
    it /= Path();
    EXPECT_EQ("1  #-1", state_of(it));
}

TEST(TreeIterator, BeginsAnewWithAnAssignedValue) {
    const Variant list = JsonParser::parseTree("[1]");
    const Variant object = JsonParser::parseTree("{\"a\":1}");
    TreeIterator it(list);
    it += 2;
    it = object;
    EXPECT_EQ("1  #-1", state_of(it));
    EXPECT_EQ(&object, &*it);
}

TEST(TreeIterator, ACopyHasAStackAndAPathOfItsOwn) {
    const Variant list = JsonParser::parseTree("[1,2]");
    TreeIterator it(list);
    it.position(1);
    TreeIterator copy(it);
    ++copy;
    EXPECT_EQ("2 /1 #1", state_of(it));
    EXPECT_EQ("3 /1/1 #1", state_of(copy));
    TreeIterator assigned;
    assigned = it;
    it.up();
    EXPECT_EQ("2 /1 #1", state_of(assigned));
}

TEST(TreeIterator, EqualsAnIteratorWithEqualValuesWhateverItsPosition) {
    const Variant object = JsonParser::parseTree("{\"a\":1,\"b\":2}");
    const Variant same = JsonParser::parseTree("{\"a\":1,\"b\":2}");
    const Variant other = JsonParser::parseTree("{\"a\":1,\"b\":3}");
    TreeIterator left(object);
    TreeIterator right(same);
    EXPECT_TRUE(left == right);
    left.position(0);
    EXPECT_TRUE(left != right); // depths differ
    right.position(1);
    EXPECT_TRUE(left == right);
    EXPECT_TRUE(TreeIterator(object) != TreeIterator(other));
}

TEST(TreeIterator, OrdersByPositionFromTheBottom) {
    const Variant list = JsonParser::parseTree("[1,2,3]");
    TreeIterator first(list);
    first.position(0);
    TreeIterator third(list);
    third.position(2);
    EXPECT_TRUE(first < third);
    EXPECT_TRUE(first <= third);
    EXPECT_FALSE(first > third);
    EXPECT_FALSE(first >= third);
    TreeIterator deeper(first);
    ++deeper;
    EXPECT_TRUE(first < deeper); // all positions agree: the depths decide
    EXPECT_TRUE(first <= first);
    EXPECT_TRUE(first >= first);
    OpenTreeIterator a(list);
    OpenTreeIterator b(list);
    b.position(2);
    EXPECT_EQ(-2, a.compare(b));
}

TEST(TreeIterator, OrdersPositionsInTwoListsOfOneSizeByTheirIndexes) {
    const Variant list = JsonParser::parseTree("[1,2,3]");
    const Variant other = JsonParser::parseTree("[4,5,6]"); // equal, for a list
    OpenTreeIterator first(list);
    OpenTreeIterator third(other);
    first.position(0);
    third.position(2);
    EXPECT_EQ(-2, first.compare(third));
    EXPECT_TRUE(first < third);
    EXPECT_TRUE(third > first);
}

TEST(TreeIterator, OrdersPositionsOfTwoKindsByTheDepthAlone) {
    const Variant list = JsonParser::parseTree("[1,2,3]");
    const Variant object = JsonParser::parseTree("{\"a\":1}");
    OpenTreeIterator elements(list);
    OpenTreeIterator entries(object);
    elements.position(2);
    EXPECT_EQ(1, elements.compare(entries));
    entries.position(0);
    EXPECT_EQ(0, elements.compare(entries));
}

TEST(TreeIterator, OrdersNothingThatStandsOnDifferentValues) {
    const Variant list = JsonParser::parseTree("[1]");
    const Variant longer = JsonParser::parseTree("[1,2]");
    const TreeIterator a(list);
    const TreeIterator b(longer);
    EXPECT_FALSE(a < b || a <= b || a > b || a >= b);
    const TreeIterator& end = TreeIterator::end();
    EXPECT_FALSE(a < end || a <= end || a > end || a >= end);
    EXPECT_FALSE(end < a || end <= a || end > a || end >= a);
    EXPECT_TRUE(end <= TreeIterator() && end >= TreeIterator());
    EXPECT_FALSE(end < TreeIterator());
}

TEST(TreeIterator, IsHandedOutByTheValue) {
    const Variant list = JsonParser::parseTree("[1,2]");
    const TreeIterator it = list.iterator();
    EXPECT_EQ(1, it.depth());
    EXPECT_EQ(&list, &*it);
}

} // namespace
