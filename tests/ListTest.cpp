// SPDX-License-Identifier: MIT
#include "json/List.h"

#include "schema/Schema.h"
#include "support/BoundValue.h"
#include "support/ValueProbe.h"
#include "json/JsonParser.h"
#include "json/Path.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

static_assert(std::is_same_v<json::List::iterator, std::vector<json::Variant>::iterator>);
static_assert(
    std::is_same_v<json::List::const_iterator, std::vector<json::Variant>::const_iterator>);
static_assert(std::is_base_of_v<qx::IntrusiveObject, json::List>);

namespace {

using json::Variant;
using ListPtr = boost::intrusive_ptr<json::List>;

/// Opens what subclasses of a list see.
struct ListProbe : json::List {
    using json::List::auto_value_for;
    using json::List::setDirty;
    using json::List::update_parent;
    using json::List::update_parents;
    using json::List::update_schemas;
};

Variant integer(std::int64_t value) { return Variant::fromInteger(value); }
Variant text(const char* value) { return Variant(value, -1); }

/// A list on the heap, since parent links count it.
ListPtr list_of(std::initializer_list<Variant> elements) {
    const ListPtr list(new json::List);
    for (const Variant& element : elements) {
        *list << element;
    }
    return list;
}

std::string json_of_list(const json::List& list) {
    std::ostringstream out;
    list.write(out, false);
    return out.str();
}

// --- Construction and copying

TEST(List, StartsEmptyUncountedAndWithoutAnOwner) {
    json::List list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(0u, list.size());
    EXPECT_EQ(0u, list.use_count());
    EXPECT_EQ(nullptr, owner_of(list));
    EXPECT_FALSE(list.dirty());
    EXPECT_EQ(&json::Schema::Empty, &list.schema());
}

// The copy constructor doesn't link, the assignment does: a repair that made them alike would fail
// here or in the next test.
TEST(List, CopiesItsElementsWithoutLinkingThem) {
    BoundList source{integer(1), text("b")};
    const json::List copy(source.list());
    EXPECT_EQ("[1,\"b\"]", json_of_list(copy));
    EXPECT_EQ("00", which(copy, [](const Variant& element) { return element.hasParent(); }));
    EXPECT_EQ("00", bound_elements(copy));
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &copy[0].schema());
    EXPECT_EQ(nullptr, owner_of(copy));
    EXPECT_EQ(&source.value, owner_of(source.list()));
    json::List counted(source.list());
    EXPECT_EQ(0u, counted.use_count());
}

TEST(List, LinksTheElementsThatItIsAssigned) {
    BoundList target{integer(9)};
    const ListPtr source = list_of({integer(1), text("b")});
    clear_marks(target.value);
    EXPECT_EQ(&target.list(), &(target.list() = *source));
    EXPECT_EQ("[1,\"b\"]", json_of_list(target.list()));
    EXPECT_EQ("11", linked_elements(target.list()));
    EXPECT_FALSE(target.value.dirty());
    EXPECT_EQ(&target.value, owner_of(target.list()));
    EXPECT_EQ(1u, source->use_count());
}

TEST(List, StaysAsItIsWhenAssignedToItself) {
    const ListPtr list = list_of({integer(1), integer(2)});
    json::List& same = *list;
    *list = same;
    EXPECT_EQ("[1,2]", json_of_list(*list));
    EXPECT_EQ("11", linked_elements(*list));
}

// --- Reading

TEST(List, ReadsAnElementOrItsDefault) {
    const ListPtr list = list_of({integer(10), integer(11)});
    const json::List& reader = *list;
    EXPECT_EQ(11, reader.at(1).integerValue());
    EXPECT_EQ(11, reader[1].integerValue());
    EXPECT_EQ(&Variant::EmptyAutoValue, &reader.at(2));
    EXPECT_EQ(&Variant::EmptyAutoValue, &reader[2]);
    EXPECT_EQ(&Variant::EmptyAutoValue, &reader[static_cast<std::size_t>(-1)]);
    EXPECT_EQ(2u, reader.size());
    const Variant fallback(7);
    EXPECT_EQ(10, reader.at(0, fallback).integerValue());
    EXPECT_EQ(&fallback, &reader.at(2, fallback));
    EXPECT_EQ(2u, reader.size());
}

