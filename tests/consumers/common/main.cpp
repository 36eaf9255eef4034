// SPDX-License-Identifier: MIT
// The second translation unit of a program that uses the installed library.
#include "device/GatecastConversation.h"

#include <iostream>

const json::Variant& early_tree();

int main() {
    std::cout << early_tree() << '\n';
    return early_tree()["door"][0].booleanValue() ? 0 : 1;
}
