// SPDX-License-Identifier: MIT
#include "core/detail/GroupedTable.h"

#include "core/StringPool.h"

#include <boost/intrusive_ptr.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Key = boost::intrusive_ptr<qx::IntrusiveString>;
using Table = qx::detail::GroupedTable<std::string>;

static_assert(std::is_same_v<std::forward_iterator_tag,
                             std::iterator_traits<Table::iterator>::iterator_category>);
static_assert(std::is_same_v<std::pair<const Key, std::string>&,
                             std::iterator_traits<Table::iterator>::reference>);
static_assert(std::is_same_v<const std::pair<const Key, std::string>&,
                             std::iterator_traits<Table::const_iterator>::reference>);
static_assert(std::is_convertible_v<Table::iterator, Table::const_iterator>);
static_assert(!std::is_convertible_v<Table::const_iterator, Table::iterator>);

Key make_key(const char* text) { return Key(new qx::IntrusiveString(text)); }

Table::iterator insert(Table& table, const Key& key, const std::string& value) {
    return table.insert(key, value);
}

Table::const_iterator find(const Table& table, const Key& key) { return table.find(key->c_str()); }

/// The values of one key, from the first that a lookup finds to the end of its group.
std::vector<std::string> group(const Table& table, const Key& key) {
    std::vector<std::string> values;
    for (auto it = find(table, key); it != table.end() && it->first == key; ++it) {
        values.push_back(it->second);
    }
    return values;
}

TEST(GroupedTable, HasNoIndexWhileItIsEmpty) {
    const Table table;
    EXPECT_EQ(0u, table.slotCount());
    EXPECT_EQ(0u, Table(table).slotCount());
    EXPECT_TRUE(table.begin() == table.end());
    EXPECT_TRUE(table.find("a") == table.end());
}

TEST(GroupedTable, HasNoIndexForAFewEntriesAndThenMoreSlotsThanKeys) {
    Table table;
    for (std::size_t i = 0; i < 16; ++i) {
        insert(table, make_key(std::to_string(i).c_str()), "");
        EXPECT_EQ(0u, table.slotCount());
    }
    for (std::size_t i = 16; i < 3000; ++i) {
        insert(table, make_key(std::to_string(i).c_str()), "");
        EXPECT_GE(2 * table.slotCount(), 3 * table.size());
        EXPECT_LE(table.slotCount(), 6 * table.size());
        EXPECT_EQ(table.slotCount(), Table(table).slotCount());
    }
}

TEST(GroupedTable, AKeyThatIsRepeatedWithoutEndNeedsNoLargerIndex) {
    Table table;
    const Key key = make_key("a");
    for (int i = 0; i < 1000; ++i) {
        insert(table, key, "");
    }
    EXPECT_EQ(32u, table.slotCount());
}

TEST(GroupedTable, AKeyIsErasedByWhatItWasWhenItWasPlacedEvenIfItsTextChanges) {
    Table table;
    std::vector<Key> keys;
    for (int i = 0; i < 100; ++i) {
        keys.push_back(make_key(std::to_string(i).c_str()));
        insert(table, keys.back(), "");
    }
    *keys[50] = "changed";
    for (auto it = table.begin(); it != table.end();) {
        it = table.erase(it);
    }
    EXPECT_TRUE(table.empty());
    EXPECT_TRUE(table.find("51") == table.end());
}

TEST(GroupedTable, FindsTheFirstOfEqualEntriesAndTheOthersBehindIt) {
    Table table;
    const Key a = make_key("a");
    const Key b = make_key("b");
    insert(table, a, "1");
    insert(table, b, "2");
    insert(table, a, "3");
    insert(table, b, "4");
    insert(table, a, "5");
    EXPECT_EQ((std::vector<std::string>{"1", "3", "5"}), group(table, a));
    EXPECT_EQ((std::vector<std::string>{"2", "4"}), group(table, b));
    EXPECT_EQ(5u, table.size());
}

