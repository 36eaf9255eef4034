// SPDX-License-Identifier: MIT
#include "json/Variant.h"

#include "schema/Schema.h"
#include "support/BoundValue.h"
#include "support/ValueProbe.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"

#include <cstddef>
#include <sstream>
#include <string>
#include <utility>

namespace {

using json::Type;
using json::Variant;
using StringPtr = boost::intrusive_ptr<qx::IntrusiveString>;
using ObjectPtr = boost::intrusive_ptr<json::Object>;
using ListPtr = boost::intrusive_ptr<json::List>;
using SchemaPtr = boost::intrusive_ptr<json::Schema>;

Variant list_of_numbers(int first, int last) {
    json::List result;
    for (int number = first; number <= last; ++number) {
        result << Variant(number);
    }
    return Variant::fromList(result);
}

Variant nested_list() {
    json::List result;
    result << list_of_numbers(1, 2) << Variant("text", -1);
    return Variant::fromList(result);
}

// --- Copies share

TEST(VariantSharing, SharesThePayloadWithACopy) {
    const Variant list = list_of_numbers(1, 2);
    Variant copy(list);
    EXPECT_EQ(&list.listValue(), &std::as_const(copy).listValue());
    const Variant text("text", -1);
    copy = text;
    EXPECT_EQ(&text.stringValue(), &std::as_const(copy).stringValue());
    const Variant object = Variant::newObject();
    const Variant objectCopy(object);
    EXPECT_EQ(&object.objectValue(), &objectCopy.objectValue());
}

TEST(VariantSharing, CountsEachHolderOfAPayload) {
    const ListPtr list(new json::List);
    Variant first(list);
    EXPECT_EQ(2u, list->use_count());
    {
        const Variant second(first);
        EXPECT_EQ(3u, list->use_count());
    }
    EXPECT_EQ(2u, list->use_count());
    first = 5;
    EXPECT_EQ(1u, list->use_count());
}

TEST(VariantSharing, GivesTheWriterAListOfItsOwn) {
    const Variant source = list_of_numbers(1, 2);
    Variant writer;
    writer = source;
    EXPECT_EQ(&source.listValue(), &std::as_const(writer).listValue());
    writer[0] = 9;
    EXPECT_NE(&source.listValue(), &std::as_const(writer).listValue());
    EXPECT_EQ("[9,2]", json_of(writer));
    EXPECT_EQ("[1,2]", json_of(source));
}

TEST(VariantSharing, LetsEveryHolderSeeTheWriteOfAStickyValue) {
    Variant source = list_of_numbers(1, 2);
    set_sticky(source, true);
    Variant other;
    other = source;
    source[0] = 9;
    EXPECT_EQ("[9,2]", json_of(other));
    EXPECT_EQ(&std::as_const(source).listValue(), &std::as_const(other).listValue());
    other[0] = 5;
    EXPECT_EQ("[9,2]", json_of(source)) << "the copy isn't sticky";
}

TEST(VariantSharing, KeepsAnUnsharedPayloadWhenItIsWritten) {
    Variant list = list_of_numbers(1, 2);
    const json::List* payload = &std::as_const(list).listValue();
    list[0] = 9;
    EXPECT_EQ(payload, &std::as_const(list).listValue());
    Variant object = Variant::newObject();
    const json::Object* entries = &std::as_const(object).objectValue();
    object["a"] = 1;
    EXPECT_EQ(entries, &std::as_const(object).objectValue());
}

TEST(VariantSharing, ClonesOneLevelOnly) {
    const Variant source = nested_list();
    Variant writer(source);
    writer << Variant(1);
    EXPECT_NE(&source.listValue(), &std::as_const(writer).listValue());
    EXPECT_EQ(&source[0].listValue(), &std::as_const(writer)[0].listValue());
    EXPECT_EQ(&source[1].stringValue(), &std::as_const(writer)[1].stringValue());
}

TEST(VariantSharing, ClonesANestedContainerWhenAWriteReachesIt) {
    Variant inner = Variant::newObject();
    inner["a"] = 1;
    Variant source = Variant::newObject();
    source["inner"] = inner;
    Variant writer(source);
    writer["inner"]["a"] = 2;
    EXPECT_EQ("{\"inner\":{\"a\":2}}", json_of(writer));
    EXPECT_EQ("{\"inner\":{\"a\":1}}", json_of(source));
    EXPECT_EQ("{\"a\":1}", json_of(inner));
}

TEST(VariantSharing, NeverClonesForARead) {
    const Variant source = nested_list();
    Variant copy(source);
    const Variant& reader = copy;
    static_cast<void>(reader[0]);
    static_cast<void>(reader.listValue());
    static_cast<void>(reader.listPtr());
    static_cast<void>(reader.size());
    static_cast<void>(reader.stringValue());
    static_cast<void>((copy.*&ValueProbe::constListRef)());
    EXPECT_EQ(&source.listValue(), &reader.listValue());
}

TEST(VariantSharing, LeavesAnEarlierReferenceInTheOldPayload) {
    Variant writer = list_of_numbers(1, 2);
    json::List& early = writer.listValue();
    const Variant reader(writer);
    early << Variant(3);
    EXPECT_EQ("[1,2,3]", json_of(reader)) << "a plain reference knows nothing of sharing";
    EXPECT_EQ("[1,2,3]", json_of(writer));
    writer << Variant(4);
    early << Variant(5);
    EXPECT_EQ("[1,2,3,4]", json_of(writer));
    EXPECT_EQ("[1,2,3,5]", json_of(reader));
}

TEST(VariantSharing, LeavesElementsOfACloneWithoutParents) {
    Variant source = list_of_numbers(1, 2);
    source[0] = 7;
    Variant writer(source);
    static_cast<void>(writer.listValue());
    EXPECT_FALSE(std::as_const(writer)[0].hasParent());
    EXPECT_FALSE(std::as_const(writer)[1].hasParent());
    Variant object = Variant::newObject();
    object["a"] = 1;
    Variant objectWriter(object);
    static_cast<void>(objectWriter.objectValue());
    EXPECT_FALSE(std::as_const(objectWriter)["a"].hasParent());
    EXPECT_TRUE(std::as_const(object)["a"].hasParent());
}

TEST(VariantSharing, CopiesForAWriteOnlyWhatIsSharedAndNotSticky) {
    const ListPtr list(new json::List);
    ValueProbe value;
    EXPECT_FALSE(value.copyForWrite(list.get()));
    const ListPtr second(list);
    EXPECT_TRUE(value.copyForWrite(list.get()));
    value.setSticky(true);
    EXPECT_FALSE(value.copyForWrite(list.get()));
}

TEST(VariantSharing, TurnsCopyOnWriteOffAndOn) {
    ValueProbe value;
    EXPECT_FALSE(value.isSticky());
    value.enableCopyOnWrite(false);
    EXPECT_TRUE(value.isSticky());
    value.enableCopyOnWrite(true);
    EXPECT_FALSE(value.isSticky());
    value.setSticky(true);
    EXPECT_TRUE(value.isSticky());
    value.setSticky(false);
    EXPECT_FALSE(value.isSticky());
}

// --- Marks

TEST(VariantSharing, MarksDirtyAndPrintDirtyTogether) {
    const Variant value(5);
    EXPECT_FALSE(value.dirty());
    EXPECT_FALSE(is_print_dirty(value));
    value.setDirty(true);
    EXPECT_TRUE(value.dirty());
    EXPECT_TRUE(is_print_dirty(value));
}

TEST(VariantSharing, ClearsDirtyAlone) {
    const Variant value(5);
    value.setDirty(true);
    value.setDirty(false);
    EXPECT_FALSE(value.dirty());
    EXPECT_TRUE(is_print_dirty(value));
}

TEST(VariantSharing, GivesTheOldPrintMarkWhenItIsReset) {
    const ValueProbe value;
    EXPECT_FALSE(value.resetPrintDirty());
    value.setPrintDirty();
    EXPECT_FALSE(value.dirty());
    EXPECT_TRUE(value.resetPrintDirty());
    EXPECT_FALSE(value.resetPrintDirty());
}

TEST(VariantSharing, ClearsThePrintMarkOfANonStringWhenItsTextIsRead) {
    const Variant number(5);
    number.setDirty(true);
    static_cast<void>(number.stringValue());
    EXPECT_FALSE(is_print_dirty(number));
    EXPECT_TRUE(number.dirty());
    const Variant text("text", -1);
    text.setDirty(true);
    static_cast<void>(text.stringValue());
    EXPECT_TRUE(is_print_dirty(text));
}

TEST(VariantSharing, MarksAndClearsAConstantValueAsAnAutoValue) {
    const Variant value(5);
    set_auto_value(value, true);
    EXPECT_TRUE(value.autoValue());
    set_auto_value(value, false);
    EXPECT_FALSE(value.autoValue());
    set_auto_value(value, true);
    value.clearAutoValue();
    EXPECT_FALSE(value.autoValue());
    EXPECT_FALSE(value.dirty());
}

TEST(VariantSharing, CopiesNeitherTheAutoMarkNorStickiness) {
    Variant source(5);
    set_auto_value(source, true);
    set_sticky(source, true);
    const Variant constructed(source);
    EXPECT_FALSE(constructed.autoValue());
    EXPECT_FALSE(is_sticky(constructed));
    Variant assigned;
    assigned = source;
    EXPECT_FALSE(assigned.autoValue());
    EXPECT_FALSE(is_sticky(assigned));
}

TEST(VariantSharing, KeepsTheAutoMarkAndStickinessOfATarget) {
    Variant target(5);
    set_auto_value(target, true);
    set_sticky(target, true);
    target = Variant(6);
    EXPECT_TRUE(target.autoValue());
    EXPECT_TRUE(is_sticky(target));
    target = 7;
    EXPECT_TRUE(target.autoValue());
    EXPECT_TRUE(is_sticky(target));
}

TEST(VariantSharing, SetsTheAutoMarkInItsMarkingCopy) {
    Variant source(5);
    set_auto_value(source, true);
    const ValueProbe marked(source, true);
    EXPECT_TRUE(marked.autoValue());
    EXPECT_TRUE(marked.dirty());
    EXPECT_FALSE(is_print_dirty(marked)) << "printed at once";
    EXPECT_STREQ("5", marked.charsValue());
    const ValueProbe plain(source, false);
    EXPECT_FALSE(plain.autoValue());
    const ValueProbe text(Variant("text", -1), true);
    EXPECT_TRUE(is_print_dirty(text)) << "it has its text already";
}

// --- copyFrom and release

TEST(VariantSharing, CopiesFromAnotherValueWithoutParentAutoMarkAndStickiness) {
    json::List elements;
    elements << Variant(1);
    const Variant& element = elements[0];
    set_auto_value(element, true);
    ValueProbe target;
    target.copyFrom(element);
    EXPECT_EQ(1, target.integerValue());
    EXPECT_FALSE(target.hasParent());
    EXPECT_FALSE(target.autoValue());
    EXPECT_FALSE(target.isSticky());
    EXPECT_TRUE(target.dirty());
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &target.schema());
}