TEST(List, ReadsItsFirstAndLastElement) {
    const ListPtr list = list_of({integer(10), integer(11), integer(12)});
    EXPECT_EQ(10, std::as_const(*list).front().integerValue());
    EXPECT_EQ(12, std::as_const(*list).back().integerValue());
    const json::List none;
    EXPECT_EQ(&Variant::EmptyAutoValue, &none.front());
    EXPECT_EQ(&Variant::EmptyAutoValue, &none.back());
}

TEST(List, TakesTheDefaultOfAMissingElementFromItsOwnersSchema) {
    const BoundList bound;
    EXPECT_EQ(&json::Schema::EmptyPtr->autoValue(), &bound.list().at(3));
    EXPECT_TRUE(bound.list().at(3).autoValue());
    const ListProbe loose;
    EXPECT_EQ(&Variant::EmptyAutoValue, &loose.auto_value_for(0));
}

TEST(List, GivesAnIteratorToAPlaceOrTheEnd) {
    const ListPtr list = list_of({integer(10), integer(11)});
    EXPECT_EQ(11, list->position(1)->integerValue());
    EXPECT_EQ(list->end(), list->position(2));
    EXPECT_EQ(list->end(), list->position(99));
    const json::List& reader = *list;
    EXPECT_EQ(10, reader.position(0)->integerValue());
    EXPECT_EQ(reader.end(), reader.position(2));
}

TEST(List, FindsAValueWithTheElementOnTheLeft) {
    const ListPtr list = list_of({integer(5), text("5"), integer(5)});
    EXPECT_EQ(0, list->indexOf(integer(5), 0));
    EXPECT_EQ(0, list->indexOf(text("5"), 0)) << "Integer 5 equals the text";
    EXPECT_EQ(1, list->indexOf(text("5"), 1));
    EXPECT_EQ(2, list->indexOf(integer(5), 1)) << "the text doesn't equal Integer 5";
    EXPECT_EQ(-1, list->indexOf(integer(6), 0));
    EXPECT_EQ(-1, list->indexOf(integer(5), 3)) << "from the end";
    EXPECT_TRUE(list->contains(text("5")));
    EXPECT_FALSE(list->contains(integer(6)));
}

TEST(List, FindsAnElementByItsAddress) {
    const ListPtr list = list_of({integer(5), integer(5)});
    const Variant copy(std::as_const(*list)[1]);
    EXPECT_EQ(1, list->indexOf(&std::as_const(*list)[1], 0));
    EXPECT_EQ(1, list->indexOf(&std::as_const(*list)[1], 1));
    EXPECT_EQ(-1, list->indexOf(&std::as_const(*list)[0], 1));
    EXPECT_EQ(-1, list->indexOf(&copy, 0));
    EXPECT_EQ(-1, list->indexOf(&std::as_const(*list)[1], 2));
    EXPECT_EQ(0, list->indexOf(copy, 0));
}

// The element loop compares the left list with itself: a repair that compared contents would fail
// here.
TEST(List, ListsOfEqualLengthAreEqualWhateverTheyHold) {
    const ListPtr left = list_of({integer(1), integer(2)});
    const ListPtr right = list_of({integer(3), integer(4)});
    const ListPtr longer = list_of({integer(1), integer(2), integer(3)});
    EXPECT_TRUE(*left == *right);
    EXPECT_FALSE(*left != *right);
    EXPECT_FALSE(*left == *longer);
    EXPECT_TRUE(*left != *longer);
    EXPECT_FALSE(*longer == *left);
    EXPECT_TRUE(json::List() == json::List());
    EXPECT_TRUE(left->contains(integer(1)));
    EXPECT_FALSE(right->contains(integer(1)));
    const ListPtr numbers = list_of({Variant::fromReal(std::numeric_limits<double>::quiet_NaN())});
    EXPECT_TRUE(*numbers == *numbers);
}

TEST(List, HasTheSchemaOfItsOwner) {
    const BoundList bound;
    EXPECT_EQ(&bound.value.schema(), &bound.list().schema());
}

TEST(List, SelectsByAPath) {
    const ListPtr list = list_of({integer(10), integer(11)});
    EXPECT_EQ(11, std::as_const(*list).select(json::Path("[1]")).integerValue());
    EXPECT_EQ(&Variant::Empty, &std::as_const(*list).select(json::Path("[5]")));
    list->select(json::Path("[2]")) = 12;
    EXPECT_EQ("[10,11,12]", json_of_list(*list));
}