TEST(GroupedTable, ACopyKeepsTheOrderWithinAKeyAndGoesOnWithIt) {
    Table table;
    const Key a = make_key("a");
    const Key b = make_key("b");
    for (const Key& key : {a, b, a, b, a}) {
        insert(table, key, std::to_string(table.size()));
    }
    Table copy(table);
    insert(copy, a, "more");
    EXPECT_EQ((std::vector<std::string>{"0", "2", "4", "more"}), group(copy, a));
    EXPECT_EQ((std::vector<std::string>{"1", "3"}), group(copy, b));
    EXPECT_EQ((std::vector<std::string>{"0", "2", "4"}), group(table, a));
}

TEST(GroupedTable, PlacesByIdentityAndFindsByText) {
    for (const int others : {0, 30}) { // without an index and with one
        Table table;
        const Key one = make_key("a");
        const Key two = make_key("a");
        insert(table, one, "1");
        insert(table, two, "2");
        insert(table, one, "3");
        for (int i = 0; i < others; ++i) {
            insert(table, make_key(std::to_string(i).c_str()), "");
        }
        // Two groups with one text: the later one is found.
        EXPECT_EQ((std::vector<std::string>{"2"}), group(table, two));
        EXPECT_EQ("2", table.find("a")->second);
        EXPECT_EQ("2", Table(table).find("a")->second);
    }
}

TEST(GroupedTable, ErasingAnswersTheNextEntry) {
    Table table;
    const Key a = make_key("a");
    insert(table, a, "1");
    const Table::iterator second = insert(table, a, "2");
    insert(table, a, "3");
    const Table::iterator next = table.erase(second);
    EXPECT_EQ("3", next->second);
    EXPECT_TRUE(table.erase(next) == table.end());
    EXPECT_EQ((std::vector<std::string>{"1"}), group(table, a));
    EXPECT_TRUE(table.erase(table.end()) == table.end());
    EXPECT_EQ(1u, table.size());
}

TEST(GroupedTable, AGroupSurvivesTheLossOfItsFirstAndOfItsLastEntry) {
    Table table;
    const Key a = make_key("a");
    for (const char* value : {"1", "2", "3", "4"}) {
        insert(table, a, value);
    }
    table.erase(find(table, a));
    table.erase(std::next(find(table, a), 2));
    insert(table, a, "5");
    EXPECT_EQ((std::vector<std::string>{"2", "3", "5"}), group(table, a));
}

/// A value whose copy can fail.
struct Fragile {
    bool fails = false;
    Fragile() = default;
    explicit Fragile(bool failing) : fails(failing) {}
    Fragile(const Fragile& source) : fails(source.fails) {
        if (armed && fails) throw std::runtime_error("copied");
    }
    Fragile& operator=(const Fragile&) = default;
    static bool armed;
};
bool Fragile::armed = false;

TEST(GroupedTable, AFailedCopyLeavesNothingBehind) {
    qx::detail::GroupedTable<Fragile> table;
    const Key key = make_key("a");
    for (int i = 0; i < 20; ++i) {
        table.insert(key, Fragile(i == 15));
    }
    Fragile::armed = true;
    EXPECT_THROW(qx::detail::GroupedTable<Fragile> copy(table), std::runtime_error);
    EXPECT_THROW(table.insert(key, Fragile(true)), std::runtime_error);
    Fragile::armed = false;
    EXPECT_EQ(20u, table.size());
    EXPECT_EQ(21u, key->use_count());
}

TEST(GroupedTable, ManyEntriesAreDestroyedOneAfterTheOther) {
    const Key key = make_key("a");
    {
        qx::detail::GroupedTable<int> table;
        for (int i = 0; i < 300000; ++i) {
            table.insert(key, i);
        }
        EXPECT_EQ(300001u, key->use_count());
    }
    EXPECT_EQ(1u, key->use_count());
}

// ----- Random sequences against a simple model
// ----------------------------------------------------

