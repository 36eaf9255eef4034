// SPDX-License-Identifier: MIT
#include "json/Object.h"

#include "core/StringPool.h"
#include "schema/Schema.h"
#include "support/BoundValue.h"
#include "support/ValueProbe.h"
#include "json/JsonParser.h"
#include "json/Path.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

static_assert(std::is_base_of_v<qx::PooledStringMap<json::Variant>, json::Object>);
static_assert(std::is_base_of_v<qx::IntrusiveObject, json::Object>);

namespace {

using json::Variant;
using Key = boost::intrusive_ptr<qx::IntrusiveString>;
using ObjectPtr = boost::intrusive_ptr<json::Object>;
using ListPtr = boost::intrusive_ptr<json::List>;

/// Opens what the parser and subclasses of an object see.
struct ObjectProbe : json::Object {
    ObjectProbe() = default;
    explicit ObjectProbe(const json::Object& source) : json::Object(source) {}

    using json::Object::auto_value_for;
    using json::Object::insert_new;
    using json::Object::update_parent;
    using json::Object::update_parents;
    using json::Object::update_schema;
    using json::Object::update_schemas;

    /// Adds an entry whatever is there, as the parser does.
    ObjectProbe& add(const char* key, const Variant& value) {
        insert_new(key_pool().intern(key), value);
        return *this;
    }
};

Variant integer(std::int64_t value) { return Variant::fromInteger(value); }
Variant text(const char* value) { return Variant(value, -1); }

ObjectPtr object_of(std::initializer_list<std::pair<const char*, Variant>> entries) {
    const boost::intrusive_ptr<ObjectProbe> object(new ObjectProbe);
    for (const auto& entry : entries) {
        object->add(entry.first, entry.second);
    }
    return object;
}

std::vector<std::string> texts_of(const std::vector<Key>& keys) {
    std::vector<std::string> texts;
    for (const Key& key : keys) {
        texts.emplace_back(key ? key->c_str() : "");
    }
    return texts;
}

std::vector<std::string> sorted(std::vector<std::string> texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
}

using Texts = std::vector<std::string>;

std::string sorted_json(const json::Object& object) {
    std::string result;
    std::vector<Key> keys;
    object.sorted_keys(keys);
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    for (const Key& key : keys) {
        for (auto entry = object.find(key); entry != object.end();
             entry = object.findNext(entry, 1)) {
            result += std::string(result.empty() ? "" : " ") + key->c_str() + ":" +
                      json_of(entry->second);
        }
    }
    return result;
}

/// Whether each entry has this very object as its parent: it finds them by address.
bool all_linked(const json::Object& object) {
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        Variant& value = const_cast<Variant&>(entry->second);
        if (!value.hasObjectParent()) return false;
        if (value.keyInParent().get() != entry->first.get()) return false;
    }
    return true;
}

bool none_linked(const json::Object& object) {
    return std::none_of(object.begin(), object.end(),
                        [](const auto& entry) { return entry.second.hasParent(); });
}

bool all_bound(const json::Object& object) {
    return std::all_of(object.begin(), object.end(),
                       [](const auto& entry) { return is_sticky(entry.second); });
}

bool none_bound(const json::Object& object) {
    return std::none_of(object.begin(), object.end(),
                        [](const auto& entry) { return is_sticky(entry.second); });
}

void forget_bindings(const json::Object& object) {
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        set_sticky(entry->second, false);
    }
}

// --- Construction and copying

TEST(Object, StartsEmptyUncountedAndWithoutAnOwner) {
    json::Object object;
    EXPECT_TRUE(object.empty());
    EXPECT_EQ(0u, object.size());
    EXPECT_EQ(0u, object.use_count());
    EXPECT_EQ(nullptr, owner_of(object));
    EXPECT_FALSE(object.dirty());
    EXPECT_EQ(&json::Schema::Empty, &object.schema());
}

TEST(Object, KeepsItsKeysInTheGlobalPool) {
    json::Object object;
    object.setValue("a key", integer(1));
    EXPECT_EQ(object.begin()->first.get(), json::Object::key_pool().intern("a key").get());
    EXPECT_EQ(&json::Object::key_pool(), &json::Object::key_pool());
}