TEST(VariantSharing, CopiesNoPrintedText) {
    const Variant source(5);
    source.stringPtr();
    Variant edited(source);
    static_cast<void>(edited.stringValue());
    edited.stringValue() = "edited";
    const Variant copy(edited);
    EXPECT_STREQ("5", copy.charsValue());
    EXPECT_NE(&std::as_const(edited).stringValue(), &copy.stringValue());
}

TEST(VariantSharing, TakesTheSchemaOfItsSourceOnlyWhenItHasNone) {
    const SchemaPtr first = any_schema();
    const SchemaPtr second = any_schema();
    Variant source(5);
    source.attachSchema(first);
    Variant unbound;
    unbound = source;
    EXPECT_EQ(first.get(), &unbound.schema());
    EXPECT_FALSE(is_sticky(unbound));
    Variant bound;
    bound.attachSchema(second);
    bound = source;
    EXPECT_EQ(second.get(), &bound.schema());
    const Variant copy(source);
    EXPECT_EQ(first.get(), &copy.schema());
    EXPECT_FALSE(is_sticky(copy));
    bound = Variant(7);
    EXPECT_EQ(second.get(), &bound.schema()) << "an unbound source unbinds nothing";
}

TEST(VariantSharing, OwnsWhatItCopiesWhenItIsBoundAndSticky) {
    Variant bound;
    bound.attachSchema(any_schema());
    const Variant source = list_of_numbers(1, 2);
    bound = source;
    EXPECT_EQ(&bound, owner_of(source.listValue()));
    Variant boundToo;
    boundToo.attachSchema(any_schema());
    boundToo = bound;
    EXPECT_EQ(&boundToo, owner_of(source.listValue()));
    Variant object = Variant::newObject();
    bound = object;
    EXPECT_EQ(&bound, owner_of(std::as_const(object).objectValue()));
}

