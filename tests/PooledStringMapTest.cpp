// SPDX-License-Identifier: MIT
#include "core/PooledStringMap.h"

#include <boost/intrusive_ptr.hpp>
#include <boost/shared_ptr.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using qx::IntrusiveString;
using Key = boost::intrusive_ptr<IntrusiveString>;
using Pool = qx::StringPool<IntrusiveString, Key>;

/// Opens the insertion without a lookup and writes down what the hooks are told.
class Map : public qx::PooledStringMap<std::string> {
public:
    using qx::PooledStringMap<std::string>::PooledStringMap;
    using qx::PooledStringMap<std::string>::auto_value_for;
    using qx::PooledStringMap<std::string>::clear;

    iterator add(const char* key, const std::string& value) {
        return insert_new(pool->intern(key), value);
    }

    std::vector<std::string> told;
    Pool* pool = &qx::global_string_pool();

protected:
    void on_insert(const iterator& entry) override { tell("insert ", entry); }
    void on_update(const iterator& entry) override { tell("update ", entry); }
    void on_erase(const iterator& entry) override { tell("erase ", entry); }

private:
    void tell(const char* what, const iterator& entry) {
        told.push_back(what + std::string(entry->first->c_str()) + "=" + entry->second);
    }
};

using Strings = std::vector<std::string>;

/// The values of one key, from the first that a lookup finds to the end of its group.
Strings group(const Map& map, const char* key) {
    Strings values;
    const auto first = map.find(key);
    for (auto it = first; it != map.end() && it->first == first->first; ++it) {
        values.push_back(it->second);
    }
    return values;
}

static_assert(std::has_virtual_destructor_v<qx::PooledStringMap<int>>);
static_assert(std::is_convertible_v<Map::iterator, Map::const_iterator>);
static_assert(!std::is_convertible_v<Map::const_iterator, Map::iterator>);
static_assert(std::is_same_v<const Key&, decltype((std::declval<Map::iterator>()->first))>);
static_assert(std::is_same_v<std::string&, decltype((std::declval<Map::iterator>()->second))>);
static_assert(
    std::is_same_v<const std::string&, decltype((std::declval<Map::const_iterator>()->second))>);
static_assert(std::is_same_v<Map::const_iterator, decltype(std::declval<const Map&>().find(""))>);
static_assert(std::is_same_v<Map::iterator, decltype(std::declval<Map&>().find(""))>);
static_assert(std::is_same_v<std::string&, decltype(std::declval<Map&>()["a"])>);
static_assert(std::is_same_v<const std::string&, decltype(std::declval<const Map&>()["a"])>);

// ----- Construction
// -------------------------------------------------------------------------------

TEST(PooledStringMap, IsEmptyAtFirst) {
    const qx::PooledStringMap<int> map;
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(0u, map.size());
    EXPECT_TRUE(map.begin() == map.end());
    EXPECT_TRUE(map.find("a") == map.end());
}

TEST(PooledStringMap, DefaultsToTheDefaultOfItsValues) {
    const qx::PooledStringMap<int> map;
    EXPECT_EQ(0, map["a"]);
}

TEST(PooledStringMap, TakesADefaultValue) {
    const qx::PooledStringMap<std::string> map(std::string("none"));
    EXPECT_EQ("none", map["a"]);
}

TEST(PooledStringMap, UsesTheGlobalPoolUnlessItIsGivenAnother) {
    Map global;
    global["PooledStringMap.global"] = "1";
    EXPECT_EQ(qx::global_string_pool().intern("PooledStringMap.global"), global.begin()->first);

    Pool pool;
    qx::PooledStringMap<std::string> own(pool, "none");
    own["PooledStringMap.own"] = "1";
    EXPECT_EQ(1u, pool.size());
    EXPECT_EQ(pool.intern("PooledStringMap.own"), own.begin()->first);
    EXPECT_EQ("none", own["x"]);
}