// --- Appending

TEST(List, PushBackLeavesTheElementWithoutAParent) {
    BoundList bound;
    bound.list().push_back(integer(1));
    EXPECT_EQ("[1]", json_of_list(bound.list()));
    EXPECT_FALSE(std::as_const(bound).list()[0].hasParent());
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_EQ("1", bound_elements(bound.list()));
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &std::as_const(bound).list()[0].schema());
}

TEST(List, AppendsACopyAndLinksIt) {
    BoundList bound;
    json::List& list = bound.list();
    EXPECT_EQ(&list, &(list << integer(1)));
    EXPECT_EQ("[1]", json_of_list(list));
    EXPECT_EQ("1", linked_elements(list));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_EQ("1", bound_elements(list));
}

TEST(List, BindsOnlyTheElementThatItAppends) {
    BoundList bound{integer(1), integer(2), integer(3)};
    forget_bindings(bound.list());
    bound.list() << integer(4);
    ASSERT_EQ("0001", bound_elements(bound.list()));
    forget_bindings(bound.list());
    bound.list().push_back(integer(5));
    EXPECT_EQ("00001", bound_elements(bound.list()));
}

TEST(List, BindsElementsWithoutAnOwnerToTheEmptySchema) {
    json::List pushed;
    pushed.push_back(integer(1));
    json::List appended;
    appended << integer(1);
    for (const json::List* list : {&pushed, &appended}) {
        const Variant& element = (*list)[0];
        EXPECT_EQ(json::Schema::EmptyPtr.get(), &element.schema());
        EXPECT_NE(&json::Schema::Empty, &element.schema());
        EXPECT_TRUE(is_sticky(element));
    }
}

TEST(List, OverwritesTheSchemaOfWhatItAppends) {
    Variant value(5);
    value.attachSchema(any_schema());
    const ListPtr list = list_of({value});
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &std::as_const(*list)[0].schema());
}

TEST(List, MakesAnAppendedContainerTheElementsOwn) {
    Variant inner = Variant::newObject();
    inner["a"] = Variant::newList();
    const ListPtr list = list_of({inner});
    const Variant& element = std::as_const(*list)[0];
    EXPECT_EQ(&element, owner_of(element.objectValue()));
    const Variant& below = element["a"];
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &below.schema());
    EXPECT_EQ(&below, owner_of(below.listValue()));
}

TEST(List, AppendsEachElementOfAnotherList) {
    BoundList bound{integer(1)};
    const ListPtr other = list_of({integer(2), integer(3)});
    forget_bindings(bound.list());
    EXPECT_EQ(&bound.list(), &(bound.list() += *other));
    EXPECT_EQ("[1,2,3]", json_of_list(bound.list()));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_EQ("1", linked_elements(bound.list()).substr(2));
    bound.value.setDirty(false);
    bound.list() += json::List();
    EXPECT_FALSE(bound.value.dirty());
}

TEST(List, AppendsItself) {
    const ListPtr list = list_of({integer(1), integer(2)});
    *list += *list;
    EXPECT_EQ("[1,2,1,2]", json_of_list(*list));
}

// --- Growing

TEST(List, GrowsToTheIndexThatIsWritten) {
    const ListPtr list(new json::List);
    EXPECT_TRUE(list->at(3).isNull());
    EXPECT_EQ(4u, list->size());
    EXPECT_EQ("[null,null,null,null]", json_of_list(*list));
    EXPECT_EQ("1111", linked_elements(*list));
    EXPECT_EQ("0000", which(*list, [](const Variant& element) { return element.autoValue(); }));
    EXPECT_EQ("1111", bound_elements(*list));
    (*list)[1] = 5;
    EXPECT_EQ("[null,5,null,null]", json_of_list(*list));
    EXPECT_EQ(4u, list->size());
}

TEST(List, GrowsByCopiesOfAFallback) {
    BoundList bound{integer(1)};
    EXPECT_EQ(7, bound.list().at(2, integer(7)).integerValue());
    EXPECT_EQ("[1,7,7]", json_of_list(bound.list()));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_EQ("11", linked_elements(bound.list()).substr(1));
    bound.value.setDirty(false);
    EXPECT_EQ(1, bound.list().at(0, integer(9)).integerValue());
    EXPECT_FALSE(bound.value.dirty());
    EXPECT_EQ("[1,7,7]", json_of_list(bound.list()));
}

