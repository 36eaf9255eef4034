// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <streambuf>
#include <string>

namespace fuzz {

/// Ends the run as a crash when a promise isn't kept; libFuzzer then writes the input to a file.
inline void require(bool kept, const char* promise, const std::string& detail = std::string()) {
    if (kept) return;
    std::fprintf(stderr, "broken promise: %s\n%s\n", promise, detail.c_str());
    std::abort();
}

/// Swallows what the library says to `std::cout` and `std::cerr`.
class Silence {
public:
    Silence() : out_(std::cout.rdbuf(&nowhere_)), err_(std::cerr.rdbuf(&nowhere_)) {}
    ~Silence() {
        std::cout.rdbuf(out_);
        std::cerr.rdbuf(err_);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    struct Nowhere : std::streambuf {
        int_type overflow(int_type c) override { return traits_type::not_eof(c); }
        std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
    };
    Nowhere nowhere_;
    std::streambuf* out_;
    std::streambuf* err_;
};

} // namespace fuzz