// The copy constructor doesn't link, the assignment does: a repair that made them alike would fail
// here or in the next test.
TEST(Object, CopiesItsEntriesWithoutLinkingThem) {
    BoundObject source{{"a", integer(1)}, {"b", integer(2)}};
    ASSERT_TRUE(all_linked(source.object()));
    json::Object copy(source.object());
    EXPECT_EQ("a:1 b:2", sorted_json(copy));
    EXPECT_TRUE(none_linked(copy));
    EXPECT_TRUE(none_bound(copy));
    EXPECT_EQ(nullptr, owner_of(copy));
    EXPECT_EQ(0u, copy.use_count());
    EXPECT_EQ(&source.value, owner_of(source.object()));
}

TEST(Object, LinksTheEntriesThatItIsAssigned) {
    BoundObject target{{"z", integer(9)}};
    const ObjectPtr source = object_of({{"a", integer(1)}, {"a", integer(2)}, {"b", integer(3)}});
    EXPECT_EQ(&target.object(), &(target.object() = *source));
    EXPECT_EQ("a:1 a:2 b:3", sorted_json(target.object()));
    EXPECT_TRUE(all_linked(target.object()));
    EXPECT_TRUE(none_bound(target.object()));
    EXPECT_FALSE(target.value.dirty());
    EXPECT_EQ(&target.value, owner_of(target.object()));
    EXPECT_EQ(target.object().end(), target.object().find("z"));
}

TEST(Object, StaysAsItIsWhenAssignedToItself) {
    const ObjectPtr object = object_of({{"a", integer(1)}, {"a", integer(2)}});
    json::Object& same = *object;
    *object = same;
    EXPECT_EQ("a:1 a:2", sorted_json(*object));
    EXPECT_TRUE(all_linked(*object));
}

// --- Lookups

TEST(Object, LooksUpTheFirstEntryOfAKey) {
    const ObjectPtr object = object_of({{"a", integer(1)}, {"b", integer(3)}, {"a", integer(2)}});
    EXPECT_EQ(3u, object->size());
    EXPECT_EQ(1, (*object)["a"].integerValue());
    EXPECT_EQ(1, std::as_const(*object)["a"].integerValue());
    EXPECT_EQ("a:1 a:2 b:3", sorted_json(*object));
}

TEST(Object, AnswersNullForAMissingKeyAndAddsNothing) {
    const ObjectPtr object = object_of({{"a", integer(1)}});
    const Variant& missing = std::as_const(*object)["missing"];
    EXPECT_TRUE(missing.isNull());
    EXPECT_FALSE(missing.autoValue());
    EXPECT_NE(&Variant::EmptyAutoValue, &missing);
    EXPECT_EQ(1u, object->size());
}

TEST(Object, TakesTheDefaultOfAMissingKeyFromItsOwnersSchema) {
    const BoundObject bound;
    EXPECT_EQ(&json::Schema::EmptyPtr->autoValue(), &bound.object()["missing"]);
    EXPECT_TRUE(bound.object()["missing"].autoValue());
    const ObjectProbe loose;
    const Variant& missing = loose.auto_value_for(json::Object::key_pool().intern("missing"));
    EXPECT_TRUE(missing.isNull());
    EXPECT_NE(&Variant::EmptyAutoValue, &missing);
}

TEST(Object, AddsAMissingKeyThatIsWritten) {
    BoundObject bound;
    Variant& added = bound.object()["a"];
    EXPECT_TRUE(added.isNull());
    EXPECT_FALSE(added.autoValue()) << "a copy doesn't take the mark";
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_TRUE(all_linked(bound.object()));
    EXPECT_TRUE(all_bound(bound.object()));
    bound.value.setDirty(false);
    EXPECT_EQ(&added, &bound.object()["a"]);
    EXPECT_FALSE(bound.value.dirty());
}

TEST(Object, HasTheSchemaOfItsOwner) {
    const BoundObject bound;
    EXPECT_EQ(&bound.value.schema(), &bound.object().schema());
}