TEST(List, MarksItsOwnerOnlyWhenItGrows) {
    BoundList bound;
    static_cast<void>(bound.list().at(0));
    EXPECT_TRUE(bound.value.dirty());
    bound.value.setDirty(false);
    static_cast<void>(bound.list().at(0));
    static_cast<void>(bound.list()[0]);
    EXPECT_FALSE(bound.value.dirty());
}

TEST(List, WritesItsFirstAndLastElement) {
    json::List list;
    list.front() = integer(1);
    EXPECT_EQ("[1]", json_of_list(list));
    list << integer(2);
    list.front() = integer(8);
    list.back() = integer(9);
    EXPECT_EQ("[8,9]", json_of_list(list));
    json::List other;
    other.back() = integer(1);
    EXPECT_EQ("[1]", json_of_list(other));
}

TEST(List, SetsOneElementAndMarksItsOwner) {
    BoundList bound{integer(1)};
    bound.list().assign(0, integer(5));
    EXPECT_EQ("[5]", json_of_list(bound.list()));
    EXPECT_TRUE(bound.value.dirty());
    bound.value.setDirty(false);
    bound.list().assign(0, integer(5));
    EXPECT_TRUE(bound.value.dirty()) << "an equal value too";
    bound.list().assign(2, integer(7));
    EXPECT_EQ("[5,null,7]", json_of_list(bound.list()));
}

// --- Inserting

TEST(List, InsertsBeforeAPlace) {
    const ListPtr list = list_of({integer(1), integer(3)});
    auto inserted = list->insert(list->begin() + 1, integer(2));
    EXPECT_EQ(1, inserted - list->begin());
    EXPECT_EQ("[1,2,3]", json_of_list(*list));
    EXPECT_EQ('1', linked_elements(*list)[1]);
    inserted = list->insert(list->end(), integer(4));
    EXPECT_EQ(3, inserted - list->begin());
    EXPECT_EQ("[1,2,3,4]", json_of_list(*list));
    EXPECT_EQ('1', linked_elements(*list)[3]);
    json::List none;
    none.insert(none.begin(), integer(1));
    EXPECT_EQ("[1]", json_of_list(none));
}

// An insertion that leaves the element at the place as it was marks the owner clean, although the
// list gets longer: a repair that always marked would fail here.
TEST(List, AnInsertionWithoutEffectMarksTheOwnerClean) {
    BoundList bound{integer(1), integer(2)};
    bound.value.setDirty(true);
    bound.list().insert(bound.list().begin(), integer(1));
    EXPECT_EQ("[1,1,2]", json_of_list(bound.list()));
    EXPECT_FALSE(bound.value.dirty());
    EXPECT_TRUE(is_print_dirty(bound.value));
    bound.list().insert(bound.list().begin(), integer(5));
    EXPECT_TRUE(bound.value.dirty());
    bound.value.setDirty(false);
    bound.list().insert(bound.list().end(), integer(2));
    EXPECT_TRUE(bound.value.dirty());
}

TEST(List, BindsTheElementsFromTheInsertionOn) {
    BoundList bound{integer(1), integer(2), integer(3)};
    bound.list() << integer(4) << integer(5);
    bound.list().pop_back(); // room for one: the array stays
    forget_bindings(bound.list());
    bound.list().insert(bound.list().begin() + 2, integer(9));
    EXPECT_EQ("[1,2,9,3,4]", json_of_list(bound.list()));
    EXPECT_EQ("00111", bound_elements(bound.list()));
}

TEST(List, InsertsSeveralCopies) {
    BoundList bound{integer(1), integer(2)};
    bound.list().insert(bound.list().begin() + 1, 3, integer(7));
    EXPECT_EQ("[1,7,7,7,2]", json_of_list(bound.list()));
    EXPECT_EQ("111", linked_elements(bound.list()).substr(1, 3));
    EXPECT_EQ("1111", bound_elements(bound.list()).substr(1));
    EXPECT_TRUE(bound.value.dirty());
}

