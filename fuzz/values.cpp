// SPDX-License-Identifier: MIT
// A row of operations on values, done by the library and by the plain model of the tests: after
// each of them both hold the same contents, sharings, owners, links and marks.

#include "fuzz/support/Choices.h"
#include "fuzz/support/Require.h"
#include "support/ValuePair.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Choices choices(data, size);
    model::Pair pair([&choices](std::size_t below) { return choices.below(below); });
    for (int step = 0; step < 200 && !choices.over(); ++step) {
        pair.step();
        const std::string found = pair.mismatch().empty() ? pair.difference() : pair.mismatch();
        fuzz::require(found.empty(), "library and model agree", pair.operation() + ": " + found);
    }
    return 0;
}