TEST(VariantSharing, OwnsAContainerWithoutAnOwnerEvenWhenNotSticky) {
    Variant bound;
    bound.attachSchema(any_schema());
    set_sticky(bound, false);
    const ListPtr list(new json::List);
    bound = list;
    EXPECT_EQ(&bound, owner_of(*list));
}

TEST(VariantSharing, LeavesTheFirstOwnerWhenASecondValueTakesTheContainer) {
    BoundList first;
    Variant second;
    second.attachSchema(any_schema());
    second = first.value.listPtr();
    EXPECT_EQ(&first.value, owner_of(first.list()));
    Variant third;
    third = first.value;
    EXPECT_EQ(&first.value, owner_of(std::as_const(third).listValue()));
    BoundObject object;
    second = object.value.objectPtr();
    EXPECT_EQ(&object.value, owner_of(object.object()));
}

TEST(VariantSharing, LetsGoOfWhatItHoldsWhenReleased) {
    const ListPtr list(new json::List);
    ValueProbe value;
    value = list;
    const SchemaPtr schema = any_schema();
    value.attachSchema(schema);
    EXPECT_EQ(&value, owner_of(*list));
    set_auto_value(value, true);
    value.release();
    EXPECT_EQ(nullptr, owner_of(*list));
    EXPECT_EQ(1u, list->use_count());
    EXPECT_EQ(Type::List, value.type());
    EXPECT_EQ(schema.get(), &value.schema());
    EXPECT_TRUE(value.isSticky());
    EXPECT_TRUE(value.autoValue());
    EXPECT_EQ("[]", json_of(value));
}

TEST(VariantSharing, KeepsAScalarWhenReleased) {
    ValueProbe value(5);
    EXPECT_STREQ("5", value.charsValue());
    value.release();
    EXPECT_EQ(5, value.integerValue());
    EXPECT_STREQ("5", value.charsValue());
}