// --- Entering values

TEST(Object, MarksBindsAndLinksWhatIsInserted) {
    BoundObject bound;
    const boost::intrusive_ptr<ObjectProbe> probe(new ObjectProbe);
    bound.value = ObjectPtr(probe);
    clear_marks(bound.value);
    probe->add("a", integer(1));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_TRUE(all_linked(*probe));
    EXPECT_TRUE(all_bound(*probe));
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &std::as_const(*probe)["a"].schema());
    clear_marks(bound.value);
    probe->add("a", integer(2));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_EQ("a:1 a:2", sorted_json(*probe));
}

TEST(Object, MarksBindsAndLinksWhatIsUpdated) {
    BoundObject bound{{"a", integer(1)}, {"b", integer(2)}};
    forget_bindings(bound.object());
    const auto entry = bound.object().setValue("a", integer(5));
    EXPECT_EQ(5, entry->second.integerValue());
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_TRUE(is_sticky(entry->second));
    EXPECT_FALSE(is_sticky(std::as_const(bound).object()["b"]));
    EXPECT_TRUE(all_linked(bound.object()));
    EXPECT_EQ(2u, bound.object().size());
}

// Unlike a list, an object without an owner leaves its values unbound.
TEST(Object, LeavesItsValuesUnboundWithoutAnOwner) {
    const ObjectPtr object = object_of({{"a", integer(1)}});
    object->setValue("b", integer(2));
    EXPECT_TRUE(none_bound(*object));
    EXPECT_EQ(&json::Schema::Empty, &std::as_const(*object)["a"].schema());
    EXPECT_TRUE(all_linked(*object));
    EXPECT_FALSE(object->dirty());
}

TEST(Object, SetsTheFirstEntryOfARepeatedKey) {
    const ObjectPtr object = object_of({{"a", integer(1)}, {"a", integer(2)}});
    object->setValue("a", integer(9));
    EXPECT_EQ("a:9 a:2", sorted_json(*object));
}

TEST(Object, LeavesItsOwnerUnmarkedWhenItErases) {
    BoundObject bound{{"a", integer(1)}, {"b", integer(2)}, {"c", integer(2)}};
    bound.object().erase(bound.object().find("a"));
    EXPECT_EQ("b:2 c:2", sorted_json(bound.object()));
    EXPECT_FALSE(bound.value.dirty());
    EXPECT_EQ(2, bound.object().removeValue(integer(2)));
    EXPECT_TRUE(bound.object().empty());
    EXPECT_FALSE(bound.value.dirty());
    bound.value.setDirty(true);
    bound.object().setValue("a", integer(1));
    bound.object().erase(bound.object().find("a"));
    EXPECT_TRUE(bound.value.dirty());
}

TEST(Object, MarksItsOwnerWhenItRenames) {
    BoundObject bound{{"a", integer(1)}};
    EXPECT_TRUE(bound.object().rename("a", "b"));
    EXPECT_EQ("b:1", sorted_json(bound.object()));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_TRUE(all_linked(bound.object()));
    EXPECT_FALSE(bound.object().rename("a", "c"));
}

TEST(Object, ForwardsAMarkToItsOwner) {
    BoundObject bound;
    bound.object().setDirty(true);
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_TRUE(bound.object().dirty());
    bound.object().setDirty(false);
    EXPECT_FALSE(bound.object().dirty());
    json::Object loose;
    loose.setDirty(true);
    EXPECT_FALSE(loose.dirty());
}

// --- Adding another object

TEST(Object, SetsEachEntryOfAnotherObject) {
    BoundObject bound{{"a", integer(1)}, {"b", integer(2)}};
    const ObjectPtr other = object_of({{"b", integer(8)}, {"c", integer(9)}});
    EXPECT_EQ(&bound.object(), &(bound.object() += *other));
    EXPECT_EQ("a:1 b:8 c:9", sorted_json(bound.object()));
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_TRUE(all_linked(bound.object()));
}

