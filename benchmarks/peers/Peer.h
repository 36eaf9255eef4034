// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace bench {

/// A library that reads, holds and writes JSON texts, as the programs see it. Each has a source of
/// its own in this directory, so that no two need share a file or a compiler option.
struct Peer {
    const char* name;
    /// Registers the cases on documents, as `CASE/CORPUS/NAME`.
    void (*registerCases)();
    /// Parses the text and calls `during` while the document lives, and nothing else does.
    void (*hold)(std::string_view text, void (*during)(void*), void* context);
};

/// gatecast itself, then the floors, then the others that this build found.
const std::vector<Peer>& peers();

} // namespace bench