/// The entries of each key, in order of insertion, with the place where the value lies in memory.
class Model {
public:
    struct Entry {
        Key key;
        std::string value;
        const std::string* address;
    };

    std::vector<Entry> entries;

    std::size_t first(const Key& key) const {
        const auto same = [&](const Entry& entry) { return entry.key == key; };
        return static_cast<std::size_t>(std::find_if(entries.begin(), entries.end(), same) -
                                        entries.begin());
    }
    std::vector<Entry> of(const Key& key) const {
        std::vector<Entry> found;
        std::copy_if(entries.begin(), entries.end(), std::back_inserter(found),
                     [&](const Entry& entry) { return entry.key == key; });
        return found;
    }
};

void expect_same(const Table& table, const Model& model, const std::vector<Key>& keys,
                 bool sameAddresses) {
    ASSERT_EQ(model.entries.size(), table.size());
    ASSERT_EQ(static_cast<std::ptrdiff_t>(table.size()), std::distance(table.begin(), table.end()));
    for (const Key& key : keys) {
        const std::vector<Model::Entry> wanted = model.of(key);
        auto it = find(table, key);
        for (const Model::Entry& entry : wanted) {
            ASSERT_TRUE(it != table.end());
            ASSERT_EQ(key, it->first);
            ASSERT_EQ(entry.value, it->second);
            ASSERT_EQ(sameAddresses, entry.address == &it->second);
            ++it;
        }
        if (wanted.empty()) {
            ASSERT_TRUE(it == table.end());
        } else {
            ASSERT_TRUE(it == table.end() || it->first != key);
        }
    }
}

void run_against_model(unsigned seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](std::size_t bound) {
        return static_cast<std::size_t>(random() % static_cast<unsigned>(bound));
    };
    std::vector<Key> keys;
    for (std::size_t i = 0, count = 1 + below(60); i < count; ++i) {
        // Half of them share their first 12 characters and so the hash of a key.
        const std::string text = (i % 2 == 0 ? "k" : "abcdefghijkl") + std::to_string(i);
        keys.push_back(make_key(text.c_str()));
    }
    Table table;
    Model model;
    for (int step = 0; step < 400; ++step) {
        const Key& key = keys[below(keys.size())];
        switch (below(10)) {
        case 0:
        case 1: { // erase the first of a key
            const auto it = find(table, key);
            if (it == table.end()) break;
            table.erase(it);
            model.entries.erase(model.entries.begin() +
                                static_cast<std::ptrdiff_t>(model.first(key)));
            break;
        }
        case 2: { // erase any entry
            if (table.empty()) break;
            const auto it =
                std::next(table.begin(), static_cast<std::ptrdiff_t>(below(table.size())));
            const std::string* address = &it->second;
            table.erase(it);
            model.entries.erase(
                std::find_if(model.entries.begin(), model.entries.end(),
                             [&](const Model::Entry& entry) { return entry.address == address; }));
            break;
        }
        case 3: { // a copy is the same; in memory it is another
            if (step % 4 != 0) break;
            Table copy(table);
            expect_same(copy, model, keys, false);
            Table assigned;
            insert(assigned, key, "gone");
            assigned = copy;
            expect_same(assigned, model, keys, false);
            copy.clear();
            EXPECT_TRUE(copy.empty());
            EXPECT_TRUE(copy.begin() == copy.end());
            break;
        }
        case 4: { // swapped there and back
            Table other;
            other.swap(table);
            EXPECT_TRUE(table.empty());
            table.swap(other);
            break;
        }
        default: {
            const std::string value = std::to_string(step);
            const auto it = insert(table, key, value);
            model.entries.push_back({key, value, &it->second});
        }
        }
        expect_same(table, model, keys, true);
        if (testing::Test::HasFatalFailure()) return;
    }
}

TEST(GroupedTable, BehavesLikeASimpleModelOverRandomSequences) {
    for (unsigned seed = 0; seed < 15; ++seed) {
        run_against_model(seed);
        if (HasFatalFailure()) return;
    }
}

} // namespace
