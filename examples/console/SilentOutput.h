// SPDX-License-Identifier: MIT
#pragma once

#include <iostream>
#include <streambuf>

namespace console {

/// Keeps standard and error output silent while it lives: the library prints there what it learns
/// of methods and schemas, in the words of whoever wrote them. This console prints that when it is
/// asked, made plain.
class SilentOutput {
public:
    SilentOutput() : out_(std::cout.rdbuf(nullptr)), errors_(std::cerr.rdbuf(nullptr)) {}
    ~SilentOutput() {
        std::cout.rdbuf(out_);
        std::cerr.rdbuf(errors_);
    }
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;

private:
    std::streambuf* out_;
    std::streambuf* errors_;
};

} // namespace console
