// SPDX-License-Identifier: MIT
// Part of every test program: GATECAST_TEST_COMMA set runs it in a locale with a decimal comma.
#include "support/CommaLocale.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <memory>

namespace {

/// The locale of an application that has chosen one, for all tests of the program.
class CommaEnvironment : public testing::Environment {
public:
    void SetUp() override {
        comma_ = std::make_unique<CommaLocale>();
        if (!CommaLocale::active()) {
            std::cerr << "the locale de_DE.utf8 isn't there: set LOCPATH\n";
            std::exit(1);
        }
    }
    void TearDown() override { comma_.reset(); }

private:
    std::unique_ptr<CommaLocale> comma_;
};

const testing::Environment* const environment =
    std::getenv("GATECAST_TEST_COMMA") != nullptr
        ? testing::AddGlobalTestEnvironment(new CommaEnvironment)
        : nullptr;

} // namespace