TEST(VariantSharing, StopsOwningWhenItDies) {
    const ListPtr list(new json::List);
    const ObjectPtr object(new json::Object);
    {
        Variant first;
        first.attachSchema(any_schema());
        first = list;
        Variant second;
        second.attachSchema(any_schema());
        second = object;
        EXPECT_EQ(&first, owner_of(*list));
        EXPECT_EQ(&second, owner_of(*object));
    }
    EXPECT_EQ(nullptr, owner_of(*list));
    EXPECT_EQ(nullptr, owner_of(*object));
}

TEST(VariantSharing, StopsOwningWhenItTakesAnotherContent) {
    const ListPtr list(new json::List);
    for (const Variant& content :
         {Variant(), Variant(5), Variant("text", -1), Variant::newObject(), Variant::newList()}) {
        Variant value;
        value.attachSchema(any_schema());
        value = list;
        ASSERT_EQ(&value, owner_of(*list));
        value = content;
        EXPECT_EQ(nullptr, owner_of(*list)) << json_of(content);
    }
    Variant value;
    value.attachSchema(any_schema());
    value = list;
    value = 5;
    EXPECT_EQ(nullptr, owner_of(*list));
    value = list;
    value.convertToObject();
    EXPECT_EQ(nullptr, owner_of(*list));
}

TEST(VariantSharing, LeavesTheLinkOfAnotherOwner) {
    BoundList owner;
    {
        Variant other;
        other = owner.value.listPtr();
    }
    EXPECT_EQ(&owner.value, owner_of(owner.list()));
}

// --- Owners

TEST(VariantSharing, OwnsNothingWithoutASchema) {
    ValueProbe value(list_of_numbers(1, 2));
    value.attach_owner();
    EXPECT_EQ(nullptr, owner_of(std::as_const(value).listValue()));
    static_cast<void>(value.listValue());
    EXPECT_EQ(nullptr, owner_of(std::as_const(value).listValue()));
}

TEST(VariantSharing, OwnsItsContainerOnceASchemaIsBound) {
    Variant list = list_of_numbers(1, 2);
    list.attachSchema(any_schema());
    EXPECT_EQ(&list, owner_of(std::as_const(list).listValue()));
    Variant object = Variant::newObject();
    object.attachSchema(any_schema());
    EXPECT_EQ(&object, owner_of(std::as_const(object).objectValue()));
    ValueProbe detached;
    detached = list.listPtr();
    detached.detach_owner();
    EXPECT_EQ(&list, owner_of(std::as_const(list).listValue())) << "only its owner detaches it";
    (list.*&ValueProbe::detach_owner)();
    EXPECT_EQ(nullptr, owner_of(std::as_const(list).listValue()));
}

TEST(VariantSharing, BindsTheElementsOfWhatItOwns) {
    Variant object = Variant::newObject();
    object["a"] = 1;
    object["b"] = list_of_numbers(1, 1);
    EXPECT_EQ(&json::Schema::Empty, &std::as_const(object)["a"].schema());
    EXPECT_FALSE(is_sticky(std::as_const(object)["a"]));
    object.attachSchema(any_schema());
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &std::as_const(object)["a"].schema());
    EXPECT_TRUE(is_sticky(std::as_const(object)["a"]));
    const Variant& inner = std::as_const(object)["b"];
    EXPECT_EQ(&inner, owner_of(inner.listValue()));
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &inner[0].schema());
}

TEST(VariantSharing, OwnsTheContainerThatItBuildsOnFirstUse) {
    ValueProbe list;
    list.setType(Type::List, true);
    list.attachSchema(any_schema());
    EXPECT_EQ(static_cast<const Variant*>(&list), owner_of(*list.constListRef()));
    ValueProbe object;
    object.setType(Type::Object, true);
    object.attachSchema(any_schema());
    EXPECT_EQ(static_cast<const Variant*>(&object), owner_of(*object.constObjectRef()));
    ValueProbe written;
    written.setType(Type::List, true);
    written.attachSchema(any_schema());
    EXPECT_EQ(static_cast<const Variant*>(&written), owner_of(*written.listRef()));
}

TEST(VariantSharing, MovesOwnershipToTheCloneThatItWrites) {
    ValueProbe value(list_of_numbers(1, 2));
    value.attachSchema(any_schema());
    value.setSticky(false);
    const ListPtr old = value.listPtr();
    const Variant other(old);
    ASSERT_EQ(static_cast<const Variant*>(&value), owner_of(*old));
    json::List* own = value.listRef();
    EXPECT_NE(old.get(), own);
    EXPECT_EQ(nullptr, owner_of(*old));
    EXPECT_EQ(static_cast<const Variant*>(&value), owner_of(*own));
    EXPECT_EQ(own, value.listRef()) << "unshared now";
    ValueProbe object;
    object = ObjectPtr(new json::Object);
    object.attachSchema(any_schema());
    object.setSticky(false);
    const ObjectPtr oldObject = object.objectPtr();
    json::Object* ownObject = object.objectRef();
    EXPECT_NE(oldObject.get(), ownObject);
    EXPECT_EQ(nullptr, owner_of(*oldObject));
    EXPECT_EQ(static_cast<const Variant*>(&object), owner_of(*ownObject));
}

