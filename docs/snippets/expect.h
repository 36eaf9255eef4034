// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <iostream>

/// Ends the program with a line that names the claim, unless it holds.
#define EXPECT(claim)                                                                              \
    do {                                                                                           \
        if (!(claim)) {                                                                            \
            std::cerr << __FILE__ << ':' << __LINE__ << ": " #claim "\n";                          \
            std::exit(1);                                                                          \
        }                                                                                          \
    } while (false)
