// SPDX-License-Identifier: MIT
#include "core/Interface.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

class IFirst : public virtual qx::IInterface {};
class ISecond : public virtual qx::IInterface {};
class Both : public IFirst, public ISecond, public qx::InterfaceStub {};

/// A class that uses the extension point.
class Extended : public qx::InterfaceStub {
public:
    using qx::InterfaceStub::getInterface;
    void* getInterface(const char* id) override {
        return std::string(id) == "extended" ? this : qx::InterfaceStub::getInterface(id);
    }
};

static_assert(std::has_virtual_destructor_v<qx::IInterface>);
static_assert(std::is_copy_constructible_v<qx::IInterface>);
static_assert(std::is_copy_assignable_v<qx::IInterface>);
static_assert(std::is_copy_constructible_v<qx::InterfaceStub>);
static_assert(std::is_copy_assignable_v<qx::InterfaceStub>);
static_assert(sizeof(qx::IInterface) == sizeof(void*), "no data");

TEST(Interface, TheRootHasItsName) { EXPECT_STREQ("qx::IInterface", qx::IInterface::ID()); }

TEST(Interface, AnswersItselfForTheNameOfTheRoot) {
    qx::InterfaceStub stub;
    qx::IInterface* root = &stub;
    EXPECT_EQ(root, root->getInterface("qx::IInterface"));
    const qx::IInterface* constant = root;
    EXPECT_EQ(constant, constant->getInterface("qx::IInterface"));
}

TEST(Interface, ComparesTheNameAndNotItsAddress) {
    const std::string copy("qx::IInterface");
    qx::InterfaceStub stub;
    EXPECT_NE(nullptr, stub.getInterface(copy.c_str()));
}

TEST(Interface, AnswersNullForEveryOtherName) {
    qx::InterfaceStub stub;
    const qx::InterfaceStub& constant = stub;
    for (const char* id : {"", "qx::IInterfac", "qx::IInterfaces", "qx::IInterface ",
                           "QX::IInterface", "qx::IJsonHeaderUpdateReceiver"}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(nullptr, stub.getInterface(id));
        EXPECT_EQ(nullptr, constant.getInterface(id));
    }
    EXPECT_EQ(nullptr, stub.getInterface(nullptr));
}

TEST(Interface, AClassWithSeveralInterfacesHoldsOneRoot) {
    Both both;
    qx::IInterface* root = &both; // ambiguous if there were several
    EXPECT_EQ(root, static_cast<IFirst&>(both).getInterface("qx::IInterface"));
    EXPECT_EQ(root, static_cast<ISecond&>(both).getInterface("qx::IInterface"));
    EXPECT_EQ(root, static_cast<qx::InterfaceStub&>(both).getInterface("qx::IInterface"));
}

TEST(Interface, TheConstQueryAsksTheOtherOne) {
    Extended extended;
    const qx::IInterface& constant = extended;
    EXPECT_EQ(&extended, constant.getInterface("extended"));
    EXPECT_NE(nullptr, constant.getInterface("qx::IInterface"));
    EXPECT_EQ(nullptr, constant.getInterface("other"));
}

TEST(Interface, CopiesCarryNothing) {
    Extended one;
    Extended two(one);
    two = one;
    EXPECT_EQ(&two, two.getInterface("extended"));
}

} // namespace