TEST(VariantSharing, WritesThroughTheElementsOfAListInPlace) {
    // An element that went through a list is sticky: it edits what others share with it.
    const Variant inner = list_of_numbers(1, 2);
    Variant outer = Variant::newList();
    outer << inner;
    outer[0][0] = 9;
    EXPECT_EQ("[[9,2]]", json_of(outer));
    EXPECT_EQ("[9,2]", json_of(inner));
}

// A repair that linked again would own the list here.
TEST(VariantSharing, AttachingTheSameSchemaAgainDoesNotRelinkTheContainer) {
    const boost::intrusive_ptr<json::Schema> schema(new json::Schema);
    Variant value = Variant::newList();
    value << Variant(1);
    value.attachSchema(schema);
    const Variant& element = std::as_const(value)[0];
    set_sticky(element, false);
    (value.*&ValueProbe::detach_owner)();
    value.attachSchema(schema);
    EXPECT_EQ(nullptr, owner_of(std::as_const(value).listValue())) << "not linked again";
    EXPECT_FALSE(is_sticky(element));
}

// --- Dirtiness upward

TEST(VariantSharing, MarksTheOwnerOfAChangedContainerAndNobodyAbove) {
    Variant top = Variant::newObject();
    top["inner"] = Variant::newObject();
    top.attachSchema(any_schema());
    const Variant& inner = std::as_const(top)["inner"];
    clear_marks(top);
    clear_marks(inner);
    top["inner"]["a"] = 1;
    EXPECT_TRUE(inner.dirty());
    EXPECT_FALSE(top.dirty());
    EXPECT_TRUE(inner.objectValue().dirty());
    EXPECT_FALSE(std::as_const(top).objectValue().dirty());
}

TEST(VariantSharing, MarksAnAssignedElementAlone) {
    BoundList bound;
    bound.list() << Variant(1);
    clear_marks(bound.value);
    clear_marks(std::as_const(bound.value)[0]);
    bound.value[0] = 2;
    EXPECT_TRUE(std::as_const(bound.value)[0].dirty());
    EXPECT_FALSE(bound.value.dirty());
}

TEST(VariantSharing, LeavesNoMarkWithoutAnOwner) {
    Variant value = Variant::newList();
    clear_marks(value);
    value << Variant(1);
    EXPECT_FALSE(value.dirty());
    EXPECT_FALSE(std::as_const(value).listValue().dirty());
    value.setDirty(true);
    EXPECT_FALSE(std::as_const(value).listValue().dirty());
}

TEST(VariantSharing, ShowsTheOwnersDirtyMarkOnItsContainer) {
    BoundList list;
    EXPECT_FALSE(list.list().dirty());
    list.value.setDirty(true);
    EXPECT_TRUE(list.list().dirty());
    BoundObject object;
    EXPECT_FALSE(object.object().dirty());
    object.value.setDirty(true);
    EXPECT_TRUE(object.object().dirty());
}

// --- Parents

TEST(VariantSharing, HasNoParentByItself) {
    Variant value(5);
    EXPECT_FALSE(value.hasParent());
    EXPECT_FALSE(value.hasListParent());
    EXPECT_FALSE(value.hasObjectParent());
    EXPECT_EQ(nullptr, value.listParent().get());
    EXPECT_EQ(nullptr, value.objectParent().get());
    EXPECT_EQ(nullptr, value.parent());
    EXPECT_EQ(-1, value.indexInParent());
    EXPECT_EQ(nullptr, value.keyInParent().get());
}

TEST(VariantSharing, KnowsItsListAndItsPlaceThere) {
    const ListPtr list(new json::List);
    *list << Variant(5) << Variant(5) << Variant(5);
    static_cast<void>(list->resize(3, Variant()));
    json::List copy;
    copy = *list;
    Variant& element = copy[1];
    EXPECT_TRUE(element.hasParent());
    EXPECT_TRUE(element.hasListParent());
    EXPECT_FALSE(element.hasObjectParent());
    EXPECT_EQ(1, element.indexInParent());
    EXPECT_EQ(2, copy[2].indexInParent());
    EXPECT_EQ(nullptr, element.keyInParent().get());
    EXPECT_EQ(nullptr, element.objectParent().get());
    EXPECT_EQ(nullptr, element.parent()) << "the list has no owner";
}

TEST(VariantSharing, KnowsItsObjectAndItsKeyThere) {
    const ObjectPtr object(new json::Object);
    object->setValue("a", Variant(5));
    object->setValue("b", Variant(5));
    Variant& element = (*object)["b"];
    EXPECT_TRUE(element.hasParent());
    EXPECT_TRUE(element.hasObjectParent());
    EXPECT_FALSE(element.hasListParent());
    ASSERT_NE(nullptr, element.keyInParent().get());
    EXPECT_STREQ("b", element.keyInParent()->c_str());
    EXPECT_EQ(object.get(), element.objectParent().get());
    EXPECT_EQ(nullptr, element.listParent().get());
    EXPECT_EQ(-1, element.indexInParent());
    EXPECT_EQ(nullptr, element.parent());
}

