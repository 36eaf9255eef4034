// SPDX-License-Identifier: MIT
// The second translation unit: a static object of its own, and main.
#include "early.h"

#include "rpc/Conversation.h"

#include <iostream>

namespace {

// Copied before main from a constant of the library, changed and destroyed after it.
json::Variant copy = json::Variant::EmptyObject;

} // namespace

int main() {
    copy["seen"] = early_tree();
    std::cout << "main: " << early_tree() << std::endl;
    return copy["seen"]["door"][0].booleanValue() ? 0 : 1;
}
