// SPDX-License-Identifier: MIT
// How fast are documents read, held and written? gatecast, the floors under it, and its peers.
#include "peers/Peer.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    for (const bench::Peer& peer : bench::peers()) {
        peer.registerCases();
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