TEST(VariantSharing, GivesNoPointerToAContainerThatNothingCounts) {
    json::Object object;
    object.setValue("a", Variant(5));
    EXPECT_EQ(nullptr, object["a"].objectParent().get());
    json::List list;
    static_cast<void>(list.resize(1, Variant()));
    EXPECT_EQ(nullptr, list[0].listParent().get());
    EXPECT_EQ(5, object["a"].integerValue());
}

TEST(VariantSharing, GivesItsListAsACountedPointer) {
    const ListPtr list(new json::List);
    *list << Variant(5);
    const ListPtr parent = (*list)[0].listParent();
    EXPECT_EQ(list.get(), parent.get());
    EXPECT_EQ(2u, list->use_count());
}

TEST(VariantSharing, HasTheOwnerOfItsContainerAsParent) {
    BoundList list;
    list.list() << Variant(1);
    EXPECT_EQ(&list.value, std::as_const(list.value)[0].parent());
    BoundObject object;
    object.object().setValue("a", Variant(1));
    EXPECT_EQ(&object.value, std::as_const(object.value)["a"].parent());
}

TEST(VariantSharing, SetsOneKindOfParentAtATime) {
    json::List list;
    json::Object object;
    ValueProbe value;
    value.setParent(&list);
    EXPECT_TRUE(value.hasListParent());
    EXPECT_FALSE(value.hasObjectParent());
    value.setParent(&object);
    EXPECT_FALSE(value.hasListParent());
    EXPECT_TRUE(value.hasObjectParent());
    value.setParent(static_cast<json::List*>(nullptr));
    EXPECT_FALSE(value.hasParent());
    value.setParent(&list);
    value.setParent(static_cast<json::Object*>(nullptr));
    EXPECT_FALSE(value.hasParent());
}

TEST(VariantSharing, NeverCopiesAParent) {
    json::Object object;
    object.setValue("a", Variant(5));
    const Variant copy(object["a"]);
    EXPECT_FALSE(copy.hasParent());
    Variant assigned;
    assigned = object["a"];
    EXPECT_FALSE(assigned.hasParent());
    object["a"] = Variant(6);
    EXPECT_TRUE(object["a"].hasObjectParent()) << "assigning keeps the element's parent";
}

TEST(VariantSharing, KeepsTheParentsOfEntriesWhileAnObjectGrows) {
    json::Object object;
    object.setValue("first", Variant(1));
    const Variant* first = &std::as_const(object)["first"];
    for (int number = 0; number < 200; ++number) {
        object.setValue(std::to_string(number).c_str(), Variant(number));
    }
    EXPECT_EQ(first, &std::as_const(object)["first"]);
    EXPECT_TRUE(first->hasObjectParent());
    EXPECT_STREQ("first", object["first"].keyInParent()->c_str());
}

TEST(VariantSharing, LosesParentsStickinessAndOwnersWhenAListGrows) {
    json::List list;
    list << list_of_numbers(1, 2);
    const Variant* before = &std::as_const(list)[0];
    const ListPtr inner = std::as_const(list)[0].listPtr();
    EXPECT_EQ(before, owner_of(*inner));
    EXPECT_TRUE(is_sticky(*before));
    before->setDirty(false);
    while (&std::as_const(list)[0] == before) {
        list << Variant(7);
    }
    const Variant& moved = std::as_const(list)[0];
    EXPECT_FALSE(moved.hasParent());
    EXPECT_FALSE(is_sticky(moved));
    EXPECT_TRUE(moved.dirty());
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &moved.schema());
    EXPECT_EQ(nullptr, owner_of(*inner));
    EXPECT_EQ(inner.get(), &moved.listValue());
    const Variant& last = std::as_const(list)[list.size() - 1];
    EXPECT_TRUE(last.hasListParent());
    EXPECT_TRUE(is_sticky(last));
}

// Growth goes 1, 2, 4, 8, as that of the standard vector: who counts links counts on it.
TEST(VariantSharing, KeepsTheParentsOfTheElementsBehindTheLastGrowth) {
    json::List list;
    std::string linked;
    for (int i = 0; i < 9; ++i) {
        list << Variant(i);
        for (const Variant& element : std::as_const(list)) {
            linked += element.hasParent() ? '1' : '0';
        }
        linked += ' ';
    }
    EXPECT_EQ("1 01 001 0011 00001 000011 0000111 00001111 000000001 ", linked);
}

// --- Printed text

TEST(VariantSharing, PrintsANumberOnceUntilItChanges) {
    Variant value(5);
    const qx::IntrusiveString* first = &std::as_const(value).stringValue();
    EXPECT_EQ(first, &std::as_const(value).stringValue());
    value = 6;
    EXPECT_STREQ("6", value.charsValue());
}

TEST(VariantSharing, PrintsAgainWhenItIsMarked) {
    Variant value(5);
    value.stringValue() = "edited";
    EXPECT_STREQ("edited", value.charsValue());
    value.setDirty(true);
    EXPECT_STREQ("5", value.charsValue());
    value.stringValue() = "edited";
    (value.*&ValueProbe::setPrintDirty)();
    EXPECT_STREQ("5", value.charsValue());
}

