// SPDX-License-Identifier: MIT
// Prints the version of the library that runs, unless it is older than the headers.
#include <gatecast/gatecast.h>
#include <gatecast/version.h>

#include <iostream>

#if GATECAST_VERSION_MAJOR != 1
#error "written for version 1"
#endif

int main() {
    if (qx::versionNumber() < GATECAST_VERSION) {
        std::cerr << "the library is older than its headers\n";
        return 1;
    }
    json::Variant value;
    value["door"] = "open";
    std::cout << "gatecast " << qx::versionString() << " says " << value << '\n';
}