TEST(PooledStringMap, ACopyHasItsOwnEntriesTheSamePoolAndTheSameDefault) {
    Pool pool;
    qx::PooledStringMap<std::string> map(pool, "none");
    map.setValue("a", "1");
    qx::PooledStringMap<std::string> copy(map);
    copy.setValue("a", "2");
    EXPECT_EQ("1", map["a"]);
    EXPECT_EQ("2", copy["a"]);
    EXPECT_EQ(map.find("a")->first, copy.find("a")->first);
    copy.setValue("b", "3");
    EXPECT_EQ(pool.intern("b"), copy.find("b")->first);
    const qx::PooledStringMap<std::string>& constant = copy;
    EXPECT_EQ("none", constant["c"]);
    EXPECT_TRUE(copy.find("c") == copy.end());
    EXPECT_EQ(2, std::distance(copy.begin(), copy.end()));
}

TEST(PooledStringMap, AssignmentReplacesEntriesPoolAndDefault) {
    Pool pool;
    qx::PooledStringMap<std::string> source(pool, "none");
    source.setValue("a", "1");
    qx::PooledStringMap<std::string> map(std::string("other"));
    map.setValue("b", "2");
    map = source;
    EXPECT_EQ(1u, map.size());
    EXPECT_TRUE(map.find("b") == map.end());
    EXPECT_EQ(1, std::distance(map.begin(), map.end()));
    const qx::PooledStringMap<std::string>& constant = map;
    EXPECT_EQ("1", constant["a"]);
    EXPECT_EQ("none", constant["c"]);
    map.setValue("d", "3");
    EXPECT_EQ(pool.intern("d"), map.find("d")->first);
    EXPECT_EQ("1", source["a"]);
}

// A default that was made anew would leave the reader with what was freed.
TEST(PooledStringMap, ADefaultThatWasReadStaysInItsPlaceThroughAssignments) {
    qx::PooledStringMap<std::string> map(std::string("other"));
    const qx::PooledStringMap<std::string>& constant = map;
    const std::string& missing = constant["x"];
    map = qx::PooledStringMap<std::string>(std::string("none"));
    EXPECT_EQ(&missing, &constant["x"]);
    EXPECT_EQ("none", missing);
    map = qx::PooledStringMap<std::string>();
    EXPECT_EQ(&missing, &constant["x"]);
    EXPECT_EQ("", missing);
}

TEST(PooledStringMap, AssignmentToItselfChangesNothing) {
    Map map;
    map.add("a", "1");
    map.add("a", "2");
    const std::string* address = &map.begin()->second;
    const Map& same = map;
    map = same;
    EXPECT_EQ((Strings{"1", "2"}), group(map, "a"));
    EXPECT_EQ(address, &map.begin()->second);
}

struct Branch;
using Branches = qx::PooledStringMap<boost::shared_ptr<Branch>>;
struct Branch {
    Branches children;
};

TEST(PooledStringMap, CanBeAssignedAMapThatLivesInOneOfItsValues) {
    Branches map;
    map.setValue("outer", boost::shared_ptr<Branch>(new Branch));
    map["outer"]->children.setValue("inner", boost::shared_ptr<Branch>());
    const Branches& inside = map["outer"]->children;
    map = inside;
    EXPECT_EQ(1u, map.size());
    EXPECT_TRUE(map.contains("inner"));
}

TEST(PooledStringMap, CopyingCallsNoHook) {
    Map map;
    map.add("a", "1");
    map.told.clear();
    Map copy(map);
    copy = map;
    EXPECT_EQ(Strings(), copy.told);
}

// ----- Lookup
// -------------------------------------------------------------------------------------