// A container's text is as fresh as its mark, and without a schema nobody marks it: a repair that
// printed afresh each time would fail here.
TEST(VariantSharing, KeepsTheFirstPrintedTextOfAContainerWithoutASchema) {
    Variant list = list_of_numbers(1, 2);
    EXPECT_STREQ("[1,2]", list.charsValue());
    list[0] = 9;
    list << Variant(3);
    EXPECT_STREQ("[1,2]", list.charsValue());
    EXPECT_EQ("[1,2]", text_of(list));
    EXPECT_EQ("[9,2,3]", json_of(list));
    Variant object = Variant::newObject();
    EXPECT_STREQ("{}", object.charsValue());
    object["a"] = 1;
    EXPECT_STREQ("{}", object.charsValue());
    EXPECT_EQ("{\"a\":1}", json_of(object));
}

TEST(VariantSharing, RefreshesThePrintedTextOfAContainerThroughItsOwner) {
    BoundList bound;
    EXPECT_STREQ("[]", bound.value.charsValue());
    bound.list() << Variant(1);
    EXPECT_STREQ("[1]", bound.value.charsValue());
    bound.value[0] = 2;
    EXPECT_STREQ("[1]", bound.value.charsValue()) << "an element marks itself alone";
}

TEST(VariantSharing, UnsharesThePrintedTextThatItGivesForWriting) {
    Variant value(5);
    const StringPtr held = std::as_const(value).stringPtr();
    value.stringValue() = "edited";
    EXPECT_STREQ("5", held->c_str());
    EXPECT_STREQ("edited", value.charsValue());
    Variant text("text", -1);
    const StringPtr kept = std::as_const(text).stringPtr();
    EXPECT_NE(kept.get(), text.stringPtr().get());
    set_sticky(text, true);
    const StringPtr shared = std::as_const(text).stringPtr();
    EXPECT_EQ(shared.get(), text.stringPtr().get()) << "sticky: written in place";
}

TEST(VariantSharing, GivesAStringForWritingWithoutAMark) {
    Variant text("text", -1);
    clear_marks(text);
    static_cast<void>(text.stringValue());
    EXPECT_FALSE(text.dirty());
    EXPECT_FALSE(is_print_dirty(text));
}

// --- deepCopy

TEST(VariantSharing, SharesNothingAfterADeepCopy) {
    Variant source = Variant::newObject();
    source["list"] = nested_list();
    source["text"] = "text";
    Variant copy;
    EXPECT_EQ(&copy, &copy.deepCopy(&source));
    EXPECT_EQ(json_of(source).size(), json_of(copy).size());
    const Variant& from = source;
    const Variant& to = copy;
    EXPECT_NE(&from.objectValue(), &to.objectValue());
    EXPECT_NE(&from["text"].stringValue(), &to["text"].stringValue());
    EXPECT_NE(&from["list"].listValue(), &to["list"].listValue());
    EXPECT_NE(&from["list"][0].listValue(), &to["list"][0].listValue());
    EXPECT_NE(&from["list"][1].stringValue(), &to["list"][1].stringValue());
    EXPECT_EQ("[[1,2],\"text\"]", json_of(to["list"]));
    EXPECT_EQ("text", text_of(to["text"]));
}

TEST(VariantSharing, UnsharesItselfByADeepCopyOfNothing) {
    const Variant source = nested_list();
    Variant copy(source);
    EXPECT_EQ(&copy, &copy.deepCopy(nullptr));
    EXPECT_NE(&source.listValue(), &std::as_const(copy).listValue());
    EXPECT_NE(&source[0].listValue(), &std::as_const(copy)[0].listValue());
    Variant own(source);
    own.deepCopy(&own);
    EXPECT_NE(&source.listValue(), &std::as_const(own).listValue());
    EXPECT_EQ("[[1,2],\"text\"]", json_of(own));
}

TEST(VariantSharing, UnsharesThePrintedTextInADeepCopy) {
    Variant value(5);
    const StringPtr held = std::as_const(value).stringPtr();
    value.deepCopy(nullptr);
    EXPECT_NE(held.get(), std::as_const(value).stringPtr().get());
    EXPECT_STREQ("5", value.charsValue());
}

TEST(VariantSharing, OwnsTheCopiesThatADeepCopyMakes) {
    Variant value = nested_list();
    value.attachSchema(any_schema());
    const ListPtr old = value.listPtr();
    value.deepCopy(nullptr);
    EXPECT_EQ(nullptr, owner_of(*old));
    EXPECT_EQ(&value, owner_of(std::as_const(value).listValue()));
}

// A container that isn't built yet differs from an empty one, so that assigning one would mark it.
TEST(VariantSharing, ADeepCopyBuildsWhatWasNotBuiltYet) {
    for (const Type type : {Type::List, Type::Object}) {
        Variant source = list_of_numbers(1, 1);
        (source[0].*&ValueProbe::setType)(type, false);
        Variant copy;
        copy.deepCopy(&source);
        ASSERT_TRUE(copy[0].dirty());
        if (type == Type::List) {
            copy[0] = json::List();
        } else {
            copy[0] = json::Object();
        }
        EXPECT_FALSE(copy[0].dirty()) << Variant::typeName(type);
    }
}