TEST(List, MarksItsOwnerForSeveralCopiesOnlyWhenTheyDiffer) {
    struct Row {
        std::ptrdiff_t place;
        std::size_t count;
        int value;
        bool marks;
        const char* why;
    };
    const Row rows[] = {
        {0, 2, 7, false, "both places hold the value"},
        {0, 3, 7, true, "the third place differs"},
        {0, 1, 8, true, "the place differs"},
        {2, 1, 8, false, "the last place holds the value"},
        {2, 2, 8, true, "one place is past the end"},
        {3, 1, 8, true, "at the end"},
        {0, 0, 8, false, "no copies"},
        {3, 0, 8, false, "no copies"},
    };
    for (const Row& row : rows) {
        for (bool before : {false, true}) {
            BoundList bound{integer(7), integer(7), integer(8)};
            bound.value.setDirty(before);
            bound.list().insert(bound.list().begin() + row.place, row.count, integer(row.value));
            EXPECT_EQ(row.marks || before, bound.value.dirty()) << row.why;
            EXPECT_EQ(3 + row.count, bound.list().size()) << row.why;
        }
    }
}

TEST(List, InsertByIndexWorksAtTheLastPlaceAndBehindIt) {
    BoundList bound{integer(1), integer(2)};
    forget_bindings(bound.list());
    bound.list().insert(integer(8), 1);
    EXPECT_EQ("[1,8,2]", json_of_list(bound.list()));
    EXPECT_EQ('1', linked_elements(bound.list())[1]);
    EXPECT_FALSE(bound.value.dirty());
    EXPECT_EQ("000", bound_elements(bound.list()));
    bound.list().insert(integer(9), 3);
    EXPECT_EQ("[1,8,2,9]", json_of_list(bound.list()));
    EXPECT_EQ('1', linked_elements(bound.list())[3]);
    EXPECT_FALSE(bound.value.dirty());
    json::List none;
    none.insert(integer(1), 0);
    EXPECT_EQ("[1]", json_of_list(none));
}

// --- Removing

TEST(List, ErasesAnElement) {
    BoundList bound{integer(1), integer(2), integer(3)};
    forget_bindings(bound.list());
    const auto next = bound.list().erase(bound.list().begin() + 1);
    EXPECT_EQ(1, next - bound.list().begin());
    EXPECT_EQ("[1,3]", json_of_list(bound.list()));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_EQ("01", bound_elements(bound.list()));
    const auto end = bound.list().erase(bound.list().begin() + 1);
    EXPECT_EQ(bound.list().end(), end);
}

TEST(List, ErasesARange) {
    BoundList bound{integer(1), integer(2), integer(3), integer(4)};
    forget_bindings(bound.list());
    const auto next = bound.list().erase(bound.list().begin() + 1, bound.list().begin() + 3);
    EXPECT_EQ(1, next - bound.list().begin());
    EXPECT_EQ("[1,4]", json_of_list(bound.list()));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_EQ("01", bound_elements(bound.list()));
}

// A range that holds nothing marks the owner clean: a repair that left the mark would fail here.
TEST(List, ErasingAnEmptyRangeMarksTheOwnerClean) {
    BoundList bound{integer(1), integer(2)};
    bound.value.setDirty(true);
    const auto where = bound.list().begin() + 1;
    EXPECT_EQ(where, bound.list().erase(where, where));
    EXPECT_FALSE(bound.value.dirty());
    EXPECT_TRUE(is_print_dirty(bound.value));
    EXPECT_EQ("[1,2]", json_of_list(bound.list()));
    bound.value.setDirty(true);
    EXPECT_EQ(bound.list().end(), bound.list().erase(bound.list().end()));
    EXPECT_FALSE(bound.value.dirty());
    EXPECT_EQ("[1,2]", json_of_list(bound.list()));
}

TEST(List, PopBackLeavesTheOwnersMarkAsItWas) {
    BoundList bound{integer(1), integer(2)};
    bound.list().pop_back();
    EXPECT_EQ("[1]", json_of_list(bound.list()));
    EXPECT_FALSE(bound.value.dirty());
    bound.value.setDirty(true);
    bound.list().pop_back();
    bound.list().pop_back();
    EXPECT_TRUE(bound.list().empty());
    EXPECT_TRUE(bound.value.dirty());
}

TEST(List, RemovesAndReturnsAnElement) {
    BoundList bound{text("a"), integer(2), integer(3)};
    forget_bindings(bound.list());
    const Variant removed = bound.list().remove(0);
    EXPECT_EQ("\"a\"", json_of(removed));
    EXPECT_FALSE(removed.hasParent());
    EXPECT_EQ("[2,3]", json_of_list(bound.list()));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_EQ("11", bound_elements(bound.list()));
    forget_bindings(bound.list());
    bound.list().remove(1);
    EXPECT_EQ("0", bound_elements(bound.list()));
}

