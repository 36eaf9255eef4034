// SPDX-License-Identifier: MIT
#include "schema/Schema.h"
#include "support/BoundValue.h"
#include "support/Sanitized.h"
#include "support/ValueProbe.h"
#include "json/Variant.h"

#include <cstddef>
#include <string>
#include <utility>

namespace {

using json::Variant;

// Slower by ten under a sanitizer: as telling.
const std::size_t levels = test::kSanitized ? 100000 : test::share_of(1000000);
const std::size_t fewer = test::kSanitized ? 30000 : 100000; // still more than a stack takes

/// What a level of a deep tree is.
enum class Shape { Lists, Objects, Mixed };

bool is_list_level(Shape shape, std::size_t level) {
    return shape == Shape::Lists || (shape == Shape::Mixed && level % 2 == 0);
}

/// Built from the inside out, as one would wrap values.
Variant deep_value(Shape shape, int innermost, std::size_t count = fewer) {
    Variant value(innermost);
    for (std::size_t level = 0; level < count; ++level) {
        Variant outer;
        if (is_list_level(shape, level)) {
            outer << value;
        } else {
            outer["k"] = value;
        }
        value = outer;
    }
    return value;
}

/// Levels above the innermost value, walked without recursion.
std::size_t depth_of(const Variant& root) {
    std::size_t depth = 0;
    const Variant* value = &root;
    while (value->isComposite()) {
        value = value->isList() ? &(*value)[0] : &(*value)["k"];
        ++depth;
    }
    return depth;
}

const Variant& innermost(const Variant& root) {
    const Variant* value = &root;
    while (value->isComposite()) {
        value = value->isList() ? &(*value)[0] : &(*value)["k"];
    }
    return *value;
}

class DeepValue : public testing::TestWithParam<Shape> {};

TEST_P(DeepValue, IsBuiltCopiedComparedAndDestroyed) {
    Variant value = deep_value(GetParam(), 5, levels);
    EXPECT_EQ(levels, depth_of(value));
    Variant copy(value);
    Variant deepCopy;
    deepCopy.deepCopy(&value);
    value = copy;
    copy = 1;
    EXPECT_TRUE(value == deepCopy);
    value = Variant();
    EXPECT_EQ(levels, depth_of(deepCopy));
    EXPECT_TRUE(innermost(deepCopy) == 5);
}

TEST_P(DeepValue, IsBuiltFromTheOutside) {
    Variant value;
    Variant* place = &value;
    for (std::size_t level = 0; level < levels; ++level) {
        place = is_list_level(GetParam(), level) ? &(*place)[0] : &(*place)["k"];
    }
    *place = 5;
    EXPECT_EQ(levels, depth_of(value));
}

TEST_P(DeepValue, SharesNothingWhenItIsCopiedDeeply) {
    const Variant value = deep_value(GetParam(), 5);
    Variant own(value);
    own.deepCopy(nullptr);
    EXPECT_NE(&innermost(value), &innermost(own));
    EXPECT_TRUE(innermost(own) == 5);
}

TEST_P(DeepValue, IsCompared) {
    const Variant left = deep_value(GetParam(), 5);
    const Variant same = deep_value(GetParam(), 5);
    EXPECT_TRUE(left == same);
    const Variant other = deep_value(GetParam(), 6);
    // Lists are equal by their size alone: only a tree of objects shows what lies inside.
    EXPECT_EQ(GetParam() == Shape::Objects, left != other);
}

TEST_P(DeepValue, IsComparedAsAContainer) {
    const Variant left = deep_value(GetParam(), 5);
    const Variant same = deep_value(GetParam(), 5);
    if (left.isList()) {
        EXPECT_TRUE(left.listValue() == same.listValue());
    } else {
        EXPECT_TRUE(left.objectValue() == same.objectValue());
        const Variant other = deep_value(GetParam(), 6);
        EXPECT_EQ(GetParam() == Shape::Objects, left.objectValue() != other.objectValue());
    }
}

TEST_P(DeepValue, IsAssignedWhereAnEqualOneStands) {
    Variant value = deep_value(GetParam(), 5);
    const Variant same = deep_value(GetParam(), 5);
    value.setDirty(true);
    if (same.isList()) {
        value = same.listPtr();
    } else {
        value = same.objectPtr();
    }
    EXPECT_FALSE(value.dirty());
    EXPECT_EQ(fewer, depth_of(value));
}

TEST_P(DeepValue, IsBoundToASchema) {
    const Variant value = deep_value(GetParam(), 5);
    value.attachSchema(any_schema());
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &innermost(value).schema());
    EXPECT_TRUE(is_sticky(innermost(value)));
    const Variant other = deep_value(GetParam(), 5);
    Variant list;
    list << other;
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &innermost(list).schema());
}