TEST(VariantSharing, DeepCopiesAScalarAsACopy) {
    const Variant source(5);
    Variant copy;
    copy.deepCopy(&source);
    EXPECT_EQ(5, copy.integerValue());
    EXPECT_TRUE(copy.dirty());
}

// --- Printing and reading

TEST(VariantSharing, PrintsANewStringThatTheCallerOwns) {
    const Variant value = list_of_numbers(1, 2);
    qx::IntrusiveString* text = value.print(false);
    EXPECT_EQ(0u, text->use_count());
    const StringPtr owned(text);
    EXPECT_STREQ("[1,2]", owned->c_str());
    qx::IntrusiveString out("before");
    value.print(out, false);
    EXPECT_STREQ("[1,2]", out.c_str());
}

TEST(VariantSharing, IndentsAPrettyTextByATab) {
    Variant value = Variant::newObject();
    value["b"] = list_of_numbers(1, 2);
    value["a"] = "text";
    const char* expected = "{\n"
                           "\t\"a\": \"text\",\n"
                           "\t\"b\": [\n"
                           "\t\t1,\n"
                           "\t\t2\n"
                           "\t]\n"
                           "}\n";
    const StringPtr text(value.print(true));
    EXPECT_STREQ(expected, text->c_str());
    qx::IntrusiveString out;
    value.print(out, true);
    EXPECT_STREQ(expected, out.c_str());
    std::ostringstream stream;
    EXPECT_TRUE(value.write(stream, true));
    EXPECT_EQ(expected, stream.str());
}

TEST(VariantSharing, WritesToAStream) {
    std::ostringstream stream;
    EXPECT_TRUE(list_of_numbers(1, 2).write(stream, false));
    EXPECT_TRUE(Variant("x", -1).write(stream, false));
    EXPECT_EQ("[1,2]\"x\"", stream.str());
}

TEST(VariantSharing, PrintsNullAsAWord) {
    EXPECT_EQ("null", json_of(Variant()));
    EXPECT_STREQ("", Variant().charsValue());
}

TEST(VariantSharing, PrintsAfreshEachTime) {
    Variant value = list_of_numbers(1, 2);
    EXPECT_EQ("[1,2]", json_of(value));
    value[0] = 9;
    EXPECT_EQ("[9,2]", json_of(value));
    static_cast<void>(value.charsValue());
    value[1] = 9;
    EXPECT_EQ("[9,9]", json_of(value));
}

TEST(VariantSharing, HasOneParserAndTwoPrintersForAll) {
    ValueProbe first;
    ValueProbe second;
    EXPECT_EQ(&first.shared_parser(), &second.shared_parser());
    EXPECT_EQ(&first.shared_string_printer(), &second.shared_string_printer());
    EXPECT_EQ(&first.shared_stream_printer(), &second.shared_stream_printer());
    EXPECT_NE(&first.shared_string_printer(), &first.shared_stream_printer());
}

TEST(VariantSharing, ReadsItselfFromAStream) {
    Variant value("before", -1);
    std::istringstream first("[1, {\"a\": null}]");
    EXPECT_TRUE(value.read(first));
    EXPECT_EQ("[1,{\"a\":null}]", json_of(value));
    std::istringstream second(" true ");
    EXPECT_TRUE(value.read(second));
    EXPECT_EQ("true", json_of(value));
    std::istringstream third("null");
    EXPECT_TRUE(value.read(third));
    EXPECT_TRUE(value.isNull());
}

TEST(VariantSharing, ReadsASecondTextWithoutTouchingTheFirstResult) {
    Variant first;
    Variant second;
    std::istringstream one("{\"a\": [1]}");
    std::istringstream two("{\"b\": [2]}");
    ASSERT_TRUE(first.read(one));
    ASSERT_TRUE(second.read(two));
    EXPECT_EQ("{\"a\":[1]}", json_of(first));
    EXPECT_EQ("{\"b\":[2]}", json_of(second));
}

TEST(VariantSharing, TellsThatATextIsNoJson) {
    Variant value(5);
    std::istringstream in("nonsense");
    EXPECT_FALSE(value.read(in));
    EXPECT_TRUE(value.isString()) << "it takes what the parser left, the error text";
    std::istringstream good("[1]");
    EXPECT_TRUE(value.read(good)) << "the next text starts afresh";
    EXPECT_EQ("[1]", json_of(value));
}

TEST(VariantSharing, KeepsSchemaAndParentWhenItReads) {
    json::List list;
    list << Variant(5);
    Variant& element = list[0];
    std::istringstream in("[1]");
    EXPECT_TRUE(element.read(in));
    EXPECT_TRUE(element.hasListParent());
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &element.schema());
    EXPECT_EQ(&element, owner_of(std::as_const(element).listValue()));
}

} // namespace