TEST(PooledStringMap, FindsByTextWithEveryFormOfAKey) {
    Map map;
    map.add("id", "1");
    const Map& constant = map;
    const IntrusiveString plain("id");
    const Key counted(new IntrusiveString("id"));
    EXPECT_EQ("1", map.find("id")->second);
    EXPECT_EQ("1", map.find(plain)->second);
    EXPECT_EQ("1", map.find(counted)->second);
    EXPECT_EQ("1", constant.find("id")->second);
    EXPECT_EQ("1", constant.find(plain)->second);
    EXPECT_EQ("1", constant.find(counted)->second);
    EXPECT_TRUE(map.contains("id"));
    EXPECT_TRUE(map.contains(plain));
    EXPECT_TRUE(map.contains(counted));
    EXPECT_EQ("1", map["id"]);
    EXPECT_EQ("1", map[plain]);
    EXPECT_EQ("1", map[counted]);
    EXPECT_EQ("1", constant["id"]);
    EXPECT_EQ("1", constant[plain]);
    EXPECT_EQ("1", constant[counted]);
    EXPECT_EQ("1", map[std::string("id")]);
    EXPECT_FALSE(map.contains("i"));
    EXPECT_FALSE(map.contains("idx"));
    EXPECT_FALSE(map.contains(""));
}

TEST(PooledStringMap, ANullKeyIsTheEmptyText) {
    Map map;
    const char* none = nullptr;
    map.setValue(Key(), "1");
    EXPECT_EQ("1", map.find("")->second);
    EXPECT_EQ("1", map.find(none)->second);
    EXPECT_EQ("1", map.find(nullptr)->second);
    EXPECT_EQ("1", map[none]);
    EXPECT_EQ("1", map[Key()]);
    EXPECT_TRUE(map.contains(none));
    map.setValue(none, "2");
    EXPECT_EQ("2", map[""]);
    EXPECT_EQ(1u, map.size());
}

TEST(PooledStringMap, AKeyEndsAtItsFirstNul) {
    Map map;
    map.add("id", "1");
    EXPECT_TRUE(map.contains(IntrusiveString("id\0x", 4)));
    EXPECT_TRUE(map.contains(Key(new IntrusiveString("id\0x", 4))));
}

TEST(PooledStringMap, FindingAddsAndInternsNothing) {
    Pool pool;
    qx::PooledStringMap<int> map(pool, 0);
    map.setValue("a", 1);
    EXPECT_TRUE(map.find("b") == map.end());
    EXPECT_FALSE(map.contains("b"));
    EXPECT_EQ(1u, map.size());
    EXPECT_EQ(1u, pool.size());
}

TEST(PooledStringMap, KeysThatAgreeInTheirFirstTwelveCharactersStayReachable) {
    Map map;
    map.add("abcdefghijklm", "m");
    map.add("abcdefghijkln", "n");
    map.add("abcdefghijkl", "l");
    EXPECT_EQ("m", map["abcdefghijklm"]);
    EXPECT_EQ("n", map["abcdefghijkln"]);
    EXPECT_EQ("l", map["abcdefghijkl"]);
    EXPECT_FALSE(map.contains("abcdefghijklo"));
}

TEST(PooledStringMap, AKeyWithAStrayByteIsFoundThroughEveryForm) {
    Map map;
    map.add("a\x80z", "1");
    EXPECT_EQ("1", map.find("a\x80z")->second);
    EXPECT_EQ("1", map.find(IntrusiveString("a\x80z"))->second);
    EXPECT_FALSE(map.contains("a\x80y"));
}

TEST(PooledStringMap, AConstReadOfAMissingKeyInternsItAndAddsNoEntry) {
    Pool pool;
    const qx::PooledStringMap<std::string> map(pool, "none");
    EXPECT_EQ("none", map["new"]);
    EXPECT_EQ(0u, map.size());
    EXPECT_EQ(1u, pool.size());
}

TEST(PooledStringMap, ANonConstReadOfAMissingKeyAddsACopyOfTheDefault) {
    Map map(std::string("none"));
    std::string& value = map["new"];
    EXPECT_EQ("none", value);
    EXPECT_EQ((Strings{"insert new=none"}), map.told);
    value = "changed";
    EXPECT_EQ("changed", map["new"]);
    EXPECT_EQ(1u, map.size());
    EXPECT_EQ("none", map["another"]);
}

TEST(PooledStringMap, ANonConstReadOfAKeyThatIsThereCallsNoHook) {
    Map map;
    map.add("a", "1");
    map.told.clear();
    EXPECT_EQ("1", map["a"]);
    EXPECT_EQ(Strings(), map.told);
}

