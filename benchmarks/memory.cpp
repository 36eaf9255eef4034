// SPDX-License-Identifier: MIT
// How much of the heap does a document hold, and how often is the heap asked? Counted, not timed:
// the figures are the counters "bytes", "per_byte" (of text) and "allocations".
#include "support/Memory.h"
#include "core/KeptMemory.h"
#include "peers/Peer.h"
#include "support/Corpora.h"
#include "support/Station.h"

#include <benchmark/benchmark.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <string>

namespace {

using bench::CountingClient;

struct Held {
    std::size_t bytes;
    std::size_t allocations;
};

/// What the document of a text holds. A key that is interned for it counts too; what the library
/// builds once for the process doesn't.
Held held_by(const bench::Peer& peer, const std::string& text) {
    const auto look = [](void* context) {
        qx::releaseKeptMemory(); // ...and what its parser leaves is none of it
        *static_cast<bench::Memory*>(context) = bench::memory();
    };
    bench::Memory held{};
    peer.hold(R"([{"":1.5},"text"])", look, &held); // what is built on first use is built
    qx::releaseKeptMemory(); // the document is to take all that it holds from the heap...
    const bench::Memory before = bench::memory();
    peer.hold(text, look, &held);
    return {held.liveBytes - before.liveBytes, held.allocations - before.allocations};
}

/// The same in a process of its own: keys that are interned stay, and are another document's too.
void heap_of(benchmark::State& state, const bench::Peer& peer, const std::string& text) {
    Held held{};
    for ([[maybe_unused]] auto _ : state) {
        int ends[2];
        if (pipe(ends) != 0) break;
        const pid_t child = fork();
        if (child == 0) {
            const Held measured = held_by(peer, text);
            const bool told = write(ends[1], &measured, sizeof measured) == sizeof measured;
            _exit(told ? 0 : 1);
        }
        close(ends[1]);
        const bool heard = child > 0 && read(ends[0], &held, sizeof held) == sizeof held;
        close(ends[0]);
        int status = 0;
        if (!heard || waitpid(child, &status, 0) != child || status != 0) {
            state.SkipWithError("the child process fails");
        }
    }
    state.counters["bytes"] = static_cast<double>(held.bytes);
    state.counters["per_byte"] = static_cast<double>(held.bytes) / static_cast<double>(text.size());
    state.counters["allocations"] = static_cast<double>(held.allocations);
}

/// How many blocks the operation asks the heap for, on average of many after the first ones.
template <typename Operation>
void count_allocations(benchmark::State& state, Operation operation) {
    constexpr int kRounds = 1000;
    for (int i = 0; i < 100; ++i) {
        operation();
    }
    for ([[maybe_unused]] auto _ : state) {
        const std::size_t before = bench::memory().allocations;
        for (int i = 0; i < kRounds; ++i) {
            operation();
        }
        state.counters["allocations"] =
            static_cast<double>(bench::memory().allocations - before) / kRounds;
    }
}

json::Variant arguments() {
    json::Variant arguments;
    arguments << json::Variant("door") << 3;
    return arguments;
}

void allocations_of_call_out(benchmark::State& state) {
    CountingClient client;
    bench::tell_methods(client, 30);
    const qx::IntrusiveString method("method_7");
    const json::Variant params = arguments();
    count_allocations(state, [&] { client.call(method, params, 1000); });
}

void allocations_of_call_with_answer(benchmark::State& state) {
    CountingClient client;
    bench::tell_methods(client, 30);
    const qx::IntrusiveString method("method_7");
    const json::Variant params = arguments();
    const std::string answer = R"({"result":true,"error":null,"id":1000})";
    count_allocations(state, [&] {
        client.call(method, params, 1000);
        client.receive(answer);
    });
}

void allocations_of_event(benchmark::State& state) {
    CountingClient client;
    client.subscribe("subscription", json::Variant("door"), 101);
    const std::string& event = bench::made("event");
    count_allocations(state, [&] { client.receive(event); });
}

} // namespace

int main(int argc, char** argv) {
    for (const bench::Corpus& corpus : bench::corpora()) {
        for (const bench::Peer& peer : bench::peers()) {
            if (peer.hold == nullptr) continue;
            benchmark::RegisterBenchmark(
                ("heap/" + corpus.name + '/' + peer.name).c_str(),
                [&](benchmark::State& state) { heap_of(state, peer, corpus.text); })
                ->Iterations(1);
        }
    }
    benchmark::RegisterBenchmark("allocations/call_out/gatecast", allocations_of_call_out)
        ->Iterations(1);
    benchmark::RegisterBenchmark("allocations/call_with_answer/gatecast",
                                 allocations_of_call_with_answer)
        ->Iterations(1);
    benchmark::RegisterBenchmark("allocations/event/gatecast", allocations_of_event)->Iterations(1);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
