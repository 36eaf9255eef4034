// SPDX-License-Identifier: MIT
// Ends at once. Built twice: with the library, and with no more than the C++ runtime.
#include <iostream>

int main() { return std::cout.good() ? 0 : 1; }