TEST(PooledStringMap, TheDefaultIsTheSameWhateverTheKey) {
    const Map map(std::string("none"));
    EXPECT_EQ("none", map.auto_value_for(Key(new IntrusiveString("a"))));
    EXPECT_EQ("none", map.auto_value_for(Key()));
    EXPECT_EQ(&map.auto_value_for(Key()), &map["a"]);
}

/// Answers a missing key with its own text and remembers the key object.
class Echo : public qx::PooledStringMap<std::string> {
public:
    mutable Key asked;

protected:
    const std::string& auto_value_for(const Key& key) const override {
        asked = key;
        answer_ = "default of " + std::string(key->c_str());
        return answer_;
    }

private:
    mutable std::string answer_;
};

TEST(PooledStringMap, ASubclassIsAskedForTheDefaultWithTheInternedKey) {
    Echo map;
    const Echo& constant = map;
    EXPECT_EQ("default of a", constant[IntrusiveString("a")]);
    EXPECT_EQ(qx::global_string_pool().intern("a"), map.asked);
    EXPECT_EQ("default of b", map["b"]);
    EXPECT_EQ(map.begin()->first, map.asked);
}

// ----- Order
// --------------------------------------------------------------------------------------

TEST(PooledStringMap, ARepeatedKeyKeepsBothEntriesAndAnswersTheFirst) {
    Map map;
    map.add("a", "1");
    map.add("a", "2");
    EXPECT_EQ(2u, map.size());
    const auto first = map.find("a");
    EXPECT_EQ("1", first->second);
    EXPECT_EQ("2", map.findNext(first, 1)->second);
    EXPECT_EQ(0, map.indexInRange(first));
    EXPECT_EQ(1, map.indexInRange(map.findNext(first, 1)));
}

TEST(PooledStringMap, EntriesOfOneKeyStayTogetherInOrderThroughGrowthCopyAndErasure) {
    Map map;
    for (int i = 0; i < 200; ++i) {
        map.add(i % 3 == 0 ? "a" : i % 3 == 1 ? "b" : std::to_string(i).c_str(), std::to_string(i));
    }
    Strings wanted;
    for (int i = 0; i < 200; i += 3) {
        wanted.push_back(std::to_string(i));
    }
    EXPECT_EQ(wanted, group(map, "a"));

    const Map copy(map);
    EXPECT_EQ(wanted, group(copy, "a"));
    Map assigned;
    assigned.add("a", "gone");
    assigned = copy;
    EXPECT_EQ(wanted, group(assigned, "a"));

    assigned.erase(assigned.findNext(assigned.find("a"), 10));
    assigned.erase(assigned.find("a"));
    wanted.erase(wanted.begin() + 10);
    wanted.erase(wanted.begin());
    assigned.add("a", "last");
    wanted.emplace_back("last");
    EXPECT_EQ(wanted, group(assigned, "a"));
    EXPECT_EQ(wanted, group(Map(assigned), "a"));
}

TEST(PooledStringMap, EntriesNeverMoveAndIteratorsStayValid) {
    Map map;
    const Map::iterator first = map.add("first", "1");
    const std::string* address = &first->second;
    const Map::iterator end = map.end();
    for (int i = 0; i < 1000; ++i) {
        map.add(std::to_string(i).c_str(), "x");
    }
    map.erase(map.find("500"));
    EXPECT_EQ(address, &map.find("first")->second);
    EXPECT_TRUE(first == map.find("first"));
    EXPECT_TRUE(end == map.end());
    EXPECT_EQ("1", *address);
}

TEST(PooledStringMap, IterationMeetsEveryEntryOnce) {
    Map map;
    Strings wanted;
    for (int i = 0; i < 50; ++i) {
        map.add(std::to_string(i % 20).c_str(), std::to_string(i));
        wanted.push_back(std::to_string(i));
    }
    Strings met;
    for (const auto& entry : map) {
        met.push_back(entry.second);
    }
    std::sort(met.begin(), met.end());
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(wanted, met);
}