TEST_P(DeepValue, IsWrittenWhenItIsShared) {
    Variant value = deep_value(GetParam(), 5);
    const Variant copy(value);
    Variant* place = &value;
    while (place->isComposite()) {
        place = place->isList() ? &(*place)[0] : &(*place)["k"];
    }
    *place = 6;
    EXPECT_EQ(fewer, depth_of(value));
    EXPECT_TRUE(innermost(value) == 6);
}

TEST_P(DeepValue, IsReplacedByAPartOfItself) {
    Variant value = deep_value(GetParam(), 5);
    for (int times = 0; times < 1000; ++times) {
        const Variant& whole = value;
        value = whole.isList() ? whole[0] : whole["k"];
    }
    EXPECT_EQ(fewer - 1000, depth_of(value));
    value.convertToEmptyObject();
    EXPECT_EQ(0u, value.size());
}

TEST_P(DeepValue, IsDestroyedInsideAContainer) {
    const Variant value = deep_value(GetParam(), 5);
    json::List list;
    list << Variant().deepCopy(&value) << Variant(1);
    list.remove(0);
    list << Variant().deepCopy(&value);
    list.pop_back();
    json::Object object;
    object.setValue("a", Variant().deepCopy(&value));
    object.erase(object.find("a"));
    object.setValue("b", Variant().deepCopy(&value));
    object = json::Object();
    EXPECT_EQ(fewer, depth_of(value));
}

std::string name_of(const testing::TestParamInfo<Shape>& shape) {
    const char* const names[] = {"Lists", "Objects", "Mixed"};
    return names[static_cast<int>(shape.param)];
}

INSTANTIATE_TEST_SUITE_P(OfEveryShape, DeepValue,
                         testing::Values(Shape::Lists, Shape::Objects, Shape::Mixed), name_of);

/// Classes of an application that look at their entries to the last.
template <typename Container>
struct Watched : Container {
    explicit Watched(std::size_t* sizeAtTheEnd) : found(sizeAtTheEnd) {}
    ~Watched() override { *found = this->size(); }
    std::size_t* found;
};

TEST(DestroyedValue, AContainerOfAnApplicationsClassFindsItsEntriesInItsDestructor) {
    std::size_t inObject = 0;
    std::size_t inList = 0;
    {
        Variant object(boost::intrusive_ptr<json::Object>(new Watched<json::Object>(&inObject)));
        Variant list(boost::intrusive_ptr<json::List>(new Watched<json::List>(&inList)));
        list << 1 << 2;
        object["a"] = deep_value(Shape::Mixed, 1, 10);
        object["b"] = list;
    }
    EXPECT_EQ(2u, inObject);
    EXPECT_EQ(2u, inList);
}

/// A class of an application that looks for its owner to the last.
template <typename Container>
struct Asking : Container {
    explicit Asking(int* without) : withoutAnOwner(without) {}
    ~Asking() override {
        const Container& own = *this;
        Container::setDirty(true);
        if (!own.dirty() && &own.schema() == &json::Schema::Empty) ++*withoutAnOwner;
    }
    int* withoutAnOwner;
};

TEST(DestroyedValue, AContainerOfAnApplicationsClassFindsNoOwnerInItsDestructor) {
    int asked = 0;
    {
        Variant tree;
        tree["a"]["b"] = boost::intrusive_ptr<json::Object>(new Asking<json::Object>(&asked));
        tree["a"]["c"] = boost::intrusive_ptr<json::List>(new Asking<json::List>(&asked));
        tree["d"] << boost::intrusive_ptr<json::List>(new Asking<json::List>(&asked));
        tree["d"] << boost::intrusive_ptr<json::Object>(new Asking<json::Object>(&asked));
    }
    EXPECT_EQ(4, asked);
}

TEST(DestroyedValue, WhatIsStillHeldElsewhereOutlivesItsContainer) {
    const auto text = boost::intrusive_ptr<qx::IntrusiveString>(new qx::IntrusiveString("text"));
    Variant kept;
    {
        Variant tree;
        tree["list"] << 1 << Variant(text) << deep_value(Shape::Mixed, 7, 10);
        tree["list"] << deep_value(Shape::Objects, 8, 10);
        kept = std::as_const(tree)["list"][2];
    }
    EXPECT_EQ(1u, text->use_count());
    EXPECT_TRUE(innermost(kept) == 7);
}

} // namespace