TEST(List, KeepsTheLinksOfThePlacesThatElementsMoveTo) {
    const ListPtr list = list_of({integer(1), integer(2), integer(3)});
    json::List linked;
    linked = *list;
    linked.remove(0);
    EXPECT_EQ("11", linked_elements(linked));
}

TEST(List, RemovesNothingPastItsEnd) {
    BoundList bound{integer(1), integer(2)};
    const Variant removed = bound.list().remove(7);
    EXPECT_TRUE(removed.isNull());
    EXPECT_FALSE(removed.autoValue());
    EXPECT_EQ("[1,2]", json_of_list(bound.list()));
    EXPECT_FALSE(bound.value.dirty());
    bound.value.setDirty(true);
    bound.list().remove(2);
    EXPECT_TRUE(bound.value.dirty());
}

TEST(List, RemovesEveryElementThatEqualsAValue) {
    BoundList bound{integer(1), integer(1), integer(2), integer(1)};
    EXPECT_TRUE(bound.list().removeAll(integer(1)));
    EXPECT_EQ("[2]", json_of_list(bound.list()));
    EXPECT_TRUE(bound.value.dirty());
    bound.value.setDirty(false);
    EXPECT_FALSE(bound.list().removeAll(integer(5)));
    EXPECT_EQ("[2]", json_of_list(bound.list()));
    EXPECT_FALSE(bound.value.dirty());
    json::List texts;
    texts << text("5") << integer(5);
    EXPECT_TRUE(texts.removeAll(text("5"))) << "with the element on the left";
    EXPECT_TRUE(texts.empty());
    texts << text("5");
    EXPECT_FALSE(texts.removeAll(integer(5)));
}

TEST(List, BindsTheElementsBehindARemovedOne) {
    BoundList bound{integer(1), integer(5), integer(2), integer(3)};
    forget_bindings(bound.list());
    bound.list().removeAll(integer(5));
    EXPECT_EQ("011", bound_elements(bound.list()));
}

TEST(List, CutsAndFillsToASize) {
    BoundList bound{integer(1), integer(2), integer(3)};
    bound.list().resize(1, Variant());
    EXPECT_EQ("[1]", json_of_list(bound.list()));
    EXPECT_TRUE(bound.value.dirty());
    bound.list().resize(3, integer(7));
    EXPECT_EQ("[1,7,7]", json_of_list(bound.list()));
    EXPECT_EQ("00", linked_elements(bound.list()).substr(1));
    forget_bindings(bound.list());
    bound.value.setDirty(false);
    bound.list().resize(3, integer(9));
    EXPECT_TRUE(bound.value.dirty()) << "whether or not the size changed";
    EXPECT_EQ("111", bound_elements(bound.list()));
    EXPECT_EQ("[1,7,7]", json_of_list(bound.list()));
    bound.list().resize(0, Variant());
    EXPECT_TRUE(bound.list().empty());
}

TEST(List, RefusesALengthThatNoListHas) {
    json::List list;
    list << integer(1);
    try {
        list.resize(static_cast<std::size_t>(-1), Variant());
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_STREQ("vector<T> too long", error.what());
    }
    EXPECT_THROW(list.at(static_cast<std::size_t>(-2)), std::length_error);
    EXPECT_EQ("[1]", json_of_list(list));
}

// --- Exchanging

TEST(List, SwapsElementsAndLinksThemAll) {
    BoundList left{integer(1), integer(2)};
    BoundList right{integer(8)};
    forget_bindings(left.list());
    forget_bindings(right.list());
    left.list().swap(right.list());
    EXPECT_EQ("[8]", json_of_list(left.list()));
    EXPECT_EQ("[1,2]", json_of_list(right.list()));
    EXPECT_EQ("1", linked_elements(left.list()));
    EXPECT_EQ("11", linked_elements(right.list()));
}