TEST(PooledStringMap, IteratorsOfBothKindsCompare) {
    Map map;
    map.add("a", "1");
    const Map& constant = map;
    EXPECT_TRUE(map.begin() == constant.begin());
    EXPECT_TRUE(constant.begin() == map.begin());
    EXPECT_TRUE(map.begin() != constant.end());
    EXPECT_FALSE(constant.end() != map.end());
    Map::iterator it = map.begin();
    EXPECT_EQ("1", (*it++).second);
    EXPECT_TRUE(it == map.end());
}

// ----- Steps within a key
// -------------------------------------------------------------------------

TEST(PooledStringMap, FindNextStaysWithinTheKey) {
    Map map;
    map.add("a", "1");
    map.add("b", "2");
    map.add("a", "3");
    const auto first = map.find("a");
    EXPECT_TRUE(map.findNext(first, 0) == first);
    EXPECT_EQ("3", map.findNext(first, 1)->second);
    EXPECT_TRUE(map.findNext(first, 2) == map.end());
    EXPECT_TRUE(map.findNext(map.findNext(first, 1), 1) == map.end());
    EXPECT_TRUE(map.findNext(map.find("b"), 1) == map.end());
    EXPECT_TRUE(map.findNext(first, 4294967295u) == map.end());
}

TEST(PooledStringMap, FindNextOfTheEndIsTheEnd) {
    Map map;
    map.add("a", "1");
    EXPECT_TRUE(map.findNext(map.end(), 0) == map.end());
    EXPECT_TRUE(map.findNext(map.end(), 1) == map.end());
}

TEST(PooledStringMap, IndexInRangeCountsWithinTheKey) {
    Map map;
    map.add("b", "0");
    for (const char* value : {"1", "2", "3"}) {
        map.add("a", value);
    }
    EXPECT_EQ(0, map.indexInRange(map.find("b")));
    EXPECT_EQ(0, map.indexInRange(map.find("a")));
    EXPECT_EQ(2, map.indexInRange(map.findNext(map.find("a"), 2)));
    EXPECT_EQ(-1, map.indexInRange(map.end()));
}

TEST(PooledStringMap, IndexInRangeIsMinusOneForAnEntryOfAnotherMap) {
    Map map;
    map.add("a", "1");
    Map other;
    other.add("a", "1");
    other.add("b", "2");
    EXPECT_EQ(-1, map.indexInRange(other.find("a")));
    EXPECT_EQ(-1, map.indexInRange(other.find("b")));
}

// ----- Changing
// -----------------------------------------------------------------------------------

TEST(PooledStringMap, SetValueAddsAMissingKeyAndTellsOfTheInsertion) {
    Map map;
    const Map::iterator entry = map.setValue("a", "1");
    EXPECT_EQ("1", entry->second);
    EXPECT_EQ((Strings{"insert a=1"}), map.told);
    EXPECT_EQ(qx::global_string_pool().intern("a"), entry->first);
}

TEST(PooledStringMap, SetValueReplacesTheFirstEntryInPlaceAndTellsOfTheUpdate) {
    Map map;
    map.add("a", "1");
    map.add("a", "2");
    const std::string* address = &map.find("a")->second;
    map.told.clear();
    const Map::iterator entry = map.setValue(IntrusiveString("a"), "3");
    EXPECT_EQ(address, &entry->second);
    EXPECT_EQ((Strings{"3", "2"}), group(map, "a"));
    EXPECT_EQ((Strings{"update a=3"}), map.told);
    map.setValue(Key(new IntrusiveString("a")), "4");
    map.setValue(std::string("a"), "5");
    EXPECT_EQ((Strings{"5", "2"}), group(map, "a"));
}

TEST(PooledStringMap, InsertingInternsNothingAndLooksNothingUp) {
    Map map;
    map.add("a", "1");
    map.add("a", "1");
    EXPECT_EQ((Strings{"insert a=1", "insert a=1"}), map.told);
    EXPECT_EQ(2u, map.size());
}

