// SPDX-License-Identifier: MIT
// What does a call cost, out and with its answer, in a process that knows so many methods? The
// registry of schemas is the process's: each number of methods is a run of its own.
//
// usage: gatecast-bench-calls METHODS [GOOGLE-BENCHMARK-OPTION ...]
#include "rpc/Conversation.h"
#include "support/Station.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <iostream>
#include <string>

#ifdef GATECAST_BENCH_JSONRPCCPP
namespace bench {
// peers/JsonRpcCpp.cpp: its client with an answer that is ready, and with its own server.
void jsonrpccpp_call_with_answer(benchmark::State& state);
void jsonrpccpp_call_served(benchmark::State& state);
} // namespace bench
#endif

namespace {

using bench::CountingClient;

constexpr const char* kMethod = "method_7";

json::Variant arguments() {
    json::Variant arguments;
    arguments << json::Variant("door") << 3;
    return arguments;
}

void call_out(benchmark::State& state, std::size_t methods) {
    CountingClient client;
    bench::tell_methods(client, methods);
    const qx::IntrusiveString method(kMethod);
    const json::Variant params = arguments();
    for ([[maybe_unused]] auto _ : state) {
        client.call(method, params, 1000); // replaces the pending one of the same id
    }
    if (client.warnings > 0 || client.bytesSent == 0) state.SkipWithError("the call is refused");
}

void call_with_answer(benchmark::State& state, std::size_t methods) {
    CountingClient client;
    bench::tell_methods(client, methods);
    const qx::IntrusiveString method(kMethod);
    const json::Variant params = arguments();
    client.answers = 0;
    for ([[maybe_unused]] auto _ : state) {
        const std::int64_t id = client.call(method, params).referenceId();
        client.receive(R"({"result":true,"error":null,"id":)" + std::to_string(id) + '}');
    }
    if (client.warnings > 0 || client.answers != static_cast<std::uint64_t>(state.iterations())) {
        state.SkipWithError("a call isn't answered as it should");
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::size_t methods = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0;
    if (methods < 8) {
        std::cerr << "usage: gatecast-bench-calls METHODS [OPTION ...], at least 8 methods\n";
        return 2;
    }
    argv[1] = argv[0];
    ++argv;
    --argc;
    const std::string corpus = '/' + std::to_string(methods) + "_methods/";
    benchmark::RegisterBenchmark(("call_out" + corpus + "gatecast").c_str(), call_out, methods);
    benchmark::RegisterBenchmark(("call_with_answer" + corpus + "gatecast").c_str(),
                                 call_with_answer, methods);
#ifdef GATECAST_BENCH_JSONRPCCPP
    benchmark::RegisterBenchmark(("call_with_answer" + corpus + "jsonrpccpp").c_str(),
                                 bench::jsonrpccpp_call_with_answer);
    benchmark::RegisterBenchmark(("call_with_answer" + corpus + "jsonrpccpp_served").c_str(),
                                 bench::jsonrpccpp_call_served);
#endif
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