// Only the list on the left tells its owner: a repair that told both would fail here.
TEST(List, SwapLeavesTheOtherOwnerUnmarked) {
    BoundList left{integer(1), integer(2)};
    BoundList right{integer(8)};
    forget_bindings(left.list());
    forget_bindings(right.list());
    left.list().swap(right.list());
    EXPECT_TRUE(left.value.dirty());
    EXPECT_FALSE(right.value.dirty());
    EXPECT_EQ("1", bound_elements(left.list()));
    EXPECT_EQ("00", bound_elements(right.list()));
    EXPECT_EQ(&left.value, owner_of(left.list()));
    EXPECT_EQ(&right.value, owner_of(right.list()));
}

TEST(List, SwapsWithItself) {
    BoundList bound{integer(1), integer(2)};
    bound.list().swap(bound.list());
    EXPECT_EQ("[1,2]", json_of_list(bound.list()));
    EXPECT_EQ("11", linked_elements(bound.list()));
    EXPECT_TRUE(bound.value.dirty());
}

TEST(List, DeepCopiesItsElements) {
    const ListPtr source = list_of({text("a"), Variant(ListPtr(list_of({text("b")})))});
    json::List copy;
    EXPECT_EQ(&copy, &copy.deepCopy(source.get()));
    EXPECT_EQ("[\"a\",[\"b\"]]", json_of_list(copy));
    EXPECT_EQ("11", linked_elements(copy));
    const json::List& from = *source;
    const json::List& to = copy;
    EXPECT_NE(&from[0].stringValue(), &to[0].stringValue());
    EXPECT_NE(&from[1].listValue(), &to[1].listValue());
    EXPECT_NE(&from[1][0].stringValue(), &to[1][0].stringValue());
    json::List own(*source);
    own.deepCopy(nullptr);
    EXPECT_NE(&from[0].stringValue(), &std::as_const(own)[0].stringValue());
    const qx::IntrusiveString* before = &std::as_const(own)[0].stringValue();
    own.deepCopy(&own);
    EXPECT_NE(before, &std::as_const(own)[0].stringValue());
    EXPECT_EQ("[\"a\",[\"b\"]]", json_of_list(own));
}

// --- Text

TEST(List, PrintsAndWrites) {
    const ListPtr list = list_of({integer(1), text("b")});
    EXPECT_STREQ("[1,\"b\"]", list->print(false).c_str());
    EXPECT_STREQ("[\n\t1,\n\t\"b\"\n]\n", list->print(true).c_str());
    std::ostringstream compact;
    EXPECT_TRUE(list->write(compact, false));
    EXPECT_EQ("[1,\"b\"]", compact.str());
    std::ostringstream pretty;
    EXPECT_TRUE(list->write(pretty, true));
    EXPECT_EQ("[\n\t1,\n\t\"b\"\n]\n", pretty.str());
}

TEST(List, ReadsItsElementsFromAStream) {
    BoundList bound{integer(9)};
    ValueProbe::shared_parser().reset();
    std::istringstream in("[1, [2]]");
    EXPECT_TRUE(bound.list().read(in));
    EXPECT_EQ("[1,[2]]", json_of_list(bound.list()));
    EXPECT_EQ("11", linked_elements(bound.list()));
    EXPECT_FALSE(bound.value.dirty());
    ValueProbe::shared_parser().reset();
}

TEST(List, ReadsAnyOtherValueAsAnEmptyList) {
    json::List list;
    list << integer(1);
    ValueProbe::shared_parser().reset();
    std::istringstream in("{\"a\": 1}");
    EXPECT_TRUE(list.read(in));
    EXPECT_TRUE(list.empty());
    ValueProbe::shared_parser().reset();
}

// A value resets the shared parser before it reads, a list doesn't: a repair that did would read
// the second text here.
TEST(List, ReadDoesNotResetTheSharedParser) {
    json::List list;
    ValueProbe::shared_parser().reset();
    std::istringstream first("[1]");
    EXPECT_TRUE(list.read(first));
    std::istringstream second("[2]");
    EXPECT_FALSE(list.read(second));
    EXPECT_TRUE(list.empty());
    ValueProbe::shared_parser().reset();
    std::istringstream third("[3]");
    EXPECT_TRUE(list.read(third));
    EXPECT_EQ("[3]", json_of_list(list));
    ValueProbe::shared_parser().reset();
}

// --- Helpers of subclasses

TEST(List, LinksElementsForItsSubclasses) {
    ListProbe list;
    for (int number = 0; number < 3; ++number) {
        list.push_back(integer(number));
    }
    EXPECT_EQ("000", linked_elements(list));
    list.update_parent(list.begin() + 1);
    EXPECT_EQ("010", linked_elements(list));
    list.update_parents(list.begin(), list.begin() + 2);
    EXPECT_EQ("110", linked_elements(list));
}