TEST(PooledStringMap, ErasingAnswersTheNextEntryAndCallsNoHook) {
    Map map;
    map.add("a", "1");
    map.add("a", "2");
    map.told.clear();
    const Map::iterator next = map.erase(map.find("a"));
    EXPECT_EQ("2", next->second);
    EXPECT_TRUE(map.erase(next) == map.end());
    EXPECT_TRUE(map.empty());
    EXPECT_TRUE(map.begin() == map.end());
    EXPECT_TRUE(map.erase(map.end()) == map.end());
    EXPECT_EQ(Strings(), map.told);
}

TEST(PooledStringMap, AnEmptiedMapTakesEntriesAgain) {
    Map map;
    for (int i = 0; i < 100; ++i) {
        map.add(std::to_string(i).c_str(), "x");
    }
    while (!map.empty()) {
        map.erase(map.begin());
    }
    EXPECT_FALSE(map.contains("1"));
    map.add("1", "y");
    EXPECT_EQ("y", map["1"]);
    map.clear();
    EXPECT_TRUE(map.empty());
    EXPECT_TRUE(map.begin() == map.end());
    map.add("1", "z");
    EXPECT_EQ("z", map["1"]);
}

TEST(PooledStringMap, FindsTheFirstEntryWithAValue) {
    Map map;
    map.add("a", "1");
    map.add("a", "2");
    map.add("a", "1");
    const Map::const_iterator first = map.find("a");
    EXPECT_TRUE(map.findValue(std::string("1")) == first);
    EXPECT_TRUE(map.findValue(std::string("1"), std::next(first)) == std::next(first, 2));
    EXPECT_TRUE(map.findValue(std::string("1"), first) == first);
    EXPECT_TRUE(map.findValue(std::string("2"), std::next(first, 2)) == map.end());
    EXPECT_TRUE(map.findValue(std::string("3")) == map.end());
    EXPECT_TRUE(map.findValue(std::string("1"), map.end()) == map.end());
    EXPECT_TRUE(map.containsValue("2"));
    EXPECT_FALSE(map.containsValue("3"));
}

TEST(PooledStringMap, FindsTheEntryThatHoldsAnObject) {
    Map map;
    map.add("a", "same");
    map.add("b", "same");
    const std::string other("same");
    EXPECT_STREQ("b", map.findValue(&map["b"])->first->c_str());
    EXPECT_STREQ("a", map.findValue(&map["a"])->first->c_str());
    EXPECT_TRUE(map.findValue(&other) == map.end());
    EXPECT_TRUE(map.findValue(static_cast<const std::string*>(nullptr)) == map.end());
}

TEST(PooledStringMap, RemovesEveryEntryWithAValueAndCallsNoHook) {
    Map map;
    for (const char* key : {"a", "b", "a", "c"}) {
        map.add(key, "x");
    }
    map.add("a", "y");
    map.told.clear();
    EXPECT_EQ(0, map.removeValue("z"));
    EXPECT_EQ(5u, map.size());
    EXPECT_EQ(4, map.removeValue("x"));
    EXPECT_EQ((Strings{"y"}), group(map, "a"));
    EXPECT_EQ(1u, map.size());
    EXPECT_EQ(Strings(), map.told);
    EXPECT_EQ(0, Map().removeValue("x"));
}

// ----- Renaming
// -----------------------------------------------------------------------------------

TEST(PooledStringMap, RenamesToAFreeKey) {
    Map map;
    map.add("from", "1");
    map.told.clear();
    EXPECT_TRUE(map.rename("from", "to"));
    EXPECT_FALSE(map.contains("from"));
    EXPECT_EQ("1", map["to"]);
    EXPECT_EQ((Strings{"erase from=1", "insert to=1"}), map.told);
}

TEST(PooledStringMap, RenamesOverTheFirstEntryOfATakenKey) {
    Map map;
    map.add("to", "2");
    map.add("to", "3");
    map.add("from", "1");
    map.told.clear();
    EXPECT_TRUE(map.rename("from", "to"));
    EXPECT_EQ((Strings{"1", "3"}), group(map, "to"));
    EXPECT_EQ(2u, map.size());
    EXPECT_EQ((Strings{"erase from=1", "update to=1"}), map.told);
}