TEST(Object, TakesTheLastEntryOfARepeatedKeyFromAnotherObject) {
    const ObjectPtr other = object_of({{"a", integer(1)}, {"a", integer(2)}, {"a", integer(3)}});
    json::Object lacking;
    lacking += *other;
    EXPECT_EQ("a:3", sorted_json(lacking));
    const ObjectPtr twice = object_of({{"a", integer(7)}, {"a", integer(8)}});
    *twice += *other;
    EXPECT_EQ("a:3 a:8", sorted_json(*twice));
}

TEST(Object, BindsItsEntriesAgainWhenNothingIsAdded) {
    BoundObject bound{{"a", integer(1)}, {"b", integer(2)}};
    forget_bindings(bound.object());
    bound.object() += json::Object();
    EXPECT_TRUE(all_bound(bound.object()));
    EXPECT_FALSE(bound.value.dirty());
    EXPECT_EQ("a:1 b:2", sorted_json(bound.object()));
    const ObjectPtr loose = object_of({{"a", integer(1)}});
    *loose += json::Object();
    EXPECT_TRUE(none_bound(*loose));
}

TEST(Object, AddsItself) {
    const ObjectPtr object = object_of({{"a", integer(1)}, {"b", integer(2)}});
    *object += *object;
    EXPECT_EQ("a:1 b:2", sorted_json(*object));
    const ObjectPtr twice = object_of({{"a", integer(1)}, {"a", integer(2)}});
    *twice += *twice;
    EXPECT_EQ("a:2 a:2", sorted_json(*twice));
}

// --- Equality

TEST(Object, ComparesGroupsOfEqualKeys) {
    struct Row {
        ObjectPtr left;
        ObjectPtr right;
        bool equal;
        const char* why;
    };
    const Row rows[] = {
        {object_of({}), object_of({}), true, "both empty"},
        {object_of({{"a", integer(1)}, {"b", integer(2)}}),
         object_of({{"b", integer(2)}, {"a", integer(1)}}), true, "another order of arrival"},
        {object_of({{"a", integer(1)}}), object_of({{"a", integer(2)}}), false, "another value"},
        {object_of({{"a", integer(1)}}), object_of({{"b", integer(1)}}), false, "another key"},
        {object_of({{"a", integer(1)}}), object_of({}), false, "another size"},
        {object_of({{"a", integer(1)}, {"a", integer(2)}}),
         object_of({{"a", integer(1)}, {"a", integer(2)}}), true, "a group in order"},
        {object_of({{"a", integer(1)}, {"a", integer(2)}}),
         object_of({{"a", integer(2)}, {"a", integer(1)}}), false, "a group in another order"},
        {object_of({{"a", integer(1)}, {"a", integer(1)}}),
         object_of({{"a", integer(1)}, {"b", integer(1)}}), false, "groups of other lengths"},
        {object_of({{"a", integer(5)}}), object_of({{"a", text("5")}}), true,
         "values by the rule of the left"},
        {object_of({{"a", text("5")}}), object_of({{"a", integer(5)}}), false,
         "values by the rule of the left"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.equal, *row.left == *row.right) << row.why;
        EXPECT_EQ(!row.equal, *row.left != *row.right) << row.why;
    }
}

// Identity decides here, while a comparison of two values goes by text.
TEST(Object, MatchesNoKeyOfAnotherPool) {
    json::Object::KeyPool pool;
    json::Object foreign;
    static_cast<json::Object::Map&>(foreign).qx::PooledStringMap<Variant>::operator=(
        qx::PooledStringMap<Variant>(pool, Variant::Empty));
    foreign.setValue("a", integer(1));
    json::Object own;
    own.setValue("a", integer(1));
    EXPECT_FALSE(own == foreign);
    EXPECT_EQ(0, compare(Variant(own), Variant(foreign)));
    foreign = own;
    EXPECT_TRUE(own == foreign) << "the pool is taken over, too";
}

// --- Views