TEST(List, BindsElementsForItsSubclasses) {
    ListProbe list;
    list << integer(0) << integer(1) << integer(2);
    forget_bindings(list);
    list.update_schemas(std::size_t{2});
    EXPECT_EQ("001", bound_elements(list));
    list.update_schemas(list.begin() + 1);
    EXPECT_EQ("011", bound_elements(list));
    list.update_schemas(std::size_t{3});
    list.update_schemas(std::size_t{0});
    EXPECT_EQ("111", bound_elements(list));
}

TEST(List, ForwardsAMarkToItsOwner) {
    const ListPtr list(new ListProbe);
    Variant value;
    value.attachSchema(any_schema());
    value = list;
    clear_marks(value);
    static_cast<ListProbe&>(*list).setDirty(true);
    EXPECT_TRUE(value.dirty());
    static_cast<ListProbe&>(*list).setDirty(false);
    EXPECT_FALSE(value.dirty());
    ListProbe loose;
    loose.setDirty(true);
    EXPECT_FALSE(loose.dirty());
}

TEST(List, IsDestroyedThroughItsVirtualDestructor) {
    struct Counted : json::List {
        explicit Counted(int& deaths) : deaths_(deaths) {}
        ~Counted() override { ++deaths_; }
        int& deaths_;
    };
    int deaths = 0;
    {
        const ListPtr list(new Counted(deaths));
        Variant value(list);
        value = 5;
        EXPECT_EQ(0, deaths);
    }
    EXPECT_EQ(1, deaths);
}

// --- Arguments that lie inside

TEST(List, TakesArgumentsThatLieInside) {
    struct Row {
        const char* what;
        std::function<void(json::List&)> change;
        const char* expected;
    };
    const Row rows[] = {
        {"<<", [](json::List& list) { list << list[0]; }, "[\"a\",\"b\",\"a\"]"},
        {"push_back", [](json::List& list) { list.push_back(list[0]); }, "[\"a\",\"b\",\"a\"]"},
        {"+=", [](json::List& list) { list += list; }, "[\"a\",\"b\",\"a\",\"b\"]"},
        {"at", [](json::List& list) { list.at(3, list[1]); }, "[\"a\",\"b\",\"b\",\"b\"]"},
        {"assign", [](json::List& list) { list.assign(3, list[1]); }, "[\"a\",\"b\",null,\"b\"]"},
        {"insert front", [](json::List& list) { list.insert(list.begin(), list[1]); },
         "[\"b\",\"a\",\"b\"]"},
        {"insert middle", [](json::List& list) { list.insert(list.begin() + 1, list[1]); },
         "[\"a\",\"b\",\"b\"]"},
        {"insert three", [](json::List& list) { list.insert(list.begin(), 3, list[1]); },
         "[\"b\",\"b\",\"b\",\"a\",\"b\"]"},
        {"insert by index", [](json::List& list) { list.insert(list[0], 1); },
         "[\"a\",\"a\",\"b\"]"},
        {"removeAll", [](json::List& list) { list.removeAll(list[0]); }, "[\"b\"]"},
        {"resize", [](json::List& list) { list.resize(4, list[0]); }, "[\"a\",\"b\",\"a\",\"a\"]"},
        {"element", [](json::List& list) { list[0] = list[1]; }, "[\"b\",\"b\"]"},
        {"new element", [](json::List& list) { list[3] = Variant(list[1]); },
         "[\"a\",\"b\",null,\"b\"]"},
    };
    for (const Row& row : rows) {
        const ListPtr list = list_of({text("a"), text("b")});
        row.change(*list);
        EXPECT_EQ(row.expected, json_of_list(*list)) << row.what;
    }
}

TEST(List, RemovesAllThatEqualsAnElementWhichMovesMeanwhile) {
    const ListPtr list =
        list_of({integer(1), integer(2), integer(1), integer(2), integer(1), integer(3)});
    EXPECT_TRUE(list->removeAll((*list)[0]));
    EXPECT_EQ("[2,2,3]", json_of_list(*list));
    EXPECT_TRUE(list->removeAll((*list)[1]));
    EXPECT_EQ("[3]", json_of_list(*list));
}

} // namespace
