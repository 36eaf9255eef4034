// SPDX-License-Identifier: MIT
#include "support/ValuePair.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>

namespace {

class ValueModel : public testing::TestWithParam<unsigned> {};

TEST_P(ValueModel, TellsTheSameStoryAsTheLibrary) {
    std::mt19937 random(GetParam());
    model::Pair pair([&random](std::size_t below) {
        return std::uniform_int_distribution<std::size_t>(0, below - 1)(random);
    });
    for (int step = 0; step < 1000; ++step) {
        pair.step();
        const std::string found = pair.mismatch().empty() ? pair.difference() : pair.mismatch();
        ASSERT_EQ("", found) << "seed " << GetParam() << ", step " << step << ", "
                             << pair.operation();
    }
}

INSTANTIATE_TEST_SUITE_P(OfSeeds, ValueModel, testing::Range(1u, 31u));

} // namespace