TEST(Object, FindsTheKeyOfAValue) {
    const ObjectPtr object = object_of({{"a", integer(1)}, {"b", integer(2)}});
    ASSERT_NE(nullptr, object->keyOf(integer(2)).get());
    EXPECT_STREQ("b", object->keyOf(integer(2))->c_str());
    EXPECT_EQ(nullptr, object->keyOf(integer(3)).get());
    const Variant& entry = std::as_const(*object)["a"];
    EXPECT_STREQ("a", object->keyOf(&entry)->c_str());
    const Variant copy(entry);
    EXPECT_EQ(nullptr, object->keyOf(&copy).get());
    const ObjectPtr twins = object_of({{"a", integer(5)}, {"b", integer(5)}});
    EXPECT_STREQ("b", twins->keyOf(&std::as_const(*twins)["b"])->c_str());
    EXPECT_EQ(twins->begin()->first.get(), twins->keyOf(integer(5)).get());
    const ObjectPtr loose = object_of({{"a", integer(5)}});
    EXPECT_STREQ("a", loose->keyOf(text("5"))->c_str()) << "with the entry on the left";
}

TEST(Object, AppendsOneKeyPerEntry) {
    const ObjectPtr object = object_of({{"b", integer(1)}, {"a", integer(2)}, {"b", integer(3)}});
    std::vector<Key> keys(3);
    EXPECT_EQ(6u, object->keys(keys));
    ASSERT_EQ(6u, keys.size());
    EXPECT_EQ(nullptr, keys[2].get());
    EXPECT_EQ((Texts{"a", "b", "b"}),
              sorted(texts_of(std::vector<Key>(keys.begin() + 3, keys.end()))));
    std::size_t place = 3;
    for (auto entry = object->begin(); entry != object->end(); ++entry) {
        EXPECT_EQ(entry->first.get(), keys[place++].get());
    }
}

TEST(Object, SortsKeysBySignedBytesTogetherWithWhatIsThere) {
    const ObjectPtr object = object_of({{"b", integer(1)},
                                        {"a", integer(2)},
                                        {"\xc3\xa9", integer(3)},
                                        {"B", integer(4)},
                                        {"ab", integer(5)},
                                        {"a", integer(6)}});
    std::vector<Key> keys;
    keys.emplace_back(new qx::IntrusiveString("aa"));
    keys.emplace_back();
    EXPECT_EQ(8u, object->sorted_keys(keys));
    EXPECT_EQ((Texts{"\xc3\xa9", "", "B", "a", "a", "aa", "ab", "b"}), texts_of(keys));
}

TEST(Object, AppendsItsValuesUnlinked) {
    const ObjectPtr object = object_of({{"a", integer(1)}, {"a", integer(2)}});
    json::List out;
    out << integer(0);
    EXPECT_EQ(3u, object->values(out));
    EXPECT_EQ("[0,1,2]", json_of(Variant(out)));
    EXPECT_FALSE(std::as_const(out)[2].hasParent());
}

TEST(Object, AppendsItsEntries) {
    const ObjectPtr object = object_of({{"a", integer(1)}, {"a", integer(2)}});
    std::vector<std::pair<Key, Variant>> out(1);
    EXPECT_EQ(3u, object->entries(out));
    ASSERT_EQ(3u, out.size());
    EXPECT_STREQ("a", out[1].first->c_str());
    EXPECT_EQ(1, out[1].second.integerValue());
    EXPECT_EQ(2, out[2].second.integerValue());
    EXPECT_FALSE(out[1].second.hasParent());
}

TEST(Object, KeepsRepeatedKeysOfAParsedText) {
    Variant value;
    std::istringstream in("{\"k\": 1, \"x\": 3, \"k\": 2}");
    ASSERT_TRUE(value.read(in));
    const json::Object& object = std::as_const(value).objectValue();
    EXPECT_EQ(3u, object.size());
    EXPECT_EQ(1, object["k"].integerValue());
    std::vector<Key> keys;
    object.sorted_keys(keys);
    EXPECT_EQ((Texts{"k", "k", "x"}), texts_of(keys));
    EXPECT_EQ("k:1 k:2 x:3", sorted_json(object));
}

// --- Paths

