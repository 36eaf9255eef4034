// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace bench {

/// A JSON text to measure with.
struct Corpus {
    std::string name; ///< a word without a slash: it is a part of the names of the cases
    std::string text;
};

/// The `*.json` files of the directory that the environment variable GATECAST_BENCH_DATA names, by
/// name, then those that this program makes itself, always the same. Built on first use.
const std::vector<Corpus>& corpora();

/// A corpus that this program makes: "methods", "mailbox", "event", "deep", "wide", "strings",
/// "numbers" or "repeated". Bad input: another name ends the program.
const std::string& made(const std::string& name);

/// The answer to "list_methods" of a station with that many methods, each of two arguments. Their
/// names are `method_0` and so on.
std::string method_catalogue(std::size_t methods);

/// One row of a mail box: an object of 14 members.
std::string mail_box_row(std::size_t number);

} // namespace bench