TEST(PooledStringMap, RenamesTheFirstOfRepeatedEntriesOnly) {
    Map map;
    map.add("from", "1");
    map.add("from", "2");
    EXPECT_TRUE(map.rename("from", "to"));
    EXPECT_EQ((Strings{"2"}), group(map, "from"));
    EXPECT_EQ((Strings{"1"}), group(map, "to"));
}

TEST(PooledStringMap, RenamingAMissingKeyChangesAndInternsNothing) {
    Pool pool;
    qx::PooledStringMap<int> map(pool, 0);
    map.setValue("a", 1);
    EXPECT_FALSE(map.rename("from", "to"));
    EXPECT_EQ(1u, map.size());
    EXPECT_EQ(1u, pool.size());
}

// The first entry goes, then the one behind it has become the first and takes the value.
TEST(PooledStringMap, RenamingARepeatedKeyToItselfOverwritesTheSecondEntry) {
    Map map;
    for (const char* value : {"1", "2", "3"}) {
        map.add("a", value);
    }
    map.told.clear();
    EXPECT_TRUE(map.rename("a", "a"));
    EXPECT_EQ((Strings{"1", "3"}), group(map, "a"));
    EXPECT_EQ((Strings{"erase a=1", "update a=1"}), map.told);
}

TEST(PooledStringMap, RenamingASingleKeyToItselfAddsItAgain) {
    Map map;
    map.add("a", "1");
    map.told.clear();
    EXPECT_TRUE(map.rename("a", "a"));
    EXPECT_EQ((Strings{"1"}), group(map, "a"));
    EXPECT_EQ((Strings{"erase a=1", "insert a=1"}), map.told);
}

TEST(PooledStringMap, RenamesWithTextsThatLiveInTheEntry) {
    Map map;
    map.add("from", "a target that is too long to be kept inside of the string");
    const auto entry = map.find("from");
    EXPECT_TRUE(map.rename(entry->first->c_str(), entry->second.c_str()));
    EXPECT_TRUE(map.contains("a target that is too long to be kept inside of the string"));
    EXPECT_EQ(1u, map.size());
}

TEST(PooledStringMap, ANullTextIsRenamedLikeTheEmptyOne) {
    Map map;
    map.add("", "1");
    EXPECT_TRUE(map.rename(nullptr, "a"));
    EXPECT_EQ("1", map["a"]);
    EXPECT_TRUE(map.rename("a", nullptr));
    EXPECT_EQ("1", map[""]);
}

// ----- Arguments that live in the map
// -------------------------------------------------------------

constexpr const char* kLong = "a value that is too long to be kept inside of the string";

TEST(PooledStringMap, SetsAValueOfItsOwn) {
    Map map;
    map.add("a", "x");
    map.add("b", kLong);
    map.setValue("a", map["b"]);
    EXPECT_EQ(kLong, map["a"]);
    map.setValue("a", map["a"]);
    EXPECT_EQ(kLong, map["a"]);
}

TEST(PooledStringMap, InsertsAValueOfItsOwnWhileItGrows) {
    Map map;
    map.add("first", kLong);
    for (int i = 0; i < 100; ++i) {
        map.add(std::to_string(i).c_str(), map.begin()->second);
        EXPECT_EQ(kLong, map[std::to_string(i)]);
    }
}

TEST(PooledStringMap, RemovesAValueOfItsOwn) {
    Map map;
    for (const char* key : {"a", "b", "c"}) {
        map.add(key, kLong);
    }
    EXPECT_EQ(3, map.removeValue(map.begin()->second));
    EXPECT_TRUE(map.empty());
}

TEST(PooledStringMap, FindsAValueOfItsOwn) {
    Map map;
    map.add("a", kLong);
    EXPECT_TRUE(map.findValue(map["a"]) == map.find("a"));
}

TEST(PooledStringMap, TakesAKeyOfItsOwn) {
    Map map;
    map.add("a", "1");
    map.setValue(map.begin()->first, "2");
    EXPECT_EQ("2", map["a"]);
    map[map.find("a")->second.c_str()] = "3";
    EXPECT_EQ("3", map["2"]);
}