TEST(Object, SelectsByAPath) {
    const ObjectPtr object = object_of({{"a", integer(1)}});
    EXPECT_EQ(1, std::as_const(*object).select(json::Path("a")).integerValue());
    EXPECT_EQ(&Variant::Empty, &std::as_const(*object).select(json::Path("b")));
    EXPECT_EQ(1u, object->size());
    object->select(json::Path("b")) = 2;
    EXPECT_EQ("a:1 b:2", sorted_json(*object));
}

TEST(Object, InsertsAtAPath) {
    BoundObject bound{{"a", Variant::newObject()}};
    Variant& inserted = bound.object().insertAt(json::Path("a.b"), integer(5));
    EXPECT_EQ(5, inserted.integerValue());
    EXPECT_EQ("a:{\"b\":5}", sorted_json(bound.object()));
    EXPECT_EQ(&inserted, &std::as_const(bound.value)["a"]["b"]);
    bound.object().insertAt(json::Path("c"), integer(6));
    EXPECT_EQ("a:{\"b\":5} c:6", sorted_json(bound.object()));
    EXPECT_TRUE(bound.value.dirty());
}

TEST(Object, AssignsNothingAtAPathThatMisses) {
    json::Object object;
    EXPECT_EQ(&Variant::Empty, &object.insertAt(json::Path("a.b.c"), integer(5)));
    EXPECT_EQ("a:null", sorted_json(object));
    EXPECT_EQ(&Variant::Empty, &object.insertAt(json::Path(), integer(5)));
    EXPECT_TRUE(Variant::Empty.isNull());
    EXPECT_FALSE(Variant::Empty.dirty());
}

// --- Deep copies and text

TEST(Object, DeepCopiesItsValues) {
    const ObjectPtr source = object_of({{"a", text("text")}, {"b", Variant::newObject()}});
    json::Object copy;
    EXPECT_EQ(&copy, &copy.deepCopy(source.get()));
    EXPECT_EQ("a:\"text\" b:{}", sorted_json(copy));
    EXPECT_TRUE(all_linked(copy));
    const json::Object& from = *source;
    const json::Object& to = copy;
    EXPECT_NE(&from["a"].stringValue(), &to["a"].stringValue());
    EXPECT_NE(&from["b"].objectValue(), &to["b"].objectValue());
    json::Object own(*source);
    own.deepCopy(nullptr);
    EXPECT_NE(&from["a"].stringValue(), &std::as_const(own)["a"].stringValue());
    const qx::IntrusiveString* before = &std::as_const(own)["a"].stringValue();
    own.deepCopy(&own);
    EXPECT_NE(before, &std::as_const(own)["a"].stringValue());
    EXPECT_EQ("a:\"text\" b:{}", sorted_json(own));
}

TEST(Object, PrintsAndWrites) {
    const ObjectPtr object = object_of({{"a", integer(1)}});
    EXPECT_STREQ("{\"a\":1}", object->print(false).c_str());
    EXPECT_STREQ("{\n\t\"a\": 1\n}\n", object->print(true).c_str());
    std::ostringstream compact;
    EXPECT_TRUE(object->write(compact, false));
    EXPECT_EQ("{\"a\":1}", compact.str());
    std::ostringstream pretty;
    EXPECT_TRUE(object->write(pretty, true));
    EXPECT_EQ("{\n\t\"a\": 1\n}\n", pretty.str());
}

// A value streams compact, an object pretty.
TEST(Object, StreamsIndentedTextWhereAValueStreamsCompactText) {
    const ObjectPtr object = object_of({{"a", integer(1)}});
    std::ostringstream out;
    out << *object;
    EXPECT_EQ("{\n\t\"a\": 1\n}\n", out.str());
    std::ostringstream value;
    value << Variant(object);
    EXPECT_EQ("{\"a\":1}", value.str());
}

TEST(Object, ReadsItsEntriesFromAStream) {
    BoundObject bound{{"z", integer(9)}};
    ValueProbe::shared_parser().reset();
    std::istringstream in("{\"a\": 1, \"a\": 2}");
    EXPECT_TRUE(bound.object().read(in));
    EXPECT_EQ("a:1 a:2", sorted_json(bound.object()));
    EXPECT_TRUE(all_linked(bound.object()));
    EXPECT_FALSE(bound.value.dirty());
    ValueProbe::shared_parser().reset();
    std::istringstream list("[1]");
    EXPECT_TRUE(bound.object().read(list));
    EXPECT_TRUE(bound.object().empty());
    ValueProbe::shared_parser().reset();
}

// A value resets the shared parser before it reads, an object doesn't: a repair that did would
// read the second text here.
TEST(Object, ReadDoesNotResetTheSharedParser) {
    json::Object object;
    ValueProbe::shared_parser().reset();
    std::istringstream first("{\"a\": 1}");
    EXPECT_TRUE(object.read(first));
    std::istringstream second("{\"b\": 1}");
    EXPECT_FALSE(object.read(second));
    EXPECT_TRUE(object.empty());
    ValueProbe::shared_parser().reset();
}

// --- Helpers of subclasses

TEST(Object, LinksAndBindsForItsSubclasses) {
    const boost::intrusive_ptr<ObjectProbe> object(
        new ObjectProbe(*object_of({{"a", integer(1)}})));
    ASSERT_TRUE(none_linked(*object));
    object->update_parent(object->begin());
    EXPECT_TRUE(all_linked(*object));
    object->add("b", integer(2));
    object->update_parents(object->begin(), object->end());
    EXPECT_TRUE(all_linked(*object));
    object->update_schemas(object->begin(), object->end());
    object->update_schema(object->begin());
    EXPECT_TRUE(none_bound(*object)) << "no owner";
    Variant owner;
    owner.attachSchema(any_schema());
    owner = ObjectPtr(object);
    forget_bindings(*object);
    object->update_schema(object->find("a"));
    EXPECT_TRUE(is_sticky(object->find("a")->second));
    EXPECT_FALSE(is_sticky(object->find("b")->second));
    object->update_schemas(object->begin(), object->end());
    EXPECT_TRUE(all_bound(*object));
}

TEST(Object, IsDestroyedThroughItsVirtualDestructor) {
    struct Counted : json::Object {
        explicit Counted(int& deaths) : deaths_(deaths) {}
        ~Counted() override { ++deaths_; }
        int& deaths_;
    };
    int deaths = 0;
    {
        const ObjectPtr object(new Counted(deaths));
        Variant value(object);
        value = 5;
        EXPECT_EQ(0, deaths);
    }
    EXPECT_EQ(1, deaths);
}

// --- Arguments that lie inside

TEST(Object, TakesArgumentsThatLieInside) {
    struct Row {
        const char* what;
        std::function<void(json::Object&)> change;
        const char* expected;
    };
    const Row rows[] = {
        {"setValue", [](json::Object& object) { object.setValue("a", object["b"]); },
         "a:\"y\" b:\"y\""},
        {"setValue new", [](json::Object& object) { object.setValue("c", object["b"]); },
         "a:\"x\" b:\"y\" c:\"y\""},
        {"setValue to itself", [](json::Object& object) { object.setValue("a", object["a"]); },
         "a:\"x\" b:\"y\""},
        {"entry", [](json::Object& object) { object["a"] = object["b"]; }, "a:\"y\" b:\"y\""},
        {"insertAt", [](json::Object& object) { object.insertAt(json::Path("c"), object["a"]); },
         "a:\"x\" b:\"y\" c:\"x\""},
        {"removeValue", [](json::Object& object) { object.removeValue(object["a"]); }, "b:\"y\""},
    };
    for (const Row& row : rows) {
        const ObjectPtr object = object_of({{"a", text("x")}, {"b", text("y")}});
        row.change(*object);
        EXPECT_EQ(row.expected, sorted_json(*object)) << row.what;
    }
}

TEST(Object, RemovesAllValuesThatEqualOneOfThem) {
    const ObjectPtr object =
        object_of({{"a", integer(1)}, {"b", integer(1)}, {"c", integer(2)}, {"d", integer(1)}});
    EXPECT_EQ(3, object->removeValue((*object)["a"]));
    EXPECT_EQ("c:2", sorted_json(*object));
}

} // namespace