// ----- Random sequences against a simple model
// ----------------------------------------------------

class Sequence {
public:
    explicit Sequence(unsigned seed) : random_(seed) {}

    void run() {
        for (int step = 0; step < 300; ++step) {
            change(std::to_string(step % 7));
            compare(map_);
            if (step % 50 == 0) {
                compare(Map(map_));
                Map assigned;
                assigned.add("x", "y");
                assigned = map_;
                map_ = assigned;
            }
            if (testing::Test::HasFatalFailure()) return;
        }
    }

private:
    using Pair = std::pair<std::string, std::string>;

    std::size_t below(unsigned bound) { return random_() % bound; }

    std::vector<Pair>::iterator first(const std::string& key) {
        return std::find_if(model_.begin(), model_.end(),
                            [&](const Pair& pair) { return pair.first == key; });
    }

    std::string any_key() {
        const std::string number = std::to_string(below(25));
        return below(2) == 0 ? number : "abcdefghijkl" + number;
    }

    void set(const std::string& key, const std::string& value) {
        const auto entry = first(key);
        if (entry == model_.end()) {
            model_.emplace_back(key, value);
        } else {
            entry->second = value;
        }
    }

    void change(const std::string& value) {
        const std::string key = any_key();
        const auto entry = first(key);
        switch (below(8)) {
        case 0:
            map_.setValue(key.c_str(), value);
            set(key, value);
            break;
        case 1:
            if (entry == model_.end()) model_.emplace_back(key, "");
            map_[IntrusiveString(key)];
            break;
        case 2: {
            const std::string to = any_key();
            ASSERT_EQ(entry != model_.end(), map_.rename(key.c_str(), to.c_str()));
            if (entry == model_.end()) break;
            const std::string moved = entry->second;
            model_.erase(entry);
            set(to, moved);
            break;
        }
        case 3:
            if (entry == model_.end()) break;
            map_.erase(map_.find(key.c_str()));
            model_.erase(entry);
            break;
        case 4: {
            if (below(4) != 0) break;
            const auto kept = std::remove_if(model_.begin(), model_.end(), [&](const Pair& pair) {
                return pair.second == value;
            });
            ASSERT_EQ(model_.end() - kept, map_.removeValue(value));
            model_.erase(kept, model_.end());
            break;
        }
        default:
            map_.add(key.c_str(), value);
            model_.emplace_back(key, value);
        }
    }

    void compare(const Map& map) {
        ASSERT_EQ(model_.size(), map.size());
        ASSERT_EQ(static_cast<std::ptrdiff_t>(map.size()), std::distance(map.begin(), map.end()));
        std::vector<Pair> seen;
        for (const auto& entry : map) {
            seen.emplace_back(entry.first->c_str(), entry.second);
        }
        // Sorted by key alone, so that the order within a key is compared, too.
        const auto byKey = [](const Pair& left, const Pair& right) {
            return left.first < right.first;
        };
        std::vector<Pair> wanted(model_);
        std::stable_sort(wanted.begin(), wanted.end(), byKey);
        std::vector<Pair> sorted(seen);
        std::stable_sort(sorted.begin(), sorted.end(), byKey);
        ASSERT_EQ(wanted, sorted);
        for (const Pair& pair : wanted) {
            const auto found = map.find(pair.first.c_str());
            ASSERT_TRUE(found != map.end());
            const Strings values = group(map, pair.first.c_str());
            const auto count = std::count_if(wanted.begin(), wanted.end(), [&](const Pair& other) {
                return other.first == pair.first;
            });
            ASSERT_EQ(count, static_cast<std::ptrdiff_t>(values.size()));
            ASSERT_EQ(first(pair.first)->second, found->second);
        }
    }

    std::mt19937 random_;
    Map map_;
    std::vector<Pair> model_;
};

TEST(PooledStringMap, BehavesLikeASimpleModelOverRandomSequences) {
    for (unsigned seed = 0; seed < 10; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Sequence(seed).run();
        if (HasFatalFailure()) return;
    }
}

} // namespace
